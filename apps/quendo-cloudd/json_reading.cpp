#include "apps/quendo-cloudd/json_reading.hpp"

#include <limits>
#include <set>
#include <utility>
#include <vector>

#include <nlohmann/json.hpp>

namespace cloudd {
namespace {

using nlohmann::json;

/// The parser itself knows no bound.
bool isTooDeep(std::string_view text) {
    std::size_t depth = 0;
    bool inText = false;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const char character = text[i];
        if (inText) {
            if (character == '\\') {
                ++i;
            } else if (character == '"') {
                inText = false;
            }
        } else if (character == '"') {
            inText = true;
        } else if (character == '{' || character == '[') {
            if (++depth > mostJsonDepth) {
                return true;
            }
        } else if ((character == '}' || character == ']') && depth > 0) {
            --depth;
        }
    }
    return false;
}

/// Notices names that come twice in one object: of two readers, each could take another one.
class NameWatch {
public:
    bool see(json::parse_event_t event, const json& parsed) {
        switch (event) {
            case json::parse_event_t::object_start:
                names_.emplace_back();
                break;
            case json::parse_event_t::object_end:
                names_.pop_back();
                break;
            case json::parse_event_t::key:
                repeated_ = repeated_ || !names_.back().insert(parsed.get_ref<const std::string&>()).second;
                break;
            case json::parse_event_t::array_start:
            case json::parse_event_t::array_end:
            case json::parse_event_t::value:
                break;
        }
        return true;
    }
    [[nodiscard]] bool repeated() const noexcept { return repeated_; }

private:
    std::vector<std::set<std::string>> names_;
    bool repeated_ = false;
};

}  // namespace

Reply<json> readObject(std::string_view text) {
    if (text.empty()) {
        return json::object();
    }
    if (isTooDeep(text)) {
        return badRequest("the JSON is nested deeper than " + std::to_string(mostJsonDepth) + " levels");
    }
    NameWatch watch;
    json document = json::parse(
        text, [&](int, json::parse_event_t event, json& parsed) { return watch.see(event, parsed); }, false);
    if (document.is_discarded()) {
        return badRequest("the body is no JSON in UTF-8");
    }
    if (!document.is_object()) {
        return badRequest("the body is no JSON object");
    }
    if (watch.repeated()) {
        return badRequest("a name comes twice in one JSON object");
    }
    return document;
}

Reply<std::optional<std::string>> optionalText(const json& object, const char* name) {
    const auto found = object.find(name);
    if (found == object.end() || found->is_null()) {
        return std::optional<std::string>();
    }
    if (!found->is_string()) {
        return badRequest(std::string(name) + " is no text");
    }
    return std::optional(found->get<std::string>());
}

Reply<std::optional<std::int64_t>> optionalCount(const json& object, const char* name) {
    const auto found = object.find(name);
    if (found == object.end() || found->is_null()) {
        return std::optional<std::int64_t>();
    }
    constexpr auto most = static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max());
    if (!found->is_number_unsigned() || found->get<std::uint64_t>() > most) {
        return badRequest(std::string(name) + " is no count");
    }
    return std::optional(static_cast<std::int64_t>(found->get<std::uint64_t>()));
}

Reply<std::optional<bool>> optionalFlag(const json& object, const char* name) {
    const auto found = object.find(name);
    if (found == object.end() || found->is_null()) {
        return std::optional<bool>();
    }
    if (found->is_number()) {
        return std::optional(found->get<double>() != 0);
    }
    if (!found->is_boolean()) {
        return badRequest(std::string(name) + " is neither true nor false");
    }
    return std::optional(found->get<bool>());
}

Reply<const json*> objects(const json& object, const char* name, std::size_t most) {
    const auto found = object.find(name);
    if (found == object.end() || !found->is_array()) {
        return badRequest(std::string(name) + " is missing or no array");
    }
    if (found->size() > most) {
        return badRequest(std::string(name) + " holds more than " + std::to_string(most) + " entries");
    }
    for (const json& entry : *found) {
        if (!entry.is_object()) {
            return badRequest(std::string(name) + " holds something that is no object");
        }
    }
    return &*found;
}

}  // namespace cloudd

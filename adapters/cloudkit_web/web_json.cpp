#include <algorithm>
#include <utility>

#include <nlohmann/json.hpp>

#include "adapters/cloudkit_web/web_json_internal.hpp"
#include "quendokit/platform/ck_error.hpp"

namespace quendokit::web {
namespace {

/// How deep brackets nest in `text`, whether or not it is JSON.
std::size_t nestingOf(std::string_view text) {
    std::size_t depth = 0;
    std::size_t deepest = 0;
    bool inText = false;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const char next = text[i];
        if (inText) {
            i += next == '\\' ? 1U : 0U;
            inText = next != '"';
        } else if (next == '"') {
            inText = true;
        } else if (next == '{' || next == '[') {
            deepest = std::max(deepest, ++depth);
        } else if ((next == '}' || next == ']') && depth > 0) {
            --depth;
        }
    }
    return deepest;
}

}  // namespace

Result<Json> parsed(std::string_view text) {
    // Before the library builds anything of it.
    if (nestingOf(text) > deepestNesting) {
        return makeCKError(CKErrorCode::internalError,
                           "the answer is nested deeper than " + std::to_string(deepestNesting) + " levels");
    }
    auto json = Json::parse(text, nullptr, false);
    if (json.is_discarded()) {
        return makeCKError(CKErrorCode::networkFailure,
                           text.empty() ? "the answer is empty"
                                        : "the answer is no JSON; does a proxy or a sign-in page of the network stand "
                                          "in between?");
    }
    return json;
}

std::optional<std::string> rendered(const Json& json) {
    try {
        return json.dump();
    } catch (const Json::type_error&) {
        return std::nullopt;
    }
}

bool isPlainText(std::string_view text) {
    return text.find('\0') == std::string_view::npos && rendered(Json(text)).has_value();
}

const Json* member(const Json& object, const char* key) {
    if (!object.is_object()) {
        return nullptr;
    }
    const auto found = object.find(key);
    return found == object.end() ? nullptr : &*found;
}

const std::string* textMember(const Json& object, const char* key) {
    const Json* found = member(object, key);
    return found == nullptr ? nullptr : found->get_ptr<const std::string*>();
}

const Json* listMember(const Json& object, const char* key) {
    const Json* found = member(object, key);
    return found != nullptr && found->is_array() ? found : nullptr;
}

std::optional<bool> flagMember(const Json& object, const char* key) {
    const Json* found = member(object, key);
    if (found == nullptr || found->is_null()) {
        return false;
    }
    return found->is_boolean() ? std::optional(found->get<bool>()) : std::nullopt;
}

std::string asPartOfALine(std::string_view text) {
    constexpr std::size_t longest = 200;
    std::string line(text.substr(0, longest));
    if (line.size() < text.size()) {
        // Not in the middle of a character.
        while (!line.empty() && (static_cast<unsigned char>(line.back()) & 0xC0U) == 0x80U) {
            line.pop_back();
        }
        if (!line.empty() && static_cast<unsigned char>(line.back()) >= 0xC0U) {
            line.pop_back();
        }
        line += "...";
    }
    std::replace_if(line.begin(), line.end(), [](unsigned char c) { return c < ' ' || c == 0x7FU; }, ' ');
    return line;
}

}  // namespace quendokit::web

#include "apps/quendo-cloudd/record_fields.hpp"

#include <algorithm>
#include <cmath>
#include <limits>
#include <utility>

#include <nlohmann/json.hpp>

#include "apps/quendo-cloudd/json_reading.hpp"

namespace cloudd {
namespace {

using nlohmann::json;

constexpr std::string_view listSuffix = "_LIST";

/// A whole number within 64 bits, however it was written.
std::optional<std::int64_t> wholeNumber(const json& value) {
    if (value.is_boolean()) {
        return value.get<bool>() ? 1 : 0;
    }
    if (value.is_number_unsigned()) {
        const auto number = value.get<std::uint64_t>();
        return number <= static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max())
                   ? std::optional(static_cast<std::int64_t>(number))
                   : std::nullopt;
    }
    if (value.is_number_integer()) {
        return value.get<std::int64_t>();
    }
    if (!value.is_number_float()) {
        return std::nullopt;
    }
    const double number = value.get<double>();
    constexpr double beyond = 9'223'372'036'854'775'808.0;
    if (std::trunc(number) != number || number < -beyond || number >= beyond) {
        return std::nullopt;
    }
    return static_cast<std::int64_t>(number);
}

bool isBase64(const std::string& text) {
    if (text.size() % 4 != 0) {
        return false;
    }
    const std::size_t end = std::min(text.find('='), text.size());
    const bool plain = std::all_of(text.begin(), text.begin() + static_cast<std::ptrdiff_t>(end), [](char character) {
        return (character >= 'A' && character <= 'Z') || (character >= 'a' && character <= 'z') ||
               (character >= '0' && character <= '9') || character == '+' || character == '/';
    });
    return plain && text.size() - end <= 2 && text.find_first_not_of('=', end) == std::string::npos;
}

/// The value as it is stored; absent when it is not of that type.
std::optional<json> scalar(const std::string& type, const json& value) {
    if (type == "STRING" || (type == "BYTES" && value.is_string())) {
        const bool good = value.is_string() && (type == "STRING" || isBase64(value.get_ref<const std::string&>()));
        return good ? std::optional(value) : std::nullopt;
    }
    if (type == "INT64" || type == "TIMESTAMP") {
        const auto number = value.is_boolean() && type == "TIMESTAMP" ? std::nullopt : wholeNumber(value);
        return number ? std::optional(json(*number)) : std::nullopt;
    }
    if (type == "DOUBLE") {
        return value.is_number() ? std::optional(value) : std::nullopt;
    }
    if (type == "REFERENCE" || type == "LOCATION") {
        return value.is_object() ? std::optional(value) : std::nullopt;
    }
    return std::nullopt;
}

std::string suggestedType(const json& value) {
    switch (value.type()) {
        case json::value_t::string:
            return "STRING";
        case json::value_t::boolean:
        case json::value_t::number_integer:
        case json::value_t::number_unsigned:
            return "INT64";
        case json::value_t::number_float:
            return "DOUBLE";
        case json::value_t::array:
            return (value.empty() ? "STRING" : suggestedType(value.front())) + std::string(listSuffix);
        case json::value_t::object:
            return value.contains("recordName") ? "REFERENCE" : "LOCATION";
        case json::value_t::null:
        case json::value_t::binary:
        case json::value_t::discarded:
            break;
    }
    return "STRING";
}

std::optional<json> valueOf(const std::string& type, const json& value) {
    if (!type.ends_with(listSuffix)) {
        return scalar(type, value);
    }
    if (!value.is_array()) {
        return std::nullopt;
    }
    const std::string each = type.substr(0, type.size() - listSuffix.size());
    json list = json::array();
    for (const json& entry : value) {
        auto good = scalar(each, entry);
        if (!good) {
            return std::nullopt;
        }
        list.push_back(*std::move(good));
    }
    return list;
}

bool isFieldName(const std::string& name) {
    return !name.empty() && name.size() <= 255 &&
           std::all_of(name.begin(), name.end(), [](char character) { return character > ' ' && character < 0x7F; });
}

WireError wrongValue(const std::string& name, const std::string& type) {
    return badRequest("Invalid value, expected type " + type + ". (field " + name + ")");
}

Reply<FieldChange> readField(const std::string& name, const json& field) {
    if (!isFieldName(name)) {
        return badRequest("the name of a field is empty, too long or not plain ASCII");
    }
    if (!field.is_object()) {
        return badRequest("field " + name + " is no object with a value");
    }
    auto tag = optionalText(field, "type");
    if (!tag) {
        return tag.error();
    }
    FieldChange change{.name = name, .isTagged = tag.value().has_value()};
    const auto value = field.find("value");
    if (value == field.end() || value->is_null()) {
        change.isNull = true;
        return change;
    }
    change.type = tag.value() ? *tag.value() : suggestedType(*value);
    auto good = valueOf(change.type, *value);
    if (!good) {
        return wrongValue(name, change.type.substr(0, 40));
    }
    change.stored = json{{"type", change.type}, {"value", *std::move(good)}}.dump();
    return change;
}

void numbersToText(json& value) {
    if (value.is_number()) {
        value = value.dump();
    } else if (value.is_array()) {
        for (json& entry : value) {
            numbersToText(entry);
        }
    }
}

}  // namespace

Reply<std::vector<FieldChange>> readFields(const json& fields) {
    std::vector<FieldChange> changes;
    if (fields.is_null()) {
        return changes;
    }
    if (!fields.is_object()) {
        return badRequest("fields is no object");
    }
    for (const auto& [name, field] : fields.items()) {
        auto change = readField(name, field);
        if (!change) {
            return change.error();
        }
        changes.push_back(std::move(change).value());
    }
    return changes;
}

Reply<FieldChoice> readFieldChoice(const json& object, const FieldChoice& otherwise) {
    FieldChoice choice = otherwise;
    for (const char* name : {"numbersAsStrings", "numberAsStrings"}) {
        auto flag = optionalFlag(object, name);
        if (!flag) {
            return flag.error();
        }
        choice.numbersAsStrings = flag.value().value_or(choice.numbersAsStrings);
    }
    const auto keys = object.find("desiredKeys");
    if (keys == object.end() || keys->is_null()) {
        return choice;
    }
    if (!keys->is_array()) {
        return badRequest("desiredKeys is no array");
    }
    choice.desiredKeys.emplace();
    for (const json& key : *keys) {
        if (!key.is_string()) {
            return badRequest("desiredKeys holds something that is no text");
        }
        choice.desiredKeys->push_back(key.get<std::string>());
    }
    return choice;
}

json fieldsFor(std::string_view stored, const FieldChoice& choice) {
    json fields = json::parse(stored, nullptr, false);
    if (!fields.is_object()) {
        return json::object();
    }
    if (choice.desiredKeys) {
        json wanted = json::object();
        for (const std::string& key : *choice.desiredKeys) {
            if (const auto found = fields.find(key); found != fields.end()) {
                wanted[key] = *found;
            }
        }
        fields = std::move(wanted);
    }
    if (choice.numbersAsStrings) {
        for (json& field : fields) {
            numbersToText(field["value"]);
        }
    }
    return fields;
}

}  // namespace cloudd

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <limits>
#include <span>
#include <system_error>
#include <utility>
#include <vector>

#include <nlohmann/json.hpp>

#include "adapters/files/property_json_internal.hpp"
#include "quendokit/platform/base64.hpp"

namespace quendokit::files {
namespace {

using Json = nlohmann::json;
using Numbers = std::numeric_limits<double>;

// Members that stand for what JSON has no kind for. Stored format.
constexpr const char* dataMember = "data";
constexpr const char* textMember = "text";
constexpr const char* numberMember = "number";
constexpr const char* notANumber = "nan";
constexpr const char* infinity = "infinity";
constexpr const char* negativeInfinity = "-infinity";

/// Absent when `text` is not UTF-8.
std::optional<std::string> jsonString(std::string_view text) {
    try {
        return Json(text).dump();
    } catch (const Json::type_error&) {
        return std::nullopt;
    }
}

std::string wrapped(const char* member, std::string_view text) {
    return std::string("{\"") + member + "\": \"" + std::string(text) + "\"}";
}

std::string jsonOfNumber(double number) {
    if (std::isnan(number)) {
        return wrapped(numberMember, notANumber);
    }
    if (std::isinf(number)) {
        return wrapped(numberMember, number > 0 ? infinity : negativeInfinity);
    }
    // Always with a fraction or an exponent: 1.0 is "1.0".
    return Json(number).dump();
}

/// Takes the digits at the front of `rest` away. False when there are none.
bool skipDigits(std::string_view& rest) {
    const std::size_t count = std::min(rest.find_first_not_of("0123456789"), rest.size());
    rest.remove_prefix(count);
    return count > 0;
}

/// Whether `json` is a number by JSON's grammar, of any size; the library gives up on those that no double holds.
bool isNumber(std::string_view rest) {
    if (rest.starts_with('-')) {
        rest.remove_prefix(1);
    }
    if (rest.starts_with('0')) {
        rest.remove_prefix(1);
    } else if (!skipDigits(rest)) {
        return false;
    }
    if (rest.starts_with('.')) {
        rest.remove_prefix(1);
        if (!skipDigits(rest)) {
            return false;
        }
    }
    if (rest.starts_with('e') || rest.starts_with('E')) {
        rest.remove_prefix(1);
        if (rest.starts_with('+') || rest.starts_with('-')) {
            rest.remove_prefix(1);
        }
        if (!skipDigits(rest)) {
            return false;
        }
    }
    return rest.empty();
}

template <typename Number>
std::optional<PropertyValue> numberOf(std::string_view json) {
    Number number{};
    const auto end = std::from_chars(json.data(), json.data() + json.size(), number);
    return end.ec == std::errc() ? std::optional<PropertyValue>(number) : std::nullopt;
}

std::optional<PropertyValue> specialNumber(const std::string& name) {
    if (name == notANumber) {
        return Numbers::quiet_NaN();
    }
    if (name == infinity) {
        return Numbers::infinity();
    }
    return name == negativeInfinity ? std::optional<PropertyValue>(-Numbers::infinity()) : std::nullopt;
}

std::optional<PropertyValue> unwrapped(const Json& object) {
    if (object.size() != 1 || !object.front().is_string()) {
        return std::nullopt;
    }
    const std::string member = object.begin().key();
    const auto& text = object.front().get_ref<const std::string&>();
    if (member == numberMember) {
        return specialNumber(text);
    }
    auto bytes = fromBase64(text);
    if (bytes && member == dataMember) {
        return PropertyValue(std::move(*bytes));
    }
    if (bytes && member == textMember) {
        return PropertyValue(std::string(reinterpret_cast<const char*>(bytes->data()), bytes->size()));
    }
    return std::nullopt;
}

bool looksLikeNumber(std::string_view json) {
    return !json.empty() && (json.front() == '-' || (json.front() >= '0' && json.front() <= '9'));
}

}  // namespace

std::string jsonOf(const PropertyValue& value) {
    if (const auto* integer = std::get_if<std::int64_t>(&value)) {
        return std::to_string(*integer);
    }
    if (const auto* number = std::get_if<double>(&value)) {
        return jsonOfNumber(*number);
    }
    if (const auto* boolean = std::get_if<bool>(&value)) {
        return *boolean ? "true" : "false";
    }
    if (const auto* text = std::get_if<std::string>(&value)) {
        const auto json = jsonString(*text);
        return json ? *json : wrapped(textMember, base64(std::as_bytes(std::span(*text))));
    }
    return wrapped(dataMember, base64(std::get<std::vector<std::byte>>(value)));
}

std::optional<std::string> jsonOfKey(std::string_view key) {
    return jsonString(key);
}

std::optional<std::string> keyOf(std::string_view json) {
    const Json key = Json::parse(json, nullptr, false);
    return key.is_string() ? std::optional(key.get<std::string>()) : std::nullopt;
}

bool isJson(std::string_view json) {
    if (looksLikeNumber(json)) {
        return isNumber(json);
    }
    try {
        return !Json::parse(json).is_discarded();
    } catch (const Json::out_of_range&) {
        // A number somewhere inside that no double holds. Nobody here reads it.
        return true;
    } catch (const Json::parse_error&) {
        return false;
    }
}

std::optional<PropertyValue> propertyOf(std::string_view json) {
    if (looksLikeNumber(json)) {
        const bool isInteger = json.find_first_of(".eE") == std::string_view::npos;
        return isInteger ? numberOf<std::int64_t>(json) : numberOf<double>(json);
    }
    const Json value = Json::parse(json, nullptr, false);
    if (value.is_boolean()) {
        return value.get<bool>();
    }
    if (value.is_string()) {
        return value.get<std::string>();
    }
    return value.is_object() ? unwrapped(value) : std::nullopt;
}

}  // namespace quendokit::files

#include <array>
#include <charconv>
#include <cstddef>
#include <cstdint>
#include <span>
#include <system_error>
#include <utility>
#include <vector>

#include "adapters/cloudkit_web/key_value_text_internal.hpp"
#include "adapters/cloudkit_web/web_json_internal.hpp"
#include "quendokit/platform/base64.hpp"

namespace quendokit::web {
namespace {

constexpr std::string_view namePrefix = "key-";
constexpr std::size_t longestName = 255;

std::string base64Of(std::string_view text) {
    return base64(std::as_bytes(std::span(text)));
}

std::optional<std::string> fromBase64Text(std::string_view text) {
    const auto bytes = fromBase64(text);
    return bytes ? std::optional(std::string(reinterpret_cast<const char*>(bytes->data()), bytes->size()))
                 : std::nullopt;
}

/// As short as reads back as the same.
template <typename Number>
std::string numeral(Number number) {
    std::array<char, 64> buffer{};
    const auto end = std::to_chars(buffer.data(), buffer.data() + buffer.size(), number);
    return {buffer.data(), end.ptr};
}

template <typename Number>
std::optional<PropertyValue> numberIn(std::string_view text) {
    Number number{};
    const auto end = std::from_chars(text.data(), text.data() + text.size(), number);
    const bool isWhole = end.ec == std::errc() && end.ptr == text.data() + text.size();
    return isWhole ? std::optional<PropertyValue>(number) : std::nullopt;
}

template <typename Value>
std::optional<PropertyValue> property(std::optional<Value> value) {
    return value ? std::optional<PropertyValue>(*std::move(value)) : std::nullopt;
}

}  // namespace

KeyValueText textOf(const PropertyValue& value) {
    if (const auto* integer = std::get_if<std::int64_t>(&value)) {
        return {"integer", numeral(*integer)};
    }
    if (const auto* number = std::get_if<double>(&value)) {
        return {"number", numeral(*number)};
    }
    if (const auto* boolean = std::get_if<bool>(&value)) {
        return {"boolean", *boolean ? "true" : "false"};
    }
    if (const auto* text = std::get_if<std::string>(&value)) {
        return isPlainText(*text) ? KeyValueText{"text", *text} : KeyValueText{"text64", base64Of(*text)};
    }
    return {"data", base64(std::get<std::vector<std::byte>>(value))};
}

std::optional<PropertyValue> propertyOf(const KeyValueText& text) {
    if (text.kind == "integer") {
        return numberIn<std::int64_t>(text.content);
    }
    if (text.kind == "number") {
        return numberIn<double>(text.content);
    }
    if (text.kind == "boolean") {
        return text.content == "true" || text.content == "false" ? std::optional<PropertyValue>(text.content == "true")
                                                                 : std::nullopt;
    }
    if (text.kind == "text") {
        return text.content;
    }
    if (text.kind == "text64") {
        return property(fromBase64Text(text.content));
    }
    return text.kind == "data" ? property(fromBase64(text.content)) : std::nullopt;
}

bool isSame(const std::optional<PropertyValue>& one, const std::optional<PropertyValue>& other) {
    return one && other ? textOf(*one) == textOf(*other) : !one && !other;
}

std::optional<std::string> recordNameOf(std::string_view key) {
    std::string name = std::string(namePrefix) + base64Of(key);
    return name.size() <= longestName ? std::optional(std::move(name)) : std::nullopt;
}

std::optional<std::string> keyOf(std::string_view recordName) {
    return recordName.starts_with(namePrefix) ? fromBase64Text(recordName.substr(namePrefix.size())) : std::nullopt;
}

}  // namespace quendokit::web

#pragma once
/// \file
/// A value of any kind as two texts, its kind and its content, and keys as names of records.

#include <optional>
#include <string>
#include <string_view>

#include "quendokit/platform/property_value.hpp"

namespace quendokit::web {

/// Plain value.
struct KeyValueText {
    /// "integer", "number", "boolean", "text", or for a text that is not plain, "text64", or "data".
    std::string kind;
    std::string content;

    friend bool operator==(const KeyValueText&, const KeyValueText&) = default;
};

/// Stored format. 1 is "integer" and "1", 1.0 "number" and "1", true "boolean" and "true", bytes "data" and base64.
[[nodiscard]] KeyValueText textOf(const PropertyValue& value);

/// Absent unless `textOf` answers `text` for some value.
[[nodiscard]] std::optional<PropertyValue> propertyOf(const KeyValueText& text);

/// Whether both are absent, or of the same kind and content: 0.0 is not -0.0, and not a number is itself.
[[nodiscard]] bool isSame(const std::optional<PropertyValue>& one, const std::optional<PropertyValue>& other);

/// Stored format. A record's name for `key`, "key-" and the key in base64; absent when the key is too long.
[[nodiscard]] std::optional<std::string> recordNameOf(std::string_view key);

/// Absent when no key has that name.
[[nodiscard]] std::optional<std::string> keyOf(std::string_view recordName);

}  // namespace quendokit::web

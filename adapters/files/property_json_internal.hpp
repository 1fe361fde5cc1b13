#pragma once
/// \file
/// Settings as JSON texts. The only place that knows the JSON library.

#include <optional>
#include <string>
#include <string_view>

#include "quendokit/platform/property_value.hpp"

namespace quendokit::files {

/// Stored format. `value` as one line of JSON.
[[nodiscard]] std::string jsonOf(const PropertyValue& value);

/// Stored format. `key` as a JSON string; absent when it is not UTF-8.
[[nodiscard]] std::optional<std::string> jsonOfKey(std::string_view key);

/// The text that a JSON string means; absent when `json` is none.
[[nodiscard]] std::optional<std::string> keyOf(std::string_view json);

/// Whether `json` is one JSON value and nothing else.
[[nodiscard]] bool isJson(std::string_view json);

/// The value that `jsonOf` has written as `json`, or somebody else has meant by it. Absent when it is of another kind.
/// `json` is one JSON value.
[[nodiscard]] std::optional<PropertyValue> propertyOf(std::string_view json);

}  // namespace quendokit::files

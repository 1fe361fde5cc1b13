#pragma once
/// \file
/// Reading the JSON of requests, strictly and within limits.

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include <nlohmann/json_fwd.hpp>

#include "apps/quendo-cloudd/wire.hpp"

namespace cloudd {

inline constexpr std::size_t mostJsonDepth = 32;

/// Reads one JSON object: UTF-8, at most `mostJsonDepth` deep, no name twice in an object, no number beyond a double.
/// An empty text counts as an empty object.
[[nodiscard]] Reply<nlohmann::json> readObject(std::string_view text);

/// A member that is to be text: absent when it is missing or null, an error when it is anything else.
[[nodiscard]] Reply<std::optional<std::string>> optionalText(const nlohmann::json& object, const char* name);
/// The same, for a whole number not below 0.
[[nodiscard]] Reply<std::optional<std::int64_t>> optionalCount(const nlohmann::json& object, const char* name);
/// The same, for a boolean; numbers count as well, as some clients write 0 and 1.
[[nodiscard]] Reply<std::optional<bool>> optionalFlag(const nlohmann::json& object, const char* name);
/// The array of that name, of objects and not longer than `most`.
[[nodiscard]] Reply<const nlohmann::json*> objects(const nlohmann::json& object, const char* name, std::size_t most);

}  // namespace cloudd

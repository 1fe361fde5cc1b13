#pragma once
/// \file
/// JSON texts in and out, and members of objects. Nothing here throws.

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

#include <nlohmann/json_fwd.hpp>

#include "quendokit/platform/error.hpp"

namespace quendokit::web {

using Json = nlohmann::json;

inline constexpr std::size_t deepestNesting = 32;

/// What `text` holds. Of a member that stands there twice, the last. What is no JSON is a `networkFailure`, since it is
/// cut off or comes from somebody in between; what is nested too deeply is an `internalError`.
[[nodiscard]] Result<Json> parsed(std::string_view text);

/// `json` in one line; absent when a text in it is not UTF-8.
[[nodiscard]] std::optional<std::string> rendered(const Json& json);

/// Whether `text` is UTF-8 without a NUL, which is what servers take.
[[nodiscard]] bool isPlainText(std::string_view text);

/// The member `key` of `object`; null when `object` is none or has no such member.
[[nodiscard]] const Json* member(const Json& object, const char* key);
/// The same, for a text or a list; null when it is of another kind.
[[nodiscard]] const std::string* textMember(const Json& object, const char* key);
[[nodiscard]] const Json* listMember(const Json& object, const char* key);

/// A flag that may be left out, which means false. Absent when it is no boolean.
[[nodiscard]] std::optional<bool> flagMember(const Json& object, const char* key);

/// A text of somebody else's as part of one line: without control characters, and not long.
[[nodiscard]] std::string asPartOfALine(std::string_view text);

}  // namespace quendokit::web

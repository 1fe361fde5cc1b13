#pragma once
/// \file
/// Text of others, made harmless for a notification.

#include <cstddef>
#include <string>
#include <string_view>

namespace quendokit::dbus {

/// `text` in one line: a blank in the place of every control and line separator, nothing in the place of the marks that
/// change the reading direction, U+FFFD in the place of every byte that is no UTF-8. Of more than `mostCharacters` code
/// points so many are left, the last of them "…".
[[nodiscard]] std::string harmlessLine(std::string_view text, std::size_t mostCharacters);

/// `harmlessLine`, but a line feed, and every other line separator as one, stays.
[[nodiscard]] std::string harmlessLines(std::string_view text, std::size_t mostCharacters);

/// `text` as markup that shows it: with entities in the place of &, <, >, " and '.
[[nodiscard]] std::string escapedMarkup(std::string_view text);

}  // namespace quendokit::dbus

#pragma once
/// \file
/// Text of others, made harmless for a terminal.

#include <cstddef>
#include <limits>
#include <string>
#include <string_view>

namespace quendo {

/// `text` with what could move the cursor, break the line or turn the reading direction written out: the controls as
/// \u001B, the marks that change direction and the line separators as \u202E, bytes that are no UTF-8 as \xFF. All
/// other text stays as it is, a backslash too. After `mostCharacters` code points it is cut and ends in "…". Any
/// thread.
[[nodiscard]] std::string escapedText(std::string_view text,
                                      std::size_t mostCharacters = std::numeric_limits<std::size_t>::max());

/// Whether `text` is UTF-8 without NUL, as the cloud demands of titles. Any thread.
[[nodiscard]] bool isPlainText(std::string_view text);

/// `text` with U+FFFD in the place of every NUL and every byte that is no UTF-8. Any thread.
[[nodiscard]] std::string plainText(std::string_view text);

}  // namespace quendo

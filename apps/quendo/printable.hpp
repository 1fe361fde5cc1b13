#pragma once
/// \file
/// Texts of a person, made safe for a terminal.

#include <string>
#include <string_view>

namespace quendo {

/// `text` with control characters (C0, DEL, C1), marks that turn the direction of writing, and bytes that are not UTF-8
/// written as escapes: "\n", "\x1b", "\u{202e}".
[[nodiscard]] std::string printable(std::string_view text);

/// Whether `text` is UTF-8 without NUL, as the cloud demands of titles.
[[nodiscard]] bool isPlainText(std::string_view text);

}  // namespace quendo

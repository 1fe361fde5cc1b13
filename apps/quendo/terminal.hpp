#pragma once
/// \file
/// What the terminal that a text goes to can show, and marking the text for the eye.

#include <cstddef>
#include <optional>
#include <string>

namespace quendo {

/// What a piece of text is to the eye.
enum class Emphasis {
    none,
    heading,
    /// Past, or of less weight.
    faint,
    good,
    bad,
};

/// How text may look where it goes. Plain value; made without arguments it is for a file or a pipe, where nothing is
/// marked and nothing cut.
struct Style {
    bool colour = false;
    /// The terminal's width; absent when it is no terminal.
    std::optional<std::size_t> columns = {};

    /// `text` between the terminal's codes for `emphasis`; as it is without colour.
    [[nodiscard]] std::string marked(Emphasis emphasis, const std::string& text) const;
};

/// Of a terminal that does not tell its width.
inline constexpr std::size_t usualColumns = 80;

/// The style for what is written to `descriptor`, as 1 for standard output. Colour is for terminals alone; NO_COLOR,
/// when not empty, forbids it, and so does a TERM that is "dumb" or missing.
[[nodiscard]] Style styleOf(int descriptor);
[[nodiscard]] Style standardOutputStyle();

}  // namespace quendo

#pragma once
/// \file
/// Rows of text with their columns under each other.

#include <cstddef>
#include <string>
#include <vector>

#include "apps/quendo/terminal.hpp"

namespace quendo {

/// One field of a row. What it holds must be harmless for a terminal.
struct Cell {
    std::string text;
    Emphasis emphasis = Emphasis::none;
    /// Comes right behind the text and stays when that is cut.
    std::string tail = {};
};

/// Rows may differ in length. The last cell of a row takes what room is left, and widens no column.
using Row = std::vector<Cell>;

/// The terminal's columns that `text` takes; its bytes where it is no text of the locale.
[[nodiscard]] std::size_t widthOf(const std::string& text);

/// `text` if it takes no more than `columns`, else as much of its beginning as leaves room for the "…" behind it.
[[nodiscard]] std::string fitted(const std::string& text, std::size_t columns);

/// One line a row, `indent` blanks before it and two between cells. On a terminal the last cell of a row is cut to the
/// terminal's width; ten columns are left to it however narrow that is.
[[nodiscard]] std::vector<std::string> aligned(const std::vector<Row>& rows, const Style& style,
                                               std::size_t indent = 0);

}  // namespace quendo

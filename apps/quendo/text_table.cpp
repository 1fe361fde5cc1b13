#include "apps/quendo/text_table.hpp"

#include <algorithm>
#include <cwchar>
#include <limits>
#include <utility>

namespace quendo {
namespace {

constexpr std::size_t gap = 2;
constexpr std::size_t leastOfLastCell = 10;

/// The beginning of a text.
struct Beginning {
    std::size_t bytes;
    std::size_t columns;
};

bool isInsideCharacter(const std::string& text, std::size_t i) {
    return i < text.size() && (static_cast<unsigned char>(text[i]) & 0xC0U) == 0x80U;
}

/// The longest beginning of whole characters that takes no more than `columns`.
Beginning beginningWithin(const std::string& text, std::size_t columns) {
    Beginning beginning{0, 0};
    std::mbstate_t state{};
    while (beginning.bytes < text.size()) {
        wchar_t character = 0;
        const std::size_t left = text.size() - beginning.bytes;
        const std::size_t length = std::mbrtowc(&character, text.data() + beginning.bytes, left, &state);
        const int width = length > 0 && length <= left ? wcwidth(character) : -1;
        if (width < 0) {
            // No text of the locale: its bytes count, but a character of UTF-8 stays whole.
            std::size_t bytes = std::min(text.size(), columns);
            while (isInsideCharacter(text, bytes)) {
                --bytes;
            }
            return {bytes, bytes};
        }
        if (beginning.columns + static_cast<std::size_t>(width) > columns) {
            break;
        }
        beginning.bytes += length;
        beginning.columns += static_cast<std::size_t>(width);
    }
    return beginning;
}

}  // namespace

std::size_t widthOf(const std::string& text) {
    return beginningWithin(text, std::numeric_limits<std::size_t>::max()).columns;
}

std::string fitted(const std::string& text, std::size_t columns) {
    if (widthOf(text) <= columns) {
        return text;
    }
    return columns == 0 ? "" : text.substr(0, beginningWithin(text, columns - 1).bytes) + "…";
}

std::vector<std::string> aligned(const std::vector<Row>& rows, const Style& style, std::size_t indent) {
    std::vector<std::size_t> widths;
    for (const Row& row : rows) {
        widths.resize(std::max(widths.size(), row.size()));
        for (std::size_t i = 0; i + 1 < row.size(); ++i) {
            widths[i] = std::max(widths[i], widthOf(row[i].text + row[i].tail));
        }
    }
    std::vector<std::string> lines;
    lines.reserve(rows.size());
    for (const Row& row : rows) {
        std::string line(indent, ' ');
        std::size_t column = indent;
        for (std::size_t i = 0; i < row.size(); ++i) {
            const Cell& cell = row[i];
            if (i + 1 < row.size()) {
                const std::string text = cell.text + cell.tail;
                line += style.marked(cell.emphasis, text) + std::string(widths[i] - widthOf(text) + gap, ' ');
                column += widths[i] + gap;
                continue;
            }
            const std::size_t taken = column + widthOf(cell.tail);
            const std::size_t room = style.columns
                                         ? std::max(leastOfLastCell, *style.columns - std::min(taken, *style.columns))
                                         : std::numeric_limits<std::size_t>::max();
            line += style.marked(cell.emphasis, fitted(cell.text, room) + cell.tail);
        }
        lines.push_back(std::move(line));
    }
    return lines;
}

}  // namespace quendo

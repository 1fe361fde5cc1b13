#include "apps/quendo/printable.hpp"

#include <fmt/format.h>

#include <cstddef>
#include <optional>

namespace quendo {
namespace {

struct Character {
    char32_t code;
    std::size_t size;
};

/// The character at the start of `text`; absent when the bytes there are not UTF-8.
std::optional<Character> firstCharacter(std::string_view text) {
    const auto byte = [&](std::size_t i) { return static_cast<unsigned char>(text[i]); };
    const unsigned char lead = byte(0);
    if (lead < 0x80) {
        return Character{lead, 1};
    }
    const std::size_t size = lead >= 0xF0 ? 4 : lead >= 0xE0 ? 3 : 2;
    if (lead < 0xC2 || lead > 0xF4 || text.size() < size) {
        return std::nullopt;
    }
    char32_t code = lead & (0x7FU >> size);
    for (std::size_t i = 1; i < size; ++i) {
        if ((byte(i) & 0xC0U) != 0x80) {
            return std::nullopt;
        }
        code = (code << 6U) | (byte(i) & 0x3FU);
    }
    const bool overlong = (size == 3 && code < 0x800) || (size == 4 && code < 0x10000);
    const bool surrogate = code >= 0xD800 && code <= 0xDFFF;
    if (overlong || surrogate || code > 0x10FFFF) {
        return std::nullopt;
    }
    return Character{code, size};
}

bool turnsDirection(char32_t code) {
    return code == 0x061C || code == 0x200E || code == 0x200F || (code >= 0x202A && code <= 0x202E) ||
           (code >= 0x2066 && code <= 0x2069);
}

bool breaksLine(char32_t code) { return code == 0x2028 || code == 0x2029; }

std::string escaped(char32_t code) {
    switch (code) {
        case '\n':
            return "\\n";
        case '\r':
            return "\\r";
        case '\t':
            return "\\t";
        default:
            return code < 0x100 ? fmt::format("\\x{:02x}", static_cast<unsigned>(code))
                                : fmt::format("\\u{{{:x}}}", static_cast<unsigned>(code));
    }
}

}  // namespace

std::string printable(std::string_view text) {
    std::string result;
    while (!text.empty()) {
        const auto character = firstCharacter(text);
        if (!character) {
            result += escaped(static_cast<unsigned char>(text[0]));
            text.remove_prefix(1);
            continue;
        }
        const char32_t code = character->code;
        if (code < 0x20 || (code >= 0x7F && code < 0xA0) || turnsDirection(code) || breaksLine(code)) {
            result += escaped(code);
        } else {
            result += text.substr(0, character->size);
        }
        text.remove_prefix(character->size);
    }
    return result;
}

bool isPlainText(std::string_view text) {
    while (!text.empty()) {
        const auto character = firstCharacter(text);
        if (!character || character->code == 0) {
            return false;
        }
        text.remove_prefix(character->size);
    }
    return true;
}

}  // namespace quendo

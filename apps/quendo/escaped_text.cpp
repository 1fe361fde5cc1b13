#include "apps/quendo/escaped_text.hpp"

#include <algorithm>

#include <fmt/format.h>

namespace quendo {
namespace {

/// The code point at the start of a text and the bytes it takes; `length` 0 means that no UTF-8 stands there.
struct CodePoint {
    char32_t value = 0;
    std::size_t length = 0;
};

CodePoint firstCodePoint(std::string_view text) {
    const auto byte = [&](std::size_t i) { return static_cast<unsigned char>(text[i]); };
    const unsigned lead = byte(0);
    if (lead < 0x80) {
        return {lead, 1};
    }
    const std::size_t length = lead >= 0xF0 ? 4 : lead >= 0xE0 ? 3 : 2;
    if (lead < 0xC0 || lead > 0xF7 || text.size() < length) {
        return {};
    }
    char32_t value = lead & (0x7FU >> length);
    for (std::size_t i = 1; i < length; ++i) {
        if ((byte(i) & 0xC0U) != 0x80) {
            return {};
        }
        value = (value << 6U) | (byte(i) & 0x3FU);
    }
    constexpr char32_t leastOfLength[] = {0, 0, 0x80, 0x800, 0x1'0000};
    const bool isSurrogate = 0xD800 <= value && value <= 0xDFFF;
    if (value < leastOfLength[length] || isSurrogate || value > 0x10'FFFF) {
        return {};
    }
    return {value, length};
}

bool isHarmful(char32_t c) {
    const bool isControl = c < 0x20 || (0x7F <= c && c <= 0x9F);
    const bool isLineSeparator = c == 0x2028 || c == 0x2029;
    const bool isDirection =
        c == 0x061C || c == 0x200E || c == 0x200F || (0x202A <= c && c <= 0x202E) || (0x2066 <= c && c <= 0x2069);
    return isControl || isLineSeparator || isDirection;
}

}  // namespace

std::string escapedText(std::string_view text, std::size_t mostCharacters) {
    std::string escaped;
    for (std::size_t count = 0; !text.empty(); ++count) {
        if (count == mostCharacters) {
            return escaped + "…";
        }
        const CodePoint c = firstCodePoint(text);
        if (c.length == 0) {
            escaped += fmt::format("\\x{:02X}", static_cast<unsigned char>(text.front()));
            text.remove_prefix(1);
            continue;
        }
        if (isHarmful(c.value)) {
            escaped += fmt::format("\\u{:04X}", static_cast<std::uint32_t>(c.value));
        } else {
            escaped += text.substr(0, c.length);
        }
        text.remove_prefix(c.length);
    }
    return escaped;
}

bool isPlainText(std::string_view text) {
    while (!text.empty()) {
        const CodePoint c = firstCodePoint(text);
        if (c.length == 0 || c.value == 0) {
            return false;
        }
        text.remove_prefix(c.length);
    }
    return true;
}

std::string plainText(std::string_view text) {
    std::string plain;
    while (!text.empty()) {
        const CodePoint c = firstCodePoint(text);
        const std::size_t length = std::max<std::size_t>(c.length, 1);
        plain += c.length == 0 || c.value == 0 ? "\uFFFD" : text.substr(0, length);
        text.remove_prefix(length);
    }
    return plain;
}

}  // namespace quendo

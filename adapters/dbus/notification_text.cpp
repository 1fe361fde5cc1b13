#include "adapters/dbus/notification_text_internal.hpp"

namespace quendokit::dbus {
namespace {

/// The code point at the start of a text and the bytes it takes; `length` 0 means that no UTF-8 stands there.
struct Character {
    char32_t value = 0;
    std::size_t length = 0;
};

Character firstCharacter(std::string_view text) {
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

bool isControl(char32_t c) {
    return c < 0x20 || (0x7F <= c && c <= 0x9F);
}

bool isLineEnd(char32_t c) {
    return c == U'\n' || c == 0x85 || c == 0x2028 || c == 0x2029;
}

bool isDirection(char32_t c) {
    return c == 0x061C || c == 0x200E || c == 0x200F || (0x202A <= c && c <= 0x202E) || (0x2066 <= c && c <= 0x2069);
}

std::string harmless(std::string_view text, std::size_t mostCharacters, std::string_view lineEnd) {
    std::string result;
    // Where the last character that is allowed begins: what is cut ends in "…" there.
    std::size_t last = 0;
    std::size_t count = 0;
    while (!text.empty()) {
        const Character c = firstCharacter(text);
        const std::string_view own = text.substr(0, c.length == 0 ? 1 : c.length);
        text.remove_prefix(own.size());
        if (c.length != 0 && isDirection(c.value)) {
            continue;
        }
        if (++count > mostCharacters) {
            result.resize(last);
            return result + "…";
        }
        last = count == mostCharacters ? result.size() : last;
        if (c.length == 0) {
            result += "\uFFFD";
        } else if (isLineEnd(c.value)) {
            result += lineEnd;
        } else if (isControl(c.value)) {
            result += ' ';
        } else {
            result += own;
        }
    }
    return result;
}

}  // namespace

std::string harmlessLine(std::string_view text, std::size_t mostCharacters) {
    return harmless(text, mostCharacters, " ");
}

std::string harmlessLines(std::string_view text, std::size_t mostCharacters) {
    return harmless(text, mostCharacters, "\n");
}

std::string escapedMarkup(std::string_view text) {
    std::string escaped;
    for (const char c : text) {
        switch (c) {
            case '&':
                escaped += "&amp;";
                break;
            case '<':
                escaped += "&lt;";
                break;
            case '>':
                escaped += "&gt;";
                break;
            case '"':
                escaped += "&quot;";
                break;
            case '\'':
                escaped += "&#39;";
                break;
            default:
                escaped += c;
        }
    }
    return escaped;
}

}  // namespace quendokit::dbus

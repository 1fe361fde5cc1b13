#include "quendokit/platform/base64.hpp"

#include <algorithm>
#include <array>
#include <cstdint>
#include <utility>

namespace quendokit {
namespace {

constexpr std::string_view digits = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
constexpr char padding = '=';
constexpr std::uint8_t noDigit = 0xFF;

constexpr std::array<std::uint8_t, 256> digitValues() {
    std::array<std::uint8_t, 256> values{};
    values.fill(noDigit);
    for (std::size_t i = 0; i < digits.size(); ++i) {
        values[static_cast<unsigned char>(digits[i])] = static_cast<std::uint8_t>(i);
    }
    return values;
}

constexpr auto valueOfDigit = digitValues();

}  // namespace

std::string base64(std::span<const std::byte> bytes) {
    std::string text;
    text.reserve((bytes.size() + 2) / 3 * 4);
    for (std::size_t i = 0; i < bytes.size(); i += 3) {
        const std::size_t count = std::min<std::size_t>(3, bytes.size() - i);
        std::uint32_t group = 0;
        for (std::size_t k = 0; k < 3; ++k) {
            group = group << 8U | (k < count ? std::to_integer<std::uint32_t>(bytes[i + k]) : 0U);
        }
        for (std::size_t k = 0; k < 4; ++k) {
            text += k <= count ? digits[group >> (18U - 6U * k) & 0x3FU] : padding;
        }
    }
    return text;
}

std::optional<std::vector<std::byte>> fromBase64(std::string_view text) {
    if (text.size() % 4 != 0) {
        return std::nullopt;
    }
    std::vector<std::byte> bytes;
    bytes.reserve(text.size() / 4 * 3);
    for (std::size_t i = 0; i < text.size(); i += 4) {
        std::size_t count = 4;
        while (i + 4 == text.size() && count > 2 && text[i + count - 1] == padding) {
            --count;
        }
        std::uint32_t group = 0;
        for (std::size_t k = 0; k < 4; ++k) {
            const std::uint8_t value = k < count ? valueOfDigit[static_cast<unsigned char>(text[i + k])] : 0;
            if (value == noDigit) {
                return std::nullopt;
            }
            group = group << 6U | value;
        }
        for (std::size_t k = 0; k + 1 < count; ++k) {
            bytes.push_back(static_cast<std::byte>(group >> (16U - 8U * k)));
        }
    }
    // Bits behind the last byte would be lost: such a text is none of ours.
    return base64(bytes) == text ? std::optional(std::move(bytes)) : std::nullopt;
}

}  // namespace quendokit

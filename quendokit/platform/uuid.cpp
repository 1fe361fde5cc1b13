#include "quendokit/platform/uuid.hpp"

#include <array>
#include <cstddef>
#include <cstdint>
#include <random>

#include "quendokit/platform/services.hpp"

namespace quendokit {
namespace {

constexpr std::size_t byteCount = 16;

std::array<std::uint8_t, byteCount> randomBytes() {
    std::random_device device;
    std::array<std::uint8_t, byteCount> bytes{};
    for (std::size_t i = 0; i < byteCount; i += 4) {
        const std::uint32_t word = device();
        for (std::size_t k = 0; k < 4; ++k) {
            bytes[i + k] = static_cast<std::uint8_t>(word >> (8 * k));
        }
    }
    return bytes;
}

std::string randomUUID() {
    constexpr char digits[] = "0123456789ABCDEF";
    auto bytes = randomBytes();
    bytes[6] = static_cast<std::uint8_t>((bytes[6] & 0x0FU) | 0x40U);  // version 4
    bytes[8] = static_cast<std::uint8_t>((bytes[8] & 0x3FU) | 0x80U);  // the variant of RFC 4122
    std::string text;
    text.reserve(36);
    for (std::size_t i = 0; i < byteCount; ++i) {
        if (i == 4 || i == 6 || i == 8 || i == 10) {
            text += '-';
        }
        text += digits[bytes[i] >> 4U];
        text += digits[bytes[i] & 0x0FU];
    }
    return text;
}

}  // namespace

std::string makeUUID() {
    const auto& source = platform::services().uuidSource;
    return source ? source() : randomUUID();
}

}  // namespace quendokit

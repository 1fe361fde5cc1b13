#include "apps/quendo-cloudd/sync_token.hpp"

#include <array>

namespace cloudd {
namespace {

constexpr std::string_view alphabet = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
constexpr std::size_t identitySize = 32;
constexpr std::size_t sequenceSize = 8;
/// Kind, identity, sequence: 27 bytes, which are 36 characters without padding.
constexpr std::size_t byteCount = 3 + identitySize / 2 + sequenceSize;
constexpr std::size_t textSize = byteCount / 3 * 4;
static_assert(byteCount % 3 == 0);

unsigned hexValue(char digit) {
    return static_cast<unsigned>(digit <= '9' ? digit - '0' : digit - 'a' + 10);
}

std::string prefixOf(FeedKind kind, std::string_view identity) {
    std::string bytes = kind == FeedKind::zone ? std::string("\0\1Z", 3) : std::string("\0\1D", 3);
    for (std::size_t i = 0; i + 1 < identity.size(); i += 2) {
        bytes += static_cast<char>(hexValue(identity[i]) * 16 + hexValue(identity[i + 1]));
    }
    return bytes;
}

std::string base64(std::string_view bytes) {
    std::string text;
    for (std::size_t i = 0; i + 2 < bytes.size(); i += 3) {
        unsigned group = 0;
        for (std::size_t j = 0; j < 3; ++j) {
            group = group << 8 | static_cast<unsigned char>(bytes[i + j]);
        }
        for (int shift = 18; shift >= 0; shift -= 6) {
            text += alphabet[group >> shift & 63];
        }
    }
    return text;
}

std::optional<std::string> bytesOf(std::string_view text) {
    std::string bytes;
    for (std::size_t i = 0; i + 3 < text.size(); i += 4) {
        unsigned group = 0;
        for (std::size_t j = 0; j < 4; ++j) {
            const std::size_t value = alphabet.find(text[i + j]);
            if (value == std::string_view::npos) {
                return std::nullopt;
            }
            group = group << 6 | static_cast<unsigned>(value);
        }
        for (int shift = 16; shift >= 0; shift -= 8) {
            bytes += static_cast<char>(group >> shift & 255);
        }
    }
    return bytes;
}

}  // namespace

std::string makeSyncToken(FeedKind kind, std::string_view identity, std::int64_t sequence) {
    std::string bytes = prefixOf(kind, identity);
    for (int shift = 56; shift >= 0; shift -= 8) {
        bytes += static_cast<char>(static_cast<std::uint64_t>(sequence) >> shift & 255);
    }
    return base64(bytes);
}

SyncTokenReading readSyncToken(std::string_view token, FeedKind kind, std::string_view identity, std::int64_t newest) {
    SyncTokenReading unknown{std::nullopt, "Unknown sync continuation type"};
    if (token.size() != textSize) {
        return {std::nullopt, "Invalid continuation format"};
    }
    const auto bytes = bytesOf(token);
    const std::string prefix = prefixOf(kind, identity);
    if (!bytes || !bytes->starts_with(prefix)) {
        return unknown;
    }
    std::uint64_t sequence = 0;
    for (std::size_t i = 0; i < sequenceSize; ++i) {
        sequence = sequence << 8 | static_cast<unsigned char>((*bytes)[prefix.size() + i]);
    }
    if (sequence > static_cast<std::uint64_t>(newest)) {
        return unknown;
    }
    return {static_cast<std::int64_t>(sequence), {}};
}

}  // namespace cloudd

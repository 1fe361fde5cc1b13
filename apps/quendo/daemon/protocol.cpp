#include "apps/quendo/daemon/protocol.hpp"

#include <algorithm>

namespace quendo {
namespace {

constexpr std::string_view magic = "quendo";
constexpr std::uint16_t protocolNumber = 1;
constexpr std::size_t headSize = magic.size() + 3;

unsigned char byteAt(std::string_view bytes, std::size_t index) {
    return static_cast<unsigned char>(bytes[index]);
}

}  // namespace

std::string lengthBytes(std::size_t length) {
    std::string bytes;
    for (std::size_t i = 0; i < lengthSize; ++i) {
        bytes.push_back(static_cast<char>(static_cast<unsigned char>(length >> (8 * i))));
    }
    return bytes;
}

std::size_t lengthIn(std::string_view bytes) {
    std::size_t length = 0;
    for (std::size_t i = 0; i < lengthSize; ++i) {
        length |= std::size_t{byteAt(bytes, i)} << (8 * i);
    }
    return length;
}

std::string programVersion() {
    return QUENDO_VERSION;
}

std::string greeting() {
    const std::string version = programVersion();
    std::string bytes(magic);
    bytes.push_back(static_cast<char>(protocolNumber & 0xff));
    bytes.push_back(static_cast<char>(protocolNumber >> 8));
    bytes.push_back(static_cast<char>(version.size()));
    return bytes + version;
}

bool Greeting::isOurs() const {
    return state == State::whole && protocol == protocolNumber && version == programVersion();
}

Greeting readGreeting(std::string_view bytes) {
    if (bytes.substr(0, magic.size()) != magic.substr(0, std::min(bytes.size(), magic.size()))) {
        return {Greeting::State::foreign};
    }
    if (bytes.size() < headSize) {
        return {Greeting::State::incomplete};
    }
    const std::size_t size = headSize + byteAt(bytes, headSize - 1);
    if (bytes.size() < size) {
        return {Greeting::State::incomplete};
    }
    const auto protocol =
        static_cast<std::uint16_t>(byteAt(bytes, magic.size()) | (byteAt(bytes, magic.size() + 1) << 8));
    return {Greeting::State::whole, size, protocol, std::string(bytes.substr(headSize, size - headSize))};
}

}  // namespace quendo

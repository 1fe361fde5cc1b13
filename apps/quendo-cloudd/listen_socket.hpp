#pragma once
/// \file
/// The socket that connections come to.

#include <cstdint>
#include <string>

#include "quendokit/platform/error.hpp"

struct sockaddr;

namespace cloudd {

/// A bound socket that listens. Closes it at its end, unless it was released.
class ListenSocket {
public:
    /// `address` is `HOST:PORT` or `[HOST]:PORT`, HOST a numeric address or `localhost`. Port 0 picks a free one. An
    /// address that cannot be meant has the code 2, one that cannot be had the code 1.
    [[nodiscard]] static quendokit::Result<ListenSocket> open(const std::string& address);

    ListenSocket(ListenSocket&& other) noexcept;
    ListenSocket& operator=(ListenSocket&&) = delete;
    ListenSocket(const ListenSocket&) = delete;
    ListenSocket& operator=(const ListenSocket&) = delete;
    ~ListenSocket();

    [[nodiscard]] int descriptor() const noexcept { return descriptor_; }
    /// The descriptor, for somebody else to close.
    [[nodiscard]] int release() noexcept;
    [[nodiscard]] std::uint16_t port() const noexcept { return port_; }
    [[nodiscard]] bool isLoopback() const noexcept { return isLoopback_; }
    /// As a client writes it, "127.0.0.1:8420".
    [[nodiscard]] const std::string& name() const noexcept { return name_; }

private:
    ListenSocket(int descriptor, std::uint16_t port, bool isLoopback, std::string name)
        : descriptor_(descriptor), port_(port), isLoopback_(isLoopback), name_(std::move(name)) {}

    int descriptor_;
    std::uint16_t port_;
    bool isLoopback_;
    std::string name_;
};

/// A peer's address for limits: of IPv6 the network that one customer has, since that has addresses without end.
[[nodiscard]] std::string addressForLimits(const sockaddr* address);
[[nodiscard]] bool isLoopback(const sockaddr* address);

}  // namespace cloudd

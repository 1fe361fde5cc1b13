#include "apps/quendo-cloudd/listen_socket.hpp"

#include <array>
#include <cerrno>
#include <cstring>
#include <memory>
#include <netdb.h>
#include <system_error>
#include <unistd.h>
#include <utility>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>

#include "quendokit/platform/realm_error.hpp"

namespace cloudd {
namespace {

using quendokit::Error;

constexpr int backlog = 1'024;
constexpr int cannotBeMeant = 2;
constexpr int cannotBeHad = 1;

Error badAddress(const std::string& address) {
    return {"Listen", cannotBeMeant,
            "--listen takes an address and a port, as 127.0.0.1:8420 or [::1]:8420, and not \"" + address + "\""};
}

Error unavailable(const std::string& address, int number) {
    return {"Listen", cannotBeHad,
            address + ": " + std::generic_category().message(number) + "; choose another address with --listen"};
}

bool isPort(const std::string& text) {
    return !text.empty() && text.size() <= 5 && text.find_first_not_of("0123456789") == std::string::npos &&
           std::stoi(text) <= 65'535;
}

std::uint16_t boundPort(int descriptor) {
    sockaddr_storage bound{};
    socklen_t size = sizeof bound;
    if (getsockname(descriptor, reinterpret_cast<sockaddr*>(&bound), &size) != 0) {
        return 0;
    }
    return ntohs(bound.ss_family == AF_INET6 ? reinterpret_cast<const sockaddr_in6&>(bound).sin6_port
                                             : reinterpret_cast<const sockaddr_in&>(bound).sin_port);
}

}  // namespace

quendokit::Result<ListenSocket> ListenSocket::open(const std::string& address) {
    const std::size_t colon = address.rfind(':');
    std::string host = address.substr(0, colon);
    const std::string port = colon == std::string::npos ? "" : address.substr(colon + 1);
    const bool isBracketed = host.size() > 2 && host.front() == '[' && host.back() == ']';
    if (!isPort(port) || host.empty() || (!isBracketed && host.find(':') != std::string::npos)) {
        return badAddress(address);
    }
    if (isBracketed) {
        host = host.substr(1, host.size() - 2);
    }
    addrinfo hints{};
    hints.ai_socktype = SOCK_STREAM;
    hints.ai_flags = AI_NUMERICHOST | AI_NUMERICSERV | AI_PASSIVE;
    addrinfo* found = nullptr;
    if (getaddrinfo(host == "localhost" ? "127.0.0.1" : host.c_str(), port.c_str(), &hints, &found) != 0) {
        return badAddress(address);
    }
    const std::unique_ptr<addrinfo, void (*)(addrinfo*)> owner(found, freeaddrinfo);
    const int descriptor = socket(found->ai_family, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
    if (descriptor < 0) {
        return unavailable(address, errno);
    }
    ListenSocket result(descriptor, 0, cloudd::isLoopback(found->ai_addr), "");
    const int yes = 1;
    setsockopt(descriptor, SOL_SOCKET, SO_REUSEADDR, &yes, sizeof yes);
    if (bind(descriptor, found->ai_addr, found->ai_addrlen) != 0 || listen(descriptor, backlog) != 0) {
        return unavailable(address, errno);
    }
    result.port_ = boundPort(descriptor);
    result.name_ = (isBracketed ? "[" + host + "]" : host) + ":" + std::to_string(result.port_);
    return result;
}

ListenSocket::ListenSocket(ListenSocket&& other) noexcept
    : descriptor_(std::exchange(other.descriptor_, -1)),
      port_(other.port_),
      isLoopback_(other.isLoopback_),
      name_(std::move(other.name_)) {}

ListenSocket::~ListenSocket() {
    if (descriptor_ >= 0) {
        close(descriptor_);
    }
}

int ListenSocket::release() noexcept {
    return std::exchange(descriptor_, -1);
}

std::string addressForLimits(const sockaddr* address) {
    std::array<char, INET6_ADDRSTRLEN> text{};
    if (address->sa_family == AF_INET) {
        inet_ntop(AF_INET, &reinterpret_cast<const sockaddr_in*>(address)->sin_addr, text.data(), text.size());
    } else if (address->sa_family == AF_INET6) {
        in6_addr network = reinterpret_cast<const sockaddr_in6*>(address)->sin6_addr;
        if (!IN6_IS_ADDR_V4MAPPED(&network)) {
            std::memset(network.s6_addr + 8, 0, 8);
        }
        inet_ntop(AF_INET6, &network, text.data(), text.size());
    }
    return text.data();
}

bool isLoopback(const sockaddr* address) {
    if (address->sa_family == AF_INET) {
        return ntohl(reinterpret_cast<const sockaddr_in*>(address)->sin_addr.s_addr) >> 24 == 127;
    }
    return address->sa_family == AF_INET6 &&
           IN6_IS_ADDR_LOOPBACK(&reinterpret_cast<const sockaddr_in6*>(address)->sin6_addr);
}

}  // namespace cloudd

#pragma once
/// \file
/// A client that sends the bytes it is told to.

#include <chrono>
#include <cstdint>
#include <string>
#include <string_view>
#include <strings.h>
#include <unistd.h>
#include <utility>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <sys/time.h>

namespace cloudd::testing {

struct RawAnswer {
    /// 0 when the connection ended without a whole answer.
    int status = 0;
    std::string header;
    std::string body;
};

/// One connection over loopback, from any of its addresses: 127.A.B.C. Gives up after ten seconds without a byte.
class RawClient {
public:
    explicit RawClient(std::uint16_t port, std::uint32_t from = 0x7F000001)
        : socket_(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
        sockaddr_in own{};
        own.sin_family = AF_INET;
        own.sin_addr.s_addr = htonl(from);
        sockaddr_in server{};
        server.sin_family = AF_INET;
        server.sin_port = htons(port);
        server.sin_addr.s_addr = htonl(0x7F000001);
        const timeval patience{10, 0};
        setsockopt(socket_, SOL_SOCKET, SO_RCVTIMEO, &patience, sizeof patience);
        isConnected_ = bind(socket_, reinterpret_cast<const sockaddr*>(&own), sizeof own) == 0 &&
                       connect(socket_, reinterpret_cast<const sockaddr*>(&server), sizeof server) == 0;
    }
    RawClient(RawClient&& other) noexcept
        : socket_(std::exchange(other.socket_, -1)),
          isConnected_(other.isConnected_),
          received_(std::move(other.received_)) {}
    RawClient& operator=(RawClient&&) = delete;
    RawClient(const RawClient&) = delete;
    RawClient& operator=(const RawClient&) = delete;
    ~RawClient() {
        if (socket_ >= 0) {
            close(socket_);
        }
    }

    [[nodiscard]] bool isConnected() const noexcept { return isConnected_; }

    /// False when the server has closed.
    bool send(std::string_view bytes) {
        while (!bytes.empty()) {
            const ssize_t count = ::send(socket_, bytes.data(), bytes.size(), MSG_NOSIGNAL);
            if (count < 0) {
                return false;
            }
            bytes.remove_prefix(static_cast<std::size_t>(count));
        }
        return true;
    }
    void finishSending() { shutdown(socket_, SHUT_WR); }

    /// The next answer, by its Content-Length.
    RawAnswer receive() {
        RawAnswer answer;
        while (received_.find("\r\n\r\n") == std::string::npos) {
            if (!more()) {
                return answer;
            }
        }
        answer.header = received_.substr(0, received_.find("\r\n\r\n") + 2);
        const std::size_t length = static_cast<std::size_t>(std::stoul("0" + headerOf(answer, "Content-Length")));
        const std::size_t begin = answer.header.size() + 2;
        while (received_.size() < begin + length) {
            if (!more()) {
                return answer;
            }
        }
        answer.body = received_.substr(begin, length);
        answer.status = std::stoi(answer.header.substr(9, 3));
        received_.erase(0, begin + length);
        return answer;
    }

    /// Everything until the server closes.
    std::string receiveAll() {
        while (more()) {
        }
        return std::exchange(received_, {});
    }

    /// Whether the server closes within the patience, whatever it sends before.
    bool isClosed() {
        while (more()) {
        }
        return isEnded_;
    }

    static std::string headerOf(const RawAnswer& answer, std::string_view name) {
        std::size_t line = 0;
        while (line < answer.header.size()) {
            const std::size_t end = answer.header.find("\r\n", line);
            if (strncasecmp(answer.header.c_str() + line, name.data(), name.size()) == 0 &&
                answer.header[line + name.size()] == ':') {
                return answer.header.substr(line + name.size() + 2, end - line - name.size() - 2);
            }
            line = end + 2;
        }
        return "";
    }

private:
    bool more() {
        char buffer[16'384];
        const ssize_t count = recv(socket_, buffer, sizeof buffer, 0);
        isEnded_ = count == 0 || (count < 0 && errno == ECONNRESET);
        if (count <= 0) {
            return false;
        }
        received_.append(buffer, static_cast<std::size_t>(count));
        return true;
    }

    int socket_;
    bool isConnected_ = false;
    bool isEnded_ = false;
    std::string received_;
};

inline std::string getRequest(const std::string& target) {
    return "GET " + target + " HTTP/1.1\r\nHost: localhost\r\n\r\n";
}

inline std::string postRequest(const std::string& target, const std::string& body) {
    return "POST " + target + " HTTP/1.1\r\nHost: localhost\r\nContent-Length: " + std::to_string(body.size()) +
           "\r\n\r\n" + body;
}

}  // namespace cloudd::testing

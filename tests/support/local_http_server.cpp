#include "tests/support/local_http_server.hpp"

#include <algorithm>
#include <array>
#include <cctype>
#include <optional>
#include <string_view>
#include <unistd.h>
#include <utility>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>

namespace quendokit::testing {
namespace {

sockaddr* generic(sockaddr_in* address) {
    return reinterpret_cast<sockaddr*>(address);
}

/// Reads on into `text` until there is enough. False when the other side closes before.
bool readUntil(int socket, std::string& text, const std::function<bool(const std::string&)>& isEnough) {
    std::array<char, 4'096> buffer{};
    while (!isEnough(text)) {
        const ssize_t count = recv(socket, buffer.data(), buffer.size(), 0);
        if (count <= 0) {
            return false;
        }
        text.append(buffer.data(), static_cast<std::size_t>(count));
    }
    return true;
}

ReceivedRequest headOf(std::string_view head) {
    ReceivedRequest request;
    while (!head.empty()) {
        const std::size_t end = head.find("\r\n");
        const std::string_view line = head.substr(0, end);
        const std::size_t colon = line.find(": ");
        if (request.line.empty()) {
            request.line = line;
        } else if (colon != std::string_view::npos) {
            std::string name(line.substr(0, colon));
            std::transform(name.begin(), name.end(), name.begin(),
                           [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
            request.headers[name] = line.substr(colon + 2);
        }
        head = end == std::string_view::npos ? std::string_view() : head.substr(end + 2);
    }
    return request;
}

/// Takes the next request out of `text` and what follows on the socket.
std::optional<ReceivedRequest> nextRequest(int socket, std::string& text) {
    constexpr std::string_view headEnd = "\r\n\r\n";
    if (!readUntil(socket, text, [&](const std::string& all) { return all.find(headEnd) != std::string::npos; })) {
        return std::nullopt;
    }
    const std::size_t head = text.find(headEnd);
    ReceivedRequest request = headOf(std::string_view(text).substr(0, head));
    text.erase(0, head + headEnd.size());
    const auto length = request.headers.find("content-length");
    const std::size_t size = length == request.headers.end() ? 0 : std::stoul(length->second);
    if (!readUntil(socket, text, [&](const std::string& all) { return all.size() >= size; })) {
        return std::nullopt;
    }
    request.body = text.substr(0, size);
    text.erase(0, size);
    return request;
}

}  // namespace

LocalHttpServer::LocalHttpServer(Handler handler) : handler_(std::move(handler)) {
    listener_ = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t size = sizeof address;
    if (bind(listener_, generic(&address), size) == 0 && listen(listener_, 64) == 0 &&
        getsockname(listener_, generic(&address), &size) == 0) {
        port_ = ntohs(address.sin_port);
    }
    thread_ = std::thread([this] { accept(); });
}

LocalHttpServer::~LocalHttpServer() {
    isStopped_ = true;
    shutdown(listener_, SHUT_RDWR);
    thread_.join();
    close(listener_);
    {
        const std::lock_guard lock(mutex_);
        for (const Connection& connection : connections_) {
            shutdown(connection.socket, SHUT_RDWR);
        }
    }
    for (Connection& connection : connections_) {
        connection.thread.join();
        close(connection.socket);
    }
}

std::string LocalHttpServer::url() const {
    return "http://127.0.0.1:" + std::to_string(port_);
}

void LocalHttpServer::accept() {
    while (!isStopped_) {
        const int socket = accept4(listener_, nullptr, nullptr, SOCK_CLOEXEC);
        if (socket >= 0) {
            const std::lock_guard lock(mutex_);
            connections_.push_back({socket, std::thread([this, socket] { serve(socket); })});
        }
    }
}

void LocalHttpServer::serve(int socket) {
    std::string text;
    while (const auto request = nextRequest(socket, text)) {
        ++requestCount_;
        const std::string answer = handler_(*request);
        const bool isSent = send(socket, answer.data(), answer.size(), MSG_NOSIGNAL) >= 0;
        if (answer.empty() || !isSent || answer.find("Connection: close") != std::string::npos) {
            shutdown(socket, SHUT_RDWR);
            return;
        }
    }
}

std::string httpAnswer(int status, const std::string& body, const std::string& headers) {
    return "HTTP/1.1 " + std::to_string(status) + " x\r\n" + headers +
           "Content-Length: " + std::to_string(body.size()) + "\r\n\r\n" + body;
}

}  // namespace quendokit::testing

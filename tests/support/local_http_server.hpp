#pragma once
/// \file
/// `LocalHttpServer`, a server on this machine that answers what a test says.

#include <atomic>
#include <functional>
#include <list>
#include <map>
#include <mutex>
#include <string>
#include <thread>

namespace quendokit::testing {

/// A request as it came. Plain value.
struct ReceivedRequest {
    /// As "POST /path?query HTTP/1.1".
    std::string line;
    /// By their names in lower case.
    std::map<std::string, std::string> headers;
    std::string body;
};

/// Speaks plain HTTP on a port of its own, on several connections at once.
class LocalHttpServer {
public:
    /// Answers the bytes of an answer, from its status line on. The connection is closed behind nothing, and behind
    /// "Connection: close". Called on a thread of
    /// the connection; may wait, but not longer than the test.
    using Handler = std::function<std::string(const ReceivedRequest&)>;

    explicit LocalHttpServer(Handler handler);
    LocalHttpServer(const LocalHttpServer&) = delete;
    LocalHttpServer& operator=(const LocalHttpServer&) = delete;
    /// Closes all connections.
    ~LocalHttpServer();

    /// As "http://127.0.0.1:40001".
    [[nodiscard]] std::string url() const;

    /// How many requests came.
    [[nodiscard]] int requestCount() const noexcept { return requestCount_.load(); }

private:
    struct Connection {
        int socket;
        std::thread thread;
    };

    void accept();
    void serve(int socket);

    const Handler handler_;
    std::atomic<int> requestCount_ = 0;
    std::atomic<bool> isStopped_ = false;
    int listener_ = -1;
    int port_ = 0;
    std::thread thread_;
    std::mutex mutex_;
    std::list<Connection> connections_;
};

/// An answer with these header lines ("Name: value\r\n" each) and its length.
[[nodiscard]] std::string httpAnswer(int status, const std::string& body, const std::string& headers = "");

}  // namespace quendokit::testing

#pragma once
/// \file
/// `RequestServer`, the daemon's ear.

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <thread>
#include <unistd.h>

#include <sys/types.h>

#include "apps/quendo/daemon/local_socket.hpp"
#include "apps/quendo/daemon/request_codec.hpp"
#include "quendokit/platform/dispatch_queue.hpp"

namespace quendo {

/// The way back to whoever asked. Shared freely; when the last copy goes without having answered, the client is hung up
/// on. Any thread. May outlive the server.
class RequestReply {
public:
    class Way;
    explicit RequestReply(std::shared_ptr<Way> way) : way_(std::move(way)) {}

    /// Sends the answer; only the first counts.
    void operator()(RequestAnswer answer) const;
    /// Whether the client hung up, so that nobody would read an answer.
    [[nodiscard]] bool isPointless() const;

private:
    std::shared_ptr<Way> way_;
};

struct RequestServerOptions {
    /// How long a client may take to send its request, and to read its answer.
    std::chrono::milliseconds patience = std::chrono::seconds(30);
    /// How long a client that says nothing keeps its place when others wait for one.
    std::chrono::milliseconds grace = std::chrono::milliseconds(250);
    /// How long `stop` waits for answers on their way.
    std::chrono::milliseconds farewell = std::chrono::seconds(2);
    std::size_t mostConnections = 64;
    /// Whose programs are served.
    uid_t user = geteuid();
    /// Hears a line about clients that were refused. On the server's thread. May be empty.
    std::function<void(const std::string&)> log;
};

/// Takes requests from other programs of the same user and brings them to a queue. Has a thread of its own, which
/// sleeps without a time-out while nobody is connected. Whoever sends anything but a request, or nothing at all, is
/// hung up on, and keeps nobody else waiting.
class RequestServer {
public:
    using Handler = std::function<void(Request, RequestReply)>;

    /// Borrows `socket`. `handle` is called in tasks of `queue`, until `stop`.
    RequestServer(const ListeningSocket& socket, std::shared_ptr<quendokit::DispatchQueue> queue, Handler handle,
                  RequestServerOptions options);
    RequestServer(const RequestServer&) = delete;
    RequestServer& operator=(const RequestServer&) = delete;
    /// Stops.
    ~RequestServer();

    /// Brings answers that were given on their way, and hangs up on everybody. `handle` is not called any more. On the
    /// thread of the queue's tasks.
    void stop();

    /// How often the thread has woken. Any thread.
    [[nodiscard]] std::uint64_t wakeUpCount() const;

private:
    class Loop;
    friend class RequestReply::Way;

    const std::shared_ptr<Loop> loop_;
    std::thread thread_;
};

}  // namespace quendo

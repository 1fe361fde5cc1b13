#include "apps/quendo/daemon/daemon.hpp"

#include <chrono>
#include <deque>
#include <memory>
#include <string>
#include <thread>
#include <utility>

#include "adapters/event_loop/event_loop.hpp"
#include "apps/quendo/daemon/daemon_client.hpp"
#include "apps/quendo/daemon/local_socket.hpp"
#include "apps/quendo/daemon/movable_queue.hpp"
#include "apps/quendo/daemon/protocol.hpp"
#include "apps/quendo/daemon/request_server.hpp"
#include "apps/quendo/daemon/termination.hpp"
#include "apps/quendo/daemon/warning_lines.hpp"
#include "apps/quendo/escaped_text.hpp"
#include "apps/quendo/session.hpp"
#include "quendokit/platform/line_sink.hpp"

namespace quendo {
namespace {

/// How long a command that is at work may take to end.
constexpr std::chrono::seconds patienceForCommands(5);
constexpr std::chrono::milliseconds betweenTries(10);

/// The lock, unless there is a daemon already.
Outcome<LockFile> takeDaemonLock(const Folders& folders) {
    const auto end = std::chrono::steady_clock::now() + patienceForCommands;
    for (;;) {
        auto lock = takeLock(folders, std::chrono::milliseconds(0));
        if (lock || lock.failure().code != ExitCode::locked) {
            return lock;
        }
        auto other = DaemonClient::find(folders.socket());
        if (!other) {
            return other.failure();
        }
        if (other.value()) {
            return Failure{ExitCode::locked, folders.socket().string() +
                                                 ": a daemon answers there already; end it first, as with systemctl "
                                                 "--user stop quendo"};
        }
        if (std::chrono::steady_clock::now() >= end) {
            return lock;
        }
        std::this_thread::sleep_for(betweenTries);
    }
}

class Daemon {
public:
    explicit Daemon(const Folders& folders)
        : folders_(folders),
          lines_(quendokit::makeStandardErrorSink()),
          warnings_([lines = lines_](const std::string& line) { lines->writeLine("quendo: " + escapedText(line)); }),
          termination_([this] { queue_->async([this] { stop(); }); }) {}

    [[nodiscard]] std::optional<Failure> run();

private:
    struct Waiting {
        Request request;
        RequestReply reply;
    };

    /// Serves by one session, until it has worked with the cloud or the daemon ends.
    void serve();
    void take(Request request, RequestReply reply);
    void answer(const Request& request, const RequestReply& reply);
    void stop();
    [[nodiscard]] DaemonHealth health() const { return {programVersion(), std::nullopt, {}}; }

    const Folders folders_;
    const std::shared_ptr<quendokit::LineSink> lines_;
    WarningLines warnings_;
    const std::shared_ptr<MovableQueue> queue_ = std::make_shared<MovableQueue>();
    std::unique_ptr<Session> session_;
    /// Those that run the loop, and so cannot be executed in one of its tasks.
    std::deque<Waiting> waiting_;
    bool stopping_ = false;
    // The last, which uses the others on a thread of its own.
    Termination termination_;
};

std::optional<Failure> Daemon::run() {
    auto taken = takeDaemonLock(folders_);
    if (!taken) {
        return taken.failure();
    }
    const auto lock = std::make_shared<LockFile>(std::move(taken).value());
    // Commands that come from now on wait in its queue.
    auto socket = ListeningSocket::open(folders_.socket());
    if (!socket) {
        return socket.failure();
    }
    RequestServerOptions options;
    options.log = [lines = lines_](const std::string& line) { lines->writeLine("quendo: " + line); };
    std::unique_ptr<RequestServer> server;
    while (!stopping_) {
        auto session = Session::open(folders_, lock, warnings_.sink(), lines_);
        if (!session) {
            return session.failure();
        }
        session_ = std::move(session).value();
        queue_->attach(session_->mainLoop());
        if (!server) {
            server = std::make_unique<RequestServer>(
                socket.value(), queue_,
                [this](Request request, RequestReply reply) { take(std::move(request), std::move(reply)); },
                std::move(options));
            lines_->writeLine("quendo: listening at " + folders_.socket().string());
        }
        serve();
        queue_->detach();
        session_.reset();
    }
    server->stop();
    return std::nullopt;
}

void Daemon::serve() {
    const auto loop = session_->mainLoop();
    for (;;) {
        static_cast<void>(
            loop->runUntil([this] { return stopping_ || !waiting_.empty(); }, std::chrono::nanoseconds::max()));
        if (stopping_) {
            return;
        }
        if (waiting_.empty()) {
            continue;
        }
        const Waiting next = std::move(waiting_.front());
        waiting_.pop_front();
        if (!next.reply.isPointless()) {
            answer(next.request, next.reply);
            // What the session knows of account and cloud is not so any more.
            return;
        }
    }
}

void Daemon::take(Request request, RequestReply reply) {
    if (session_->waits(request)) {
        waiting_.push_back({std::move(request), std::move(reply)});
    } else {
        answer(request, reply);
    }
}

void Daemon::answer(const Request& request, const RequestReply& reply) {
    WarningLines::Collection collection(warnings_);
    auto outcome = session_->execute(request);
    if (!outcome) {
        reply({collection.take(), outcome.failure()});
        return;
    }
    Response response = std::move(outcome).value();
    if (auto* view = std::get_if<HealthView>(&response)) {
        view->daemon = health();
    }
    reply({collection.take(), std::move(response)});
}

void Daemon::stop() {
    stopping_ = true;
    // A request that waits for the cloud gives up.
    session_->mainLoop()->stop();
}

}  // namespace

std::optional<Failure> runDaemon(const Folders& folders, const DaemonOptions&) {
    return Daemon(folders).run();
}

}  // namespace quendo

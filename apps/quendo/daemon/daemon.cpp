#include "apps/quendo/daemon/daemon.hpp"

#include <atomic>
#include <chrono>
#include <deque>
#include <functional>
#include <memory>
#include <string>
#include <thread>
#include <utility>

#include "adapters/event_loop/event_loop.hpp"
#include "apps/quendo/daemon/daemon_client.hpp"
#include "apps/quendo/daemon/local_socket.hpp"
#include "apps/quendo/daemon/movable_queue.hpp"
#include "apps/quendo/daemon/protocol.hpp"
#include "apps/quendo/daemon/reminder_bell.hpp"
#include "apps/quendo/daemon/request_server.hpp"
#include "apps/quendo/daemon/service_manager.hpp"
#include "apps/quendo/daemon/termination.hpp"
#include "apps/quendo/daemon/warning_lines.hpp"
#include "apps/quendo/escaped_text.hpp"
#include "apps/quendo/session.hpp"
#include "quendokit/platform/line_sink.hpp"

namespace quendo {
namespace {

/// How long a command that is at work may take to end.
constexpr std::chrono::seconds patienceForCommands(5);
constexpr std::chrono::milliseconds betweenAttempts(10);

/// The lock, unless there is a daemon already. A command that is at work is waited for, however long it takes: nothing
/// would ring until the next login.
Outcome<LockFile> takeDaemonLock(const Folders& folders, const std::function<bool()>& isAskedToEnd,
                                 const std::function<void(const std::string&)>& warn) {
    const auto patient = std::chrono::steady_clock::now() + patienceForCommands;
    bool hasWarned = false;
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
        if (isAskedToEnd()) {
            return lock;
        }
        if (std::chrono::steady_clock::now() >= patient && !std::exchange(hasWarned, true)) {
            warn(folders.lock().string() +
                 ": another quendo is at work on these reminders; the daemon begins when it "
                 "is done");
        }
        std::this_thread::sleep_for(betweenAttempts);
    }
}

bool changesReminders(const Request& request) {
    return std::holds_alternative<AddRequest>(request) || std::holds_alternative<EditRequest>(request) ||
           std::holds_alternative<PostponeRequest>(request) || std::holds_alternative<SeenRequest>(request) ||
           std::holds_alternative<DeleteRequest>(request) || std::holds_alternative<ClearRequest>(request) ||
           std::holds_alternative<ImportRequest>(request);
}

class Daemon {
public:
    Daemon(Folders folders, const DaemonOptions& options)
        : folders_(std::move(folders)),
          options_(options),
          lines_(quendokit::makeStandardErrorSink()),
          log_([lines = lines_](const std::string& line) { lines->writeLine("quendo: " + escapedText(line)); }),
          warnings_(log_),
          termination_([this] {
              isAskedToEnd_ = true;
              queue_->async([this] { stop(); });
          }) {}

    [[nodiscard]] std::optional<Failure> run();

private:
    /// Stays with one session, until the account is another one or the daemon ends.
    void live();
    [[nodiscard]] Session::StayEvents stayEvents();
    void take(const Request& request, const RequestReply& reply);
    void answer(const Request& request, const RequestReply& reply);
    void syncSoon();
    void sync();
    void stop();

    const Folders folders_;
    const DaemonOptions options_;
    const std::shared_ptr<quendokit::LineSink> lines_;
    const WarningLines::Line log_;
    WarningLines warnings_;
    const std::shared_ptr<MovableQueue> queue_ = std::make_shared<MovableQueue>();
    std::unique_ptr<Session> session_;
    std::unique_ptr<ReminderBell> bell_;
    /// What runs the loop, and so cannot run in one of its tasks.
    std::deque<std::function<void()>> jobs_;
    bool isSyncWaiting_ = false;
    std::optional<std::chrono::steady_clock::time_point> lastSync_;
    bool isOwnSyncRunning_ = false;
    /// Why it cannot go on.
    std::optional<Failure> failure_;
    bool stopping_ = false;
    std::atomic<bool> isAskedToEnd_ = false;
    // The last, which uses the others on a thread of its own.
    Termination termination_;
};

std::optional<Failure> Daemon::run() {
    auto taken = takeDaemonLock(folders_, [this] { return isAskedToEnd_.load(); }, warnings_.sink());
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
        // That was another account's.
        lastSync_.reset();
        if (auto failure = session_->stay(stayEvents(), options_.poll)) {
            return failure;
        }
        // What it has to say belongs to no request, though it may find that out during one.
        bell_ = std::make_unique<ReminderBell>(*session_, folders_, log_);
        queue_->attach(session_->mainLoop());
        bell_->start();
        if (!server) {
            server = std::make_unique<RequestServer>(
                socket.value(), queue_,
                [this](const Request& request, const RequestReply& reply) { take(request, reply); }, options);
            lines_->writeLine("quendo: listening at " + folders_.socket().string());
            tellReady();
        }
        live();
        if (stopping_) {
            // Answers that are on their way arrive before anything ends.
            tellStopping();
            server->stop();
        }
        queue_->detach();
        bell_.reset();
        session_.reset();
    }
    return failure_;
}

void Daemon::live() {
    const auto loop = session_->mainLoop();
    while (!stopping_ && !session_->isOver()) {
        static_cast<void>(
            loop->runUntil([this] { return stopping_ || !jobs_.empty(); }, std::chrono::nanoseconds::max()));
        if (!stopping_ && !jobs_.empty()) {
            const auto job = std::move(jobs_.front());
            jobs_.pop_front();
            job();
        }
    }
}

Session::StayEvents Daemon::stayEvents() {
    // Some come before there is a bell: it reads everything when it starts.
    Session::StayEvents events;
    events.changed = [this] {
        if (bell_) {
            bell_->storeChanged();
        }
    };
    events.writeFailed = [this] {
        if (bell_) {
            bell_->writeFailed();
        }
    };
    events.cloudTold = [this] {
        if (bell_) {
            bell_->lookAfterHealth();
        }
    };
    events.wantsSync = [this] { syncSoon(); };
    events.wantsNewMirror = [this] {
        jobs_.emplace_back([this] {
            failure_ = session_->renewMirror();
            if (failure_) {
                // Whoever starts it again may find the reminders again.
                stop();
                return;
            }
            bell_->controllerReplaced();
        });
    };
    return events;
}

void Daemon::take(const Request& request, const RequestReply& reply) {
    if (session_->waits(request)) {
        jobs_.emplace_back([this, request, reply] {
            if (!reply.isPointless()) {
                answer(request, reply);
            }
        });
        if (isOwnSyncRunning_) {
            // A person comes first.
            session_->mainLoop()->stop();
        }
    } else if (session_->isStoring()) {
        queue_->async([this, request, reply] { take(request, reply); });
    } else {
        answer(request, reply);
    }
}

void Daemon::answer(const Request& request, const RequestReply& reply) {
    WarningLines::Collection collection(warnings_);
    auto outcome = session_->execute(request);
    if (outcome && changesReminders(request)) {
        bell_->writeDone();
    }
    // Not everything that a request changes is told to a scheduler, and a press on what it has changed may come next.
    bell_->storeChanged();
    if (!outcome) {
        reply({collection.take(), outcome.failure()});
        return;
    }
    Response response = std::move(outcome).value();
    if (auto* view = std::get_if<HealthView>(&response)) {
        view->daemon = bell_->health();
    }
    reply({collection.take(), std::move(response)});
}

void Daemon::syncSoon() {
    // What fails at once may be wanted again at once.
    constexpr std::chrono::minutes between(1);
    const auto now = std::chrono::steady_clock::now();
    if (!isSyncWaiting_ && (!lastSync_ || now - *lastSync_ >= between)) {
        isSyncWaiting_ = true;
        lastSync_ = now;
        jobs_.emplace_back([this] { sync(); });
    }
}

void Daemon::sync() {
    constexpr std::chrono::seconds patience(30);
    isOwnSyncRunning_ = true;
    const auto answer = session_->execute(Request(SyncRequest{patience}));
    isOwnSyncRunning_ = false;
    isSyncWaiting_ = false;
    if (!answer && !jobs_.empty()) {
        lastSync_.reset();
        syncSoon();
    } else if (!answer) {
        // It goes on in the background; the next download that succeeds asks again.
        warnings_.sink()(answer.failure().line);
    }
    bell_->lookAfterHealth();
}

void Daemon::stop() {
    stopping_ = true;
    // A request that waits for the cloud gives up.
    session_->mainLoop()->stop();
}

}  // namespace

std::optional<Failure> runDaemon(const Folders& folders, const DaemonOptions& options) {
    return Daemon(folders, options).run();
}

}  // namespace quendo

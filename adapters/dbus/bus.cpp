#include <array>
#include <cerrno>
#include <csignal>
#include <poll.h>
#include <unistd.h>
#include <utility>

#include <sys/eventfd.h>

#include "adapters/dbus/bus_internal.hpp"

namespace quendokit::dbus {
namespace {

/// No signal of the process is delivered to a thread that is started meanwhile.
class SignalsBlocked {
public:
    SignalsBlocked() {
        sigset_t all;
        sigfillset(&all);
        pthread_sigmask(SIG_SETMASK, &all, &before_);
    }
    SignalsBlocked(const SignalsBlocked&) = delete;
    SignalsBlocked& operator=(const SignalsBlocked&) = delete;
    ~SignalsBlocked() { pthread_sigmask(SIG_SETMASK, &before_, nullptr); }

private:
    sigset_t before_{};
};

DBusErrorCode codeOf(const std::string& name) {
    const std::string standard = "org.freedesktop.DBus.Error.";
    if (name == standard + "ServiceUnknown" || name == standard + "NameHasNoOwner" ||
        name.starts_with(standard + "Spawn.")) {
        return DBusErrorCode::noService;
    }
    if (name == standard + "NoReply" || name == standard + "Timeout" || name == standard + "TimedOut" ||
        name == "System.Error.ETIMEDOUT") {
        return DBusErrorCode::noAnswer;
    }
    if (name == standard + "Disconnected" || name == "System.Error.ENOTCONN" || name == "System.Error.ECONNRESET") {
        return DBusErrorCode::disconnected;
    }
    return DBusErrorCode::refused;
}

}  // namespace

Error makeDBusError(DBusErrorCode code, std::string description) {
    for (char& c : description) {
        c = c == '\n' || c == '\r' ? ' ' : c;
    }
    return {dbusErrorDomain, static_cast<int>(code), std::move(description)};
}

Bus::Bus(Kind kind, std::chrono::milliseconds timeout)
    : kind_(kind), timeout_(timeout), wakeUp_(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {}

Bus::~Bus() {
    // The thread holds this; so it has ended, or it is the one that lets go.
    if (thread_.joinable()) {
        thread_.detach();
    }
    ::close(wakeUp_);
}

std::string Bus::name() const {
    return kind_ == Kind::session ? "session bus" : "system bus";
}

void Bus::start(std::function<void(const std::optional<Error>&)> opened, Task lost) {
    opened_ = std::move(opened);
    lost_ = std::move(lost);
    std::promise<void> end;
    ended_ = end.get_future();
    const SignalsBlocked blocked;
    thread_ = std::thread([self = shared_from_this(), end = std::move(end)]() mutable {
        self->serve();
        end.set_value();
    });
}

void Bus::stop() {
    if (!thread_.joinable()) {
        return;
    }
    {
        const std::lock_guard lock(mutex_);
        isStopping_ = true;
    }
    eventfd_write(wakeUp_, 1);
    // A bus that does not answer while the connection is made may keep the thread longer; it ends by itself then.
    if (ended_.wait_for(timeout_) == std::future_status::ready) {
        thread_.join();
    } else {
        thread_.detach();
    }
}

void Bus::post(Task task) {
    {
        const std::lock_guard lock(mutex_);
        if (isStopping_) {
            return;
        }
        tasks_.push_back(std::move(task));
    }
    eventfd_write(wakeUp_, 1);
}

void Bus::serve() {
    open();
    while (true) {
        runTasks();
        process();
        finished_.clear();
        {
            const std::lock_guard lock(mutex_);
            if (isStopping_) {
                break;
            }
            if (!tasks_.empty()) {
                continue;
            }
        }
        wait();
    }
    pending_.clear();
    matches_.clear();
    connection_.reset();
    opened_ = nullptr;
    lost_ = nullptr;
    std::vector<Task> dropped;
    const std::lock_guard lock(mutex_);
    dropped.swap(tasks_);
}

void Bus::open() {
    std::optional<Error> failure;
    try {
        connection_ = kind_ == Kind::session ? sdbus::createSessionBusConnection() : sdbus::createSystemBusConnection();
        connection_->setMethodCallTimeout(timeout_);
    } catch (const sdbus::Error& error) {
        connection_.reset();
        failure =
            makeDBusError(DBusErrorCode::noBus, "there is no connection to the " + name() + ": " + error.getMessage() +
                                                    (kind_ == Kind::session ? "; see DBUS_SESSION_BUS_ADDRESS" : ""));
    }
    opened_(failure);
}

void Bus::runTasks() {
    std::vector<Task> tasks;
    {
        const std::lock_guard lock(mutex_);
        tasks.swap(tasks_);
    }
    for (const Task& task : tasks) {
        task();
    }
}

void Bus::process() {
    try {
        while (connection_ && connection_->processPendingRequest()) {
            const std::lock_guard lock(mutex_);
            if (isStopping_) {
                return;
            }
        }
    } catch (const sdbus::Error&) {
        lose();
    }
}

void Bus::wait() {
    std::array<pollfd, 2> watched{pollfd{wakeUp_, POLLIN, 0}, pollfd{-1, 0, 0}};
    int timeout = -1;
    try {
        if (connection_) {
            const auto data = connection_->getEventLoopPollData();
            watched[1] = {data.fd, data.events, 0};
            timeout = data.getPollTimeout();
        }
    } catch (const sdbus::Error&) {
        lose();
        return;
    }
    poll(watched.data(), watched.size(), timeout);
    eventfd_t ignored = 0;
    eventfd_read(wakeUp_, &ignored);
}

void Bus::lose() {
    if (!connection_) {
        return;
    }
    const Error error = makeDBusError(DBusErrorCode::disconnected, "the connection to the " + name() + " has broken");
    while (!pending_.empty()) {
        finish(pending_.begin()->first, error);
    }
    finished_.clear();
    matches_.clear();
    connection_.reset();
    if (lost_) {
        lost_();
    }
}

void Bus::finish(std::uint64_t id, const Result<Reply>& result) {
    auto found = pending_.extract(id);
    if (found.empty()) {
        return;
    }
    found.mapped().answer(result);
    finished_.push_back(std::move(found.mapped().proxy));
}

Error Bus::explained(const MethodCall& call, const sdbus::Error& error) const {
    return makeDBusError(codeOf(error.getName()), "calling " + call.member + " of " + call.interface + " on the " +
                                                      name() + " failed: " + error.getMessage());
}

void Bus::call(const MethodCall& call, Answer answer) {
    const std::uint64_t id = ++lastCall_;
    auto& pending = pending_[id];
    pending.answer = std::move(answer);
    std::optional<Error> failure;
    try {
        if (connection_) {
            pending.proxy = sdbus::createProxy(*connection_, call.destination, call.path);
            auto message = pending.proxy->createMethodCall(call.interface, call.member);
            if (call.write) {
                call.write(message);
            }
            static_cast<void>(pending.proxy->callMethod(
                message,
                [this, id, call](sdbus::MethodReply& reply, const sdbus::Error* error) {
                    finish(id, error != nullptr ? Result<Reply>(explained(call, *error)) : Result<Reply>(&reply));
                },
                call.timeout.value_or(timeout_)));
        } else {
            failure =
                makeDBusError(DBusErrorCode::disconnected, "there is no connection to the " + name() + " any more");
        }
    } catch (const sdbus::Error& error) {
        failure = explained(call, error);
    }
    if (failure) {
        post([self = this, id, failure] { self->finish(id, *failure); });
    }
}

void Bus::match(const std::string& rule, SignalHandler handler) {
    if (!connection_) {
        return;
    }
    try {
        matches_.push_back(connection_->addMatch(rule, std::move(handler)));
    } catch (const sdbus::Error&) {
        // Only a bus that is dead, or as good as dead, does not take a rule.
        post([self = this] { self->lose(); });
    }
}

}  // namespace quendokit::dbus

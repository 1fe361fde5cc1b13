#include "adapters/dbus/session_signals.hpp"

#include <cstdlib>
#include <future>
#include <mutex>
#include <optional>
#include <utility>

#include "adapters/dbus/logind_watch_internal.hpp"
#include "adapters/dbus/network_watch_internal.hpp"
#include "adapters/dbus/outlet_internal.hpp"
#include "adapters/dbus/screen_saver_watch_internal.hpp"

namespace quendokit {
namespace {

std::string sessionOfEnvironment() {
    const char* id = std::getenv("XDG_SESSION_ID");
    return id != nullptr ? id : "";
}

}  // namespace

/// Two buses, each with its thread: the system's, and the session's once there is no logind.
class SessionSignals::State : public std::enable_shared_from_this<State> {
public:
    explicit State(Options options)
        : options_(std::move(options)),
          outlet_(options_.queue),
          system_(std::make_shared<dbus::Bus>(dbus::Bus::Kind::system, options_.timeout)),
          session_(std::make_shared<dbus::Bus>(dbus::Bus::Kind::session, options_.timeout)) {
        // The outlet alone keeps it.
        options_.queue.reset();
    }

    void start();
    void stop();
    [[nodiscard]] std::string source() const;

private:
    void watchSystem(const std::string& sessionId);
    void watchScreenSaver();
    void setLogind(bool isThere);
    void setScreenSaver(const std::string& name);
    void settleLogind();
    void settle(bool& part);

    Options options_;
    dbus::Outlet outlet_;
    const std::shared_ptr<dbus::Bus> system_;
    const std::shared_ptr<dbus::Bus> session_;
    std::promise<void> settled_;

    mutable std::mutex mutex_;
    bool hasLogind_ = false;
    bool usesSessionBus_ = false;
    bool isStopping_ = false;
    std::string screenSaver_;
    bool knowsArrivals_ = false;
    bool knowsNetwork_ = false;
};

void SessionSignals::State::start() {
    auto settled = settled_.get_future();
    const auto deadline = std::chrono::steady_clock::now() + options_.timeout;
    system_->start(
        [self = shared_from_this(), id = sessionOfEnvironment()](const std::optional<Error>& failure) {
            if (failure) {
                self->setLogind(false);
                self->settle(self->knowsNetwork_);
            } else {
                self->watchSystem(id);
            }
        },
        [self = shared_from_this()] { self->setLogind(false); });
    settled.wait_until(deadline);
}

void SessionSignals::State::stop() {
    outlet_.close();
    {
        const std::lock_guard lock(mutex_);
        isStopping_ = true;
    }
    system_->stop();
    session_->stop();
}

std::string SessionSignals::State::source() const {
    const std::lock_guard lock(mutex_);
    if (hasLogind_) {
        return "logind";
    }
    return screenSaver_.empty() ? "none" : screenSaver_;
}

void SessionSignals::State::watchSystem(const std::string& sessionId) {
    const auto self = shared_from_this();
    const auto tell = [self](std::function<void()> Events::* event) {
        return [self, event] { self->outlet_.post(self->options_.events.*event); };
    };
    dbus::LogindWatch::Events events;
    events.unlocked = tell(&Events::unlocked);
    events.becameActive = tell(&Events::becameActive);
    events.goingToSleep = tell(&Events::goingToSleep);
    events.resumed = tell(&Events::resumed);
    events.isThere = [self](bool isThere) { self->setLogind(isThere); };
    events.settled = [self] { self->settleLogind(); };
    std::make_shared<dbus::LogindWatch>(system_, sessionId, std::move(events))->start();
    std::make_shared<dbus::NetworkWatch>(system_, tell(&Events::networkUp), [self] {
        self->settle(self->knowsNetwork_);
    })->start();
}

void SessionSignals::State::watchScreenSaver() {
    const auto self = shared_from_this();
    dbus::ScreenSaverWatch::Events events;
    events.unlocked = [self] {
        // It may have come back meanwhile, and tells more.
        if (self->source() != "logind") {
            self->outlet_.post(self->options_.events.unlocked);
        }
    };
    events.source = [self](const std::string& name) { self->setScreenSaver(name); };
    std::make_shared<dbus::ScreenSaverWatch>(session_, std::move(events))->start();
}

void SessionSignals::State::setLogind(bool isThere) {
    const std::lock_guard lock(mutex_);
    hasLogind_ = isThere;
    if (isThere || usesSessionBus_ || isStopping_) {
        return;
    }
    usesSessionBus_ = true;
    session_->start(
        [self = shared_from_this()](const std::optional<Error>& failure) {
            if (failure) {
                self->setScreenSaver("");
            } else {
                self->watchScreenSaver();
            }
        },
        [self = shared_from_this()] { self->setScreenSaver(""); });
}

void SessionSignals::State::setScreenSaver(const std::string& name) {
    {
        const std::lock_guard lock(mutex_);
        screenSaver_ = name;
    }
    settle(knowsArrivals_);
}

void SessionSignals::State::settleLogind() {
    // Else the screen saver has the last word.
    if (source() == "logind") {
        settle(knowsArrivals_);
    }
}

void SessionSignals::State::settle(bool& part) {
    const std::lock_guard lock(mutex_);
    const bool wasSettled = knowsArrivals_ && knowsNetwork_;
    part = true;
    if (!wasSettled && knowsArrivals_ && knowsNetwork_) {
        settled_.set_value();
    }
}

std::unique_ptr<SessionSignals> SessionSignals::start(Options options) {
    auto state = std::make_shared<State>(std::move(options));
    std::unique_ptr<SessionSignals> signals(new SessionSignals(state));
    state->start();
    return signals;
}

SessionSignals::SessionSignals(std::shared_ptr<State> state) : state_(std::move(state)) {}

SessionSignals::~SessionSignals() {
    state_->stop();
}

std::string SessionSignals::source() const {
    return state_->source();
}

}  // namespace quendokit

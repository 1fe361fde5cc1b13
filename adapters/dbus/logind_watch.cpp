#include <algorithm>
#include <unistd.h>
#include <utility>

#include "adapters/dbus/logind_watch_internal.hpp"

namespace quendokit::dbus {
namespace {

constexpr const char* managerPath = "/org/freedesktop/login1";
constexpr const char* managerInterface = "org.freedesktop.login1.Manager";
constexpr const char* sessionInterface = "org.freedesktop.login1.Session";
constexpr const char* userInterface = "org.freedesktop.login1.User";
constexpr const char* lockedHint = "LockedHint";
constexpr const char* active = "Active";

std::optional<bool> truthOf(const std::map<std::string, sdbus::Variant>& properties, const char* name) {
    const auto found = properties.find(name);
    return found != properties.end() ? valueOf<bool>(found->second) : std::nullopt;
}

}  // namespace

LogindWatch::LogindWatch(std::shared_ptr<Bus> bus, std::string sessionId, Events events)
    : bus_(std::move(bus)),
      sessionId_(std::move(sessionId)),
      events_(std::move(events)),
      logind_(std::make_shared<BusName>(bus_, "org.freedesktop.login1")) {}

void LogindWatch::start() {
    const auto self = shared_from_this();
    const auto onSignal = [self](sdbus::Message& message) { self->didSignal(message); };
    logind_->match(managerInterface, onSignal);
    logind_->match(sessionInterface, onSignal);
    logind_->match(propertiesInterface, onSignal);
    const auto didAppear = [self] {
        const bool isThere = !self->logind_->owner().empty();
        self->events_.isThere(isThere);
        if (isThere) {
            self->findSession(false);
        } else {
            self->settle();
        }
    };
    logind_->watch(didAppear, [didAppear](const std::string&) { didAppear(); });
}

void LogindWatch::settle() {
    if (events_.settled) {
        std::exchange(events_.settled, nullptr)();
    }
}

void LogindWatch::askForSession(const std::string& member, const std::function<void(sdbus::MethodCall&)>& write,
                                Found found) {
    bus_->call({logind_->owner(), managerPath, managerInterface, member, write},
               [found = std::move(found)](const Result<Bus::Reply>& answer) {
                   const auto path = answer ? read<sdbus::ObjectPath>(*answer.value()) : std::nullopt;
                   found(path ? std::optional<Path>(std::get<0>(*path)) : std::nullopt);
               });
}

void LogindWatch::findOwnSession(const Found& found) {
    const auto orOfProcess = [self = shared_from_this(), found](const std::optional<Path>& session) {
        if (session) {
            found(session);
            return;
        }
        // 0 is who asks.
        self->askForSession("GetSessionByPID", [](sdbus::MethodCall& call) { call << std::uint32_t{0}; }, found);
    };
    if (sessionId_.empty()) {
        orOfProcess(std::nullopt);
    } else {
        askForSession("GetSession", [this](sdbus::MethodCall& call) { call << sessionId_; }, orOfProcess);
    }
}

void LogindWatch::findDesktop(Found found) {
    askForSession(
        "GetUser", [](sdbus::MethodCall& call) { call << std::uint32_t{getuid()}; },
        [self = shared_from_this(), found = std::move(found)](const std::optional<Path>& user) {
            if (user) {
                self->findDesktopOf(*user, found);
            } else {
                found(std::nullopt);
            }
        });
}

void LogindWatch::findDesktopOf(const Path& user, const Found& found) {
    bus_->call({logind_->owner(), user, propertiesInterface, "Get",
                [](sdbus::MethodCall& call) { call << userInterface << "Display"; }},
               [found](const Result<Bus::Reply>& answer) {
                   const auto value = answer ? read<sdbus::Variant>(*answer.value()) : std::nullopt;
                   const auto display =
                       value ? valueOf<sdbus::Struct<std::string, sdbus::ObjectPath>>(std::get<0>(*value))
                             : std::nullopt;
                   // A user without a desktop has one of no name.
                   const bool isThere = display && !std::get<0>(*display).empty();
                   found(isThere ? std::optional<Path>(std::get<1>(*display)) : std::nullopt);
               });
}

void LogindWatch::findSession(bool isArrival) {
    const auto question = ++question_;
    const auto self = shared_from_this();
    findOwnSession([self, question, isArrival](const std::optional<Path>& own) {
        if (self->question_ != question) {
            return;
        }
        if (own) {
            self->follow(own, isArrival);
            return;
        }
        self->findDesktop([self, question, isArrival](const std::optional<Path>& desktop) {
            if (self->question_ == question) {
                self->follow(desktop, isArrival);
            }
        });
    });
}

void LogindWatch::follow(const std::optional<Path>& session, bool isArrival) {
    session_ = session.value_or("");
    lock_.begin(false);
    isActive_ = false;
    if (session_.empty()) {
        settle();
    } else {
        readSession(isArrival);
    }
}

void LogindWatch::readSession(bool isArrival) {
    const auto question = ++question_;
    bus_->call({logind_->owner(), session_, propertiesInterface, "GetAll",
                [](sdbus::MethodCall& call) { call << sessionInterface; }},
               [self = shared_from_this(), question, isArrival](const Result<Bus::Reply>& answer) {
                   if (self->question_ != question) {
                       return;
                   }
                   const auto properties = answer ? read<Properties>(*answer.value()) : std::nullopt;
                   if (properties && isArrival) {
                       self->apply(std::get<0>(*properties));
                   } else if (properties) {
                       // What was so before this looked is no event.
                       self->lock_.begin(truthOf(std::get<0>(*properties), lockedHint).value_or(false));
                       self->isActive_ = truthOf(std::get<0>(*properties), active).value_or(false);
                   }
                   self->settle();
               });
}

void LogindWatch::apply(const Properties& properties) {
    if (const auto isLocked = truthOf(properties, lockedHint)) {
        if (lock_.didHint(*isLocked)) {
            events_.unlocked();
        }
    }
    if (const auto isActive = truthOf(properties, active)) {
        const bool wasActive = std::exchange(isActive_, *isActive);
        if (isActive_ && !wasActive && !lock_.isLocked()) {
            events_.becameActive();
        }
    }
}

void LogindWatch::didSignal(sdbus::Message& message) {
    const std::string path = message.getPath();
    const std::string member = message.getMemberName();
    if (path == managerPath && (member == "SessionNew" || member == "SessionRemoved")) {
        if (const auto values = read<std::string, sdbus::ObjectPath>(message)) {
            const Path session = std::get<1>(*values);
            member == "SessionNew" ? didStartSession(session) : didEndSession(session);
        }
    } else if (path == managerPath && member == "PrepareForSleep") {
        if (const auto begins = read<bool>(message)) {
            didPrepareForSleep(std::get<0>(*begins));
        }
    } else if (path == session_ && member == "Lock") {
        lock_.didSignalLock();
    } else if (path == session_ && member == "Unlock") {
        if (lock_.didSignalUnlock()) {
            events_.unlocked();
        }
    } else if (path == session_ && member == "PropertiesChanged") {
        didChangeProperties(message);
    }
}

void LogindWatch::didChangeProperties(sdbus::Message& message) {
    const auto values = read<std::string, Properties, std::vector<std::string>>(message);
    if (!values || std::get<0>(*values) != sessionInterface) {
        return;
    }
    const auto& [interface, properties, unsaid] = *values;
    apply(properties);
    const auto isUnsaid = [&unsaid = unsaid](const char* name) {
        return std::find(unsaid.begin(), unsaid.end(), name) != unsaid.end();
    };
    if (isUnsaid(lockedHint) || isUnsaid(active)) {
        readSession(true);
    }
}

void LogindWatch::didStartSession(const Path& session) {
    // Whether it is this person's, and one with a desktop, is what the user's object says.
    findDesktop([self = shared_from_this(), session](const std::optional<Path>& desktop) {
        if (desktop == session && self->session_ != session) {
            self->follow(desktop, true);
        }
    });
}

void LogindWatch::didEndSession(const Path& session) {
    if (session == session_) {
        session_.clear();
        findSession(true);
    }
}

void LogindWatch::didPrepareForSleep(bool begins) {
    if (sleeps_ == begins) {
        return;
    }
    sleeps_ = begins;
    begins ? events_.goingToSleep() : events_.resumed();
}

}  // namespace quendokit::dbus

#pragma once
/// \file
/// `LogindWatch`, what logind tells of the person's session and of sleep.

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "adapters/dbus/bus_internal.hpp"
#include "adapters/dbus/bus_name_internal.hpp"
#include "adapters/dbus/lock_state_internal.hpp"

namespace quendokit::dbus {

/// Follows one session: the process's own, or else the one of the user's desktop, which another one may follow. Lives
/// on the bus's thread.
class LogindWatch : public std::enable_shared_from_this<LogindWatch> {
public:
    struct Events {
        std::function<void()> unlocked;
        std::function<void()> becameActive;
        std::function<void()> goingToSleep;
        std::function<void()> resumed;
        /// logind is there, or has gone; also at the beginning.
        std::function<void(bool)> isThere;
        /// The session has been found and read, or there is none. Called once.
        std::function<void()> settled;
    };

    /// `sessionId` is the one that the process was started with, if any.
    LogindWatch(std::shared_ptr<Bus> bus, std::string sessionId, Events events);

    void start();

private:
    using Path = std::string;
    using Found = std::function<void(const std::optional<Path>&)>;
    using Properties = std::map<std::string, sdbus::Variant>;

    /// Asks the manager, or the object at `path`, and answers the first object in what comes.
    void askForSession(const std::string& member, const std::function<void(sdbus::MethodCall&)>& write, Found found);
    void findOwnSession(const Found& found);
    void findDesktop(Found found);
    void findDesktopOf(const Path& user, const Found& found);

    /// An arrival tells at once when the session is active; otherwise what is so already is no event.
    void findSession(bool isArrival);
    void follow(const std::optional<Path>& session, bool isArrival);
    void readSession(bool isArrival);
    void apply(const Properties& properties);
    void didSignal(sdbus::Message& message);
    void didChangeProperties(sdbus::Message& message);
    void didStartSession(const Path& session);
    void didEndSession(const Path& session);
    void didPrepareForSleep(bool begins);
    void settle();

    const std::shared_ptr<Bus> bus_;
    const std::string sessionId_;
    Events events_;
    const std::shared_ptr<BusName> logind_;
    Path session_;
    LockState lock_;
    bool isActive_ = false;
    std::optional<bool> sleeps_;
    /// Answers to earlier questions than the last are late.
    std::uint64_t question_ = 0;
};

}  // namespace quendokit::dbus

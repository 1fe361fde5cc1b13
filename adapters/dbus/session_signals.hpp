#pragma once
/// \file
/// `SessionSignals`, when the person comes to the computer.

#include <chrono>
#include <functional>
#include <memory>
#include <string>

#include "quendokit/platform/dispatch_queue.hpp"
#include "quendokit/platform/export.hpp"

namespace quendokit {

/// Hears of the person's arrival at this computer, of its sleep and of its network: from logind and NetworkManager on
/// the system bus, or, where there is no logind, of the arrival alone from the desktop's screen saver on the session
/// bus. It uses what there is, also what comes later or goes for a while; a bus that has ended is not sought again.
/// Nothing is asked repeatedly.
///
/// The session is the one that the process belongs to, or else the one in which the person's desktop is; a desktop that
/// the person starts later takes its place.
///
/// Events are called on the given queue in the order in which things happened on one bus; none once the object has
/// gone, if it goes on the queue's thread. Any thread.
class QUENDOKIT_EXPORT SessionSignals {
public:
    /// Each may be empty.
    struct Events {
        /// Once for each unlocking, in however many ways it is announced.
        std::function<void()> unlocked = {};
        /// The session is on the screen again, or for the first time, and is not known to be locked.
        std::function<void()> becameActive = {};
        std::function<void()> goingToSleep = {};
        std::function<void()> resumed = {};
        /// There is a way to the internet that was not there before.
        std::function<void()> networkUp = {};
    };

    struct Options {
        /// For each call, and for all of `start`.
        std::chrono::milliseconds timeout = std::chrono::seconds(2);
        std::shared_ptr<DispatchQueue> queue;
        Events events = {};
    };

    /// Begins to listen. Returns when that is done, or when the time-out is over; then it goes on by itself.
    static std::unique_ptr<SessionSignals> start(Options options);

    SessionSignals(const SessionSignals&) = delete;
    SessionSignals& operator=(const SessionSignals&) = delete;
    ~SessionSignals();

    /// Who tells of arrivals: "logind", the bus name of a screen saver, or "none".
    [[nodiscard]] std::string source() const;

private:
    class State;
    explicit SessionSignals(std::shared_ptr<State> state);
    const std::shared_ptr<State> state_;
};

}  // namespace quendokit

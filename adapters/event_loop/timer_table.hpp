#pragma once
/// \file
/// `TimerTable`, the timers of one run loop.

#include <chrono>
#include <cstdint>
#include <memory>
#include <optional>

#include "quendokit/platform/export.hpp"

namespace quendokit {

class Timer;

/// Keeps timers in the order in which they fire, as `RunLoop` promises: the earliest due first, of those due at the
/// same instant the one added first; a repeating timer once for several times that it missed. For run loops: the event
/// loop has one, and an adapter of a host's own loop is little more than one and a wake-up at `nextDue`.
///
///     const TimerTable::Turn turn = timers.beginTurn(steady_clock::now());
///     while (const std::shared_ptr<Timer> timer = timers.takeNext(turn, steady_clock::now())) {
///         timer->fire();
///     }
///
/// Forgets a timer that is invalidated. `now` is what the steady clock shows. Any thread adds and asks; the loop's
/// takes.
class QUENDOKIT_EXPORT TimerTable {
public:
    using Instant = std::chrono::steady_clock::time_point;

    /// What is due when a turn of the loop begins. What is added during the turn waits for the next one, so that timers
    /// that add timers do not keep the loop from the rest of its work.
    struct Turn {
        Instant began;
        /// How many timers had ever been added.
        std::uint64_t added;
    };

    TimerTable();
    TimerTable(const TimerTable&) = delete;
    TimerTable& operator=(const TimerTable&) = delete;
    /// Lets go of the timers that wait.
    ~TimerTable();

    /// Keeps `timer` until a one-shot has been taken and fired or the timer is invalidated; due an interval from now.
    /// Answers when. Absent when it is invalid, or kept already, and nothing was done.
    std::optional<Instant> add(std::shared_ptr<Timer> timer, Instant now);

    /// When the next timer is due, in the past for one that is late. Absent when none ever is.
    [[nodiscard]] std::optional<Instant> nextDue() const;

    [[nodiscard]] Turn beginTurn(Instant now) const;

    /// The next timer of `turn`, which the caller fires and lets go of; a repeating one waits again for its first
    /// multiple after `now`. Null when there is none left.
    [[nodiscard]] std::shared_ptr<Timer> takeNext(const Turn& turn, Instant now);

    /// Lets go of the timers that wait, and keeps none from now on.
    void end();

private:
    struct State;

    // A timer that outlives the table finds out here that it is gone.
    const std::shared_ptr<State> state_;
};

}  // namespace quendokit

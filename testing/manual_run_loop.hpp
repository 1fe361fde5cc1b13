#pragma once
/// \file
/// `ManualRunLoop`, a run loop whose time moves when a test moves it.

#include <chrono>
#include <cstddef>
#include <memory>
#include <optional>

#include "quendokit/platform/export.hpp"
#include "quendokit/platform/run_loop.hpp"
#include "testing/manual_clock.hpp"

namespace quendokit::testing {

/// Fires what is due while `advanceBy` runs, each timer at the exact instant at which it is due, on the thread that
/// calls. What an action adds or invalidates takes part at once. A repeating timer fires at every multiple of its
/// interval that passes; it can miss one only while an action takes its time.
///
///     loop.add(Timer::create(3s, action, false), RunLoopMode::default_);
///     loop.advanceBy(2'999ms);  // nothing
///     loop.advanceBy(1ms);      // calls the action
///
/// Timers may be added and invalidated on any thread; one thread at a time moves the time. A loop that ends lets go of
/// the timers that wait.
class QUENDOKIT_EXPORT ManualRunLoop final : public RunLoop {
public:
    /// With a clock, moves it along, so that each action finds the moment at which it is due there. A clock that is set
    /// meanwhile goes on from what it was set to. Only one loop moves a clock.
    explicit ManualRunLoop(std::shared_ptr<ManualClock> clock = nullptr);

    void add(std::shared_ptr<Timer> timer, RunLoopMode mode) override;

    /// Lets that much time pass. 0 fires what is due now. Called by an action, it only moves the time, for an action
    /// that takes so long; what becomes due meanwhile fires late, after that action. Fatal if negative.
    void advanceBy(std::chrono::nanoseconds time);

    /// How much time has passed since the loop was made.
    [[nodiscard]] std::chrono::nanoseconds elapsed() const;

    /// How many timers the loop keeps. One whose action runs is still among them.
    [[nodiscard]] std::size_t timerCount() const;

    /// How long until the next timer fires: 0 if it is due. Absent when none will.
    [[nodiscard]] std::optional<std::chrono::nanoseconds> timeUntilNextTimer() const;

private:
    struct State;

    // A timer that outlives the loop finds out here that it is gone.
    const std::shared_ptr<State> state_;
};

}  // namespace quendokit::testing

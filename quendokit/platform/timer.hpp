#pragma once
/// \file
/// `Timer`, something to do after a while.

#include <chrono>
#include <functional>
#include <memory>
#include <utility>

#include "quendokit/platform/export.hpp"

namespace quendokit {

/// Calls an action once, or again and again, an interval after it was added to a run loop.
///
/// Holds its target strongly until it is invalidated; a one-shot is invalidated after it has fired. The run loop holds
/// the timer just as long. Whoever wants to invalidate it keeps a reference.
class QUENDOKIT_EXPORT Timer {
    struct PrivateTag {};

public:
    using Action = std::function<void(Timer&)>;

    /// A timer that calls `(target->*action)(timer)`. `interval` is monotonic time; a negative one counts as 0, one of
    /// a repeating timer that is below 0.1 ms counts as 0.1 ms. Any thread.
    template <typename Target>
    [[nodiscard]] static std::shared_ptr<Timer> create(std::chrono::nanoseconds interval,
                                                       std::shared_ptr<Target> target, void (Target::*action)(Timer&),
                                                       bool repeats) {
        return create(
            interval, [kept = std::move(target), action](Timer& timer) { ((*kept).*action)(timer); }, repeats);
    }

    /// The same with any function, which is the target.
    [[nodiscard]] static std::shared_ptr<Timer> create(std::chrono::nanoseconds interval, Action action, bool repeats);

    Timer(PrivateTag tag, std::chrono::nanoseconds interval, Action action, bool repeats);
    Timer(const Timer&) = delete;
    Timer& operator=(const Timer&) = delete;
    ~Timer();

    /// Ends the timer and lets go of the target. Afterwards no action begins; one that runs on another thread may still
    /// end. Further calls do nothing. Any thread.
    void invalidate();

    /// False once it is invalidated; still true while the action of a one-shot runs. Any thread.
    [[nodiscard]] bool isValid() const;

    [[nodiscard]] std::chrono::nanoseconds timeInterval() const noexcept { return interval_; }
    [[nodiscard]] bool repeats() const noexcept { return repeats_; }

    /// For run loops: calls the action if the timer is valid, then invalidates a one-shot. The loop's thread.
    void fire();

    /// For run loops: calls `forget` once, when the timer is invalidated, on that thread; at once if it already is. One
    /// run loop a timer. Any thread.
    void whenInvalidated(std::function<void()> forget);

private:
    const std::chrono::nanoseconds interval_;
    const bool repeats_;
    // Two threads may meet here; the engine has no locks, so both are only exchanged whole.
    std::shared_ptr<const Action> action_;
    std::shared_ptr<const std::function<void()>> forget_;
};

}  // namespace quendokit

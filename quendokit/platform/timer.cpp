#include "quendokit/platform/timer.hpp"

#include <algorithm>

namespace quendokit {
namespace {

std::chrono::nanoseconds sensible(std::chrono::nanoseconds interval, bool repeats) {
    // A repeating timer without a pause would never let its loop go on.
    const std::chrono::nanoseconds shortest = repeats ? std::chrono::microseconds(100) : std::chrono::nanoseconds(0);
    return std::max(interval, shortest);
}

}  // namespace

std::shared_ptr<Timer> Timer::create(std::chrono::nanoseconds interval, Action action, bool repeats) {
    return std::make_shared<Timer>(PrivateTag(), interval, std::move(action), repeats);
}

Timer::Timer(PrivateTag, std::chrono::nanoseconds interval, Action action, bool repeats)
    : interval_(sensible(interval, repeats)),
      repeats_(repeats),
      action_(std::make_shared<const Action>(std::move(action))) {}

Timer::~Timer() = default;

void Timer::invalidate() {
    // Kept to the end: letting go of the target may destroy the last owner of this timer.
    const auto action = std::atomic_exchange(&action_, {});
    if (const auto forget = std::atomic_exchange(&forget_, {})) {
        (*forget)();
    }
}

bool Timer::isValid() const {
    return std::atomic_load(&action_) != nullptr;
}

void Timer::fire() {
    const auto action = std::atomic_load(&action_);
    if (!action) {
        return;
    }
    (*action)(*this);
    if (!repeats_) {
        invalidate();
    }
}

void Timer::whenInvalidated(std::function<void()> forget) {
    std::atomic_store(&forget_, std::make_shared<const std::function<void()>>(std::move(forget)));
    if (isValid()) {
        return;
    }
    // Invalidated before or at this moment: whoever takes the function out calls it.
    if (const auto missed = std::atomic_exchange(&forget_, {})) {
        (*missed)();
    }
}

}  // namespace quendokit

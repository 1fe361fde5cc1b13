#include "testing/manual_run_loop.hpp"

#include <algorithm>
#include <mutex>
#include <utility>
#include <vector>

#include "quendokit/platform/fatal_error.hpp"
#include "quendokit/platform/timer.hpp"

namespace quendokit::testing {
namespace {

using std::chrono::nanoseconds;

/// An instant that never comes: as late as can be said, 292 years after the loop was made.
constexpr nanoseconds never = nanoseconds::max();

nanoseconds later(nanoseconds instant, nanoseconds time) {
    return time > never - instant ? never : instant + time;
}

}  // namespace

struct ManualRunLoop::State {
    struct Entry {
        std::shared_ptr<Timer> timer;
        nanoseconds due;
    };

    explicit State(std::shared_ptr<ManualClock> clock) : clock(std::move(clock)) {}

    /// The first of those that are due earliest. Null when none will ever be.
    [[nodiscard]] Entry* next() {
        const auto earliest = std::min_element(entries.begin(), entries.end(),
                                               [](const Entry& a, const Entry& b) { return a.due < b.due; });
        return earliest == entries.end() || earliest->due == never ? nullptr : &*earliest;
    }

    void moveTo(nanoseconds instant) {
        if (clock) {
            // Counted from one moment, so that many small steps add up exactly.
            if (!clockShows || clock->shown() != *clockShows) {
                clockStart = clock->shown();
                clockStartedAt = now;
            }
            const std::chrono::duration<double> passed = instant - clockStartedAt;
            clockShows = Date(clockStart.timeIntervalSince1970() + passed.count());
            clock->set(*clockShows);
        }
        now = instant;
    }

    /// Lets go of an invalid timer, which holds nothing of others any more.
    void forget(const Timer* timer) {
        const std::lock_guard lock(mutex);
        std::erase_if(entries, [timer](const Entry& entry) { return entry.timer.get() == timer; });
    }

    std::mutex mutex;
    /// In the order in which they were added.
    std::vector<Entry> entries;
    nanoseconds now{0};
    bool inAction = false;

    const std::shared_ptr<ManualClock> clock;
    Date clockStart{0};
    nanoseconds clockStartedAt{0};
    std::optional<Date> clockShows;
};

ManualRunLoop::ManualRunLoop(std::shared_ptr<ManualClock> clock) : state_(std::make_shared<State>(std::move(clock))) {}

void ManualRunLoop::add(std::shared_ptr<Timer> timer, RunLoopMode /*mode*/) {
    {
        const std::lock_guard lock(state_->mutex);
        const bool known = std::any_of(state_->entries.begin(), state_->entries.end(),
                                       [&](const State::Entry& entry) { return entry.timer == timer; });
        if (known) {
            return;
        }
        state_->entries.push_back({timer, later(state_->now, timer->timeInterval())});
    }
    // At once for one that is invalid already.
    timer->whenInvalidated([state = std::weak_ptr(state_), timer = timer.get()] {
        if (const auto alive = state.lock()) {
            alive->forget(timer);
        }
    });
}

void ManualRunLoop::advanceBy(nanoseconds time) {
    if (time < nanoseconds(0)) {
        fatalError("ManualRunLoop::advanceBy cannot turn time back");
    }
    State& state = *state_;
    std::unique_lock lock(state.mutex);
    const nanoseconds end = later(state.now, time);
    if (state.inAction) {
        state.moveTo(end);
        return;
    }
    for (State::Entry* next = state.next(); next != nullptr && next->due <= std::max(end, state.now);
         next = state.next()) {
        state.moveTo(std::max(next->due, state.now));
        const std::shared_ptr<Timer> timer = next->timer;
        if (timer->repeats()) {
            const nanoseconds interval = timer->timeInterval();
            next->due = later(next->due + (state.now - next->due) / interval * interval, interval);
        } else {
            next->due = never;
        }
        state.inAction = true;
        lock.unlock();
        timer->fire();
        lock.lock();
        state.inAction = false;
    }
    state.moveTo(std::max(end, state.now));
}

nanoseconds ManualRunLoop::elapsed() const {
    const std::lock_guard lock(state_->mutex);
    return state_->now;
}

std::size_t ManualRunLoop::timerCount() const {
    const std::lock_guard lock(state_->mutex);
    return state_->entries.size();
}

std::optional<nanoseconds> ManualRunLoop::timeUntilNextTimer() const {
    const std::lock_guard lock(state_->mutex);
    const State::Entry* next = state_->next();
    if (next == nullptr) {
        return std::nullopt;
    }
    return std::max(next->due - state_->now, nanoseconds(0));
}

}  // namespace quendokit::testing

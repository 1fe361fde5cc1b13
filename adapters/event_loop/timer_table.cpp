#include "adapters/event_loop/timer_table.hpp"

#include <compare>
#include <map>
#include <mutex>
#include <unordered_map>
#include <utility>

#include "quendokit/platform/timer.hpp"

namespace quendokit {
namespace {

using std::chrono::nanoseconds;
using Instant = TimerTable::Instant;

/// An instant that does not come.
constexpr Instant endOfTime = Instant::max();

Instant later(Instant instant, nanoseconds time) {
    return time > endOfTime - instant ? endOfTime : instant + time;
}

/// When a timer is due, and its number in the order of adding.
struct Place {
    Instant due;
    std::uint64_t number;

    friend auto operator<=>(const Place&, const Place&) = default;
};

}  // namespace

// Nothing of others is called or destroyed under the lock: what a timer holds may use the loop.
struct TimerTable::State {
    mutable std::mutex mutex;
    std::map<Place, std::shared_ptr<Timer>> waiting;
    /// The places of all timers that are kept; absent while the action of a one-shot runs.
    std::unordered_map<const Timer*, std::optional<Place>> places;
    std::uint64_t added = 0;
    bool ended = false;

    /// Lets go of an invalid timer, which holds nothing of others any more.
    void forget(const Timer* timer) {
        const std::lock_guard lock(mutex);
        const auto known = places.find(timer);
        if (known == places.end()) {
            return;
        }
        if (known->second) {
            waiting.erase(*known->second);
        }
        places.erase(known);
    }
};

TimerTable::TimerTable() : state_(std::make_shared<State>()) {}

TimerTable::~TimerTable() {
    end();
}

std::optional<Instant> TimerTable::add(std::shared_ptr<Timer> timer, Instant now) {
    if (!timer->isValid()) {
        return std::nullopt;
    }
    std::optional<Place> place;
    {
        const std::lock_guard lock(state_->mutex);
        if (state_->ended || state_->places.contains(timer.get())) {
            return std::nullopt;
        }
        place = Place{later(now, timer->timeInterval()), state_->added++};
        state_->places.emplace(timer.get(), place);
        state_->waiting.emplace(*place, timer);
    }
    timer->whenInvalidated([state = std::weak_ptr(state_), timer = timer.get()] {
        if (const auto alive = state.lock()) {
            alive->forget(timer);
        }
    });
    return place->due;
}

std::optional<Instant> TimerTable::nextDue() const {
    const std::lock_guard lock(state_->mutex);
    if (state_->waiting.empty() || state_->waiting.begin()->first.due == endOfTime) {
        return std::nullopt;
    }
    return state_->waiting.begin()->first.due;
}

TimerTable::Turn TimerTable::beginTurn(Instant now) const {
    const std::lock_guard lock(state_->mutex);
    return {now, state_->added};
}

std::shared_ptr<Timer> TimerTable::takeNext(const Turn& turn, Instant now) {
    const std::lock_guard lock(state_->mutex);
    auto& waiting = state_->waiting;
    if (waiting.empty() || waiting.begin()->first >= Place{turn.began, turn.added}) {
        return nullptr;
    }
    auto taken = waiting.extract(waiting.begin());
    std::shared_ptr<Timer> timer = taken.mapped();
    std::optional<Place>& place = state_->places.at(timer.get());
    if (timer->repeats()) {
        const nanoseconds interval = timer->timeInterval();
        const Instant due = place->due;
        place->due = later(due + (now - due) / interval * interval, interval);
        taken.key() = *place;
        waiting.insert(std::move(taken));
    } else {
        // The node's reference is not the last one: the answer holds another.
        place.reset();
    }
    return timer;
}

void TimerTable::end() {
    std::map<Place, std::shared_ptr<Timer>> dropped;
    {
        const std::lock_guard lock(state_->mutex);
        // What ends with them may add once more; that is not kept.
        state_->ended = true;
        dropped.swap(state_->waiting);
    }
    // A timer that its own target keeps would hold it for ever.
    for (const auto& [place, timer] : dropped) {
        timer->invalidate();
    }
}

}  // namespace quendokit

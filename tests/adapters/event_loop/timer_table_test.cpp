#include "adapters/event_loop/timer_table.hpp"

#include <chrono>
#include <memory>
#include <optional>
#include <vector>

#include <gtest/gtest.h>

#include "quendokit/platform/timer.hpp"

namespace quendokit::testing {
namespace {

using namespace std::chrono_literals;
using Instant = TimerTable::Instant;

std::shared_ptr<Timer> make(std::chrono::nanoseconds interval, bool repeats = false) {
    return Timer::create(interval, [](Timer&) {}, repeats);
}

/// A table at an instant that the test chooses.
class TimerTables : public ::testing::Test {
protected:
    std::optional<Instant> add(const std::shared_ptr<Timer>& timer) { return table.add(timer, now); }

    /// Takes and fires what is due.
    std::vector<std::shared_ptr<Timer>> fireDue() {
        std::vector<std::shared_ptr<Timer>> fired;
        const auto turn = table.beginTurn(now);
        while (const auto timer = table.takeNext(turn, now)) {
            timer->fire();
            fired.push_back(timer);
        }
        return fired;
    }

    using Timers = std::vector<std::shared_ptr<Timer>>;

    TimerTable table;
    const Instant start{1'000h};
    Instant now = start;
};

TEST_F(TimerTables, AnswerWhenATimerIsDue) {
    EXPECT_EQ(add(make(1h)), start + 1h);
    EXPECT_EQ(table.nextDue(), start + 1h);
}

TEST_F(TimerTables, AnswerNothingForWhatTheyDoNotAdd) {
    const auto timer = make(1h);
    EXPECT_TRUE(add(timer));
    now += 1min;
    EXPECT_EQ(add(timer), std::nullopt);
    EXPECT_EQ(table.nextDue(), start + 1h);
    timer->invalidate();
    EXPECT_EQ(add(timer), std::nullopt);
    EXPECT_EQ(timer.use_count(), 1);
}

TEST_F(TimerTables, KnowTheNextOneWhateverWasAddedOrInvalidated) {
    EXPECT_EQ(table.nextDue(), std::nullopt);
    const auto second = make(2h);
    const auto first = make(1h);
    add(second);
    add(first);
    add(make(3h));
    EXPECT_EQ(table.nextDue(), start + 1h);
    first->invalidate();
    EXPECT_EQ(table.nextDue(), start + 2h);
    second->invalidate();
    EXPECT_EQ(table.nextDue(), start + 3h);
}

TEST_F(TimerTables, HaveNoNextOneAtTheEndOfTime) {
    EXPECT_EQ(add(make(std::chrono::nanoseconds::max())), Instant::max());
    EXPECT_EQ(table.nextDue(), std::nullopt);
}

TEST_F(TimerTables, GiveATimerAtTheInstantAtWhichItIsDueAndNotBefore) {
    const auto timer = make(1h);
    add(timer);
    now = start + 1h - 1ns;
    EXPECT_EQ(fireDue(), Timers{});
    now = start + 1h;
    EXPECT_EQ(fireDue(), Timers{timer});
    EXPECT_EQ(table.nextDue(), std::nullopt);
}

TEST_F(TimerTables, GiveThoseOfTheSameInstantInTheOrderOfAdding) {
    const Timers timers{make(3s), make(2s), make(1s), make(2s)};
    add(timers[0]);
    now += 1s;
    add(timers[1]);
    now += 1s;
    add(timers[2]);
    now -= 1s;
    add(timers[3]);
    now = start + 3s;
    EXPECT_EQ(fireDue(), timers);
}

TEST_F(TimerTables, GiveInATurnWhatWasThereWhenItBegan) {
    const auto first = make(0ns);
    const auto second = make(0ns);
    add(first);
    add(second);
    const auto turn = table.beginTurn(now);
    const auto added = make(0ns);
    add(added);
    now += 1h;
    EXPECT_EQ(table.takeNext(turn, now), first);
    EXPECT_EQ(table.takeNext(turn, now), second);
    EXPECT_EQ(table.takeNext(turn, now), nullptr);
    EXPECT_EQ(fireDue(), Timers{added});
}

TEST_F(TimerTables, KeepATimerThatWasTakenUntilItHasFired) {
    const auto timer = make(0ns);
    add(timer);
    const auto taken = table.takeNext(table.beginTurn(now), now);
    ASSERT_EQ(taken, timer);
    EXPECT_EQ(table.nextDue(), std::nullopt) << "it does not wait any more";
    EXPECT_EQ(add(timer), std::nullopt) << "nor is it gone yet";
    taken->fire();
    EXPECT_EQ(timer.use_count(), 2) << "both are the test's";
}

TEST_F(TimerTables, GiveARepeatingTimerAgainAfterEachInterval) {
    const auto timer = make(2s, true);
    add(timer);
    for (int i = 1; i <= 3; ++i) {
        now = start + i * 2s;
        EXPECT_EQ(fireDue(), Timers{timer});
        EXPECT_EQ(table.nextDue(), now + 2s);
    }
}

TEST_F(TimerTables, GiveARepeatingTimerOnceForSeveralTimesThatItMissed) {
    const auto timer = make(2s, true);
    add(timer);
    now = start + 7s;
    EXPECT_EQ(fireDue(), Timers{timer});
    EXPECT_EQ(table.nextDue(), start + 8s);
    now = start + 12s;
    EXPECT_EQ(fireDue(), Timers{timer}) << "due now, and two seconds and four ago";
    EXPECT_EQ(table.nextDue(), start + 14s);
}

TEST_F(TimerTables, LeaveARepeatingTimerItsPlaceInTheOrderOfAdding) {
    const auto repeating = make(1s, true);
    const auto once = make(2s);
    add(repeating);
    add(once);
    now = start + 1s;
    EXPECT_EQ(fireDue(), Timers{repeating});
    now = start + 2s;
    EXPECT_EQ(fireDue(), (Timers{repeating, once}));
}

TEST_F(TimerTables, TakeATimerForANewOneWhereAnotherLayBefore) {
    // Where nobody watches addresses, the next timer lies where the last one lay.
    for (int i = 0; i < 100; ++i) {
        const auto timer = make(1h);
        EXPECT_TRUE(add(timer));
        timer->invalidate();
    }
    for (int i = 0; i < 100; ++i) {
        EXPECT_TRUE(add(make(0ns)));
        fireDue();
    }
}

TEST_F(TimerTables, KeepNothingAfterTheirEnd) {
    const auto kept = make(1h);
    const auto end = [&](int*) { EXPECT_EQ(add(kept), std::nullopt); };
    table.add(Timer::create(1h, [held = std::shared_ptr<int>(nullptr, end)](Timer&) {}, false), now);
    table.end();
    EXPECT_EQ(table.nextDue(), std::nullopt);
    EXPECT_EQ(add(kept), std::nullopt);
    EXPECT_EQ(kept.use_count(), 1);
}

TEST_F(TimerTables, EndTimersWhoseTargetKeepsThem) {
    const auto keeps = std::make_shared<std::shared_ptr<Timer>>();
    const std::weak_ptr<std::shared_ptr<Timer>> target = keeps;
    *keeps = Timer::create(1h, [keeps](Timer&) {}, false);
    table.add(*keeps, now);
    table.end();
    EXPECT_FALSE((*keeps)->isValid());
    EXPECT_EQ(target.use_count(), 1);
}

TEST_F(TimerTables, MayEndBeforeTheirTimers) {
    const auto timer = make(1h);
    {
        TimerTable ending;
        ending.add(timer, now);
        EXPECT_EQ(timer.use_count(), 2);
    }
    EXPECT_EQ(timer.use_count(), 1);
    timer->invalidate();

    const auto invalidatedLater = make(1h);
    add(invalidatedLater);
    table.end();
    EXPECT_EQ(invalidatedLater.use_count(), 1);
    invalidatedLater->invalidate();
}

}  // namespace
}  // namespace quendokit::testing

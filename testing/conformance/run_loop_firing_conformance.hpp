#pragma once
/// \file
/// Conformance of `RunLoop`: when a timer fires, where, and after which others.

#include <thread>

#include "testing/conformance/run_loop_conformance_fixture.hpp"

namespace quendokit::testing {

TEST_P(RunLoopConformance, AddingNeverFires) {
    add(timer(std::chrono::nanoseconds(0), "zero"));
    add(timer(-tick, "negative"));
    add(repeating(std::chrono::nanoseconds(0), "repeating", [](Timer& timer) { timer.invalidate(); }));
    EXPECT_EQ(fired, Fired{});
    runUntilFired(3);
}

TEST_P(RunLoopConformance, AddingInsideAnActionNeverFiresEither) {
    std::size_t firedInside = 0;
    add(std::chrono::nanoseconds(0), "outer", [&](Timer&) {
        add(std::chrono::nanoseconds(0), "inner");
        firedInside = fired.size();
    });
    runUntilFired(2);
    EXPECT_EQ(firedInside, 1U);
    EXPECT_EQ(fired, (Fired{"outer", "inner"}));
}

TEST_P(RunLoopConformance, ATimerFiresWhenItsIntervalHasPassed) {
    for (const std::chrono::nanoseconds interval :
         {std::chrono::nanoseconds(0), std::chrono::nanoseconds(1), tick / 10, tick, 3 * tick}) {
        SCOPED_TRACE(interval.count());
        std::chrono::nanoseconds firedAt{0};
        const std::chrono::nanoseconds addedAt = factory->now();
        add(interval, "once", [&](Timer&) { firedAt = factory->now(); });
        runUntilFired(1);
        EXPECT_GE(firedAt - addedAt, interval);
        fired.clear();
    }
}

TEST_P(RunLoopConformance, AnIntervalBeginsWhenTheTimerIsAdded) {
    const auto madeEarlier = timer(2 * tick, "made earlier");
    factory->runFor(tick);
    std::chrono::nanoseconds firedAt{0};
    const std::chrono::nanoseconds addedAt = factory->now();
    add(madeEarlier);
    add(2 * tick, "after it", [&](Timer&) { firedAt = factory->now(); });
    runUntilFired(2);
    EXPECT_GE(firedAt - addedAt, 2 * tick);
    EXPECT_EQ(fired, (Fired{"made earlier", "after it"}));
}

TEST_P(RunLoopConformance, AnIntervalOfATimerAddedByAnActionBeginsThere) {
    std::chrono::nanoseconds addedAt{0};
    std::chrono::nanoseconds firedAt{0};
    add(tick, "outer", [&](Timer&) {
        factory->spend(tick);
        addedAt = factory->now();
        add(tick, "inner", [&](Timer&) { firedAt = factory->now(); });
    });
    runUntilFired(2);
    EXPECT_GE(firedAt - addedAt, tick);
}

TEST_P(RunLoopConformance, AOneShotFiresOnce) {
    const auto once = timer(tick, "once");
    add(once);
    runUntilFired(1);
    factory->runFor(3 * tick);
    EXPECT_EQ(fired, Fired{"once"});
}

TEST_P(RunLoopConformance, AnActionIsGivenItsTimer) {
    const auto once = timer(tick, "once", [&](Timer& given) {
        EXPECT_EQ(given.timeInterval(), tick);
        EXPECT_TRUE(given.isValid()) << "a one-shot is valid until its action has returned";
    });
    add(once);
    runUntilFired(1);
    EXPECT_FALSE(once->isValid());
}

TEST_P(RunLoopConformance, TimersFireInTheOrderInWhichTheyAreDue) {
    for (const int ticks : {3, 1, 5, 4, 2}) {
        add(ticks * tick, std::to_string(ticks));
    }
    runUntilFired(5);
    EXPECT_EQ(fired.size(), 5U);
    expectFiredInTheOrderOfTheirDues();
}

TEST_P(RunLoopConformance, OverdueTimersFireInTheOrderInWhichTheyWereDue) {
    for (const int ticks : {3, 5, 4, 2}) {
        add(ticks * tick, std::to_string(ticks));
    }
    add(tick, "slow", [&](Timer&) { factory->spend(5 * tick); });
    runUntilFired(5);
    EXPECT_EQ(fired.size(), 5U);
    expectFiredInTheOrderOfTheirDues();
}

TEST_P(RunLoopConformance, TimersDueAtTheSameInstantFireInTheOrderInWhichTheyWereAdded) {
    Fired expected;
    for (int i = 0; i < 50; ++i) {
        expected.push_back(std::to_string(i));
        add(tick, expected.back());
    }
    runUntilFired(50);
    EXPECT_EQ(fired, expected);
}

TEST_P(RunLoopConformance, TheOrderOfAddingCountsWhateverTheIntervals) {
    add(3 * tick, "added first");
    factory->runFor(tick);
    add(2 * tick, "added second");
    factory->runFor(tick);
    add(tick, "added third");
    runUntilFired(3);
    EXPECT_EQ(fired, (Fired{"added first", "added second", "added third"}));
}

TEST_P(RunLoopConformance, WhatAnActionAddsFiresAfterWhatIsDueAlready) {
    std::chrono::nanoseconds bothDue{0};
    add(tick, "slow", [&](Timer&) {
        spendUntil(bothDue);
        add(std::chrono::nanoseconds(0), "added");
    });
    add(2 * tick, "overdue");
    bothDue = factory->now() + 2 * tick;
    runUntilFired(3);
    EXPECT_EQ(fired, (Fired{"slow", "overdue", "added"}));
}

TEST_P(RunLoopConformance, ATimerAddedTwiceFiresOnceWhereItWas) {
    const auto twice = timer(2 * tick, "twice");
    add(twice);
    add(twice);
    factory->runFor(tick);
    add(2 * tick, "later");
    add(twice);
    runUntilFired(2);
    factory->runFor(3 * tick);
    EXPECT_EQ(fired, (Fired{"twice", "later"}));
}

TEST_P(RunLoopConformance, AOneShotAddedAgainByItsActionDoesNotFireAgain) {
    std::shared_ptr<Timer> once;
    once = timer(tick, "once", [&](Timer&) { add(once); });
    add(once);
    runUntilFired(1);
    factory->runFor(3 * tick);
    EXPECT_EQ(fired, Fired{"once"});
}

TEST_P(RunLoopConformance, AnActionRunsOnTheThreadOfTheLoop) {
    std::thread::id ranOn;
    std::thread other([&] { add(tick, "once", [&](Timer&) { ranOn = std::this_thread::get_id(); }); });
    other.join();
    runUntilFired(1);
    EXPECT_EQ(ranOn, std::this_thread::get_id());
}

}  // namespace quendokit::testing

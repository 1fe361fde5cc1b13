#pragma once
/// \file
/// Conformance of `RunLoop`: timers that repeat.

#include "testing/conformance/run_loop_conformance_fixture.hpp"

namespace quendokit::testing {

TEST_P(RunLoopConformance, ARepeatingTimerFiresAgainAndAgainAndNeverEarly) {
    std::vector<std::chrono::nanoseconds> firedAt;
    const std::chrono::nanoseconds addedAt = factory->now();
    add(repeating(tick, "again", [&](Timer& timer) {
        firedAt.push_back(factory->now() - addedAt);
        EXPECT_TRUE(timer.isValid());
    }));
    runUntilFired(5);
    ASSERT_GE(firedAt.size(), 5U);
    for (std::size_t i = 0; i < firedAt.size(); ++i) {
        EXPECT_GE(firedAt[i], static_cast<int>(i + 1) * tick) << i;
    }
}

TEST_P(RunLoopConformance, ARepeatingTimerFiresOnceForSeveralTimesThatItMissed) {
    std::vector<std::chrono::nanoseconds> firedAt;
    std::chrono::nanoseconds actionEnded{0};
    const std::chrono::nanoseconds beforeAdding = factory->now();
    add(repeating(2 * tick, "again", [&](Timer&) {
        firedAt.push_back(factory->now());
        if (firedAt.size() == 1) {
            factory->spend(7 * tick);
            actionEnded = factory->now();
        }
    }));
    const std::chrono::nanoseconds afterAdding = factory->now();
    runUntilFired(4);
    ASSERT_GE(firedAt.size(), 4U);
    // At once for what it missed, and then again at the multiples of the interval that lie ahead.
    const auto missed = (actionEnded - afterAdding) / (2 * tick);
    EXPECT_GE(firedAt[2], beforeAdding + (missed + 1) * 2 * tick);
    EXPECT_GE(firedAt[3], beforeAdding + (missed + 2) * 2 * tick);
}

TEST_P(RunLoopConformance, ARepeatingTimerDelayedByAnotherFiresOnceForSeveralTimesThatItMissed) {
    std::vector<std::chrono::nanoseconds> firedAt;
    std::chrono::nanoseconds actionEnded{0};
    add(tick, "slow", [&](Timer&) {
        factory->spend(8 * tick);
        actionEnded = factory->now();
    });
    const std::chrono::nanoseconds beforeAdding = factory->now();
    add(repeating(2 * tick, "again", [&](Timer&) { firedAt.push_back(factory->now()); }));
    const std::chrono::nanoseconds afterAdding = factory->now();
    runUntilFired(3);
    ASSERT_GE(firedAt.size(), 2U);
    const auto missed = (actionEnded - afterAdding) / (2 * tick);
    EXPECT_GE(firedAt[1], beforeAdding + (missed + 1) * 2 * tick);
}

TEST_P(RunLoopConformance, ARepeatingTimerKeepsItsPlaceAmongThoseOfTheSameInstant) {
    add(2 * tick, "once");
    add(repeating(tick, "again"));
    runUntilFired(3);
    const auto once = std::find(fired.begin(), fired.end(), "once");
    ASSERT_NE(once, fired.end());
    // Due for the second time no earlier than the one-shot that was added before it.
    EXPECT_LE(once - fired.begin(), 1);
}

TEST_P(RunLoopConformance, RepeatingTimersTakeTurnsWithOthers) {
    add(repeating(std::chrono::nanoseconds(0), "busy"));
    add(tick, "once");
    EXPECT_TRUE(factory->runUntil([&] { return std::count(fired.begin(), fired.end(), "once") == 1; }));
}

TEST_P(RunLoopConformance, ARepeatingTimerAddedTwiceFiresOnceEachTime) {
    std::vector<std::chrono::nanoseconds> firedAt;
    const std::chrono::nanoseconds addedAt = factory->now();
    std::shared_ptr<Timer> twice;
    twice = repeating(tick, "again", [&](Timer&) {
        firedAt.push_back(factory->now() - addedAt);
        add(twice);
    });
    add(twice);
    add(twice);
    runUntilFired(4);
    for (std::size_t i = 0; i < firedAt.size(); ++i) {
        EXPECT_GE(firedAt[i], static_cast<int>(i + 1) * tick) << i;
    }
    twice->invalidate();
}

}  // namespace quendokit::testing

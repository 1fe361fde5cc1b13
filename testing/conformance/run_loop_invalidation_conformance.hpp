#pragma once
/// \file
/// Conformance of `RunLoop`: timers that are invalidated.

#include <thread>

#include "testing/conformance/run_loop_conformance_fixture.hpp"

namespace quendokit::testing {

TEST_P(RunLoopConformance, ATimerInvalidatedBeforeItIsDueNeverFires) {
    const auto first = timer(tick, "first");
    const auto second = timer(20 * tick, "second");
    add(first);
    add(second);
    add(21 * tick, "third");
    first->invalidate();
    factory->runFor(tick);
    second->invalidate();
    runUntilFired(1);
    EXPECT_EQ(fired, Fired{"third"});
}

TEST_P(RunLoopConformance, ARepeatingTimerFiresNoMoreWhenItsActionInvalidatesIt) {
    add(repeating(tick, "again", [&](Timer& timer) {
        if (fired.size() == 2) {
            timer.invalidate();
            EXPECT_FALSE(timer.isValid());
        }
    }));
    runUntilFired(2);
    factory->runFor(3 * tick);
    EXPECT_EQ(fired, (Fired{"again", "again"}));
}

TEST_P(RunLoopConformance, AOneShotMayInvalidateItself) {
    add(tick, "once", [](Timer& timer) { timer.invalidate(); });
    add(2 * tick, "next");
    runUntilFired(2);
    factory->runFor(2 * tick);
    EXPECT_EQ(fired, (Fired{"once", "next"}));
}

TEST_P(RunLoopConformance, ATimerInvalidatedByAnotherActionNeverFires) {
    const auto later = timer(3 * tick, "invalidated");
    const auto overdue = timer(2 * tick, "invalidated while overdue");
    const auto sameInstant = timer(tick, "invalidated at its instant");
    add(tick, "invalidating", [&](Timer&) {
        factory->spend(2 * tick);
        sameInstant->invalidate();
        overdue->invalidate();
        later->invalidate();
    });
    add(sameInstant);
    add(overdue);
    add(later);
    add(3 * tick, "last");
    runUntilFired(2);
    factory->runFor(2 * tick);
    EXPECT_EQ(fired, (Fired{"invalidating", "last"}));
}

TEST_P(RunLoopConformance, ARepeatingTimerInvalidatedByAnotherActionFiresNoMore) {
    const auto stopped = repeating(tick, "again");
    add(stopped);
    add(3 * tick, "stopping", [&](Timer&) { stopped->invalidate(); });
    EXPECT_TRUE(factory->runUntil([&] { return !stopped->isValid(); }));
    factory->runFor(3 * tick);
    EXPECT_EQ(fired.back(), "stopping");
}

TEST_P(RunLoopConformance, AnInvalidTimerIsNotAdded) {
    const auto invalid = timer(tick, "invalid");
    invalid->invalidate();
    add(invalid);
    EXPECT_EQ(invalid.use_count(), 1) << "the loop keeps a timer that will never fire";

    const auto spent = timer(tick, "spent");
    add(spent);
    runUntilFired(1);
    add(spent);
    EXPECT_EQ(spent.use_count(), 1);

    add(tick, "valid");
    runUntilFired(2);
    EXPECT_EQ(fired, (Fired{"spent", "valid"}));
}

TEST_P(RunLoopConformance, ATimerInvalidatedOnAnotherThreadNeverFires) {
    const auto invalidated = timer(tick, "invalidated");
    add(invalidated);
    std::thread other([&] { invalidated->invalidate(); });
    other.join();
    add(2 * tick, "last");
    runUntilFired(1);
    EXPECT_EQ(fired, Fired{"last"});
}

TEST_P(RunLoopConformance, AnActionMayAddAndInvalidateTheSameTimer) {
    const auto inner = timer(std::chrono::nanoseconds(0), "inner");
    add(tick, "outer", [&](Timer&) {
        add(inner);
        inner->invalidate();
    });
    add(2 * tick, "last");
    runUntilFired(2);
    EXPECT_EQ(fired, (Fired{"outer", "last"}));
}

}  // namespace quendokit::testing

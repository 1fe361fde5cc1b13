#pragma once
/// \file
/// Conformance of `RunLoop`: who keeps a timer and its target, and how long.

#include "testing/conformance/run_loop_conformance_fixture.hpp"

namespace quendokit::testing {

/// Something that a timer calls.
class TimerTarget {
public:
    explicit TimerTarget(std::vector<std::string>& fired) : fired_(fired) {}
    void act(Timer&) { fired_.push_back("target"); }
    void actAndEnd(Timer& timer) {
        timer.invalidate();
        // Still here, though nobody but the timer kept it.
        fired_.push_back("target");
    }

private:
    std::vector<std::string>& fired_;
};

TEST_P(RunLoopConformance, TheLoopKeepsATimerAndTheTimerItsTargetUntilAOneShotHasFired) {
    auto target = std::make_shared<TimerTarget>(fired);
    const std::weak_ptr<TimerTarget> weakTarget = target;
    auto timer = Timer::create(tick, std::move(target), &TimerTarget::act, false);
    const std::weak_ptr<Timer> weakTimer = timer;
    add(timer);
    timer.reset();

    EXPECT_FALSE(weakTimer.expired());
    EXPECT_FALSE(weakTarget.expired());
    runUntilFired(1);
    EXPECT_TRUE(weakTimer.expired());
    EXPECT_TRUE(weakTarget.expired());
}

TEST_P(RunLoopConformance, AOneShotThatHasFiredKeepsNoTargetEvenWhenItIsKeptItself) {
    auto target = std::make_shared<TimerTarget>(fired);
    const std::weak_ptr<TimerTarget> weakTarget = target;
    const auto timer = Timer::create(tick, std::move(target), &TimerTarget::act, false);
    add(timer);
    runUntilFired(1);
    EXPECT_TRUE(weakTarget.expired());
    EXPECT_EQ(timer.use_count(), 1);
}

TEST_P(RunLoopConformance, InvalidatingLetsGoOfTimerAndTargetAtOnce) {
    auto target = std::make_shared<TimerTarget>(fired);
    const std::weak_ptr<TimerTarget> weakTarget = target;
    const auto timer = Timer::create(100 * tick, std::move(target), &TimerTarget::act, true);
    add(timer);
    EXPECT_FALSE(weakTarget.expired());
    timer->invalidate();
    EXPECT_TRUE(weakTarget.expired());
    EXPECT_EQ(timer.use_count(), 1);
}

TEST_P(RunLoopConformance, ARepeatingTimerIsKeptUntilItIsInvalidated) {
    auto target = std::make_shared<TimerTarget>(fired);
    const std::weak_ptr<TimerTarget> weakTarget = target;
    std::weak_ptr<Timer> weakTimer;
    {
        const auto timer = Timer::create(tick, std::move(target), &TimerTarget::act, true);
        weakTimer = timer;
        add(timer);
    }
    runUntilFired(3);
    EXPECT_FALSE(weakTarget.expired());

    weakTimer.lock()->invalidate();
    EXPECT_TRUE(weakTimer.expired());
    EXPECT_TRUE(weakTarget.expired());
}

TEST_P(RunLoopConformance, AnActionThatInvalidatesItsTimerRunsToItsEnd) {
    for (const bool repeats : {false, true}) {
        SCOPED_TRACE(repeats);
        fired.clear();
        auto target = std::make_shared<TimerTarget>(fired);
        const std::weak_ptr<TimerTarget> weakTarget = target;
        std::weak_ptr<Timer> weakTimer;
        {
            const auto timer = Timer::create(tick, std::move(target), &TimerTarget::actAndEnd, repeats);
            weakTimer = timer;
            add(timer);
        }
        runUntilFired(1);
        EXPECT_TRUE(weakTimer.expired());
        EXPECT_TRUE(weakTarget.expired());
    }
}

TEST_P(RunLoopConformance, WhatATimerHeldMayUseTheLoopWhenItEnds) {
    const auto end = [this](int*) { add(tick, "added at the end"); };
    std::weak_ptr<Timer> weakTimer;
    {
        const auto timer = Timer::create(100 * tick, [held = std::shared_ptr<int>(nullptr, end)](Timer&) {}, false);
        weakTimer = timer;
        add(timer);
    }
    weakTimer.lock()->invalidate();
    runUntilFired(1);
    EXPECT_EQ(fired, Fired{"added at the end"});
}

}  // namespace quendokit::testing

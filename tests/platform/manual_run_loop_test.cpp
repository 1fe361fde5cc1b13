#include "testing/manual_run_loop.hpp"

#include <chrono>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "quendokit/platform/timer.hpp"
#include "testing/manual_clock.hpp"

namespace quendokit::testing {
namespace {

using namespace std::chrono_literals;
using Times = std::vector<std::chrono::nanoseconds>;

class ManualRunLoops : public ::testing::Test {
protected:
    /// Adds a timer that notes when it fires.
    std::shared_ptr<Timer> add(std::chrono::nanoseconds interval, bool repeats = false) {
        const auto timer = Timer::create(interval, [this](Timer&) { firedAt.push_back(loop.elapsed()); }, repeats);
        loop.add(timer, RunLoopMode::default_);
        return timer;
    }

    void add(std::chrono::nanoseconds interval, const Timer::Action& action) {
        loop.add(Timer::create(interval, action, false), RunLoopMode::default_);
    }

    const std::shared_ptr<ManualClock> clock = std::make_shared<ManualClock>();
    ManualRunLoop loop{clock};
    Times firedAt;
};

TEST_F(ManualRunLoops, FireAtTheExactInstantAndNotBefore) {
    add(3s);
    loop.advanceBy(2'999'999'999ns);
    EXPECT_EQ(firedAt, Times{});
    loop.advanceBy(1ns);
    EXPECT_EQ(firedAt, Times{3s});
}

TEST_F(ManualRunLoops, FireEachTimerWhenItIsDueInOneLongStep) {
    add(3s);
    add(1s);
    add(2s, [this](Timer&) { add(500ms); });
    loop.advanceBy(10s);
    EXPECT_EQ(firedAt, (Times{1s, 2'500ms, 3s}));
    EXPECT_EQ(loop.elapsed(), 10s);
}

TEST_F(ManualRunLoops, FireWhatIsDueNowWithoutTimePassing) {
    add(0s);
    loop.advanceBy(0s);
    EXPECT_EQ(firedAt, Times{0s});
}

TEST_F(ManualRunLoops, FireARepeatingTimerAtEveryMultipleThatPasses) {
    add(400ms, true);
    loop.advanceBy(1s);
    EXPECT_EQ(firedAt, (Times{400ms, 800ms}));
    loop.advanceBy(1s);
    EXPECT_EQ(firedAt, (Times{400ms, 800ms, 1'200ms, 1'600ms, 2s}));
}

TEST_F(ManualRunLoops, FireARepeatingTimerBeforeOneAddedLaterForTheSameInstant) {
    std::vector<std::string> fired;
    const auto repeating = Timer::create(1s, [&](Timer&) { fired.emplace_back("repeating"); }, true);
    loop.add(repeating, RunLoopMode::default_);
    add(2s, [&](Timer&) { fired.emplace_back("once"); });
    loop.advanceBy(3s);
    EXPECT_EQ(fired, (std::vector<std::string>{"repeating", "repeating", "once", "repeating"}));
}

TEST_F(ManualRunLoops, AreLateByWhatAnActionTakes) {
    add(1s, [this](Timer&) { loop.advanceBy(3'500ms); });
    add(1s, true);
    add(2s);
    loop.advanceBy(2s);
    // The repeating one, once for four times; the other; time stands where the action has left it.
    EXPECT_EQ(firedAt, (Times{4'500ms, 4'500ms}));
    EXPECT_EQ(loop.elapsed(), 4'500ms);
    loop.advanceBy(500ms);
    EXPECT_EQ(firedAt.back(), 5s);
}

TEST_F(ManualRunLoops, SayHowManyTimersWaitAndWhenTheNextFires) {
    EXPECT_EQ(loop.timerCount(), 0U);
    EXPECT_EQ(loop.timeUntilNextTimer(), std::nullopt);
    const auto repeating = add(2s, true);
    const auto once = add(3s);
    EXPECT_EQ(loop.timerCount(), 2U);
    EXPECT_EQ(loop.timeUntilNextTimer(), 2s);
    loop.advanceBy(2s);
    EXPECT_EQ(loop.timerCount(), 2U);
    EXPECT_EQ(loop.timeUntilNextTimer(), 1s);
    repeating->invalidate();
    EXPECT_EQ(loop.timerCount(), 1U);
    loop.advanceBy(1s);
    EXPECT_EQ(loop.timerCount(), 0U);
    EXPECT_EQ(loop.timeUntilNextTimer(), std::nullopt);
}

TEST_F(ManualRunLoops, SayInsideAnActionWhatIsStillToCome) {
    add(1s, [this](Timer&) {
        EXPECT_EQ(loop.timerCount(), 2U) << "itself and the next one";
        EXPECT_EQ(loop.timeUntilNextTimer(), 1s);
        loop.advanceBy(2s);
        EXPECT_EQ(loop.timeUntilNextTimer(), 0s) << "overdue";
    });
    add(2s);
    loop.advanceBy(1s);
    EXPECT_EQ(firedAt, Times{3s});
}

TEST_F(ManualRunLoops, NeverReachTheEndOfTime) {
    add(std::chrono::nanoseconds::max());
    add(std::chrono::nanoseconds::max(), true);
    loop.advanceBy(1s);
    add(std::chrono::nanoseconds::max());
    EXPECT_EQ(loop.timeUntilNextTimer(), std::nullopt);
    loop.advanceBy(std::chrono::nanoseconds::max());
    EXPECT_EQ(firedAt, Times{});
    EXPECT_EQ(loop.timerCount(), 3U);
}

TEST_F(ManualRunLoops, ShowEachActionTheMomentAtWhichItIsDue) {
    std::vector<Date> shown;
    const auto timer = Timer::create(100ms, [&](Timer&) { shown.push_back(clock->now()); }, true);
    loop.add(timer, RunLoopMode::default_);
    for (int i = 0; i < 29; ++i) {
        loop.advanceBy(10ms);
    }
    loop.advanceBy(1s);
    ASSERT_EQ(shown.size(), 12U);
    EXPECT_EQ(shown[2], Date(1'795'302'000.3));
    EXPECT_EQ(shown[11], Date(1'795'302'001.2));
    EXPECT_EQ(clock->now(), Date(1'795'302'001.29));
}

TEST_F(ManualRunLoops, GoOnFromWhatTheClockWasSetTo) {
    add(1s);
    add(2s, [this](Timer&) { clock->set(Date(500.5)); });
    clock->set(Date(1'000));
    loop.advanceBy(1s);
    EXPECT_EQ(clock->now(), Date(1'001));
    EXPECT_EQ(firedAt, Times{1s}) << "a clock that jumps moves no timer";
    loop.advanceBy(2s);
    EXPECT_EQ(clock->now(), Date(501.5));
    EXPECT_EQ(clock->readCount(), 2U) << "the loop asks the clock";
}

TEST_F(ManualRunLoops, NeedNoClock) {
    ManualRunLoop alone;
    bool fired = false;
    alone.add(Timer::create(1s, [&](Timer&) { fired = true; }, false), RunLoopMode::default_);
    alone.advanceBy(1s);
    EXPECT_TRUE(fired);
}

TEST_F(ManualRunLoops, LetGoOfTheirTimersWhenTheyEnd) {
    auto gone = std::make_unique<ManualRunLoop>();
    const auto kept = Timer::create(1s, [](Timer&) {}, false);
    gone->add(kept, RunLoopMode::default_);
    gone.reset();
    EXPECT_EQ(kept.use_count(), 1);
    EXPECT_TRUE(kept->isValid());
    kept->invalidate();
}

TEST(ManualRunLoopDeathTest, TurningTimeBackIsFatal) {
    ManualRunLoop loop;
    EXPECT_DEATH(loop.advanceBy(-1ns), "Fatal error: ManualRunLoop::advanceBy cannot turn time back");
}

}  // namespace
}  // namespace quendokit::testing

#include "adapters/event_loop/event_loop.hpp"

#include <atomic>
#include <chrono>
#include <functional>
#include <latch>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "quendokit/platform/timer.hpp"

namespace quendokit::testing {
namespace {

using namespace std::chrono_literals;
using Ran = std::vector<std::string>;

class EventLoops : public ::testing::Test {
protected:
    static bool never() { return false; }

    /// One turn of what is ready.
    void turn() { EXPECT_FALSE(loop->runUntil(never, 0s)); }

    /// Runs until something has run, which must not take as long as the loop would sleep by itself.
    void runUntilSomethingRan() {
        const auto begun = std::chrono::steady_clock::now();
        EXPECT_TRUE(loop->runUntil([this] { return !ran.empty(); }, 20s));
        EXPECT_LT(std::chrono::steady_clock::now() - begun, 10s) << "nobody woke it";
    }

    void submit(const std::string& name) {
        loop->async([this, name] { ran.push_back(name); });
    }

    void add(std::chrono::nanoseconds interval, const Timer::Action& action) {
        loop->add(Timer::create(interval, action, false), RunLoopMode::default_);
    }

    /// Runs `work` on another thread as soon as the loop's thread sleeps, or is about to.
    std::thread whenAsleep(const std::function<void()>& work) {
        auto begun = std::make_shared<std::latch>(1);
        loop->async([begun] { begun->count_down(); });
        return std::thread([begun, work] {
            begun->wait();
            // Nothing tells from outside that a thread sleeps; if it does not yet, the test sees less, and no failure.
            std::this_thread::sleep_for(20ms);
            work();
        });
    }

    std::unique_ptr<EventLoop> loop = std::make_unique<EventLoop>();
    Ran ran;
};

TEST_F(EventLoops, RunUntilTheyAreStopped) {
    loop->async([this] { add(1ms, [this](Timer&) { loop->stop(); }); });
    submit("task");
    loop->run();
    EXPECT_EQ(ran, Ran{"task"});
}

TEST_F(EventLoops, StoppedBeforeTheyRunReturnAtOnceAndRunTheNextTime) {
    submit("task");
    loop->stop();
    loop->stop();
    loop->run();
    EXPECT_EQ(ran, Ran{});
    EXPECT_TRUE(loop->runUntil([this] { return !ran.empty(); }, 10s));
}

TEST_F(EventLoops, KeepWhatHasNotRunWhenTheyAreStopped) {
    submit("before");
    loop->async([this] {
        add(0s, [this](Timer&) { ran.emplace_back("timer"); });
        loop->stop();
    });
    submit("after");
    loop->run();
    EXPECT_EQ(ran, Ran{"before"});
    turn();
    turn();
    EXPECT_EQ(ran, (Ran{"before", "after", "timer"}));
}

TEST_F(EventLoops, ForgetAStopWithTheRunThatItCameIn) {
    loop->async([this] {
        loop->stop();
        ran.emplace_back("task");
    });
    EXPECT_TRUE(loop->runUntil([this] { return !ran.empty(); }, 10s));
    submit("later");
    turn();
    EXPECT_EQ(ran, (Ran{"task", "later"}));
}

TEST_F(EventLoops, AreStoppedByAnotherThread) {
    std::thread other = whenAsleep([this] { loop->stop(); });
    loop->run();
    other.join();
}

TEST_F(EventLoops, RunNothingForWhatIsDoneAlready) {
    submit("task");
    EXPECT_TRUE(loop->runUntil([] { return true; }, 10s));
    EXPECT_EQ(ran, Ran{});
}

TEST_F(EventLoops, ReturnAfterTheTaskOrActionThatDidIt) {
    submit("first");
    submit("second");
    EXPECT_TRUE(loop->runUntil([this] { return ran.size() == 1; }, 10s));
    EXPECT_EQ(ran, Ran{"first"});
    loop->stop();
    EXPECT_FALSE(loop->runUntil([this] { return ran.size() == 2; }, 10s));
}

TEST_F(EventLoops, RunForAtMostTheTimeTheyAreGivenAndNoShorter) {
    add(1h, [](Timer&) {});
    const auto begun = std::chrono::steady_clock::now();
    EXPECT_FALSE(loop->runUntil(never, 30ms));
    const auto passed = std::chrono::steady_clock::now() - begun;
    EXPECT_GE(passed, 30ms);
    EXPECT_LT(passed, 10s);
}

TEST_F(EventLoops, AskOnceMoreWhenTheTimeIsOver) {
    int asked = 0;
    EXPECT_TRUE(loop->runUntil([&] { return ++asked == 2; }, 1ms));
    EXPECT_FALSE(loop->runUntil(never, -1s)) << "a negative time is none";
}

TEST_F(EventLoops, RunInOneTurnWhatIsReadyAndNothingThatComesOfIt) {
    loop->async([this] {
        ran.emplace_back("task");
        submit("task of the task");
        add(0s, [this](Timer&) { ran.emplace_back("timer of the task"); });
    });
    add(0s, [this](Timer&) {
        ran.emplace_back("timer");
        submit("task of the timer");
        add(0s, [this](Timer&) { ran.emplace_back("timer of the timer"); });
    });
    turn();
    EXPECT_EQ(ran, (Ran{"task", "timer"}));
    ran.clear();
    turn();
    EXPECT_EQ(ran, (Ran{"task of the task", "task of the timer", "timer of the task", "timer of the timer"}));
}

TEST_F(EventLoops, LetTimersFireBetweenTasksWithoutEnd) {
    std::function<void()> again = [&] { loop->async(again); };
    loop->async(again);
    bool fired = false;
    add(1ms, [&](Timer&) { fired = true; });
    EXPECT_TRUE(loop->runUntil([&] { return fired; }, 10s));
}

TEST_F(EventLoops, LetTasksRunBetweenTimersWithoutEnd) {
    Timer::Action again = [&](Timer&) { add(0s, again); };
    add(0s, [&](Timer&) {
        submit("task");
        add(0s, again);
    });
    EXPECT_TRUE(loop->runUntil([this] { return !ran.empty(); }, 10s));
}

TEST_F(EventLoops, WakeForATaskOfAnotherThread) {
    std::thread other = whenAsleep([this] { submit("task"); });
    runUntilSomethingRan();
    other.join();
}

TEST_F(EventLoops, WakeForATimerOfAnotherThread) {
    add(1h, [](Timer&) {});
    std::thread other = whenAsleep([this] { add(1ms, [this](Timer&) { ran.emplace_back("timer"); }); });
    runUntilSomethingRan();
    other.join();
}

TEST_F(EventLoops, SleepWithoutWakingWhileThereIsNothingToDo) {
    EXPECT_EQ(loop->wakeUpCount(), 0U);
    EXPECT_FALSE(loop->runUntil(never, 200ms));
    EXPECT_EQ(loop->wakeUpCount(), 1U) << "only for the end of the run";
    add(1h, [](Timer&) {});
    EXPECT_FALSE(loop->runUntil(never, 200ms));
    EXPECT_EQ(loop->wakeUpCount(), 2U);
}

TEST_F(EventLoops, DoNotSleepWhileTasksWait) {
    for (int i = 0; i < 10; ++i) {
        submit("task");
    }
    turn();
    EXPECT_EQ(loop->wakeUpCount(), 0U);
}

TEST_F(EventLoops, AreNotWokenByWhatNeedsNothingYet) {
    const auto far = Timer::create(1h, [](Timer&) {}, false);
    loop->add(far, RunLoopMode::default_);
    std::thread other = whenAsleep([&] {
        add(2h, [](Timer&) {});
        far->invalidate();
        add(30min, [this](Timer&) { ran.emplace_back("never within this test"); });
    });
    EXPECT_FALSE(loop->runUntil(never, 100ms));
    other.join();
    EXPECT_EQ(loop->wakeUpCount(), 1U);
}

TEST_F(EventLoops, WakeOnceForATimer) {
    // Far enough ahead that the loop sleeps before they are due, on a busy machine too.
    for (int i = 0; i < 3; ++i) {
        add(500ms, [this](Timer&) { ran.emplace_back("timer"); });
    }
    std::this_thread::sleep_for(1ms);
    EXPECT_TRUE(loop->runUntil([this] { return ran.size() == 3; }, 10s));
    EXPECT_LE(loop->wakeUpCount(), 3U);
    EXPECT_GE(loop->wakeUpCount(), 1U);
}

TEST_F(EventLoops, SleepPastNoEndOfTime) {
    bool fired = false;
    for (const bool repeats : {false, true}) {
        loop->add(Timer::create(
                      std::chrono::nanoseconds::max(), [&](Timer&) { fired = true; }, repeats),
                  RunLoopMode::default_);
    }
    add(1ms, [this](Timer&) { ran.emplace_back("timer"); });
    EXPECT_TRUE(loop->runUntil([this] { return !ran.empty(); }, std::chrono::nanoseconds::max()));
    EXPECT_FALSE(fired);
}

TEST_F(EventLoops, LetGoOfATaskBeforeTheNextOneRuns) {
    auto held = std::make_shared<int>(0);
    const std::weak_ptr<int> weak = held;
    loop->async([held = std::move(held)] { ++*held; });
    bool expired = false;
    loop->async([&] { expired = weak.expired(); });
    turn();
    EXPECT_TRUE(expired);
}

TEST_F(EventLoops, LetGoOfTimersAndTasksWhenTheyEnd) {
    auto held = std::make_shared<int>(0);
    const std::weak_ptr<int> weak = held;
    const auto kept = Timer::create(1h, [](Timer&) {}, false);
    loop->add(kept, RunLoopMode::default_);
    add(1h, [held](Timer&) {});
    loop->async([held] {});
    held.reset();
    loop.reset();
    EXPECT_TRUE(weak.expired());
    EXPECT_EQ(kept.use_count(), 1);
    EXPECT_FALSE(kept->isValid());
}

TEST_F(EventLoops, DropWhatIsSubmittedAtTheirEnd) {
    EventLoop* const ending = loop.get();
    const auto end = [&, ending](int*) {
        ran.emplace_back("ended");
        const auto late = std::make_shared<int>(0);
        ending->async([this, late] { ran.emplace_back("too late"); });
        EXPECT_EQ(late.use_count(), 1);
        ending->add(Timer::create(0s, [](Timer&) {}, false), RunLoopMode::default_);
        ending->stop();
    };
    loop->async([held = std::shared_ptr<int>(nullptr, end)] {});
    add(1h, [held = std::shared_ptr<int>(nullptr, end)](Timer&) {});
    loop.reset();
    EXPECT_EQ(ran, (Ran{"ended", "ended"}));
}

TEST_F(EventLoops, BelongToTheThreadThatMakesThem) {
    EXPECT_TRUE(loop->isOnItsThread());
    std::thread other([this] { EXPECT_FALSE(loop->isOnItsThread()); });
    other.join();
}

TEST(EventLoopDeathTest, RunningOnAnotherThreadIsFatal) {
    EXPECT_DEATH(
        {
            EventLoop loop;
            std::thread([&] { loop.run(); }).join();
        },
        "Fatal error: an EventLoop was told to run on another thread than the one that made it");
}

TEST(EventLoopDeathTest, RunningInsideATaskOrAnActionIsFatal) {
    const std::string message = "Fatal error: an EventLoop was told to run by one of its own tasks or actions";
    EXPECT_DEATH(
        {
            EventLoop loop;
            loop.async([&] { loop.run(); });
            loop.run();
        },
        message);
    EXPECT_DEATH(
        {
            EventLoop loop;
            loop.add(Timer::create(
                         0s, [&](Timer&) { static_cast<void>(loop.runUntil([] { return true; }, 1s)); }, false),
                     RunLoopMode::default_);
            loop.run();
        },
        message);
}

}  // namespace
}  // namespace quendokit::testing

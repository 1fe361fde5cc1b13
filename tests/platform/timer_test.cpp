#include "quendokit/platform/timer.hpp"

#include <atomic>
#include <barrier>
#include <chrono>
#include <latch>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

namespace quendokit::testing {
namespace {

using namespace std::chrono_literals;

std::shared_ptr<Timer> make(const Timer::Action& action, bool repeats = false) {
    return Timer::create(1s, action, repeats);
}

/// Tells what it was called for, and when it ends.
class Target {
public:
    explicit Target(std::vector<std::string>& trace) : trace_(trace) {}
    ~Target() { trace_.emplace_back("target ended"); }
    void act(Timer&) { trace_.emplace_back("acted"); }
    void invalidate(Timer& timer) {
        timer.invalidate();
        trace_.emplace_back("invalidated");
    }

private:
    std::vector<std::string>& trace_;
};

using Trace = std::vector<std::string>;

TEST(Timer, KeepsTheIntervalItWasGiven) {
    for (const std::chrono::nanoseconds interval :
         {0ns, 1ns, 99'999ns, 1'000'000'000ns, std::chrono::nanoseconds::max()}) {
        EXPECT_EQ(Timer::create(interval, [](Timer&) {}, false)->timeInterval(), interval);
    }
    EXPECT_EQ(Timer::create(3s, [](Timer&) {}, true)->timeInterval(), 3s);
}

TEST(Timer, TakesANegativeIntervalForNone) {
    EXPECT_EQ(Timer::create(-1ns, [](Timer&) {}, false)->timeInterval(), 0ns);
    EXPECT_EQ(Timer::create(std::chrono::nanoseconds::min(), [](Timer&) {}, false)->timeInterval(), 0ns);
}

TEST(Timer, RepeatsNoFasterThanEveryTenthOfAMillisecond) {
    for (const std::chrono::nanoseconds tooShort : {std::chrono::nanoseconds::min(), -1ns, 0ns, 1ns, 99'999ns}) {
        EXPECT_EQ(Timer::create(tooShort, [](Timer&) {}, true)->timeInterval(), 100us);
    }
    EXPECT_EQ(Timer::create(100us, [](Timer&) {}, true)->timeInterval(), 100us);
    EXPECT_EQ(Timer::create(100'001ns, [](Timer&) {}, true)->timeInterval(), 100'001ns);
}

TEST(Timer, SaysWhetherItRepeats) {
    EXPECT_FALSE(make([](Timer&) {}, false)->repeats());
    EXPECT_TRUE(make([](Timer&) {}, true)->repeats());
}

TEST(Timer, CallsItsTargetWithItself) {
    const Timer* given = nullptr;
    const auto timer = make([&](Timer& timer) { given = &timer; });
    timer->fire();
    EXPECT_EQ(given, timer.get());

    Trace trace;
    Timer::create(1s, std::make_shared<Target>(trace), &Target::act, false)->fire();
    EXPECT_EQ(trace, (Trace{"acted", "target ended"}));
}

TEST(Timer, IsInvalidAfterAOneShotHasFired) {
    int calls = 0;
    const auto timer = make([&](Timer& timer) {
        ++calls;
        EXPECT_TRUE(timer.isValid());
    });
    EXPECT_TRUE(timer->isValid());
    timer->fire();
    EXPECT_FALSE(timer->isValid());
    timer->fire();
    EXPECT_EQ(calls, 1);
}

TEST(Timer, StaysValidWhileItRepeats) {
    int calls = 0;
    const auto timer = make([&](Timer&) { ++calls; }, true);
    timer->fire();
    timer->fire();
    EXPECT_TRUE(timer->isValid());
    timer->invalidate();
    EXPECT_FALSE(timer->isValid());
    timer->fire();
    EXPECT_EQ(calls, 2);
}

TEST(Timer, HoldsItsTargetUntilItIsInvalidated) {
    Trace trace;
    const auto timer = Timer::create(1s, std::make_shared<Target>(trace), &Target::act, true);
    timer->fire();
    EXPECT_EQ(trace, Trace{"acted"});
    timer->invalidate();
    EXPECT_EQ(trace, (Trace{"acted", "target ended"}));
}

TEST(Timer, HoldsItsTargetToTheEndOfAnActionThatInvalidates) {
    for (const bool repeats : {false, true}) {
        Trace trace;
        const auto timer = Timer::create(1s, std::make_shared<Target>(trace), &Target::invalidate, repeats);
        timer->fire();
        EXPECT_EQ(trace, (Trace{"invalidated", "target ended"}));
    }
}

TEST(Timer, TellsItsLoopOnceThatItIsInvalid) {
    int forgotten = 0;
    const auto timer = make([](Timer&) {});
    timer->whenInvalidated([&] {
        ++forgotten;
        EXPECT_FALSE(timer->isValid());
    });
    EXPECT_EQ(forgotten, 0);
    timer->invalidate();
    EXPECT_EQ(forgotten, 1);
    timer->invalidate();
    timer->fire();
    EXPECT_EQ(forgotten, 1);
}

TEST(Timer, TellsItsLoopAtOnceWhenItIsInvalidAlready) {
    int forgotten = 0;
    const auto timer = make([](Timer&) {});
    timer->invalidate();
    timer->whenInvalidated([&] { ++forgotten; });
    EXPECT_EQ(forgotten, 1);
    timer->invalidate();
    EXPECT_EQ(forgotten, 1);
}

TEST(Timer, TellsItsLoopAfterAOneShotHasFired) {
    Trace trace;
    const auto timer = make([&](Timer&) { trace.emplace_back("acted"); });
    timer->whenInvalidated([&] { trace.emplace_back("forgotten"); });
    timer->fire();
    EXPECT_EQ(trace, (Trace{"acted", "forgotten"}));

    trace.clear();
    const auto repeating = make([&](Timer&) { trace.emplace_back("acted"); }, true);
    repeating->whenInvalidated([&] { trace.emplace_back("forgotten"); });
    repeating->fire();
    EXPECT_EQ(trace, Trace{"acted"});
}

TEST(Timer, TellsNobodyWhenItEndsUninvalidated) {
    int forgotten = 0;
    make([](Timer&) {})->whenInvalidated([&] { ++forgotten; });
    EXPECT_EQ(forgotten, 0);
}

TEST(Timer, MayEndWhileItIsInvalidated) {
    // Its loop or its target is its last owner, as it is when nobody else cares.
    struct Owner {
        std::shared_ptr<Timer> timer;
    };
    for (const bool ownedByLoop : {true, false}) {
        SCOPED_TRACE(ownedByLoop);
        const auto loop = std::make_shared<Owner>();
        auto target = std::make_shared<Owner>();
        auto timer = make([target](Timer&) {});
        timer->whenInvalidated([loop] { loop->timer.reset(); });
        const std::weak_ptr<Timer> weak = timer;
        Timer& invalidated = *timer;
        (ownedByLoop ? loop : target)->timer = std::move(timer);
        target.reset();
        invalidated.invalidate();
        EXPECT_TRUE(weak.expired());
    }
}

TEST(Timer, MayBeInvalidatedByTheEndOfItsTarget) {
    struct Invalidates {
        Timer* timer = nullptr;
        ~Invalidates() { timer->invalidate(); }
    };
    auto target = std::make_shared<Invalidates>();
    const auto timer = make([target](Timer&) {});
    target->timer = timer.get();
    int forgotten = 0;
    timer->whenInvalidated([&] { ++forgotten; });
    target.reset();
    timer->invalidate();
    EXPECT_EQ(forgotten, 1);
}

TEST(TimerThreads, InvalidatingDuringAnActionNeitherWaitsNorCutsItShort) {
    std::latch begun(1);
    std::latch invalidated(1);
    std::atomic<bool> ended = false;
    auto target = std::make_shared<int>(0);
    const std::weak_ptr<int> weakTarget = target;
    const auto timer = make(
        [&, held = std::move(target)](Timer& timer) {
            begun.count_down();
            invalidated.wait();
            EXPECT_FALSE(timer.isValid());
            ++*held;
            ended = true;
        },
        true);
    std::thread loop([&] {
        timer->fire();
        timer->fire();
    });
    begun.wait();
    // Would never return if it waited for the action, which waits for it.
    timer->invalidate();
    EXPECT_FALSE(weakTarget.expired()) << "the action still uses its target";
    invalidated.count_down();
    loop.join();
    EXPECT_TRUE(ended);
    EXPECT_TRUE(weakTarget.expired());
}

TEST(TimerThreads, TellTheLoopExactlyOnceWhateverHappensFirst) {
    constexpr int threads = 4;
    for (int round = 0; round < 500; ++round) {
        std::atomic<int> forgotten = 0;
        std::atomic<int> acted = 0;
        const auto timer = make([&](Timer&) { ++acted; });
        std::barrier start(threads);
        std::vector<std::thread> running;
        running.emplace_back([&] {
            start.arrive_and_wait();
            timer->whenInvalidated([&] { ++forgotten; });
        });
        running.emplace_back([&] {
            start.arrive_and_wait();
            timer->fire();
        });
        for (int i = 2; i < threads; ++i) {
            running.emplace_back([&] {
                start.arrive_and_wait();
                timer->invalidate();
            });
        }
        for (std::thread& thread : running) {
            thread.join();
        }
        EXPECT_EQ(forgotten, 1);
        EXPECT_LE(acted, 1);
        EXPECT_FALSE(timer->isValid());
    }
}

}  // namespace
}  // namespace quendokit::testing

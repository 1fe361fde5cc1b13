#include "testing/manual_dispatch_queue.hpp"

#include <memory>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

namespace quendokit::testing {
namespace {

TEST(ManualDispatchQueue, KeepsTasksUntilTheTestRunsThem) {
    ManualDispatchQueue queue;
    std::vector<int> ran;
    for (const int i : {1, 2, 3}) {
        queue.async([&ran, i] { ran.push_back(i); });
    }
    EXPECT_EQ(queue.count(), 3U);
    EXPECT_TRUE(queue.runNext());
    EXPECT_EQ(ran, std::vector<int>{1});
    EXPECT_EQ(queue.count(), 2U);
    EXPECT_EQ(queue.runAll(), 2U);
    EXPECT_EQ(ran, (std::vector<int>{1, 2, 3}));
    EXPECT_FALSE(queue.runNext());
    EXPECT_EQ(queue.runAll(), 0U);
}

TEST(ManualDispatchQueue, RunsWhatTasksSubmitToo) {
    ManualDispatchQueue queue;
    int ran = 0;
    queue.async([&] {
        ++ran;
        EXPECT_EQ(queue.count(), 0U) << "a task that runs does not wait";
        queue.async([&] {
            ++ran;
            queue.async([&] { ++ran; });
        });
    });
    EXPECT_EQ(queue.runAll(), 3U);
    EXPECT_EQ(ran, 3);
}

TEST(ManualDispatchQueue, PlaysARaceInEitherOrder) {
    for (const bool completionFirst : {true, false}) {
        ManualDispatchQueue mainQueue;
        ManualDispatchQueue completions;
        std::vector<char> seen;
        mainQueue.async([&] { seen.push_back('m'); });
        completions.async([&] { seen.push_back('c'); });
        (completionFirst ? completions : mainQueue).runAll();
        (completionFirst ? mainQueue : completions).runAll();
        EXPECT_EQ(seen, completionFirst ? (std::vector{'c', 'm'}) : (std::vector{'m', 'c'}));
    }
}

TEST(ManualDispatchQueue, LetsGoOfATaskThatHasRunAndOfThoseThatNeverRan) {
    auto held = std::make_shared<int>(0);
    const std::weak_ptr<int> weak = held;
    {
        ManualDispatchQueue queue;
        queue.async([held] { ++*held; });
        queue.async([held] { ++*held; });
        held.reset();
        queue.runNext();
        EXPECT_EQ(weak.use_count(), 1);
    }
    EXPECT_TRUE(weak.expired());
}

TEST(ManualDispatchQueueDeathTest, RunningATaskInsideATaskIsFatal) {
    ManualDispatchQueue queue;
    queue.async([&] { queue.runNext(); });
    EXPECT_DEATH(queue.runAll(), "Fatal error: a task of a ManualDispatchQueue told the queue to run another one");
}

}  // namespace
}  // namespace quendokit::testing

#pragma once
/// \file
/// The conformance suite of `DispatchQueue`. It asserts only what the interface's comments promise.
///
/// Include it in one source file of a test program, and name your implementation there:
///
///     namespace quendokit::testing {
///     INSTANTIATE_TEST_SUITE_P(MyQueue, DispatchQueueConformance, ::testing::Values(DispatchQueueImplementation{
///         "MyQueue", [] { return std::make_unique<MyDispatchQueueFactory>(); }}));
///     }

#include <cstddef>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "testing/conformance/dispatch_queue_factory.hpp"

namespace quendokit::testing {

/// An empty queue for each test.
class DispatchQueueConformance : public ::testing::TestWithParam<DispatchQueueImplementation> {
protected:
    using Ran = std::vector<std::string>;

    DispatchQueueConformance() : factory(GetParam().makeFactory()), queue(factory->queue()) {}

    /// Submits a task that notes `name` in `ran`.
    void submit(const std::string& name) {
        queue.async([this, name] { ran.push_back(name); });
    }

    void runUntilRan(std::size_t count) {
        EXPECT_TRUE(factory->runUntil([&] { return ran.size() >= count; })) << "ran only " << ran.size();
    }

    const std::unique_ptr<DispatchQueueFactory> factory;
    DispatchQueue& queue;
    /// What has run, in order.
    Ran ran;
};

/// Without an INSTANTIATE_TEST_SUITE_P, including the suite runs nothing.
GTEST_ALLOW_UNINSTANTIATED_PARAMETERIZED_TEST(DispatchQueueConformance);

TEST_P(DispatchQueueConformance, SubmittingNeverRunsTheTask) {
    submit("task");
    EXPECT_EQ(ran, Ran{});
    runUntilRan(1);
    EXPECT_EQ(ran, Ran{"task"});
}

TEST_P(DispatchQueueConformance, SubmittingInsideATaskNeverRunsItEither) {
    std::size_t ranInside = 0;
    queue.async([&] {
        submit("inner");
        ranInside = ran.size();
        ran.emplace_back("outer");
    });
    runUntilRan(2);
    EXPECT_EQ(ranInside, 0U);
    EXPECT_EQ(ran, (Ran{"outer", "inner"}));
}

TEST_P(DispatchQueueConformance, TasksRunInTheOrderInWhichTheyWereSubmitted) {
    Ran expected;
    for (int i = 0; i < 100; ++i) {
        expected.push_back(std::to_string(i));
        submit(expected.back());
    }
    runUntilRan(100);
    EXPECT_EQ(ran, expected);
}

TEST_P(DispatchQueueConformance, ATaskOfATaskRunsAfterEverythingSubmittedBefore) {
    queue.async([&] {
        ran.emplace_back("first");
        submit("of the first");
        queue.async([&] {
            ran.emplace_back("also of the first");
            submit("of a task of the first");
        });
    });
    submit("second");
    submit("third");
    runUntilRan(6);
    EXPECT_EQ(ran, (Ran{"first", "second", "third", "of the first", "also of the first", "of a task of the first"}));
}

TEST_P(DispatchQueueConformance, TasksRunOneAtATime) {
    int running = 0;
    for (int i = 0; i < 10; ++i) {
        queue.async([&, i] {
            EXPECT_EQ(++running, 1);
            submit("inner " + std::to_string(i));
            --running;
        });
    }
    runUntilRan(10);
}

TEST_P(DispatchQueueConformance, ATaskMaySubmitItselfAgain) {
    int times = 0;
    std::function<void()> again = [&] {
        submit("round " + std::to_string(++times));
        if (times < 3) {
            queue.async(again);
        }
    };
    queue.async(again);
    runUntilRan(3);
    EXPECT_EQ(ran, (Ran{"round 1", "round 2", "round 3"}));
}

TEST_P(DispatchQueueConformance, TasksOfAnotherThreadRunOnTheThreadOfTheQueue) {
    std::vector<std::thread::id> ranOn;
    std::thread other([&] {
        for (int i = 0; i < 3; ++i) {
            queue.async([&] { ranOn.push_back(std::this_thread::get_id()); });
        }
        submit("last");
    });
    other.join();
    EXPECT_EQ(ranOn.size(), 0U);
    runUntilRan(1);
    EXPECT_EQ(ranOn, std::vector(3, std::this_thread::get_id()));
}

TEST_P(DispatchQueueConformance, WhatATaskHeldMayUseTheQueueWhenItEnds) {
    const auto end = [this](int*) { submit("submitted at the end"); };
    queue.async([held = std::shared_ptr<int>(nullptr, end)] {});
    runUntilRan(1);
    EXPECT_EQ(ran, Ran{"submitted at the end"});
}

}  // namespace quendokit::testing

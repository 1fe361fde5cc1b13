#include "adapters/event_loop/event_loop_provider.hpp"

#include <chrono>
#include <memory>
#include <thread>

#include <gtest/gtest.h>

#include "quendokit/platform/services.hpp"
#include "quendokit/platform/timer.hpp"

namespace quendokit::testing {
namespace {

using namespace std::chrono_literals;

TEST(EventLoopProvider, GivesTheThreadOfTheMainLoopThatOne) {
    const auto main = std::make_shared<EventLoop>();
    EventLoopProvider provider(main);
    EXPECT_EQ(&provider.main(), main.get());
    EXPECT_EQ(&provider.current(), main.get());
}

TEST(EventLoopProvider, GivesAnotherThreadALoopOfItsOwn) {
    EventLoopProvider provider(std::make_shared<EventLoop>());
    EventLoopProvider otherProvider(std::make_shared<EventLoop>());
    bool fired = false;
    std::thread other([&] {
        EventLoop& own = provider.current();
        EXPECT_NE(&own, &provider.main());
        EXPECT_EQ(&own, &provider.current());
        EXPECT_EQ(&own, &otherProvider.current());
        EXPECT_TRUE(own.isOnItsThread());
        std::thread([&] { EXPECT_NE(&own, &provider.current()); }).join();
        own.add(Timer::create(1ms, [&](Timer&) { fired = true; }, false), RunLoopMode::default_);
        EXPECT_TRUE(own.runUntil([&] { return fired; }, 10s));
    });
    other.join();
    EXPECT_TRUE(fired);
}

TEST(EventLoopProvider, EndsALoopWithItsThread) {
    EventLoopProvider provider(std::make_shared<EventLoop>());
    const auto timer = Timer::create(1h, [](Timer&) {}, true);
    std::thread other([&] {
        provider.current().add(timer, RunLoopMode::default_);
        EXPECT_EQ(timer.use_count(), 2);
    });
    other.join();
    EXPECT_EQ(timer.use_count(), 1);
    timer->invalidate();
}

TEST(EventLoopProvider, IsWhatTheEngineAsks) {
    const auto main = std::make_shared<EventLoop>();
    platform::Services services;
    services.runLoopProvider = std::make_shared<EventLoopProvider>(main);
    services.mainQueue = main;
    const platform::ScopedInstall installed(std::move(services));
    EXPECT_EQ(&RunLoop::main(), main.get());
    EXPECT_EQ(&RunLoop::current(), main.get());
    EXPECT_EQ(&DispatchQueue::main(), main.get());
    std::thread([&] { EXPECT_NE(&RunLoop::current(), main.get()); }).join();
}

}  // namespace
}  // namespace quendokit::testing

/// \file
/// The kernel's alarm on the wall clock, with a real clock.

#include "adapters/linux/wall_clock_alarm.hpp"

#include <atomic>
#include <chrono>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "adapters/event_loop/event_loop.hpp"
#include "adapters/event_loop/system_clock.hpp"
#include "tests/support/temporary_folder.hpp"

namespace quendokit::testing {
namespace {

using namespace std::chrono_literals;

class Alarm : public ::testing::Test {
protected:
    void SetUp() override {
        WallClockEvents events;
        events.reached = [this] { told.push_back("reached"); };
        events.clockChanged = [this] { told.push_back("clock"); };
        events.zoneChanged = [this] { told.push_back("zone"); };
        auto made = WallClockAlarm::create(loop, std::move(events), folder.path() / "localtime");
        ASSERT_TRUE(made) << made.error().description;
        alarm = std::move(made).value();
    }

    [[nodiscard]] static Date now(double later = 0) {
        return Date(SystemClock().now().timeIntervalSince1970() + later);
    }
    /// Until so many events are told, or `atMost` is over.
    void await(std::size_t count, std::chrono::nanoseconds atMost = 20s) {
        static_cast<void>(loop->runUntil([&] { return told.size() >= count; }, atMost));
    }

    const std::shared_ptr<EventLoop> loop = std::make_shared<EventLoop>();
    TemporaryFolder folder;
    std::vector<std::string> told;
    std::unique_ptr<WallClockAlarm> alarm;
};

using Words = std::vector<std::string>;

TEST_F(Alarm, ComesAtItsMomentAndNotBefore) {
    const Date moment = now(0.05);
    alarm->set(moment);
    await(1);
    EXPECT_EQ(told, Words{"reached"});
    EXPECT_GE(now(), moment);
}

TEST_F(Alarm, ComesAtOnceWhenTheMomentHasPassed) {
    for (const Date moment : {now(-3600), Date(0), Date(-1e12)}) {
        told.clear();
        alarm->set(moment);
        await(1);
        EXPECT_EQ(told, Words{"reached"});
    }
}

TEST_F(Alarm, ComesOnceForEachTimeItIsSet) {
    alarm->set(now());
    await(1);
    await(2, 50ms);
    EXPECT_EQ(told.size(), 1U);
    alarm->set(now());
    await(2);
    EXPECT_EQ(told.size(), 2U);
}

TEST_F(Alarm, ALaterMomentTakesThePlaceOfTheEarlierOne) {
    const Date later = now(0.15);
    alarm->set(now(0.05));
    alarm->set(later);
    await(1);
    EXPECT_GE(now(), later);
    EXPECT_EQ(told, Words{"reached"});
}

TEST_F(Alarm, WithoutAMomentNothingComes) {
    alarm->set(now(0.02));
    alarm->set(std::nullopt);
    await(1, 60ms);
    EXPECT_EQ(told, Words{});
}

TEST_F(Alarm, AMomentBeyondAllTimeIsOnlyFar) {
    alarm->set(Date(1e300));
    await(1, 20ms);
    EXPECT_EQ(told, Words{});
}

TEST_F(Alarm, TellsWhenTheClockWasSet) {
    for (const bool isSet : {true, false}) {
        SCOPED_TRACE(isSet);
        told.clear();
        alarm->set(isSet ? std::optional(now(3600)) : std::nullopt);
        timespec time{};
        ASSERT_EQ(clock_gettime(CLOCK_REALTIME, &time), 0);
        // To what it is: nobody else notices.
        if (clock_settime(CLOCK_REALTIME, &time) != 0) {
            GTEST_SKIP() << "this user may not set the clock, so what happens then is not tried here";
        }
        await(1);
        EXPECT_EQ(told, Words{"clock"});
    }
}

TEST_F(Alarm, TellsWhenTheFileOfTheZoneIsAnother) {
    const auto file = folder.path() / "localtime";
    std::filesystem::create_symlink("/usr/share/zoneinfo/Europe/Berlin", file);
    await(1);
    EXPECT_EQ(told, Words{"zone"});
    // As the system's own tools put another one in its place.
    std::filesystem::create_symlink("/usr/share/zoneinfo/Asia/Tokyo", folder.path() / "new");
    std::filesystem::rename(folder.path() / "new", file);
    await(2);
    EXPECT_EQ(told.size(), 2U);
}

TEST_F(Alarm, OtherFilesBesideItDoNotMatter) {
    std::ofstream(folder.path() / "other") << "x";
    std::ofstream(folder.path() / "localtime.bak") << "x";
    await(1, 50ms);
    EXPECT_EQ(told, Words{});
}

TEST_F(Alarm, TellsNothingAfterItsEnd) {
    alarm->set(now());
    alarm.reset();
    await(1, 20ms);
    EXPECT_EQ(told, Words{});
}

TEST_F(Alarm, NothingRunsBetweenItsEvents) {
    alarm->set(now(3600));
    await(1, 20ms);
    const auto before = loop->wakeUpCount();
    await(1, 200ms);
    EXPECT_LE(loop->wakeUpCount() - before, 1U) << "the end of the wait alone";
}

}  // namespace
}  // namespace quendokit::testing

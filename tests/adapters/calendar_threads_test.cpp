/// \file
/// A calendar that is read by several threads while the device travels; for ThreadSanitizer to watch.

#include <algorithm>
#include <array>
#include <atomic>
#include <cstddef>
#include <optional>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "adapters/cctz/local_calendar.hpp"
#include "adapters/cctz/local_time_zone.hpp"
#include "tests/support/scoped_environment.hpp"

namespace quendokit::testing {
namespace {

/// 2026-11-21 23:00:00 UTC, a Sunday morning in Tokyo.
constexpr Date november(1'795'302'000);
constexpr std::size_t readerCount = 3;
constexpr int journeys = 300;

struct Stay {
    const char* TZ;
    TimeComponents time;
    int weekday;
    double midnight;
    double noon;
};

constexpr std::array stays{Stay{"Europe/Berlin", {0, 0, 0}, 1, 1'795'302'000, 1'795'345'200},
                           Stay{"Asia/Tokyo", {8, 0, 0}, 1, 1'795'273'200, 1'795'316'400},
                           Stay{"EST5EDT4,M3.2.0,M11.1.0", {18, 0, 0}, 7, 1'795'237'200, 1'795'366'800}};

/// Whether one of the stays has that answer.
template <typename Answer>
bool isOfAStay(Answer isAnswerOf) {
    return std::any_of(stays.begin(), stays.end(), isAnswerOf);
}

void read(const LocalCalendar& calendar) {
    const auto time = calendar.timeComponents(november);
    EXPECT_TRUE(isOfAStay([&](const Stay& stay) { return time == stay.time; }));
    const auto weekday = calendar.weekday(november);
    EXPECT_TRUE(isOfAStay([&](const Stay& stay) { return weekday == stay.weekday; }));
    const auto midnight = calendar.dateBySettingHour(0, 0, 0, november);
    EXPECT_TRUE(isOfAStay([&](const Stay& stay) { return midnight == Date(stay.midnight); }));
    const auto noon = calendar.dateBySettingWeekday(1, november);
    EXPECT_TRUE(isOfAStay([&](const Stay& stay) { return noon == Date(stay.noon); }));
    const auto zone = calendar.zone();
    EXPECT_TRUE(isOfAStay([&](const Stay& stay) { return zone->name() == stay.TZ; }));
}

TEST(CalendarThreads, EveryAnswerIsOfOneZoneWhileTheDeviceTravels) {
    const ScopedEnvironment home("TZ", stays[0].TZ);
    LocalCalendar calendar;
    std::atomic<bool> isTravelling = true;
    std::vector<std::thread> readers;
    for (std::size_t i = 0; i < readerCount; ++i) {
        readers.emplace_back([&] {
            do {
                read(calendar);
            } while (isTravelling);
        });
    }
    for (int i = 0; i < journeys; ++i) {
        const Stay& stay = stays[static_cast<std::size_t>(i) % stays.size()];
        const ScopedEnvironment away("TZ", stay.TZ);
        calendar.zoneChanged();
        EXPECT_EQ(calendar.timeComponents(november), stay.time);
    }
    isTravelling = false;
    for (std::thread& reader : readers) {
        reader.join();
    }
}

TEST(CalendarThreads, SeveralAreToldOfTheSameChange) {
    const ScopedEnvironment home("TZ", stays[0].TZ);
    LocalCalendar calendar;
    const ScopedEnvironment away("TZ", stays[1].TZ);
    std::vector<std::thread> told;
    for (std::size_t i = 0; i < readerCount; ++i) {
        told.emplace_back([&] {
            calendar.zoneChanged();
            EXPECT_EQ(calendar.timeComponents(november), stays[1].time);
        });
    }
    for (std::thread& thread : told) {
        thread.join();
    }
    EXPECT_EQ(calendar.zone()->name(), stays[1].TZ);
}

}  // namespace
}  // namespace quendokit::testing

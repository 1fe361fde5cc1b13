// TZ may hold a rule instead of a name. cctz refuses it; the C library tells it.

#include <string>

#include <gtest/gtest.h>

#include "adapters/cctz/local_time_zone.hpp"
#include "tests/adapters/cctz/zone_printers.hpp"
#include "tests/support/scoped_environment.hpp"

namespace quendokit {
namespace {

using testing::ScopedEnvironment;

constexpr const char* newYorksRule = "EST5EDT4,M3.2.0,M11.1.0";

std::shared_ptr<const LocalTimeZone> zoneOf(const char* rule) {
    const ScopedEnvironment environment("TZ", rule);
    return LocalTimeZone::current();
}

Date utc(const LocalDateTime& reading) {
    return Date(static_cast<double>(wallSeconds(reading)));
}

TEST(PosixRule, NamesItsZone) {
    EXPECT_EQ(zoneOf(newYorksRule)->name(), newYorksRule);
    EXPECT_EQ(zoneOf(":<+0330>-3:30")->name(), "<+0330>-3:30");
}

TEST(PosixRule, WithoutSummerTimeHasOneOffset) {
    const auto zone = zoneOf("<+0330>-3:30");
    EXPECT_EQ(zone->text(utc({2026, 1, 1})), "2026-01-01T03:30:00+03:30");
    EXPECT_EQ(zone->text(utc({2026, 7, 1})), "2026-07-01T03:30:00+03:30");
    EXPECT_EQ(zone->locate({2026, 7, 1, 3, 30, 0}),
              (LocatedInstant{utc({2026, 7, 1}), LocalTimeKind::unique, std::nullopt}));
}

TEST(PosixRule, HasTheOffsetsOfWinterAndSummer) {
    const auto zone = zoneOf(newYorksRule);
    EXPECT_EQ(zone->text(utc({2026, 11, 21, 23, 0, 0})), "2026-11-21T18:00:00-05:00");
    EXPECT_EQ(zone->text(utc({2026, 7, 1, 23, 0, 0})), "2026-07-01T19:00:00-04:00");
    EXPECT_EQ(zone->text(utc({2060, 7, 1, 23, 0, 0})), "2060-07-01T19:00:00-04:00");
    EXPECT_EQ(zone->text(utc({9998, 7, 1, 23, 0, 0})), "9998-07-01T19:00:00-04:00");
}

TEST(PosixRule, ATimeInTheGapIsTheFirstMomentAfterIt) {
    const auto zone = zoneOf(newYorksRule);
    const LocatedInstant after{utc({2026, 3, 8, 7, 0, 0}), LocalTimeKind::skipped, std::nullopt};
    EXPECT_EQ(zone->locate({2026, 3, 8, 2, 0, 0}), after);
    EXPECT_EQ(zone->locate({2026, 3, 8, 2, 30, 0}), after);
    EXPECT_EQ(zone->locate({2026, 3, 8, 2, 59, 59}), after);
}

TEST(PosixRule, TheSecondsAtBothEdgesOfAGapAreUnique) {
    const auto zone = zoneOf(newYorksRule);
    EXPECT_EQ(zone->locate({2026, 3, 8, 1, 59, 59}),
              (LocatedInstant{utc({2026, 3, 8, 6, 59, 59}), LocalTimeKind::unique, std::nullopt}));
    EXPECT_EQ(zone->locate({2026, 3, 8, 3, 0, 0}),
              (LocatedInstant{utc({2026, 3, 8, 7, 0, 0}), LocalTimeKind::unique, std::nullopt}));
}

TEST(PosixRule, ARepeatedTimeIsTheFirstOfTheTwo) {
    const auto zone = zoneOf(newYorksRule);
    EXPECT_EQ(zone->locate({2026, 11, 1, 1, 30, 0}),
              (LocatedInstant{utc({2026, 11, 1, 5, 30, 0}), LocalTimeKind::repeated, utc({2026, 11, 1, 6, 30, 0})}));
    EXPECT_EQ(zone->locate({2026, 11, 1, 1, 0, 0})->kind, LocalTimeKind::repeated);
    EXPECT_EQ(zone->locate({2026, 11, 1, 0, 59, 59})->kind, LocalTimeKind::unique);
    EXPECT_EQ(zone->locate({2026, 11, 1, 2, 0, 0})->kind, LocalTimeKind::unique);
}

TEST(PosixRule, ChangesToTheSecondAtAnyTimeOfDay) {
    for (int hour = 0; hour < 24; ++hour) {
        const std::string number = std::to_string(hour);
        const std::string time = number + ":" + number + ":" + number;
        const auto zone = zoneOf(("EST5EDT4,M3.2.0/" + time + ",M11.1.0").c_str());
        const double change = utc({2026, 3, 8, hour + 5, hour, hour}).timeIntervalSince1970();
        EXPECT_EQ(zone->offset(Date(change - 1)), -18'000) << hour;
        EXPECT_EQ(zone->offset(Date(change)), -14'400) << hour;
    }
}

TEST(PosixRule, OfTheSouthHasSummerOverNewYear) {
    const auto zone = zoneOf("AEST-10AEDT,M10.1.0,M4.1.0/3");
    EXPECT_EQ(zone->offset(utc({2026, 12, 31, 23, 59, 59})), 39'600);
    EXPECT_EQ(zone->offset(utc({2026, 7, 1})), 36'000);
}

TEST(PosixRule, ReachesAsFarAsReadingsDo) {
    for (const char* rule : {newYorksRule, "XXX24:59:59", "XXX-24:59:59"}) {
        const auto zone = zoneOf(rule);
        for (const LocalDateTime reading : {LocalDateTime{localYearLimit, 12, 31, 23, 59, 59},
                                            {-localYearLimit, 1, 1, 0, 0, 0},
                                            {1969, 12, 31, 23, 59, 59},
                                            {1970, 1, 1, 0, 0, 0},
                                            {2369, 12, 31, 23, 59, 59},
                                            {2370, 1, 1, 0, 0, 0}}) {
            EXPECT_EQ(zone->localDateTime(zone->locate(reading)->date), reading) << rule;
        }
    }
}

TEST(PosixRule, StaysWithItsZoneWhenTZChanges) {
    const auto zone = zoneOf(newYorksRule);
    const ScopedEnvironment environment("TZ", "AEST-10AEDT,M10.1.0,M4.1.0/3");
    EXPECT_EQ(LocalTimeZone::current()->offset(utc({2026, 7, 1})), 36'000);
    EXPECT_EQ(zone->offset(utc({2026, 7, 1})), -14'400);
}

}  // namespace
}  // namespace quendokit

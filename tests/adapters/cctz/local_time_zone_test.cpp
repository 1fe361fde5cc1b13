#include "adapters/cctz/local_time_zone.hpp"

#include <cmath>
#include <filesystem>
#include <limits>
#include <string>

#include <gtest/gtest.h>

#include "tests/adapters/cctz/zone_printers.hpp"

namespace quendokit {
namespace {

/// Moments are written as UTC readings.
Date utc(const LocalDateTime& reading) {
    return Date(static_cast<double>(wallSeconds(reading)));
}

std::shared_ptr<const LocalTimeZone> zone(const std::string& name) {
    auto made = LocalTimeZone::make(name);
    if (!made) {
        ADD_FAILURE() << "no zone data for " << name;
        return LocalTimeZone::make("UTC");
    }
    return made;
}

LocatedInstant unique(const LocalDateTime& moment) {
    return {utc(moment), LocalTimeKind::unique, {}};
}
LocatedInstant skipped(const LocalDateTime& momentAfter) {
    return {utc(momentAfter), LocalTimeKind::skipped, {}};
}
LocatedInstant repeated(const LocalDateTime& first, const LocalDateTime& second) {
    return {utc(first), LocalTimeKind::repeated, utc(second)};
}

// --- Gaps -----------------------------------------------------------------------------------------------------------

TEST(LocalTimeZone, ATimeInNewYorksGapIsTheFirstMomentAfterIt) {
    const auto newYork = zone("America/New_York");
    EXPECT_EQ(newYork->locate({2026, 3, 8, 2, 0, 0}), skipped({2026, 3, 8, 7, 0, 0}));
    EXPECT_EQ(newYork->locate({2026, 3, 8, 2, 30, 0}), skipped({2026, 3, 8, 7, 0, 0}));
    EXPECT_EQ(newYork->locate({2026, 3, 8, 2, 59, 59}), skipped({2026, 3, 8, 7, 0, 0}));
    EXPECT_EQ(newYork->locate({2026, 3, 8, 2, 30, 0})->date, Date(1'772'953'200));
}

TEST(LocalTimeZone, TheSecondsAtBothEdgesOfAGapAreUnique) {
    const auto newYork = zone("America/New_York");
    EXPECT_EQ(newYork->locate({2026, 3, 8, 1, 59, 59}), unique({2026, 3, 8, 6, 59, 59}));
    EXPECT_EQ(newYork->locate({2026, 3, 8, 3, 0, 0}), unique({2026, 3, 8, 7, 0, 0}));
}

TEST(LocalTimeZone, LordHowesGapIsHalfAnHourLong) {
    const auto lordHowe = zone("Australia/Lord_Howe");
    EXPECT_EQ(lordHowe->locate({2026, 10, 4, 2, 15, 0}), skipped({2026, 10, 3, 15, 30, 0}));
    EXPECT_EQ(lordHowe->locate({2026, 10, 4, 2, 30, 0}), unique({2026, 10, 3, 15, 30, 0}));
}

TEST(LocalTimeZone, AMidnightThatCairoSkipsIsOneInTheMorning) {
    EXPECT_EQ(zone("Africa/Cairo")->locate({2026, 4, 24, 0, 0, 0}), skipped({2026, 4, 23, 22, 0, 0}));
    EXPECT_EQ(zone("Africa/Cairo")->localDateTime(utc({2026, 4, 23, 22, 0, 0})), (LocalDateTime{2026, 4, 24, 1, 0, 0}));
}

TEST(LocalTimeZone, AMidnightThatBeirutSkipsIsOneInTheMorning) {
    EXPECT_EQ(zone("Asia/Beirut")->locate({2026, 3, 29, 0, 0, 0}), skipped({2026, 3, 28, 22, 0, 0}));
}

TEST(LocalTimeZone, AMidnightThatSantiagoSkipsIsOneInTheMorning) {
    EXPECT_EQ(zone("America/Santiago")->locate({2026, 9, 6, 0, 0, 0}), skipped({2026, 9, 6, 4, 0, 0}));
}

TEST(LocalTimeZone, EveryTimeOfTheFridayThatApiaSkippedIsTheStartOfSaturday) {
    const auto apia = zone("Pacific/Apia");
    for (const int hour : {0, 12, 23}) {
        EXPECT_EQ(apia->locate({2011, 12, 30, hour, 0, 0}), skipped({2011, 12, 30, 10, 0, 0}));
    }
    EXPECT_EQ(apia->localDateTime(utc({2011, 12, 30, 10, 0, 0})), (LocalDateTime{2011, 12, 31, 0, 0, 0}));
    EXPECT_EQ(apia->localDateTime(utc({2011, 12, 30, 9, 59, 59})), (LocalDateTime{2011, 12, 29, 23, 59, 59}));
}

// --- Repetitions ----------------------------------------------------------------------------------------------------

TEST(LocalTimeZone, ATimeThatNewYorkRepeatsIsTheFirstOfTheTwo) {
    const auto newYork = zone("America/New_York");
    EXPECT_EQ(newYork->locate({2026, 11, 1, 1, 30, 0}), repeated({2026, 11, 1, 5, 30, 0}, {2026, 11, 1, 6, 30, 0}));
}

TEST(LocalTimeZone, ARepetitionBeginsAndEndsToTheSecond) {
    const auto newYork = zone("America/New_York");
    EXPECT_EQ(newYork->locate({2026, 11, 1, 0, 59, 59}), unique({2026, 11, 1, 4, 59, 59}));
    EXPECT_EQ(newYork->locate({2026, 11, 1, 1, 0, 0}), repeated({2026, 11, 1, 5, 0, 0}, {2026, 11, 1, 6, 0, 0}));
    EXPECT_EQ(newYork->locate({2026, 11, 1, 1, 59, 59}), repeated({2026, 11, 1, 5, 59, 59}, {2026, 11, 1, 6, 59, 59}));
    EXPECT_EQ(newYork->locate({2026, 11, 1, 2, 0, 0}), unique({2026, 11, 1, 7, 0, 0}));
}

TEST(LocalTimeZone, LordHoweRepeatsHalfAnHour) {
    EXPECT_EQ(zone("Australia/Lord_Howe")->locate({2026, 4, 5, 1, 45, 0}),
              repeated({2026, 4, 4, 14, 45, 0}, {2026, 4, 4, 15, 15, 0}));
}

TEST(LocalTimeZone, SantiagoRepeatsTheHourBeforeMidnight) {
    EXPECT_EQ(zone("America/Santiago")->locate({2026, 4, 4, 23, 30, 0}),
              repeated({2026, 4, 5, 2, 30, 0}, {2026, 4, 5, 3, 30, 0}));
}

// --- Offsets and text -----------------------------------------------------------------------------------------------

TEST(LocalTimeZone, KathmanduIsFiveHoursAndThreeQuartersAhead) {
    const auto kathmandu = zone("Asia/Kathmandu");
    EXPECT_EQ(kathmandu->offset(utc({2026, 11, 21})), 20'700);
    EXPECT_EQ(kathmandu->text(utc({2026, 11, 21, 12, 15, 0})), "2026-11-21T18:00:00+05:45");
}

TEST(LocalTimeZone, SummerTimeGoesOnAfter2037) {
    const auto berlin = zone("Europe/Berlin");
    EXPECT_EQ(berlin->text(*&berlin->locate({2060, 7, 1, 9, 0, 0})->date), "2060-07-01T09:00:00+02:00");
    EXPECT_EQ(berlin->offset(utc({2060, 1, 1})), 3'600);
    EXPECT_EQ(berlin->offset(utc({9999, 7, 1})), 7'200);
}

TEST(LocalTimeZone, OffsetsWestOfUtcAreNegative) {
    const auto newYork = zone("America/New_York");
    EXPECT_EQ(newYork->offset(utc({2026, 11, 21})), -18'000);
    EXPECT_EQ(newYork->text(Date(1'795'302'000)), "2026-11-21T18:00:00-05:00");
}

TEST(LocalTimeZone, TextShowsTheSecondsOfAnOffsetWhenItHasSome) {
    const auto monrovia = zone("Africa/Monrovia");
    EXPECT_EQ(monrovia->text(utc({1971, 12, 31, 12, 0, 0})), "1971-12-31T11:15:30-00:44:30");
    EXPECT_EQ(monrovia->text(utc({1972, 12, 31, 12, 0, 0})), "1972-12-31T12:00:00+00:00");
}

TEST(LocalTimeZone, AFractionIsCutOff) {
    const auto utcZone = zone("UTC");
    EXPECT_EQ(utcZone->localDateTime(Date(1'795'302'000.999)), (LocalDateTime{2026, 11, 21, 23, 0, 0}));
    EXPECT_EQ(utcZone->localDateTime(Date(-0.5)), (LocalDateTime{1969, 12, 31, 23, 59, 59}));
    EXPECT_EQ(utcZone->text(Date(1'795'301'999.5)), "2026-11-21T22:59:59+00:00");
}

TEST(LocalTimeZone, AnOffsetChangesWithTheSecondAndNotWithItsFraction) {
    const auto newYork = zone("America/New_York");
    EXPECT_EQ(newYork->offset(Date(1'772'953'199.999)), -18'000);
    EXPECT_EQ(newYork->offset(Date(1'772'953'200)), -14'400);
}

TEST(LocalTimeZone, OnlyYearsOfFourDigitsHaveText) {
    const auto newYork = zone("America/New_York");
    EXPECT_EQ(newYork->text(newYork->locate({9999, 12, 31, 23, 59, 59})->date), "9999-12-31T23:59:59-05:00");
    EXPECT_EQ(newYork->text(newYork->locate({10000, 1, 1})->date), std::nullopt);
    EXPECT_EQ(zone("UTC")->text(utc({1, 1, 1})), "0001-01-01T00:00:00+00:00");
    EXPECT_EQ(zone("UTC")->text(utc({0, 12, 31, 23, 59, 59})), std::nullopt);
}

TEST(LocalTimeZone, ADateThatIsNoMomentHasNoReadingOffsetOrText) {
    const auto berlin = zone("Europe/Berlin");
    const double infinity = std::numeric_limits<double>::infinity();
    for (const double seconds : {std::nan(""), infinity, -infinity, 1e300, -1e300, 7e15, -7e15}) {
        EXPECT_EQ(berlin->localDateTime(Date(seconds)), std::nullopt) << seconds;
        EXPECT_EQ(berlin->offset(Date(seconds)), std::nullopt) << seconds;
        EXPECT_EQ(berlin->text(Date(seconds)), std::nullopt) << seconds;
    }
}

// --- Readings and names ---------------------------------------------------------------------------------------------

TEST(LocalTimeZone, AReadingThatDoesNotExistInAnyZoneHasNoMoment) {
    const auto berlin = zone("Europe/Berlin");
    EXPECT_EQ(berlin->locate({2026, 2, 29}), std::nullopt);
    EXPECT_EQ(berlin->locate({2026, 13, 1}), std::nullopt);
    EXPECT_EQ(berlin->locate({2026, 1, 1, 24, 0, 0}), std::nullopt);
    EXPECT_EQ(berlin->locate({2026, 1, 1, 0, 0, 60}), std::nullopt);
    EXPECT_EQ(berlin->locate({localYearLimit + 1, 1, 1}), std::nullopt);
}

TEST(LocalTimeZone, TheFarthestReadingsGoThereAndBack) {
    const auto berlin = zone("Europe/Berlin");
    for (const LocalDateTime reading :
         {LocalDateTime{localYearLimit, 12, 31, 23, 59, 59}, LocalDateTime{-localYearLimit, 1, 1, 0, 0, 0}}) {
        EXPECT_EQ(berlin->localDateTime(berlin->locate(reading)->date), reading);
    }
}

TEST(LocalTimeZone, AZoneKnowsItsName) {
    EXPECT_EQ(zone("Europe/Berlin")->name(), "Europe/Berlin");
}

TEST(LocalTimeZone, AnUnknownNameMakesNoZone) {
    for (const char* name : {"", "Mars/Olympus", "Europe", "europe/berlin", "zone.tab", "../../../etc/hostname",
                             "EST5EDT4,M3.2.0,M11.1.0", "/nonexistent", "/dev/zero"}) {
        EXPECT_EQ(LocalTimeZone::make(name), nullptr) << name;
    }
}

TEST(LocalTimeZone, AZoneWithLeapSecondsIsReadWithoutThem) {
    if (!std::filesystem::exists("/usr/share/zoneinfo/right/Europe/Berlin")) {
        GTEST_SKIP() << "the zone data here has no tree with leap seconds";
    }
    const auto berlin = zone("right/Europe/Berlin");
    EXPECT_EQ(berlin->locate({2026, 7, 1, 9, 0, 0}), unique({2026, 7, 1, 7, 0, 0}));
}

}  // namespace
}  // namespace quendokit

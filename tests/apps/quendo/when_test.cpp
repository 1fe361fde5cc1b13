#include "apps/quendo/when.hpp"

#include <limits>
#include <ostream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace quendo {

bool operator==(const When& left, const When& right) {
    return left.date == right.date && left.kind == right.kind;
}

void PrintTo(const When& when, std::ostream* out) {
    constexpr const char* kinds[] = {"unique", "skipped", "repeated"};
    *out << kinds[static_cast<int>(when.kind)] << ' ' << std::fixed << when.date.timeIntervalSince1970();
}

namespace {

using quendokit::Date;
using quendokit::LocalDateTime;
using quendokit::LocalTimeKind;
using quendokit::LocalTimeZone;

constexpr const char* newYork = "America/New_York";

/// Moments are written as UTC readings.
Date utc(const LocalDateTime& reading) {
    return Date(static_cast<double>(wallSeconds(reading)));
}

constexpr Date at6pmInNewYork(1'795'302'000);  // 2026-11-21 18:00 there

class Parsing : public ::testing::Test {
protected:
    /// The answer to `text`; `at` says where and when it is asked.
    void at(const char* name, Date now) {
        zone = LocalTimeZone::make(name);
        ASSERT_NE(zone, nullptr) << name;
        this->now = now;
    }

    [[nodiscard]] When parsed(std::string_view text) const {
        auto result = parseWhen(text, now, *zone);
        if (!result) {
            ADD_FAILURE() << result.error().description;
            return {Date(0), LocalTimeKind::unique};
        }
        return result.value();
    }

    [[nodiscard]] std::string refusal(std::string_view text) const {
        auto result = parseWhen(text, now, *zone);
        if (result) {
            return "accepted as " + whenText(result.value().date, *zone);
        }
        EXPECT_EQ(result.error().domain, whenErrorDomain);
        EXPECT_EQ(result.error().code, 1);
        return result.error().description;
    }

    static When unique(const LocalDateTime& moment) { return {utc(moment), LocalTimeKind::unique}; }
    static When skipped(const LocalDateTime& moment) { return {utc(moment), LocalTimeKind::skipped}; }
    static When repeated(const LocalDateTime& moment) { return {utc(moment), LocalTimeKind::repeated}; }

    std::shared_ptr<const LocalTimeZone> zone = LocalTimeZone::make(newYork);
    Date now = at6pmInNewYork;
};

// --- Dates ----------------------------------------------------------------------------------------------------------

TEST_F(Parsing, ADateIsItsLocalMidnight) {
    EXPECT_EQ(parsed("2026-11-21"), unique({2026, 11, 21, 5, 0, 0}));
    EXPECT_EQ(parsed("2028-02-29"), unique({2028, 2, 29, 5, 0, 0}));
}

TEST_F(Parsing, ADateWithoutMidnightIsItsFirstMoment) {
    at("Africa/Cairo", at6pmInNewYork);
    EXPECT_EQ(parsed("2026-04-24"), skipped({2026, 4, 23, 22, 0, 0}));
}

TEST_F(Parsing, ADateThatTheZoneLeftOutIsTheFirstMomentAfterIt) {
    at("Pacific/Apia", at6pmInNewYork);
    EXPECT_EQ(parsed("2011-12-30"), skipped({2011, 12, 30, 10, 0, 0}));
}

TEST_F(Parsing, ADateAndTimeAreLocal) {
    EXPECT_EQ(parsed("2026-11-21 18:00"), unique({2026, 11, 21, 23, 0, 0}));
    EXPECT_EQ(parsed("2026-11-21 18:00:30"), unique({2026, 11, 21, 23, 0, 30}));
    EXPECT_EQ(parsed("2026-11-21T18:00"), unique({2026, 11, 21, 23, 0, 0}));
    EXPECT_EQ(parsed("2026-11-21T18:00:30"), unique({2026, 11, 21, 23, 0, 30}));
    EXPECT_EQ(parsed("2026-07-01 00:00"), unique({2026, 7, 1, 4, 0, 0}));
}

TEST_F(Parsing, ATimeInAGapIsTheFirstMomentAfterItAndSaysSo) {
    EXPECT_EQ(parsed("2026-03-08 02:30"), skipped({2026, 3, 8, 7, 0, 0}));
}

TEST_F(Parsing, ARepeatedTimeIsTheFirstOfTheTwo) {
    EXPECT_EQ(parsed("2026-11-01 01:30"), repeated({2026, 11, 1, 5, 30, 0}));
}

TEST_F(Parsing, ATimeWithZIsUtc) {
    EXPECT_EQ(parsed("2026-11-21 18:00Z"), unique({2026, 11, 21, 18, 0, 0}));
    EXPECT_EQ(parsed("2026-11-21T18:00:30Z"), unique({2026, 11, 21, 18, 0, 30}));
}

TEST_F(Parsing, ATimeWithAnOffsetIsAtThatOffset) {
    EXPECT_EQ(parsed("2026-11-21 18:00+05:45"), unique({2026, 11, 21, 12, 15, 0}));
    EXPECT_EQ(parsed("2026-11-21T18:00:30-03:30"), unique({2026, 11, 21, 21, 30, 30}));
    EXPECT_EQ(parsed("2026-11-21 00:30+14:00"), unique({2026, 11, 20, 10, 30, 0}));
    EXPECT_EQ(parsed("2026-11-21 18:00+00:00"), unique({2026, 11, 21, 18, 0, 0}));
}

TEST_F(Parsing, ATimeWithAnOffsetIsNeverMoved) {
    EXPECT_EQ(parsed("2026-03-08 02:30-05:00"), unique({2026, 3, 8, 7, 30, 0}));
    EXPECT_EQ(parsed("2026-11-01 01:30-05:00"), unique({2026, 11, 1, 6, 30, 0}));
}

TEST_F(Parsing, ADateMayHavePassed) {
    EXPECT_EQ(parsed("1969-07-20 20:17Z"), unique({1969, 7, 20, 20, 17, 0}));
}

TEST_F(Parsing, TheTextOfAnInstantIsRead) {
    EXPECT_EQ(parsed(zone->text(at6pmInNewYork).value()).date, at6pmInNewYork);
}

// --- Times of day ---------------------------------------------------------------------------------------------------

TEST_F(Parsing, ATimeOfDayIsTodayWhileItIsStillAhead) {
    EXPECT_EQ(parsed("18:01"), unique({2026, 11, 21, 23, 1, 0}));
    EXPECT_EQ(parsed("18:00:30"), unique({2026, 11, 21, 23, 0, 30}));
    EXPECT_EQ(parsed("23:59:59"), unique({2026, 11, 22, 4, 59, 59}));
}

TEST_F(Parsing, ATimeOfDayThatIsNowOrHasPassedIsTomorrow) {
    EXPECT_EQ(parsed("18:00"), unique({2026, 11, 22, 23, 0, 0}));
    EXPECT_EQ(parsed("17:59"), unique({2026, 11, 22, 22, 59, 0}));
    EXPECT_EQ(parsed("00:00"), unique({2026, 11, 22, 5, 0, 0}));
}

TEST_F(Parsing, AFractionOfASecondDecidesBetweenTodayAndTomorrow) {
    at(newYork, Date(1'795'301'999.75));
    EXPECT_EQ(parsed("18:00"), unique({2026, 11, 21, 23, 0, 0}));
    at(newYork, Date(1'795'302'000.25));
    EXPECT_EQ(parsed("18:00"), unique({2026, 11, 22, 23, 0, 0}));
}

TEST_F(Parsing, TodayIsTheLocalDate) {
    at("Asia/Kathmandu", utc({2026, 11, 21, 18, 30, 0}));  // 00:15 of the 22nd
    EXPECT_EQ(parsed("00:20"), unique({2026, 11, 21, 18, 35, 0}));
    EXPECT_EQ(parsed("00:10"), unique({2026, 11, 22, 18, 25, 0}));
}

TEST_F(Parsing, TomorrowIsACalendarDayAwayWhateverTheClocksDo) {
    at(newYork, utc({2026, 3, 7, 23, 0, 0}));  // 18:00, the evening before the gap
    EXPECT_EQ(parsed("17:00"), unique({2026, 3, 8, 21, 0, 0}));
}

TEST_F(Parsing, ATimeOfDayInTomorrowsGapIsTheFirstMomentAfterIt) {
    at(newYork, utc({2026, 3, 7, 23, 0, 0}));
    EXPECT_EQ(parsed("02:30"), skipped({2026, 3, 8, 7, 0, 0}));
}

TEST_F(Parsing, ARepeatedTimeOfDayComesOnceMoreBetweenTheTwo) {
    at(newYork, utc({2026, 11, 1, 5, 15, 0}));  // 01:15, the first time
    EXPECT_EQ(parsed("01:30"), repeated({2026, 11, 1, 5, 30, 0}));
    at(newYork, utc({2026, 11, 1, 5, 45, 0}));  // 01:45, the first time
    EXPECT_EQ(parsed("01:30"), repeated({2026, 11, 1, 6, 30, 0}));
    at(newYork, utc({2026, 11, 1, 6, 30, 0}));  // 01:30, the second time
    EXPECT_EQ(parsed("01:30"), unique({2026, 11, 2, 6, 30, 0}));
}

TEST_F(Parsing, ATimeOfYesterdayComesOnceMoreWhenTheClocksArePutBackOverMidnight) {
    at("America/St_Johns", utc({2010, 11, 7, 2, 30, 30}));  // half a minute after midnight, half before 23:01
    EXPECT_EQ(parsed("23:30"), repeated({2010, 11, 7, 3, 0, 0}));
    EXPECT_EQ(parsed("22:30"), unique({2010, 11, 8, 2, 0, 0}));
}

TEST_F(Parsing, ADateThatTheZoneLeftOutIsPassedOver) {
    at("Pacific/Apia", utc({2011, 12, 30, 6, 0, 0}));  // 20:00 of Thursday, and no Friday follows
    EXPECT_EQ(parsed("18:00"), unique({2011, 12, 31, 4, 0, 0}));
    EXPECT_EQ(parsed("21:00"), unique({2011, 12, 30, 7, 0, 0}));
}

// --- Durations and epochs -------------------------------------------------------------------------------------------

TEST_F(Parsing, ADurationCountsFromNow) {
    EXPECT_EQ(parsed("+20m"), unique({2026, 11, 21, 23, 20, 0}));
    EXPECT_EQ(parsed("+1h30m"), unique({2026, 11, 22, 0, 30, 0}));
    EXPECT_EQ(parsed("+2d"), unique({2026, 11, 23, 23, 0, 0}));
    EXPECT_EQ(parsed("+45s"), unique({2026, 11, 21, 23, 0, 45}));
    EXPECT_EQ(parsed("+1d2h3m4s"), unique({2026, 11, 23, 1, 3, 4}));
    EXPECT_EQ(parsed("+1d4s"), unique({2026, 11, 22, 23, 0, 4}));
    EXPECT_EQ(parsed("+090m"), unique({2026, 11, 22, 0, 30, 0}));
    EXPECT_EQ(parsed("+0m"), unique({2026, 11, 21, 23, 0, 0}));
}

TEST_F(Parsing, ADurationKeepsTheFractionOfNow) {
    at(newYork, Date(1'795'302'000.25));
    EXPECT_EQ(parsed("+1m").date, Date(1'795'302'060.25));
}

TEST_F(Parsing, ADayOfADurationHas24HoursWhateverTheClocksDo) {
    at(newYork, utc({2026, 3, 7, 23, 0, 0}));
    EXPECT_EQ(parsed("+1d"), unique({2026, 3, 8, 23, 0, 0}));
}

TEST_F(Parsing, AnEpochIsTakenExactly) {
    EXPECT_EQ(parsed("@1795302000").date, Date(1'795'302'000));
    EXPECT_EQ(parsed("@1795302000.25").date, Date(1'795'302'000.25));
    EXPECT_EQ(parsed("@0").date, Date(0));
    EXPECT_EQ(parsed("@-1.5").date, Date(-1.5));
}

// --- Refusals -------------------------------------------------------------------------------------------------------

TEST_F(Parsing, WhatReadsAsNoneOfTheFormsIsRefused) {
    EXPECT_EQ(refusal("tomorrow"), "\"tomorrow\" is no time: write 2026-11-21 18:00, 18:00, +20m or @1795302000");
    for (const char* text : {"",
                             " ",
                             "18",
                             "18:",
                             "8:00",
                             "18:0",
                             "18:000",
                             "18:00:",
                             "18:00:3",
                             "18:00:300",
                             "18:00 ",
                             " 18:00",
                             "18:00Z",
                             "18:00+01:00",
                             "-20m",
                             "20m",
                             "2026",
                             "2026-11",
                             "2026-11-",
                             "2026-11-2",
                             "2026-11-211",
                             "26-11-21",
                             "10000-01-01",
                             "2026/11/21",
                             "2026-1-21",
                             "2026-11-21 ",
                             "2026-11-21T",
                             "2026-11-21Z",
                             "2026-11-21+01:00",
                             "2026-11-21t18:00",
                             "2026-11-21  18:00",
                             "2026-11-21 18",
                             "2026-11-21 18:00 ",
                             "2026-11-21 18:00:",
                             "2026-11-21 18:00:00.5",
                             "2026-11-21 18:00z",
                             "2026-11-21 18:00 Z",
                             "2026-11-21 18:00ZZ",
                             "2026-11-21 18:00+0100",
                             "2026-11-21 18:00+1:00",
                             "2026-11-21 18:00+01",
                             "2026-11-21 18:00+01:00:00",
                             "2026-11-21 18:00+01:00Z",
                             "2026-11-21 18:00+-1:00",
                             "2026-11-21 18:00+",
                             "+2026-11-21x",
                             "٢٠٢٦-١١-٢١",
                             "１８:００"}) {
        EXPECT_TRUE(refusal(text).find("is no ") != std::string::npos) << text << ": " << refusal(text);
    }
}

TEST_F(Parsing, ADateThatDoesNotExistIsRefusedWithTheReason) {
    EXPECT_EQ(refusal("2026-02-30"), "\"2026-02-30\" is no date: February 2026 has 28 days");
    EXPECT_EQ(refusal("2026-02-29 18:00"), "\"2026-02-29 18:00\" is no date: February 2026 has 28 days");
    EXPECT_EQ(refusal("2028-02-30"), "\"2028-02-30\" is no date: February 2028 has 29 days");
    EXPECT_EQ(refusal("2026-11-31"), "\"2026-11-31\" is no date: November 2026 has 30 days");
    EXPECT_EQ(refusal("2026-13-01"), "\"2026-13-01\" is no date: months run from 01 to 12");
    EXPECT_EQ(refusal("2026-00-01"), "\"2026-00-01\" is no date: months run from 01 to 12");
    EXPECT_EQ(refusal("2026-11-00"), "\"2026-11-00\" is no date: days begin with 01");
    EXPECT_EQ(refusal("0000-11-21"), "\"0000-11-21\" is no date: years run from 0001 to 9999");
    EXPECT_EQ(refusal("2026-02-30 18:00Z"), "\"2026-02-30 18:00Z\" is no date: February 2026 has 28 days");
}

TEST_F(Parsing, ATimeOfDayThatDoesNotExistIsRefusedWithTheReason) {
    EXPECT_EQ(refusal("24:00"), "\"24:00\" is no time: hours run from 00 to 23");
    EXPECT_EQ(refusal("18:60"), "\"18:60\" is no time: minutes and seconds run from 00 to 59");
    EXPECT_EQ(refusal("18:00:60"), "\"18:00:60\" is no time: minutes and seconds run from 00 to 59");
    EXPECT_EQ(refusal("2026-11-21 24:00"), "\"2026-11-21 24:00\" is no time: hours run from 00 to 23");
}

TEST_F(Parsing, AnOffsetOfADayOrMoreIsRefused) {
    EXPECT_EQ(refusal("2026-11-21 18:00+24:00"),
              "\"2026-11-21 18:00+24:00\" is no time: an offset runs from -23:59 to +23:59");
    EXPECT_EQ(refusal("2026-11-21 18:00-01:60"),
              "\"2026-11-21 18:00-01:60\" is no time: an offset runs from -23:59 to +23:59");
    EXPECT_EQ(parsed("2026-11-21 18:00-23:59"), unique({2026, 11, 22, 17, 59, 0}));
}

TEST_F(Parsing, ADurationHasItsUnitsOnceAndInOrder) {
    EXPECT_EQ(refusal("+30m1h"),
              "\"+30m1h\" is no duration: write days, hours, minutes and seconds in this order, as +1d2h30m");
    for (const char* text : {"+", "+20", "+m", "+1h30", "+1h1h", "+1d1s1s", "+1.5h", "+1w", "+1H", "+ 1h", "+1h ",
                             "+-1h", "++1h", "+1h 30m", "+18:00", "+0x1m", "+1e3s"}) {
        EXPECT_TRUE(refusal(text).find("is no duration: ") != std::string::npos) << text << ": " << refusal(text);
    }
}

TEST_F(Parsing, AnEpochIsANumberOfDigits) {
    EXPECT_EQ(refusal("@"), "\"@\" is no time: write the seconds since 1970 as @1795302000");
    for (const char* text :
         {"@-", "@+1", "@.5", "@1.", "@1,5", "@1e9", "@0x10", "@inf", "@nan", "@1 ", "@ 1", "@--1", "@1.5.5"}) {
        EXPECT_TRUE(refusal(text).find("is no time: ") != std::string::npos) << text << ": " << refusal(text);
    }
}

TEST_F(Parsing, WhatLeadsOutOfTheYearsOfFourDigitsIsRefused) {
    EXPECT_EQ(parsed("9999-12-31 23:59:59"), unique({10000, 1, 1, 4, 59, 59}));
    EXPECT_EQ(refusal("9999-12-31 23:59-06:00"),
              "\"9999-12-31 23:59-06:00\" leads beyond the years 0001 to 9999: write a time within them");
    const std::string manyDigits(400, '9');
    for (const auto& text : std::vector<std::string>{"+2920000d", "+99999999999999999999d", "+" + manyDigits + "s",
                                                     "@253402318800", "@-62135596801", "@1000000000000000000000",
                                                     "@" + manyDigits, "@-" + manyDigits, "0001-01-01 00:00+23:59"}) {
        EXPECT_TRUE(refusal(text).find("leads beyond the years") != std::string::npos) << text << ": " << refusal(text);
    }
}

TEST_F(Parsing, TheLastDayOfTheLastYearHasNoTomorrow) {
    at("UTC", utc({9999, 12, 31, 20, 0, 0}));
    EXPECT_EQ(parsed("21:00"), unique({9999, 12, 31, 21, 0, 0}));
    EXPECT_EQ(refusal("18:00"), "\"18:00\" leads beyond the years 0001 to 9999: write a time within them");
}

TEST_F(Parsing, AClockThatShowsNoTimeIsSurvived) {
    for (const double seconds : {std::numeric_limits<double>::quiet_NaN(), std::numeric_limits<double>::infinity()}) {
        at("UTC", Date(seconds));
        EXPECT_NE(refusal("18:00"), "");
        EXPECT_NE(refusal("+20m"), "");
        EXPECT_EQ(parsed("2026-11-21"), unique({2026, 11, 21}));
    }
}

TEST_F(Parsing, ARefusalIsOneShortLineWhateverWasTyped) {
    EXPECT_EQ(refusal("a\nb\x1B[2J"),
              "\"a\\u000Ab\\u001B[2J\" is no time: write 2026-11-21 18:00, 18:00, +20m or @1795302000");
    EXPECT_EQ(refusal(std::string(100'000, 'x')),
              "\"" + std::string(80, 'x') + "…\" is no time: write 2026-11-21 18:00, 18:00, +20m or @1795302000");
    EXPECT_TRUE(refusal(std::string_view("18:00\0", 6)).starts_with("\"18:00\\u0000\" is no time: "));
}

// --- Text -----------------------------------------------------------------------------------------------------------

TEST(WhenText, IsTheLocalDateAndTime) {
    const auto zone = LocalTimeZone::make(newYork);
    EXPECT_EQ(whenText(at6pmInNewYork, *zone), "2026-11-21 18:00");
    EXPECT_EQ(whenText(utc({987, 6, 5, 12, 0, 0}), *LocalTimeZone::make("UTC")), "0987-06-05 12:00");
}

TEST(WhenText, HasSecondsOnlyWhenThereAreSome) {
    const auto zone = LocalTimeZone::make(newYork);
    EXPECT_EQ(whenText(Date(1'795'302'030), *zone), "2026-11-21 18:00:30");
    EXPECT_EQ(whenText(Date(1'795'302'000.75), *zone), "2026-11-21 18:00");
    EXPECT_EQ(whenText(Date(1'795'301'999.75), *zone), "2026-11-21 17:59:59");
}

TEST(WhenText, IsTheEpochBeyondTheYearsOfFourDigits) {
    const auto zone = LocalTimeZone::make("UTC");
    EXPECT_EQ(whenText(Date(253'402'300'799), *zone), "9999-12-31 23:59:59");
    EXPECT_EQ(whenText(Date(253'402'300'800.75), *zone), "@253402300800");
    EXPECT_EQ(whenText(Date(-62'135'596'801.25), *zone), "@-62135596802");
}

}  // namespace
}  // namespace quendo

#pragma once
/// \file
/// The conformance suite of `Calendar` for the zones of the world, where clocks change. It runs beside
/// `CalendarConformance` and asserts only what the interface's comments promise.
///
/// Include it in one source file of a test program, and name your implementation there:
///
///     namespace quendokit::testing {
///     INSTANTIATE_TEST_SUITE_P(MyCalendar, ZonedCalendarConformance, ::testing::Values(ZonedCalendarImplementation{
///         "Mine", [](const std::string& zone) { return std::make_shared<MyCalendar>(zone); }}));
///     }

#include "testing/conformance/calendar_conformance_fixture.hpp"

namespace quendokit::testing {

TEST_P(ZonedCalendarConformance, TheClocksFollowTheirZone) {
    useZone("America/New_York");
    EXPECT_EQ(timeAt(utc(2024, 1, 15, 23)), "18:00:00");
    EXPECT_EQ(timeAt(utc(2024, 7, 15, 23)), "19:00:00");
    EXPECT_EQ(weekdayAt(utc(2024, 1, 16, 4, 59, 59)), monday);
    EXPECT_EQ(weekdayAt(utc(2024, 1, 16, 5)), tuesday);
    EXPECT_EQ(setTime(18, 30, 5, utc(2024, 1, 16, 2)), "2024-01-15 23:30:05");
    EXPECT_EQ(setTime(18, 30, 5, utc(2024, 7, 16, 2)), "2024-07-15 22:30:05");
    EXPECT_EQ(setWeekday(tuesday, utc(2024, 1, 16, 2)), "2024-01-16 17:00:00");
    useZone("Asia/Kathmandu");
    EXPECT_EQ(timeAt(utc(2024, 1, 15, 23)), "04:45:00");
}

TEST_P(ZonedCalendarConformance, AnOffsetMayHaveSeconds) {
    useZone("Africa/Monrovia");
    EXPECT_EQ(timeAt(utc(1971, 6, 1, 12, 44, 30)), "12:00:00");
    EXPECT_EQ(timeAt(Date(utc(1971, 6, 1, 12, 44, 30).timeIntervalSince1970() - 0.5)), "11:59:59");
    EXPECT_EQ(setTime(0, 0, 0, utc(1971, 6, 1, 0, 44, 29)), "1971-05-31 00:44:30");
    EXPECT_EQ(setWeekday(tuesday, utc(1971, 6, 1, 12)), "1971-06-01 12:44:30");
}

// Berlin's clocks went from 02:00 to 03:00 on Sunday, 2024-03-31, and from 03:00 to 02:00 on Sunday, 2024-10-27.

TEST_P(ZonedCalendarConformance, ATimeInAGapIsTheFirstMomentAfterIt) {
    useZone("Europe/Berlin");
    for (const Date date : {utc(2024, 3, 30, 23), utc(2024, 3, 31, 0, 59, 59), utc(2024, 3, 31, 21, 59, 59)}) {
        EXPECT_EQ(setTime(1, 59, 59, date), "2024-03-31 00:59:59");
        EXPECT_EQ(setTime(2, 0, 0, date), "2024-03-31 01:00:00");
        EXPECT_EQ(setTime(2, 30, 0, date), "2024-03-31 01:00:00");
        EXPECT_EQ(setTime(2, 59, 59, date), "2024-03-31 01:00:00");
        EXPECT_EQ(setTime(3, 0, 0, date), "2024-03-31 01:00:00");
        EXPECT_EQ(setTime(3, 0, 1, date), "2024-03-31 01:00:01");
    }
}

TEST_P(ZonedCalendarConformance, OfTwoEqualTimesTheFirstIsMeant) {
    useZone("Europe/Berlin");
    EXPECT_EQ(timeAt(utc(2024, 10, 27, 0, 30)), "02:30:00");
    EXPECT_EQ(timeAt(utc(2024, 10, 27, 1, 30)), "02:30:00");
    for (const Date date :
         {utc(2024, 10, 26, 22), utc(2024, 10, 27, 0, 30), utc(2024, 10, 27, 1, 30), utc(2024, 10, 27, 22, 59, 59)}) {
        EXPECT_EQ(setTime(1, 59, 59, date), "2024-10-26 23:59:59");
        EXPECT_EQ(setTime(2, 0, 0, date), "2024-10-27 00:00:00");
        EXPECT_EQ(setTime(2, 30, 0, date), "2024-10-27 00:30:00");
        EXPECT_EQ(setTime(2, 59, 59, date), "2024-10-27 00:59:59");
        EXPECT_EQ(setTime(3, 0, 0, date), "2024-10-27 02:00:00");
    }
}

TEST_P(ZonedCalendarConformance, SurplusMinutesRollOverInWallTimeHoweverLongTheDay) {
    useZone("Europe/Berlin");
    const Date shortDay = utc(2024, 3, 31, 10);
    EXPECT_EQ(setTime(0, 1'440, 0, shortDay), "2024-03-31 22:00:00");
    EXPECT_EQ(setTime(1, 1'440, 0, shortDay), "2024-03-31 23:00:00");
    EXPECT_EQ(setTime(0, 240, 0, shortDay), "2024-03-31 02:00:00");
    EXPECT_EQ(setTime(0, 150, 0, shortDay), "2024-03-31 01:00:00");
    EXPECT_EQ(setTime(2, 1'470, 0, utc(2024, 3, 30, 10)), "2024-03-31 01:00:00");
    const Date longDay = utc(2024, 10, 27, 10);
    EXPECT_EQ(setTime(0, 1'440, 0, longDay), "2024-10-27 23:00:00");
    EXPECT_EQ(setTime(1, 1'440, 0, longDay), "2024-10-28 00:00:00");
    EXPECT_EQ(setTime(0, 240, 0, longDay), "2024-10-27 03:00:00");
    EXPECT_EQ(setTime(0, 150, 0, longDay), "2024-10-27 00:30:00");
}

TEST_P(ZonedCalendarConformance, NoonOfAWeekdayIsInItsOwnOffset) {
    useZone("Europe/Berlin");
    EXPECT_EQ(setWeekday(sunday, utc(2024, 3, 29, 12)), "2024-03-31 10:00:00");
    EXPECT_EQ(setWeekday(saturday, utc(2024, 3, 29, 12)), "2024-03-30 11:00:00");
    EXPECT_EQ(setWeekday(sunday, utc(2024, 10, 25, 12)), "2024-10-27 11:00:00");
    EXPECT_EQ(setWeekday(saturday, utc(2024, 10, 25, 12)), "2024-10-26 10:00:00");
}

TEST_P(ZonedCalendarConformance, AChangeMayBeOfHalfAnHour) {
    // From 02:00 to 02:30 on 2024-10-06, from 02:00 to 01:30 on 2024-04-07.
    useZone("Australia/Lord_Howe");
    EXPECT_EQ(setTime(1, 59, 59, utc(2024, 10, 6)), "2024-10-05 15:29:59");
    EXPECT_EQ(setTime(2, 15, 0, utc(2024, 10, 6)), "2024-10-05 15:30:00");
    EXPECT_EQ(setTime(2, 45, 0, utc(2024, 10, 6)), "2024-10-05 15:45:00");
    EXPECT_EQ(setTime(1, 15, 0, utc(2024, 4, 7)), "2024-04-06 14:15:00");
    EXPECT_EQ(setTime(1, 45, 0, utc(2024, 4, 7)), "2024-04-06 14:45:00");
    EXPECT_EQ(setTime(2, 0, 0, utc(2024, 4, 7)), "2024-04-06 15:30:00");
}

TEST_P(ZonedCalendarConformance, ADayWithoutMidnightBeginsAfterTheGap) {
    useZone("Africa/Cairo");
    EXPECT_EQ(setTime(0, 0, 0, utc(2023, 4, 28, 12)), "2023-04-27 22:00:00");
    EXPECT_EQ(setTime(0, 59, 59, utc(2023, 4, 28, 12)), "2023-04-27 22:00:00");
    EXPECT_EQ(setTime(0, 1'440, 0, utc(2023, 4, 27, 12)), "2023-04-27 22:00:00");
    EXPECT_EQ(timeAt(utc(2023, 4, 27, 22)), "01:00:00");
    EXPECT_EQ(weekdayAt(utc(2023, 4, 27, 22)), friday);
    EXPECT_EQ(weekdayAt(utc(2023, 4, 27, 21, 59, 59)), thursday);
    EXPECT_EQ(setWeekday(friday, utc(2023, 4, 27, 22)), "2023-04-28 09:00:00");
    useZone("Asia/Beirut");
    EXPECT_EQ(setTime(0, 0, 0, utc(2022, 3, 27, 12)), "2022-03-26 22:00:00");
    EXPECT_EQ(setTime(0, 1'440, 0, utc(2022, 3, 26, 12)), "2022-03-26 22:00:00");
    useZone("America/Santiago");
    EXPECT_EQ(setTime(0, 0, 0, utc(2022, 9, 11, 12)), "2022-09-11 04:00:00");
    EXPECT_EQ(setTime(0, 1'440, 0, utc(2022, 9, 10, 12)), "2022-09-11 04:00:00");
}

TEST_P(ZonedCalendarConformance, ADayWhoseLastHourComesTwiceEndsAfterTheSecond) {
    // From 24:00 to 23:00 on Saturday, 2022-04-02.
    useZone("America/Santiago");
    const Date second = utc(2022, 4, 3, 3, 30);
    EXPECT_EQ(timeAt(second), "23:30:00");
    EXPECT_EQ(weekdayAt(second), saturday);
    EXPECT_EQ(setTime(23, 30, 0, second), "2022-04-03 02:30:00");
    EXPECT_EQ(setTime(0, 0, 0, second), "2022-04-02 03:00:00");
    EXPECT_EQ(setTime(0, 1'440, 0, second), "2022-04-03 04:00:00");
    EXPECT_EQ(setWeekday(saturday, second), "2022-04-02 15:00:00");
    EXPECT_EQ(setWeekday(sunday, second), "2022-04-03 16:00:00");
}

TEST_P(ZonedCalendarConformance, ADayThatTheZoneSkipsIsPassedOver) {
    // Friday, 2011-12-30, was skipped for Saturday; ten o'clock in the morning of UTC was midnight before and after.
    useZone("Pacific/Apia");
    const Date thursdayNoon = utc(2011, 12, 29, 22);
    EXPECT_EQ(weekdayAt(thursdayNoon), thursday);
    EXPECT_EQ(weekdayAt(utc(2011, 12, 30, 9, 59, 59)), thursday);
    EXPECT_EQ(weekdayAt(utc(2011, 12, 30, 10)), saturday);
    EXPECT_EQ(setWeekday(friday, thursdayNoon), "2012-01-05 22:00:00");
    EXPECT_EQ(setWeekday(friday, utc(2011, 12, 26, 22)), "2012-01-05 22:00:00");
    EXPECT_EQ(setWeekday(friday, utc(2011, 12, 23, 22)), "2011-12-23 22:00:00");
    EXPECT_EQ(setWeekday(thursday, thursdayNoon), "2011-12-29 22:00:00");
    EXPECT_EQ(setWeekday(saturday, thursdayNoon), "2011-12-30 22:00:00");
    EXPECT_EQ(setWeekday(sunday, thursdayNoon), "2011-12-31 22:00:00");

    // Saturday, 1993-08-21.
    useZone("Pacific/Kwajalein");
    EXPECT_EQ(setWeekday(saturday, utc(1993, 8, 20, 12)), "1993-08-28 00:00:00");
    EXPECT_EQ(setWeekday(sunday, utc(1993, 8, 20, 12)), "1993-08-22 00:00:00");
}

TEST_P(ZonedCalendarConformance, ATimeOfASkippedDayIsTheFirstMomentAfterIt) {
    useZone("Pacific/Apia");
    for (const int hour : {0, 12, 23}) {
        EXPECT_EQ(setTime(hour, 1'440, 0, utc(2011, 12, 29, 22)), "2011-12-30 10:00:00");
    }
    EXPECT_EQ(setTime(1, 2'880, 0, utc(2011, 12, 29, 22)), "2011-12-30 11:00:00");
}

TEST_P(ZonedCalendarConformance, TheRulesGoOnAfter2037) {
    useZone("America/New_York");
    for (const int year : {2038, 2050, 2100, 2399, 2500, 9999}) {
        const auto march = std::chrono::year(year) / std::chrono::March;
        const std::chrono::year_month_day change = std::chrono::sys_days(march / std::chrono::Sunday[2]);
        const Date changeDay = utc(year, 3, static_cast<unsigned>(change.day()), 12);
        const double gapEnd = changeDay.timeIntervalSince1970() - 5 * 3'600;
        EXPECT_EQ(setTime(2, 30, 0, changeDay), readingText(Date(gapEnd), 0));
        EXPECT_EQ(timeAt(utc(year, 1, 15, 17)), "12:00:00");
        EXPECT_EQ(timeAt(utc(year, 7, 15, 16)), "12:00:00");
        EXPECT_EQ(setTime(12, 0, 0, utc(year, 7, 15, 12)), std::to_string(year) + "-07-15 16:00:00");
    }
}

}  // namespace quendokit::testing

#pragma once
/// \file
/// The conformance suite of `Calendar` for one whose clocks never change. It asserts only what the interface's comments
/// promise; what they promise where clocks change is in zoned_calendar_conformance.hpp.
///
/// Include it in one source file of a test program, and name your implementation there:
///
///     namespace quendokit::testing {
///     INSTANTIATE_TEST_SUITE_P(MyCalendar, CalendarConformance, ::testing::Values(CalendarImplementation{
///         "UTC", 0, [] { return std::make_shared<MyCalendar>("UTC"); }}));
///     }

#include <limits>

#include "testing/conformance/calendar_conformance_fixture.hpp"

namespace quendokit::testing {

TEST_P(CalendarConformance, TheClocksShowHourMinuteAndSecond) {
    EXPECT_EQ(calendar->timeComponents(local(2026, 11, 21, 18, 30, 5)), (TimeComponents{18, 30, 5}));
    EXPECT_EQ(timeAt(local(2026, 11, 21)), "00:00:00");
    EXPECT_EQ(timeAt(local(2026, 11, 21, 23, 59, 59)), "23:59:59");
    EXPECT_EQ(timeAt(local(9999, 12, 31, 1, 2, 3)), "01:02:03");
}

TEST_P(CalendarConformance, TheClocksRanForwardBefore1970Too) {
    EXPECT_EQ(timeAt(local(1969, 12, 31, 23, 59, 59)), "23:59:59");
    EXPECT_EQ(timeAt(local(1969, 12, 31, 0, 0, 1)), "00:00:01");
    EXPECT_EQ(timeAt(local(1, 1, 1, 18, 30, 5)), "18:30:05");
    EXPECT_EQ(timeAt(local(-1000, 3, 1, 0, 0, 0)), "00:00:00");
}

TEST_P(CalendarConformance, AFractionOfASecondIsCutOffDownwards) {
    for (const Date noon : {local(2026, 11, 21, 12), local(1969, 7, 20, 12)}) {
        const double seconds = noon.timeIntervalSince1970();
        EXPECT_EQ(timeAt(Date(seconds + 0.999)), "12:00:00");
        EXPECT_EQ(timeAt(Date(seconds - 0.001)), "11:59:59");
    }
}

TEST_P(CalendarConformance, WeekdaysCountFromSunday) {
    EXPECT_EQ(calendar->weekday(local(2026, 11, 22, 12)), sunday);
    EXPECT_EQ(calendar->weekday(local(2026, 11, 21, 12)), saturday);
    EXPECT_EQ(calendar->weekday(local(1970, 1, 1, 12)), thursday);
    EXPECT_EQ(calendar->weekday(local(1969, 12, 31, 12)), wednesday);
    EXPECT_EQ(calendar->weekday(local(1900, 3, 1, 12)), thursday);
    EXPECT_EQ(calendar->weekday(local(1, 1, 1, 12)), monday);
    EXPECT_EQ(calendar->weekday(local(2100, 3, 1, 12)), monday);
}

TEST_P(CalendarConformance, EveryDayOfFourYearsHasItsWeekday) {
    int expected = sunday;
    for (int day = 0; day < 1'461; ++day) {
        // From Sunday, 1967-12-31, over a leap year and over 1970.
        const Date noon(local(1967, 12, 31, 12).timeIntervalSince1970() + 86'400.0 * day);
        EXPECT_EQ(calendar->weekday(noon), expected) << day;
        expected = expected % 7 + 1;
    }
}

TEST_P(CalendarConformance, TheWeekdayChangesAtMidnight) {
    EXPECT_EQ(calendar->weekday(local(2026, 11, 22)), sunday);
    EXPECT_EQ(calendar->weekday(local(2026, 11, 22, 23, 59, 59)), sunday);
    EXPECT_EQ(calendar->weekday(local(2026, 11, 21, 23, 59, 59)), saturday);
    EXPECT_EQ(calendar->weekday(Date(local(2026, 11, 22).timeIntervalSince1970() - 0.001)), saturday);
}

TEST_P(CalendarConformance, ATimeIsSetOnTheDayOfTheDate) {
    for (const Date date : {local(2026, 11, 21), local(2026, 11, 21, 18, 30, 5), local(2026, 11, 21, 23, 59, 59)}) {
        EXPECT_EQ(setTime(18, 30, 5, date), "2026-11-21 18:30:05");
        EXPECT_EQ(setTime(0, 0, 0, date), "2026-11-21 00:00:00");
        EXPECT_EQ(setTime(23, 59, 59, date), "2026-11-21 23:59:59");
    }
    EXPECT_EQ(setTime(9, 0, 0, local(1969, 12, 31, 23, 59, 59)), "1969-12-31 09:00:00");
    EXPECT_EQ(setTime(9, 0, 0, local(1600, 2, 29, 1)), "1600-02-29 09:00:00");
}

TEST_P(CalendarConformance, AMomentWithAFractionBelongsToTheDayOfItsSecond) {
    const double midnight = local(2026, 11, 22).timeIntervalSince1970();
    EXPECT_EQ(setTime(9, 0, 0, Date(midnight - 0.001)), "2026-11-21 09:00:00");
    EXPECT_EQ(setTime(9, 0, 0, Date(midnight + 0.5)), "2026-11-22 09:00:00");
    EXPECT_EQ(setWeekday(saturday, Date(midnight - 0.001)), "2026-11-21 12:00:00");
    EXPECT_EQ(setWeekday(saturday, Date(midnight + 0.5)), "2026-11-28 12:00:00");
}

TEST_P(CalendarConformance, SurplusMinutesRollOver) {
    const Date saturdayEvening = local(2026, 11, 21, 18);
    EXPECT_EQ(setTime(1, 60, 0, saturdayEvening), "2026-11-21 02:00:00");
    EXPECT_EQ(setTime(0, 1'439, 59, saturdayEvening), "2026-11-21 23:59:59");
    EXPECT_EQ(setTime(0, 1'440, 0, saturdayEvening), "2026-11-22 00:00:00");
    EXPECT_EQ(setTime(1, 1'440, 0, saturdayEvening), "2026-11-22 01:00:00");
    EXPECT_EQ(setTime(23, 60, 7, saturdayEvening), "2026-11-22 00:00:07");
    EXPECT_EQ(setTime(0, 1'440, 0, local(2024, 2, 28, 18)), "2024-02-29 00:00:00");
    EXPECT_EQ(setTime(0, 1'440, 0, local(2023, 12, 31, 18)), "2024-01-01 00:00:00");
    EXPECT_EQ(setTime(0, 146'097LL * 1'440, 0, saturdayEvening), "2426-11-21 00:00:00");
}

TEST_P(CalendarConformance, AWeekdayIsSetAtNoonOfItsNextDay) {
    // 2026-11-15 is a Sunday.
    EXPECT_EQ(setWeekday(monday, local(2026, 11, 15, 18)), "2026-11-16 12:00:00");
    EXPECT_EQ(setWeekday(saturday, local(2026, 11, 15, 18)), "2026-11-21 12:00:00");
    EXPECT_EQ(setWeekday(sunday, local(2026, 11, 21, 18)), "2026-11-22 12:00:00");
    EXPECT_EQ(setWeekday(friday, local(2026, 11, 21, 18)), "2026-11-27 12:00:00");
    EXPECT_EQ(setWeekday(thursday, local(2024, 2, 28, 18)), "2024-02-29 12:00:00");
    EXPECT_EQ(setWeekday(thursday, local(1969, 12, 31, 18)), "1970-01-01 12:00:00");
}

TEST_P(CalendarConformance, EveryWeekdayIsWithinTheSevenDaysFromTheDate) {
    for (unsigned day = 1; day <= 7; ++day) {
        const double noon = local(1969, 12, day, 12).timeIntervalSince1970();
        int expected = calendar->weekday(Date(noon)).value_or(0);
        for (int ahead = 0; ahead < 7; ++ahead) {
            EXPECT_EQ(calendar->dateBySettingWeekday(expected, Date(noon)), Date(noon + 86'400.0 * ahead));
            expected = expected % 7 + 1;
        }
    }
}

TEST_P(CalendarConformance, TheDayOfTheDateIsTheFirstToBeLookedAt) {
    EXPECT_EQ(setWeekday(saturday, local(2026, 11, 21)), "2026-11-21 12:00:00");
    EXPECT_EQ(setWeekday(saturday, local(2026, 11, 21, 12)), "2026-11-21 12:00:00");
    EXPECT_EQ(setWeekday(saturday, local(2026, 11, 21, 23, 59, 59)), "2026-11-21 12:00:00");
}

TEST_P(CalendarConformance, ArgumentsOutsideTheirRangeHaveNoAnswer) {
    using Int = std::numeric_limits<int>;
    const Date date = local(2026, 11, 21, 18);
    for (const int hour : {-1, 24, Int::min(), Int::max()}) {
        EXPECT_EQ(setTime(hour, 0, 0, date), "absent") << hour;
    }
    for (const int second : {-1, 60, Int::min(), Int::max()}) {
        EXPECT_EQ(setTime(0, 0, second, date), "absent") << second;
    }
    for (const std::int64_t minute : {std::int64_t{-1}, std::numeric_limits<std::int64_t>::min()}) {
        EXPECT_EQ(setTime(0, minute, 0, date), "absent") << minute;
    }
    for (const int weekday : {-1, 0, 8, Int::min(), Int::max()}) {
        EXPECT_EQ(setWeekday(weekday, date), "absent") << weekday;
    }
}

TEST_P(CalendarConformance, WhatIsNoMomentWithinReachHasNoAnswer) {
    using Double = std::numeric_limits<double>;
    const double beyond = std::nextafter(static_cast<double>(calendarReach), Double::max());
    for (const double seconds : {Double::quiet_NaN(), Double::infinity(), Double::max(), 9.3e18, 2e16, beyond}) {
        for (const Date date : {Date(seconds), Date(-seconds)}) {
            EXPECT_EQ(timeAt(date), "absent") << seconds;
            EXPECT_EQ(calendar->weekday(date), std::nullopt) << seconds;
            EXPECT_EQ(calendar->dateBySettingHour(12, 0, 0, date), std::nullopt) << seconds;
            EXPECT_EQ(calendar->dateBySettingWeekday(sunday, date), std::nullopt) << seconds;
        }
    }
}

TEST_P(CalendarConformance, MinutesThatLeadOutOfReachHaveNoAnswer) {
    const double midnight = local(1970, 1, 1).timeIntervalSince1970();
    const auto most = (calendarReach - static_cast<std::int64_t>(midnight)) / 60;
    EXPECT_EQ(calendar->dateBySettingHour(0, most, 0, Date(midnight)),
              Date(midnight + 60.0 * static_cast<double>(most)));
    for (const std::int64_t minute : {most + 1, 2 * most, std::numeric_limits<std::int64_t>::max()}) {
        EXPECT_EQ(calendar->dateBySettingHour(0, minute, 0, Date(midnight)), std::nullopt) << minute;
        EXPECT_EQ(calendar->dateBySettingHour(23, minute, 59, Date(midnight)), std::nullopt) << minute;
    }
}

TEST_P(CalendarConformance, TheMomentsAtBothEndsOfTheReachAreAnswered) {
    const auto remainder = [](std::int64_t value, std::int64_t divisor) {
        return static_cast<int>((value % divisor + divisor) % divisor);
    };
    for (const std::int64_t seconds : {-calendarReach, calendarReach}) {
        const std::int64_t reading = seconds + secondsEast;
        const int second = remainder(reading, 86'400);
        const std::int64_t day = (reading - second) / 86'400;
        const Date date(static_cast<double>(seconds));
        EXPECT_EQ(calendar->timeComponents(date), (TimeComponents{second / 3'600, second / 60 % 60, second % 60}));
        EXPECT_EQ(calendar->weekday(date), (thursday - 1 + remainder(day, 7)) % 7 + 1);
        EXPECT_EQ(calendar->dateBySettingHour(0, second / 60, second % 60, date), date);
    }
}

TEST_P(CalendarConformance, AnAnswerIsAbsentExactlyWhenItIsOutOfReach) {
    const auto within = [](double seconds) {
        const bool isWithin = std::abs(seconds) <= static_cast<double>(calendarReach);
        return isWithin ? std::optional(Date(seconds)) : std::nullopt;
    };
    for (const double date : {-static_cast<double>(calendarReach), static_cast<double>(calendarReach)}) {
        const double midnight = std::floor((date + secondsEast) / 86'400) * 86'400 - secondsEast;
        EXPECT_EQ(calendar->dateBySettingHour(0, 0, 0, Date(date)), within(midnight));
        EXPECT_EQ(calendar->dateBySettingHour(23, 59, 59, Date(date)), within(midnight + 86'399));
        const int weekday = calendar->weekday(Date(date)).value_or(0);
        EXPECT_EQ(calendar->dateBySettingWeekday(weekday, Date(date)), within(midnight + 43'200));
        EXPECT_EQ(calendar->dateBySettingWeekday(weekday % 7 + 1, Date(date)), within(midnight + 86'400 + 43'200));
    }
}

}  // namespace quendokit::testing

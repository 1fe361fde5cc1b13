#pragma once
/// \file
/// The fixtures of the conformance suites of `Calendar`.

#include <chrono>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <functional>
#include <memory>
#include <optional>
#include <ostream>
#include <string>

#include <gtest/gtest.h>

#include "quendokit/platform/calendar.hpp"

namespace quendokit::testing {

/// A calendar whose clocks never change, the parameter of `CalendarConformance`.
struct CalendarImplementation {
    /// Part of the names of its tests: letters and digits.
    std::string name;
    /// By how much its clocks are ahead of UTC; negative in the west.
    int secondsEast;
    /// Called once a test. Never null.
    std::function<std::shared_ptr<const Calendar>()> make;

    friend void PrintTo(const CalendarImplementation& implementation, std::ostream* stream) {
        *stream << implementation.name;
    }
};

/// A way to calendars of any zone, the parameter of `ZonedCalendarConformance`.
struct ZonedCalendarImplementation {
    /// Part of the names of its tests: letters and digits.
    std::string name;
    /// The calendar of a zone, named as "Europe/Berlin". Null when that zone is not known, which fails the test.
    std::function<std::shared_ptr<const Calendar>(const std::string& zone)> make;

    friend void PrintTo(const ZonedCalendarImplementation& implementation, std::ostream* stream) {
        *stream << implementation.name;
    }
};

/// The days of the week as `Calendar` counts them.
inline constexpr int sunday = 1;
inline constexpr int monday = 2;
inline constexpr int tuesday = 3;
inline constexpr int wednesday = 4;
inline constexpr int thursday = 5;
inline constexpr int friday = 6;
inline constexpr int saturday = 7;

/// Seconds from 1970 to that reading, on a clock that shows UTC.
inline double readingSeconds(int year, unsigned month, unsigned day, int hour = 0, int minute = 0, int second = 0) {
    using std::chrono::hours;
    using std::chrono::minutes;
    using std::chrono::seconds;
    const std::chrono::sys_days date = std::chrono::year(year) / std::chrono::month(month) / std::chrono::day(day);
    const seconds sum = date.time_since_epoch() + hours(hour) + minutes(minute) + seconds(second);
    return static_cast<double>(sum.count());
}

/// What a clock `secondsEast` of UTC shows at `date`: "2026-11-21 18:00:00", or "absent". A fraction follows when there
/// is one. For years that `std::chrono` knows.
inline std::string readingText(std::optional<Date> date, int secondsEast) {
    if (!date) {
        return "absent";
    }
    const double whole = std::floor(date->timeIntervalSince1970());
    const std::chrono::sys_seconds reading(std::chrono::seconds(static_cast<std::int64_t>(whole) + secondsEast));
    const auto midnight = std::chrono::floor<std::chrono::days>(reading);
    const std::chrono::year_month_day day(midnight);
    const std::chrono::hh_mm_ss time(reading - midnight);
    char text[64];
    std::snprintf(text, sizeof(text), "%04d-%02u-%02u %02d:%02d:%02d", static_cast<int>(day.year()),
                  static_cast<unsigned>(day.month()), static_cast<unsigned>(day.day()),
                  static_cast<int>(time.hours().count()), static_cast<int>(time.minutes().count()),
                  static_cast<int>(time.seconds().count()));
    const double fraction = date->timeIntervalSince1970() - whole;
    return fraction == 0 ? text : text + (" and " + std::to_string(fraction));
}

/// "18:30:05", or "absent".
inline std::string timeText(std::optional<TimeComponents> time) {
    if (!time) {
        return "absent";
    }
    char text[64];
    std::snprintf(text, sizeof(text), "%02d:%02d:%02d", time->hour, time->minute, time->second);
    return text;
}

/// Readings and answers are in the calendar's own time.
class CalendarConformance : public ::testing::TestWithParam<CalendarImplementation> {
protected:
    void SetUp() override { ASSERT_TRUE(calendar); }

    /// The moment at which the clocks show that.
    [[nodiscard]] Date local(int year, unsigned month, unsigned day, int hour = 0, int minute = 0,
                             int second = 0) const {
        return Date(readingSeconds(year, month, day, hour, minute, second) - secondsEast);
    }

    [[nodiscard]] std::string timeAt(Date date) const { return timeText(calendar->timeComponents(date)); }

    [[nodiscard]] std::string setTime(int hour, std::int64_t minute, int second, Date date) const {
        return readingText(calendar->dateBySettingHour(hour, minute, second, date), secondsEast);
    }

    [[nodiscard]] std::string setWeekday(int weekday, Date date) const {
        return readingText(calendar->dateBySettingWeekday(weekday, date), secondsEast);
    }

    const int secondsEast = GetParam().secondsEast;
    const std::shared_ptr<const Calendar> calendar = GetParam().make();
};

/// Dates and answers are in UTC.
class ZonedCalendarConformance : public ::testing::TestWithParam<ZonedCalendarImplementation> {
protected:
    /// Lets the later calls be about that zone.
    void useZone(const std::string& zone) {
        calendar_ = GetParam().make(zone);
        ASSERT_TRUE(calendar_) << zone;
    }

    [[nodiscard]] static Date utc(int year, unsigned month, unsigned day, int hour = 0, int minute = 0,
                                  int second = 0) {
        return Date(readingSeconds(year, month, day, hour, minute, second));
    }

    [[nodiscard]] std::string timeAt(Date date) const { return timeText(calendar_->timeComponents(date)); }
    [[nodiscard]] int weekdayAt(Date date) const { return calendar_->weekday(date).value_or(0); }

    [[nodiscard]] std::string setTime(int hour, std::int64_t minute, int second, Date date) const {
        return readingText(calendar_->dateBySettingHour(hour, minute, second, date), 0);
    }

    [[nodiscard]] std::string setWeekday(int weekday, Date date) const {
        return readingText(calendar_->dateBySettingWeekday(weekday, date), 0);
    }

private:
    std::shared_ptr<const Calendar> calendar_;
};

/// Without an INSTANTIATE_TEST_SUITE_P, including a suite runs nothing.
GTEST_ALLOW_UNINSTANTIATED_PARAMETERIZED_TEST(CalendarConformance);
GTEST_ALLOW_UNINSTANTIATED_PARAMETERIZED_TEST(ZonedCalendarConformance);

}  // namespace quendokit::testing

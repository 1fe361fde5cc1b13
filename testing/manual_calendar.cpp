#include "testing/manual_calendar.hpp"

#include <cmath>

namespace quendokit::testing {
namespace {

constexpr std::int64_t secondsPerDay = 86'400;
constexpr std::int64_t secondsPerHour = 3'600;

bool isWithin(std::int64_t value, std::int64_t first, std::int64_t last) {
    return first <= value && value <= last;
}

std::int64_t floorDivide(std::int64_t value, std::int64_t divisor) {
    return value / divisor - (value % divisor < 0 ? 1 : 0);
}

/// What the clocks show at `date`, as seconds since their 1970-01-01 00:00:00. Absent when `date` is out of reach.
std::optional<std::int64_t> wallSeconds(Date date, int secondsEast) {
    const double seconds = std::floor(date.timeIntervalSince1970());
    // Asked this way round because every comparison with NaN is false.
    if (!(std::abs(seconds) <= static_cast<double>(calendarReach))) {
        return std::nullopt;
    }
    return static_cast<std::int64_t>(seconds) + secondsEast;
}

/// The moment at which the clocks show that. Absent when it is out of reach.
std::optional<Date> dateOf(std::int64_t wallSeconds, int secondsEast) {
    const std::int64_t moment = wallSeconds - secondsEast;
    if (!isWithin(moment, -calendarReach, calendarReach)) {
        return std::nullopt;
    }
    return Date(static_cast<double>(moment));
}

/// 1 for Sunday to 7 for Saturday. Day 0 is 1970-01-01, a Thursday.
int weekdayOf(std::int64_t day) {
    const std::int64_t sunday = day + 4;
    return static_cast<int>(sunday - 7 * floorDivide(sunday, 7)) + 1;
}

}  // namespace

std::optional<TimeComponents> ManualCalendar::timeComponents(Date date) const {
    const auto wall = wallSeconds(date, secondsEast_);
    if (!wall) {
        return std::nullopt;
    }
    const auto second = static_cast<int>(*wall - secondsPerDay * floorDivide(*wall, secondsPerDay));
    return TimeComponents{second / 3'600, second / 60 % 60, second % 60};
}

std::optional<int> ManualCalendar::weekday(Date date) const {
    const auto wall = wallSeconds(date, secondsEast_);
    if (!wall) {
        return std::nullopt;
    }
    return weekdayOf(floorDivide(*wall, secondsPerDay));
}

std::optional<Date> ManualCalendar::dateBySettingHour(int hour, std::int64_t minute, int second, Date ofDate) const {
    const int secondsEast = secondsEast_;
    const auto wall = wallSeconds(ofDate, secondsEast);
    // More minutes than the reach has seconds are out of reach, and would not fit once they are seconds.
    if (!wall || !isWithin(hour, 0, 23) || !isWithin(minute, 0, calendarReach) || !isWithin(second, 0, 59)) {
        return std::nullopt;
    }
    const std::int64_t midnight = secondsPerDay * floorDivide(*wall, secondsPerDay);
    return dateOf(midnight + hour * secondsPerHour + minute * 60 + second, secondsEast);
}

std::optional<Date> ManualCalendar::dateBySettingWeekday(int weekday, Date ofDate) const {
    const int secondsEast = secondsEast_;
    const auto wall = wallSeconds(ofDate, secondsEast);
    if (!wall || !isWithin(weekday, 1, 7)) {
        return std::nullopt;
    }
    const std::int64_t day = floorDivide(*wall, secondsPerDay);
    const int daysUntil = (weekday - weekdayOf(day) + 7) % 7;
    return dateOf((day + daysUntil) * secondsPerDay + secondsPerDay / 2, secondsEast);
}

}  // namespace quendokit::testing

#pragma once
/// \file
/// `LocalDateTime`, what a calendar and a clock on the wall show.

#include <compare>
#include <cstdint>

#include "quendokit/platform/export.hpp"

namespace quendokit {

/// A date of the Gregorian calendar and a time of day, in no zone. `{2026, 11, 21, 18, 0, 0}` is 18:00:00 of
/// 2026-11-21.
///
/// Plain value, ordered by its fields. Year 0 is the year before year 1. The fields may hold anything; `isValid` tells
/// whether they name something that exists.
struct LocalDateTime {
    std::int64_t year = 1970;
    int month = 1;
    int day = 1;
    int hour = 0;
    int minute = 0;
    int second = 0;

    friend constexpr auto operator<=>(const LocalDateTime&, const LocalDateTime&) noexcept = default;
};

/// The years reach from `-localYearLimit` to `localYearLimit`, within which a `Date` still tells whole seconds apart.
inline constexpr std::int64_t localYearLimit = 200'000'000;

/// Whether there is such a date and such a time of day: no month 13, no 29 February but in leap years, no hour 24, no
/// second 60, no year beyond the limit. Any thread.
[[nodiscard]] QUENDOKIT_EXPORT bool isValid(const LocalDateTime& reading) noexcept;

/// 28 to 31. `month` is 1 to 12. Any thread.
[[nodiscard]] QUENDOKIT_EXPORT int daysInMonth(std::int64_t year, int month) noexcept;

/// Seconds from 1970-01-01 00:00:00 to `reading` on the same wall, where every day has 86,400: for
/// `{1970, 1, 2, 0, 0, 1}` it is 86,401. Fields other than the year may lie beyond their range and roll over: day 32 of
/// January is 1 February, second -1 is the last one of the minute before. The year lies within the limit. Any thread.
[[nodiscard]] QUENDOKIT_EXPORT std::int64_t wallSeconds(const LocalDateTime& reading) noexcept;

/// The reading that many wall seconds after 1970-01-01 00:00:00; undoes `wallSeconds`. Any thread.
[[nodiscard]] QUENDOKIT_EXPORT LocalDateTime fromWallSeconds(std::int64_t seconds) noexcept;

}  // namespace quendokit

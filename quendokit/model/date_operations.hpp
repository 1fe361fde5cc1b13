#pragma once
/// \file
/// What a `Date` can be asked and told: durations added, the time of day, the day after, the day of the week.

#include <cstdint>

#include "quendokit/model/time_units.hpp"
#include "quendokit/platform/date.hpp"
#include "quendokit/platform/export.hpp"

namespace quendokit {

/// `date` moved forward by that many seconds: 86,400 are not always a day. Fractions stay. Any thread.
template <WholeNumber T>
[[nodiscard]] constexpr Date operator+(Date date, T seconds) {
    return Date(date.timeIntervalSince1970() + static_cast<double>(seconds));
}
template <WholeNumber T>
[[nodiscard]] constexpr Date operator-(Date date, T seconds) {
    return Date(date.timeIntervalSince1970() - static_cast<double>(seconds));
}
template <WholeNumber T>
constexpr Date& operator+=(Date& date, T seconds) {
    return date = date + seconds;
}
template <WholeNumber T>
constexpr Date& operator-=(Date& date, T seconds) {
    return date = date - seconds;
}

// The rest asks `Calendar::current()`. Fatal if that has no answer. Any thread.

/// The local day of `date` with the time of day set: `at(date, 32'400)` is 09:00:00 of that day. A time of a day or
/// more keeps its surplus as minutes: 90,000 asks for hour 1 and minute 1,440, which is 01:00:00 of the next day. Fatal
/// below 0. `Calendar` says what a time that the clocks skip or repeat means.
[[nodiscard]] QUENDOKIT_EXPORT Date at(Date date, std::int64_t time);

/// The time of day as seconds, 34'200 at 09:30:00.
[[nodiscard]] QUENDOKIT_EXPORT std::int64_t time(Date date);

/// The same without its seconds: 34'200 at 09:30:59.
[[nodiscard]] QUENDOKIT_EXPORT std::int64_t timeWithoutSeconds(Date date);

/// Local midnight of the day that it is 86,400 seconds after `date`. Around a change of the clocks that may be the same
/// day (00:15 on a day of 25 hours) or the one after the next (23:30 before a day of 23).
[[nodiscard]] QUENDOKIT_EXPORT Date tomorrow(Date date);

/// Some time on the first day from that of `date` on, its own included, with that day of the week; set the time with
/// `at`. 1 is Sunday, 7 Saturday, 8 Sunday again. Fatal below 1, unless it is 1 less a multiple of 7: Sunday.
[[nodiscard]] QUENDOKIT_EXPORT Date on(Date date, std::int64_t weekday);

/// The day of the week: 1 for Sunday to 7 for Saturday.
[[nodiscard]] QUENDOKIT_EXPORT std::int64_t weekday(Date date);

}  // namespace quendokit

#pragma once
/// \file
/// `Calendar`, what the clocks on the person's wall show.

#include <cstdint>
#include <optional>

#include "quendokit/platform/date.hpp"
#include "quendokit/platform/export.hpp"

namespace quendokit {

/// A time of day: 18:30:05 is `{18, 30, 5}`.
struct TimeComponents {
    /// 0 to 23.
    int hour = 0;
    /// 0 to 59.
    int minute = 0;
    /// 0 to 59.
    int second = 0;

    friend constexpr bool operator==(const TimeComponents&, const TimeComponents&) noexcept = default;
};

/// A calendar answers for every moment this many seconds from 1970 or nearer, in either direction: 158 million years.
inline constexpr std::int64_t calendarReach = 5'000'000'000'000'000;

/// The Gregorian calendar in the device's time zone.
///
/// Local time may skip and repeat. A time that the clocks skip means the first moment after the gap; of two equal times
/// the first one is meant; a day that a zone skips whole is not there. Fractions of a second are cut off downwards
/// before anything is computed, so every answered `Date` is a whole second where the zone's offset is.
///
/// An answer is absent only when it cannot be given: the date is not finite, something lies beyond `calendarReach`, or
/// an argument is outside its range. The engine treats an absent answer as fatal. Any thread.
class QUENDOKIT_EXPORT Calendar {
public:
    Calendar() = default;
    Calendar(const Calendar&) = delete;
    Calendar& operator=(const Calendar&) = delete;
    virtual ~Calendar() = default;

    /// The installed calendar. It follows the device when the person changes its zone.
    [[nodiscard]] static const Calendar& current();

    /// What the clocks show at `date`.
    [[nodiscard]] virtual std::optional<TimeComponents> timeComponents(Date date) const = 0;

    /// The day of the week at `date`: 1 for Sunday to 7 for Saturday.
    [[nodiscard]] virtual std::optional<int> weekday(Date date) const = 0;

    /// The moment at which the clocks show that time on the local day of `date`. `hour` is 0 to 23, `second` 0 to 59,
    /// `minute` 0 or more; minutes from 60 on roll over in wall time, into hours and into later days: hour 1 and minute
    /// 1,440 of a Saturday is 01:00:00 of the Sunday, however long the Saturday is.
    [[nodiscard]] virtual std::optional<Date> dateBySettingHour(int hour, std::int64_t minute, int second,
                                                                Date ofDate) const = 0;

    /// Local noon of the first day from that of `date` on, its own included, whose weekday is `weekday` (1 for Sunday
    /// to 7 for Saturday). A day that the zone skips is passed over.
    [[nodiscard]] virtual std::optional<Date> dateBySettingWeekday(int weekday, Date ofDate) const = 0;
};

}  // namespace quendokit

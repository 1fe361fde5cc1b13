#pragma once
/// \file
/// `ManualCalendar`, a calendar whose clocks never change until a test moves them.

#include <atomic>
#include <cstdint>
#include <optional>

#include "quendokit/platform/calendar.hpp"
#include "quendokit/platform/export.hpp"

namespace quendokit::testing {

/// The Gregorian calendar of a place that is always the same number of seconds ahead of UTC: no gap, no repeated hour,
/// no skipped day.
///
/// Any thread.
class QUENDOKIT_EXPORT ManualCalendar final : public Calendar {
public:
    /// `secondsEast` is negative west of Greenwich: -18'000 in New York in winter. A day at most, in either direction.
    explicit ManualCalendar(int secondsEast = 0) : secondsEast_(secondsEast) {}

    [[nodiscard]] std::optional<TimeComponents> timeComponents(Date date) const override;
    [[nodiscard]] std::optional<int> weekday(Date date) const override;
    [[nodiscard]] std::optional<Date> dateBySettingHour(int hour, std::int64_t minute, int second,
                                                        Date ofDate) const override;
    [[nodiscard]] std::optional<Date> dateBySettingWeekday(int weekday, Date ofDate) const override;

    /// Travels to another place: later answers are in its time.
    void setSecondsEast(int secondsEast) { secondsEast_.store(secondsEast); }

private:
    std::atomic<int> secondsEast_;
};

}  // namespace quendokit::testing

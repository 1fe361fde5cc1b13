#pragma once
/// \file
/// `PlainCalendar`, local time told by the C library's `localtime_r` alone: slow, and simple enough to be believed.

#include <cstdint>
#include <string>
#include <vector>

#include "tests/support/scoped_environment.hpp"

namespace quendokit::testing {

/// What the clocks of one zone show from 1969-07 to 2041-12, and when they show it. The C library answers only the
/// first; the second is searched for.
///
/// Dates are seconds since 1970 UTC, with a fraction that counts for nothing. Wall seconds are those on the wall since
/// its 1970-01-01 00:00:00, where every day has 86,400. The process is in the zone for the life of the object, so there
/// is one at a time, on one thread.
class PlainCalendar {
public:
    explicit PlainCalendar(const std::string& zone);

    /// The moments from 1970 to 2040 from which on the clocks are another number of seconds ahead of UTC. No zone
    /// changes its clocks twice within two days; that would be overlooked.
    [[nodiscard]] const std::vector<std::int64_t>& changes() const { return changes_; }

    /// What the clocks show.
    struct Reading {
        std::int64_t wallSeconds;
        /// Of wall days: 0 for 1970-01-01.
        std::int64_t day;
        /// Since midnight.
        std::int64_t second;
        /// 1 for Sunday to 7 for Saturday.
        int weekday;
    };
    [[nodiscard]] Reading read(double date) const;

    /// The first moment at which the clocks show that; the first after the gap when they never do.
    [[nodiscard]] double momentOf(std::int64_t wallSeconds) const;

    /// That time on the local day of `date`. Minutes of 60 and more go on into later hours and days.
    [[nodiscard]] double dateBySettingHour(int hour, std::int64_t minute, int second, double date) const;

    /// Noon of the first day that exists, from that of `date` on, with that weekday.
    [[nodiscard]] double dateBySettingWeekday(int weekday, double date) const;

private:
    const ScopedEnvironment environment_;
    std::vector<std::int64_t> changes_;
};

/// Every zone of the system's zone data, aliases included, in alphabetical order.
[[nodiscard]] std::vector<std::string> everyZoneName();

}  // namespace quendokit::testing

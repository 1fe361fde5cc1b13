#pragma once
/// \file
/// `RandomCases`, moments and day plans of the kind at which the rules of presets may go wrong.

#include <cstdint>
#include <initializer_list>
#include <map>
#include <random>
#include <string>
#include <vector>

#include "quendokit/platform/property_value.hpp"
#include "tests/presets/plain_calendar.hpp"

namespace quendokit::testing {

/// Everything that the rules depend on, but the zone.
struct RandomCase {
    /// Seconds since 1970 UTC, with fractions.
    double now;
    double date;
    std::map<std::string, PropertyValue, std::less<>> settings;
    /// A weekend that the settings cannot say: any days in any order, or none.
    std::vector<int> weekend;
    /// A time of day to set, of this day or a later one.
    std::int64_t time;
    /// 1 to 14.
    int weekday;
    /// A time to write to a setting; below 0.
    std::int64_t negativeTime;
};

/// Makes cases for one zone. Refers to its arguments.
class RandomCases {
public:
    RandomCases(std::mt19937_64& random, const PlainCalendar& calendar) : random_(random), calendar_(calendar) {}

    /// On the days around a change of the clocks.
    [[nodiscard]] RandomCase around(std::int64_t change);
    /// At any time from 1970 to 2040.
    [[nodiscard]] RandomCase anywhere();

private:
    using Settings = std::map<std::string, PropertyValue, std::less<>>;

    [[nodiscard]] std::int64_t between(std::int64_t least, std::int64_t greatest);
    [[nodiscard]] bool inPercent(int chance) { return between(1, 100) <= chance; }
    template <typename Value>
    [[nodiscard]] Value oneOf(std::initializer_list<Value> values);

    [[nodiscard]] double fraction();
    /// A little or nothing, in either direction.
    [[nodiscard]] double nudge();
    /// From now to a date: minutes, hours, days or weeks, in either direction.
    [[nodiscard]] std::int64_t distance();
    [[nodiscard]] std::int64_t duration();
    [[nodiscard]] std::int64_t storedDay();
    [[nodiscard]] std::int64_t timeOfDay(double date, std::int64_t change);

    [[nodiscard]] RandomCase withMoment(double moment, std::int64_t change);
    [[nodiscard]] Settings settings(double date, std::int64_t change);
    /// Moves now or the date to the very moment at which a rule changes its answer, or a little beside it.
    void moveToBoundary(RandomCase& value);

    std::mt19937_64& random_;
    const PlainCalendar& calendar_;
};

}  // namespace quendokit::testing

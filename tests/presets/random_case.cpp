#include "tests/presets/random_case.hpp"

#include <algorithm>
#include <array>
#include <numeric>

#include "tests/presets/plain_rules.hpp"

namespace quendokit::testing {
namespace {

constexpr std::int64_t minute = 60;
constexpr std::int64_t hour = 3'600;
constexpr std::int64_t day = 86'400;
constexpr std::int64_t year2041 = 2'240'611'200;  // 2041-01-01

}  // namespace

RandomCase RandomCases::around(std::int64_t change) {
    const auto moment = static_cast<double>(change);
    if (inPercent(15)) {
        return withMoment(moment + nudge(), change);
    }
    const std::int64_t thatDay = calendar_.read(moment).day + oneOf<std::int64_t>({-2, -1, -1, -1, 0, 0, 0, 0, 1, 2});
    return withMoment(calendar_.momentOf(thatDay * day + between(0, day - 1)) + fraction(), change);
}

RandomCase RandomCases::anywhere() {
    const std::int64_t moment = between(0, year2041 - 1);
    return withMoment(static_cast<double>(moment) + fraction(), moment);
}

std::int64_t RandomCases::between(std::int64_t least, std::int64_t greatest) {
    return std::uniform_int_distribution<std::int64_t>(least, greatest)(random_);
}

template <typename Value>
Value RandomCases::oneOf(std::initializer_list<Value> values) {
    return values.begin()[between(0, static_cast<std::int64_t>(values.size()) - 1)];
}

double RandomCases::fraction() {
    return oneOf({0.0, 0.0, 0.5, 0.999'999, static_cast<double>(between(0, 1'023)) / 1'024});
}

double RandomCases::nudge() {
    return oneOf({0.0, 0.0, 0.0, -1.0, 1.0, -0.001, 0.001, 0.999, fraction()});
}

std::int64_t RandomCases::distance() {
    const std::int64_t size =
        oneOf({between(0, hour), between(0, day), day, between(0, 8) * day, between(0, 8 * 7 * day)});
    return inPercent(50) ? size : -size;
}

std::int64_t RandomCases::duration() {
    return oneOf(
        {std::int64_t{0}, between(1, 180) * minute, between(0, day), between(0, 3'650 * day), -between(1, day)});
}

std::int64_t RandomCases::storedDay() {
    const std::int64_t plain = between(1, 7);
    // Counted on after Saturday; and the one kind of numbers below 1 that is a day, Sunday.
    return inPercent(90) ? plain : oneOf({plain + 7 * between(1, 100), 1 - 7 * between(1, 100)});
}

std::int64_t RandomCases::timeOfDay(double date, std::int64_t change) {
    const std::int64_t kind = between(1, 100);
    if (kind <= 25) {
        return between(0, day - 1);
    }
    if (kind <= 45) {
        return between(0, 95) * 15 * minute;
    }
    if (kind <= 60) {
        return oneOf({std::int64_t{0}, std::int64_t{1}, minute - 1, minute, hour, day - hour, day - minute, day - 1});
    }
    if (kind <= 80) {
        // From an hour before what the clocks show at the change until two hours after it.
        const std::int64_t shown = calendar_.read(static_cast<double>(change) - 1).second;
        return (shown + between(-hour, 2 * hour) + day) % day;
    }
    if (kind <= 92) {
        return std::clamp(calendar_.read(date).second + between(-1, 1), std::int64_t{0}, day - 1);
    }
    // Of a later day.
    return oneOf({day, day + 1, day + hour, between(day, 10 * day)});
}

RandomCase RandomCases::withMoment(double moment, std::int64_t change) {
    RandomCase value{};
    value.now = moment;
    value.date = moment;
    if (inPercent(60)) {
        (inPercent(50) ? value.now : value.date) = moment + static_cast<double>(distance()) + fraction();
    }
    value.settings = settings(value.date, change);
    value.time = timeOfDay(value.date, change);
    value.weekday = static_cast<int>(between(1, 14));
    value.weekend.resize(7);
    std::iota(value.weekend.begin(), value.weekend.end(), 1);
    std::shuffle(value.weekend.begin(), value.weekend.end(), random_);
    value.weekend.resize(static_cast<std::size_t>(between(0, 7)));
    if (inPercent(30)) {
        moveToBoundary(value);
    }
    // As long as the day is old, which is midnight, or about as long.
    const std::int64_t age = calendar_.read(value.now).second;
    value.negativeTime =
        -std::max(std::int64_t{1}, oneOf({between(1, 2 * day), between(1, day), age + between(-1, 1)}));
    return value;
}

RandomCases::Settings RandomCases::settings(double date, std::int64_t change) {
    Settings settings{
        {"quendokit.options.first-workday", storedDay()},
        {"quendokit.options.first-weekend", storedDay()},
        {"quendokit.options.workday-morning", timeOfDay(date, change)},
        {"quendokit.options.weekend-morning", timeOfDay(date, change)},
        {"quendokit.options.afternoon", timeOfDay(date, change)},
        {"quendokit.options.evening", timeOfDay(date, change)},
        {"quendokit.options.later", duration()},
        {"quendokit.options.postpone", duration()},
    };
    for (auto entry = settings.begin(); entry != settings.end();) {
        if (inPercent(3)) {
            entry = settings.erase(entry);
            continue;
        }
        if (inPercent(2)) {
            entry->second = oneOf<PropertyValue>({true, 3.0, std::string("7")});
        }
        ++entry;
    }
    return settings;
}

void RandomCases::moveToBoundary(RandomCase& value) {
    const PlainPlan plan(value.settings);
    const PlainRules rules(calendar_, plan, value.now);
    const std::int64_t time =
        oneOf({std::int64_t{0}, plan.workdayMorning, plan.weekendMorning, plan.afternoon, plan.evening});
    switch (between(1, 4)) {
        case 1:
            value.date = rules.at(value.date, time) + nudge();
            break;
        case 2:
            value.now = rules.at(value.now, time) + nudge();
            break;
        case 3:
            value.now = rules.at(value.date, time) + nudge();
            break;
        case 4:
            // Within reach of the calendar.
            if (std::abs(plan.later) <= 7 * day) {
                value.now = value.date + static_cast<double>(plan.later) + nudge();
            }
            break;
    }
}

}  // namespace quendokit::testing

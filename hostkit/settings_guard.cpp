#include "hostkit/settings_guard.hpp"

#include <limits>

#include "quendokit/options/option_keys.hpp"
#include "quendokit/platform/calendar.hpp"

namespace quendokit {
namespace {

/// Half of a calendar's reach: dates themselves lie within a sliver of the rest.
constexpr std::int64_t longestTime = calendarReach / 2;

bool isDay(std::string_view key) {
    return key == OptionKeys::FirstWorkday || key == OptionKeys::FirstWeekend;
}

bool isTimeOfDay(std::string_view key) {
    return key == OptionKeys::WorkdayMorning || key == OptionKeys::WeekendMorning || key == OptionKeys::Afternoon ||
           key == OptionKeys::Evening;
}

}  // namespace

bool isFatalDay(std::int64_t value) {
    return value == std::numeric_limits<std::int64_t>::min() || (value - 1) % 7 < 0;
}

bool isFatalTime(std::int64_t value) {
    return value < 0 || value > longestTime;
}

std::optional<PropertyValue> SettingsGuard::checked(std::string_view key, std::optional<PropertyValue> value) {
    const std::int64_t* const integer = value ? std::get_if<std::int64_t>(&*value) : nullptr;
    if (!options_.active || integer == nullptr) {
        return value;
    }
    if (isFatalDay(*integer) && isDay(key)) {
        tell(key, *integer, "which is no day of the week");
        return std::nullopt;
    }
    if (isFatalTime(*integer) && isTimeOfDay(key)) {
        tell(key, *integer, "which is no time of day");
        return std::nullopt;
    }
    return value;
}

void SettingsGuard::tell(std::string_view key, std::int64_t value, std::string_view what) {
    {
        const std::lock_guard lock(mutex_);
        const auto [known, isNew] = told_.try_emplace(std::string(key), value);
        if (!isNew && known->second == value) {
            return;
        }
        known->second = value;
    }
    if (options_.warn) {
        options_.warn("the setting " + std::string(key) + " holds " + std::to_string(value) + ", " + std::string(what) +
                      "; its default is used until it is set again");
    }
}

}  // namespace quendokit

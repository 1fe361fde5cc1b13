#include "quendokit/model/date_operations.hpp"
#include "quendokit/options/day_plan_internal.hpp"
#include "quendokit/options/options.hpp"
#include "quendokit/platform/services.hpp"
#include "quendokit/presets/preset_rules_internal.hpp"

namespace quendokit::preset_rules {
namespace {

Date now() {
    return platform::clock().now();
}

/// `date`, or an hour from now when that is not to come.
Date orAnHourFromNow(Date date) {
    const Date present = now();
    return date > present ? date : present + hours(1);
}

}  // namespace

Date later(Date date) {
    return orAnHourFromNow(date + Options::Later());
}

Date thisAfternoon(Date date) {
    return orAnHourFromNow(at(date, Options::Afternoon()));
}

Date thisEvening(Date date) {
    return orAnHourFromNow(at(date, Options::Evening()));
}

Date tomorrowMorning(Date date) {
    return tomorrowMorning(date, Options::Weekend());
}

Date tomorrowAfternoon(Date date) {
    return at(tomorrow(date), Options::Afternoon());
}

Date tomorrowEvening(Date date) {
    return at(tomorrow(date), Options::Evening());
}

Date thisWeekend(Date date) {
    return thisWeekend(date, Options::Weekend());
}

Date nextWeek(Date date) {
    return nextWeek(date, Options::Weekend());
}

Date inShort(Date date) {
    return date + Options::Postpone();
}

Date tomorrowMorning(Date date, const std::vector<Day>& weekend) {
    // Which morning it is follows the day after now, not the day after `date`.
    const std::int64_t morning = morningOf(now() + days(1), weekend);
    // Before the morning begins, in the small hours, tomorrow is when the person gets up.
    if (time(date) <= morning) {
        return at(date, morning);
    }
    return at(tomorrow(date), morningOf(now() + days(1), weekend));
}

Date thisWeekend(Date date, const std::vector<Day>& weekend) {
    if (isOnOneOf(weekend, date) || weekend.empty()) {
        return date + hours(1);
    }
    return at(on(now(), weekend.front().rawValue()), Options::WeekendMorning());
}

Date nextWeek(Date date, const std::vector<Day>& weekend) {
    if (weekend.empty()) {
        return date;
    }
    return at(on(now(), weekend.back().rawValue()) + days(1), Options::WorkdayMorning());
}

}  // namespace quendokit::preset_rules

#include "apps/quendo/option_change.hpp"

#include <string>
#include <utility>

#include "hostkit/day_plan_check.hpp"
#include "quendokit/options/options.hpp"

namespace quendo {
namespace {

using quendokit::Day;
using quendokit::DayPlan;
using quendokit::Options;

DayPlan planInEffect() {
    return {Options::FirstWorkday().rawValue(),
            Options::FirstWeekend().rawValue(),
            Options::WorkdayMorning(),
            Options::WeekendMorning(),
            Options::Afternoon(),
            Options::Evening(),
            Options::Later(),
            Options::Postpone()};
}

}  // namespace

std::optional<Failure> refusalOf(const OptionAssignment& assignment) {
    DayPlan plan = planInEffect();
    const auto* const day = std::get_if<Day>(&assignment.value);
    const auto* const number = std::get_if<std::int64_t>(&assignment.value);
    switch (assignment.key) {
        case OptionKey::firstWorkday:
            plan.firstWorkday = day->rawValue();
            break;
        case OptionKey::firstWeekend:
            plan.firstWeekend = day->rawValue();
            break;
        case OptionKey::workdayMorning:
            plan.workdayMorning = *number;
            break;
        case OptionKey::weekendMorning:
            plan.weekendMorning = *number;
            break;
        case OptionKey::afternoon:
            plan.afternoon = *number;
            break;
        case OptionKey::evening:
            plan.evening = *number;
            break;
        case OptionKey::later:
            plan.later = *number;
            break;
        case OptionKey::postpone:
            plan.postpone = *number;
            break;
        case OptionKey::hasMacApp:
            break;
    }
    for (std::string& flaw : quendokit::DayPlanCheck().flaws(plan)) {
        // A plan that came with flaws from elsewhere is mended one setting after the other. A flaw names its settings.
        if (flaw.find(nameOf(assignment.key)) != std::string::npos) {
            return Failure{ExitCode::usage, std::move(flaw)};
        }
    }
    return std::nullopt;
}

void assign(const OptionAssignment& assignment) {
    const auto* const day = std::get_if<Day>(&assignment.value);
    const auto* const number = std::get_if<std::int64_t>(&assignment.value);
    switch (assignment.key) {
        case OptionKey::firstWorkday:
            return Options::setFirstWorkday(*day);
        case OptionKey::firstWeekend:
            return Options::setFirstWeekend(*day);
        case OptionKey::workdayMorning:
            return Options::setWorkdayMorning(*number);
        case OptionKey::weekendMorning:
            return Options::setWeekendMorning(*number);
        case OptionKey::afternoon:
            return Options::setAfternoon(*number);
        case OptionKey::evening:
            return Options::setEvening(*number);
        case OptionKey::later:
            return Options::setLater(*number);
        case OptionKey::postpone:
            return Options::setPostpone(*number);
        case OptionKey::hasMacApp:
            return Options::setHasMacApp(std::get<std::optional<bool>>(assignment.value));
    }
}

}  // namespace quendo

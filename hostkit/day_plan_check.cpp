#include "hostkit/day_plan_check.hpp"

#include <optional>
#include <string_view>

#include "quendokit/options/options.hpp"
#include "quendokit/presets/preset_controller.hpp"

namespace quendokit {
namespace {

struct Setting {
    std::string_view name;
    std::int64_t value;
};

constexpr std::int64_t secondsOfDay = 86'400;

std::string text(std::string_view name, std::string_view what) {
    return std::string(name).append(" ").append(what);
}

std::optional<std::string> flawOfDay(Setting day) {
    if (day.value >= 1 && day.value <= 7) {
        return std::nullopt;
    }
    return text(day.name, "is no day of the week: choose 1 for Sunday to 7 for Saturday");
}

std::optional<std::string> flawOfTime(Setting time) {
    if (time.value >= 0 && time.value < secondsOfDay) {
        return std::nullopt;
    }
    return text(time.name, "is no time of day: choose one from 00:00 to 23:59:59");
}

std::optional<std::string> flawOfDuration(Setting duration) {
    if (duration.value >= 0) {
        return std::nullopt;
    }
    return text(duration.name, "is negative: choose a duration of 0 or more");
}

std::optional<std::string> flawOfTwo(Setting a, Setting b) {
    if (a.value != b.value) {
        return std::nullopt;
    }
    return text(a.name, "and ").append(b.name).append(" begin at the same time: choose another one for either");
}

}  // namespace

std::vector<std::string> DayPlanCheck::flaws(const DayPlan& plan) const {
    if (!active_) {
        return {};
    }
    const Setting workdayMorning{"workday-morning", plan.workdayMorning};
    const Setting weekendMorning{"weekend-morning", plan.weekendMorning};
    const Setting afternoon{"afternoon", plan.afternoon};
    const Setting evening{"evening", plan.evening};
    std::vector<std::string> found;
    for (auto& flaw : {
             flawOfDay({"first-workday", plan.firstWorkday}),
             flawOfDay({"first-weekend", plan.firstWeekend}),
             flawOfTime(workdayMorning),
             flawOfTime(weekendMorning),
             flawOfTime(afternoon),
             flawOfTime(evening),
             flawOfDuration({"later", plan.later}),
             flawOfDuration({"postpone", plan.postpone}),
             flawOfTwo(workdayMorning, afternoon),
             flawOfTwo(workdayMorning, evening),
             flawOfTwo(weekendMorning, afternoon),
             flawOfTwo(weekendMorning, evening),
             flawOfTwo(afternoon, evening),
         }) {
        if (flaw) {
            found.push_back(*flaw);
        }
    }
    return found;
}

bool DayPlanCheck::timesCoincideToday() const {
    const std::int64_t morning = Options::ThisMorning();
    const std::int64_t afternoon = Options::Afternoon();
    const std::int64_t evening = Options::Evening();
    return morning == afternoon || afternoon == evening || evening == morning;
}

NotificationCategory DayPlanCheck::notificationCategory(Date date) const {
    if (active_ && timesCoincideToday()) {
        return NotificationCategory::Morning;
    }
    return PresetController().notificationCategory(date);
}

}  // namespace quendokit

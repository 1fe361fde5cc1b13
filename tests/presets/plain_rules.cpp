#include "tests/presets/plain_rules.hpp"

#include <utility>
#include <variant>

namespace quendokit::testing {
namespace {

using Settings = std::map<std::string, PropertyValue, std::less<>>;

std::int64_t integer(const Settings& settings, const std::string& key, std::int64_t standard) {
    const auto found = settings.find(key);
    if (found == settings.end() || !std::holds_alternative<std::int64_t>(found->second)) {
        return standard;
    }
    return std::get<std::int64_t>(found->second);
}

/// A stored day counts on after Saturday, and in whole weeks before Sunday.
int dayOfTheWeek(std::int64_t stored) {
    while (stored > 7) {
        stored -= 7;
    }
    while (stored < 1) {
        stored += 7;
    }
    return static_cast<int>(stored);
}

}  // namespace

PlainPlan::PlainPlan(const Settings& settings)
    : firstWorkday(dayOfTheWeek(integer(settings, "quendokit.options.first-workday", 2))),
      firstWeekend(dayOfTheWeek(integer(settings, "quendokit.options.first-weekend", 7))),
      workdayMorning(integer(settings, "quendokit.options.workday-morning", 32'400)),
      weekendMorning(integer(settings, "quendokit.options.weekend-morning", 39'600)),
      afternoon(integer(settings, "quendokit.options.afternoon", 43'200)),
      evening(integer(settings, "quendokit.options.evening", 64'800)),
      later(integer(settings, "quendokit.options.later", 10'800)),
      postpone(integer(settings, "quendokit.options.postpone", 1'200)) {}

std::vector<int> PlainPlan::weekend() const {
    if (firstWeekend == firstWorkday) {
        return {2, 3, 4, 5, 6, 7, 1};
    }
    std::vector<int> days;
    for (int day = firstWeekend; day != firstWorkday; day = day == 7 ? 1 : day + 1) {
        days.push_back(day);
    }
    return days;
}

PlainRules::PlainRules(const PlainCalendar& calendar, const PlainPlan& plan, double now)
    : PlainRules(calendar, plan, now, plan.weekend()) {}

PlainRules::PlainRules(const PlainCalendar& calendar, const PlainPlan& plan, double now, std::vector<int> weekend)
    : calendar_(calendar), plan_(plan), now_(now), weekend_(std::move(weekend)) {}

std::int64_t PlainRules::time(double date) const {
    return calendar_.read(date).second;
}

std::int64_t PlainRules::timeWithoutSeconds(double date) const {
    return time(date) - time(date) % 60;
}

int PlainRules::weekday(double date) const {
    return calendar_.read(date).weekday;
}

double PlainRules::at(double date, std::int64_t time) const {
    // Whole days are not dropped: they become minutes.
    const std::int64_t hour = time / 3'600 % 24;
    const std::int64_t rest = time - hour * 3'600;
    return calendar_.dateBySettingHour(static_cast<int>(hour), rest / 60, static_cast<int>(rest % 60), date);
}

double PlainRules::tomorrow(double date) const {
    return calendar_.dateBySettingHour(0, 0, 0, date + 86'400);
}

double PlainRules::on(double date, int weekday) const {
    return calendar_.dateBySettingWeekday(dayOfTheWeek(weekday), date);
}

double PlainRules::later(double date) const {
    return unlessPast(date + static_cast<double>(plan_.later));
}

double PlainRules::thisAfternoon(double date) const {
    return unlessPast(at(date, plan_.afternoon));
}

double PlainRules::thisEvening(double date) const {
    return unlessPast(at(date, plan_.evening));
}

double PlainRules::tomorrowMorning(double date) const {
    const std::int64_t morning = tomorrowMorningTime();
    const bool hasBegun = time(date) > morning;
    return hasBegun ? at(tomorrow(date), morning) : at(date, morning);
}

double PlainRules::tomorrowAfternoon(double date) const {
    return at(tomorrow(date), plan_.afternoon);
}

double PlainRules::tomorrowEvening(double date) const {
    return at(tomorrow(date), plan_.evening);
}

double PlainRules::thisWeekend(double date) const {
    if (isWeekend(date) || weekend_.empty()) {
        return date + 3'600;
    }
    return at(on(now_, weekend_.front()), plan_.weekendMorning);
}

double PlainRules::nextWeek(double date) const {
    if (weekend_.empty()) {
        return date;
    }
    const double lastDay = on(now_, weekend_.back());
    return at(lastDay + 86'400, plan_.workdayMorning);
}

double PlainRules::shortPostpone(double date) const {
    return date + static_cast<double>(plan_.postpone);
}

std::optional<std::string> PlainRules::category(double date) const {
    const std::map<std::int64_t, std::string> parts{
        {thisMorningTime(), "quendo.postpone.category.morning"},
        {plan_.afternoon, "quendo.postpone.category.afternoon"},
        {plan_.evening, "quendo.postpone.category.evening"},
    };
    if (parts.size() < 3) {
        return std::nullopt;
    }
    for (const auto& [beginning, identifier] : parts) {
        if (beginning > time(date)) {
            return identifier;
        }
    }
    return "quendo.postpone.category.morning";
}

std::int64_t PlainRules::thisMorningTime() const {
    return morningTime(now_);
}

std::int64_t PlainRules::tomorrowMorningTime() const {
    return morningTime(now_ + 86'400);
}

std::int64_t PlainRules::nextMorningTime() const {
    const bool isAhead = thisMorningTime() > time(now_);
    return isAhead ? tomorrowMorningTime() : thisMorningTime();
}

std::int64_t PlainRules::stored(std::int64_t time) const {
    if (time >= 0) {
        return time;
    }
    const std::int64_t sum = time + this->time(now_);
    return sum < 1 ? sum + 86'400 : sum;
}

bool PlainRules::isWeekend(double date) const {
    for (const int day : weekend_) {
        if (day == weekday(date)) {
            return true;
        }
    }
    return false;
}

std::int64_t PlainRules::morningTime(double date) const {
    return isWeekend(date) ? plan_.weekendMorning : plan_.workdayMorning;
}

double PlainRules::unlessPast(double date) const {
    return date > now_ ? date : now_ + 3'600;
}

}  // namespace quendokit::testing

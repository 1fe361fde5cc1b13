#pragma once
/// \file
/// `PlainRules`, the rules of presets, notifications and mornings once more, in words as plain as possible.

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "quendokit/platform/property_value.hpp"
#include "tests/presets/plain_calendar.hpp"

namespace quendokit::testing {

/// A day plan as the settings hold it. Days are 1 for Sunday to 7 for Saturday.
struct PlainPlan {
    /// Settings by their keys, as the person's device stores them; what is missing or of the wrong kind is the default.
    explicit PlainPlan(const std::map<std::string, PropertyValue, std::less<>>& settings);

    int firstWorkday;
    int firstWeekend;
    std::int64_t workdayMorning;
    std::int64_t weekendMorning;
    std::int64_t afternoon;
    std::int64_t evening;
    std::int64_t later;
    std::int64_t postpone;

    /// From the first day up to the first workday; all, from Monday on, when both are the same.
    [[nodiscard]] std::vector<int> weekend() const;
};

/// The rules at one moment. Dates are seconds since 1970 UTC. Refers to the calendar and the plan.
class PlainRules {
public:
    /// On the weekend of the plan.
    PlainRules(const PlainCalendar& calendar, const PlainPlan& plan, double now);
    /// On another one, which may be empty.
    PlainRules(const PlainCalendar& calendar, const PlainPlan& plan, double now, std::vector<int> weekend);

    // The date operations.
    [[nodiscard]] std::int64_t time(double date) const;
    [[nodiscard]] std::int64_t timeWithoutSeconds(double date) const;
    [[nodiscard]] int weekday(double date) const;
    [[nodiscard]] double at(double date, std::int64_t time) const;
    [[nodiscard]] double tomorrow(double date) const;
    [[nodiscard]] double on(double date, int weekday) const;

    // The presets that compute something.
    [[nodiscard]] double later(double date) const;
    [[nodiscard]] double thisAfternoon(double date) const;
    [[nodiscard]] double thisEvening(double date) const;
    [[nodiscard]] double tomorrowMorning(double date) const;
    [[nodiscard]] double tomorrowAfternoon(double date) const;
    [[nodiscard]] double tomorrowEvening(double date) const;
    [[nodiscard]] double thisWeekend(double date) const;
    [[nodiscard]] double nextWeek(double date) const;
    [[nodiscard]] double shortPostpone(double date) const;

    /// The identifier of the category. Absent when two times of day are equal.
    [[nodiscard]] std::optional<std::string> category(double date) const;

    [[nodiscard]] std::int64_t thisMorningTime() const;
    [[nodiscard]] std::int64_t tomorrowMorningTime() const;
    [[nodiscard]] std::int64_t nextMorningTime() const;

    /// What is stored when `time` is written to a setting.
    [[nodiscard]] std::int64_t stored(std::int64_t time) const;

private:
    [[nodiscard]] bool isWeekend(double date) const;
    [[nodiscard]] std::int64_t morningTime(double date) const;
    [[nodiscard]] double unlessPast(double date) const;

    const PlainCalendar& calendar_;
    const PlainPlan& plan_;
    const double now_;
    const std::vector<int> weekend_;
};

}  // namespace quendokit::testing

#include "quendokit/model/date_operations.hpp"

#include <optional>
#include <string>
#include <string_view>

#include "quendokit/model/day.hpp"
#include "quendokit/platform/calendar.hpp"
#include "quendokit/platform/fatal_error.hpp"

namespace quendokit {
namespace {

template <typename Answer>
Answer present(const std::optional<Answer>& answer, std::string_view question) {
    if (!answer) {
        fatalError("the calendar has no answer: " + std::string(question));
    }
    return *answer;
}

TimeComponents timeComponents(Date date) {
    return present(Calendar::current().timeComponents(date), "the time of day of a date");
}

}  // namespace

Date at(Date date, std::int64_t time) {
    const std::int64_t hour = time / 3600 % 24;
    // A surplus of whole days stays in the minutes.
    const std::int64_t rest = time - hour * 3600;
    return present(
        Calendar::current().dateBySettingHour(static_cast<int>(hour), rest / 60, static_cast<int>(rest % 60), date),
        "a time of day to set");
}

std::int64_t time(Date date) {
    const TimeComponents time = timeComponents(date);
    return hours(time.hour) + minutes(time.minute) + time.second;
}

std::int64_t timeWithoutSeconds(Date date) {
    const TimeComponents time = timeComponents(date);
    return hours(time.hour) + minutes(time.minute);
}

Date tomorrow(Date date) {
    return present(Calendar::current().dateBySettingHour(0, 0, 0, date + days(1)), "the midnight after a date");
}

Date on(Date date, std::int64_t weekday) {
    return present(Calendar::current().dateBySettingWeekday(static_cast<int>(validDayLiteral(weekday)), date),
                   "a day of the week to set");
}

std::int64_t weekday(Date date) {
    return present(Calendar::current().weekday(date), "the day of the week of a date");
}

}  // namespace quendokit

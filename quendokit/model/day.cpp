#include "quendokit/model/day.hpp"

#include <memory>

#include "quendokit/model/checked_arithmetic.hpp"
#include "quendokit/platform/fatal_error.hpp"
#include "quendokit/platform/locale.hpp"
#include "quendokit/platform/world_internal.hpp"

namespace quendokit {
namespace {

std::shared_ptr<std::vector<std::string>> makeWeekdayNames() {
    return std::make_shared<std::vector<std::string>>(Locale::current().standaloneWeekdaySymbols());
}

const platform::OncePerProcess<std::vector<std::string>> names;

Day dayAfter(Day day) {
    return *Day::fromRawValue(day.rawValue() % 7 + 1);
}

}  // namespace

std::int64_t validDayLiteral(std::int64_t value) {
    return value - 7 * (checkedSubtract(value, 1) / 7);
}

Day Day::fromIntegerLiteral(std::int64_t value) {
    if (value < 1) {
        fatalError("no day of the week has the number " + std::to_string(value));
    }
    return *fromRawValue(validDayLiteral(value));
}

const std::string& Day::string() const {
    const auto index = static_cast<std::size_t>(rawValue() - 1);
    if (index >= weekdayNames().size()) {
        fatalError("the locale has no name for day " + std::to_string(rawValue()) + " of the week");
    }
    return weekdayNames()[index];
}

const std::vector<Day>& Day::Weekend() {
    static const std::vector<Day> days{saturday, sunday};
    return days;
}

const std::vector<Day>& Day::Workdays() {
    static const std::vector<Day> days{monday, tuesday, wednesday, thursday, friday};
    return days;
}

const std::vector<Day>& Day::All() {
    static const std::vector<Day> days{monday, tuesday, wednesday, thursday, friday, saturday, sunday};
    return days;
}

const std::vector<Day>& Day::None() {
    static const std::vector<Day> days;
    return days;
}

std::vector<Day> Day::range(Day from, Day to) {
    if (from == to) {
        return All();
    }
    std::vector<Day> days;
    days.reserve(6);
    for (Day day = from; day != to; day = dayAfter(day)) {
        days.push_back(day);
    }
    return days;
}

const std::vector<std::string>& weekdayNames() {
    return names.get(makeWeekdayNames);
}

}  // namespace quendokit

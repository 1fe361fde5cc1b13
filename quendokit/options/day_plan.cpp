#include <algorithm>

#include "quendokit/model/date_operations.hpp"
#include "quendokit/options/day_plan_internal.hpp"
#include "quendokit/options/options.hpp"

namespace quendokit {

bool isOnOneOf(const std::vector<Day>& days, Date date) {
    const Day day = Day::fromIntegerLiteral(weekday(date));
    return std::find(days.begin(), days.end(), day) != days.end();
}

std::int64_t morningOf(Date date, const std::vector<Day>& weekend) {
    return isOnOneOf(weekend, date) ? Options::WeekendMorning() : Options::WorkdayMorning();
}

}  // namespace quendokit

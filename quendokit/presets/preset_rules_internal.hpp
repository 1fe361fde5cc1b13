#pragma once
/// \file
/// The rules of the presets. All read the clock, the calendar and the day plan when they are called. Any thread.

#include <vector>

#include "quendokit/model/day.hpp"
#include "quendokit/platform/date.hpp"

/// `date` is the moment that a rule starts from: now, or when the reminder was due.
namespace quendokit::preset_rules {

[[nodiscard]] Date later(Date date);
[[nodiscard]] Date thisAfternoon(Date date);
[[nodiscard]] Date thisEvening(Date date);
[[nodiscard]] Date tomorrowMorning(Date date);
[[nodiscard]] Date tomorrowAfternoon(Date date);
[[nodiscard]] Date tomorrowEvening(Date date);
[[nodiscard]] Date thisWeekend(Date date);
[[nodiscard]] Date nextWeek(Date date);
[[nodiscard]] Date inShort(Date date);

// The settings cannot say that there is no weekend; these can. `weekend` holds its days in order.

[[nodiscard]] Date tomorrowMorning(Date date, const std::vector<Day>& weekend);
[[nodiscard]] Date thisWeekend(Date date, const std::vector<Day>& weekend);
[[nodiscard]] Date nextWeek(Date date, const std::vector<Day>& weekend);

}  // namespace quendokit::preset_rules

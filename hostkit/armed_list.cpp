#include "hostkit/armed_list.hpp"

#include <cmath>
#include <limits>

#include "hostkit/due_reminders_internal.hpp"

namespace quendokit {

std::vector<ArmedReminder> armedReminders(const ReminderController& controller, Date now) {
    // One that is due at this very instant has not rung yet.
    const Date before(std::nextafter(now.timeIntervalSince1970(), -std::numeric_limits<double>::infinity()));
    return remindersAt(controller, now, before).armed;
}

}  // namespace quendokit

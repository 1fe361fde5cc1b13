#include "hostkit/late_postpone.hpp"

#include "quendokit/model/date_operations.hpp"

namespace quendokit {

ReminderCondition postponedCondition(const Preset& preset, std::optional<Date> from, Date now, bool again) {
    const auto hasPassed = [now](const ReminderCondition& condition) {
        const auto date = condition.date();
        return date && *date <= now;
    };
    ReminderCondition condition = preset.configuration(from.value_or(now));
    if (again && hasPassed(condition)) {
        condition = preset.configuration(now);
        if (hasPassed(condition)) {
            condition = preset.configuration(now + 1);
        }
    }
    return condition;
}

}  // namespace quendokit

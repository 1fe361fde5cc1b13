#pragma once
/// \file
/// `DayPlanCheck`, whether a day plan can be meant.

#include <cstdint>
#include <string>
#include <vector>

#include "quendokit/platform/date.hpp"
#include "quendokit/platform/export.hpp"
#include "quendokit/presets/notification_category.hpp"

namespace quendokit {

/// The numbers of a day plan as they are stored. Plain value; begins with what everyone begins with.
struct DayPlan {
    /// 1 for Sunday to 7 for Saturday.
    std::int64_t firstWorkday = 2;
    std::int64_t firstWeekend = 7;
    /// Seconds since midnight.
    std::int64_t workdayMorning = 32'400;
    std::int64_t weekendMorning = 39'600;
    std::int64_t afternoon = 43'200;
    std::int64_t evening = 64'800;
    /// Seconds.
    std::int64_t later = 10'800;
    std::int64_t postpone = 1'200;
};

/// Checks day plans, and keeps a plan that cannot be meant from ending the process. Any thread.
class QUENDOKIT_EXPORT DayPlanCheck {
public:
    /// A check that is not `active` finds nothing and keeps nothing from the engine.
    explicit DayPlanCheck(bool active = true) : active_(active) {}

    /// What is wrong with `plan`: each a line that names the settings and says what to choose. Empty when it can be
    /// meant.
    ///
    /// Wrong are a day that is not 1 to 7, a time that is not 0 to 86,399, a negative duration, and two of morning,
    /// afternoon and evening at the same time, be it with the morning of workdays or with that of weekend days. The two
    /// mornings may be equal, as they never meet. Both count whatever the days are, so that a change of the days alone
    /// is never refused.
    [[nodiscard]] std::vector<std::string> flaws(const DayPlan& plan) const;

    /// Whether two of this day's morning, afternoon and evening begin at the same time. Asks `Options`.
    [[nodiscard]] bool timesCoincideToday() const;

    /// The engine's category for a notification that fires at `date`; `NotificationCategory::Morning` while two times
    /// of this day coincide, where asking the engine would end the process.
    [[nodiscard]] NotificationCategory notificationCategory(Date date) const;

private:
    bool active_;
};

}  // namespace quendokit

#include "quendokit/presets/preset_controller.hpp"

#include <algorithm>
#include <array>
#include <utility>

#include "quendokit/model/date_operations.hpp"
#include "quendokit/options/day_plan_internal.hpp"
#include "quendokit/options/options.hpp"
#include "quendokit/platform/fatal_error.hpp"
#include "quendokit/platform/services.hpp"
#include "quendokit/presets/preset_rules_internal.hpp"

namespace quendokit {
namespace {

template <Date (*rule)(Date)>
ReminderCondition atTheDateOf(Date date) {
    return ReminderCondition::dateTime(rule(date));
}

ReminderCondition onMac(Date) {
    return ReminderCondition::device(DeviceType::mac);
}

constexpr std::array<std::string_view, 10> events{
    "added_later",
    "added_this_afternoon",
    "added_this_evening",
    "added_tomorrow_morning",
    "added_tomorrow_afternoon",
    "added_tomorrow_evening",
    "added_this_weekend",
    "added_next_week",
    "added_custom_date",
    "added_on_my_mac",
};

}  // namespace

Preset PresetController::Later() const {
    return {Names::Later(), PresetType::later, atTheDateOf<preset_rules::later>};
}

Preset PresetController::ThisAfternoon() const {
    return {Names::ThisAfternoon(), PresetType::afternoon, atTheDateOf<preset_rules::thisAfternoon>};
}

Preset PresetController::ThisEvening() const {
    return {Names::ThisEvening(), PresetType::evening, atTheDateOf<preset_rules::thisEvening>};
}

Preset PresetController::TomorrowMorning() const {
    return {Names::TomorrowMorning(), PresetType::morning, atTheDateOf<preset_rules::tomorrowMorning>};
}

Preset PresetController::TomorrowAfternoon() const {
    return {Names::TomorrowAfternoon(), PresetType::afternoon, atTheDateOf<preset_rules::tomorrowAfternoon>};
}

Preset PresetController::TomorrowEvening() const {
    return {Names::TomorrowEvening(), PresetType::evening, atTheDateOf<preset_rules::tomorrowEvening>};
}

Preset PresetController::ThisWeekend() const {
    return {Names::ThisWeekend(), PresetType::weekend, atTheDateOf<preset_rules::thisWeekend>};
}

Preset PresetController::NextWeek() const {
    return {Names::NextWeek(), PresetType::week, atTheDateOf<preset_rules::nextWeek>};
}

Preset PresetController::Custom() const {
    return {Names::Custom(), PresetType::custom, ReminderCondition::dateTime};
}

Preset PresetController::Mac() const {
    return {Names::Mac(), PresetType::mac, onMac};
}

Preset PresetController::Short() const {
    return {"", PresetType::custom, atTheDateOf<preset_rules::inShort>};
}

std::vector<Preset> PresetController::presets() const {
    return {Later(),           ThisAfternoon(), ThisEvening(), TomorrowMorning(), TomorrowAfternoon(),
            TomorrowEvening(), ThisWeekend(),   NextWeek(),    Custom(),          Mac()};
}

NotificationCategory PresetController::notificationCategory(Date date) const {
    std::array<std::pair<std::int64_t, NotificationCategory>, 3> beginnings{{
        {morningOf(platform::clock().now(), Options::Weekend()), NotificationCategory::Morning},
        {Options::Afternoon(), NotificationCategory::Afternoon},
        {Options::Evening(), NotificationCategory::Evening},
    }};
    std::sort(beginnings.begin(), beginnings.end(), [](const auto& a, const auto& b) { return a.first < b.first; });
    if (beginnings[0].first == beginnings[1].first || beginnings[1].first == beginnings[2].first) {
        fatalError("two of morning, afternoon and evening begin at the same time of day");
    }
    const std::int64_t timeOfDay = time(date);
    for (const auto& [beginning, category] : beginnings) {
        if (beginning > timeOfDay) {
            return category;
        }
    }
    return NotificationCategory::Morning;
}

Preset PresetController::postpone(NotificationAction action) const {
    switch (static_cast<NotificationAction::Case>(action)) {
        case NotificationAction::Short:
            return Short();
        case NotificationAction::Later:
            return Later();
        case NotificationAction::Morning:
            return TomorrowMorning();
        case NotificationAction::Afternoon:
            return ThisAfternoon();
        case NotificationAction::Evening:
            break;
    }
    return ThisEvening();
}

std::string_view PresetController::eventName(std::int64_t index) const {
    if (index < 0 || index >= static_cast<std::int64_t>(events.size())) {
        return "!? added_mystery";
    }
    return events[static_cast<std::size_t>(index)];
}

}  // namespace quendokit

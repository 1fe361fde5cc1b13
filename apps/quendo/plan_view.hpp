#pragma once
/// \file
/// The day plan, the presets and the buttons as the program shows them.

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "quendokit/model/day.hpp"
#include "quendokit/model/reminder_condition.hpp"
#include "quendokit/platform/date.hpp"
#include "quendokit/presets/notification_action.hpp"
#include "quendokit/presets/notification_category.hpp"
#include "quendokit/presets/preset.hpp"

namespace quendo {

/// What a preset gives for a moment.
struct PresetView {
    std::string name;
    quendokit::PresetType type;
    quendokit::ReminderCondition condition;
};

/// What all presets give for a moment.
struct PresetsView {
    quendokit::Date now;
    /// The moment from which they reckon.
    quendokit::Date from;
    /// Of a notification that fires at `from`; absent while two times of the day plan coincide.
    std::optional<quendokit::NotificationCategory> category;
    /// By their index.
    std::vector<PresetView> presets;
    PresetView inShort;
};

/// A postpone button.
struct ActionView {
    quendokit::NotificationAction action;
    std::string title;
    std::string presetName;
    quendokit::PresetType presetType;
};

/// The settings in effect, and what follows from them.
struct OptionsView {
    quendokit::Day firstWorkday;
    quendokit::Day firstWeekend;
    std::int64_t workdayMorning;
    std::int64_t weekendMorning;
    std::int64_t afternoon;
    std::int64_t evening;
    std::int64_t later;
    std::int64_t postpone;
    std::optional<bool> hasMacApp;

    std::vector<quendokit::Day> workdays;
    std::vector<quendokit::Day> weekend;
    std::int64_t thisMorning;
    std::int64_t tomorrowMorning;
    std::int64_t nextMorning;
};

/// The kind as the host's documents call it: "later", "morning", "custom".
[[nodiscard]] std::string nameOf(quendokit::PresetType type);

/// Of the installed services. Any thread.
[[nodiscard]] PresetsView viewPresets(quendokit::Date now, quendokit::Date from);
[[nodiscard]] std::vector<ActionView> viewActions();
[[nodiscard]] OptionsView viewOptions();

}  // namespace quendo

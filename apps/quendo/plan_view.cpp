#include "apps/quendo/plan_view.hpp"

#include "hostkit/day_plan_check.hpp"
#include "quendokit/options/options.hpp"
#include "quendokit/presets/preset_controller.hpp"

namespace quendo {
namespace {

using quendokit::Date;
using quendokit::NotificationAction;
using quendokit::Options;
using quendokit::Preset;
using quendokit::PresetController;
using quendokit::PresetType;

PresetView viewOf(const Preset& preset, Date from) {
    return {preset.name, preset.type, preset.configuration(from)};
}

}  // namespace

std::string nameOf(PresetType type) {
    switch (type) {
        case PresetType::later:
            return "later";
        case PresetType::afternoon:
            return "afternoon";
        case PresetType::evening:
            return "evening";
        case PresetType::morning:
            return "morning";
        case PresetType::weekend:
            return "weekend";
        case PresetType::week:
            return "week";
        case PresetType::custom:
            return "custom";
        case PresetType::mac:
            return "mac";
    }
    return "";
}

PresetsView viewPresets(Date now, Date from) {
    const PresetController controller;
    PresetsView view{now, from, std::nullopt, {}, viewOf(controller.Short(), from)};
    for (const Preset& preset : controller.presets()) {
        view.presets.push_back(viewOf(preset, from));
    }
    // Asking for a category while two times coincide would end the program.
    if (!quendokit::DayPlanCheck().timesCoincideToday()) {
        view.category = controller.notificationCategory(from);
    }
    return view;
}

std::vector<ActionView> viewActions() {
    const PresetController controller;
    std::vector<ActionView> views;
    for (const NotificationAction action :
         {NotificationAction::Short, NotificationAction::Later, NotificationAction::Morning,
          NotificationAction::Afternoon, NotificationAction::Evening}) {
        const Preset preset = controller.postpone(action);
        views.push_back({action, action.name(), preset.name, preset.type});
    }
    return views;
}

OptionsView viewOptions() {
    return {Options::FirstWorkday(),    Options::FirstWeekend(), Options::WorkdayMorning(), Options::WeekendMorning(),
            Options::Afternoon(),       Options::Evening(),      Options::Later(),          Options::Postpone(),
            Options::HasMacApp(),       Options::Workdays(),     Options::Weekend(),        Options::ThisMorning(),
            Options::TomorrowMorning(), Options::NextMorning()};
}

}  // namespace quendo

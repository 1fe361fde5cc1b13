#include "apps/quendo/render_json.hpp"

#include <cstdint>

#include <nlohmann/json.hpp>

#include "apps/quendo/json_values.hpp"
#include "apps/quendo/option_assignment.hpp"
#include "quendokit/presets/preset_controller.hpp"
#include "quendokit/store/quendokit_config.hpp"

namespace quendo::json {
namespace {

/// Bytes of a title that are not UTF-8 become replacement characters: the document is always valid.
std::string asText(const Json& document) {
    return document.dump(2, ' ', false, Json::error_handler_t::replace);
}

Json preset(const PresetView& view, const quendokit::LocalTimeZone& zone) {
    return {{"name", view.name}, {"type", nameOf(view.type)}, {"condition", condition(view.condition, zone)}};
}

Json numbers(const std::vector<quendokit::Day>& days) {
    Json list = Json::array();
    for (const quendokit::Day day : days) {
        list.push_back(day.rawValue());
    }
    return list;
}

}  // namespace

std::string reminder(const ReminderView& view, const quendokit::LocalTimeZone& zone) {
    return asText(object(view, zone));
}

std::string reminders(const std::vector<ReminderView>& views, const quendokit::LocalTimeZone& zone) {
    Json list = Json::array();
    for (const ReminderView& view : views) {
        list.push_back(object(view, zone));
    }
    return asText(list);
}

std::string identifiers(const std::vector<ReminderView>& views) {
    Json list = Json::array();
    for (const ReminderView& view : views) {
        list.push_back(view.id);
    }
    return asText(list);
}

std::string stats(const quendokit::ReminderStats& stats) {
    return asText({{"pending", stats.pending}, {"passed", stats.passed}});
}

std::string count(const char* what, std::size_t number) {
    return asText(Json::object({{what, number}}));
}

std::string presets(const PresetsView& view, const quendokit::LocalTimeZone& zone) {
    Json list = Json::array();
    for (std::size_t index = 0; index < view.presets.size(); ++index) {
        const PresetView& each = view.presets[index];
        list.push_back({{"index", index},
                        {"name", each.name},
                        {"type", nameOf(each.type)},
                        {"event", quendokit::PresetController().eventName(static_cast<std::int64_t>(index))},
                        {"condition", condition(each.condition, zone)}});
    }
    return asText({
        {"now", time(view.now, zone)},
        {"for", time(view.from, zone)},
        {"category", view.category ? Json(view.category->rawValue()) : Json(nullptr)},
        {"presets", list},
        {"short", preset(view.inShort, zone)},
    });
}

std::string actions(const std::vector<ActionView>& views) {
    Json list = Json::array();
    for (const ActionView& view : views) {
        list.push_back({{"id", view.action.rawValue()},
                        {"event", view.action.event()},
                        {"name", view.title},
                        {"preset", {{"name", view.presetName}, {"type", nameOf(view.presetType)}}}});
    }
    return asText(list);
}

std::string options(const OptionsView& view) {
    return asText({
        {nameOf(OptionKey::firstWorkday), view.firstWorkday.rawValue()},
        {nameOf(OptionKey::firstWeekend), view.firstWeekend.rawValue()},
        {nameOf(OptionKey::workdayMorning), view.workdayMorning},
        {nameOf(OptionKey::weekendMorning), view.weekendMorning},
        {nameOf(OptionKey::afternoon), view.afternoon},
        {nameOf(OptionKey::evening), view.evening},
        {nameOf(OptionKey::later), view.later},
        {nameOf(OptionKey::postpone), view.postpone},
        {nameOf(OptionKey::hasMacApp), view.hasMacApp ? Json(*view.hasMacApp) : Json(nullptr)},
        {"workdays", numbers(view.workdays)},
        {"weekend", numbers(view.weekend)},
        {"this-morning", view.thisMorning},
        {"tomorrow-morning", view.tomorrowMorning},
        {"next-morning", view.nextMorning},
    });
}

std::string findings(const std::vector<Finding>& findings) {
    Json list = Json::array();
    for (const Finding& finding : findings) {
        list.push_back({{"check", finding.check}, {"ok", finding.ok}, {"detail", finding.detail}});
    }
    return asText(list);
}

std::string version() {
    return asText({{"version", QUENDO_VERSION}, {"schema", quendokit::reminderSchemaVersion}});
}

}  // namespace quendo::json

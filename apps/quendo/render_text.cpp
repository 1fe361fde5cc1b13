#include "apps/quendo/render_text.hpp"

#include <cstddef>
#include <cstdint>
#include <utility>

#include <fmt/format.h>

#include "apps/quendo/escaped_text.hpp"
#include "apps/quendo/identifiers.hpp"
#include "apps/quendo/text_table.hpp"
#include "apps/quendo/when.hpp"
#include "quendokit/options/options.hpp"
#include "quendokit/store/quendokit_config.hpp"

namespace quendo::plain {
namespace {

using quendokit::LocalTimeZone;
using quendokit::ReminderList;

std::string conditionText(const quendokit::ReminderCondition& condition, const LocalTimeZone& zone) {
    const auto date = condition.date();
    return date ? whenText(*date, zone) : "at your Mac";
}

std::string moment(const ReminderView& view, const LocalTimeZone& zone) {
    return conditionText(view.condition, zone);
}

std::string_view headingOf(const std::optional<ReminderList>& list) {
    if (!list) {
        return "Due right now";
    }
    switch (*list) {
        case ReminderList::mac:
            return "At your Mac";
        case ReminderList::upcoming:
            return "Upcoming";
        case ReminderList::remaining:
            return "Passed";
    }
    return "";
}

std::string timeOfDayText(std::int64_t time) {
    if (time < 0 || time > 86'400) {
        return fmt::format("{} s", time);
    }
    const auto text = fmt::format("{:02}:{:02}", time / 3600, time / 60 % 60);
    return time % 60 == 0 ? text : fmt::format("{}:{:02}", text, time % 60);
}

std::string durationText(std::int64_t duration) {
    if (duration <= 0) {
        return fmt::format("{} s", duration);
    }
    std::string text;
    for (const auto& [seconds, letter] :
         {std::pair<std::int64_t, char>(86'400, 'd'), {3'600, 'h'}, {60, 'm'}, {1, 's'}}) {
        if (duration >= seconds) {
            text += fmt::format("{}{}", duration / seconds, letter);
            duration %= seconds;
        }
    }
    return text;
}

std::string valueText(OptionKey key, const OptionsView& view) {
    switch (key) {
        case OptionKey::firstWorkday:
            return view.firstWorkday.string();
        case OptionKey::firstWeekend:
            return view.firstWeekend.string();
        case OptionKey::workdayMorning:
            return timeOfDayText(view.workdayMorning);
        case OptionKey::weekendMorning:
            return timeOfDayText(view.weekendMorning);
        case OptionKey::afternoon:
            return timeOfDayText(view.afternoon);
        case OptionKey::evening:
            return timeOfDayText(view.evening);
        case OptionKey::later:
            return durationText(view.later);
        case OptionKey::postpone:
            return durationText(view.postpone);
        case OptionKey::hasMacApp:
            break;
    }
    return !view.hasMacApp ? "none" : *view.hasMacApp ? "true" : "false";
}

/// The name of a setting for a person; the last one has none in the engine.
std::string labelOf(OptionKey key) {
    using Name = quendokit::Options::Name;
    switch (key) {
        case OptionKey::firstWorkday:
            return Name::FirstWorkday();
        case OptionKey::firstWeekend:
            return Name::FirstWeekend();
        case OptionKey::workdayMorning:
            return Name::WorkdayMorning();
        case OptionKey::weekendMorning:
            return Name::WeekendMorning();
        case OptionKey::afternoon:
            return Name::Afternooon();
        case OptionKey::evening:
            return Name::Evening();
        case OptionKey::later:
            return Name::Later();
        case OptionKey::postpone:
            return Name::Postpone();
        case OptionKey::hasMacApp:
            break;
    }
    return "The Mac has the application";
}

std::string joined(const std::vector<std::string>& lines) {
    return fmt::format("{}", fmt::join(lines, "\n"));
}

/// A reminder's row in the listing.
Row listed(const ReminderView& view, const std::string& identifier, const LocalTimeZone& zone, const Style& style) {
    const bool gone = view.deleted || view.list == ReminderList::remaining;
    const Emphasis emphasis = gone ? Emphasis::faint : Emphasis::none;
    Row row{{escapedText(identifier), emphasis}};
    std::string title = escapedText(view.title);
    if (view.condition.date() && style.columns) {
        row.push_back({moment(view, zone), emphasis});
    } else if (view.condition.date()) {
        // Scripts that cut lines apart find the title two blanks behind the moment, however long that is.
        title = moment(view, zone) + "  " + title;
    }
    row.push_back({std::move(title), emphasis, view.deleted ? "  (deleted)" : ""});
    return row;
}

}  // namespace

std::string reminder(const ReminderView& view, const LocalTimeZone& zone) {
    return joined({
        fmt::format("Title:  {}", escapedText(view.title)),
        fmt::format("When:   {}", moment(view, zone)),
        fmt::format("State:  {}{}{}{}", headingOf(view.list), view.shown ? ", seen" : "",
                    view.deleted ? ", deleted here" : "", view.pending ? ", not yet in the cloud" : ""),
        fmt::format("ID:     {}", escapedText(view.id)),
    });
}

std::string reminders(const std::vector<ReminderView>& views, const LocalTimeZone& zone, const Style& style) {
    if (views.empty()) {
        return "No reminders.";
    }
    const auto identifiers = shortIdentifiers(views);
    std::vector<Row> rows;
    rows.reserve(views.size());
    for (std::size_t i = 0; i < views.size(); ++i) {
        rows.push_back(listed(views[i], identifiers[i], zone, style));
    }
    const auto lines = aligned(rows, style, 2);
    std::vector<std::string> listing;
    for (std::size_t i = 0; i < views.size(); ++i) {
        if (i == 0 || views[i].list != views[i - 1].list) {
            listing.push_back(style.marked(Emphasis::heading, std::string(headingOf(views[i].list))));
        }
        listing.push_back(lines[i]);
    }
    return joined(listing);
}

std::string presets(const PresetsView& view, const LocalTimeZone& zone, const Style& style) {
    std::vector<Row> rows;
    for (std::size_t index = 0; index < view.presets.size(); ++index) {
        const PresetView& each = view.presets[index];
        // Of the choices, one asks the person for its date.
        const bool asks = each.type == quendokit::PresetType::custom;
        rows.push_back({{fmt::format("{}", index)},
                        {each.name},
                        {asks ? "the date that you give with --at" : conditionText(each.condition, zone),
                         asks ? Emphasis::faint : Emphasis::none}});
    }
    auto lines = aligned(rows, style);
    if (view.from != view.now) {
        lines.insert(lines.begin(),
                     style.marked(Emphasis::heading, fmt::format("From {}:", whenText(view.from, zone))));
    }
    return joined(lines);
}

std::string actions(const std::vector<ActionView>& views, const Style& style) {
    std::vector<Row> rows;
    rows.reserve(views.size());
    for (const ActionView& view : views) {
        const std::string_view event = view.action.event();
        rows.push_back({{std::string(event.substr(event.find('_') + 1))}, {view.title}});
    }
    return joined(aligned(rows, style));
}

std::string options(const OptionsView& view, const Style& style) {
    std::vector<Row> rows;
    for (const OptionKey key : allOptionKeys()) {
        rows.push_back({{std::string(nameOf(key))}, {valueText(key, view)}, {labelOf(key), Emphasis::faint}});
    }
    return joined(aligned(rows, style));
}

std::string option(OptionKey key, const OptionsView& view) {
    return valueText(key, view);
}

std::string findings(const std::vector<Finding>& findings, const Style& style) {
    std::vector<std::string> lines;
    lines.reserve(findings.size());
    for (const Finding& finding : findings) {
        const std::string verdict =
            finding.ok ? style.marked(Emphasis::good, "ok") + "    " : style.marked(Emphasis::bad, "FAILED");
        // Never cut: its end says what to do.
        lines.push_back(fmt::format("{}  {:<10} {}", verdict, finding.check, escapedText(finding.detail)));
    }
    return joined(lines);
}

std::string version() {
    return fmt::format("quendo {} (schema {})", QUENDO_VERSION, quendokit::reminderSchemaVersion);
}

}  // namespace quendo::plain

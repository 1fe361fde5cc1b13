#include "apps/quendo/render_text.hpp"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cwchar>
#include <utility>

#include <fmt/format.h>

#include "apps/quendo/escaped_text.hpp"
#include "apps/quendo/identifiers.hpp"
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

/// The terminal's columns that `text` takes; its bytes where it is no text of the locale.
std::size_t widthOf(const std::string& text) {
    std::size_t columns = 0;
    std::mbstate_t state{};
    for (std::size_t i = 0; i < text.size();) {
        wchar_t character = 0;
        const std::size_t length = std::mbrtowc(&character, text.data() + i, text.size() - i, &state);
        const int width = length > 0 && length <= text.size() - i ? wcwidth(character) : -1;
        if (width < 0) {
            return text.size();
        }
        columns += static_cast<std::size_t>(width);
        i += length;
    }
    return columns;
}

/// Rows of cells under each other, two blanks between them.
std::vector<std::string> aligned(const std::vector<std::vector<std::string>>& rows) {
    std::vector<std::size_t> widths;
    for (const auto& row : rows) {
        widths.resize(std::max(widths.size(), row.size()));
        for (std::size_t i = 0; i < row.size(); ++i) {
            widths[i] = std::max(widths[i], widthOf(row[i]));
        }
    }
    std::vector<std::string> lines;
    for (const auto& row : rows) {
        std::string line;
        for (std::size_t i = 0; i < row.size(); ++i) {
            const bool last = i + 1 == row.size();
            line += row[i] + (last ? "" : std::string(widths[i] - widthOf(row[i]) + 2, ' '));
        }
        lines.push_back(std::move(line));
    }
    return lines;
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

}  // namespace

std::string stored(const ReminderView& view, const LocalTimeZone& zone) {
    const std::string when = view.condition.date() ? "for " + moment(view, zone) : "for your next arrival at your Mac";
    return fmt::format("Stored \"{}\" {} ({}).", escapedText(view.title), when, shortIdentifiers({view}).front());
}

std::string reminder(const ReminderView& view, const LocalTimeZone& zone) {
    return joined({
        fmt::format("Title:  {}", escapedText(view.title)),
        fmt::format("When:   {}", moment(view, zone)),
        fmt::format("State:  {}{}{}{}", headingOf(view.list), view.shown ? ", seen" : "",
                    view.deleted ? ", deleted here" : "", view.pending ? ", not yet in the cloud" : ""),
        fmt::format("ID:     {}", escapedText(view.id)),
    });
}

std::string reminders(const std::vector<ReminderView>& views, const LocalTimeZone& zone) {
    if (views.empty()) {
        return "No reminders.";
    }
    const auto identifiers = shortIdentifiers(views);
    const std::size_t width =
        std::max_element(identifiers.begin(), identifiers.end(), [](const auto& a, const auto& b) {
            return a.size() < b.size();
        })->size();
    std::vector<std::string> lines;
    for (std::size_t i = 0; i < views.size(); ++i) {
        const ReminderView& view = views[i];
        if (i == 0 || view.list != views[i - 1].list) {
            lines.emplace_back(headingOf(view.list));
        }
        const std::string when = view.condition.date() ? moment(view, zone) + "  " : "";
        lines.push_back(fmt::format("  {:<{}}  {}{}{}", escapedText(identifiers[i]), width, when,
                                    escapedText(view.title), view.deleted ? "  (deleted)" : ""));
    }
    return joined(lines);
}

std::string deleted(const std::vector<ReminderView>& views) {
    std::vector<std::string> lines;
    lines.reserve(views.size());
    for (const ReminderView& view : views) {
        lines.push_back(fmt::format("Deleted \"{}\".", escapedText(view.title)));
    }
    return joined(lines);
}

std::string presets(const PresetsView& view, const LocalTimeZone& zone) {
    std::vector<std::vector<std::string>> rows;
    for (std::size_t index = 0; index < view.presets.size(); ++index) {
        const PresetView& each = view.presets[index];
        // Of the choices, one asks the person for its date.
        const bool asks = each.type == quendokit::PresetType::custom;
        rows.push_back({fmt::format("{}", index), each.name,
                        asks ? "the date that you give with --at" : conditionText(each.condition, zone)});
    }
    auto lines = aligned(rows);
    if (view.from != view.now) {
        lines.insert(lines.begin(), fmt::format("From {}:", whenText(view.from, zone)));
    }
    return joined(lines);
}

std::string actions(const std::vector<ActionView>& views) {
    std::vector<std::vector<std::string>> rows;
    rows.reserve(views.size());
    for (const ActionView& view : views) {
        const std::string_view event = view.action.event();
        rows.push_back({std::string(event.substr(event.find('_') + 1)), view.title});
    }
    return joined(aligned(rows));
}

std::string options(const OptionsView& view) {
    std::vector<std::vector<std::string>> rows;
    for (const OptionKey key : allOptionKeys()) {
        rows.push_back({std::string(nameOf(key)), valueText(key, view), labelOf(key)});
    }
    return joined(aligned(rows));
}

std::string option(OptionKey key, const OptionsView& view) {
    return valueText(key, view);
}

std::string findings(const std::vector<Finding>& findings) {
    std::vector<std::string> lines;
    lines.reserve(findings.size());
    for (const Finding& finding : findings) {
        lines.push_back(
            fmt::format("{}  {:<10} {}", finding.ok ? "ok    " : "FAILED", finding.check, escapedText(finding.detail)));
    }
    return joined(lines);
}

std::string version() {
    return fmt::format("quendo {} (schema {})", QUENDO_VERSION, quendokit::reminderSchemaVersion);
}

}  // namespace quendo::plain

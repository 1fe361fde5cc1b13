#include "apps/quendo/render_text.hpp"

#include <algorithm>

#include <fmt/format.h>

#include "apps/quendo/escaped_text.hpp"
#include "apps/quendo/identifiers.hpp"
#include "apps/quendo/when.hpp"
#include "quendokit/store/quendokit_config.hpp"

namespace quendo::plain {
namespace {

using quendokit::LocalTimeZone;
using quendokit::ReminderList;

std::string moment(const ReminderView& view, const LocalTimeZone& zone) {
    const auto date = view.condition.date();
    return date ? whenText(*date, zone) : "at your Mac";
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

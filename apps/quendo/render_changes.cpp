#include "apps/quendo/render_changes.hpp"

#include <algorithm>

#include <fmt/format.h>

#include "apps/quendo/escaped_text.hpp"
#include "apps/quendo/identifiers.hpp"
#include "apps/quendo/when.hpp"

namespace quendo::plain {
namespace {

using quendokit::LocalTimeZone;

std::string conditionText(const ReminderView& view, const LocalTimeZone& zone) {
    const auto date = view.condition.date();
    return date ? whenText(*date, zone) : "your next arrival at your Mac";
}

std::string reminders(std::size_t count) {
    return fmt::format("{} reminder{}", count, count == 1 ? "" : "s");
}

/// One sentence a reminder.
template <typename Sentence>
std::string each(const std::vector<ReminderView>& views, Sentence sentence) {
    std::vector<std::string> lines;
    lines.reserve(views.size());
    for (const ReminderView& view : views) {
        lines.push_back(sentence(view));
    }
    return fmt::format("{}", fmt::join(lines, "\n"));
}

}  // namespace

std::string stored(const ReminderView& view, const LocalTimeZone& zone) {
    return fmt::format("Stored \"{}\" for {} ({}).", escapedText(view.title), conditionText(view, zone),
                       shortIdentifiers({view}).front());
}

std::string edited(const ReminderView& view, const LocalTimeZone& zone) {
    return fmt::format("Changed to \"{}\" for {} ({}).", escapedText(view.title), conditionText(view, zone),
                       shortIdentifiers({view}).front());
}

std::string postponed(const std::vector<ReminderView>& views, const LocalTimeZone& zone) {
    return each(views, [&](const ReminderView& view) {
        return fmt::format("Postponed \"{}\" to {} ({}).", escapedText(view.title), conditionText(view, zone),
                           shortIdentifiers({view}).front());
    });
}

std::string seen(const std::vector<ReminderView>& views) {
    if (views.empty()) {
        return "No reminder waits at the Mac.";
    }
    return each(views, [](const ReminderView& view) { return fmt::format("Seen \"{}\".", escapedText(view.title)); });
}

std::string deleted(const std::vector<ReminderView>& views) {
    return each(views,
                [](const ReminderView& view) { return fmt::format("Deleted \"{}\".", escapedText(view.title)); });
}

std::string stats(const quendokit::ReminderStats& stats) {
    return fmt::format("{} to come, {} passed.", stats.pending, stats.passed);
}

std::string cleared(std::size_t count) {
    return fmt::format("Removed {}.", reminders(count));
}

std::string exported(std::size_t count, const std::string& file) {
    return fmt::format("Exported {} to {}.", reminders(count), file);
}

std::string imported(std::size_t count) {
    return fmt::format("Imported {}.", reminders(count));
}

std::string someTitles(const std::vector<std::string>& titles) {
    constexpr std::size_t most = 5;
    constexpr std::size_t length = 60;
    std::vector<std::string> shown;
    for (std::size_t i = 0; i < std::min(titles.size(), most); ++i) {
        shown.push_back('"' + escapedText(titles[i], length) + '"');
    }
    std::string text = fmt::format("{}", fmt::join(shown, ", "));
    if (titles.size() > most) {
        text += fmt::format(" and {} more", titles.size() - most);
    }
    return text;
}

}  // namespace quendo::plain

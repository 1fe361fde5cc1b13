#include "apps/quendo/identifiers.hpp"

#include <algorithm>
#include <cctype>
#include <numeric>

#include "apps/quendo/escaped_text.hpp"

namespace quendo {
namespace {

char upper(char c) {
    return static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
}

bool beginsWith(std::string_view id, std::string_view prefix) {
    return id.size() >= prefix.size() &&
           std::equal(prefix.begin(), prefix.end(), id.begin(), [](char a, char b) { return upper(a) == upper(b); });
}

std::size_t commonLength(std::string_view a, std::string_view b) {
    const auto differs =
        std::mismatch(a.begin(), a.end(), b.begin(), b.end(), [](char x, char y) { return upper(x) == upper(y); });
    return static_cast<std::size_t>(differs.first - a.begin());
}

}  // namespace

Outcome<ReminderView> findReminder(const std::vector<ReminderView>& reminders, std::string_view text) {
    const auto whole =
        std::find_if(reminders.begin(), reminders.end(), [&](const ReminderView& each) { return each.id == text; });
    if (whole != reminders.end()) {
        return *whole;
    }
    const std::string shown = '"' + escapedText(text, 64) + '"';
    if (text.size() < shortestPrefix) {
        return Failure{ExitCode::usage, shown + " is too short for an identifier; give at least " +
                                            std::to_string(shortestPrefix) + " characters"};
    }
    const auto fits = [&](const ReminderView& each) { return beginsWith(each.id, text); };
    const auto first = std::find_if(reminders.begin(), reminders.end(), fits);
    if (first == reminders.end()) {
        return Failure{ExitCode::notDone, "no reminder has the identifier " + shown + "; see quendo list"};
    }
    const auto count = std::count_if(first, reminders.end(), fits);
    if (count > 1) {
        return Failure{ExitCode::notDone, std::to_string(count) + " reminders have identifiers that begin with " +
                                              shown + "; give more of it"};
    }
    return *first;
}

std::vector<std::string> shortIdentifiers(const std::vector<ReminderView>& reminders) {
    constexpr std::size_t usualLength = 8;
    std::vector<std::size_t> order(reminders.size());
    std::iota(order.begin(), order.end(), std::size_t{0});
    std::sort(order.begin(), order.end(), [&](std::size_t a, std::size_t b) {
        return std::lexicographical_compare(reminders[a].id.begin(), reminders[a].id.end(), reminders[b].id.begin(),
                                            reminders[b].id.end(), [](char x, char y) { return upper(x) < upper(y); });
    });
    // Among sorted identifiers only neighbours can share the most.
    std::vector<std::string> result(reminders.size());
    for (std::size_t i = 0; i < order.size(); ++i) {
        const std::string& id = reminders[order[i]].id;
        std::size_t length = usualLength;
        if (i > 0) {
            length = std::max(length, commonLength(id, reminders[order[i - 1]].id) + 1);
        }
        if (i + 1 < order.size()) {
            length = std::max(length, commonLength(id, reminders[order[i + 1]].id) + 1);
        }
        result[order[i]] = id.substr(0, length);
    }
    return result;
}

}  // namespace quendo

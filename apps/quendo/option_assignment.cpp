#include "apps/quendo/option_assignment.hpp"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstddef>
#include <system_error>

#include <fmt/format.h>

#include "apps/quendo/escaped_text.hpp"
#include "apps/quendo/when.hpp"
#include "quendokit/options/option_keys.hpp"

namespace quendo {
namespace {

using quendokit::Day;

constexpr std::int64_t lastSecondOfDay = 86'399;
/// Whoever postpones for longer than this ends beyond the year 9999, which no answer can show.
constexpr std::int64_t longestDuration = 250'000'000'000;

bool equalsInAnyCase(std::string_view a, std::string_view b) {
    const auto lower = [](char c) { return 'A' <= c && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; };
    return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                      [&](char left, char right) { return lower(left) == lower(right); });
}

Failure refusal(OptionKey key, std::string_view text, std::string_view what) {
    return {ExitCode::usage, fmt::format("{} cannot be \"{}\": {}", nameOf(key), escapedText(text, 80), what)};
}

std::optional<std::int64_t> wholeNumber(std::string_view text) {
    std::int64_t number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    return error == std::errc() && end == text.data() + text.size() ? std::optional(number) : std::nullopt;
}

Outcome<OptionAssignment> parseDay(OptionKey key, std::string_view text) {
    constexpr std::array<std::string_view, 7> english{"sunday",   "monday", "tuesday", "wednesday",
                                                      "thursday", "friday", "saturday"};
    for (const Day day : Day::All()) {
        const auto index = static_cast<std::size_t>(day.rawValue() - 1);
        if (equalsInAnyCase(text, english[index]) || equalsInAnyCase(text, day.string()) ||
            wholeNumber(text) == day.rawValue()) {
            return OptionAssignment{key, day};
        }
    }
    return refusal(key, text, "write a day as monday, or 1 for Sunday to 7 for Saturday");
}

Outcome<OptionAssignment> parseTime(OptionKey key, std::string_view text) {
    const auto seconds = text.find(':') == std::string_view::npos ? wholeNumber(text) : parseTimeOfDay(text);
    if (!seconds || *seconds < 0 || *seconds > lastSecondOfDay) {
        return refusal(key, text, "write a time of day as 09:30, or in seconds from 0 to 86399");
    }
    return OptionAssignment{key, *seconds};
}

Outcome<OptionAssignment> parseDuration(OptionKey key, std::string_view text) {
    const auto number = wholeNumber(text);
    const auto seconds = number ? number : parseSecondsOfDuration(text);
    if (!seconds) {
        return refusal(key, text, "write a duration as 3h, 20m or 1h30m, or in seconds");
    }
    if (*seconds < 0) {
        return refusal(key, text, "a duration is not negative");
    }
    if (*seconds > longestDuration) {
        return refusal(key, text, "it leads beyond the year 9999");
    }
    return OptionAssignment{key, *seconds};
}

Outcome<OptionAssignment> parseBoolean(OptionKey key, std::string_view text) {
    if (equalsInAnyCase(text, "true") || equalsInAnyCase(text, "false")) {
        return OptionAssignment{key, std::optional(equalsInAnyCase(text, "true"))};
    }
    if (equalsInAnyCase(text, "none")) {
        return OptionAssignment{key, std::optional<bool>()};
    }
    return refusal(key, text, "write true, false or none");
}

}  // namespace

const std::vector<OptionKey>& allOptionKeys() {
    using enum OptionKey;
    static const std::vector<OptionKey> keys{firstWorkday, firstWeekend, workdayMorning, weekendMorning, afternoon,
                                             evening,      later,        postpone,       hasMacApp};
    return keys;
}

std::string_view nameOf(OptionKey key) {
    // The program's name of a setting is the last part of its stored one.
    const std::string_view stored = quendokit::OptionKeys::All.at(static_cast<std::size_t>(key));
    return stored.substr(stored.rfind('.') + 1);
}

Outcome<OptionKey> parseOptionKey(std::string_view text) {
    std::string names;
    for (const OptionKey key : allOptionKeys()) {
        if (nameOf(key) == text) {
            return key;
        }
        names += (names.empty() ? "" : ", ") + std::string(nameOf(key));
    }
    return Failure{ExitCode::usage,
                   fmt::format("there is no setting \"{}\"; the settings are {}", escapedText(text, 80), names)};
}

Outcome<OptionAssignment> parseOptionValue(OptionKey key, std::string_view text) {
    switch (key) {
        case OptionKey::firstWorkday:
        case OptionKey::firstWeekend:
            return parseDay(key, text);
        case OptionKey::workdayMorning:
        case OptionKey::weekendMorning:
        case OptionKey::afternoon:
        case OptionKey::evening:
            return parseTime(key, text);
        case OptionKey::later:
        case OptionKey::postpone:
            return parseDuration(key, text);
        case OptionKey::hasMacApp:
            break;
    }
    return parseBoolean(key, text);
}

}  // namespace quendo

#include "apps/quendo/transfer/transfer_rules.hpp"

#include <algorithm>
#include <cmath>

#include <fmt/format.h>

#include "apps/quendo/escaped_text.hpp"
#include "quendokit/store/reminder_defaults.hpp"

namespace quendo {
namespace {

/// What the cloud takes as the name of a record.
constexpr std::size_t longestIdentifier = 255;

bool isPrintable(char c) {
    return ' ' <= c && c <= '~';
}

}  // namespace

std::string placeText(const TransferPlace& place) {
    return fmt::format("entry {} (line {})", place.entry, place.line);
}

std::string quotedText(std::string_view text) {
    constexpr std::size_t mostEchoed = 64;
    return '"' + escapedText(text, mostEchoed) + '"';
}

TransferProblem problemOfTitle(std::string_view title) {
    if (title.find_first_not_of(" \t\r\n") == std::string_view::npos) {
        return "the title is empty; say what to be reminded of";
    }
    if (title.find('\0') != std::string_view::npos) {
        return "the title holds a NUL character; remove it";
    }
    if (!isPlainText(title)) {
        return "the title is not UTF-8 text; convert it to UTF-8";
    }
    return std::nullopt;
}

TransferProblem problemOfIdentifier(std::string_view id) {
    if (id.empty()) {
        return "the identifier is empty; leave it out for a new reminder";
    }
    if (id.size() > longestIdentifier) {
        return fmt::format("the identifier has {} characters; give at most {}, or leave it out for a new reminder",
                           id.size(), longestIdentifier);
    }
    if (!std::all_of(id.begin(), id.end(), isPrintable)) {
        return "the identifier " + quotedText(id) +
               " is not of printable ASCII characters; use letters, digits and signs";
    }
    // iCalendar would drop them.
    if (id.front() == ' ' || id.back() == ' ') {
        return "the identifier " + quotedText(id) + " begins or ends with a blank; remove it";
    }
    return std::nullopt;
}

TransferProblem problemOfMoment(std::string_view what, quendokit::Date date) {
    constexpr double farthest = 9'007'199'254'740'992.0;  // 2^53: beyond, a moment cannot tell seconds apart
    const double seconds = date.timeIntervalSince1970();
    if (std::isnan(seconds) || seconds > farthest) {
        return fmt::format("{} lies too far away; give at most 2^53 seconds since 1970", what);
    }
    if (date <= quendokit::ReminderDefaults::NoDate) {
        return fmt::format("{} is not after 1970-01-01; give a later one", what);
    }
    return std::nullopt;
}

TransferProblem TransferIdentifiers::add(const TransferEntry& entry) {
    if (!entry.id) {
        return std::nullopt;
    }
    const auto [known, isNew] = places_.emplace(*entry.id, entry.place);
    if (isNew) {
        return std::nullopt;
    }
    return fmt::format("the identifier {} is that of {} too; remove one of the two", quotedText(*entry.id),
                       placeText(known->second));
}

Failure refusalOf(const TransferReading& reading, std::string_view place, std::string_view problem) {
    return {ExitCode::usage, fmt::format("{}: {}: {}", reading.name, place, problem)};
}

Failure refusalOf(const TransferReading& reading, std::string_view problem) {
    return {ExitCode::usage, fmt::format("{}: {}", reading.name, problem)};
}

Failure cutOff(const TransferReading& reading, std::size_t line) {
    return refusalOf(reading, fmt::format("line {}", line), "the file is cut off here; get the whole file");
}

void TransferSteps::done(std::size_t units) {
    constexpr std::size_t callsBetween = 1000;
    if (++calls_ % callsBetween == 0 && progress_) {
        progress_(units, total_);
    }
}

void TransferSteps::finish() {
    if (progress_) {
        progress_(total_, total_);
    }
}

}  // namespace quendo

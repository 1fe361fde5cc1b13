#include "apps/quendo/when.hpp"

#include <array>
#include <charconv>
#include <cmath>
#include <limits>
#include <optional>
#include <system_error>

#include <fmt/format.h>

#include "apps/quendo/escaped_text.hpp"

namespace quendo {

using quendokit::Date;
using quendokit::LocalDateTime;
using quendokit::LocalTimeKind;
using quendokit::LocalTimeZone;
using quendokit::Result;

namespace {

constexpr std::int64_t secondsOfDay = 86'400;

/// `what` goes on after the quoted text.
quendokit::Error refusal(std::string_view text, std::string_view what) {
    constexpr std::size_t mostEchoed = 80;
    return {std::string(whenErrorDomain), 1, fmt::format("\"{}\" {}", escapedText(text, mostEchoed), what)};
}

quendokit::Error unreadable(std::string_view text) {
    return refusal(text, "is no time: write 2026-11-21 18:00, 18:00, +20m or @1795302000");
}

bool isDigit(char c) {
    return '0' <= c && c <= '9';
}

/// Takes a text apart from its start. What cannot be taken leaves the text as it was.
class Reader {
public:
    explicit Reader(std::string_view text) : rest_(text) {}

    [[nodiscard]] bool atEnd() const { return rest_.empty(); }

    bool take(char c) {
        if (!rest_.starts_with(c)) {
            return false;
        }
        rest_.remove_prefix(1);
        return true;
    }

    /// All digits that stand here; maybe none.
    std::string_view takeDigits() {
        std::size_t count = 0;
        while (count < rest_.size() && isDigit(rest_[count])) {
            ++count;
        }
        const std::string_view digits = rest_.substr(0, count);
        rest_.remove_prefix(count);
        return digits;
    }

    /// As many digits as `target` shall have, and no more.
    bool takeNumber(std::size_t width, int& target) {
        const std::string_view before = rest_;
        const std::string_view digits = takeDigits();
        if (digits.size() != width) {
            rest_ = before;
            return false;
        }
        std::from_chars(digits.data(), digits.data() + digits.size(), target);
        return true;
    }

    bool takeDate(LocalDateTime& target) {
        int year = 0;
        if (!takeNumber(4, year) || !take('-') || !takeNumber(2, target.month) || !take('-') ||
            !takeNumber(2, target.day)) {
            return false;
        }
        target.year = year;
        return true;
    }

    bool takeTimeOfDay(LocalDateTime& target) {
        if (!takeNumber(2, target.hour) || !take(':') || !takeNumber(2, target.minute)) {
            return false;
        }
        return !take(':') || takeNumber(2, target.second);
    }

private:
    std::string_view rest_;
};

/// Digits, perhaps with a sign and a fraction, as seconds; infinite when there are too many for a number.
double toSeconds(std::string_view digits) {
    double seconds = 0;
    const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), seconds);
    return error == std::errc() ? seconds : std::numeric_limits<double>::infinity();
}

bool hasYearOfFourDigits(const std::optional<LocalDateTime>& reading) {
    return reading && 1 <= reading->year && reading->year <= 9999;
}

/// The last step of every form.
Result<When> checked(std::string_view text, When when, const LocalTimeZone& zone) {
    if (!hasYearOfFourDigits(zone.localDateTime(when.date))) {
        return refusal(text, "leads beyond the years 0001 to 9999: write a time within them");
    }
    return when;
}

/// Why there is no such date or time of day; absent when there is.
std::optional<quendokit::Error> refusalOf(const LocalDateTime& reading, std::string_view text) {
    constexpr std::array months{"January", "February", "March",     "April",   "May",      "June",
                                "July",    "August",   "September", "October", "November", "December"};
    if (isValid(reading) && hasYearOfFourDigits(reading)) {
        return std::nullopt;
    }
    if (!hasYearOfFourDigits(reading)) {
        return refusal(text, "is no date: years run from 0001 to 9999");
    }
    if (reading.month < 1 || reading.month > 12) {
        return refusal(text, "is no date: months run from 01 to 12");
    }
    if (reading.day < 1) {
        return refusal(text, "is no date: days begin with 01");
    }
    const int days = quendokit::daysInMonth(reading.year, reading.month);
    if (reading.day > days) {
        const auto* month = months.at(static_cast<std::size_t>(reading.month - 1));
        return refusal(text, fmt::format("is no date: {} {:04} has {} days", month, reading.year, days));
    }
    return refusal(text, reading.hour > 23 ? "is no time: hours run from 00 to 23"
                                           : "is no time: minutes and seconds run from 00 to 59");
}

Result<When> parseDateTime(std::string_view text, const LocalTimeZone& zone) {
    LocalDateTime reading;
    Reader reader(text);
    if (!reader.takeDate(reading)) {
        return unreadable(text);
    }
    bool isLocal = true;
    LocalDateTime offset;  // a time of day of 1970-01-01, so that its wall seconds are the seconds from UTC
    bool isWest = false;
    if (!reader.atEnd()) {
        if (!(reader.take(' ') || reader.take('T')) || !reader.takeTimeOfDay(reading)) {
            return unreadable(text);
        }
        isLocal = reader.atEnd();
        isWest = reader.take('-');
        const bool hasOffset = isWest || reader.take('+');
        if (hasOffset &&
            !(reader.takeNumber(2, offset.hour) && reader.take(':') && reader.takeNumber(2, offset.minute))) {
            return unreadable(text);
        }
        if ((!isLocal && !hasOffset && !reader.take('Z')) || !reader.atEnd()) {
            return unreadable(text);
        }
    }
    if (auto error = refusalOf(reading, text)) {
        return *std::move(error);
    }
    if (!isValid(offset)) {
        return refusal(text, "is no time: an offset runs from -23:59 to +23:59");
    }
    if (!isLocal) {
        const std::int64_t east = (isWest ? -1 : 1) * wallSeconds(offset);
        return checked(text, {Date(static_cast<double>(wallSeconds(reading) - east)), LocalTimeKind::unique}, zone);
    }
    const auto located = zone.locate(reading);
    return located ? checked(text, {located->date, located->kind}, zone) : unreadable(text);
}

Result<When> parseNextTimeOfDay(std::string_view text, Date now, const LocalTimeZone& zone) {
    const auto today = zone.localDateTime(now);
    LocalDateTime time;
    Reader reader(text);
    if (!reader.takeTimeOfDay(time) || !reader.atEnd()) {
        return unreadable(text);
    }
    if (auto error = refusalOf(time, text)) {
        return *std::move(error);
    }
    if (!today) {
        return refusal(text, "is no time while the clock shows none: write 2026-11-21 18:00");
    }
    const std::int64_t timeOfDay = wallSeconds(time);
    // From yesterday on: clocks that were put back over midnight show its last times once more.
    std::int64_t midnight = quendokit::wallSeconds({today->year, today->month, today->day}) - secondsOfDay;
    for (;; midnight += secondsOfDay) {
        const auto start = zone.locate(quendokit::fromWallSeconds(midnight));
        const auto end = zone.locate(quendokit::fromWallSeconds(midnight + secondsOfDay));
        const auto located = zone.locate(quendokit::fromWallSeconds(midnight + timeOfDay));
        if (!start || !end || !located) {
            return unreadable(text);
        }
        // A date that a zone left out, when it moved across the date line, has no times at all.
        if (start->date == end->date) {
            continue;
        }
        if (located->date > now) {
            return checked(text, {located->date, located->kind}, zone);
        }
        if (located->second > now) {
            return checked(text, {*located->second, located->kind}, zone);
        }
    }
}

/// Absent when `text` is no duration; infinite when it is too long for a number.
std::optional<double> lengthOf(std::string_view text) {
    struct Unit {
        char letter;
        double seconds;
    };
    constexpr std::array<Unit, 4> units{{{'d', secondsOfDay}, {'h', 3'600}, {'m', 60}, {'s', 1}}};
    Reader reader(text);
    double seconds = 0;
    auto unit = units.begin();
    do {
        const std::string_view count = reader.takeDigits();
        while (!count.empty() && unit != units.end() && !reader.take(unit->letter)) {
            ++unit;
        }
        if (count.empty() || unit == units.end()) {
            return std::nullopt;
        }
        seconds += toSeconds(count) * unit->seconds;
        ++unit;
    } while (!reader.atEnd());
    return seconds;
}

Result<When> parseDuration(std::string_view text, Date now, const LocalTimeZone& zone) {
    const auto seconds = lengthOf(text.substr(1));
    if (!seconds) {
        return refusal(text, "is no duration: write days, hours, minutes and seconds in this order, as +1d2h30m");
    }
    return checked(text, {Date(now.timeIntervalSince1970() + *seconds), LocalTimeKind::unique}, zone);
}

Result<When> parseEpoch(std::string_view text, const LocalTimeZone& zone) {
    Reader reader(text);
    reader.take('@');
    reader.take('-');
    if (reader.takeDigits().empty() || (reader.take('.') && reader.takeDigits().empty()) || !reader.atEnd()) {
        return refusal(text, "is no time: write the seconds since 1970 as @1795302000");
    }
    return checked(text, {Date(toSeconds(text.substr(1))), LocalTimeKind::unique}, zone);
}

}  // namespace

Result<When> parseWhen(std::string_view text, Date now, const LocalTimeZone& zone) {
    if (text.starts_with('@')) {
        return parseEpoch(text, zone);
    }
    if (text.starts_with('+')) {
        return parseDuration(text, now, zone);
    }
    return text.find('-') == 4 ? parseDateTime(text, zone) : parseNextTimeOfDay(text, now, zone);
}

std::optional<std::int64_t> parseTimeOfDay(std::string_view text) {
    LocalDateTime time;
    Reader reader(text);
    if (!reader.takeTimeOfDay(time) || !reader.atEnd() || !isValid(time)) {
        return std::nullopt;
    }
    return wallSeconds(time);
}

std::optional<std::int64_t> parseSecondsOfDuration(std::string_view text) {
    constexpr double beyond = 9'223'372'036'854'775'808.0;  // 2^63
    const auto seconds = lengthOf(text);
    return seconds && *seconds < beyond ? std::optional(static_cast<std::int64_t>(*seconds)) : std::nullopt;
}

std::string whenText(Date date, const LocalTimeZone& zone) {
    const auto reading = zone.localDateTime(date);
    if (!hasYearOfFourDigits(reading)) {
        return fmt::format("@{:.0f}", std::floor(date.timeIntervalSince1970()));
    }
    const auto text = fmt::format("{:04}-{:02}-{:02} {:02}:{:02}", reading->year, reading->month, reading->day,
                                  reading->hour, reading->minute);
    return reading->second == 0 ? text : fmt::format("{}:{:02}", text, reading->second);
}

}  // namespace quendo

#include "tests/presets/plain_calendar.hpp"

#include <algorithm>
#include <array>
#include <cmath>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <optional>
#include <stdexcept>

namespace quendokit::testing {
namespace {

constexpr std::int64_t day = 86'400;
constexpr std::int64_t begin = -184 * day;        // 1969-07-01
constexpr std::int64_t year1970 = 0;              // 1970-01-01
constexpr std::int64_t year2041 = 2'240'611'200;  // 2041-01-01
constexpr std::int64_t end = year2041 + 364 * day;

/// No clocks are further from UTC.
constexpr std::int64_t farthestOffset = 26 * 3'600;

std::tm fieldsAt(std::int64_t moment) {
    if (moment < begin || moment > end) {
        throw std::out_of_range("the plain calendar does not know " + std::to_string(moment));
    }
    const std::time_t time = moment;
    std::tm fields{};
    if (::localtime_r(&time, &fields) == nullptr) {
        throw std::runtime_error("localtime_r has no answer for " + std::to_string(moment));
    }
    return fields;
}

/// The formula by which POSIX defines seconds since 1970, for years from 1969 on.
std::int64_t wallSecondsOf(const std::tm& fields) {
    const std::int64_t year = fields.tm_year;
    const std::int64_t days =
        fields.tm_yday + (year - 70) * 365 + (year - 69) / 4 - (year - 1) / 100 + (year + 299) / 400;
    return days * day + fields.tm_hour * 3'600 + fields.tm_min * 60 + fields.tm_sec;
}

std::int64_t wallSecondsAt(std::int64_t moment) {
    return wallSecondsOf(fieldsAt(moment));
}

std::int64_t offsetAt(std::int64_t moment) {
    return wallSecondsAt(moment) - moment;
}

/// The first moment after `before`, up to `after`, for which `hasCome` is true.
template <typename HasCome>
std::int64_t firstMoment(std::int64_t before, std::int64_t after, HasCome hasCome) {
    while (after - before > 1) {
        const std::int64_t middle = before + (after - before) / 2;
        (hasCome(middle) ? after : before) = middle;
    }
    return after;
}

std::vector<std::int64_t> findChanges() {
    constexpr std::int64_t step = 2 * day;
    std::vector<std::int64_t> changes;
    std::int64_t offset = offsetAt(year1970);
    for (std::int64_t moment = year1970; moment < year2041; moment += step) {
        const std::int64_t later = offsetAt(moment + step);
        if (later != offset) {
            changes.push_back(
                firstMoment(moment, moment + step, [&](std::int64_t middle) { return offsetAt(middle) != offset; }));
        }
        offset = later;
    }
    return changes;
}

std::int64_t floorOfDivision(std::int64_t value, std::int64_t divisor) {
    std::int64_t quotient = value / divisor;
    while (quotient * divisor > value) {
        --quotient;
    }
    return quotient;
}

bool isZoneData(const std::filesystem::path& file) {
    std::array<char, 4> magic{};
    std::ifstream(file).read(magic.data(), magic.size());
    return std::string(magic.data(), magic.size()) == "TZif";
}

}  // namespace

PlainCalendar::PlainCalendar(const std::string& zone) : environment_("TZ", zone.c_str()) {
    ::tzset();
    changes_ = findChanges();
}

PlainCalendar::Reading PlainCalendar::read(double date) const {
    const std::tm fields = fieldsAt(static_cast<std::int64_t>(std::floor(date)));
    const std::int64_t wallSeconds = wallSecondsOf(fields);
    return {wallSeconds, floorOfDivision(wallSeconds, day), fields.tm_hour * 3'600 + fields.tm_min * 60 + fields.tm_sec,
            fields.tm_wday + 1};
}

double PlainCalendar::momentOf(std::int64_t wallSeconds) const {
    const std::int64_t before = wallSeconds - farthestOffset;
    const std::int64_t after = wallSeconds + farthestOffset;

    std::vector<std::int64_t> offsets{offsetAt(before)};
    for (auto change = std::upper_bound(changes_.begin(), changes_.end(), before);
         change != changes_.end() && *change <= after; ++change) {
        offsets.push_back(offsetAt(*change));
    }
    std::optional<std::int64_t> first;
    for (const std::int64_t offset : offsets) {
        const std::int64_t candidate = wallSeconds - offset;
        if (wallSecondsAt(candidate) == wallSeconds && (!first || candidate < *first)) {
            first = candidate;
        }
    }
    if (!first) {
        first = firstMoment(before, after, [&](std::int64_t moment) { return wallSecondsAt(moment) > wallSeconds; });
    }
    return static_cast<double>(*first);
}

double PlainCalendar::dateBySettingHour(int hour, std::int64_t minute, int second, double date) const {
    return momentOf(read(date).day * day + hour * 3'600 + minute * 60 + second);
}

double PlainCalendar::dateBySettingWeekday(int weekday, double date) const {
    for (std::int64_t number = read(date).day;; ++number) {
        const Reading first = read(momentOf(number * day));
        const bool exists = first.day == number;
        if (exists && first.weekday == weekday) {
            return momentOf(number * day + day / 2);
        }
    }
}

std::vector<std::string> everyZoneName() {
    const std::filesystem::path root = "/usr/share/zoneinfo";
    std::vector<std::string> names;
    for (auto entry = std::filesystem::recursive_directory_iterator(root);
         entry != std::filesystem::recursive_directory_iterator(); ++entry) {
        const std::string name = entry->path().lexically_relative(root).string();
        // The same zones again, and again with leap seconds.
        if (name == "posix" || name == "right") {
            entry.disable_recursion_pending();
        } else if (entry->is_regular_file() && isZoneData(entry->path())) {
            names.push_back(name);
        }
    }
    std::sort(names.begin(), names.end());
    return names;
}

}  // namespace quendokit::testing

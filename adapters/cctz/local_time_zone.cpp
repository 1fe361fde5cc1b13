#include "adapters/cctz/local_time_zone.hpp"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <string_view>
#include <system_error>
#include <utility>

#include "adapters/cctz/time_zone_rules_internal.hpp"

namespace quendokit {
namespace {

constexpr const char* localTimeFile = "/etc/localtime";

std::filesystem::path zoneDataDirectory() {
    const char* directory = std::getenv("TZDIR");
    return directory != nullptr && *directory != '\0' ? directory : "/usr/share/zoneinfo";
}

/// What stands behind "/zoneinfo/" in `file` or in the first of its links that has it; else `file` itself.
std::string zoneName(const std::filesystem::path& file) {
    constexpr std::string_view mark = "/zoneinfo/";
    constexpr int mostLinks = 40;
    std::filesystem::path step = file;
    for (int i = 0; i < mostLinks; ++i) {
        const std::string text = step.lexically_normal().string();
        const auto position = text.rfind(mark);
        if (position != std::string::npos) {
            return text.substr(position + mark.size());
        }
        std::error_code error;
        const auto target = std::filesystem::read_symlink(step, error);
        if (error) {
            break;
        }
        step = step.parent_path() / target;
    }
    return file.string();
}

/// `date` without its fraction; absent when it is not finite or further away than any valid reading.
std::optional<std::int64_t> secondsWithin(Date date) {
    constexpr double farthest = localYearLimit * 366.0 * 86'400;
    const double seconds = std::floor(date.timeIntervalSince1970());
    if (!(std::abs(seconds) <= farthest)) {
        return std::nullopt;
    }
    return static_cast<std::int64_t>(seconds);
}

Date makeDate(std::int64_t seconds) {
    return Date(static_cast<double>(seconds));
}

void appendPadded(std::string& text, std::int64_t value, std::size_t width) {
    const std::string digits = std::to_string(value);
    text.append(width - std::min(width, digits.size()), '0').append(digits);
}

}  // namespace

std::shared_ptr<const LocalTimeZone> LocalTimeZone::current() {
    const auto utc = [] { return std::make_shared<const LocalTimeZone>(PrivateTag(), "UTC", makeUTCRules()); };
    const char* variable = std::getenv("TZ");
    if (variable == nullptr) {
        auto zone = fromFile(localTimeFile);
        return zone ? zone : utc();
    }
    const std::string value = *variable == ':' ? variable + 1 : variable;
    if (auto zone = make(value)) {
        return zone;
    }
    if (isPosixRule(value)) {
        return std::make_shared<const LocalTimeZone>(PrivateTag(), value, makePosixRules(value));
    }
    return utc();
}

std::shared_ptr<const LocalTimeZone> LocalTimeZone::make(const std::string& name) {
    if (std::filesystem::path(name).is_absolute()) {
        return fromFile(name);
    }
    auto rules = makeCctzRules(zoneDataDirectory() / name);
    return rules ? std::make_shared<const LocalTimeZone>(PrivateTag(), name, std::move(rules)) : nullptr;
}

std::shared_ptr<const LocalTimeZone> LocalTimeZone::fromFile(const std::filesystem::path& file) {
    auto rules = makeCctzRules(file);
    return rules ? std::make_shared<const LocalTimeZone>(PrivateTag(), zoneName(file), std::move(rules)) : nullptr;
}

LocalTimeZone::LocalTimeZone(PrivateTag, std::string name, std::shared_ptr<const TimeZoneRules> rules)
    : name_(std::move(name)), rules_(std::move(rules)) {}

LocalTimeZone::~LocalTimeZone() = default;

std::optional<LocatedInstant> LocalTimeZone::locate(const LocalDateTime& reading) const {
    if (!isValid(reading)) {
        return std::nullopt;
    }
    const auto [kind, first, second] = rules_->locate(wallSeconds(reading));
    LocatedInstant located{makeDate(first), kind, std::nullopt};
    if (kind == LocalTimeKind::repeated) {
        located.second = makeDate(second);
    }
    return located;
}

std::optional<LocalDateTime> LocalTimeZone::localDateTime(Date date) const {
    const auto moment = secondsWithin(date);
    if (!moment) {
        return std::nullopt;
    }
    return fromWallSeconds(*moment + rules_->offset(*moment));
}

std::optional<int> LocalTimeZone::offset(Date date) const {
    const auto moment = secondsWithin(date);
    if (!moment) {
        return std::nullopt;
    }
    return rules_->offset(*moment);
}

std::optional<std::string> LocalTimeZone::text(Date date) const {
    const auto reading = localDateTime(date);
    if (!reading || reading->year < 1 || reading->year > 9999) {
        return std::nullopt;
    }
    std::string text;
    appendPadded(text, reading->year, 4);
    for (const auto& [separator, field] : {std::pair('-', reading->month),
                                           {'-', reading->day},
                                           {'T', reading->hour},
                                           {':', reading->minute},
                                           {':', reading->second}}) {
        appendPadded(text += separator, field, 2);
    }
    const int offset = *this->offset(date);
    const int distance = std::abs(offset);
    appendPadded(text += offset < 0 ? '-' : '+', distance / 3600, 2);
    appendPadded(text += ':', distance / 60 % 60, 2);
    if (distance % 60 != 0) {
        appendPadded(text += ':', distance % 60, 2);
    }
    return text;
}

}  // namespace quendokit

#include "adapters/cctz/local_calendar.hpp"

#include <algorithm>
#include <utility>

#include "adapters/cctz/local_time_zone.hpp"
#include "adapters/cctz/offset_table_internal.hpp"
#include "quendokit/platform/fatal_error.hpp"

namespace quendokit {
namespace {

constexpr std::int64_t secondsPerDay = 86'400;
constexpr std::int64_t secondsPerHour = 3'600;
constexpr std::int64_t daysPerWeek = 7;

constexpr std::int64_t tableBegin = -2'208'988'800;  // 1900-01-01
constexpr std::int64_t tableEnd = 4'102'444'800;     // 2100-01-01

bool isWithin(std::int64_t value, std::int64_t first, std::int64_t last) {
    return first <= value && value <= last;
}

std::int64_t floorDivide(std::int64_t value, std::int64_t divisor) {
    return value / divisor - (value % divisor < 0 ? 1 : 0);
}

/// The second in which `date` lies. Absent when that is out of reach.
std::optional<std::int64_t> wholeSeconds(Date date) {
    const double seconds = date.timeIntervalSince1970();
    constexpr auto reach = static_cast<double>(calendarReach);
    // Asked this way round because every comparison with NaN is false.
    if (!(-reach <= seconds && seconds <= reach)) {
        return std::nullopt;
    }
    const auto truncated = static_cast<std::int64_t>(seconds);
    return static_cast<double>(truncated) > seconds ? truncated - 1 : truncated;
}

/// 1 for Sunday to 7 for Saturday. Day 0 is 1970-01-01, a Thursday.
int weekdayOf(std::int64_t day) {
    const std::int64_t sunday = day + 4;
    return static_cast<int>(sunday - daysPerWeek * floorDivide(sunday, daysPerWeek)) + 1;
}

OffsetTable writtenDown(const TimeZoneRules& rules) {
    std::vector<OffsetTable::Span> spans{{tableBegin, rules.offset(tableBegin)}};
    for (auto change = rules.nextChange(tableBegin); change && *change < tableEnd; change = rules.nextChange(*change)) {
        spans.push_back({*change, rules.offset(*change)});
    }
    return {std::move(spans), tableEnd};
}

}  // namespace

/// A zone, and its table. Days are counted from 1970-01-01 on the local wall.
class LocalCalendar::Place {
public:
    Place(std::shared_ptr<const LocalTimeZone> zone, std::shared_ptr<const TimeZoneRules> rules)
        : zone(std::move(zone)), rules(std::move(rules)), table_(writtenDown(*this->rules)) {}

    /// What the clocks show at `moment`, as `wallSeconds`.
    [[nodiscard]] std::int64_t readingAt(std::int64_t moment) const {
        const bool isInTable = table_.begin() <= moment && moment < table_.end();
        return moment + (isInTable ? table_.offset(moment) : rules->offset(moment));
    }

    /// The moment of `reading` by the rules of `Calendar`. Absent when it is out of reach.
    [[nodiscard]] std::optional<Date> dateOf(std::int64_t reading) const {
        if (!isWithin(reading, -calendarReach - OffsetTable::margin, calendarReach + OffsetTable::margin)) {
            return std::nullopt;
        }
        const std::int64_t moment = firstMoment(reading);
        if (!isWithin(moment, -calendarReach, calendarReach)) {
            return std::nullopt;
        }
        return Date(static_cast<double>(moment));
    }

    /// Whether the zone goes over `day` without a moment of it.
    [[nodiscard]] bool skips(std::int64_t day) const {
        return readingAt(firstMoment(day * secondsPerDay)) >= (day + 1) * secondsPerDay;
    }

    const std::shared_ptr<const LocalTimeZone> zone;
    const std::shared_ptr<const TimeZoneRules> rules;

private:
    /// The first moment at which the clocks show `reading`, or have already passed it.
    [[nodiscard]] std::int64_t firstMoment(std::int64_t reading) const {
        const bool isInTable =
            table_.begin() + OffsetTable::margin <= reading && reading < table_.end() - OffsetTable::margin;
        return isInTable ? table_.firstMoment(reading) : rules->locate(reading).first;
    }

    const OffsetTable table_;
};

LocalCalendar::LocalCalendar() : followsDevice_(true) {
    zoneChanged();
}

LocalCalendar::LocalCalendar(std::shared_ptr<const LocalTimeZone> zone) : followsDevice_(false) {
    if (!zone) {
        fatalError("a LocalCalendar was made without a zone");
    }
    moveTo(std::move(zone));
}

LocalCalendar::~LocalCalendar() = default;

std::optional<TimeComponents> LocalCalendar::timeComponents(Date date) const {
    const auto moment = wholeSeconds(date);
    if (!moment) {
        return std::nullopt;
    }
    const std::int64_t reading = place_.load(std::memory_order_acquire)->readingAt(*moment);
    const auto second = static_cast<int>(reading - secondsPerDay * floorDivide(reading, secondsPerDay));
    return TimeComponents{second / 3'600, second / 60 % 60, second % 60};
}

std::optional<int> LocalCalendar::weekday(Date date) const {
    const auto moment = wholeSeconds(date);
    if (!moment) {
        return std::nullopt;
    }
    const Place& place = *place_.load(std::memory_order_acquire);
    return weekdayOf(floorDivide(place.readingAt(*moment), secondsPerDay));
}

std::optional<Date> LocalCalendar::dateBySettingHour(int hour, std::int64_t minute, int second, Date ofDate) const {
    const auto moment = wholeSeconds(ofDate);
    // More minutes than the reach has seconds are out of reach, and would not fit once they are seconds.
    if (!moment || !isWithin(hour, 0, 23) || !isWithin(minute, 0, calendarReach) || !isWithin(second, 0, 59)) {
        return std::nullopt;
    }
    const Place& place = *place_.load(std::memory_order_acquire);
    const std::int64_t midnight = secondsPerDay * floorDivide(place.readingAt(*moment), secondsPerDay);
    return place.dateOf(midnight + hour * secondsPerHour + minute * 60 + second);
}

std::optional<Date> LocalCalendar::dateBySettingWeekday(int weekday, Date ofDate) const {
    const auto moment = wholeSeconds(ofDate);
    if (!moment || !isWithin(weekday, 1, daysPerWeek)) {
        return std::nullopt;
    }
    const Place& place = *place_.load(std::memory_order_acquire);
    const std::int64_t today = floorDivide(place.readingAt(*moment), secondsPerDay);
    std::int64_t day = today + (weekday - weekdayOf(today) + daysPerWeek) % daysPerWeek;
    if (place.skips(day)) {
        // No zone skips more than a day or two at a time.
        day += daysPerWeek;
    }
    return place.dateOf(day * secondsPerDay + secondsPerDay / 2);
}

void LocalCalendar::zoneChanged() {
    if (followsDevice_) {
        // Asked under the lock, so that of two threads that call this the later answer stays.
        const std::lock_guard lock(mutex_);
        moveTo(LocalTimeZone::current());
    }
}

std::shared_ptr<const LocalTimeZone> LocalCalendar::zone() const {
    return place_.load(std::memory_order_acquire)->zone;
}

void LocalCalendar::moveTo(std::shared_ptr<const LocalTimeZone> zone) {
    auto known = std::find_if(places_.begin(), places_.end(), [&](const auto& place) {
        return place->rules == zone->rules_ && place->zone->name() == zone->name();
    });
    if (known == places_.end()) {
        auto rules = zone->rules_;
        known = places_.insert(places_.end(), std::make_unique<const Place>(std::move(zone), std::move(rules)));
    }
    place_.store(known->get(), std::memory_order_release);
}

}  // namespace quendokit

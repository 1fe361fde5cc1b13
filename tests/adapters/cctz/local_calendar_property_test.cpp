// Calendars, which read from tables where they can, against `LocalTimeZone`, which computes every answer.

#include <cmath>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "adapters/cctz/local_calendar.hpp"
#include "adapters/cctz/local_time_zone.hpp"
#include "tests/adapters/cctz/any_zone.hpp"
#include "tests/adapters/cctz/zone_printers.hpp"
#include "tests/support/property.hpp"
#include "tests/support/scoped_environment.hpp"

namespace quendokit {
namespace {

using testing::anyZone;
using testing::checkProperty;
using testing::ScopedEnvironment;

constexpr std::int64_t day = 86'400;
constexpr std::int64_t year1890 = -2'524'521'600;
constexpr std::int64_t year1900 = -2'208'988'800;
constexpr std::int64_t year2100 = 4'102'444'800;
constexpr std::int64_t year2110 = 4'417'977'600;

Date dateAt(std::int64_t seconds) {
    return Date(static_cast<double>(seconds));
}

std::int64_t anyBetween(std::int64_t least, std::int64_t greatest) {
    // At any size: small sizes would stay near the least.
    return *rc::gen::resize(rc::kNominalSize, rc::gen::inRange<std::int64_t>(least, greatest + 1));
}

/// A zone and a calendar in it.
struct Subject {
    explicit Subject(const std::string& name)
        : environment("TZ", name.c_str()), zone(LocalTimeZone::current()), calendar(zone) {}

    const ScopedEnvironment environment;
    const std::shared_ptr<const LocalTimeZone> zone;
    const LocalCalendar calendar;
};

/// When the clocks of a zone are changed between 1890 and 2110, but for changes that are undone within a day.
std::vector<std::int64_t> changes(const LocalTimeZone& zone) {
    std::vector<std::int64_t> found;
    for (std::int64_t moment = year1890; moment < year2110; moment += day) {
        std::int64_t before = moment;
        std::int64_t after = moment + day;
        const auto offset = zone.offset(dateAt(before));
        if (zone.offset(dateAt(after)) == offset) {
            continue;
        }
        while (after - before > 1) {
            const std::int64_t middle = before + (after - before) / 2;
            (zone.offset(dateAt(middle)) == offset ? before : after) = middle;
        }
        found.push_back(after);
    }
    return found;
}

/// The days that the clocks show, counted from 1970-01-01, on the wall.
std::int64_t dayShown(const LocalTimeZone& zone, Date date) {
    const auto reading = zone.localDateTime(date).value();
    return wallSeconds({reading.year, reading.month, reading.day, 0, 0, 0}) / day;
}

int weekdayOf(std::int64_t dayNumber) {
    constexpr int thursday = 5;
    return static_cast<int>(((thursday - 1 + dayNumber) % 7 + 7) % 7) + 1;
}

bool isSkipped(const LocalTimeZone& zone, std::int64_t dayNumber) {
    return dayShown(zone, zone.locate(fromWallSeconds(dayNumber * day)).value().date) > dayNumber;
}

/// What `dateBySettingWeekday` has to answer.
Date expectedWeekday(const LocalTimeZone& zone, int weekday, Date date) {
    std::int64_t dayNumber = dayShown(zone, date);
    while (weekdayOf(dayNumber) != weekday || isSkipped(zone, dayNumber)) {
        ++dayNumber;
    }
    return zone.locate(fromWallSeconds(dayNumber * day + day / 2)).value().date;
}

/// Asks everything there is to ask about a moment; `wallSecond` is the time of day to set, or of a later day.
void checkAnswers(const Subject& subject, Date date, std::int64_t wallSecond, int weekday) {
    const LocalTimeZone& zone = *subject.zone;
    const LocalCalendar& calendar = subject.calendar;
    RC_LOG() << zone.name() << ' ' << date << ", setting " << wallSecond << " and " << weekday << '\n';

    const auto shown = zone.localDateTime(date).value();
    RC_ASSERT(calendar.timeComponents(date) == (TimeComponents{shown.hour, shown.minute, shown.second}));
    const std::int64_t dayNumber = dayShown(zone, date);
    RC_ASSERT(calendar.weekday(date) == weekdayOf(dayNumber));
    const auto set = zone.locate(fromWallSeconds(dayNumber * day + wallSecond)).value();
    RC_ASSERT(calendar.dateBySettingHour(0, wallSecond / 60, static_cast<int>(wallSecond % 60), date) == set.date);
    RC_ASSERT(calendar.dateBySettingWeekday(weekday, date) == expectedWeekday(zone, weekday, date));
}

TEST(AnyCalendar, AnswersAsItsZoneAroundEveryChange) {
    checkProperty(25, [] {
        const Subject subject(anyZone());
        for (const std::int64_t change : changes(*subject.zone)) {
            for (const std::int64_t distance : {-8 * day, -day, std::int64_t{-3'600}, std::int64_t{-1}, std::int64_t{0},
                                                std::int64_t{1'800}, std::int64_t{3'599}, day}) {
                const Date date = dateAt(change + distance);
                const auto shown = subject.zone->localDateTime(dateAt(change - 1)).value();
                // Times of day from an hour before the change to two after it, on the day of the change or the next.
                const std::int64_t second = shown.hour * 3'600 + anyBetween(0, 10'800);
                checkAnswers(subject, date, second, static_cast<int>(anyBetween(1, 7)));
                checkAnswers(subject, date, second + day, weekdayOf(dayShown(*subject.zone, dateAt(change))));
            }
        }
    });
}

TEST(AnyCalendar, AnswersAsItsZoneAtAnyMoment) {
    checkProperty(1'000, [] {
        const Subject subject(anyZone());
        const bool isOfOurTimes = *rc::gen::weightedElement<bool>({{3, true}, {1, false}});
        const std::int64_t moment =
            isOfOurTimes ? anyBetween(year1890, year2110) : anyBetween(-calendarReach / 2, calendarReach / 2);
        const double fraction = *rc::gen::element(0.0, 0.25, 0.875);
        const std::int64_t second = *rc::gen::element<std::int64_t>(1, 10, 100'000) * anyBetween(0, day);
        checkAnswers(subject, Date(static_cast<double>(moment) + fraction), second, static_cast<int>(anyBetween(1, 7)));
    });
}

TEST(AnyCalendar, AnswersAsItsZoneAtBothEndsOfItsTable) {
    checkProperty(300, [] {
        const Subject subject(anyZone());
        const std::int64_t end = *rc::gen::element(year1900, year2100);
        const std::int64_t moment = end + anyBetween(-5 * day, 5 * day);
        checkAnswers(subject, dateAt(moment), anyBetween(0, 5 * day), static_cast<int>(anyBetween(1, 7)));
    });
}

}  // namespace
}  // namespace quendokit

// Zones against the C library, which knows only the way from moments to readings.

#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <rapidcheck/gtest.h>

#include "adapters/cctz/local_time_zone.hpp"
#include "tests/adapters/cctz/any_zone.hpp"
#include "tests/adapters/cctz/zone_printers.hpp"
#include "tests/support/scoped_environment.hpp"

namespace quendokit {
namespace {

using testing::anyZone;
using testing::ScopedEnvironment;

constexpr std::int64_t quarterHour = 900;
constexpr std::int64_t day = 86'400;

/// TZ while the C library and the zone under test are compared.
class ChosenZone {
public:
    explicit ChosenZone(const std::string& value) : environment_("TZ", value.c_str()) { ::tzset(); }

private:
    const ScopedEnvironment environment_;
};

/// From 1970, where the C library's rules begin to be meant, to 2286.
std::int64_t anyMoment() {
    // At any size: small sizes would stay near 1970.
    return *rc::gen::resize(rc::kNominalSize, rc::gen::inRange<std::int64_t>(0, 10'000'000'000));
}

/// What the C library shows at `moment` while TZ holds the zone, as wall seconds.
std::int64_t shownAt(std::int64_t moment) {
    const auto time = static_cast<std::time_t>(moment);
    std::tm fields{};
    ::localtime_r(&time, &fields);
    return wallSeconds(
        {fields.tm_year + 1900, fields.tm_mon + 1, fields.tm_mday, fields.tm_hour, fields.tm_min, fields.tm_sec});
}

/// The first moment after `from`, and at most `to`, at which the clocks do not go on evenly; `to` when there is none.
std::int64_t nextChange(std::int64_t from, std::int64_t to, std::int64_t step) {
    const std::int64_t offset = shownAt(from) - from;
    std::int64_t before = from;
    std::int64_t after = from;
    while (shownAt(after) - after == offset) {
        if (after == to) {
            return to;
        }
        before = after;
        after = std::min(after + step, to);
    }
    while (after - before > 1) {
        const std::int64_t middle = before + (after - before) / 2;
        (shownAt(middle) - middle == offset ? before : after) = middle;
    }
    return after;
}

/// Half of them within hours of a change of the clocks.
std::int64_t anyReading() {
    const std::int64_t moment = anyMoment();
    if (*rc::gen::arbitrary<bool>()) {
        return shownAt(moment);
    }
    const std::int64_t change = nextChange(moment, moment + 200 * day, day);
    return shownAt(change) + *rc::gen::resize(rc::kNominalSize, rc::gen::inRange<std::int64_t>(-3 * 3'600, 3 * 3'600));
}

/// The answer that the C library implies for a reading, by walking over the two days around it.
LocatedInstant expected(std::int64_t reading) {
    std::vector<std::int64_t> moments;
    std::optional<std::int64_t> firstPast;
    for (std::int64_t start = reading - 27 * 3'600, end = start; start < reading + 27 * 3'600; start = end) {
        end = nextChange(start, start + day, quarterHour);
        const std::int64_t exact = start + (reading - shownAt(start));
        if (start <= exact && exact < end) {
            moments.push_back(exact);
        }
        if (!firstPast && shownAt(start) > reading) {
            firstPast = start;
        }
    }
    const auto date = [](std::int64_t moment) { return Date(static_cast<double>(moment)); };
    if (moments.empty()) {
        return {date(firstPast.value()), LocalTimeKind::skipped, std::nullopt};
    }
    if (moments.size() == 1) {
        return {date(moments[0]), LocalTimeKind::unique, std::nullopt};
    }
    return {date(moments[0]), LocalTimeKind::repeated, date(moments[1])};
}

RC_GTEST_PROP(AnyZone, ShowsWhatTheCLibraryShows, ()) {
    const std::string name = anyZone();
    const ChosenZone chosen(name);
    const std::int64_t moment = anyMoment();
    RC_LOG() << name << " @" << moment << '\n';
    const auto shown = LocalTimeZone::current()->localDateTime(Date(static_cast<double>(moment)));
    RC_ASSERT(wallSeconds(shown.value()) == shownAt(moment));
}

RC_GTEST_PROP(AnyZone, LocatesAReadingWhereItWasTaken, ()) {
    const std::string name = anyZone();
    const ChosenZone chosen(name);
    const Date date(static_cast<double>(anyMoment()));
    RC_LOG() << name << ' ' << date << '\n';
    const auto zone = LocalTimeZone::current();
    const LocatedInstant located = zone->locate(zone->localDateTime(date).value()).value();
    RC_ASSERT(located.date == date || located.second == date);
    RC_ASSERT(located.kind != LocalTimeKind::skipped);
}

RC_GTEST_PROP(AnyZone, LocatesAReadingAsTheCLibraryImplies, ()) {
    const std::string name = anyZone();
    const ChosenZone chosen(name);
    const std::int64_t reading = anyReading();
    RC_LOG() << name << ' ' << fromWallSeconds(reading) << '\n';
    RC_ASSERT(LocalTimeZone::current()->locate(fromWallSeconds(reading)).value() == expected(reading));
}

}  // namespace
}  // namespace quendokit

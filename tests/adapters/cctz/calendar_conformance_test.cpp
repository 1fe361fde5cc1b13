#include "testing/conformance/calendar_conformance.hpp"

#include <memory>
#include <string>

#include <gtest/gtest.h>

#include "adapters/cctz/local_calendar.hpp"
#include "adapters/cctz/local_time_zone.hpp"
#include "testing/conformance/zoned_calendar_conformance.hpp"
#include "tests/support/scoped_environment.hpp"

namespace quendokit::testing {
namespace {

std::shared_ptr<const Calendar> makeInZone(const std::string& name) {
    auto zone = LocalTimeZone::make(name);
    return zone ? std::make_shared<LocalCalendar>(std::move(zone)) : nullptr;
}

CalendarImplementation inZone(const char* name, const char* zone, int secondsEast) {
    return {name, secondsEast, [zone] { return makeInZone(zone); }};
}

/// Of a device whose TZ is `value`.
CalendarImplementation onDevice(const char* name, const char* value, int secondsEast) {
    return {name, secondsEast, [value] {
                const ScopedEnvironment environment("TZ", value);
                return std::make_shared<LocalCalendar>();
            }};
}

INSTANTIATE_TEST_SUITE_P(Local, CalendarConformance,
                         ::testing::Values(inZone("UTC", "Etc/UTC", 0), inZone("FarEast", "Etc/GMT-14", 14 * 3'600),
                                           inZone("FarWest", "Etc/GMT+12", -12 * 3'600),
                                           onDevice("OnDevice", "Etc/GMT+5", -5 * 3'600),
                                           onDevice("ByRule", "<+0330>-3:30", 12'600),
                                           onDevice("ByExtremeRule", "ABC24:59:59", -89'999)),
                         ::testing::PrintToStringParamName());

INSTANTIATE_TEST_SUITE_P(Local, ZonedCalendarConformance,
                         ::testing::Values(ZonedCalendarImplementation{"InZone", makeInZone},
                                           ZonedCalendarImplementation{"OnDevice",
                                                                       [](const std::string& zone) {
                                                                           const ScopedEnvironment environment(
                                                                               "TZ", zone.c_str());
                                                                           return std::make_shared<LocalCalendar>();
                                                                       }}),
                         ::testing::PrintToStringParamName());

}  // namespace
}  // namespace quendokit::testing

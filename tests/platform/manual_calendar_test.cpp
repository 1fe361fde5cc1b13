#include "testing/manual_calendar.hpp"

#include <memory>

#include "testing/conformance/calendar_conformance.hpp"
#include "testing/failing_calendar.hpp"

namespace quendokit::testing {
namespace {

CalendarImplementation manual(const char* name, int secondsEast) {
    return {name, secondsEast, [secondsEast] { return std::make_shared<ManualCalendar>(secondsEast); }};
}

INSTANTIATE_TEST_SUITE_P(Manual, CalendarConformance,
                         ::testing::Values(manual("UTC", 0), manual("FarEast", 14 * 3'600),
                                           manual("FarWest", -12 * 3'600), manual("Kathmandu", 20'700),
                                           manual("WithSeconds", -2'670)),
                         ::testing::PrintToStringParamName());

TEST(ManualCalendar, IsInUtcWhenNotSaidOtherwise) {
    EXPECT_EQ(ManualCalendar().timeComponents(Date(1'795'302'000)), (TimeComponents{23, 0, 0}));
}

TEST(ManualCalendar, AnswersInTheTimeOfThePlaceItTravelledTo) {
    ManualCalendar calendar;
    calendar.setSecondsEast(-18'000);
    EXPECT_EQ(calendar.timeComponents(Date(1'795'302'000)), (TimeComponents{18, 0, 0}));
    EXPECT_EQ(calendar.dateBySettingHour(0, 0, 0, Date(1'795'302'000)), Date(1'795'237'200));
}

TEST(FailingCalendar, HasNoAnswer) {
    const FailingCalendar calendar;
    EXPECT_EQ(calendar.timeComponents(Date(0)), std::nullopt);
    EXPECT_EQ(calendar.weekday(Date(0)), std::nullopt);
    EXPECT_EQ(calendar.dateBySettingHour(0, 0, 0, Date(0)), std::nullopt);
    EXPECT_EQ(calendar.dateBySettingWeekday(1, Date(0)), std::nullopt);
}

}  // namespace
}  // namespace quendokit::testing

#include "quendokit/presets/notification_category.hpp"

#include <gtest/gtest.h>

#include "tests/presets/plan_fixture.hpp"

namespace quendokit::testing {
namespace {

class CategoryOfADate : public PlanFixture {
protected:
    /// For a notification that fires at that time of the day on which it is now.
    [[nodiscard]] NotificationCategory at(Day day, std::int64_t time) {
        itIs(onDay(day, hours(12)));
        return presets.notificationCategory(onDay(day, time));
    }
};

using CategoryOfADateDeathTest = CategoryOfADate;

TEST_F(CategoryOfADate, IsTheNextPartOfTheDay) {
    EXPECT_EQ(at(Day::wednesday, 0), NotificationCategory::Morning);
    EXPECT_EQ(at(Day::wednesday, hours(9) - 1), NotificationCategory::Morning);
    EXPECT_EQ(at(Day::wednesday, hours(9)), NotificationCategory::Afternoon);
    EXPECT_EQ(at(Day::wednesday, hours(13) + minutes(59)), NotificationCategory::Afternoon);
    EXPECT_EQ(at(Day::wednesday, hours(14) - 1), NotificationCategory::Afternoon);
    EXPECT_EQ(at(Day::wednesday, hours(14)), NotificationCategory::Evening);
    EXPECT_EQ(at(Day::wednesday, hours(19) - 1), NotificationCategory::Evening);
    EXPECT_EQ(at(Day::wednesday, hours(19)), NotificationCategory::Morning);
    EXPECT_EQ(at(Day::wednesday, hours(23) + minutes(30)), NotificationCategory::Morning);
}

TEST_F(CategoryOfADate, CountsSeconds) {
    plan(OptionKeys::Afternoon, hours(14) + 30);
    EXPECT_EQ(at(Day::wednesday, hours(14) + 29), NotificationCategory::Afternoon);
    EXPECT_EQ(at(Day::wednesday, hours(14) + 30), NotificationCategory::Evening);
}

TEST_F(CategoryOfADate, OnAWeekendDayTheMorningBeginsLater) {
    EXPECT_EQ(at(Day::saturday, hours(9) + minutes(30)), NotificationCategory::Morning);
    EXPECT_EQ(at(Day::saturday, hours(10)), NotificationCategory::Afternoon);
    EXPECT_EQ(at(Day::friday, hours(9) + minutes(30)), NotificationCategory::Afternoon);
}

TEST_F(CategoryOfADate, TheMorningIsThatOfTodayAndNotOfTheDate) {
    itIs(onDay(Day::friday, hours(12)));
    EXPECT_EQ(presets.notificationCategory(onDay(Day::saturday, hours(9) + minutes(30))),
              NotificationCategory::Afternoon);
    itIs(onDay(Day::saturday, hours(12)));
    EXPECT_EQ(presets.notificationCategory(onDay(Day::friday, hours(9) + minutes(30))), NotificationCategory::Morning);
}

TEST_F(CategoryOfADate, ThePartsMayComeInAnyOrder) {
    plan(OptionKeys::WorkdayMorning, hours(20));
    plan(OptionKeys::Afternoon, hours(6));
    plan(OptionKeys::Evening, hours(2));
    EXPECT_EQ(at(Day::wednesday, hours(1)), NotificationCategory::Evening);
    EXPECT_EQ(at(Day::wednesday, hours(2)), NotificationCategory::Afternoon);
    EXPECT_EQ(at(Day::wednesday, hours(6)), NotificationCategory::Morning);
    EXPECT_EQ(at(Day::wednesday, hours(19)), NotificationCategory::Morning);
    // The last part of this day is the morning; after it comes the morning again.
    EXPECT_EQ(at(Day::wednesday, hours(20)), NotificationCategory::Morning);
}

TEST_F(CategoryOfADate, ATimeBeyondTheDayIsNeverReached) {
    plan(OptionKeys::Evening, hours(24));
    EXPECT_EQ(at(Day::wednesday, hours(23) + minutes(59)), NotificationCategory::Evening);
}

TEST_F(CategoryOfADate, TheMorningThatDoesNotCountTodayMayEqualAnother) {
    plan(OptionKeys::WeekendMorning, hours(14));
    EXPECT_EQ(at(Day::wednesday, hours(9)), NotificationCategory::Afternoon);
}

TEST_F(CategoryOfADateDeathTest, EqualTimesAreFatal) {
    const char* const message = "Fatal error: two of morning, afternoon and evening begin at the same time of day";
    plan(OptionKeys::Afternoon, hours(19));
    EXPECT_DEATH(static_cast<void>(at(Day::wednesday, 0)), message);
    plan(OptionKeys::Afternoon, hours(9));
    EXPECT_DEATH(static_cast<void>(at(Day::wednesday, 0)), message);
    EXPECT_EQ(at(Day::saturday, hours(9)), NotificationCategory::Morning);
    plan(OptionKeys::Afternoon, hours(14));
    plan(OptionKeys::Evening, hours(10));
    EXPECT_DEATH(static_cast<void>(at(Day::saturday, 0)), message);
    EXPECT_EQ(at(Day::wednesday, hours(9)), NotificationCategory::Evening);
    // The day of the date does not matter.
    itIs(onDay(Day::saturday, 0));
    EXPECT_DEATH(static_cast<void>(presets.notificationCategory(onDay(Day::wednesday, 0))), message);
}

}  // namespace
}  // namespace quendokit::testing

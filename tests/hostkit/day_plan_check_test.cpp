#include "hostkit/day_plan_check.hpp"

#include <cstdint>
#include <limits>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "tests/presets/plan_fixture.hpp"

namespace quendokit::testing {
namespace {

using Lines = std::vector<std::string>;

Lines flawsOf(const DayPlan& plan) {
    return DayPlanCheck().flaws(plan);
}

TEST(DayPlan, BeginsAsEveryoneDoesAndWithoutAFlaw) {
    const DayPlan plan;
    EXPECT_EQ(plan.firstWorkday, 2);
    EXPECT_EQ(plan.firstWeekend, 7);
    EXPECT_EQ(plan.workdayMorning, hours(9));
    EXPECT_EQ(plan.weekendMorning, hours(11));
    EXPECT_EQ(plan.afternoon, hours(12));
    EXPECT_EQ(plan.evening, hours(18));
    EXPECT_EQ(plan.later, hours(3));
    EXPECT_EQ(plan.postpone, minutes(20));
    EXPECT_EQ(flawsOf(plan), Lines());
}

TEST(DayPlan, DaysRunFromOneToSeven) {
    for (std::int64_t day = -8; day <= 15; ++day) {
        DayPlan plan;
        plan.firstWorkday = day;
        EXPECT_EQ(flawsOf(plan).empty(), day >= 1 && day <= 7) << day;
        plan = DayPlan();
        plan.firstWeekend = day;
        EXPECT_EQ(flawsOf(plan).empty(), day >= 1 && day <= 7) << day;
    }
    DayPlan plan;
    plan.firstWorkday = 0;
    EXPECT_EQ(flawsOf(plan), Lines{"first-workday is no day of the week: choose 1 for Sunday to 7 for Saturday"});
    plan.firstWorkday = 4;
    plan.firstWeekend = 4;
    EXPECT_EQ(flawsOf(plan), Lines());
}

TEST(DayPlan, TimesRunThroughOneDay) {
    for (std::int64_t DayPlan::* const time :
         {&DayPlan::workdayMorning, &DayPlan::weekendMorning, &DayPlan::afternoon, &DayPlan::evening}) {
        for (const auto& [value, good] : {std::pair<std::int64_t, bool>(0, true),
                                          {86'399, true},
                                          {-1, false},
                                          {86'400, false},
                                          {std::numeric_limits<std::int64_t>::max(), false},
                                          {std::numeric_limits<std::int64_t>::min(), false}}) {
            DayPlan plan;
            plan.*time = value;
            EXPECT_EQ(flawsOf(plan).empty(), good) << value;
        }
    }
    DayPlan plan;
    plan.evening = 86'400;
    EXPECT_EQ(flawsOf(plan), Lines{"evening is no time of day: choose one from 00:00 to 23:59:59"});
}

TEST(DayPlan, DurationsAreNotNegative) {
    DayPlan plan;
    plan.later = 0;
    plan.postpone = std::numeric_limits<std::int64_t>::max();
    EXPECT_EQ(flawsOf(plan), Lines());
    plan.later = -1;
    plan.postpone = -1;
    EXPECT_EQ(flawsOf(plan), (Lines{"later is negative: choose a duration of 0 or more",
                                    "postpone is negative: choose a duration of 0 or more"}));
}

TEST(DayPlan, NoTwoTimesOfOneDayAreEqual) {
    const auto with = [](std::int64_t workdayMorning, std::int64_t weekendMorning, std::int64_t afternoon,
                         std::int64_t evening) {
        DayPlan plan;
        plan.workdayMorning = workdayMorning;
        plan.weekendMorning = weekendMorning;
        plan.afternoon = afternoon;
        plan.evening = evening;
        return flawsOf(plan);
    };
    const std::string why = " begin at the same time: choose another one for either";
    EXPECT_EQ(with(1, 1, 2, 3), Lines()) << "the two mornings never meet";
    EXPECT_EQ(with(1, 2, 1, 3), Lines{"workday-morning and afternoon" + why});
    EXPECT_EQ(with(1, 2, 3, 1), Lines{"workday-morning and evening" + why});
    EXPECT_EQ(with(1, 2, 2, 3), Lines{"weekend-morning and afternoon" + why});
    EXPECT_EQ(with(1, 2, 3, 2), Lines{"weekend-morning and evening" + why});
    EXPECT_EQ(with(1, 2, 3, 3), Lines{"afternoon and evening" + why});
    EXPECT_EQ(with(3, 2, 1, 0), Lines()) << "the order is free";
}

TEST(DayPlan, ACheckThatIsOffFindsNothing) {
    EXPECT_EQ(DayPlanCheck(false).flaws({0, 0, -1, -1, -1, -1, -1, -1}), Lines());
}

class CheckedCategory : public PlanFixture {};
using CheckedCategoryDeathTest = CheckedCategory;

TEST_F(CheckedCategory, IsTheEnginesWhileItCanBeAsked) {
    itIs(onDay(Day::wednesday, hours(12)));
    for (const std::int64_t time : {hours(8), hours(10), hours(15), hours(20)}) {
        const Date date = onDay(Day::wednesday, time);
        EXPECT_EQ(DayPlanCheck().notificationCategory(date), presets.notificationCategory(date));
    }
    EXPECT_FALSE(DayPlanCheck().timesCoincideToday());
}

TEST_F(CheckedCategory, IsTheMorningWhileTwoTimesOfTodayCoincide) {
    itIs(onDay(Day::wednesday, hours(12)));
    for (const auto& [key, value] : {std::pair(OptionKeys::Evening, hours(14)),
                                     {OptionKeys::Evening, hours(9)},
                                     {OptionKeys::Afternoon, hours(9)}}) {
        plan(OptionKeys::Afternoon, hours(14));
        plan(OptionKeys::Evening, hours(19));
        plan(key, value);
        EXPECT_TRUE(DayPlanCheck().timesCoincideToday());
        EXPECT_EQ(DayPlanCheck().notificationCategory(onDay(Day::wednesday, hours(10))), NotificationCategory::Morning);
    }
}

TEST_F(CheckedCategory, WhichMorningCountsFollowsToday) {
    plan(OptionKeys::Afternoon, hours(10));
    itIs(onDay(Day::wednesday, hours(12)));
    EXPECT_EQ(DayPlanCheck().notificationCategory(onDay(Day::saturday, hours(9))), NotificationCategory::Afternoon);
    itIs(onDay(Day::saturday, hours(12)));
    EXPECT_EQ(DayPlanCheck().notificationCategory(onDay(Day::saturday, hours(9))), NotificationCategory::Morning);
}

TEST_F(CheckedCategoryDeathTest, ACheckThatIsOffAsksTheEngine) {
    plan(OptionKeys::Afternoon, hours(19));
    EXPECT_DEATH(static_cast<void>(DayPlanCheck(false).notificationCategory(onDay(Day::wednesday, 0))),
                 "begin at the same time of day");
}

}  // namespace
}  // namespace quendokit::testing

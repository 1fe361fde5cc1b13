// The plain calendar and rules, by which the presets are tested, against answers written by hand.

#include "tests/presets/plain_rules.hpp"

#include <algorithm>
#include <vector>

#include <gtest/gtest.h>

#include "tests/presets/plain_calendar.hpp"

namespace quendokit {
namespace {

using testing::PlainCalendar;
using testing::PlainPlan;
using testing::PlainRules;

constexpr std::int64_t hour = 3'600;
constexpr std::int64_t day = 86'400;

// Wall days, counted from 1970-01-01.
constexpr std::int64_t march8Of2026 = 20'520;
constexpr std::int64_t november1Of2026 = 20'758;

/// Morning at 9:00 and 10:00, afternoon at 14:00, evening at 19:00; Saturday and Sunday; 3 hours and 10 minutes.
PlainPlan plan() {
    return PlainPlan({{"quendokit.options.first-workday", std::int64_t{2}},
                      {"quendokit.options.first-weekend", std::int64_t{7}},
                      {"quendokit.options.workday-morning", 9 * hour},
                      {"quendokit.options.weekend-morning", 10 * hour},
                      {"quendokit.options.afternoon", 14 * hour},
                      {"quendokit.options.evening", 19 * hour},
                      {"quendokit.options.later", 3 * hour},
                      {"quendokit.options.postpone", hour / 6}});
}

TEST(PlainCalendar, ReadsFractionsDownwards) {
    const PlainCalendar calendar("America/New_York");
    const auto reading = calendar.read(1'795'302'000.0 - 0.25);
    EXPECT_EQ(reading.second, 18 * hour - 1);
    EXPECT_EQ(reading.weekday, 7);
    EXPECT_EQ(calendar.read(-0.25).wallSeconds, -5 * hour - 1);
}

TEST(PlainCalendar, FindsTheChangesOfTheClocks) {
    const PlainCalendar calendar("America/New_York");
    EXPECT_EQ(calendar.changes().size(), 2U * 71);
    EXPECT_EQ(calendar.changes().front(), 9'961'200);     // 1970-04-26 02:00:00
    EXPECT_EQ(calendar.changes().back(), 2'235'621'600);  // 2040-11-04 02:00:00
    EXPECT_TRUE(PlainCalendar("Etc/GMT+5").changes().empty());
}

TEST(PlainCalendar, KnowsTheRulesAfter2037) {
    // Until 2037 the changes stand in a table, later in a rule.
    const PlainCalendar howe("Australia/Lord_Howe");
    EXPECT_EQ(howe.read(2'215'296'000).second, 11 * hour);             // 2040-03-14, summer
    EXPECT_EQ(howe.read(2'223'244'800).second, 10 * hour + hour / 2);  // 2040-06-14, winter
}

TEST(PlainCalendar, TakesTheFirstMomentAfterAGap) {
    const PlainCalendar calendar("America/New_York");
    EXPECT_EQ(calendar.momentOf(march8Of2026 * day + 2 * hour - 1), 1'772'953'200 - 1);
    EXPECT_EQ(calendar.momentOf(march8Of2026 * day + 2 * hour), 1'772'953'200);
    EXPECT_EQ(calendar.momentOf(march8Of2026 * day + 3 * hour - 1), 1'772'953'200);
    EXPECT_EQ(calendar.momentOf(march8Of2026 * day + 3 * hour + 1), 1'772'953'201);
}

TEST(PlainCalendar, TakesTheFirstOfTwoEqualTimes) {
    const PlainCalendar calendar("America/New_York");
    EXPECT_EQ(calendar.momentOf(november1Of2026 * day + hour), 1'793'509'200);
    EXPECT_EQ(calendar.momentOf(november1Of2026 * day + 2 * hour - 1), 1'793'512'799);
    EXPECT_EQ(calendar.momentOf(november1Of2026 * day + 2 * hour), 1'793'516'400);
}

TEST(PlainCalendar, RollsMinutesOverInWallTime) {
    const PlainCalendar calendar("America/New_York");
    const double saturday = 1'772'953'200 - 10 * hour;
    EXPECT_EQ(calendar.dateBySettingHour(1, 1'440, 0, saturday), 1'772'953'200 - hour);
    EXPECT_EQ(calendar.dateBySettingHour(3, 1'440, 5, saturday), 1'772'953'205);
}

TEST(PlainCalendar, PassesOverADayThatItsZoneSkips) {
    const PlainCalendar calendar("Pacific/Apia");
    const double thursday = 1'325'239'200 - hour;  // 2011-12-29 23:00:00; the next day is Saturday the 31st
    EXPECT_EQ(calendar.read(thursday).weekday, 5);
    EXPECT_EQ(calendar.read(thursday + hour).weekday, 7);
    EXPECT_EQ(calendar.dateBySettingWeekday(5, thursday), 1'325'239'200 - 12 * hour);
    EXPECT_EQ(calendar.dateBySettingWeekday(7, thursday), 1'325'239'200 + 12 * hour);
    EXPECT_EQ(calendar.dateBySettingWeekday(6, thursday), 1'325'239'200 + (6 * 24 + 12) * hour);
}

TEST(PlainCalendar, KnowsAChangeOnTheEveOfASunday) {
    const PlainCalendar calendar("America/Nuuk");
    EXPECT_EQ(calendar.changes().back(), 2'234'998'800);  // 2040-10-28 01:00 UTC, which was midnight
    EXPECT_EQ(calendar.read(2'234'998'799).weekday, 7);
    EXPECT_EQ(calendar.read(2'234'998'800).second, 23 * hour);
}

TEST(PlainCalendar, KnowsEveryZone) {
    const auto names = testing::everyZoneName();
    EXPECT_GT(names.size(), 400U);
    for (const char* name : {"Europe/Berlin", "Etc/GMT+5", "America/Argentina/Ushuaia", "Zulu"}) {
        EXPECT_EQ(std::count(names.begin(), names.end(), name), 1) << name;
    }
}

TEST(PlainPlan, ReadsWhatIsMissingOrOfAnotherKindAsItsDefault) {
    const PlainPlan plan({{"quendokit.options.evening", 3.0}, {"quendokit.options.first-workday", true}});
    EXPECT_EQ(plan.firstWorkday, 2);
    EXPECT_EQ(plan.weekend(), (std::vector<int>{7, 1}));
    EXPECT_EQ(plan.workdayMorning, 9 * hour);
    EXPECT_EQ(plan.weekendMorning, 11 * hour);
    EXPECT_EQ(plan.afternoon, 12 * hour);
    EXPECT_EQ(plan.evening, 18 * hour);
    EXPECT_EQ(plan.later, 3 * hour);
    EXPECT_EQ(plan.postpone, hour / 3);
}

TEST(PlainRules, TakeTheMorningOfTomorrowOnTheDayOfTheDateUntilItBegins) {
    const PlainCalendar calendar("UTC");
    const PlainPlan plan = ::quendokit::plan();
    const double sunday = 1'795'219'200 + day;  // 2026-11-22
    const double twoAtNight = sunday + 2 * hour;
    EXPECT_EQ(PlainRules(calendar, plan, twoAtNight).tomorrowMorning(twoAtNight), sunday + 9 * hour);
    const double nine = sunday + 9 * hour;
    EXPECT_EQ(PlainRules(calendar, plan, nine).tomorrowMorning(nine), nine);
    EXPECT_EQ(PlainRules(calendar, plan, nine).tomorrowMorning(nine + 1), nine + day);
}

TEST(PlainRules, FindTheWeekendAndTheWeekAfterIt) {
    const PlainCalendar calendar("UTC");
    const PlainPlan plan = ::quendokit::plan();
    const double wednesday = 1'795'219'200 - 3 * day + hour;  // 2026-11-18
    const PlainRules rules(calendar, plan, wednesday);
    EXPECT_EQ(rules.thisWeekend(wednesday), 1'795'219'200 + 10 * hour);
    EXPECT_EQ(rules.nextWeek(wednesday), 1'795'219'200 + 2 * day + 9 * hour);
    EXPECT_EQ(rules.thisWeekend(wednesday + 3 * day), wednesday + 3 * day + hour);
    const PlainRules without(calendar, plan, wednesday, {});
    EXPECT_EQ(without.thisWeekend(wednesday), wednesday + hour);
    EXPECT_EQ(without.nextWeek(wednesday), wednesday);
}

TEST(PlainRules, LiftAStoredTimeOfMidnightByADay) {
    const PlainCalendar calendar("UTC");
    const PlainPlan plan = ::quendokit::plan();
    EXPECT_EQ(PlainRules(calendar, plan, 10.0 * hour).stored(-hour), 9 * hour);
    EXPECT_EQ(PlainRules(calendar, plan, 0.5 * hour).stored(-hour), 84'600);
    EXPECT_EQ(PlainRules(calendar, plan, 1.0 * hour).stored(-hour), day);
}

}  // namespace
}  // namespace quendokit

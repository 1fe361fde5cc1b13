#include <gtest/gtest.h>

#include "quendokit/presets/preset_rules_internal.hpp"
#include "tests/presets/plan_fixture.hpp"

namespace quendokit::testing {
namespace {

class PresetRules : public PlanFixture {};

TEST_F(PresetRules, LaterIsThatLongAfterTheDate) {
    EXPECT_EQ(givenAt(presets.Later(), onDay(Day::wednesday, hours(10) + minutes(15))),
              onDay(Day::wednesday, hours(13) + minutes(15)));
    EXPECT_EQ(givenAt(presets.Later(), onDay(Day::wednesday, hours(23))), onDay(Day::thursday, hours(2)));
    // From a date ahead.
    EXPECT_EQ(given(presets.Later(), onDay(Day::friday, hours(8))), onDay(Day::friday, hours(11)));
}

TEST_F(PresetRules, LaterIsAnHourFromNowWhenItIsNotToCome) {
    const Date now = onDay(Day::wednesday, hours(10));
    itIs(now);
    EXPECT_EQ(given(presets.Later(), now - hours(3)), now + hours(1));
    EXPECT_EQ(given(presets.Later(), now - hours(3) + 1), now + 1);
    EXPECT_EQ(given(presets.Later(), now - days(9)), now + hours(1));
    plan(OptionKeys::Later, 0);
    EXPECT_EQ(given(presets.Later(), now), now + hours(1));
    plan(OptionKeys::Later, -5);
    EXPECT_EQ(given(presets.Later(), now), now + hours(1));
}

TEST_F(PresetRules, LaterKeepsTheFractionOfTheDate) {
    itIs(Date(1'000'000.5));
    EXPECT_EQ(given(presets.Later(), Date(1'000'000.5)), Date(1'010'800.5));
    EXPECT_EQ(given(presets.Later(), Date(5)), Date(1'003'600.5));
}

TEST_F(PresetRules, ThisAfternoonIsOnTheDayOfTheDate) {
    EXPECT_EQ(givenAt(presets.ThisAfternoon(), onDay(Day::wednesday, hours(10))), onDay(Day::wednesday, hours(14)));
    EXPECT_EQ(givenAt(presets.ThisAfternoon(), onDay(Day::wednesday, hours(14) - 1)), onDay(Day::wednesday, hours(14)));
    EXPECT_EQ(given(presets.ThisAfternoon(), onDay(Day::friday, hours(20))), onDay(Day::friday, hours(14)));
}

TEST_F(PresetRules, ThisAfternoonIsAnHourFromNowOnceItHasBegun) {
    EXPECT_EQ(givenAt(presets.ThisAfternoon(), onDay(Day::wednesday, hours(14))), onDay(Day::wednesday, hours(15)));
    EXPECT_EQ(givenAt(presets.ThisAfternoon(), onDay(Day::wednesday, hours(15) + minutes(30))),
              onDay(Day::wednesday, hours(16) + minutes(30)));
    itIs(onDay(Day::friday, hours(8)));
    EXPECT_EQ(given(presets.ThisAfternoon(), onDay(Day::wednesday, hours(10))), onDay(Day::friday, hours(9)));
}

TEST_F(PresetRules, ThisEveningFollowsTheSameRule) {
    EXPECT_EQ(givenAt(presets.ThisEvening(), onDay(Day::wednesday, hours(10))), onDay(Day::wednesday, hours(19)));
    EXPECT_EQ(givenAt(presets.ThisEvening(), onDay(Day::wednesday, hours(19))), onDay(Day::wednesday, hours(20)));
    EXPECT_EQ(givenAt(presets.ThisEvening(), onDay(Day::wednesday, hours(21))), onDay(Day::wednesday, hours(22)));
}

TEST_F(PresetRules, TomorrowMorningIsTheMorningOfTheNextDay) {
    EXPECT_EQ(givenAt(presets.TomorrowMorning(), onDay(Day::thursday, hours(23))), onDay(Day::friday, hours(9)));
    EXPECT_EQ(givenAt(presets.TomorrowMorning(), onDay(Day::friday, hours(23))), onDay(Day::saturday, hours(10)));
    EXPECT_EQ(givenAt(presets.TomorrowMorning(), onDay(Day::thursday, hours(9) + 1)), onDay(Day::friday, hours(9)));
}

TEST_F(PresetRules, BeforeTheMorningBeginsItIsTheComingOne) {
    EXPECT_EQ(givenAt(presets.TomorrowMorning(), onDay(Day::thursday, hours(2))), onDay(Day::thursday, hours(9)));
    EXPECT_EQ(givenAt(presets.TomorrowMorning(), onDay(Day::thursday, hours(9))), onDay(Day::thursday, hours(9)));
    const Date fraction(onDay(Day::thursday, hours(9)).timeIntervalSince1970() + 0.5);
    EXPECT_EQ(givenAt(presets.TomorrowMorning(), fraction), onDay(Day::thursday, hours(9)));
}

TEST_F(PresetRules, WhichMorningItIsFollowsTheDayAfterNow) {
    EXPECT_EQ(givenAt(presets.TomorrowMorning(), nextWeekOn(Day::sunday, hours(2))), nextWeekOn(Day::sunday, hours(9)));
    EXPECT_EQ(givenAt(presets.TomorrowMorning(), onDay(Day::saturday, hours(2))), onDay(Day::saturday, hours(10)));
    // The day after `date` is no matter, be it before its morning or afterwards.
    itIs(onDay(Day::friday, hours(12)));
    EXPECT_EQ(given(presets.TomorrowMorning(), onDay(Day::tuesday, hours(9) + minutes(30))),
              onDay(Day::tuesday, hours(10)));
    itIs(onDay(Day::tuesday, hours(12)));
    EXPECT_EQ(given(presets.TomorrowMorning(), onDay(Day::friday, hours(2))), onDay(Day::friday, hours(9)));
    itIs(onDay(Day::friday, hours(12)));
    EXPECT_EQ(given(presets.TomorrowMorning(), onDay(Day::tuesday, hours(12))), onDay(Day::wednesday, hours(10)));
    itIs(onDay(Day::tuesday, hours(12)));
    EXPECT_EQ(given(presets.TomorrowMorning(), onDay(Day::friday, hours(12))), onDay(Day::saturday, hours(9)));
}

TEST_F(PresetRules, TomorrowMorningMayBePast) {
    itIs(onDay(Day::friday, hours(12)));
    EXPECT_EQ(given(presets.TomorrowMorning(), onDay(Day::monday, hours(12))), onDay(Day::tuesday, hours(10)));
}

TEST_F(PresetRules, TomorrowAfternoonAndEveningAreOnTheDayAfterTheDate) {
    EXPECT_EQ(givenAt(presets.TomorrowAfternoon(), onDay(Day::friday, hours(8))), onDay(Day::saturday, hours(14)));
    EXPECT_EQ(givenAt(presets.TomorrowAfternoon(), onDay(Day::friday, hours(2))), onDay(Day::saturday, hours(14)));
    EXPECT_EQ(givenAt(presets.TomorrowEvening(), onDay(Day::friday, hours(23))), onDay(Day::saturday, hours(19)));
    itIs(onDay(Day::friday, hours(12)));
    EXPECT_EQ(given(presets.TomorrowAfternoon(), onDay(Day::monday, hours(12))), onDay(Day::tuesday, hours(14)));
    EXPECT_EQ(given(presets.TomorrowEvening(), onDay(Day::monday, hours(12))), onDay(Day::tuesday, hours(19)));
}

TEST_F(PresetRules, ThisWeekendIsTheMorningOfItsFirstDay) {
    EXPECT_EQ(givenAt(presets.ThisWeekend(), onDay(Day::wednesday, hours(12))), onDay(Day::saturday, hours(10)));
    EXPECT_EQ(givenAt(presets.ThisWeekend(), onDay(Day::friday, hours(23))), onDay(Day::saturday, hours(10)));
    // The search starts from now.
    itIs(onDay(Day::monday, hours(12)));
    EXPECT_EQ(given(presets.ThisWeekend(), nextWeekOn(Day::wednesday, hours(12))), onDay(Day::saturday, hours(10)));
    itIs(onDay(Day::saturday, hours(12)));
    EXPECT_EQ(given(presets.ThisWeekend(), onDay(Day::friday, hours(12))), onDay(Day::saturday, hours(10)));
    itIs(nextWeekOn(Day::sunday, hours(12)));
    EXPECT_EQ(given(presets.ThisWeekend(), onDay(Day::friday, hours(12))), nextWeekOn(Day::saturday, hours(10)));
}

TEST_F(PresetRules, OnTheWeekendItIsAnHourAfterTheDate) {
    EXPECT_EQ(givenAt(presets.ThisWeekend(), onDay(Day::saturday, hours(11))), onDay(Day::saturday, hours(12)));
    EXPECT_EQ(givenAt(presets.ThisWeekend(), nextWeekOn(Day::sunday, hours(11))), nextWeekOn(Day::sunday, hours(12)));
    itIs(onDay(Day::monday, hours(12)));
    EXPECT_EQ(given(presets.ThisWeekend(), onDay(Day::saturday, hours(8))), onDay(Day::saturday, hours(9)));
    itIs(nextWeekOn(Day::monday, hours(12)));
    EXPECT_EQ(given(presets.ThisWeekend(), onDay(Day::saturday, hours(8))), onDay(Day::saturday, hours(9)));
}

TEST_F(PresetRules, NextWeekIsTheMorningAfterTheWeekend) {
    EXPECT_EQ(givenAt(presets.NextWeek(), onDay(Day::wednesday, hours(12))), nextWeekOn(Day::monday, hours(9)));
    EXPECT_EQ(givenAt(presets.NextWeek(), onDay(Day::saturday, hours(12))), nextWeekOn(Day::monday, hours(9)));
    EXPECT_EQ(givenAt(presets.NextWeek(), nextWeekOn(Day::sunday, hours(23))), nextWeekOn(Day::monday, hours(9)));
    EXPECT_EQ(givenAt(presets.NextWeek(), onDay(Day::monday, hours(8))), nextWeekOn(Day::monday, hours(9)));
    // The search starts from now.
    itIs(onDay(Day::wednesday, hours(12)));
    EXPECT_EQ(given(presets.NextWeek(), nextWeekOn(Day::friday, hours(12))), nextWeekOn(Day::monday, hours(9)));
}

TEST_F(PresetRules, TheWeekendIsWhatThePlanSays) {
    plan(OptionKeys::FirstWeekend, Day::friday);
    plan(OptionKeys::FirstWorkday, Day::sunday);
    EXPECT_EQ(givenAt(presets.NextWeek(), onDay(Day::tuesday, hours(12))), nextWeekOn(Day::sunday, hours(9)));
    EXPECT_EQ(givenAt(presets.ThisWeekend(), onDay(Day::tuesday, hours(12))), onDay(Day::friday, hours(10)));
    EXPECT_EQ(givenAt(presets.TomorrowMorning(), onDay(Day::thursday, hours(12))), onDay(Day::friday, hours(10)));
    EXPECT_EQ(givenAt(presets.TomorrowMorning(), onDay(Day::saturday, hours(12))), nextWeekOn(Day::sunday, hours(9)));
}

TEST_F(PresetRules, WhenTheWholeWeekIsWeekendItStillEndsOnSunday) {
    plan(OptionKeys::FirstWorkday, Day::saturday);
    const Date now = onDay(Day::wednesday, hours(12));
    EXPECT_EQ(givenAt(presets.ThisWeekend(), now), now + hours(1));
    EXPECT_EQ(givenAt(presets.NextWeek(), now), nextWeekOn(Day::monday, hours(9)));
    EXPECT_EQ(givenAt(presets.TomorrowMorning(), now), onDay(Day::thursday, hours(10)));
}

TEST_F(PresetRules, WithoutAWeekendItIsAnHourAfterTheDate) {
    const Date now = onDay(Day::wednesday, hours(12));
    itIs(now);
    const Date date = onDay(Day::friday, hours(8));
    EXPECT_EQ(preset_rules::thisWeekend(date, Day::None()), date + hours(1));
    EXPECT_EQ(preset_rules::thisWeekend(onDay(Day::saturday, hours(8)), Day::None()), onDay(Day::saturday, hours(9)));
}

TEST_F(PresetRules, WithoutAWeekendNextWeekIsTheDateItself) {
    const Date date = onDay(Day::friday, hours(8));
    EXPECT_EQ(preset_rules::nextWeek(date, Day::None()), date);
}

TEST_F(PresetRules, WithoutAWeekendEveryMorningIsAWorkdays) {
    itIs(onDay(Day::friday, hours(23)));
    EXPECT_EQ(preset_rules::tomorrowMorning(onDay(Day::friday, hours(23)), Day::None()),
              onDay(Day::saturday, hours(9)));
}

TEST_F(PresetRules, TheOrderOfTheWeekendCounts) {
    itIs(onDay(Day::wednesday, hours(12)));
    const std::vector<Day> backwards{Day::sunday, Day::saturday};
    EXPECT_EQ(preset_rules::thisWeekend(onDay(Day::wednesday, 0), backwards), nextWeekOn(Day::sunday, hours(10)));
    EXPECT_EQ(preset_rules::nextWeek(onDay(Day::wednesday, 0), backwards), nextWeekOn(Day::sunday, hours(9)));
}

TEST_F(PresetRules, CustomIsTheDateItself) {
    const Date past(12.5);
    EXPECT_EQ(given(presets.Custom(), past), past);
}

TEST_F(PresetRules, MacIsTheDeviceWhateverTheDate) {
    EXPECT_EQ(presets.Mac().configuration(Date(0)).deviceType(), DeviceType::mac);
    EXPECT_FALSE(presets.Mac().configuration(Date(0)).date());
}

TEST_F(PresetRules, ShortIsThatLongAfterTheDateEvenIfPast) {
    itIs(onDay(Day::wednesday, hours(12)));
    EXPECT_EQ(given(presets.Short(), onDay(Day::wednesday, hours(12))), onDay(Day::wednesday, hours(12) + minutes(10)));
    EXPECT_EQ(given(presets.Short(), onDay(Day::monday, hours(12))), onDay(Day::monday, hours(12) + minutes(10)));
    plan(OptionKeys::Postpone, -60);
    EXPECT_EQ(given(presets.Short(), onDay(Day::monday, hours(12))), onDay(Day::monday, hours(12) - 60));
}

TEST_F(PresetRules, ReadThePlanAndTheClockWhenTheyRun) {
    const Preset evening = presets.ThisEvening();
    const Date date = onDay(Day::wednesday, hours(12));
    itIs(date);
    EXPECT_EQ(given(evening, date), onDay(Day::wednesday, hours(19)));
    plan(OptionKeys::Evening, hours(20));
    EXPECT_EQ(given(evening, date), onDay(Day::wednesday, hours(20)));
    itIs(onDay(Day::wednesday, hours(21)));
    EXPECT_EQ(given(evening, date), onDay(Day::wednesday, hours(22)));
    calendar->setSecondsEast(static_cast<int>(hours(2)));
    itIs(date);
    EXPECT_EQ(given(evening, date), onDay(Day::wednesday, hours(18)));
}

TEST_F(PresetRules, ATimeOfAWholeDayIsTheNextMidnight) {
    plan(OptionKeys::Evening, hours(24));
    EXPECT_EQ(givenAt(presets.ThisEvening(), onDay(Day::wednesday, hours(23))), onDay(Day::thursday, 0));
    EXPECT_EQ(givenAt(presets.TomorrowEvening(), onDay(Day::wednesday, hours(23))), onDay(Day::friday, 0));
}

using PresetRulesDeathTest = PresetRules;

TEST_F(PresetRulesDeathTest, ATimeBeforeMidnightIsFatalWhereItIsUsed) {
    plan(OptionKeys::Evening, -1);
    const Date date = onDay(Day::wednesday, hours(12));
    EXPECT_DEATH(static_cast<void>(given(presets.ThisEvening(), date)), "the calendar has no answer");
    EXPECT_EQ(given(presets.ThisAfternoon(), date), onDay(Day::saturday, hours(1)));
}

TEST_F(PresetRulesDeathTest, AStoredDayThatIsNoneIsFatal) {
    plan(OptionKeys::FirstWeekend, 0);
    EXPECT_DEATH(static_cast<void>(given(presets.NextWeek(), onDay(Day::wednesday, 0))), "no day of the week");
}

}  // namespace
}  // namespace quendokit::testing

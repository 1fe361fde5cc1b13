#include "hostkit/late_postpone.hpp"

#include <gtest/gtest.h>

#include "quendokit/options/options.hpp"
#include "quendokit/presets/preset_controller.hpp"
#include "tests/support/device_fixture.hpp"

namespace quendokit::testing {
namespace {

/// Wednesday 10:00 with the day plan that everyone begins with.
class LatePostpone : public DeviceFixture {
protected:
    LatePostpone() { itIs(now_); }

    [[nodiscard]] Date dateOf(const Preset& preset, std::optional<Date> from, bool again = true) const {
        return postponedCondition(preset, from, now_, again).date().value();
    }

    const Date now_ = onDay(Day::wednesday, hours(10));
    PresetController presets_;
};

TEST_F(LatePostpone, ReckonsFromTheRemindersOwnMomentWhileThatLiesAhead) {
    EXPECT_EQ(dateOf(presets_.Short(), now_ - minutes(5)), now_ + minutes(15));
}

TEST_F(LatePostpone, ReckonsFromNowWhenTheRemindersOwnMomentGivesThePast) {
    EXPECT_EQ(dateOf(presets_.Short(), now_ - hours(2)), now_ + minutes(20));
    EXPECT_EQ(dateOf(presets_.TomorrowMorning(), now_ - days(3)), onDay(Day::thursday, hours(9)));
    EXPECT_EQ(dateOf(presets_.ThisWeekend(), now_ - days(3)), onDay(Day::saturday, hours(11)));
}

TEST_F(LatePostpone, AMomentOfThisVeryInstantIsPast) {
    EXPECT_EQ(dateOf(presets_.Short(), now_ - minutes(20)), now_ + minutes(20));
    EXPECT_EQ(dateOf(presets_.Short(), now_ - minutes(20) + 1), now_ + 1);
}

TEST_F(LatePostpone, ReckonsFromNowForAReminderOfADevice) {
    EXPECT_EQ(dateOf(presets_.Short(), std::nullopt), now_ + minutes(20));
}

TEST_F(LatePostpone, ARuleThatGivesThisVeryInstantIsAskedFromASecondLater) {
    itIs(onDay(Day::wednesday, hours(9)));
    EXPECT_EQ(postponedCondition(presets_.TomorrowMorning(), std::nullopt, onDay(Day::wednesday, hours(9))).date(),
              onDay(Day::thursday, hours(9)));
    Options::setPostpone(0);
    EXPECT_EQ(dateOf(presets_.Short(), std::nullopt), now_ + 1);
}

TEST_F(LatePostpone, SwitchedOffGivesWhatTheEngineGives) {
    EXPECT_EQ(dateOf(presets_.Short(), now_ - hours(2), false), now_ - hours(2) + minutes(20));
}

TEST_F(LatePostpone, ADeviceConditionIsNeverPast) {
    EXPECT_EQ(postponedCondition(presets_.Mac(), now_ - hours(2), now_), ReminderCondition::device(DeviceType::mac));
}

}  // namespace
}  // namespace quendokit::testing

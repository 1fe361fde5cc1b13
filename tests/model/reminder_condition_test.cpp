#include "quendokit/model/reminder_condition.hpp"

#include <cmath>
#include <limits>

#include <gtest/gtest.h>

namespace quendokit {
namespace {

const double moment = 1'795'302'000;

ReminderCondition at(double seconds) {
    return ReminderCondition::dateTime(Date(seconds));
}

/// Whether the conditions for these moments are equal, asked both ways round.
bool areEqual(double a, double b) {
    const bool equal = at(a) == at(b);
    EXPECT_EQ(at(b) == at(a), equal) << "equality is not symmetric";
    EXPECT_EQ(at(a) != at(b), !equal);
    return equal;
}

TEST(ReminderCondition, HoldsEitherAMomentOrADevice) {
    const auto dated = ReminderCondition::dateTime(Date(moment + 0.125));
    EXPECT_EQ(dated.date(), Date(moment + 0.125));
    EXPECT_EQ(dated.deviceType(), std::nullopt);

    const auto atMac = ReminderCondition::device(DeviceType::mac);
    EXPECT_EQ(atMac.date(), std::nullopt);
    EXPECT_EQ(atMac.deviceType(), DeviceType(DeviceType::mac));
}

TEST(ReminderCondition, MomentsLessThanOneSecondApartAreEqual) {
    EXPECT_TRUE(areEqual(moment, moment));
    EXPECT_TRUE(areEqual(moment, moment + 0.999));
    EXPECT_TRUE(areEqual(moment, moment - 0.999));
    EXPECT_TRUE(areEqual(moment, std::nextafter(moment + 1, 0)));
    EXPECT_TRUE(areEqual(0, 0.999));
    EXPECT_TRUE(areEqual(-0.4, 0.4));
}

TEST(ReminderCondition, MomentsOneSecondApartAreNot) {
    EXPECT_FALSE(areEqual(moment, moment + 1));
    EXPECT_FALSE(areEqual(moment, std::nextafter(moment + 1, 1e300)));
    EXPECT_FALSE(areEqual(moment, moment + 1.001));
    EXPECT_FALSE(areEqual(moment, moment + 86'400));
    EXPECT_FALSE(areEqual(0, 1));
    EXPECT_FALSE(areEqual(0, -1));
    EXPECT_FALSE(areEqual(-0.5, 0.5));
}

TEST(ReminderCondition, EqualityIsNotTransitive) {
    EXPECT_TRUE(areEqual(moment, moment + 0.75));
    EXPECT_TRUE(areEqual(moment + 0.75, moment + 1.5));
    EXPECT_FALSE(areEqual(moment, moment + 1.5));
}

TEST(ReminderCondition, WhereSecondsVanishInRoundingNothingIsEqual) {
    // At this size, one second more or less is the same double, so that neither strict bound holds.
    EXPECT_FALSE(areEqual(1e300, 1e300));
    EXPECT_FALSE(areEqual(std::numeric_limits<double>::infinity(), std::numeric_limits<double>::infinity()));
    EXPECT_FALSE(areEqual(std::nan(""), std::nan("")));
}

TEST(ReminderCondition, DevicesAreAlwaysEqual) {
    EXPECT_TRUE(ReminderCondition::device(DeviceType::mac) == ReminderCondition::device(DeviceType::mac));
}

TEST(ReminderCondition, AMomentNeverEqualsADevice) {
    const auto atMac = ReminderCondition::device(DeviceType::mac);
    for (const double seconds : {moment, 0.0, 1.0}) {
        EXPECT_FALSE(at(seconds) == atMac);
        EXPECT_FALSE(atMac == at(seconds));
    }
}

}  // namespace
}  // namespace quendokit

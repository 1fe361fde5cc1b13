#include "quendokit/model/reminder_struct.hpp"

#include <gtest/gtest.h>

namespace quendokit {
namespace {

TEST(ReminderStruct, ANewOneHasNoIdAndIsNotShown) {
    const ReminderStruct reminder("Milk", ReminderCondition::dateTime(Date(5)));
    EXPECT_EQ(reminder.id(), std::nullopt);
    EXPECT_EQ(reminder.title(), "Milk");
    EXPECT_FALSE(reminder.shown());
    EXPECT_EQ(reminder.condition().date(), Date(5));
}

TEST(ReminderStruct, HoldsWhatItWasMadeOf) {
    const ReminderStruct reminder("id", "", true, ReminderCondition::device(DeviceType::mac));
    EXPECT_EQ(reminder.id(), "id");
    EXPECT_EQ(reminder.title(), "");
    EXPECT_TRUE(reminder.shown());
    EXPECT_EQ(reminder.condition().deviceType(), DeviceType(DeviceType::mac));
}

TEST(ReminderStruct, AnEmptyIdIsNoAbsentOne) {
    EXPECT_EQ(ReminderStruct("", "t", false, ReminderCondition::dateTime(Date(5))).id(), "");
}

TEST(ReminderStruct, CopiesAreIndependent) {
    ReminderStruct copy("a", ReminderCondition::dateTime(Date(5)));
    {
        const ReminderStruct original("id", "a title that does not fit into the text itself", true,
                                      ReminderCondition::dateTime(Date(6)));
        copy = original;
    }
    EXPECT_EQ(copy.id(), "id");
    EXPECT_EQ(copy.title(), "a title that does not fit into the text itself");
    EXPECT_EQ(copy.condition().date(), Date(6));
}

}  // namespace
}  // namespace quendokit

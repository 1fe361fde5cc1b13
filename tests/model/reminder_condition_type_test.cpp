#include "quendokit/model/reminder_condition_type.hpp"

#include <unordered_set>

#include <gtest/gtest.h>

namespace quendokit {
namespace {

TEST(ReminderConditionType, HasThreeDifferentKindsThatHash) {
    const std::unordered_set<ReminderConditionType> kinds{ReminderConditionType::dateTime,
                                                          ReminderConditionType::device, ReminderConditionType::all};
    EXPECT_EQ(kinds.size(), 3U);
    EXPECT_EQ(kinds.count(ReminderConditionType::device), 1U);
}

static_assert(ReminderConditionType::dateTime < ReminderConditionType::device &&
              ReminderConditionType::device < ReminderConditionType::all);

}  // namespace
}  // namespace quendokit

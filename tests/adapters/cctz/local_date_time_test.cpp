#include "adapters/cctz/local_date_time.hpp"

#include <gtest/gtest.h>

#include "tests/adapters/cctz/zone_printers.hpp"

namespace quendokit {
namespace {

TEST(LocalDateTime, TheTwentyNinthOfFebruaryExistsInLeapYearsOnly) {
    EXPECT_TRUE(isValid({2028, 2, 29}));
    EXPECT_TRUE(isValid({2000, 2, 29}));
    EXPECT_FALSE(isValid({2026, 2, 29}));
    EXPECT_FALSE(isValid({2100, 2, 29}));
}

TEST(LocalDateTime, MonthsRunFrom1To12) {
    EXPECT_TRUE(isValid({2026, 1, 1}));
    EXPECT_TRUE(isValid({2026, 12, 1}));
    EXPECT_FALSE(isValid({2026, 0, 1}));
    EXPECT_FALSE(isValid({2026, 13, 1}));
}

TEST(LocalDateTime, DaysRunFrom1ToTheEndOfTheirMonth) {
    EXPECT_TRUE(isValid({2026, 4, 30}));
    EXPECT_FALSE(isValid({2026, 4, 31}));
    EXPECT_FALSE(isValid({2026, 4, 0}));
    EXPECT_FALSE(isValid({2026, 4, -1}));
}

TEST(LocalDateTime, ADayEndsAt235959) {
    EXPECT_TRUE(isValid({2026, 12, 31, 0, 0, 0}));
    EXPECT_TRUE(isValid({2026, 12, 31, 23, 59, 59}));
    EXPECT_FALSE(isValid({2026, 12, 31, 24, 0, 0}));
    EXPECT_FALSE(isValid({2026, 12, 31, 23, 60, 0}));
    EXPECT_FALSE(isValid({2026, 12, 31, 23, 59, 60}));
    EXPECT_FALSE(isValid({2026, 12, 31, -1, 0, 0}));
    EXPECT_FALSE(isValid({2026, 12, 31, 0, -1, 0}));
    EXPECT_FALSE(isValid({2026, 12, 31, 0, 0, -1}));
}

TEST(LocalDateTime, YearsReachToTheLimitInBothDirections) {
    EXPECT_TRUE(isValid({localYearLimit, 12, 31, 23, 59, 59}));
    EXPECT_TRUE(isValid({-localYearLimit, 1, 1}));
    EXPECT_FALSE(isValid({localYearLimit + 1, 1, 1}));
    EXPECT_FALSE(isValid({-localYearLimit - 1, 12, 31}));
}

TEST(LocalDateTime, MonthsHaveTheirLength) {
    EXPECT_EQ(daysInMonth(2026, 1), 31);
    EXPECT_EQ(daysInMonth(2026, 2), 28);
    EXPECT_EQ(daysInMonth(2028, 2), 29);
    EXPECT_EQ(daysInMonth(2026, 11), 30);
    EXPECT_EQ(daysInMonth(2026, 12), 31);
}

TEST(LocalDateTime, WallSecondsCountFromTheStartOf1970) {
    EXPECT_EQ(wallSeconds({1970, 1, 1, 0, 0, 0}), 0);
    EXPECT_EQ(wallSeconds({1970, 1, 2, 0, 0, 1}), 86'401);
    EXPECT_EQ(wallSeconds({1969, 12, 31, 23, 59, 59}), -1);
    EXPECT_EQ(wallSeconds({2026, 11, 21, 23, 0, 0}), 1'795'302'000);
}

TEST(LocalDateTime, FieldsBeyondTheirRangeRollOver) {
    EXPECT_EQ(wallSeconds({2026, 1, 32}), wallSeconds({2026, 2, 1}));
    EXPECT_EQ(wallSeconds({2026, 13, 1}), wallSeconds({2027, 1, 1}));
    EXPECT_EQ(wallSeconds({2026, 5, 5, 9, 75, 0}), wallSeconds({2026, 5, 5, 10, 15, 0}));
    EXPECT_EQ(wallSeconds({2026, 5, 5, 9, 0, -1}), wallSeconds({2026, 5, 5, 8, 59, 59}));
}

TEST(LocalDateTime, AReadingComesBackFromItsWallSeconds) {
    for (const LocalDateTime reading : {LocalDateTime{2028, 2, 29, 12, 34, 56},
                                        {0, 3, 1, 0, 0, 0},
                                        {-44, 3, 15, 9, 0, 0},
                                        {localYearLimit, 12, 31, 23, 59, 59},
                                        {-localYearLimit, 1, 1, 0, 0, 0}}) {
        EXPECT_EQ(fromWallSeconds(wallSeconds(reading)), reading);
    }
}

TEST(LocalDateTime, AnEarlierReadingComesFirst) {
    EXPECT_LT((LocalDateTime{2026, 1, 31, 23, 0, 0}), (LocalDateTime{2026, 2, 1, 0, 0, 0}));
    EXPECT_GT((LocalDateTime{2026, 2, 1, 0, 0, 1}), (LocalDateTime{2026, 2, 1, 0, 0, 0}));
}

}  // namespace
}  // namespace quendokit

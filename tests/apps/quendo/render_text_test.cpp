#include "apps/quendo/render_text.hpp"

#include <clocale>
#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace quendo::testing {
namespace {

using quendokit::Date;
using quendokit::DeviceType;
using quendokit::ReminderCondition;
using quendokit::ReminderList;

constexpr double noon = 2'524'651'200;  // 2050-01-01 12:00 in UTC

/// A listing of everything that can stand in one.
class PlainReminders : public ::testing::Test {
protected:
    PlainReminders() { std::setlocale(LC_CTYPE, "C.UTF-8"); }
    ~PlainReminders() override { std::setlocale(LC_CTYPE, "C"); }

    [[nodiscard]] std::string listing(const Style& style) const { return plain::reminders(views_, *zone_, style); }

    static ReminderCondition at(double seconds) { return ReminderCondition::dateTime(Date(seconds)); }

    std::shared_ptr<const quendokit::LocalTimeZone> zone_ = quendokit::LocalTimeZone::make("UTC");
    std::vector<ReminderView> views_{
        {"AAAAAAAA-1", "Print", false, ReminderCondition::device(DeviceType::mac), ReminderList::mac, true, false},
        {"BBBBBBBB-1", "Call the bank", false, at(noon), ReminderList::upcoming, true, false},
        {"CCCCCCCC-1", "Take the bread out", false, at(noon + 5), ReminderList::upcoming, true, true},
        {"DDDDDDDD-1", "Water the plants", true, at(noon - 86'400), ReminderList::remaining, true, false},
    };
};

TEST_F(PlainReminders, AwayFromATerminalAreWholeAndUnmarked) {
    EXPECT_EQ(listing({}),
              "At your Mac\n"
              "  AAAAAAAA  Print\n"
              "Upcoming\n"
              "  BBBBBBBB  2050-01-01 12:00  Call the bank\n"
              "  CCCCCCCC  2050-01-01 12:00:05  Take the bread out  (deleted)\n"
              "Passed\n"
              "  DDDDDDDD  2049-12-31 12:00  Water the plants");
}

TEST_F(PlainReminders, OnATerminalStandUnderEachOtherAndFitIt) {
    EXPECT_EQ(listing({.colour = false, .columns = 55}),
              "At your Mac\n"
              "  AAAAAAAA  Print\n"
              "Upcoming\n"
              "  BBBBBBBB  2050-01-01 12:00     Call the bank\n"
              "  CCCCCCCC  2050-01-01 12:00:05  Take the b…  (deleted)\n"
              "Passed\n"
              "  DDDDDDDD  2049-12-31 12:00     Water the plants");
}

TEST_F(PlainReminders, WithColourHaveBoldHeadingsAndFaintPassedOnes) {
    views_.erase(views_.begin(), views_.begin() + 2);
    EXPECT_EQ(listing({.colour = true, .columns = 80}),
              "\x1b[1mUpcoming\x1b[0m\n"
              "  \x1b[2mCCCCCCCC\x1b[0m  \x1b[2m2050-01-01 12:00:05\x1b[0m  "
              "\x1b[2mTake the bread out  (deleted)\x1b[0m\n"
              "\x1b[1mPassed\x1b[0m\n"
              "  \x1b[2mDDDDDDDD\x1b[0m  \x1b[2m2049-12-31 12:00\x1b[0m     \x1b[2mWater the plants\x1b[0m");
}

TEST_F(PlainReminders, WithColourCannotBringTheirOwnCodes) {
    views_.front().title = "\x1b[31mred";
    EXPECT_NE(listing({.colour = true, .columns = 80}).find("  \\u001B[31mred"), std::string::npos);
}

TEST(PlainFindings, AreNeverCutAndThoseThatFailedAreRed) {
    const std::string detail = std::string(100, 'x') + "; do this";
    const std::vector<Finding> findings{{"lock", true, "free"}, {"database", false, detail}};
    EXPECT_EQ(plain::findings(findings, {}), "ok      lock       free\nFAILED  database   " + detail);
    EXPECT_EQ(plain::findings(findings, {.colour = true, .columns = 40}),
              "\x1b[32mok\x1b[0m      lock       free\n\x1b[1m\x1b[31mFAILED\x1b[0m  database   " + detail);
}

}  // namespace
}  // namespace quendo::testing

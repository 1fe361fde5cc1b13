#include "adapters/cctz/local_calendar.hpp"

#include <filesystem>
#include <memory>
#include <string>

#include <gtest/gtest.h>

#include "adapters/cctz/local_time_zone.hpp"
#include "tests/adapters/cctz/zone_printers.hpp"
#include "tests/support/scoped_environment.hpp"
#include "tests/support/temporary_folder.hpp"

namespace quendokit {
namespace {

using testing::ScopedEnvironment;
using testing::TemporaryFolder;

constexpr int friday = 6;
constexpr int saturday = 7;
constexpr Date november(1'795'302'000);
constexpr const char* newYorksRule = "EST5EDT4,M3.2.0,M11.1.0";

/// A calendar and its zone, whose answers are told with date, time and offset.
class In {
public:
    explicit In(const std::string& zone) : zone_(LocalTimeZone::make(zone)), calendar_(zone_) {}

    [[nodiscard]] Date at(const LocalDateTime& reading) const { return zone_->locate(reading).value().date; }

    [[nodiscard]] std::string setTime(int hour, std::int64_t minute, Date date) const {
        return text(calendar_.dateBySettingHour(hour, minute, 0, date));
    }
    [[nodiscard]] std::string setWeekday(int weekday, Date date) const {
        return text(calendar_.dateBySettingWeekday(weekday, date));
    }
    /// Midnight of the day that lies 24 hours after `date`.
    [[nodiscard]] std::string midnightADayAfter(Date date) const {
        return setTime(0, 0, Date(date.timeIntervalSince1970() + 86'400));
    }

private:
    [[nodiscard]] std::string text(std::optional<Date> date) const { return zone_->text(date.value()).value(); }

    const std::shared_ptr<const LocalTimeZone> zone_;
    const LocalCalendar calendar_;
};

TEST(LocalCalendar, ADayOf23HoursIsSteppedOverBy24FromItsEve) {
    const In berlin("Europe/Berlin");
    EXPECT_EQ(berlin.midnightADayAfter(berlin.at({2026, 3, 28, 12, 0, 0})), "2026-03-29T00:00:00+01:00");
    EXPECT_EQ(berlin.midnightADayAfter(berlin.at({2026, 3, 28, 22, 59, 59})), "2026-03-29T00:00:00+01:00");
    EXPECT_EQ(berlin.midnightADayAfter(berlin.at({2026, 3, 28, 23, 30, 0})), "2026-03-30T00:00:00+02:00");
    EXPECT_EQ(berlin.midnightADayAfter(berlin.at({2026, 3, 29, 0, 15, 0})), "2026-03-30T00:00:00+02:00");
}

TEST(LocalCalendar, ADayOf25HoursHolds24AfterItsBeginning) {
    const In berlin("Europe/Berlin");
    EXPECT_EQ(berlin.midnightADayAfter(berlin.at({2026, 10, 24, 23, 30, 0})), "2026-10-25T00:00:00+02:00");
    EXPECT_EQ(berlin.midnightADayAfter(berlin.at({2026, 10, 25, 0, 15, 0})), "2026-10-25T00:00:00+02:00");
    EXPECT_EQ(berlin.midnightADayAfter(berlin.at({2026, 10, 25, 1, 0, 0})), "2026-10-26T00:00:00+01:00");
}

TEST(LocalCalendar, HalfPastTwoInAGapIsThreeOClock) {
    const In berlin("Europe/Berlin");
    const Date day = berlin.at({2026, 3, 29, 18, 0, 0});
    EXPECT_EQ(berlin.setTime(2, 30, day), "2026-03-29T03:00:00+02:00");
    EXPECT_EQ(berlin.setTime(0, 150, day), "2026-03-29T03:00:00+02:00");
    EXPECT_EQ(berlin.setTime(1, 59, day), "2026-03-29T01:59:00+01:00");
    EXPECT_EQ(berlin.setTime(3, 1, day), "2026-03-29T03:01:00+02:00");
}

TEST(LocalCalendar, HalfPastTwoOfTwoIsTheFirst) {
    const In berlin("Europe/Berlin");
    const Date second(berlin.at({2026, 10, 25, 2, 45, 0}).timeIntervalSince1970() + 3'600);
    EXPECT_EQ(berlin.setTime(2, 30, second), "2026-10-25T02:30:00+02:00");
    EXPECT_EQ(berlin.setTime(3, 0, second), "2026-10-25T03:00:00+01:00");
}

TEST(LocalCalendar, LordHowesHalfHourIsSkippedAndRepeated) {
    const In lordHowe("Australia/Lord_Howe");
    const Date spring = lordHowe.at({2026, 10, 4, 18, 0, 0});
    EXPECT_EQ(lordHowe.setTime(2, 0, spring), "2026-10-04T02:30:00+11:00");
    EXPECT_EQ(lordHowe.setTime(2, 29, spring), "2026-10-04T02:30:00+11:00");
    EXPECT_EQ(lordHowe.setTime(2, 31, spring), "2026-10-04T02:31:00+11:00");
    const Date autumn = lordHowe.at({2026, 4, 5, 18, 0, 0});
    EXPECT_EQ(lordHowe.setTime(1, 29, autumn), "2026-04-05T01:29:00+11:00");
    EXPECT_EQ(lordHowe.setTime(1, 30, autumn), "2026-04-05T01:30:00+11:00");
    EXPECT_EQ(lordHowe.setTime(2, 0, autumn), "2026-04-05T02:00:00+10:30");
}

TEST(LocalCalendar, AMissingMidnightIsOneOClock) {
    const In cairo("Africa/Cairo");
    EXPECT_EQ(cairo.setTime(0, 0, cairo.at({2024, 4, 26, 18, 0, 0})), "2024-04-26T01:00:00+03:00");
    EXPECT_EQ(cairo.midnightADayAfter(cairo.at({2024, 4, 25, 18, 0, 0})), "2024-04-26T01:00:00+03:00");
    const In beirut("Asia/Beirut");
    EXPECT_EQ(beirut.setTime(0, 0, beirut.at({2026, 3, 29, 18, 0, 0})), "2026-03-29T01:00:00+03:00");
    const In santiago("America/Santiago");
    EXPECT_EQ(santiago.setTime(0, 1'440, santiago.at({2026, 9, 5, 18, 0, 0})), "2026-09-06T01:00:00-03:00");
}

TEST(LocalCalendar, ApiaHadNoFridayAtTheEndOf2011) {
    const In apia("Pacific/Apia");
    const Date thursday = apia.at({2011, 12, 29, 18, 0, 0});
    EXPECT_EQ(apia.setWeekday(friday, thursday), "2012-01-06T12:00:00+14:00");
    EXPECT_EQ(apia.setWeekday(saturday, thursday), "2011-12-31T12:00:00+14:00");
    EXPECT_EQ(apia.midnightADayAfter(thursday), "2011-12-31T00:00:00+14:00");
    EXPECT_EQ(apia.setTime(12, 1'440, thursday), "2011-12-31T00:00:00+14:00");
}

TEST(LocalCalendar, OfADayThatCameTwiceTheFirstIsMeant) {
    // Apia had its Monday, 1892-07-04, twice.
    const In apia("Pacific/Apia");
    const Date second(apia.at({1892, 7, 4, 18, 0, 0}).timeIntervalSince1970() + 86'400);
    EXPECT_EQ(apia.setTime(9, 0, second), "1892-07-04T09:00:00+12:33:04");
    EXPECT_EQ(apia.setWeekday(2, second), "1892-07-04T12:00:00+12:33:04");
    EXPECT_EQ(apia.setWeekday(3, second), "1892-07-05T12:00:00-11:26:56");
}

TEST(LocalCalendar, AZoneMaySkipADayBefore1900) {
    // Manila had no Tuesday, 1844-12-31.
    const In manila("Asia/Manila");
    const Date monday = manila.at({1844, 12, 30, 18, 0, 0});
    EXPECT_EQ(manila.setWeekday(3, monday).substr(0, 19), "1845-01-07T12:00:00");
    EXPECT_EQ(manila.setTime(0, 1'440, monday).substr(0, 19), "1845-01-01T00:00:00");
}

class DeviceCalendar : public ::testing::Test {
protected:
    [[nodiscard]] static int hourInNovember(const Calendar& calendar) {
        return calendar.timeComponents(november)->hour;
    }
};

TEST_F(DeviceCalendar, StaysInItsZoneUntilItIsTold) {
    const ScopedEnvironment berlin("TZ", "Europe/Berlin");
    LocalCalendar calendar;
    EXPECT_EQ(hourInNovember(calendar), 0);

    const ScopedEnvironment tokyo("TZ", "Asia/Tokyo");
    EXPECT_EQ(hourInNovember(calendar), 0);
    EXPECT_EQ(calendar.zone()->name(), "Europe/Berlin");
    calendar.zoneChanged();
    EXPECT_EQ(hourInNovember(calendar), 8);
    EXPECT_EQ(calendar.weekday(november), 1);
    EXPECT_EQ(calendar.dateBySettingHour(0, 0, 0, november), Date(1'795'302'000 - 8 * 3'600));
    EXPECT_EQ(calendar.dateBySettingWeekday(1, november), Date(1'795'302'000 + 4 * 3'600));
    EXPECT_EQ(calendar.zone()->name(), "Asia/Tokyo");
}

TEST_F(DeviceCalendar, WritesTheTableOfAZoneOnlyOnce) {
    for (const char* home : {"Europe/Berlin", newYorksRule}) {
        const ScopedEnvironment atHome("TZ", home);
        LocalCalendar calendar;
        const auto zoneBefore = calendar.zone();
        for (const char* away : {"Asia/Tokyo", "AEST-10AEDT,M10.1.0,M4.1.0/3"}) {
            const ScopedEnvironment travelling("TZ", away);
            calendar.zoneChanged();
            EXPECT_EQ(calendar.zone()->name(), away);
        }
        calendar.zoneChanged();
        EXPECT_EQ(calendar.zone(), zoneBefore) << home;
    }
}

TEST_F(DeviceCalendar, FollowsAFileThatIsReplaced) {
    const TemporaryFolder folder;
    const auto file = folder.path() / "localtime";
    const ScopedEnvironment environment("TZ", file.c_str());
    std::filesystem::copy_file("/usr/share/zoneinfo/Europe/Berlin", file);
    LocalCalendar calendar;
    EXPECT_EQ(hourInNovember(calendar), 0);

    std::filesystem::copy_file("/usr/share/zoneinfo/Asia/Tokyo", folder.path() / "new");
    std::filesystem::rename(folder.path() / "new", file);
    EXPECT_EQ(hourInNovember(calendar), 0);
    calendar.zoneChanged();
    EXPECT_EQ(hourInNovember(calendar), 8);
}

TEST_F(DeviceCalendar, CallsAZoneAsTheDeviceDoes) {
    const ScopedEnvironment berlin("TZ", "Europe/Berlin");
    LocalCalendar calendar;
    // The same file by another name.
    const ScopedEnvironment spitsbergen("TZ", "Arctic/Longyearbyen");
    calendar.zoneChanged();
    EXPECT_EQ(calendar.zone()->name(), "Arctic/Longyearbyen");
}

TEST_F(DeviceCalendar, IsToldOfAZoneThatIsTheSame) {
    const ScopedEnvironment berlin("TZ", "Europe/Berlin");
    LocalCalendar calendar;
    const auto zoneBefore = calendar.zone();
    calendar.zoneChanged();
    EXPECT_EQ(calendar.zone(), zoneBefore);
}

TEST_F(DeviceCalendar, ByRuleChangesItsClocksAsTheRuleSays) {
    const ScopedEnvironment newYork("TZ", newYorksRule);
    const LocalCalendar calendar;
    // 2026-03-08, whose gap ends at 07:00 UTC.
    const Date springDay(1'772'953'200 + 5 * 3'600);
    EXPECT_EQ(calendar.dateBySettingHour(2, 30, 0, springDay), Date(1'772'953'200));
    EXPECT_EQ(calendar.dateBySettingHour(3, 30, 0, springDay), Date(1'772'953'200 + 1'800));
    // In a rule there is summer before 1970, before 1900 and after 2100, too: each date is its year's first of July.
    for (const double july : {-15'897'600.0, -5'380'560'000.0, 10'019'203'200.0}) {
        EXPECT_EQ(calendar.timeComponents(Date(july)), (TimeComponents{20, 0, 0})) << july;
    }
}

TEST(LocalCalendar, OfAGivenZoneStaysThere) {
    const ScopedEnvironment berlin("TZ", "Europe/Berlin");
    LocalCalendar calendar(LocalTimeZone::make("Asia/Tokyo"));
    calendar.zoneChanged();
    EXPECT_EQ(calendar.zone()->name(), "Asia/Tokyo");
    EXPECT_EQ(calendar.timeComponents(november), (TimeComponents{8, 0, 0}));
}

TEST(LocalCalendarDeathTest, AMissingZoneIsFatal) {
    EXPECT_DEATH(LocalCalendar(LocalTimeZone::make("Mars/Olympus")), "a LocalCalendar was made without a zone");
}

}  // namespace
}  // namespace quendokit

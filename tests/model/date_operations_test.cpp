#include "quendokit/model/date_operations.hpp"

#include <cstdint>
#include <limits>
#include <memory>
#include <optional>
#include <vector>

#include <gtest/gtest.h>

#include "quendokit/model/date_range.hpp"
#include "quendokit/platform/services.hpp"
#include "testing/failing_calendar.hpp"
#include "testing/manual_calendar.hpp"

namespace quendokit {
namespace {

/// 2026-11-21 00:00:00 UTC, a Saturday.
constexpr Date midnight(1'795'219'200);

/// In a place that is always five hours behind UTC: at `midnight` it is 19:00:00 of Friday there.
class DateOperations : public ::testing::Test {
protected:
    DateOperations() : installed_(makeServices()) {}

    static constexpr Date localMidnight = midnight + hours(5);

private:
    static platform::Services makeServices() {
        platform::Services services;
        services.calendar = std::make_shared<testing::ManualCalendar>(static_cast<int>(hours(-5)));
        return services;
    }

    const platform::ScopedInstall installed_;
};

using DateOperationsDeathTest = DateOperations;

TEST(DateArithmetic, MovesByWholeSecondsAndKeepsTheFraction) {
    EXPECT_EQ(Date(10.25) + minutes(1), Date(70.25));
    EXPECT_EQ(Date(10.25) - minutes(1), Date(-49.75));
    EXPECT_EQ(Date(10.25) + 1, Date(11.25));
    EXPECT_EQ(Date(10.25) + (-1), Date(9.25));
    Date date(10.25);
    date += hours(1);
    EXPECT_EQ(date, Date(3'610.25));
    date -= 10;
    EXPECT_EQ(date, Date(3'600.25));
    (date += 1) += 1;
    EXPECT_EQ(date, Date(3'602.25));
}

TEST(DateArithmetic, TakesEveryWholeNumberAsAFloatingPointInterval) {
    EXPECT_EQ(Date(0) + std::numeric_limits<std::int64_t>::max(), Date(9'223'372'036'854'775'807.0));
    EXPECT_EQ(Date(0) + std::numeric_limits<std::int64_t>::min(), Date(-9'223'372'036'854'775'808.0));
}

TEST(DateRange, LiesAroundAMomentWithoutItsEnds) {
    const Date date(1'000.5);
    const DateRange range = plusMinus(date, 60);
    EXPECT_EQ(range.min, Date(940.5));
    EXPECT_EQ(range.max, Date(1'060.5));
    EXPECT_TRUE(isWithin(date, range));
    EXPECT_TRUE(isWithin(Date(940.6), range));
    EXPECT_TRUE(isWithin(Date(1'060.4), range));
    EXPECT_FALSE(isWithin(range.min, range));
    EXPECT_FALSE(isWithin(range.max, range));
    EXPECT_FALSE(isWithin(date, plusMinus(date, 0)));
    EXPECT_FALSE(isWithin(date, plusMinus(date, -60)));
}

TEST_F(DateOperations, AtSetsTheTimeOfTheLocalDay) {
    for (const std::int64_t time : {std::int64_t{0}, hours(9), hours(23) + minutes(59) + 59}) {
        EXPECT_EQ(at(localMidnight + time, hours(9)), localMidnight + hours(9));
    }
    EXPECT_EQ(at(localMidnight - 1, hours(9)), localMidnight - hours(15));
    EXPECT_EQ(at(localMidnight, 0), localMidnight);
    EXPECT_EQ(at(localMidnight, hours(9) + minutes(30) + 15), localMidnight + hours(9) + minutes(30) + 15);
    EXPECT_EQ(at(localMidnight + hours(12), 86'399), localMidnight + 86'399);
}

TEST_F(DateOperations, AtDropsTheFractionOfASecond) {
    EXPECT_EQ(at(Date(localMidnight.timeIntervalSince1970() + 0.75), hours(9)), localMidnight + hours(9));
}

TEST_F(DateOperations, AtAsksForHour1AndMinute1440When90000SecondsAreGiven) {
    class AskedCalendar final : public Calendar {
    public:
        [[nodiscard]] std::optional<TimeComponents> timeComponents(Date) const override { return std::nullopt; }
        [[nodiscard]] std::optional<int> weekday(Date) const override { return std::nullopt; }
        [[nodiscard]] std::optional<Date> dateBySettingHour(int hour, std::int64_t minute, int second,
                                                            Date ofDate) const override {
            asked = {hour, minute, second};
            return ofDate;
        }
        [[nodiscard]] std::optional<Date> dateBySettingWeekday(int, Date) const override { return std::nullopt; }
        mutable std::vector<std::int64_t> asked;
    };
    const auto calendar = std::make_shared<AskedCalendar>();
    platform::Services services;
    services.calendar = calendar;
    const platform::ScopedInstall scope(services);

    static_cast<void>(at(midnight, 90'000));
    EXPECT_EQ(calendar->asked, (std::vector<std::int64_t>{1, 1'440, 0}));
    static_cast<void>(at(midnight, 86'400));
    EXPECT_EQ(calendar->asked, (std::vector<std::int64_t>{0, 1'440, 0}));
    static_cast<void>(at(midnight, 2 * 86'400 + 3'600 + 61));
    EXPECT_EQ(calendar->asked, (std::vector<std::int64_t>{1, 2'881, 1}));
    static_cast<void>(at(midnight, 34'215));
    EXPECT_EQ(calendar->asked, (std::vector<std::int64_t>{9, 30, 15}));
    static_cast<void>(at(midnight, -3'600));
    EXPECT_EQ(calendar->asked, (std::vector<std::int64_t>{-1, 0, 0}));
    static_cast<void>(at(midnight, std::numeric_limits<std::int64_t>::max()));
    EXPECT_EQ(calendar->asked, (std::vector<std::int64_t>{15, 153'722'867'280'912'030, 7}));
}

TEST_F(DateOperations, ASurplusDayIsNotDropped) {
    EXPECT_EQ(at(localMidnight + hours(12), 90'000), localMidnight + 90'000);
    EXPECT_EQ(at(localMidnight + hours(12), 86'400), localMidnight + days(1));
}

TEST_F(DateOperations, TimeIsCountedFromLocalMidnight) {
    EXPECT_EQ(time(localMidnight), 0);
    EXPECT_EQ(time(localMidnight - 1), 86'399);
    EXPECT_EQ(time(localMidnight + hours(9) + minutes(30) + 59), 34'259);
    EXPECT_EQ(timeWithoutSeconds(localMidnight + hours(9) + minutes(30) + 59), 34'200);
    EXPECT_EQ(timeWithoutSeconds(localMidnight - 1), 86'340);
}

TEST_F(DateOperations, TomorrowIsTheNextLocalMidnight) {
    EXPECT_EQ(tomorrow(localMidnight), localMidnight + days(1));
    EXPECT_EQ(tomorrow(localMidnight + hours(23) + minutes(59) + 59), localMidnight + days(1));
    EXPECT_EQ(tomorrow(localMidnight - 1), localMidnight);
}

TEST_F(DateOperations, OnFindsTheDayItselfOrTheNextOne) {
    // Saturday, 09:00:00 local time.
    const Date date = localMidnight + hours(9);
    EXPECT_EQ(at(on(date, 7), 0), localMidnight);
    EXPECT_EQ(at(on(date, 1), 0), localMidnight + days(1));
    EXPECT_EQ(at(on(date, 6), 0), localMidnight + days(6));
    EXPECT_EQ(at(on(date, 8), 0), localMidnight + days(1));
    EXPECT_EQ(at(on(date, 14), 0), localMidnight);
    EXPECT_EQ(at(on(date, -6), 0), localMidnight + days(1));
}

TEST_F(DateOperations, WeekdayIsThatOfTheLocalDay) {
    EXPECT_EQ(weekday(localMidnight), 7);
    EXPECT_EQ(weekday(localMidnight - 1), 6);
    EXPECT_EQ(weekday(localMidnight + days(1)), 1);
}

TEST_F(DateOperationsDeathTest, AreFatalWhereTheCalendarRefusesAnArgument) {
    EXPECT_DEATH(static_cast<void>(at(midnight, -1)), "the calendar has no answer: a time of day to set");
    EXPECT_DEATH(static_cast<void>(at(midnight, -3'600)), "no answer");
    EXPECT_DEATH(static_cast<void>(at(midnight, std::numeric_limits<std::int64_t>::max())), "no answer");
    EXPECT_DEATH(static_cast<void>(on(midnight, 0)), "the calendar has no answer: a day of the week to set");
    EXPECT_DEATH(static_cast<void>(on(midnight, -1)), "no answer");
    const Date nowhere(std::numeric_limits<double>::infinity());
    EXPECT_DEATH(static_cast<void>(at(nowhere, 0)), "no answer");
    EXPECT_DEATH(static_cast<void>(time(nowhere)), "no answer");
    EXPECT_DEATH(static_cast<void>(tomorrow(nowhere)), "no answer");
}

TEST(CalendarDeathTest, ACalendarWithoutAnAnswerIsFatal) {
    platform::Services services;
    services.calendar = std::make_shared<testing::FailingCalendar>();
    const platform::ScopedInstall scope(services);
    EXPECT_DEATH(static_cast<void>(at(midnight, 0)), "Fatal error: the calendar has no answer: a time of day to set");
    EXPECT_DEATH(static_cast<void>(time(midnight)), "the calendar has no answer: the time of day of a date");
    EXPECT_DEATH(static_cast<void>(timeWithoutSeconds(midnight)), "the calendar has no answer: the time of day");
    EXPECT_DEATH(static_cast<void>(tomorrow(midnight)), "the calendar has no answer: the midnight after a date");
    EXPECT_DEATH(static_cast<void>(on(midnight, 1)), "the calendar has no answer: a day of the week to set");
    EXPECT_DEATH(static_cast<void>(weekday(midnight)), "the calendar has no answer: the day of the week of a date");
}

TEST(CalendarDeathTest, WithoutACalendarTheFirstUseSaysSo) {
    const platform::ScopedInstall scope(platform::Services{});
    EXPECT_DEATH(static_cast<void>(time(midnight)), "no calendar is installed");
}

}  // namespace
}  // namespace quendokit

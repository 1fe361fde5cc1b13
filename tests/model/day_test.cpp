#include "quendokit/model/day.hpp"

#include <cstdint>
#include <limits>
#include <memory>
#include <string>
#include <unordered_set>
#include <vector>

#include <gtest/gtest.h>

#include "quendokit/platform/services.hpp"
#include "testing/fixed_locale.hpp"

namespace quendokit {
namespace {

using Days = std::vector<Day>;

platform::Services speaking(std::vector<std::string> weekdays) {
    platform::Services services;
    services.locale = std::make_shared<testing::FixedLocale>(std::move(weekdays));
    return services;
}

TEST(Day, RawValuesAreTheCalendarsWeekdayNumbers) {
    const Days inOrder{Day::sunday,   Day::monday, Day::tuesday, Day::wednesday,
                       Day::thursday, Day::friday, Day::saturday};
    std::int64_t number = 1;
    for (const Day day : inOrder) {
        EXPECT_EQ(day.rawValue(), number);
        EXPECT_EQ(Day::fromRawValue(number), day);
        ++number;
    }
    for (const std::int64_t other :
         {std::int64_t{0}, std::int64_t{8}, std::int64_t{-1}, std::numeric_limits<std::int64_t>::max(),
          std::numeric_limits<std::int64_t>::min()}) {
        EXPECT_FALSE(Day::fromRawValue(other)) << other;
    }
}

TEST(Day, ALiteralCountsOnAfterSaturday) {
    EXPECT_EQ(Day::fromIntegerLiteral(1), Day::sunday);
    EXPECT_EQ(Day::fromIntegerLiteral(7), Day::saturday);
    EXPECT_EQ(Day::fromIntegerLiteral(8), Day::sunday);
    EXPECT_EQ(Day::fromIntegerLiteral(14), Day::saturday);
    EXPECT_EQ(Day::fromIntegerLiteral(15), Day::sunday);
    EXPECT_EQ(Day::fromIntegerLiteral(std::numeric_limits<std::int64_t>::max()), Day::saturday);
}

TEST(DayDeathTest, ALiteralBelowOneIsFatal) {
    EXPECT_DEATH(static_cast<void>(Day::fromIntegerLiteral(0)), "Fatal error: no day of the week has the number 0");
    EXPECT_DEATH(static_cast<void>(Day::fromIntegerLiteral(-6)), "no day of the week has the number -6");
}

TEST(ValidDayLiteral, IsAWeekdayNumberForEveryPositiveOne) {
    for (std::int64_t value = 1; value <= 100; ++value) {
        EXPECT_EQ(validDayLiteral(value), (value - 1) % 7 + 1) << value;
    }
}

TEST(ValidDayLiteral, CutsOffTowardsZeroBelowOne) {
    EXPECT_EQ(validDayLiteral(0), 0);
    EXPECT_EQ(validDayLiteral(-1), -1);
    EXPECT_EQ(validDayLiteral(-5), -5);
    EXPECT_EQ(validDayLiteral(-6), 1);
    EXPECT_EQ(validDayLiteral(-7), 0);
}

TEST(ValidDayLiteralDeathTest, TheLeastNumberIsFatal) {
    EXPECT_DEATH(static_cast<void>(validDayLiteral(std::numeric_limits<std::int64_t>::min())), "64 bits");
}

TEST(Day, HasFixedSets) {
    EXPECT_EQ(Day::Weekend(), (Days{Day::saturday, Day::sunday}));
    EXPECT_EQ(Day::Workdays(), (Days{Day::monday, Day::tuesday, Day::wednesday, Day::thursday, Day::friday}));
    EXPECT_EQ(Day::All(), (Days{Day::monday, Day::tuesday, Day::wednesday, Day::thursday, Day::friday, Day::saturday,
                                Day::sunday}));
    EXPECT_EQ(Day::None(), Days());
}

TEST(Day, ARangeLeavesItsEndOutAndGoesOnAfterSaturday) {
    EXPECT_EQ(Day::range(Day::monday, Day::tuesday), Days{Day::monday});
    EXPECT_EQ(Day::range(Day::monday, Day::saturday), Day::Workdays());
    EXPECT_EQ(Day::range(Day::saturday, Day::monday), Day::Weekend());
    EXPECT_EQ(Day::range(Day::friday, Day::monday), (Days{Day::friday, Day::saturday, Day::sunday}));
    EXPECT_EQ(Day::range(Day::tuesday, Day::monday),
              (Days{Day::tuesday, Day::wednesday, Day::thursday, Day::friday, Day::saturday, Day::sunday}));
    EXPECT_EQ(Day::range(Day::sunday, Day::saturday),
              (Days{Day::sunday, Day::monday, Day::tuesday, Day::wednesday, Day::thursday, Day::friday}));
}

TEST(Day, ARangeFromADayToItselfIsTheWholeWeekFromMonday) {
    for (const Day day : Day::All()) {
        EXPECT_EQ(Day::range(day, day), Day::All());
    }
}

TEST(Day, IsHashedByItsNumberLessOne) {
    EXPECT_EQ(std::hash<Day>()(Day::sunday), 0U);
    EXPECT_EQ(std::hash<Day>()(Day::saturday), 6U);
    const std::unordered_set<Day> week(Day::All().begin(), Day::All().end());
    EXPECT_EQ(week.size(), 7U);
}

TEST(Day, IsNamedAsTheLocaleNamesIt) {
    const platform::ScopedInstall scope(speaking({"So", "Mo", "Di", "Mi", "Do", "Fr", "Sa"}));
    EXPECT_EQ(Day(Day::sunday).string(), "So");
    EXPECT_EQ(Day(Day::monday).string(), "Mo");
    EXPECT_EQ(Day(Day::saturday).string(), "Sa");
    EXPECT_EQ(weekdayNames().size(), 7U);
}

TEST(Day, NamesAreResolvedOncePerProcess) {
    class CountingLocale final : public Locale {
    public:
        [[nodiscard]] std::vector<std::string> standaloneWeekdaySymbols() const override {
            ++asked;
            return {"1", "2", "3", "4", "5", "6", "7"};
        }
        mutable int asked = 0;
    };
    const auto locale = std::make_shared<CountingLocale>();
    platform::Services services;
    services.locale = locale;
    {
        const platform::ScopedInstall scope(services);
        EXPECT_EQ(locale->asked, 0);
        EXPECT_EQ(Day(Day::friday).string(), "6");
        EXPECT_EQ(Day(Day::monday).string(), "2");
        EXPECT_EQ(locale->asked, 1);
    }
    const platform::ScopedInstall nextProcess(services);
    EXPECT_EQ(Day(Day::friday).string(), "6");
    EXPECT_EQ(locale->asked, 2);
}

TEST(DayDeathTest, ALocaleWithTooFewNamesIsFatalWhereOneIsMissing) {
    const platform::ScopedInstall scope(speaking({"So", "Mo"}));
    EXPECT_EQ(Day(Day::monday).string(), "Mo");
    EXPECT_DEATH(static_cast<void>(Day(Day::tuesday).string()), "the locale has no name for day 3 of the week");
}

}  // namespace
}  // namespace quendokit

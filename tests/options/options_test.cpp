#include "quendokit/options/options.hpp"

#include <cstddef>
#include <cstdint>
#include <limits>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "quendokit/options/option_keys.hpp"
#include "testing/failing_calendar.hpp"
#include "tests/support/device_fixture.hpp"

namespace quendokit::testing {
namespace {

using Days = std::vector<Day>;
constexpr auto most = std::numeric_limits<std::int64_t>::max();
constexpr auto least = std::numeric_limits<std::int64_t>::min();

class OptionsTest : public DeviceFixture {};
using OptionsDeathTest = OptionsTest;

struct TimeSetting {
    std::string_view key;
    std::int64_t (*get)();
    void (*set)(std::int64_t);
    std::int64_t default_;
};

const std::vector<TimeSetting>& timeSettings() {
    static const std::vector<TimeSetting> settings{
        {OptionKeys::WorkdayMorning, Options::WorkdayMorning, Options::setWorkdayMorning, 32'400},
        {OptionKeys::WeekendMorning, Options::WeekendMorning, Options::setWeekendMorning, 39'600},
        {OptionKeys::Afternoon, Options::Afternoon, Options::setAfternoon, 43'200},
        {OptionKeys::Evening, Options::Evening, Options::setEvening, 64'800},
        {OptionKeys::Later, Options::Later, Options::setLater, 10'800},
        {OptionKeys::Postpone, Options::Postpone, Options::setPostpone, 1'200},
    };
    return settings;
}

TEST(OptionKeysTest, AreTheStoredFormat) {
    const std::vector<std::string_view> keys(OptionKeys::All.begin(), OptionKeys::All.end());
    EXPECT_EQ(keys, (std::vector<std::string_view>{"quendokit.options.first-workday", "quendokit.options.first-weekend",
                                                   "quendokit.options.workday-morning",
                                                   "quendokit.options.weekend-morning", "quendokit.options.afternoon",
                                                   "quendokit.options.evening", "quendokit.options.later",
                                                   "quendokit.options.postpone", "quendokit.options.has-mac-app"}));
}

TEST_F(OptionsTest, EverySettingHasADefaultThatReadingDoesNotWrite) {
    EXPECT_EQ(Options::FirstWorkday(), Day::monday);
    EXPECT_EQ(Options::FirstWeekend(), Day::saturday);
    for (const TimeSetting& setting : timeSettings()) {
        EXPECT_EQ(setting.get(), setting.default_) << setting.key;
    }
    EXPECT_FALSE(Options::HasMacApp());
    EXPECT_EQ(Options::Workdays(), Day::Workdays());
    EXPECT_EQ(Options::Weekend(), (Days{Day::saturday, Day::sunday}));
    EXPECT_TRUE(defaults->keys().empty());
    EXPECT_EQ(defaults->writeCount(), 0U);
}

TEST_F(OptionsTest, ATimeIsReadAsItIsStored) {
    for (const TimeSetting& setting : timeSettings()) {
        for (const std::int64_t time : {std::int64_t{0}, std::int64_t{90'000}, std::int64_t{-1}, most, least}) {
            defaults->set(setting.key, time);
            EXPECT_EQ(setting.get(), time) << setting.key;
        }
    }
}

TEST_F(OptionsTest, ATimeOfAnotherKindReadsAsTheDefaultAndStays) {
    const std::vector<PropertyValue> others{std::string("36000"), 36'000.0, true, std::vector<std::byte>(8)};
    for (const TimeSetting& setting : timeSettings()) {
        for (const PropertyValue& other : others) {
            defaults->set(setting.key, other);
            EXPECT_EQ(setting.get(), setting.default_) << setting.key;
            EXPECT_EQ(defaults->values().at(std::string(setting.key)), other);
        }
    }
}

TEST_F(OptionsTest, SettingsAreReadAfreshEachTime) {
    EXPECT_EQ(Options::Evening(), 64'800);
    defaults->set(OptionKeys::Evening, std::int64_t{70'000});
    EXPECT_EQ(Options::Evening(), 70'000);
    defaults->remove(OptionKeys::Evening);
    EXPECT_EQ(Options::Evening(), 64'800);
}

TEST_F(OptionsTest, ATimeIsStoredUnderItsKeyAlone) {
    for (const TimeSetting& setting : timeSettings()) {
        const std::size_t writes = defaults->writeCount();
        setting.set(36'060);
        EXPECT_EQ(defaults->integer(setting.key), 36'060) << setting.key;
        EXPECT_EQ(defaults->writeCount(), writes + 1);
        setting.set(90'000);
        EXPECT_EQ(defaults->integer(setting.key), 90'000) << setting.key;
        setting.set(0);
        EXPECT_EQ(defaults->integer(setting.key), 0) << setting.key;
    }
}

TEST_F(OptionsTest, ANegativeTimeMeansThatLongBeforeNow) {
    for (const TimeSetting& setting : timeSettings()) {
        itIs(onDay(Day::friday, hours(10)));
        setting.set(-3'600);
        EXPECT_EQ(defaults->integer(setting.key), 32'400) << setting.key;
        itIs(onDay(Day::friday, minutes(30)));
        setting.set(-3'600);
        EXPECT_EQ(defaults->integer(setting.key), 84'600) << setting.key;
    }
}

TEST_F(OptionsTest, ANegativeTimeOnMidnightOrBeforeIsADayLater) {
    itIs(onDay(Day::friday, hours(1)));
    Options::setEvening(-3'600);
    EXPECT_EQ(defaults->integer(OptionKeys::Evening), 86'400);
    Options::setEvening(-3'599);
    EXPECT_EQ(defaults->integer(OptionKeys::Evening), 1);
    Options::setEvening(-3'601);
    EXPECT_EQ(defaults->integer(OptionKeys::Evening), 86'399);
    // Only one day: what is further back stays negative.
    Options::setEvening(-200'000);
    EXPECT_EQ(defaults->integer(OptionKeys::Evening), -200'000 + 3'600 + 86'400);
}

TEST_F(OptionsTest, ANegativeTimeIsRelativeToTheLocalTimeWithItsSeconds) {
    calendar->setSecondsEast(static_cast<int>(hours(2)));
    itIs(onDay(Day::friday, hours(10) + minutes(20) + 30));
    Options::setEvening(-60);
    EXPECT_EQ(defaults->integer(OptionKeys::Evening), hours(12) + minutes(19) + 30);
    Options::setEvening(least);
    EXPECT_EQ(defaults->integer(OptionKeys::Evening), least + hours(12) + minutes(20) + 30 + days(1));
}

TEST_F(OptionsDeathTest, ANegativeTimeNeedsACalendarThatAnswers) {
    platform::Services services = platform::services();
    services.calendar = std::make_shared<FailingCalendar>();
    const platform::ScopedInstall scope(services);
    EXPECT_DEATH(Options::setEvening(-1), "the calendar has no answer: the time of day of a date");
    EXPECT_DEATH(static_cast<void>(Options::ThisMorning()), "the calendar has no answer: the day of the week");
    Options::setEvening(0);
    EXPECT_EQ(defaults->integer(OptionKeys::Evening), 0);
}

TEST_F(OptionsTest, ADayIsStoredAsItsNumber) {
    Options::setFirstWorkday(Day::sunday);
    Options::setFirstWeekend(Day::friday);
    EXPECT_EQ(defaults->integer(OptionKeys::FirstWorkday), 1);
    EXPECT_EQ(defaults->integer(OptionKeys::FirstWeekend), 6);
    EXPECT_EQ(Options::FirstWorkday(), Day::sunday);
    EXPECT_EQ(Options::FirstWeekend(), Day::friday);
    EXPECT_EQ(Options::Workdays(), (Days{Day::sunday, Day::monday, Day::tuesday, Day::wednesday, Day::thursday}));
    EXPECT_EQ(Options::Weekend(), (Days{Day::friday, Day::saturday}));
}

TEST_F(OptionsTest, AStoredDayCountsOnAfterSaturday) {
    for (const auto& [number, day] : {std::pair<std::int64_t, Day>(1, Day::sunday),
                                      {7, Day::saturday},
                                      {8, Day::sunday},
                                      {14, Day::saturday},
                                      {-6, Day::sunday},
                                      {-13, Day::sunday}}) {
        defaults->set(OptionKeys::FirstWorkday, number);
        EXPECT_EQ(Options::FirstWorkday(), day) << number;
        defaults->set(OptionKeys::FirstWeekend, number);
        EXPECT_EQ(Options::FirstWeekend(), day) << number;
    }
}

TEST_F(OptionsTest, ADayOfAnotherKindReadsAsTheDefault) {
    for (const PropertyValue& other : {PropertyValue(std::string("3")), PropertyValue(3.0), PropertyValue(true)}) {
        defaults->set(OptionKeys::FirstWorkday, other);
        defaults->set(OptionKeys::FirstWeekend, other);
        EXPECT_EQ(Options::FirstWorkday(), Day::monday);
        EXPECT_EQ(Options::FirstWeekend(), Day::saturday);
    }
}

TEST_F(OptionsDeathTest, AStoredDayThatIsNoneIsFatal) {
    for (const std::int64_t number : {std::int64_t{0}, std::int64_t{-1}, std::int64_t{-5}, std::int64_t{-7}}) {
        defaults->set(OptionKeys::FirstWorkday, number);
        const std::string message = "Fatal error: the setting quendokit.options.first-workday holds " +
                                    std::to_string(number) + ", which is no day of the week";
        EXPECT_DEATH(static_cast<void>(Options::FirstWorkday()), message);
        EXPECT_DEATH(static_cast<void>(Options::Workdays()), message);
        EXPECT_DEATH(static_cast<void>(Options::Weekend()), message);
    }
    defaults->set(OptionKeys::FirstWeekend, least);
    EXPECT_DEATH(static_cast<void>(Options::FirstWeekend()), "64 bits");
}

TEST_F(OptionsTest, ASettingThatIsAbsentOrNoBooleanIsNotKnown) {
    Options::setHasMacApp(true);
    EXPECT_EQ(defaults->boolean(OptionKeys::MacAppPurchased), true);
    EXPECT_EQ(Options::HasMacApp(), true);
    Options::setHasMacApp(false);
    EXPECT_EQ(defaults->boolean(OptionKeys::MacAppPurchased), false);
    EXPECT_EQ(Options::HasMacApp(), false);
    Options::setHasMacApp(std::nullopt);
    EXPECT_FALSE(defaults->contains(OptionKeys::MacAppPurchased));
    EXPECT_FALSE(Options::HasMacApp());
    defaults->set(OptionKeys::MacAppPurchased, std::int64_t{1});
    EXPECT_FALSE(Options::HasMacApp());
    defaults->set(OptionKeys::MacAppPurchased, std::string("true"));
    EXPECT_FALSE(Options::HasMacApp());
}

TEST_F(OptionsTest, WithOneDayForBothTheWholeWeekIsWorkAndWeekend) {
    Options::setFirstWorkday(Day::tuesday);
    Options::setFirstWeekend(Day::tuesday);
    EXPECT_EQ(Options::Workdays(), Day::All());
    EXPECT_EQ(Options::Weekend(), Day::All());
    for (const Day day : Day::All()) {
        itIs(onDay(day, hours(12)));
        EXPECT_EQ(Options::ThisMorning(), Options::WeekendMorning());
    }
}

TEST_F(OptionsTest, ThisMorningFollowsTheLocalDayOfNow) {
    itIs(onDay(Day::friday, hours(23) + minutes(59)));
    EXPECT_EQ(Options::ThisMorning(), 32'400);
    itIs(onDay(Day::saturday, 0));
    EXPECT_EQ(Options::ThisMorning(), 39'600);
    itIs(nextWeekOn(Day::sunday, hours(23)));
    EXPECT_EQ(Options::ThisMorning(), 39'600);
    itIs(nextWeekOn(Day::monday, 0));
    EXPECT_EQ(Options::ThisMorning(), 32'400);
    calendar->setSecondsEast(-60);
    EXPECT_EQ(Options::ThisMorning(), 39'600);
}

TEST_F(OptionsTest, TomorrowMorningFollowsTheDayOf86400SecondsFromNow) {
    itIs(onDay(Day::thursday, hours(23) + minutes(59)));
    EXPECT_EQ(Options::TomorrowMorning(), 32'400);
    itIs(onDay(Day::friday, 0));
    EXPECT_EQ(Options::TomorrowMorning(), 39'600);
    itIs(onDay(Day::sunday, hours(2)));
    EXPECT_EQ(Options::TomorrowMorning(), 32'400);
}

TEST_F(OptionsTest, NextMorningLooksADayAheadUntilTodaysMorningBegins) {
    itIs(onDay(Day::friday, hours(7)));
    EXPECT_EQ(Options::ThisMorning(), 32'400);
    EXPECT_EQ(Options::NextMorning(), 39'600);
    itIs(onDay(Day::friday, hours(9) - 1));
    EXPECT_EQ(Options::NextMorning(), 39'600);
    itIs(onDay(Day::friday, hours(9)));
    EXPECT_EQ(Options::NextMorning(), 32'400);
    itIs(onDay(Day::friday, hours(10)));
    EXPECT_EQ(Options::NextMorning(), 32'400);
    itIs(onDay(Day::sunday, hours(10)));
    EXPECT_EQ(Options::NextMorning(), 32'400);
    itIs(onDay(Day::sunday, hours(11)));
    EXPECT_EQ(Options::NextMorning(), 39'600);
}

TEST_F(OptionsTest, ResetWritesTheDefaultsInOrderAndLeavesHasMacAppAlone) {
    Options::setHasMacApp(true);
    for (const TimeSetting& setting : timeSettings()) {
        setting.set(1);
    }
    Options::setFirstWorkday(Day::wednesday);
    Options::setFirstWeekend(Day::wednesday);
    const std::size_t writes = defaults->writeCount();

    Options::reset();

    EXPECT_EQ(defaults->writeCount(), writes + 8);
    const InMemoryProperties::Values expected{
        {"quendokit.options.first-workday", std::int64_t{2}},
        {"quendokit.options.first-weekend", std::int64_t{7}},
        {"quendokit.options.workday-morning", std::int64_t{32'400}},
        {"quendokit.options.weekend-morning", std::int64_t{39'600}},
        {"quendokit.options.afternoon", std::int64_t{43'200}},
        {"quendokit.options.evening", std::int64_t{64'800}},
        {"quendokit.options.later", std::int64_t{10'800}},
        {"quendokit.options.postpone", std::int64_t{1'200}},
        {"quendokit.options.has-mac-app", true},
    };
    EXPECT_EQ(defaults->values(), expected);
}

TEST_F(OptionsTest, ResetWritesInTheOrderOfTheKeys) {
    class OrderedDefaults final : public UserDefaults {
    public:
        [[nodiscard]] std::optional<PropertyValue> object(std::string_view) const override { return std::nullopt; }
        void set(std::string_view key, PropertyValue) override { order.emplace_back(key); }
        void remove(std::string_view) override { ADD_FAILURE() << "a setting was removed"; }
        std::vector<std::string> order;
    };
    const auto ordered = std::make_shared<OrderedDefaults>();
    platform::Services services = platform::services();
    services.userDefaults = ordered;
    const platform::ScopedInstall scope(services);
    Options::reset();
    EXPECT_EQ(ordered->order, std::vector<std::string>(OptionKeys::All.begin(), OptionKeys::All.end() - 1));
}

TEST_F(OptionsTest, LabelsAreLookedUpOnceWithoutAComment) {
    const std::vector<std::pair<const std::string& (*)(), std::string>> labels{
        {Options::Name::FirstWorkday, "My week starts"},
        {Options::Name::FirstWeekend, "My weekend starts"},
        {Options::Name::WorkdayMorning, "Start my workday at"},
        {Options::Name::WeekendMorning, "Start my weekends at"},
        {Options::Name::Afternooon, "Set my afternoon at"},
        {Options::Name::Evening, "Start my evening at"},
        {Options::Name::Later, "Later today"},
        {Options::Name::Postpone, "Notification postpone"},
    };
    for (const auto& [label, text] : labels) {
        EXPECT_EQ(label(), text);
        EXPECT_EQ(label(), text);
        EXPECT_EQ(bundle->comments(text), std::vector<std::string>{""});
    }
}

}  // namespace
}  // namespace quendokit::testing

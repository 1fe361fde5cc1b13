#include "hostkit/settings_guard.hpp"

#include <cstdint>
#include <limits>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "hostkit/guarded_key_value_store.hpp"
#include "hostkit/guarded_user_defaults.hpp"
#include "quendokit/options/option_keys.hpp"
#include "quendokit/options/options.hpp"
#include "quendokit/platform/calendar.hpp"
#include "quendokit/presets/preset_controller.hpp"
#include "tests/support/device_fixture.hpp"

namespace quendokit::testing {
namespace {

using Lines = std::vector<std::string>;
constexpr auto most = std::numeric_limits<std::int64_t>::max();
constexpr auto least = std::numeric_limits<std::int64_t>::min();

/// The options over guarded settings and a guarded cloud.
class GuardedDevice : public DeviceFixture {
protected:
    GuardedDevice() { guard(true); }

    void guard(bool active) {
        guarded_.reset();
        platform::Services services = platform::services();
        const SettingsGuardOptions options{active, [this](const std::string& line) { warnings.push_back(line); }};
        services.userDefaults = std::make_shared<GuardedUserDefaults>(defaults, options);
        services.ubiquitousKeyValueStore = std::make_shared<GuardedKeyValueStore>(cloud, options);
        guarded_.emplace(std::move(services));
    }

    Lines warnings;

private:
    std::optional<platform::ScopedInstall> guarded_;
};

using GuardedDeviceDeathTest = GuardedDevice;

TEST_F(GuardedDevice, ADayThatIsNoneReadsAsTheDefaultAndStays) {
    for (const std::int64_t number : {std::int64_t{0}, std::int64_t{-1}, std::int64_t{-5}, std::int64_t{-7}, least}) {
        defaults->set(OptionKeys::FirstWorkday, number);
        defaults->set(OptionKeys::FirstWeekend, number);
        EXPECT_EQ(Options::FirstWorkday(), Day::monday) << number;
        EXPECT_EQ(Options::FirstWeekend(), Day::saturday) << number;
        EXPECT_EQ(Options::Weekend(), Day::Weekend());
        EXPECT_EQ(defaults->integer(OptionKeys::FirstWorkday), number);
    }
}

TEST_F(GuardedDevice, ADayThatCanBeReadIsRead) {
    for (const std::int64_t number : {std::int64_t{1}, std::int64_t{7}, std::int64_t{8}, std::int64_t{-6}, most}) {
        defaults->set(OptionKeys::FirstWorkday, number);
        EXPECT_EQ(Options::FirstWorkday().rawValue(), (number - 1) % 7 + 1) << number;
    }
    EXPECT_EQ(warnings, Lines());
}

TEST_F(GuardedDevice, ATimeThatNoCalendarCanSetReadsAsTheDefault) {
    for (const std::int64_t time : {std::int64_t{-1}, std::int64_t{-86'400}, least, most, calendarReach}) {
        for (const std::string_view key :
             {OptionKeys::WorkdayMorning, OptionKeys::WeekendMorning, OptionKeys::Afternoon, OptionKeys::Evening}) {
            defaults->set(key, time);
        }
        EXPECT_EQ(Options::WorkdayMorning(), 32'400) << time;
        EXPECT_EQ(Options::WeekendMorning(), 39'600) << time;
        EXPECT_EQ(Options::Afternoon(), 43'200) << time;
        EXPECT_EQ(Options::Evening(), 64'800) << time;
    }
}

TEST_F(GuardedDevice, EveryTimeThatIsReadLeadsToADate) {
    const PresetController presets;
    for (const std::int64_t time : {std::int64_t{0}, std::int64_t{86'400}, std::int64_t{1} << 40, calendarReach / 2}) {
        for (const std::string_view key :
             {OptionKeys::WorkdayMorning, OptionKeys::WeekendMorning, OptionKeys::Afternoon, OptionKeys::Evening}) {
            defaults->set(key, time);
        }
        EXPECT_EQ(Options::Evening(), time);
        for (const Preset& preset : presets.presets()) {
            static_cast<void>(preset.configuration(platform::clock().now()));
        }
    }
    EXPECT_EQ(warnings, Lines());
}

TEST_F(GuardedDevice, DurationsAreNotHidden) {
    for (const std::int64_t duration : {std::int64_t{-1}, least, most}) {
        defaults->set(OptionKeys::Later, duration);
        defaults->set(OptionKeys::Postpone, duration);
        EXPECT_EQ(Options::Later(), duration);
        EXPECT_EQ(Options::Postpone(), duration);
        for (const Preset& preset : {PresetController().Later(), PresetController().Short()}) {
            static_cast<void>(preset.configuration(platform::clock().now()));
        }
    }
    EXPECT_EQ(warnings, Lines());
}

TEST_F(GuardedDevice, WhatIsNoIntegerOrNoSettingPassesAsItIs) {
    UserDefaults& guarded = UserDefaults::standard();
    for (const PropertyValue& value : {PropertyValue(-1.0), PropertyValue(std::string("0")), PropertyValue(false)}) {
        guarded.set(OptionKeys::FirstWorkday, value);
        EXPECT_EQ(guarded.object(OptionKeys::FirstWorkday), value);
    }
    guarded.set("another.key", std::int64_t{-1});
    EXPECT_EQ(guarded.object("another.key"), PropertyValue(std::int64_t{-1}));
    guarded.remove("another.key");
    EXPECT_FALSE(guarded.object("another.key"));
    EXPECT_FALSE(defaults->contains("another.key"));
    EXPECT_EQ(warnings, Lines());
}

TEST_F(GuardedDevice, WarnsOnceOfEachKeyAndValue) {
    defaults->set(OptionKeys::FirstWorkday, std::int64_t{0});
    defaults->set(OptionKeys::Evening, std::int64_t{-5});
    static_cast<void>(Options::FirstWorkday());
    static_cast<void>(Options::Weekend());
    static_cast<void>(Options::Evening());
    static_cast<void>(Options::Evening());
    const std::string first =
        "the setting quendokit.options.first-workday holds 0, which is no day of the week; its "
        "default is used until it is set again";
    EXPECT_EQ(warnings, (Lines{first,
                               "the setting quendokit.options.evening holds -5, which is no time of day; its "
                               "default is used until it is set again"}));
    defaults->set(OptionKeys::FirstWorkday, std::int64_t{-1});
    static_cast<void>(Options::FirstWorkday());
    EXPECT_EQ(warnings.size(), 3U);
    defaults->set(OptionKeys::FirstWorkday, std::int64_t{0});
    static_cast<void>(Options::FirstWorkday());
    EXPECT_EQ(warnings.size(), 4U);
    EXPECT_EQ(warnings.back(), first);
}

TEST_F(GuardedDevice, WhatIsSetAgainIsReadAgain) {
    defaults->set(OptionKeys::FirstWorkday, std::int64_t{0});
    EXPECT_EQ(Options::FirstWorkday(), Day::monday);
    Options::setFirstWorkday(Day::tuesday);
    EXPECT_EQ(Options::FirstWorkday(), Day::tuesday);
}

TEST_F(GuardedDevice, ABadValueOfTheCloudIsNotCopied) {
    Options::setFirstWorkday(Day::tuesday);
    cloud->arrive({{"quendokit.options.first-workday", std::int64_t{0}},
                   {"quendokit.options.evening", std::int64_t{-1}},
                   {"quendokit.options.later", std::int64_t{60}}});
    EXPECT_EQ(Options::FirstWorkday(), Day::tuesday);
    EXPECT_FALSE(defaults->contains(OptionKeys::Evening));
    EXPECT_EQ(Options::Later(), 60);
    EXPECT_EQ(warnings.size(), 2U);
}

TEST_F(GuardedDevice, TheCloudsStoreIsOtherwiseItself) {
    NSUbiquitousKeyValueStore& guarded = NSUbiquitousKeyValueStore::defaultStore();
    guarded.set("key", std::string("value"));
    EXPECT_EQ(cloud->text("key"), "value");
    EXPECT_EQ(guarded.object("key"), PropertyValue(std::string("value")));
    guarded.remove("key");
    EXPECT_FALSE(cloud->contains("key"));
    EXPECT_TRUE(guarded.synchronize());
    cloud->setSynchronizeAnswer(false);
    EXPECT_FALSE(guarded.synchronize());
}

TEST_F(GuardedDeviceDeathTest, AGuardThatIsOffHidesNothing) {
    guard(false);
    defaults->set(OptionKeys::FirstWorkday, std::int64_t{0});
    EXPECT_DEATH(static_cast<void>(Options::FirstWorkday()), "holds 0, which is no day of the week");
    cloud->arrive({{"quendokit.options.evening", std::int64_t{-1}}});
    static_cast<void>(Options::Later());
    cloud->arrive({{"quendokit.options.evening", std::int64_t{-1}}});
    EXPECT_EQ(Options::Evening(), -1);
    EXPECT_EQ(warnings, Lines());
}

TEST(SettingsGuard, WorksWithoutAnyoneToWarn) {
    SettingsGuard guard({});
    EXPECT_FALSE(guard.checked(OptionKeys::FirstWorkday, std::int64_t{0}));
    EXPECT_FALSE(guard.checked(OptionKeys::FirstWorkday, std::nullopt));
    EXPECT_EQ(guard.checked(OptionKeys::FirstWorkday, std::int64_t{1}), PropertyValue(std::int64_t{1}));
}

}  // namespace
}  // namespace quendokit::testing

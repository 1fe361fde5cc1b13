/// \file
/// The services of Linux together: real files, real zones, real texts.

#include "adapters/linux/linux_platform.hpp"

#include <chrono>
#include <clocale>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "adapters/linux/offline_key_value_store.hpp"
#include "quendokit/model/date_operations.hpp"
#include "quendokit/model/day.hpp"
#include "quendokit/options/option_keys.hpp"
#include "quendokit/options/options.hpp"
#include "quendokit/platform/bundle.hpp"
#include "quendokit/platform/calendar.hpp"
#include "quendokit/platform/dispatch_queue.hpp"
#include "quendokit/platform/realm.hpp"
#include "quendokit/platform/run_loop.hpp"
#include "quendokit/platform/ubiquitous_key_value_store.hpp"
#include "quendokit/platform/user_defaults.hpp"
#include "quendokit/presets/preset_controller.hpp"
#include "quendokit/store/quendokit_config.hpp"
#include "quendokit/store/reminder_controller.hpp"
#include "testing/conformance/ubiquitous_key_value_store_conformance.hpp"
#include "tests/support/scoped_environment.hpp"
#include "tests/support/temporary_folder.hpp"

namespace quendokit::testing {
namespace {

using namespace std::chrono_literals;

class OfflineFactory final : public UbiquitousKeyValueStoreFactory {
public:
    [[nodiscard]] std::shared_ptr<NSUbiquitousKeyValueStore> make() override {
        return std::make_shared<OfflineKeyValueStore>();
    }
};

INSTANTIATE_TEST_SUITE_P(Offline, UbiquitousKeyValueStoreConformance,
                         ::testing::Values(UbiquitousKeyValueStoreImplementation{
                             "Offline", [] { return std::make_unique<OfflineFactory>(); }}));

TEST(OfflineKeyValueStore, HasNothingToSynchroniseWith) {
    EXPECT_FALSE(OfflineKeyValueStore().synchronize());
}

class LinuxPlatformTest : public ::testing::Test {
protected:
    [[nodiscard]] LinuxPlatformOptions options() {
        LinuxPlatformOptions options;
        options.folders = LinuxFolders::inOne(folder_.path());
        options.localeFolder = QUENDOKIT_LOCALE_FOLDER;
        options.AppIdentifier = "net.example.notes";
        options.organisationPrefix = "net.example";
        options.onFailure = [this](const Error& error) { failures_.push_back(error.description); };
        return options;
    }

    const TemporaryFolder folder_;
    const ScopedEnvironment zone_{"TZ", "Europe/Berlin"};
    std::vector<std::string> failures_;
};

using LinuxPlatformDeathTest = LinuxPlatformTest;

TEST_F(LinuxPlatformTest, HasEveryService) {
    const LinuxPlatform made = makeLinuxPlatform(options());
    const platform::Services& services = made.services;
    EXPECT_TRUE(services.clock && services.calendar && services.locale && services.bundleProvider &&
                services.userDefaults && services.ubiquitousKeyValueStore && services.notificationCenter &&
                services.runLoopProvider && services.mainQueue && services.realmProvider && services.standardOutput);
    EXPECT_EQ(services.AppIdentifier, "net.example.notes");
    EXPECT_EQ(services.organisationPrefix, "net.example");
    EXPECT_TRUE(services.bundleProvider->bundle(services.FrameworkBundleIdentifier));
    EXPECT_TRUE(std::filesystem::is_empty(folder_.path())) << "making them makes no file";
}

TEST_F(LinuxPlatformTest, KeepsRemindersAndSettingsInTheFolders) {
    for (int run = 0; run < 2; ++run) {
        const LinuxPlatform made = makeLinuxPlatform(options());
        const platform::ScopedInstall scope(made.services);
        auto realm = Realm::open(QuendoKitConfig());
        ASSERT_TRUE(realm);
        const auto reminders = ReminderController::create(nullptr, std::move(realm).value());
        if (run == 0) {
            Options::setEvening(72'000);
            const Date now = platform::clock().now();
            reminders->store(PresetController().TomorrowEvening().remind("Call the bank", now));
        }
        ASSERT_EQ(reminders->reminders(false).size(), 1U);
        EXPECT_EQ(time(*reminders->reminders(false).front().condition().date()), 72'000);
        EXPECT_EQ(Options::Evening(), 72'000);
    }
    EXPECT_TRUE(std::filesystem::exists(folder_.path() / "reminders.sqlite"));
    EXPECT_TRUE(std::filesystem::exists(folder_.path() / "settings.json"));
    EXPECT_EQ(failures_, std::vector<std::string>());
}

TEST_F(LinuxPlatformTest, FollowsTheZoneWhenToldOfAChange) {
    const LinuxPlatform made = makeLinuxPlatform(options());
    const platform::ScopedInstall scope(made.services);
    const Date noon(1'795'258'800);  // 2026-11-21 12:00 in Berlin
    EXPECT_EQ(time(noon), hours(12));
    const ScopedEnvironment travelled("TZ", "America/New_York");
    EXPECT_EQ(time(noon), hours(12));
    made.calendar->zoneChanged();
    EXPECT_EQ(time(noon), hours(6));
}

TEST_F(LinuxPlatformTest, SpeaksTheLanguageOfTheEnvironment) {
    const ScopedEnvironment all("LC_ALL", "C.UTF-8");
    const ScopedEnvironment language("LANGUAGE", "sv");
    ASSERT_NE(std::setlocale(LC_MESSAGES, "C.UTF-8"), nullptr);
    {
        const LinuxPlatform made = makeLinuxPlatform(options());
        const platform::ScopedInstall scope(made.services);
        EXPECT_EQ(PresetController::Names::ThisEvening(), "I kväll");
        EXPECT_EQ(Day(Day::monday).string(), "måndag");
        EXPECT_EQ(NotificationAction(NotificationAction::Later).name(), "3 timmar");
    }
    std::setlocale(LC_MESSAGES, "C");
}

TEST_F(LinuxPlatformTest, TellsTheHostWhatTheFilesCouldNotDo) {
    std::ofstream(folder_.path() / "settings.json") << "no settings";
    const LinuxPlatform made = makeLinuxPlatform(options());
    ASSERT_EQ(failures_.size(), 1U);
    EXPECT_NE(failures_.front().find("settings.json"), std::string::npos) << failures_.front();
    std::ofstream(folder_.path() / "reminders.sqlite") << "no database, and long enough to look like one perhaps";
    const platform::ScopedInstall scope(made.services);
    EXPECT_FALSE(Realm::open(QuendoKitConfig()));
}

TEST_F(LinuxPlatformTest, ItsLoopCarriesTheSettingsToTheKeyValueStoreAfterThreeSeconds) {
    const LinuxPlatform made = makeLinuxPlatform(options());
    const platform::ScopedInstall scope(made.services);
    const auto start = std::chrono::steady_clock::now();
    Options::setEvening(72'000);
    const auto& cloud = NSUbiquitousKeyValueStore::defaultStore();
    const bool pushed = made.mainLoop->runUntil([&] { return cloud.object(OptionKeys::Evening).has_value(); }, 30s);
    EXPECT_TRUE(pushed);
    EXPECT_GE(std::chrono::steady_clock::now() - start, 3s);
}

TEST_F(LinuxPlatformDeathTest, InstallsForTheRestOfTheProcess) {
    EXPECT_EXIT(
        {
            const LinuxPlatform installed = installLinuxPlatform(options());
            const bool seen = &UserDefaults::standard() == installed.userDefaults.get() &&
                              &RunLoop::main() == installed.mainLoop.get() &&
                              &DispatchQueue::main() == installed.mainLoop.get() &&
                              &Calendar::current() == installed.calendar.get();
            std::exit(seen ? 0 : 1);
        },
        ::testing::ExitedWithCode(0), "");
    EXPECT_DEATH(
        {
            static_cast<void>(installLinuxPlatform(options()));
            static_cast<void>(installLinuxPlatform(options()));
        },
        "platform::install was called twice");
}

}  // namespace
}  // namespace quendokit::testing

// A host that stores a reminder for this evening and looks whether it is there: with what Linux has, in the folder that
// it is given, or with doubles alone.

#include <cstdio>
#include <memory>

#include "adapters/icu/icu_locale.hpp"
#include "adapters/linux/linux_platform.hpp"
#include "hostkit/day_plan_check.hpp"
#include "hostkit/guarded_user_defaults.hpp"
#include "quendokit/options/options.hpp"
#include "quendokit/platform/realm.hpp"
#include "quendokit/presets/preset_controller.hpp"
#include "quendokit/store/quendokit_config.hpp"
#include "quendokit/store/reminder_controller.hpp"
#include "testing/in_memory_realm.hpp"
#include "testing/in_memory_user_defaults.hpp"

int main(int count, char** arguments) {
    using namespace quendokit;

    LinuxPlatformOptions options;
    options.folders = LinuxFolders::inOne(count > 1 ? arguments[1] : "unused");
    platform::Services services = makeLinuxPlatform(options).services;
    if (count < 2) {
        services.realmProvider = std::make_shared<testing::InMemoryRealmProvider>();
        services.userDefaults = std::make_shared<testing::InMemoryUserDefaults>();
    }
    services.userDefaults = std::make_shared<GuardedUserDefaults>(services.userDefaults, SettingsGuardOptions());
    platform::install(services);

    auto realm = Realm::open(QuendoKitConfig());
    if (!realm) {
        std::fprintf(stderr, "%s\n", realm.error().description.c_str());
        return 1;
    }
    const auto controller = ReminderController::create(nullptr, realm.value());
    const Date now = platform::clock().now();
    Options::setEvening(72'000);
    controller->store(PresetController().ThisEvening().remind("Call the bank", now));

    const auto reminders = controller->reminders(false);
    const bool found = reminders.size() == 1 && reminders.front().title() == "Call the bank";
    const bool planned = Options::Evening() == 72'000 && !DayPlanCheck().timesCoincideToday();
    const bool knowsWords = NotificationAction(NotificationAction::Later).name() == "3 hours" &&
                            ICULocale("de").standaloneWeekdaySymbols().front() == "Sonntag";
    return found && planned && knowsWords ? 0 : 1;
}

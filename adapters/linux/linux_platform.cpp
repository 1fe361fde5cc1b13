#include "adapters/linux/linux_platform.hpp"

#include <utility>

#include "adapters/event_loop/event_loop_provider.hpp"
#include "adapters/event_loop/process_notification_center.hpp"
#include "adapters/event_loop/system_clock.hpp"
#include "adapters/gettext/gettext_bundle_provider.hpp"
#include "adapters/icu/icu_locale.hpp"
#include "adapters/linux/offline_key_value_store.hpp"
#include "adapters/sqlite/sqlite_realm_provider.hpp"

namespace quendokit {
namespace {

constexpr const char* frameworkBundle = "quendokit";

FileUserDefaultsOptions settingsOptions(const LinuxPlatformOptions& options) {
    FileUserDefaultsOptions settings;
    settings.file = options.folders.settings();
    settings.lockTimeout = options.patience;
    settings.onFailure = options.onFailure;
    return settings;
}

SQLiteRealmOptions databaseOptions(const LinuxPlatformOptions& options) {
    SQLiteRealmOptions database;
    database.defaultFile = options.folders.database();
    database.busyTimeout = options.patience;
    database.onFailure = options.onFailure;
    return database;
}

}  // namespace

LinuxPlatform makeLinuxPlatform(LinuxPlatformOptions options) {
    LinuxPlatform made;
    made.mainLoop = std::make_shared<EventLoop>();
    made.calendar = std::make_shared<LocalCalendar>();
    made.userDefaults = std::make_shared<FileUserDefaults>(settingsOptions(options));

    platform::Services& services = made.services;
    services.clock = std::make_shared<SystemClock>();
    services.calendar = made.calendar;
    services.locale = std::make_shared<ICULocale>();
    services.bundleProvider = std::make_shared<GettextBundleProvider>(frameworkBundle, options.localeFolder);
    services.userDefaults = made.userDefaults;
    services.ubiquitousKeyValueStore = std::make_shared<OfflineKeyValueStore>();
    services.notificationCenter = std::make_shared<ProcessNotificationCenter>();
    services.runLoopProvider = std::make_shared<EventLoopProvider>(made.mainLoop);
    services.mainQueue = made.mainLoop;
    services.realmProvider = std::make_shared<SQLiteRealmProvider>(databaseOptions(options));
    services.FrameworkBundleIdentifier = frameworkBundle;
    services.AppIdentifier = std::move(options.AppIdentifier);
    services.CloudContainerIdentifier = std::move(options.CloudContainerIdentifier);
    services.organisationPrefix = std::move(options.organisationPrefix);
    return made;
}

LinuxPlatform installLinuxPlatform(LinuxPlatformOptions options) {
    LinuxPlatform made = makeLinuxPlatform(std::move(options));
    platform::install(made.services);
    return made;
}

}  // namespace quendokit

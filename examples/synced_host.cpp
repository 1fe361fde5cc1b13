#include <chrono>
#include <clocale>
#include <cstdio>
#include <memory>

#include "adapters/linux/linux_platform.hpp"
#include "hostkit/guarded_container_provider.hpp"
#include "hostkit/sync_driver.hpp"
#include "hostkit/token_gate.hpp"
#include "quendokit/platform/realm.hpp"
#include "quendokit/presets/preset_controller.hpp"
#include "quendokit/store/quendokit_config.hpp"
#include "quendokit/store/reminder_controller.hpp"
#include "quendokit/sync/reminder_sync_manager.hpp"
#include "testing/in_memory_cloud_database.hpp"
#include "testing/one_cloud_database.hpp"

using namespace quendokit;

int main() {
    std::setlocale(LC_ALL, "");
    LinuxPlatformOptions host;
    host.folders = LinuxFolders::inOne("synced-host");
    host.AppIdentifier = "org.example.reminders";
    host.CloudContainerIdentifier = "iCloud.org.example.reminders";
    // What could not be written here is downloaded again.
    const auto guarded = std::make_shared<std::weak_ptr<GuardedCloudDatabase>>();
    host.onFailure = [guarded](const Error& error) {
        std::fprintf(stderr, "%s\n", error.description.c_str());
        if (const auto database = guarded->lock()) {
            database->writeFailed();
        }
    };
    LinuxPlatform platform = makeLinuxPlatform(host);

    // The cloud: here one in memory. A guard stands between it and the engine.
    const auto cloud = std::make_shared<testing::InMemoryCloud>();
    const auto database = testing::InMemoryCloudDatabase::create(cloud, platform.mainLoop);
    const auto guards = std::make_shared<GuardedContainerProvider>(
        std::make_shared<testing::OneCloudDatabase>(database), CloudGuardOptions());
    const auto gate = TokenGate::create(platform.services.userDefaults, host.AppIdentifier + ".sync.change-token",
                                        platform.services.mainQueue);
    platform.services.containerProvider = guards;
    platform.services.userDefaults = gate;
    platform::install(platform.services);

    // Manager and controller are made in one turn of the main loop, so that no page finds the manager without a store.
    auto realm = Realm::open(QuendoKitConfig());
    if (!realm) {
        std::fprintf(stderr, "%s\n", realm.error().description.c_str());
        return 1;
    }
    const auto manager = ReminderSyncManager::create("this device");
    const auto reminders = ReminderController::create(nullptr, realm.value(), nullptr, manager);
    const auto guard = guards->database(host.CloudContainerIdentifier);
    guard->setTokenGate(gate);
    guard->setRealm(realm.value());
    *guarded = guard;
    const auto driver = SyncDriver::create(manager, guard);
    database->setPushHandler([driver](const CKSubscription&) { driver->pushed(); });

    reminders->store(PresetController().ThisEvening().remind("Call the bank", platform::clock().now()));
    // What changes a stored reminder goes through the guard.
    const ReminderStruct stored = reminders->reminders(false).front();
    guard->perform({*stored.id()}, [&] { reminders->postpone(stored, ReminderCondition::device(DeviceType::mac)); });

    const CKRecordZoneID zone{"Reminder Zone"};
    const bool arrived =
        platform.mainLoop->runUntil([&] { return !cloud->records(zone).empty(); }, std::chrono::seconds(10));
    std::printf("%s\n", arrived ? "It is in the cloud." : "It did not arrive.");
    return arrived ? 0 : 1;
}

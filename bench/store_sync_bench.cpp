/// \file
/// What an idle pass asks where all is confirmed, and the whole of an upload that has nothing to do, beside the same
/// two questions to raw SQLite with cached statements.

#include <memory>
#include <utility>

#include "adapters/event_loop/process_notification_center.hpp"
#include "bench/store_files.hpp"
#include "quendokit/platform/fatal_error.hpp"
#include "quendokit/platform/services.hpp"
#include "quendokit/store/reminder_controller.hpp"
#include "quendokit/sync/reminder_sync_manager.hpp"
#include "testing/in_memory_user_defaults.hpp"
#include "testing/one_cloud_database.hpp"
#include "testing/scripted_cloud_database.hpp"

namespace quendokit::bench {
namespace {

/// A file of its own in which nothing is unsent.
struct Confirmed : Copy {
    explicit Confirmed(const benchmark::State& state) : Copy(static_cast<int>(state.range(0))) {
        RawStore(file.string()).confirmAll();
    }
};

void unsentRaw(benchmark::State& state) {
    const Confirmed confirmed(state);
    RawStore raw(confirmed.file.string());
    for (auto _ : state) {
        benchmark::DoNotOptimize(raw.unsent(false));
        benchmark::DoNotOptimize(raw.unsent(true));
    }
}

void unsentEngine(benchmark::State& state) {
    const Confirmed confirmed(state);
    const auto controller = ReminderController::create(nullptr, openRealm(confirmed.file));
    for (auto _ : state) {
        benchmark::DoNotOptimize(controller->remindersToUpload());
        benchmark::DoNotOptimize(controller->remindersToDelete());
    }
}

void answerThatTheZoneExists(testing::ScriptedCloudDatabase& cloud) {
    const auto fetch = cloud.take<CKFetchRecordZonesOperation>();
    const CKRecordZoneID id = fetch->recordZoneIDs.front();
    fetch->fetchRecordZonesCompletion(CKFetchRecordZonesOperation::Zones{{id, CKRecordZone{id}}}, std::nullopt);
    fetch->finish();
}

void uploadOfNothing(benchmark::State& state) {
    const auto cloud = std::make_shared<testing::ScriptedCloudDatabase>();
    platform::Services services = platform::services();
    services.containerProvider = std::make_shared<testing::OneCloudDatabase>(cloud);
    services.notificationCenter = std::make_shared<ProcessNotificationCenter>();
    services.userDefaults = std::make_shared<testing::InMemoryUserDefaults>();
    const platform::ScopedInstall installed(std::move(services));

    const Confirmed confirmed(state);
    const auto manager = ReminderSyncManager::create("this device");
    answerThatTheZoneExists(*cloud);
    const auto controller = ReminderController::create(nullptr, openRealm(confirmed.file), nullptr, manager);
    for (auto _ : state) {
        if (manager->localSyncOp()) {
            fatalError("there was something to upload");
        }
    }
}

constexpr auto us = benchmark::kMicrosecond;

BENCHMARK(unsentRaw)->Name("nothing unsent/raw")->Apply(sizes)->Unit(us);
BENCHMARK(unsentEngine)->Name("nothing unsent/quendokit")->Apply(sizes)->Unit(us);
BENCHMARK(unsentRaw)->Name("upload of nothing/raw")->Apply(sizes)->Unit(us);
BENCHMARK(uploadOfNothing)->Name("upload of nothing/quendokit")->Apply(sizes)->Unit(us);

}  // namespace
}  // namespace quendokit::bench

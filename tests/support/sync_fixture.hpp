#pragma once
/// \file
/// `SyncFixture`: a sync manager whose cloud, store, time and threads are in the test's hand.

#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "quendokit/model/log_func.hpp"
#include "quendokit/platform/services.hpp"
#include "quendokit/platform/timer.hpp"
#include "quendokit/sync/reminder_sync.hpp"
#include "quendokit/sync/reminder_sync_manager.hpp"
#include "testing/in_memory_user_defaults.hpp"
#include "testing/manual_clock.hpp"
#include "testing/manual_dispatch_queue.hpp"
#include "testing/manual_run_loop_provider.hpp"
#include "testing/one_cloud_database.hpp"
#include "testing/recording_line_sink.hpp"
#include "testing/recording_notification_center.hpp"
#include "testing/recording_reminder_store.hpp"
#include "testing/scripted_cloud_database.hpp"
#include "tests/support/reminder_items.hpp"

namespace quendokit::testing {

/// The cloud, the store, the engine's lines and the posts tell one trace: posts as "post NAME", lines of the system's
/// log as "NSLog LINE".
class SyncFixture : public ::testing::Test {
protected:
    using Lines = std::vector<std::string>;
    using SyncMethod = ReminderSyncManager::SyncMethod;

    static constexpr const char* tokenKey = "net.example.reminders.sync.change-token";

    SyncFixture() : installed_(makeServices()) {
        for (const std::string_view name :
             {ReminderSync::Notification::DidFinishLocalSync, ReminderSync::Notification::DidFinishRemoteSync}) {
            static_cast<void>(center->addObserver(name, [this](const Notification& notification) {
                EXPECT_FALSE(notification.userInfo);
                trace->add("post " + notification.name);
            }));
        }
    }
    ~SyncFixture() override {
        // A timer that still waits holds its manager, which holds the timer.
        for (const auto& weak : made_) {
            const auto each = weak.lock();
            if (const auto timer = each ? each->pollingTimer() : nullptr) {
                timer->invalidate();
            }
        }
        mainLoop->advanceBy(std::chrono::seconds(1));
        setLogFunc({});
    }

    /// What the trace holds, which is then empty.
    Lines taken() {
        Lines lines = trace->lines();
        trace->clear();
        return lines;
    }

    static Error error(const std::string& description) { return {"CKErrorDomain", 1, description}; }
    static CKServerChangeToken token(const std::string& text) {
        std::vector<std::byte> data;
        for (const char c : text) {
            data.push_back(static_cast<std::byte>(c));
        }
        return CKServerChangeToken(std::move(data));
    }

    /// Makes a manager; nothing is answered yet.
    void make(SyncMethod method, const std::string& deviceIdentifier = "this device") {
        manager = ReminderSyncManager::create(deviceIdentifier, method);
        made_.push_back(manager);
    }

    /// Makes one that polls, whose zone is known. The trace is empty.
    void makeReady() {
        make(SyncMethod::polling);
        answerZone(true);
        trace->clear();
    }

    /// Answers the oldest look-up of the zone.
    void answerZone(bool found, const std::optional<Error>& failure = std::nullopt) {
        const auto fetch = cloud->take<CKFetchRecordZonesOperation>();
        ASSERT_TRUE(fetch);
        CKFetchRecordZonesOperation::Zones zones;
        if (found) {
            zones.emplace(zoneID, CKRecordZone{zoneID});
        }
        fetch->fetchRecordZonesCompletion(failure ? std::nullopt : std::optional(zones), failure);
        fetch->finish();
    }

    const CKRecordZoneID zoneID{"Reminder Zone"};
    const std::shared_ptr<Trace> trace = std::make_shared<Trace>();
    const std::shared_ptr<ManualClock> clock = std::make_shared<ManualClock>(Date(1'795'302'000.25));
    const std::shared_ptr<ScriptedCloudDatabase> cloud = std::make_shared<ScriptedCloudDatabase>(trace);
    const std::shared_ptr<OneCloudDatabase> containers = std::make_shared<OneCloudDatabase>(cloud);
    const std::shared_ptr<RecordingReminderStore> store = std::make_shared<RecordingReminderStore>(trace);
    const std::shared_ptr<InMemoryUserDefaults> defaults = std::make_shared<InMemoryUserDefaults>();
    const std::shared_ptr<RecordingNotificationCenter> center = std::make_shared<RecordingNotificationCenter>();
    const std::shared_ptr<ManualRunLoop> mainLoop = std::make_shared<ManualRunLoop>(clock);
    const std::shared_ptr<ManualRunLoopProvider> loops = std::make_shared<ManualRunLoopProvider>(mainLoop);
    const std::shared_ptr<ManualDispatchQueue> mainQueue = std::make_shared<ManualDispatchQueue>();
    std::shared_ptr<ReminderSyncManager> manager;

private:
    /// Adds lines to the trace with a word before them.
    class TracingSink final : public LineSink {
    public:
        TracingSink(std::shared_ptr<Trace> trace, std::string prefix)
            : trace_(std::move(trace)), prefix_(std::move(prefix)) {}
        void writeLine(std::string_view line) override { trace_->add(prefix_ + std::string(line)); }

    private:
        const std::shared_ptr<Trace> trace_;
        const std::string prefix_;
    };

    [[nodiscard]] platform::Services makeServices() const {
        platform::Services services;
        services.clock = clock;
        services.userDefaults = defaults;
        services.notificationCenter = center;
        services.runLoopProvider = loops;
        services.mainQueue = mainQueue;
        services.containerProvider = containers;
        services.standardOutput = std::make_shared<TracingSink>(trace, "");
        services.systemLog = std::make_shared<TracingSink>(trace, "NSLog ");
        services.AppIdentifier = "net.example.reminders";
        services.CloudContainerIdentifier = "iCloud.net.example.reminders";
        return services;
    }

    const platform::ScopedInstall installed_;
    std::vector<std::weak_ptr<ReminderSyncManager>> made_;
};

}  // namespace quendokit::testing

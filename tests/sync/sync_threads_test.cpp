/// \file
/// Controllers, sync managers and a cloud on real threads; for ThreadSanitizer to watch.

#include <array>
#include <atomic>
#include <chrono>
#include <cstddef>
#include <functional>
#include <memory>
#include <optional>
#include <random>
#include <string>
#include <string_view>
#include <thread>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "adapters/event_loop/event_loop.hpp"
#include "adapters/event_loop/event_loop_provider.hpp"
#include "adapters/event_loop/process_notification_center.hpp"
#include "quendokit/model/log_func.hpp"
#include "quendokit/platform/results.hpp"
#include "quendokit/platform/services.hpp"
#include "quendokit/platform/timer.hpp"
#include "quendokit/store/quendokit_config.hpp"
#include "quendokit/store/reminder_controller.hpp"
#include "quendokit/sync/reminder_record.hpp"
#include "quendokit/sync/reminder_sync.hpp"
#include "quendokit/sync/reminder_sync_manager.hpp"
#include "testing/in_memory_realm.hpp"
#include "testing/in_memory_user_defaults.hpp"
#include "testing/manual_clock.hpp"
#include "testing/one_cloud_database.hpp"
#include "tests/support/reminder_items.hpp"
#include "tests/sync/threaded_cloud.hpp"

namespace quendokit::testing {
namespace {

using namespace std::chrono_literals;

constexpr std::size_t wantedPasses = 10'000;
constexpr std::size_t identifiers = 24;
constexpr std::size_t mostDue = 12;
constexpr double now = 1'795'302'000;
constexpr const char* tokenKey = "net.example.reminders.sync.change-token";

/// How many lines began how. Any thread.
class Tally final : public LineSink {
public:
    void writeLine(std::string_view line) override {
        for (std::size_t i = 0; i < beginnings.size(); ++i) {
            if (line.starts_with(beginnings[i])) {
                ++counts_[i];
            }
        }
    }
    [[nodiscard]] std::size_t uploaded() const { return counts_[0]; }
    [[nodiscard]] std::size_t received() const { return counts_[1]; }
    [[nodiscard]] std::size_t deleted() const { return counts_[2]; }
    [[nodiscard]] std::size_t refusedUploads() const { return counts_[3]; }
    [[nodiscard]] std::size_t refusedDownloads() const { return counts_[4]; }

private:
    static constexpr std::array<std::string_view, 5> beginnings{
        "🌤 Uploaded: ", "☁️ Received: ", "☁️ Deleted: ", "💥 Refused", "Refused."};
    std::array<std::atomic<std::size_t>, beginnings.size()> counts_{};
};

class SyncThreads : public ::testing::Test {
protected:
    SyncThreads() {
        platform::Services services;
        services.clock = std::make_shared<ManualClock>(Date(now));
        services.userDefaults = defaults_;
        services.notificationCenter = center_;
        services.runLoopProvider = std::make_shared<EventLoopProvider>(loop_);
        services.mainQueue = loop_;
        services.containerProvider = std::make_shared<OneCloudDatabase>(cloud_);
        services.standardOutput = lines_;
        services.systemLog = lines_;
        // Few names, so that changes meet.
        services.uuidSource = [this] { return "reminder " + std::to_string(drawn_++ % identifiers); };
        services.AppIdentifier = "net.example.reminders";
        installed_.emplace(std::move(services));
        const auto counting = [](std::atomic<std::size_t>& posts) {
            return [&posts](const Notification&) { ++posts; };
        };
        static_cast<void>(center_->addObserver(ReminderSync::Notification::DidFinishLocalSync, counting(localPosts_)));
        static_cast<void>(
            center_->addObserver(ReminderSync::Notification::DidFinishRemoteSync, counting(remotePosts_)));
    }
    ~SyncThreads() override {
        cloud_->stop();
        setLogFunc({});
    }

    /// What another thread may use.
    [[nodiscard]] std::shared_ptr<ReminderSyncManager> manager() const { return std::atomic_load(&manager_); }

    void replaceManager(ReminderSyncManager::SyncMethod method) {
        auto made = ReminderSyncManager::create("this device", method);
        made_.push_back(made);
        controller_ = ReminderController::create(nullptr, realm_, nullptr, made);
        std::atomic_store(&manager_, std::move(made));
    }
    void releaseManager() {
        controller_.reset();
        std::atomic_store(&manager_, std::shared_ptr<ReminderSyncManager>());
    }

    /// One turn of the host's on the main thread, and the next one behind all that waits.
    void step() {
        if (ending_) {
            return;
        }
        if (cloud_->dueCount() < mostDue) {
            startAPass();
        }
        change();
    }

    /// Something that is answered, and so leads to the next step.
    void startAPass() {
        if (random_() % 16 == 0) {
            const bool polling = random_() % 2 == 0;
            replaceManager(polling ? ReminderSyncManager::SyncMethod::polling : ReminderSyncManager::SyncMethod::push);
        }
        const auto kind = random_() % 256;
        if (kind == 0) {
            manager()->sync();
        } else if (kind < 32) {
            const auto timer = Timer::create(1s, [](Timer&) {}, false);
            manager()->triggerSync(*timer);
        } else if (kind < 224) {
            if (const auto upload = manager()->localSyncOp()) {
                cloud_->add(upload);
                return;
            }
        }
        manager()->remoteSync();
    }

    /// A change that the person makes here.
    void change() {
        const auto reminders = controller_->reminders(false);
        const auto any = [&] { return reminders[random_() % reminders.size()]; };
        const auto kind = reminders.empty() ? 0 : random_() % 8;
        switch (kind) {
            case 0:
            case 1:
                controller_->store(ReminderStruct("made here " + std::to_string(random_() % 1'000), condition()));
                return;
            case 2:
            case 3:
                controller_->postpone(any(), condition());
                return;
            case 4:
                controller_->delete_(any());
                return;
            case 5:
                controller_->markSeen();
                return;
            case 6:
                manager()->setReminderStore(random_() % 3 == 0 ? nullptr : controller_);
                return;
            default:
                return;
        }
    }
    ReminderCondition condition() {
        return random_() % 4 == 0
                   ? ReminderCondition::device(DeviceType::mac)
                   : ReminderCondition::dateTime(Date(now - 500.5 + static_cast<double>(random_() % 1'000)));
    }

    /// What a host does on threads of its own.
    void pushAndListen(std::size_t thread) {
        std::size_t i = 0;
        while (cloud_->waitForFewerThan(thread == 0 ? 2 : mostDue)) {
            const auto manager = this->manager();
            if (thread == 0) {
                manager->remoteSync();
            }
            if (++i % 2 == 0) {
                setLogFunc([this](const LogMessage& message) { lines_->writeLine(message()); });
            } else {
                setLogFunc({});
            }
            static_cast<void>(manager->zoneExists());
            static_cast<void>(manager->pollingTimer());
            static_cast<void>(manager->reminderStore());
        }
    }

    void run(const std::function<bool()>& done) { ASSERT_TRUE(loop_->runUntil(done, 120s)); }

    /// Until the cloud has answered all and the main thread has done what came of it.
    void settle() {
        run([&] { return cloud_->dueCount() == 0; });
        bool turned = false;
        loop_->async([&] { turned = true; });
        run([&] { return turned; });
    }
    /// Until every manager is gone: the timers that waited for a second without changes have fired.
    void releaseAllManagers() {
        releaseManager();
        run([&] {
            bool gone = cloud_->dueCount() == 0;
            for (const auto& weak : made_) {
                const auto each = weak.lock();
                if (const auto timer = each ? each->pollingTimer() : nullptr) {
                    timer->invalidate();
                }
                gone = gone && !each;
            }
            return gone;
        });
        settle();
    }

    [[nodiscard]] std::vector<std::string> stored() const {
        std::vector<std::string> texts;
        for (const ReminderItem& item : realm_->objects<ReminderItem>().sorted("ID", true).toVector()) {
            texts.push_back(text(makeReminderStruct(item).value()));
        }
        return texts;
    }
    [[nodiscard]] std::vector<std::string> saved() const {
        std::vector<std::string> texts;
        for (const auto& [name, record] : cloud_->records()) {
            texts.push_back(text(makeReminderStruct(record).value()));
        }
        return texts;
    }

    const std::shared_ptr<EventLoop> loop_ = std::make_shared<EventLoop>();
    const std::shared_ptr<ThreadedCloud> cloud_ =
        std::make_shared<ThreadedCloud>(3, [this] { loop_->async([this] { step(); }); });
    const std::shared_ptr<InMemoryUserDefaults> defaults_ = std::make_shared<InMemoryUserDefaults>();
    const std::shared_ptr<ProcessNotificationCenter> center_ = std::make_shared<ProcessNotificationCenter>();
    const std::shared_ptr<Tally> lines_ = std::make_shared<Tally>();
    const std::shared_ptr<InMemoryRealm> realm_ = InMemoryRealm::create(QuendoKitConfig());
    std::atomic<std::size_t> drawn_ = 0;
    std::atomic<std::size_t> localPosts_ = 0;
    std::atomic<std::size_t> remotePosts_ = 0;
    std::optional<platform::ScopedInstall> installed_;
    std::mt19937 random_{1};
    bool ending_ = false;
    std::shared_ptr<ReminderController> controller_;
    std::shared_ptr<ReminderSyncManager> manager_;
    std::vector<std::weak_ptr<ReminderSyncManager>> made_;
};

TEST_F(SyncThreads, TenThousandPassesAtOnceLoseNoLineAndAQuietOneBringsBothSidesTogether) {
    replaceManager(ReminderSyncManager::SyncMethod::polling);
    std::vector<std::thread> host;
    for (std::size_t i = 0; i < 2; ++i) {
        host.emplace_back([this, i] { pushAndListen(i); });
    }
    run([&] { return cloud_->counts().passes >= wantedPasses; });
    ending_ = true;
    cloud_->beQuiet();
    for (std::thread& thread : host) {
        thread.join();
    }
    // Whatever was going on ends, with nothing kept alive.
    releaseAllManagers();

    replaceManager(ReminderSyncManager::SyncMethod::push);
    run([&] { return manager()->zoneExists(); });
    settle();
    if (const auto upload = manager()->localSyncOp()) {
        cloud_->add(upload);
    }
    settle();
    EXPECT_TRUE(controller_->remindersToUpload()->empty());
    EXPECT_TRUE(controller_->remindersToDelete()->empty());
    defaults_->remove(tokenKey);
    manager()->remoteSync();
    settle();
    EXPECT_EQ(stored(), saved());
    EXPECT_TRUE(controller_->remindersToUpload()->empty());
    releaseAllManagers();

    const ThreadedCloud::Counts counts = cloud_->counts();
    EXPECT_GT(counts.endedUploads, wantedPasses / 100);
    EXPECT_GT(counts.endedDownloads, wantedPasses / 100);
    EXPECT_EQ(remotePosts_, counts.endedDownloads + counts.failedDownloads);
    EXPECT_GE(localPosts_, counts.endedUploads);
    EXPECT_EQ(lines_->uploaded(), counts.confirmedNames);
    EXPECT_EQ(lines_->received(), counts.sentRecords);
    EXPECT_EQ(lines_->deleted(), counts.sentDeletions);
    EXPECT_EQ(lines_->refusedUploads(), counts.failedUploads);
    EXPECT_EQ(lines_->refusedDownloads(), counts.failedDownloads);
}

}  // namespace
}  // namespace quendokit::testing

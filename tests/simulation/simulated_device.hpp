#pragma once
/// \file
/// `SimulatedDevice`, a device with the engine on it, which may crash and start again.

#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "hostkit/cloud_guard_options.hpp"
#include "quendokit/platform/services.hpp"
#include "quendokit/store/reminder_controller.hpp"
#include "quendokit/sync/reminder_sync_manager.hpp"
#include "testing/in_memory_cloud_database.hpp"
#include "testing/in_memory_realm.hpp"
#include "testing/in_memory_ubiquitous_store.hpp"
#include "testing/manual_clock.hpp"
#include "tests/simulation/event_log.hpp"
#include "tests/simulation/hazard.hpp"
#include "tests/simulation/random.hpp"
#include "tests/simulation/simulated_queue.hpp"
#include "tests/simulation/wandering_uploads.hpp"

namespace quendokit::simulation {

/// Installs the services of one process at a time, and keeps them while the same one goes on.
class Installation {
public:
    void use(const void* owner, const platform::Services& services) {
        if (owner_ != owner) {
            leave();
            installed_.emplace(services);
            owner_ = owner;
        }
    }
    void leave() {
        installed_.reset();
        owner_ = nullptr;
    }

private:
    const void* owner_ = nullptr;
    std::optional<platform::ScopedInstall> installed_;
};

/// What a host puts around the engine so that nothing gets lost.
struct Protections {
    CloudGuardOptions guard;
    bool tokenGate = true;
    bool syncDriver = true;
    /// The guard hears of failed writes.
    bool tellsOfFailedWrites = true;
};

/// What devices have in common.
struct Surroundings {
    std::shared_ptr<testing::InMemoryCloud> cloud = std::make_shared<testing::InMemoryCloud>();
    std::shared_ptr<EventLog> log;
    std::shared_ptr<Findings> findings = std::make_shared<Findings>();
    std::shared_ptr<Installation> installation = std::make_shared<Installation>();
    /// The true time.
    std::shared_ptr<Instant> now = std::make_shared<Instant>(0);
};

/// One device: the database, the settings and the clock, which outlive a process; and the process, with services of its
/// own that are installed around each of its events, and a host that sets everything up and downloads when it is
/// pushed. It logs the engine's lines, what scheduler and delegate are told, and the posts. One thread.
class SimulatedDevice {
public:
    struct Settings {
        std::string name;
        ReminderSyncManager::SyncMethod method = ReminderSyncManager::SyncMethod::push;
        /// How long the next task of the network or of the main queue takes to come up; nothing when absent.
        SimulatedQueue::Latency networkLatency = {};
        SimulatedQueue::Latency mainLatency = {};
        /// What becomes of the next request; it succeeds when absent.
        testing::InMemoryCloudDatabase::Faults faults = {};
        /// How the next upload comes to the server.
        WanderingUploads::Ways uploadWays = {};
        /// Whether the next write of something that was queued on the main queue fails; none does when absent. What the
        /// person changes is written, or the person would know.
        std::function<bool()> failsWrite = {};
        /// Asked after each write of the database and of the settings: whether the process ends there. What it does
        /// until `crash` leaves no trace on its disk.
        std::function<bool()> endsAfterWrite = {};
        /// Where the host notes changes of two steps; absent: nowhere.
        std::optional<std::filesystem::path> journal = {};
        std::uint64_t seed = 0;
        /// Absent: a plain host.
        std::optional<Protections> protections = {};
    };

    static constexpr const char* zoneName = "Reminder Zone";

    SimulatedDevice(Settings settings, Surroundings surroundings);
    SimulatedDevice(const SimulatedDevice&) = delete;
    SimulatedDevice& operator=(const SimulatedDevice&) = delete;
    /// Ends the process as a crash does.
    ~SimulatedDevice();

    /// Starts the process: opens the database, makes the manager and the controller. Fatal if it runs.
    void start();
    /// Ends it at once: what was queued is gone, what was written stays.
    void crash();
    [[nodiscard]] bool isRunning() const noexcept { return process_ != nullptr; }
    /// Whether it has ended behind a write and is to be crashed.
    [[nodiscard]] bool hasEnded() const noexcept { return hasEnded_; }

    /// When something happens here next of its own accord; absent when nothing will.
    [[nodiscard]] std::optional<Instant> nextEvent() const;
    /// Lets the first thing that is due happen: timers, one task of the main queue, or one of the network.
    void runNextEvent();

    /// Runs one task of the network or of the main queue, due or not; false when there is none.
    bool runNetworkTask();
    bool runMainTask();
    /// Runs such tasks until there are none.
    void settle();

    /// What the person or the host does, on the main thread. Fatal if the process does not run.
    void act(const std::function<void(ReminderController&, ReminderSyncManager&)>& action);
    /// The same for a change of a stored reminder, which waits for its turn where there is a guard.
    void change(const std::string& id, const std::function<void(ReminderController&)>& change);
    /// Gives the stored reminder of that id another title; inside a change.
    void edit(ReminderController& controller, const ReminderStruct& reminder);
    /// The network is back.
    void resume();
    [[nodiscard]] std::optional<ReminderStruct> reminder(const std::string& id);
    /// What is stored, with its flags, by id; also while the process does not run.
    [[nodiscard]] std::vector<ReminderItem> stored();

    /// The id that the controller gave the reminder that was stored last.
    [[nodiscard]] const std::string& lastScheduledID() const noexcept { return lastScheduledID_; }
    [[nodiscard]] const std::string& name() const noexcept { return settings_.name; }
    /// Whether an upload or a download is under way, or main tasks wait.
    [[nodiscard]] bool isBusy() const;

private:
    class Process;
    class Host;

    /// Installs the services of the process, or of the device while there is none, and moves its clock to the true
    /// time.
    void enter() const;
    bool runMainTaskNow();
    void wrote();
    [[nodiscard]] std::shared_ptr<Realm> openRealm();
    [[nodiscard]] platform::Services durableServices() const;
    [[nodiscard]] std::vector<ReminderItem> storedNow() const;

    const Settings settings_;
    const Surroundings surroundings_;
    Random random_;
    const std::shared_ptr<testing::ManualClock> clock_;
    const std::shared_ptr<UserDefaults> settingsOnDisk_;
    const std::shared_ptr<testing::InMemoryUbiquitousStore> keyValues_ =
        std::make_shared<testing::InMemoryUbiquitousStore>();
    const std::shared_ptr<testing::InMemoryRealmProvider> realms_ = std::make_shared<testing::InMemoryRealmProvider>();
    std::string lastScheduledID_;
    bool writesMayFail_ = false;
    bool hasEnded_ = false;
    std::unique_ptr<Process> process_;
};

}  // namespace quendokit::simulation

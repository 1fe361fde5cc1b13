#include "tests/simulation/simulated_device.hpp"

#include <cstdio>
#include <utility>

#include "hostkit/guarded_container_provider.hpp"
#include "hostkit/intent_journal.hpp"
#include "hostkit/sync_driver.hpp"
#include "hostkit/token_gate.hpp"
#include "hostkit/two_step_changes.hpp"
#include "quendokit/platform/fatal_error.hpp"
#include "quendokit/platform/realm.hpp"
#include "quendokit/store/quendokit_config.hpp"
#include "quendokit/store/reminder_controller_internal.hpp"
#include "quendokit/sync/reminder_sync.hpp"
#include "testing/fixed_locale.hpp"
#include "testing/in_memory_bundle.hpp"
#include "testing/in_memory_user_defaults.hpp"
#include "testing/manual_calendar.hpp"
#include "testing/one_cloud_database.hpp"
#include "testing/recording_notification_center.hpp"
#include "tests/simulation/failing_realm.hpp"
#include "tests/simulation/mortal_settings.hpp"
#include "tests/simulation/process_loop.hpp"
#include "tests/simulation/sync_watcher.hpp"

namespace quendokit::simulation {
namespace {

/// 2026-11-21 23:00:00 UTC.
constexpr double beginning = 1'795'302'000;

/// Lets a watcher see what the engine asks of a database.
class WatchedDatabases final : public CKContainerProvider {
public:
    WatchedDatabases(std::shared_ptr<SyncWatcher> watcher, std::shared_ptr<CKContainerProvider> provider)
        : watcher_(std::move(watcher)), provider_(std::move(provider)) {}
    [[nodiscard]] std::shared_ptr<CKDatabase> privateCloudDatabase(std::string_view identifier) override {
        return watcher_->watch(provider_->privateCloudDatabase(identifier));
    }

private:
    const std::shared_ptr<SyncWatcher> watcher_;
    const std::shared_ptr<CKContainerProvider> provider_;
};

constexpr const char* container = "iCloud.net.example.reminders";

}  // namespace

/// What scheduler and delegate are told.
class SimulatedDevice::Host final : public Scheduler, public ReminderControllerDelegate {
public:
    Host(std::shared_ptr<EventLog> log, std::string& lastScheduledID)
        : log_(std::move(log)), lastScheduledID_(lastScheduledID) {}

    void schedule(const ReminderStruct& reminder) override {
        lastScheduledID_ = reminder.id().value_or("");
        log_->add("schedule " + lastScheduledID_);
    }
    void cancel(const ReminderStruct& reminder) override { log_->add("cancel " + reminder.id().value_or("")); }
    void reminderControllerDidAddReminder(ReminderController&) override { log_->add("did add"); }
    void reminderControllerDidRemoveReminder(ReminderController&) override { log_->add("did remove"); }

private:
    const std::shared_ptr<EventLog> log_;
    std::string& lastScheduledID_;
};

class SimulatedDevice::Process {
public:
    Process(SimulatedDevice& device, platform::Services durable)
        : startedAt(*device.surroundings_.now),
          loop(std::make_shared<ProcessLoop>(device.clock_)),
          network(std::make_shared<SimulatedQueue>(device.surroundings_.now, device.settings_.networkLatency)),
          database(testing::InMemoryCloudDatabase::create(device.surroundings_.cloud, network)),
          uploads(std::make_shared<WanderingUploads>(database, device.surroundings_.now, device.settings_.uploadWays,
                                                     device.surroundings_.findings)),
          services(std::move(durable)) {
        const CKRecordZoneID zoneID{zoneName};
        watcher = std::make_shared<SyncWatcher>(
            device.surroundings_.findings,
            [this](const std::string& id) -> std::optional<ReminderItem> {
                return controller ? ReminderControllerInternal::reminderItem(*controller, id) : std::nullopt;
            },
            [&device] {
                std::set<std::string> ids;
                for (const ReminderItem& item : device.storedNow()) {
                    if (!item.pending) {
                        ids.insert(item.ID);
                    }
                }
                return ids;
            },
            [cloud = device.surroundings_.cloud, zoneID] {
                std::set<std::string> names;
                for (const CKRecord& record : cloud->records(zoneID)) {
                    names.insert(record.recordID().recordName);
                }
                return names;
            });
        mainQueue = std::make_shared<SimulatedQueue>(
            device.surroundings_.now, device.settings_.mainLatency,
            [this](DispatchQueue::Task task) { return watcher->watch(std::move(task)); });
        const auto center = std::make_shared<testing::RecordingNotificationCenter>();
        for (const std::string_view name :
             {ReminderSync::Notification::DidFinishLocalSync, ReminderSync::Notification::DidFinishRemoteSync}) {
            static_cast<void>(center->addObserver(
                name, [log = device.surroundings_.log](const Notification& each) { log->add("post " + each.name); }));
        }
        database->setFaults(device.settings_.faults);
        database->setPushHandler([this](const CKSubscription&) {
            mainQueue->async([this] {
                if (driver) {
                    driver->pushed();
                } else if (manager) {
                    manager->remoteSync();
                }
            });
        });
        services.notificationCenter = center;
        services.runLoopProvider = loop;
        services.mainQueue = mainQueue;
        std::shared_ptr<CKContainerProvider> containers = std::make_shared<testing::OneCloudDatabase>(uploads);
        const auto& protections = device.settings_.protections;
        if (protections) {
            guards = std::make_shared<GuardedContainerProvider>(containers, protections->guard);
            containers = guards;
        }
        if (protections && protections->tokenGate) {
            gate = TokenGate::create(services.userDefaults, "net.example.reminders.sync.change-token", mainQueue);
            services.userDefaults = gate;
        }
        services.containerProvider = std::make_shared<WatchedDatabases>(watcher, std::move(containers));
    }

    const Instant startedAt;
    const std::shared_ptr<ProcessLoop> loop;
    const std::shared_ptr<SimulatedQueue> network;
    const std::shared_ptr<testing::InMemoryCloudDatabase> database;
    const std::shared_ptr<WanderingUploads> uploads;
    std::shared_ptr<SimulatedQueue> mainQueue;
    std::shared_ptr<SyncWatcher> watcher;
    platform::Services services;
    std::shared_ptr<GuardedContainerProvider> guards;
    std::shared_ptr<TokenGate> gate;
    std::shared_ptr<Host> host;
    std::shared_ptr<ReminderSyncManager> manager;
    std::shared_ptr<SyncDriver> driver;
    std::shared_ptr<ReminderController> controller;
    std::unique_ptr<TwoStepChanges> twoSteps;
};

void SimulatedDevice::enter() const {
    const Instant now = *surroundings_.now;
    surroundings_.log->setDevice(settings_.name);
    if (process_) {
        surroundings_.installation->use(process_.get(), process_->services);
        testing::ManualRunLoop& loop = process_->loop->loop;
        loop.advanceBy(now - process_->startedAt - loop.elapsed());
    } else {
        surroundings_.installation->use(this, durableServices());
    }
    // What the loop adds up tick by tick strays from it after a while.
    clock_->set(Date(beginning + std::chrono::duration<double>(now).count()));
}

SimulatedDevice::SimulatedDevice(Settings settings, Surroundings surroundings)
    : settings_(std::move(settings)),
      surroundings_(std::move(surroundings)),
      random_(settings_.seed),
      clock_(std::make_shared<testing::ManualClock>(Date(beginning))),
      settingsOnDisk_(std::make_shared<MortalSettings>(
          std::make_shared<testing::InMemoryUserDefaults>(), [this] { return hasEnded_; }, [this] { wrote(); })) {}

SimulatedDevice::~SimulatedDevice() {
    if (isRunning()) {
        crash();
    }
}

platform::Services SimulatedDevice::durableServices() const {
    platform::Services services;
    services.clock = clock_;
    services.calendar = std::make_shared<testing::ManualCalendar>();
    services.locale = std::make_shared<testing::FixedLocale>();
    services.bundleProvider =
        std::make_shared<testing::InMemoryBundleProvider>(testing::InMemoryBundleProvider::Bundles{
            {"net.example.quendokit", std::make_shared<testing::InMemoryBundle>()}});
    services.userDefaults = settingsOnDisk_;
    services.ubiquitousKeyValueStore = keyValues_;
    services.realmProvider = realms_;
    services.standardOutput = std::make_shared<LoggingSink>(surroundings_.log, "");
    services.systemLog = std::make_shared<LoggingSink>(surroundings_.log, "NSLog ");
    services.AppIdentifier = "net.example.reminders";
    services.CloudContainerIdentifier = container;
    services.FrameworkBundleIdentifier = "net.example.quendokit";
    services.organisationPrefix = "net.example";
    return services;
}

void SimulatedDevice::start() {
    if (isRunning()) {
        fatalError("the device " + settings_.name + " runs already");
    }
    platform::Services services = durableServices();
    services.uuidSource = [this] {
        char text[20];
        std::snprintf(text, sizeof text, "%016llx", static_cast<unsigned long long>(random_.next()));
        return settings_.name + "-" + text;
    };
    process_ = std::make_unique<Process>(*this, std::move(services));
    enter();
    surroundings_.log->add("start");
    process_->host = std::make_shared<Host>(surroundings_.log, lastScheduledID_);
    process_->manager = ReminderSyncManager::create(settings_.name, settings_.method);
    process_->controller = ReminderController::create(process_->host, openRealm(), process_->host, process_->manager);
    if (process_->guards) {
        const auto guard = process_->guards->database(container);
        guard->attach(process_->manager);
        guard->setTokenGate(process_->gate);
        if (settings_.protections->syncDriver) {
            process_->driver = SyncDriver::create(process_->manager, guard);
        }
    }
    if (settings_.journal) {
        process_->twoSteps =
            std::make_unique<TwoStepChanges>(process_->controller, IntentJournal::open(*settings_.journal).value());
        static_cast<void>(process_->twoSteps->finishLeftovers());
    }
}

void SimulatedDevice::wrote() {
    hasEnded_ = hasEnded_ || (settings_.endsAfterWrite && settings_.endsAfterWrite());
}

void SimulatedDevice::edit(ReminderController& controller, const ReminderStruct& reminder) {
    if (process_->twoSteps) {
        static_cast<void>(process_->twoSteps->edit(reminder));
        return;
    }
    // Storing under an id does not count as a change, postponing does.
    controller.store(reminder);
    controller.postpone(reminder, reminder.condition());
}

std::shared_ptr<Realm> SimulatedDevice::openRealm() {
    auto realm = std::dynamic_pointer_cast<testing::InMemoryRealm>(Realm::open(QuendoKitConfig()).value());
    return std::make_shared<FailingRealm>(
        std::move(realm), [this] { return writesMayFail_ && settings_.failsWrite && settings_.failsWrite(); },
        [this] {
            surroundings_.log->add("a write failed");
            if (process_->guards && settings_.protections->tellsOfFailedWrites) {
                process_->guards->database(container)->writeFailed();
            }
        },
        [this] { return hasEnded_; }, [this] { wrote(); });
}

void SimulatedDevice::crash() {
    enter();
    surroundings_.log->add("crash");
    process_->watcher->processEnds();
    process_->uploads->clear();
    process_->network->clear();
    process_->mainQueue->clear();
    process_->driver.reset();
    process_->twoSteps.reset();
    process_->controller.reset();
    process_->manager.reset();
    surroundings_.installation->leave();
    process_.reset();
    hasEnded_ = false;
}

std::optional<Instant> SimulatedDevice::nextEvent() const {
    if (!isRunning()) {
        return std::nullopt;
    }
    std::optional<Instant> next;
    const auto consider = [&](std::optional<Instant> instant) {
        if (instant && (!next || *instant < *next)) {
            next = instant;
        }
    };
    const testing::ManualRunLoop& loop = process_->loop->loop;
    if (const auto untilTimer = loop.timeUntilNextTimer()) {
        consider(process_->startedAt + loop.elapsed() + *untilTimer);
    }
    consider(process_->mainQueue->nextDue());
    consider(process_->network->nextDue());
    consider(process_->uploads->nextDue());
    return next;
}

void SimulatedDevice::runNextEvent() {
    const testing::ManualRunLoop& loop = process_->loop->loop;
    const auto untilTimer = loop.timeUntilNextTimer();
    const bool timerIsDue = untilTimer && process_->startedAt + loop.elapsed() + *untilTimer <= *surroundings_.now;
    // Fires timers that are due.
    enter();
    if (timerIsDue || process_->uploads->runDue()) {
        return;
    }
    const auto mainDue = process_->mainQueue->nextDue();
    const auto networkDue = process_->network->nextDue();
    if (mainDue && (!networkDue || *mainDue <= *networkDue)) {
        runMainTaskNow();
    } else {
        process_->network->runNext();
    }
}

bool SimulatedDevice::runNetworkTask() {
    enter();
    return process_->uploads->runDue() || process_->network->runNext();
}

bool SimulatedDevice::runMainTask() {
    enter();
    return runMainTaskNow();
}

bool SimulatedDevice::runMainTaskNow() {
    writesMayFail_ = true;
    const bool ran = process_->mainQueue->runNext();
    writesMayFail_ = false;
    return ran;
}

void SimulatedDevice::settle() {
    while (runNetworkTask() || runMainTask()) {
    }
}

void SimulatedDevice::act(const std::function<void(ReminderController&, ReminderSyncManager&)>& action) {
    if (!isRunning()) {
        fatalError("the device " + settings_.name + " does not run");
    }
    enter();
    action(*process_->controller, *process_->manager);
}

void SimulatedDevice::change(const std::string& id, const std::function<void(ReminderController&)>& change) {
    act([&](ReminderController& controller, ReminderSyncManager&) {
        if (process_->guards) {
            process_->guards->database(container)->perform({id}, [this, &controller, change] {
                const bool mayFail = std::exchange(writesMayFail_, false);
                change(controller);
                writesMayFail_ = mayFail;
            });
        } else {
            change(controller);
        }
    });
}

void SimulatedDevice::resume() {
    enter();
    if (process_->driver) {
        process_->driver->resumed();
    }
}

std::optional<ReminderStruct> SimulatedDevice::reminder(const std::string& id) {
    std::optional<ReminderStruct> found;
    act([&](ReminderController& controller, ReminderSyncManager&) { found = controller.reminder(id); });
    return found;
}

std::vector<ReminderItem> SimulatedDevice::stored() {
    enter();
    return storedNow();
}

std::vector<ReminderItem> SimulatedDevice::storedNow() const {
    std::vector<ReminderItem> items;
    const auto realm = Realm::open(QuendoKitConfig()).value();
    realm->objects<ReminderItem>().sorted("ID", true).forEach([&](const ReminderItem& item) {
        items.push_back(item);
        return true;
    });
    return items;
}

bool SimulatedDevice::isBusy() const {
    return isRunning() && (process_->database->runningCount() > 0 || process_->uploads->nextDue().has_value() ||
                           process_->mainQueue->nextDue().has_value());
}

}  // namespace quendokit::simulation

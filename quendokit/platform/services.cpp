#include "quendokit/platform/services.hpp"

#include <atomic>
#include <utility>

#include "quendokit/platform/bundle.hpp"
#include "quendokit/platform/calendar.hpp"
#include "quendokit/platform/ck_database.hpp"
#include "quendokit/platform/dispatch_queue.hpp"
#include "quendokit/platform/fatal_error.hpp"
#include "quendokit/platform/locale.hpp"
#include "quendokit/platform/notification_center.hpp"
#include "quendokit/platform/ns_log.hpp"
#include "quendokit/platform/run_loop.hpp"
#include "quendokit/platform/ubiquitous_key_value_store.hpp"
#include "quendokit/platform/user_defaults.hpp"
#include "quendokit/platform/world_internal.hpp"

namespace quendokit {
namespace platform {
namespace {

std::atomic<World*> installed = nullptr;

template <typename Service>
Service& present(const std::shared_ptr<Service>& service, std::string_view name) {
    if (!service) {
        fatalError("no " + std::string(name) + " is installed: set Services::" + std::string(name) +
                   " before platform::install");
    }
    return *service;
}

}  // namespace

void install(Services services) {
    // Kept for the rest of the process: other threads may use them until its very end.
    auto* kept = new World(std::move(services));
    World* none = nullptr;
    if (!installed.compare_exchange_strong(none, kept)) {
        fatalError("platform::install was called twice");
    }
}

World& world() {
    World* current = installed.load(std::memory_order_acquire);
    if (current == nullptr) {
        fatalError("the engine was used before platform::install");
    }
    return *current;
}

const Services& services() {
    return world().services;
}

Clock& clock() {
    return present(services().clock, "clock");
}

RealmProvider& realmProvider() {
    return present(services().realmProvider, "realmProvider");
}

LineSink& standardOutput() {
    return present(services().standardOutput, "standardOutput");
}

ScopedInstall::ScopedInstall(Services services)
    : world_(std::make_unique<World>(std::move(services))), previous_(installed.exchange(world_.get())) {}

ScopedInstall::~ScopedInstall() {
    // What exists once may use the services until it is gone.
    world_->clear();
    installed.store(previous_, std::memory_order_release);
}

}  // namespace platform

const Calendar& Calendar::current() {
    return platform::present(platform::services().calendar, "calendar");
}

const Locale& Locale::current() {
    return platform::present(platform::services().locale, "locale");
}

UserDefaults& UserDefaults::standard() {
    return platform::present(platform::services().userDefaults, "userDefaults");
}

NSUbiquitousKeyValueStore& NSUbiquitousKeyValueStore::defaultStore() {
    return platform::present(platform::services().ubiquitousKeyValueStore, "ubiquitousKeyValueStore");
}

NotificationCenter& NotificationCenter::defaultCenter() {
    return platform::present(platform::services().notificationCenter, "notificationCenter");
}

RunLoop& RunLoop::main() {
    return platform::present(platform::services().runLoopProvider, "runLoopProvider").main();
}

RunLoop& RunLoop::current() {
    return platform::present(platform::services().runLoopProvider, "runLoopProvider").current();
}

std::shared_ptr<CKDatabase> CKContainer::privateCloudDatabase() const {
    auto database = platform::present(platform::services().containerProvider, "containerProvider")
                        .privateCloudDatabase(identifier_);
    if (!database) {
        fatalError("there is no private database for the container " + identifier_);
    }
    return database;
}

void NSLog(std::string_view line) {
    platform::present(platform::services().systemLog, "systemLog").writeLine(line);
}

DispatchQueue& DispatchQueue::main() {
    return platform::present(platform::services().mainQueue, "mainQueue");
}

}  // namespace quendokit

/// \file
/// What the manager does before it can sync: the zone, and how it hears of changes in it.

#include <algorithm>
#include <utility>

#include "quendokit/platform/fatal_error.hpp"
#include "quendokit/platform/run_loop.hpp"
#include "quendokit/platform/timer.hpp"
#include "quendokit/sync/log_internal.hpp"
#include "quendokit/sync/reminder_sync_manager.hpp"
#include "quendokit/sync/sync_config_internal.hpp"

namespace quendokit {
namespace {

/// `["one", "two"]`
std::string descriptionOf(const std::vector<std::string>& list) {
    std::string text = "[";
    for (const std::string& each : list) {
        text += (text.size() > 1 ? ", \"" : "\"") + each + '"';
    }
    return text + ']';
}

}  // namespace

std::shared_ptr<Timer> ReminderSyncManager::pollingTimer() const {
    return std::atomic_load(&pollingTimer_);
}

void ReminderSyncManager::prepareZone() {
    retrieveZone(zoneID_, [weak = weak_from_this()](const std::optional<CKRecordZone>& zone) {
        const auto manager = weak.lock();
        if (!zone) {
            Log([] { return std::string("☁️ Creating reminder zone"); });
            if (manager) {
                manager->createZone();
            }
            return;
        }
        Log([] { return std::string("☁️ Reminder zone retrieved"); });
        if (manager) {
            manager->zoneExists_ = true;
            manager->listen();
        }
    });
}

void ReminderSyncManager::retrieveZone(const CKRecordZoneID& zoneID,
                                       std::function<void(std::optional<CKRecordZone>)> completion) {
    auto fetch = std::make_shared<CKFetchRecordZonesOperation>(std::vector{zoneID});
    fetch->fetchRecordZonesCompletion = [zoneID, completion = std::move(completion)](
                                            const std::optional<CKFetchRecordZonesOperation::Zones>& zones,
                                            const std::optional<Error>& error) {
        if (error) {
            Log([&] { return "☁️ Reminder zone error: " + error->description; });
        }
        // A zone that cannot be looked up counts as missing: it is made, which does no harm to one that is there.
        std::optional<CKRecordZone> zone;
        if (zones) {
            if (const auto found = zones->find(zoneID); found != zones->end()) {
                zone = found->second;
            }
        }
        completion(zone);
    };
    database_->add(std::move(fetch));
}

void ReminderSyncManager::createZone() {
    const CKRecordZone zone{zoneID_};
    auto make = std::make_shared<CKModifyRecordZonesOperation>(std::vector{zone}, std::nullopt);
    make->modifyRecordZonesCompletion = [weak = weak_from_this(), zone](
                                            const std::optional<std::vector<CKRecordZone>>& saved,
                                            const auto& /*deleted*/, const std::optional<Error>& error) {
        if (error) {
            Log([&] { return "☁️ Failed to create reminder zone: " + error->description; });
            return;
        }
        if (!saved) {
            return;
        }
        if (const auto manager = weak.lock()) {
            const bool made = std::find(saved->begin(), saved->end(), zone) != saved->end();
            manager->zoneExists_ = made;
            if (made) {
                manager->listen();
            }
        }
        Log([] { return std::string("☁️ Reminder zone created"); });
    };
    database_->add(std::move(make));
}

void ReminderSyncManager::listen() {
    switch (syncMethod_) {
        case SyncMethod::polling:
            initiatePolling();
            return;
        case SyncMethod::push:
            subscribeToPushUpdates();
            return;
    }
}

void ReminderSyncManager::subscribeToPushUpdates() {
    // A silent push: the host hears of it, the person does not.
    const CKSubscription wanted{zoneID_, subscriptionName_, 0, CKNotificationInfo{true, ""}};
    const auto didSave = [weak = weak_from_this()](const std::optional<CKSubscription>& saved,
                                                   const std::optional<Error>& error) {
        if (!error) {
            Log([&] { return "Subscribed for updates with: " + (saved ? saved->subscriptionID : std::string()); });
            return;
        }
        Log([&] { return "Failed to subscribe for updates: " + error->description; });
        const auto manager = weak.lock();
        if (manager && !manager->didAttemptWipingSubscriptions_) {
            manager->wipeSubscriptions();
        }
    };
    const auto didFetch = [weak = weak_from_this(), wanted, didSave](const std::optional<CKSubscription>& found,
                                                                     const std::optional<Error>& /*error*/) {
        if (found) {
            Log([&] { return "Reusing existing subscription: " + found->subscriptionID; });
            return;
        }
        Log([&] { return "Adding a new subscription: " + wanted.subscriptionID; });
        if (const auto manager = weak.lock()) {
            manager->database_->save(wanted, didSave);
        }
    };
    database_->fetch(subscriptionName_, didFetch);
}

void ReminderSyncManager::wipeSubscriptions() {
    database_->fetchAllSubscriptions(
        [weak = weak_from_this()](const std::optional<std::vector<CKSubscription>>& subscriptions,
                                  const std::optional<Error>& error) {
            if (error) {
                Log([&] { return "💥 Failed to retrieve subscriptions: " + error->description; });
                return;
            }
            if (!subscriptions) {
                fatalError("the cloud answered neither subscriptions nor an error");
            }
            std::vector<std::string> identifiers;
            for (const CKSubscription& subscription : *subscriptions) {
                identifiers.push_back(subscription.subscriptionID);
            }
            const auto manager = weak.lock();
            if (manager && !identifiers.empty()) {
                manager->deleteSubscriptions(identifiers);
            }
        });
}

void ReminderSyncManager::deleteSubscriptions(const std::vector<std::string>& identifiers) {
    auto wipe = std::make_shared<CKModifySubscriptionsOperation>(std::nullopt, identifiers);
    wipe->modifySubscriptionsCompletion =
        [weak = weak_from_this()](const auto& /*saved*/, const std::optional<std::vector<std::string>>& deleted,
                                  const std::optional<Error>& error) {
            if (error) {
                Log([&] { return "💥 Failed to delete subscriptions: " + error->description; });
                return;
            }
            if (deleted && !deleted->empty()) {
                Log([&] { return "💢 Deleted subscriptions: " + descriptionOf(*deleted); });
            }
            if (const auto manager = weak.lock()) {
                manager->didAttemptWipingSubscriptions_ = true;
                manager->listen();
            }
        };
    database_->add(std::move(wipe));
}

void ReminderSyncManager::initiatePolling() {
    if (pollingTimer()) {
        return;
    }
    auto timer = Timer::create(SyncConfig::PollingInterval, shared_from_this(),
                               &ReminderSyncManager::triggerPollingUpdate, true);
    // Two zone answers at once make one timer.
    std::shared_ptr<Timer> none;
    if (std::atomic_compare_exchange_strong(&pollingTimer_, &none, timer)) {
        RunLoop::main().add(std::move(timer), RunLoopMode::default_);
    }
}

}  // namespace quendokit

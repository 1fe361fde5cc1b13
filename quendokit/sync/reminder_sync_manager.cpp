/// \file
/// The passes: uploads, downloads, and when they begin.

#include "quendokit/sync/reminder_sync_manager.hpp"

#include <utility>

#include "quendokit/platform/fatal_error.hpp"
#include "quendokit/platform/notification_center.hpp"
#include "quendokit/platform/ns_log.hpp"
#include "quendokit/platform/run_loop.hpp"
#include "quendokit/platform/timer.hpp"
#include "quendokit/platform/user_defaults.hpp"
#include "quendokit/store/reminder_store.hpp"
#include "quendokit/sync/log_internal.hpp"
#include "quendokit/sync/reminder_record.hpp"
#include "quendokit/sync/reminder_sync.hpp"
#include "quendokit/sync/sync_config_internal.hpp"

namespace quendokit {
namespace {

void post(std::string_view name) {
    NotificationCenter::defaultCenter().post({std::string(name), std::nullopt});
}

/// The names of what the server took, saved ones first, each in the order in which it came.
std::vector<std::string> confirmedNames(const std::optional<std::vector<CKRecord>>& saved,
                                        const std::optional<std::vector<CKRecordID>>& deleted) {
    std::vector<std::string> names;
    if (saved) {
        for (const CKRecord& record : *saved) {
            names.push_back(record.recordID().recordName);
        }
    }
    if (deleted) {
        for (const CKRecordID& id : *deleted) {
            names.push_back(id.recordName);
        }
    }
    return names;
}

std::shared_ptr<ReminderStore> storeOf(const std::weak_ptr<ReminderSyncManager>& weak) {
    const auto manager = weak.lock();
    return manager ? manager->reminderStore() : nullptr;
}

}  // namespace

std::shared_ptr<ReminderSyncManager> ReminderSyncManager::create(const std::string& /*deviceIdentifier*/,
                                                                 SyncMethod syncMethod) {
    auto manager = std::make_shared<ReminderSyncManager>(PrivateTag(), syncMethod);
    // Needs a manager that is owned.
    manager->prepareZone();
    return manager;
}

std::shared_ptr<ReminderSyncManager> ReminderSyncManager::create() {
    fatalError("QuendoKit.ReminderSyncManager cannot be made by init()");
}

ReminderSyncManager::ReminderSyncManager(PrivateTag, SyncMethod syncMethod)
    : syncMethod_(syncMethod),
      database_(CKContainer(SyncConfig::Container()).privateCloudDatabase()),
      zoneID_{std::string(SyncConfig::ZoneName)},
      subscriptionName_(SyncConfig::SubscriptionName) {}

ReminderSyncManager::~ReminderSyncManager() = default;

std::shared_ptr<ReminderStore> ReminderSyncManager::reminderStore() const {
    const auto store = std::atomic_load(&reminderStore_);
    return store ? store->lock() : nullptr;
}

void ReminderSyncManager::setReminderStore(const std::shared_ptr<ReminderStore>& store) {
    std::atomic_store(&reminderStore_, std::make_shared<const std::weak_ptr<ReminderStore>>(store));
    if (store) {
        remoteSync();
    }
}

void ReminderSyncManager::sync() {
    if (const auto upload = localSyncOp()) {
        // The download is given to nobody: the upload waits for ever. Hosts use the other ways.
        upload->addDependency(remoteSyncOp());
        database_->add(upload);
        return;
    }
    remoteSync();
}

void ReminderSyncManager::remoteSync() {
    database_->add(remoteSyncOp());
}

void ReminderSyncManager::requireSync() {
    if (syncDelayTimer_) {
        syncDelayTimer_->invalidate();
    }
    syncDelayTimer_ =
        Timer::create(SyncConfig::QuietBeforeUpload, shared_from_this(), &ReminderSyncManager::triggerSync, false);
    RunLoop::main().add(syncDelayTimer_, RunLoopMode::default_);
}

void ReminderSyncManager::triggerSync(Timer& timer) {
    if (!zoneExists()) {
        return;
    }
    timer.invalidate();
    if (auto upload = localSyncOp()) {
        database_->add(std::move(upload));
    }
}

void ReminderSyncManager::triggerPollingUpdate(Timer& /*timer*/) {
    remoteSync();
}

std::shared_ptr<CKDatabaseOperation> ReminderSyncManager::localSyncOp() {
    if (!zoneExists()) {
        return nullptr;
    }
    std::optional<std::vector<CKRecord>> toSave;
    std::optional<std::vector<CKRecordID>> toDelete;
    if (const auto store = reminderStore()) {
        if (const auto items = store->remindersToUpload()) {
            toSave.emplace();
            for (const ReminderItem& item : *items) {
                if (auto record = makeCKRecord(item, zoneID_)) {
                    toSave->push_back(*std::move(record));
                }
            }
        }
        if (const auto items = store->remindersToDelete()) {
            toDelete.emplace();
            for (const ReminderItem& item : *items) {
                toDelete->push_back({item.ID, zoneID_});
            }
        }
    }
    if ((!toSave || toSave->empty()) && (!toDelete || toDelete->empty())) {
        post(ReminderSync::Notification::DidFinishLocalSync);
        return nullptr;
    }
    auto upload = std::make_shared<CKModifyRecordsOperation>(std::move(toSave), std::move(toDelete));
    upload->clientChangeTokenData = std::nullopt;
    upload->modifyRecordsCompletion = [weak = weak_from_this()](const auto& saved, const auto& deleted,
                                                                const std::optional<Error>& error) {
        if (error) {
            // Everything stays unsent and goes with the next upload.
            Log([&] { return "💥 " + error->description; });
            return;
        }
        const auto names = confirmedNames(saved, deleted);
        for (const std::string& name : names) {
            Log([&] { return "🌤 Uploaded: " + name; });
        }
        if (const auto store = names.empty() ? nullptr : storeOf(weak)) {
            store->didSyncReminders(names);
        }
        post(ReminderSync::Notification::DidFinishLocalSync);
    };
    upload->savePolicy = CKRecordSavePolicy::allKeys;
    return upload;
}

std::shared_ptr<CKDatabaseOperation> ReminderSyncManager::remoteSyncOp() {
    auto download = std::make_shared<CKFetchRecordChangesOperation>(zoneID_, changeToken());
    download->recordChanged = [weak = weak_from_this()](const CKRecord& record) {
        const auto reminder = makeReminderStruct(record);
        if (!reminder) {
            // It is another program's, or a later version's: nobody is told.
            return;
        }
        if (const auto store = storeOf(weak)) {
            store->storeReminder(*reminder);
        }
        Log([&] { return "☁️ Received: " + reminder->id().value_or("<no id>"); });
    };
    download->recordWithIDWasDeleted = [weak = weak_from_this()](const CKRecordID& id) {
        if (const auto store = storeOf(weak)) {
            store->deleteReminder(id.recordName);
        }
        Log([&] { return "☁️ Deleted: " + id.recordName; });
    };
    // The database keeps the operation while this runs; a reference of its own would keep it for ever.
    const CKFetchRecordChangesOperation* const itself = download.get();
    download->fetchRecordChangesCompletion = [weak = weak_from_this(), itself](
                                                 const std::optional<CKServerChangeToken>& token,
                                                 const std::optional<std::vector<std::byte>>& /*clientData*/,
                                                 const std::optional<Error>& error) {
        const auto manager = weak.lock();
        if (error) {
            NSLog(error->description);
            post(ReminderSync::Notification::DidFinishRemoteSync);
            if (manager) {
                // The next download begins at the beginning of the zone.
                manager->setChangeToken(std::nullopt);
            }
            return;
        }
        if (manager) {
            manager->setChangeToken(token);
        }
        if (!itself->moreComing) {
            post(ReminderSync::Notification::DidFinishRemoteSync);
        } else if (manager) {
            manager->remoteSync();
        }
    };
    return download;
}

std::optional<CKServerChangeToken> ReminderSyncManager::changeToken() const {
    const auto value = UserDefaults::standard().object(SyncConfig::TokenKey());
    const auto* data = value ? std::get_if<std::vector<std::byte>>(&*value) : nullptr;
    return data != nullptr ? NSKeyedUnarchiver::unarchiveObject(*data) : std::nullopt;
}

void ReminderSyncManager::setChangeToken(const std::optional<CKServerChangeToken>& token) {
    UserDefaults& defaults = UserDefaults::standard();
    if (token) {
        defaults.set(SyncConfig::TokenKey(), NSKeyedArchiver::archivedData(*token));
    } else {
        defaults.remove(SyncConfig::TokenKey());
    }
}

}  // namespace quendokit

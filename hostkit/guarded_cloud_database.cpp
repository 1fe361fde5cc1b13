/// \file
/// What comes to a guarded database, and what it gives back.

#include "hostkit/guarded_cloud_database.hpp"

#include <algorithm>
#include <iterator>
#include <utility>

#include "hostkit/cloud_jobs_internal.hpp"
#include "hostkit/download_job_internal.hpp"
#include "hostkit/network_wait_internal.hpp"
#include "hostkit/recent_confirmations_internal.hpp"
#include "hostkit/tell_internal.hpp"
#include "hostkit/token_gate.hpp"
#include "hostkit/upload_job_internal.hpp"
#include "quendokit/platform/ck_error.hpp"
#include "quendokit/platform/realm.hpp"
#include "quendokit/platform/services.hpp"
#include "quendokit/store/reminder_store.hpp"
#include "quendokit/sync/reminder_record.hpp"
#include "quendokit/sync/reminder_sync_manager.hpp"

namespace quendokit {

std::shared_ptr<GuardedCloudDatabase> GuardedCloudDatabase::create(std::shared_ptr<CKDatabase> database,
                                                                   CloudGuardOptions options) {
    return std::make_shared<GuardedCloudDatabase>(PrivateTag(), std::move(database), std::move(options));
}

GuardedCloudDatabase::GuardedCloudDatabase(PrivateTag, std::shared_ptr<CKDatabase> database, CloudGuardOptions options)
    : database_(std::move(database)),
      options_(std::move(options)),
      mainQueue_(platform::services().mainQueue),
      quarantine_(std::make_unique<UploadQuarantine>()),
      confirmations_(std::make_unique<RecentConfirmations>()),
      wait_(std::make_unique<NetworkWait>(options_.jitter)),
      storeWait_(std::make_unique<NetworkWait>(options_.jitter)) {}

GuardedCloudDatabase::~GuardedCloudDatabase() = default;

void GuardedCloudDatabase::attach(const std::shared_ptr<ReminderSyncManager>& manager) {
    manager_ = manager;
}

void GuardedCloudDatabase::setEvents(CloudGuardEvents events) {
    events_ = std::move(events);
}

void GuardedCloudDatabase::setTokenGate(std::shared_ptr<TokenGate> gate) {
    gate_ = std::move(gate);
    if (gate_) {
        gate_->setSettle([weak = weak_from_this()] {
            const auto self = weak.lock();
            return !self || self->makeDurable();
        });
    }
}

void GuardedCloudDatabase::setRealm(std::shared_ptr<Realm> realm) {
    realm_ = std::move(realm);
}

bool GuardedCloudDatabase::makeDurable() {
    return !realm_ || !realm_->makeDurable();
}

void GuardedCloudDatabase::writeFailed() {
    if (!gate_) {
        return;
    }
    failedWhileStoring_ = !queued_.empty();
    gate_->writeFailed();
    lastTokens_.clear();
    const auto restart = [this](const Job& job) { this->restart(*job); };
    std::for_each(running_.begin(), running_.end(), restart);
    std::for_each(queue_.begin(), queue_.end(), restart);
    // They were made with the token that was dropped. They are not taken in here, inside a write: that calls the
    // engine.
    const std::lock_guard lock(arrivingMutex_);
    for (Arrival& arrival : arriving_) {
        arrival.restarts = true;
    }
    // Many may fail in one turn.
    if (!std::exchange(tellsOfFailedWrite_, true)) {
        mainQueue_->async([weak = weak_from_this()] {
            if (const auto self = weak.lock()) {
                self->tellsOfFailedWrite_ = false;
                tell(self->events_.writeFailed);
            }
        });
    }
}

void GuardedCloudDatabase::restart(CloudJob& job) const {
    auto* const download = dynamic_cast<DownloadJob*>(&job);
    if (download != nullptr && gate_) {
        download->restart(gate_->durableToken());
    }
}

void GuardedCloudDatabase::add(std::shared_ptr<CKDatabaseOperation> operation) {
    arrive([this, operation = std::move(operation)] { return makeJob(parts(), operation); });
}

void GuardedCloudDatabase::fetch(const std::string& subscriptionID, SubscriptionCompletion completion) {
    arrive([this, subscriptionID, completion = std::move(completion)] {
        return makeFetchJob(parts(), subscriptionID, completion);
    });
}

void GuardedCloudDatabase::save(const CKSubscription& subscription, SubscriptionCompletion completion) {
    arrive([this, subscription, completion = std::move(completion)] {
        return makeSaveJob(parts(), subscription, completion);
    });
}

void GuardedCloudDatabase::fetchAllSubscriptions(SubscriptionsCompletion completion) {
    arrive([this, completion = std::move(completion)] { return makeListJob(parts(), completion); });
}

void GuardedCloudDatabase::arrive(std::function<Job()> make) {
    {
        const std::lock_guard lock(arrivingMutex_);
        arriving_.push_back({std::move(make), false, confirmations_->heard()});
    }
    mainQueue_->async([self = shared_from_this()] {
        self->takeIn();
        self->advance();
    });
}

void GuardedCloudDatabase::takeIn() {
    // One after the other: what one of them brings about may ask for the others to be taken in.
    while (true) {
        Arrival arrival;
        {
            const std::lock_guard lock(arrivingMutex_);
            if (arriving_.empty()) {
                return;
            }
            arrival = std::move(arriving_.front());
            arriving_.pop_front();
        }
        Job job = arrival.make();
        if (arrival.restarts) {
            restart(*job);
        }
        if (auto* const upload = dynamic_cast<UploadJob*>(job.get())) {
            upload->heardBefore = arrival.heardBefore;
        }
        enqueue(std::move(job));
    }
}

CloudJobParts GuardedCloudDatabase::parts() {
    // A later turn tells: a change that the host makes then finds the upload in the queue.
    auto report = [weak = weak_from_this()](const std::string& line) {
        if (const auto self = weak.lock()) {
            self->mainQueue_->async([self, line] { tell(self->events_.reports, line); });
        }
    };
    auto zoneAnswered = [weak = weak_from_this()] {
        if (const auto self = weak.lock()) {
            tell(self->events_.zoneAnswered);
        }
    };
    return {mainQueue_, options_, *quarantine_, std::move(report), std::move(zoneAnswered)};
}

void GuardedCloudDatabase::finish(const Job& job) {
    if (auto* const upload = dynamic_cast<UploadJob*>(job.get())) {
        deliver(*upload);
    } else if (auto* const download = dynamic_cast<DownloadJob*>(job.get())) {
        deliver(*download);
    } else {
        job->finish();
    }
}

void GuardedCloudDatabase::deliver(UploadJob& upload) {
    std::vector<std::string> confirmed;
    for (const CKRecord& record : upload.saved()) {
        const std::string& name = record.recordID().recordName;
        confirmed.push_back(name);
        if (record.recordChangeTag()) {
            uploadedTags_.insert_or_assign(name, *record.recordChangeTag());
        }
    }
    for (const CKRecordID& id : upload.deleted()) {
        confirmed.push_back(id.recordName);
        uploadedTags_.insert_or_assign(id.recordName, std::nullopt);
    }
    for (const std::string& name : confirmed) {
        quarantine_->forget(name);
    }
    if (!confirmed.empty()) {
        confirmations_->add(upload.savedAsSent(), upload.deleted());
        tell(events_.confirmed, confirmed);
    }
    const std::vector<std::string> leftOut = upload.leftOut();
    confirmed.insert(confirmed.end(), leftOut.begin(), leftOut.end());
    answer(std::move(confirmed), upload);
    tell(events_.uploadEnded, upload.failure());
}

void GuardedCloudDatabase::deliver(DownloadJob& download) {
    DownloadJob::Page& page = download.page();
    const bool isNew = !page.changes.empty() || page.token != download.operation().previousServerChangeToken;
    // The same token once more, and nothing with it, would go on for ever.
    page.moreComing = page.moreComing && isNew;
    for (const DownloadJob::Change& change : page.changes) {
        confirmations_->forget({nameOf(change), download.operation().recordZoneID});
    }
    const bool isReplay = takeReplay(download);
    if (options_.shieldsUnsent && !page.changes.empty()) {
        const std::set<std::string> unsent = unsentIDs();
        // Nothing will ever replace what came in place of a refused one. A read from the beginning tells nothing new,
        // though: it would bring back what the person has changed since.
        const std::set<std::string> refused =
            isReplay ? std::set<std::string>() : refusedIDs(download.operation().recordZoneID);
        const bool knowsBefore = download.operation().previousServerChangeToken.has_value();
        std::erase_if(page.changes, [&](const DownloadJob::Change& change) {
            const bool isOwnEcho = takeOwnTag(change) && knowsBefore;
            const bool isRefused = refused.contains(nameOf(change));
            if (!isOwnEcho && isRefused) {
                reportReplaced(change);
                quarantine_->forget(nameOf(change));
            }
            return isOwnEcho || (unsent.contains(nameOf(change)) && !isRefused);
        });
    }
    std::vector<std::string> names;
    std::transform(page.changes.begin(), page.changes.end(), std::back_inserter(names),
                   [](const DownloadJob::Change& change) { return nameOf(change); });
    if (!page.changes.empty()) {
        tellOf(page.changes);
    }
    const std::optional<Error> error = page.error;
    ++downloads_;
    // The engine keeps the one and erases the other.
    lastTokens_.insert_or_assign(download.operation().recordZoneID, error ? std::nullopt : page.token);
    answer(std::move(names), download);
    tell(events_.downloadEnded, error);
}

bool GuardedCloudDatabase::takeReplay(DownloadJob& download) {
    const CKRecordZoneID& zoneID = download.operation().recordZoneID;
    const bool isReplay = replayed_.erase(zoneID) > 0 || !download.operation().previousServerChangeToken;
    if (isReplay && download.page().moreComing && !download.page().error) {
        replayed_.insert(zoneID);
    }
    return isReplay;
}

std::set<std::string> GuardedCloudDatabase::refusedIDs(const CKRecordZoneID& zoneID) const {
    std::set<std::string> ids;
    const auto reminders = quarantine_->isEmpty() ? nullptr : store();
    const auto items = reminders ? reminders->remindersToUpload() : std::nullopt;
    for (const ReminderItem& item : items.value_or(std::vector<ReminderItem>())) {
        const auto record = makeCKRecord(item, zoneID);
        if (record && quarantine_->holds(*record)) {
            ids.insert(item.ID);
        }
    }
    return ids;
}

void GuardedCloudDatabase::reportReplaced(const DownloadJob::Change& change) {
    const bool isDeleted = std::holds_alternative<CKRecordID>(change);
    parts().report("The reminder \"" + nameOf(change) + "\", which cannot be sent to the cloud, was " +
                   (isDeleted ? "deleted on another device: it is deleted here, too"
                              : "changed on another device: that version takes its place"));
}

void GuardedCloudDatabase::tellOf(const std::vector<DownloadJob::Change>& changes) const {
    std::vector<CKRecord> records;
    std::vector<CKRecordID> deleted;
    for (const DownloadJob::Change& change : changes) {
        if (const auto* record = std::get_if<CKRecord>(&change)) {
            records.push_back(*record);
        } else {
            deleted.push_back(std::get<CKRecordID>(change));
        }
    }
    tell(events_.received, records, deleted);
}

bool GuardedCloudDatabase::takeOwnTag(const DownloadJob::Change& change) {
    // Whatever the server tells of it, it has told of what was uploaded before.
    const auto own = uploadedTags_.extract(nameOf(change));
    const auto* record = std::get_if<CKRecord>(&change);
    if (!own) {
        return false;
    }
    return own.mapped() ? record != nullptr && record->recordChangeTag() == own.mapped() : record == nullptr;
}

void GuardedCloudDatabase::answer(std::vector<std::string> ids, CloudJob& job) {
    for (const std::string& id : ids) {
        ++queued_[id];
    }
    // One alone has nobody to share with.
    if (realm_ && options_.sharesCommits && ids.size() > 1) {
        mainQueue_->async([weak = std::weak_ptr(realm_)] {
            if (const auto realm = weak.lock()) {
                realm->deferDurability();
            }
        });
    }
    // Whoever is told of it may want to change one of them at once: that is behind already.
    job.finish();
    if (ids.empty()) {
        return;
    }
    mainQueue_->async([weak = weak_from_this(), ids = std::move(ids), heard = confirmations_->count()] {
        const auto self = weak.lock();
        if (!self) {
            return;
        }
        static_cast<void>(self->makeDurable());
        self->stored();
        self->confirmations_->setHeard(heard);
        for (const std::string& id : ids) {
            const auto found = self->queued_.find(id);
            if (--found->second == 0) {
                self->queued_.erase(found);
            }
        }
        self->advance();
        if (!self->hasWaitingUpload()) {
            self->confirmations_->forgetHeard();
        }
    });
}

void GuardedCloudDatabase::stored() {
    if (!std::exchange(failedWhileStoring_, false)) {
        failedStores_ = 0;
        static_cast<void>(storeWait_->end());
        return;
    }
    // The same page comes again at once, when more was announced. On a disk that stays full it would for ever.
    if (++failedStores_ > 1) {
        storeWait_->begin(makeCKError(CKErrorCode::internalError, "Nothing can be stored."), [weak = weak_from_this()] {
            if (const auto self = weak.lock()) {
                self->advance();
            }
        });
    }
}

void GuardedCloudDatabase::perform(std::vector<std::string> ids, std::function<void()> change) {
    if (options_.cancelsTouched) {
        // An upload that was just begun may hold them, too.
        takeIn();
        std::vector<std::shared_ptr<UploadJob>> touched;
        const auto isTouched = [&](const Job& job) {
            auto upload = std::dynamic_pointer_cast<UploadJob>(job);
            const bool is = upload && !upload->isCancelled() && upload->holdsAnyOf(ids);
            if (is) {
                touched.push_back(std::move(upload));
            }
            return is;
        };
        // One that is on its way keeps its place until the server has answered.
        std::for_each(running_.begin(), running_.end(), isTouched);
        std::erase_if(queue_, isTouched);
        for (const auto& upload : touched) {
            upload->cancel("A reminder in it has changed meanwhile.");
        }
        if (!touched.empty()) {
            // Others may have waited for them.
            mainQueue_->async([self = shared_from_this()] { self->advance(); });
        }
        const bool isBehind =
            std::any_of(ids.begin(), ids.end(), [&](const std::string& id) { return queued_.contains(id); });
        if (isBehind) {
            mainQueue_->async([self = shared_from_this(), ids = std::move(ids), change = std::move(change)] {
                self->perform(ids, change);
            });
            return;
        }
    }
    static_cast<void>(makeDurable());
    change();
}

bool GuardedCloudDatabase::isIdle() const {
    const std::lock_guard lock(arrivingMutex_);
    const bool waits = std::any_of(queue_.begin(), queue_.end(), [](const Job& job) { return job->isReady(); });
    return arriving_.empty() && running_.empty() && !waits && queued_.empty();
}

std::shared_ptr<ReminderStore> GuardedCloudDatabase::store() const {
    const auto manager = manager_.lock();
    return manager ? manager->reminderStore() : nullptr;
}

std::set<std::string> GuardedCloudDatabase::unsentIDs() const {
    std::set<std::string> ids;
    if (const auto reminders = store()) {
        for (const auto& items : {reminders->remindersToUpload(), reminders->remindersToDelete()}) {
            for (const ReminderItem& item : items.value_or(std::vector<ReminderItem>())) {
                ids.insert(item.ID);
            }
        }
    }
    return ids;
}

}  // namespace quendokit

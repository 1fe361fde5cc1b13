#include "hostkit/guarded_cloud_database.hpp"

#include <algorithm>
#include <array>
#include <cmath>
#include <iterator>
#include <random>
#include <utility>

#include "hostkit/cloud_jobs_internal.hpp"
#include "hostkit/download_job_internal.hpp"
#include "hostkit/token_gate.hpp"
#include "hostkit/upload_job_internal.hpp"
#include "quendokit/platform/ck_error.hpp"
#include "quendokit/platform/run_loop.hpp"
#include "quendokit/platform/services.hpp"
#include "quendokit/platform/timer.hpp"
#include "quendokit/store/reminder_store.hpp"
#include "quendokit/sync/reminder_sync_manager.hpp"

namespace quendokit {
namespace {

/// Whether it passes.
bool isTransient(const Error& error) {
    constexpr std::array codes{CKErrorCode::internalError,      CKErrorCode::networkUnavailable,
                               CKErrorCode::networkFailure,     CKErrorCode::serviceUnavailable,
                               CKErrorCode::requestRateLimited, CKErrorCode::zoneBusy};
    return std::any_of(codes.begin(), codes.end(), [&](CKErrorCode code) { return isCKError(error, code); });
}

double randomFraction() {
    static thread_local std::minstd_rand generator{std::random_device{}()};
    return std::uniform_real_distribution<double>(0, 1)(generator);
}

}  // namespace

std::shared_ptr<GuardedCloudDatabase> GuardedCloudDatabase::create(std::shared_ptr<CKDatabase> database,
                                                                   CloudGuardOptions options) {
    return std::make_shared<GuardedCloudDatabase>(PrivateTag(), std::move(database), std::move(options));
}

GuardedCloudDatabase::GuardedCloudDatabase(PrivateTag, std::shared_ptr<CKDatabase> database, CloudGuardOptions options)
    : database_(std::move(database)),
      options_(std::move(options)),
      mainQueue_(platform::services().mainQueue),
      quarantine_(std::make_unique<UploadQuarantine>()) {}

GuardedCloudDatabase::~GuardedCloudDatabase() {
    if (waitTimer_) {
        waitTimer_->invalidate();
    }
}

void GuardedCloudDatabase::attach(const std::shared_ptr<ReminderSyncManager>& manager) {
    manager_ = manager;
}

void GuardedCloudDatabase::setEvents(CloudGuardEvents events) {
    events_ = std::move(events);
}

void GuardedCloudDatabase::setTokenGate(std::shared_ptr<TokenGate> gate) {
    gate_ = std::move(gate);
}

void GuardedCloudDatabase::writeFailed() {
    if (!gate_) {
        return;
    }
    gate_->writeFailed();
    const auto token = gate_->durableToken();
    lastTokens_.clear();
    const auto restart = [&](const Job& job) {
        if (auto* const download = dynamic_cast<DownloadJob*>(job.get())) {
            download->restart(token);
        }
    };
    std::for_each(running_.begin(), running_.end(), restart);
    std::for_each(queue_.begin(), queue_.end(), restart);
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
        arriving_.push_back(std::move(make));
    }
    mainQueue_->async([self = shared_from_this()] {
        self->takeIn();
        self->advance();
    });
}

void GuardedCloudDatabase::takeIn() {
    std::vector<std::function<Job()>> arrived;
    {
        const std::lock_guard lock(arrivingMutex_);
        arrived.swap(arriving_);
    }
    for (const auto& make : arrived) {
        enqueue(make());
    }
}

CloudJobParts GuardedCloudDatabase::parts() {
    return {mainQueue_, options_, *quarantine_, events_.reports, [weak = weak_from_this()] {
                const auto self = weak.lock();
                if (self && self->events_.zoneAnswered) {
                    self->events_.zoneAnswered();
                }
            }};
}

void GuardedCloudDatabase::enqueue(Job job) {
    if (auto upload = std::dynamic_pointer_cast<UploadJob>(job)) {
        enqueueUpload(upload, false);
    } else if (auto download = std::dynamic_pointer_cast<DownloadJob>(job)) {
        enqueueDownload(download);
    } else {
        queue_.push_back(std::move(job));
    }
}

void GuardedCloudDatabase::enqueueUpload(const std::shared_ptr<UploadJob>& upload, bool first) {
    // It holds everything that is unsent, and so all that an earlier one holds that has not begun.
    if (options_.oneAtATime && upload->isReady()) {
        std::vector<std::shared_ptr<UploadJob>> earlier;
        std::erase_if(queue_, [&](const Job& job) {
            auto other = std::dynamic_pointer_cast<UploadJob>(job);
            const bool isReplaced = other && other->isReady();
            if (isReplaced) {
                earlier.push_back(std::move(other));
            }
            return isReplaced;
        });
        for (const auto& each : earlier) {
            each->cancel("A later upload takes its place.");
        }
    }
    if (first) {
        queue_.push_front(upload);
    } else {
        queue_.push_back(upload);
    }
}

void GuardedCloudDatabase::enqueueDownload(const std::shared_ptr<DownloadJob>& download) {
    download->downloadsBefore = downloads_;
    if (options_.oneAtATime && download->isReady()) {
        // The later one has the newer token. While there is no network, one that waits is enough.
        const auto waiting = std::find_if(queue_.begin(), queue_.end(), [&](const Job& job) {
            const auto* other = dynamic_cast<DownloadJob*>(job.get());
            return other != nullptr && other->isReady() &&
                   other->operation().recordZoneID == download->operation().recordZoneID;
        });
        if (waiting != queue_.end()) {
            const auto other = std::static_pointer_cast<DownloadJob>(std::exchange(*waiting, download));
            other->finishForAnother(download->operation().previousServerChangeToken);
            return;
        }
    }
    queue_.push_back(download);
}

void GuardedCloudDatabase::advance() {
    while (!waitsBecause_ && (running_.empty() || !options_.oneAtATime)) {
        const auto next = std::find_if(queue_.begin(), queue_.end(), [](const Job& job) { return job->isReady(); });
        if (next == queue_.end()) {
            return;
        }
        auto* const download = dynamic_cast<DownloadJob*>(next->get());
        if (download != nullptr && options_.uploadsFirst && !queued_.empty()) {
            // Once that has run, less is unsent.
            return;
        }
        if (download != nullptr && uploadBefore(*download)) {
            // The queue has changed.
            continue;
        }
        if (download != nullptr) {
            beginWhereTheLastEnded(*download);
        }
        const Job job = std::move(*next);
        queue_.erase(next);
        attempt(job);
    }
}

bool GuardedCloudDatabase::uploadBefore(DownloadJob& job) {
    if (!options_.uploadsFirst || std::exchange(job.hadItsUpload, true)) {
        return false;
    }
    const auto waiting = std::find_if(queue_.begin(), queue_.end(), [](const Job& each) {
        return dynamic_cast<UploadJob*>(each.get()) != nullptr && each->isReady();
    });
    if (waiting != queue_.end()) {
        std::rotate(queue_.begin(), waiting, waiting + 1);
        return true;
    }
    const auto manager = manager_.lock();
    if (!manager || unsentIDs().empty()) {
        return false;
    }
    auto operation = std::dynamic_pointer_cast<CKModifyRecordsOperation>(manager->localSyncOp());
    if (!operation) {
        return false;
    }
    enqueueUpload(
        std::make_shared<UploadJob>(mainQueue_, std::move(operation), options_, *quarantine_, events_.reports), true);
    return true;
}

void GuardedCloudDatabase::beginWhereTheLastEnded(DownloadJob& job) const {
    const auto last = lastTokens_.find(job.operation().recordZoneID);
    const bool wasAskedForEarlier = job.downloadsBefore != downloads_;
    if (options_.oneAtATime && wasAskedForEarlier && last != lastTokens_.end()) {
        job.beginWith(last->second);
    }
}

void GuardedCloudDatabase::attempt(const Job& job) {
    running_.push_back(job);
    job->attempt(*database_, [weak = weak_from_this(), job](const std::optional<Error>& error) {
        if (const auto self = weak.lock()) {
            self->attempted(job, error);
        }
    });
}

void GuardedCloudDatabase::attempted(const Job& job, const std::optional<Error>& error) {
    std::erase(running_, job);
    const auto* upload = dynamic_cast<UploadJob*>(job.get());
    if (upload != nullptr && upload->isCancelled()) {
        advance();
        return;
    }
    if (error && options_.waitsForNetwork && isTransient(*error)) {
        queue_.push_front(job);
        wait(*error);
        return;
    }
    failures_ = 0;
    if (job->needsAnother(error)) {
        attempt(job);
        return;
    }
    finish(job);
    advance();
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
        uploadedTags_.erase(id.recordName);
    }
    if (events_.confirmed && !confirmed.empty()) {
        events_.confirmed(confirmed);
    }
    upload.finish();
    isQueued(std::move(confirmed));
    if (events_.uploadEnded) {
        events_.uploadEnded(upload.failure());
    }
}

void GuardedCloudDatabase::deliver(DownloadJob& download) {
    DownloadJob::Page& page = download.page();
    const bool isNew = !page.changes.empty() || page.token != download.operation().previousServerChangeToken;
    // The same token once more, and nothing with it, would go on for ever.
    page.moreComing = page.moreComing && isNew;
    if (options_.shieldsUnsent && !page.changes.empty()) {
        const std::set<std::string> unsent = unsentIDs();
        const bool knowsBefore = download.operation().previousServerChangeToken.has_value();
        std::erase_if(page.changes, [&](const DownloadJob::Change& change) {
            const auto* record = std::get_if<CKRecord>(&change);
            const auto own =
                record != nullptr ? uploadedTags_.find(record->recordID().recordName) : uploadedTags_.end();
            const bool isOwnEcho =
                knowsBefore && own != uploadedTags_.end() && record->recordChangeTag() == own->second;
            return isOwnEcho || unsent.contains(nameOf(change));
        });
    }
    std::vector<std::string> names;
    std::transform(page.changes.begin(), page.changes.end(), std::back_inserter(names),
                   [](const DownloadJob::Change& change) { return nameOf(change); });
    if (events_.received && !page.changes.empty()) {
        std::vector<CKRecord> records;
        std::vector<CKRecordID> deleted;
        for (const DownloadJob::Change& change : page.changes) {
            if (const auto* record = std::get_if<CKRecord>(&change)) {
                records.push_back(*record);
            } else {
                deleted.push_back(std::get<CKRecordID>(change));
            }
        }
        events_.received(records, deleted);
    }
    const std::optional<Error> error = page.error;
    ++downloads_;
    // The engine keeps the one and erases the other.
    lastTokens_.insert_or_assign(download.operation().recordZoneID, error ? std::nullopt : page.token);
    download.finish();
    isQueued(std::move(names));
    if (events_.downloadEnded) {
        events_.downloadEnded(error);
    }
}

void GuardedCloudDatabase::isQueued(std::vector<std::string> ids) {
    if (ids.empty()) {
        return;
    }
    for (const std::string& id : ids) {
        ++queued_[id];
    }
    mainQueue_->async([weak = weak_from_this(), ids = std::move(ids)] {
        const auto self = weak.lock();
        if (!self) {
            return;
        }
        for (const std::string& id : ids) {
            const auto found = self->queued_.find(id);
            if (--found->second == 0) {
                self->queued_.erase(found);
            }
        }
        self->advance();
    });
}

void GuardedCloudDatabase::perform(std::vector<std::string> ids, std::function<void()> change) {
    if (options_.cancelsTouched) {
        // An upload that was just begun may hold them, too.
        takeIn();
        std::vector<std::shared_ptr<UploadJob>> touched;
        const auto isTouched = [&](const Job& job) {
            auto upload = std::dynamic_pointer_cast<UploadJob>(job);
            const bool is = upload && !upload->isCancelled() && upload->isReady() && upload->holdsAnyOf(ids);
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
        const bool isBehind =
            std::any_of(ids.begin(), ids.end(), [&](const std::string& id) { return queued_.contains(id); });
        if (isBehind) {
            mainQueue_->async([self = shared_from_this(), ids = std::move(ids), change = std::move(change)] {
                self->perform(ids, change);
            });
            return;
        }
    }
    change();
}

void GuardedCloudDatabase::wait(const Error& error) {
    constexpr double longest = 300;
    const double jitter = options_.jitter ? options_.jitter() : randomFraction();
    const double doubled = std::min(longest, std::pow(2.0, std::min(failures_++, 20)));
    const double seconds = std::max(error.retryAfter.value_or(0), doubled * (1 - jitter / 2));
    const std::chrono::nanoseconds time(static_cast<std::int64_t>(std::clamp(seconds, 0.5, 86'400.0) * 1e9));
    waitsBecause_ = error;
    if (waitTimer_) {
        waitTimer_->invalidate();
    }
    waitTimer_ = Timer::create(
        time,
        [weak = weak_from_this()](Timer&) {
            if (const auto self = weak.lock()) {
                self->waitsBecause_ = std::nullopt;
                self->advance();
            }
        },
        false);
    RunLoop::main().add(waitTimer_, RunLoopMode::default_);
    if (events_.waits) {
        events_.waits(error, time);
    }
}

bool GuardedCloudDatabase::isIdle() const {
    const std::lock_guard lock(arrivingMutex_);
    const bool waits = std::any_of(queue_.begin(), queue_.end(), [](const Job& job) { return job->isReady(); });
    return arriving_.empty() && running_.empty() && !waits && queued_.empty();
}

void GuardedCloudDatabase::retryNow() {
    if (!waitsBecause_) {
        return;
    }
    waitTimer_->invalidate();
    waitsBecause_ = std::nullopt;
    failures_ = 0;
    advance();
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

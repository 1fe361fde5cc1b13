/// \file
/// What waits for its turn at a guarded database, and when that has come.

#include <algorithm>
#include <utility>

#include "hostkit/cloud_jobs_internal.hpp"
#include "hostkit/download_job_internal.hpp"
#include "hostkit/guarded_cloud_database.hpp"
#include "hostkit/network_wait_internal.hpp"
#include "hostkit/recent_confirmations_internal.hpp"
#include "hostkit/tell_internal.hpp"
#include "hostkit/transient_error.hpp"
#include "hostkit/upload_job_internal.hpp"
#include "quendokit/platform/ck_error.hpp"
#include "quendokit/sync/reminder_sync_manager.hpp"

namespace quendokit {

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
    std::vector<std::shared_ptr<UploadJob>> earlier;
    if (options_.oneAtATime && upload->isReady()) {
        // The engine's holds everything that is unsent, and so all that an earlier one holds that has not begun.
        std::erase_if(queue_, [&](const Job& job) {
            auto other = std::dynamic_pointer_cast<UploadJob>(job);
            const bool isReplaced = other && other->isReady() && upload->holdsAllOf(*other);
            if (isReplaced) {
                earlier.push_back(std::move(other));
            }
            return isReplaced;
        });
    }
    if (first) {
        queue_.push_front(upload);
    } else {
        queue_.push_back(upload);
    }
    for (const auto& each : earlier) {
        each->cancel("A later upload takes its place.");
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
    while (!waitsBecause() && (running_.empty() || !options_.oneAtATime)) {
        const auto next = std::find_if(queue_.begin(), queue_.end(), [this](const Job& job) {
            const bool isHeldBack = storeWait_->because() && dynamic_cast<DownloadJob*>(job.get()) != nullptr;
            return job->isReady() && !isHeldBack;
        });
        if (next == queue_.end()) {
            return;
        }
        auto* const download = dynamic_cast<DownloadJob*>(next->get());
        if (download != nullptr && options_.uploadsFirst && !queued_.empty()) {
            // Once that has run, less is unsent.
            return;
        }
        if (download != nullptr && options_.uploadsFirst && !std::exchange(download->hadItsUpload, true)) {
            // Afterwards the queue may be another one: the engine is asked.
            putUploadFirst();
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

void GuardedCloudDatabase::beginWhereTheLastEnded(DownloadJob& job) const {
    const auto last = lastTokens_.find(job.operation().recordZoneID);
    const bool wasAskedForEarlier = job.downloadsBefore != downloads_;
    if (options_.oneAtATime && wasAskedForEarlier && last != lastTokens_.end()) {
        job.beginWith(last->second);
    }
}

void GuardedCloudDatabase::putUploadFirst() {
    const auto waiting = std::find_if(queue_.begin(), queue_.end(), [](const Job& each) {
        return dynamic_cast<UploadJob*>(each.get()) != nullptr && each->isReady();
    });
    if (waiting != queue_.end()) {
        std::rotate(queue_.begin(), waiting, waiting + 1);
        return;
    }
    const auto manager = manager_.lock();
    if (!manager || unsentIDs().empty()) {
        return;
    }
    if (auto operation = std::dynamic_pointer_cast<CKModifyRecordsOperation>(manager->localSyncOp())) {
        const auto upload = makeUploadJob(parts(), std::move(operation));
        upload->heardBefore = confirmations_->heard();
        enqueueUpload(upload, true);
    }
}

void GuardedCloudDatabase::leaveOutConfirmed(UploadJob& upload) {
    if (!options_.oneAtATime) {
        return;
    }
    upload.leaveOutConfirmed(*confirmations_);
    // What the cloud has there is this now, or is unknown until it is confirmed.
    upload.forEachUnsent([this](const CKRecordID& id) { confirmations_->forget(id); });
}

bool GuardedCloudDatabase::hasWaitingUpload() const {
    const bool isInQueue = std::any_of(queue_.begin(), queue_.end(), [](const Job& job) {
        return dynamic_cast<UploadJob*>(job.get()) != nullptr && job->isReady();
    });
    const std::lock_guard lock(arrivingMutex_);
    return isInQueue || !arriving_.empty();
}

void GuardedCloudDatabase::attempt(const Job& job) {
    if (auto* const upload = dynamic_cast<UploadJob*>(job.get())) {
        leaveOutConfirmed(*upload);
    }
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
    if (error && options_.waitsForNetwork && isTransient(*error, job->failedInside)) {
        job->failedInside = isCKError(*error, CKErrorCode::internalError);
        queue_.push_front(job);
        wait(*error);
        return;
    }
    job->failedInside = false;
    wait_->forgetFailures();
    if (job->needsAnother(error)) {
        attempt(job);
        return;
    }
    finish(job);
    advance();
}

void GuardedCloudDatabase::wait(const Error& error) {
    const auto time = wait_->begin(error, [weak = weak_from_this()] {
        if (const auto self = weak.lock()) {
            self->advance();
        }
    });
    tell(events_.waits, error, time);
}

const std::optional<Error>& GuardedCloudDatabase::waitsBecause() const noexcept {
    return wait_->because();
}

void GuardedCloudDatabase::retryNow() {
    const bool waited = wait_->end();
    if (storeWait_->end() || waited) {
        advance();
    }
}

}  // namespace quendokit

#include <algorithm>
#include <array>
#include <iterator>

#include "hostkit/recent_confirmations_internal.hpp"
#include "hostkit/upload_job_internal.hpp"
#include "quendokit/platform/ck_error.hpp"

namespace quendokit {
namespace {

/// Whether the cloud refuses something in the request, not the request as such.
bool isAboutAnItem(const Error& error) {
    constexpr std::array codes{CKErrorCode::partialFailure,      CKErrorCode::invalidArguments,
                               CKErrorCode::serverRecordChanged, CKErrorCode::serverRejectedRequest,
                               CKErrorCode::batchRequestFailed,  CKErrorCode::limitExceeded};
    return std::any_of(codes.begin(), codes.end(), [&](CKErrorCode code) { return isCKError(error, code); });
}

/// The second half of the list, taken out of it.
template <typename Item>
std::vector<Item> takeHalf(std::optional<std::vector<Item>>& list, std::size_t keep) {
    const auto middle = list->begin() + static_cast<std::ptrdiff_t>(keep);
    std::vector<Item> half(std::make_move_iterator(middle), std::make_move_iterator(list->end()));
    list->erase(middle, list->end());
    return half;
}

}  // namespace

std::size_t UploadJob::Request::size() const {
    return (records ? records->size() : 0) + (deletions ? deletions->size() : 0);
}

UploadJob::UploadJob(std::shared_ptr<DispatchQueue> mainQueue, std::shared_ptr<CKModifyRecordsOperation> operation,
                     const CloudGuardOptions& options, UploadQuarantine& quarantine, Report report)
    : CloudJob(std::move(mainQueue)),
      operation_(std::move(operation)),
      options_(options),
      quarantine_(quarantine),
      // What may not replace just anything goes whole or not at all.
      splits_(options.splitsUploads && operation_->savePolicy == CKRecordSavePolicy::allKeys),
      report_(std::move(report)) {
    if (operation_->recordsToSave) {
        for (const CKRecord& record : *operation_->recordsToSave) {
            ids_.insert(record.recordID().recordName);
        }
    }
    if (operation_->recordIDsToDelete) {
        for (const CKRecordID& id : *operation_->recordIDsToDelete) {
            ids_.insert(id.recordName);
        }
    }
    if (splits_ || options_.checksText) {
        plan();
    } else {
        planAsItIs();
    }
}

void UploadJob::planAsItIs() {
    requests_.push_back({operation_->recordsToSave, operation_->recordIDsToDelete});
}

void UploadJob::plan() {
    // A name that comes twice would fail the whole request: it goes once, as a deletion rather than a save.
    std::set<std::string> named;
    std::size_t bytes = 0;
    const auto room = [&](std::size_t size) -> Request& {
        const bool full =
            !requests_.empty() && splits_ &&
            (requests_.back().size() >= options_.itemsPerRequest || bytes + size > options_.bytesPerRequest);
        if (requests_.empty() || full) {
            requests_.push_back({std::vector<CKRecord>(), std::vector<CKRecordID>()});
            bytes = 0;
        }
        bytes += size;
        return requests_.back();
    };
    for (const CKRecordID& id : operation_->recordIDsToDelete.value_or(std::vector<CKRecordID>())) {
        if (named.insert(id.recordName).second) {
            room(200 + id.recordName.size()).deletions->push_back(id);
        }
    }
    for (const CKRecord& record : operation_->recordsToSave.value_or(std::vector<CKRecord>())) {
        if (quarantine_.holds(record)) {
            continue;
        }
        if (options_.checksText && !hasSendableText(record)) {
            leaveOut(record, "its text is not UTF-8, or has a zero byte in it");
        } else if (named.insert(record.recordID().recordName).second) {
            room(sizeInRequest(record)).records->push_back(record);
        }
    }
}

void UploadJob::leaveOutConfirmed(const RecentConfirmations& confirmations) {
    if (operation_->savePolicy != CKRecordSavePolicy::allKeys) {
        return;
    }
    for (Request& request : requests_) {
        if (request.records) {
            std::erase_if(*request.records, [&](const CKRecord& record) {
                const bool isSaved = confirmations.savedSince(heardBefore, record);
                if (isSaved) {
                    savedBefore_.push_back(record);
                }
                return isSaved;
            });
        }
        if (request.deletions) {
            std::erase_if(*request.deletions, [&](const CKRecordID& id) {
                const bool isDeleted = confirmations.deletedSince(heardBefore, id);
                if (isDeleted) {
                    deletedBefore_.push_back(id);
                }
                return isDeleted;
            });
        }
    }
    std::erase_if(requests_, [](const Request& request) { return request.size() == 0; });
}

void UploadJob::forEachUnsent(const std::function<void(const CKRecordID&)>& call) const {
    for (const Request& request : requests_) {
        for (const CKRecord& record : request.records.value_or(std::vector<CKRecord>())) {
            call(record.recordID());
        }
        for (const CKRecordID& id : request.deletions.value_or(std::vector<CKRecordID>())) {
            call(id);
        }
    }
}

std::vector<std::string> UploadJob::leftOut() const {
    std::vector<std::string> names;
    names.reserve(savedBefore_.size() + deletedBefore_.size());
    for (const CKRecord& record : savedBefore_) {
        names.push_back(record.recordID().recordName);
    }
    for (const CKRecordID& id : deletedBefore_) {
        names.push_back(id.recordName);
    }
    return names;
}

void UploadJob::attempt(CKDatabase& database, Done done) {
    if (requests_.empty()) {
        mainQueue()->async([done = std::move(done)] { done(std::nullopt); });
        return;
    }
    auto inner = std::make_shared<CKModifyRecordsOperation>(requests_.front().records, requests_.front().deletions);
    inner->savePolicy = operation_->savePolicy;
    inner->clientChangeTokenData = operation_->clientChangeTokenData;
    inner->modifyRecordsCompletion = [this, queue = mainQueue(), done = std::move(done)](
                                         const auto& saved, const auto& deleted, const std::optional<Error>& error) {
        // `done` keeps this job.
        queue->async([this, saved, deleted, error, done] {
            if (!error && saved) {
                takeSaved(*saved);
            }
            if (!error && deleted) {
                deleted_.insert(deleted_.end(), deleted->begin(), deleted->end());
            }
            done(error);
        });
    };
    database.add(std::move(inner));
}

void UploadJob::takeSaved(const std::vector<CKRecord>& saved) {
    std::set<CKRecordID> ids;
    for (const CKRecord& record : saved) {
        ids.insert(record.recordID());
        saved_.push_back(record);
    }
    if (const auto& sent = requests_.front().records) {
        std::copy_if(sent->begin(), sent->end(), std::back_inserter(savedAsSent_),
                     [&](const CKRecord& record) { return ids.contains(record.recordID()); });
    }
}

bool UploadJob::needsAnother(const std::optional<Error>& error) {
    if (error && splits_ && isAboutAnItem(*error)) {
        narrowDown(*error);
        return !requests_.empty();
    }
    if (error) {
        failure_ = error;
        return false;
    }
    if (!requests_.empty()) {
        requests_.pop_front();
    }
    return !requests_.empty();
}

void UploadJob::narrowDown(const Error& error) {
    Request& first = requests_.front();
    if (first.size() > 1) {
        Request second{std::vector<CKRecord>(), std::vector<CKRecordID>()};
        const std::size_t half = first.size() / 2;
        const std::size_t keptRecords = std::min(half, first.records->size());
        second.records = takeHalf(first.records, keptRecords);
        second.deletions = takeHalf(first.deletions, half - keptRecords);
        requests_.insert(requests_.begin() + 1, std::move(second));
        return;
    }
    if (!first.records->empty()) {
        leaveOut(first.records->front(), error.description);
    } else if (!first.deletions->empty() && report_) {
        report_("The deletion of \"" + first.deletions->front().recordName +
                "\" is not taken by the cloud and will be tried again: " + error.description);
    }
    requests_.pop_front();
}

void UploadJob::leaveOut(const CKRecord& record, const std::string& why) {
    quarantine_.add(record);
    if (report_) {
        report_("The reminder \"" + record.recordID().recordName +
                "\" cannot be sent to the cloud and waits until it is changed: " + why);
    }
}

void UploadJob::finish() {
    if (operation_->modifyRecordsCompletion) {
        std::vector<CKRecord> saved = savedBefore_;
        saved.insert(saved.end(), saved_.begin(), saved_.end());
        std::vector<CKRecordID> deleted = deletedBefore_;
        deleted.insert(deleted.end(), deleted_.begin(), deleted_.end());
        if (failure_ && saved.empty() && deleted.empty()) {
            operation_->modifyRecordsCompletion(std::nullopt, std::nullopt, failure_);
        } else {
            // What was taken is confirmed; the rest stays unsent and goes with a later upload.
            operation_->modifyRecordsCompletion(std::move(saved), std::move(deleted), std::nullopt);
        }
    }
    operation_->finish();
}

void UploadJob::cancel(const std::string& why) {
    isCancelled_ = true;
    if (operation_->modifyRecordsCompletion) {
        operation_->modifyRecordsCompletion(std::nullopt, std::nullopt,
                                            makeCKError(CKErrorCode::operationCancelled, why));
    }
    operation_->finish();
}

bool UploadJob::holdsAnyOf(const std::vector<std::string>& ids) const {
    return std::any_of(ids.begin(), ids.end(), [&](const std::string& id) { return ids_.contains(id); });
}

bool UploadJob::holdsAllOf(const UploadJob& other) const {
    return std::includes(ids_.begin(), ids_.end(), other.ids_.begin(), other.ids_.end());
}

}  // namespace quendokit

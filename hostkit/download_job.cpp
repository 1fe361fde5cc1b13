#include "hostkit/download_job_internal.hpp"

namespace quendokit {

const std::string& nameOf(const DownloadJob::Change& change) {
    const auto* record = std::get_if<CKRecord>(&change);
    return record != nullptr ? record->recordID().recordName : std::get<CKRecordID>(change).recordName;
}

void DownloadJob::restart(std::optional<CKServerChangeToken> token) {
    operation_->previousServerChangeToken = std::move(token);
    isCurrent_ = false;
}

bool DownloadJob::needsAnother(const std::optional<Error>& /*error*/) {
    return !isCurrent_;
}

void DownloadJob::attempt(CKDatabase& database, Done done) {
    isCurrent_ = true;
    auto page = std::make_shared<Page>();
    auto inner = std::make_shared<CKFetchRecordChangesOperation>(operation_->recordZoneID,
                                                                 operation_->previousServerChangeToken);
    inner->recordChanged = [page](const CKRecord& record) { page->changes.emplace_back(record); };
    inner->recordWithIDWasDeleted = [page](const CKRecordID& id) { page->changes.emplace_back(id); };
    inner->fetchRecordChangesCompletion = [this, page, itself = inner.get(), queue = mainQueue(),
                                           done = std::move(done)](const auto& token, const auto& /*clientData*/,
                                                                   const std::optional<Error>& error) {
        page->token = token;
        page->error = error;
        page->moreComing = itself->moreComing;
        // `done` keeps this job.
        queue->async([this, page, done] {
            page_ = page;
            done(page->error);
        });
    };
    database.add(std::move(inner));
}

void DownloadJob::finish() {
    // Callbacks may add to the queue of the guard, but never come back here.
    for (const Change& change : page_->changes) {
        if (const auto* record = std::get_if<CKRecord>(&change)) {
            if (operation_->recordChanged) {
                operation_->recordChanged(*record);
            }
        } else if (operation_->recordWithIDWasDeleted) {
            operation_->recordWithIDWasDeleted(std::get<CKRecordID>(change));
        }
    }
    operation_->moreComing = page_->moreComing;
    if (operation_->fetchRecordChangesCompletion) {
        operation_->fetchRecordChangesCompletion(page_->token, std::nullopt, page_->error);
    }
    operation_->finish();
}

void DownloadJob::finishForAnother(const std::optional<CKServerChangeToken>& token) {
    *page_ = Page();
    page_->token = token;
    finish();
}

}  // namespace quendokit

#pragma once
/// \file
/// `DownloadJob`, one page of changes, read by a guard.

#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <variant>
#include <vector>

#include "hostkit/cloud_job_internal.hpp"

namespace quendokit {

/// Gathers a page before the engine sees any of it. Main thread.
class DownloadJob final : public CloudJob {
public:
    /// A record that changed, or the name of one that went.
    using Change = std::variant<CKRecord, CKRecordID>;
    struct Page {
        std::vector<Change> changes;
        std::optional<CKServerChangeToken> token;
        std::optional<Error> error;
        bool moreComing = false;
    };

    DownloadJob(std::shared_ptr<DispatchQueue> mainQueue, std::shared_ptr<CKFetchRecordChangesOperation> operation)
        : CloudJob(std::move(mainQueue)), operation_(std::move(operation)) {}

    [[nodiscard]] bool isReady() const override { return operation_->isReady(); }
    void attempt(CKDatabase& database, Done done) override;
    /// Gives the page to the engine; see `page`.
    void finish() override;
    /// Tells the engine that there is nothing new since `token`: another download does its work.
    void finishForAnother(const std::optional<CKServerChangeToken>& token);

    /// Begins anew with that token; what is on its way counts for nothing.
    void restart(std::optional<CKServerChangeToken> token);
    [[nodiscard]] bool needsAnother(const std::optional<Error>& error) override;

    /// What came, and may be made smaller before `finish`.
    [[nodiscard]] Page& page() noexcept { return *page_; }
    [[nodiscard]] const CKFetchRecordChangesOperation& operation() const noexcept { return *operation_; }

    /// Whether an upload was put before it.
    bool hadItsUpload = false;

private:
    const std::shared_ptr<CKFetchRecordChangesOperation> operation_;
    /// Whether the request that is on its way has the token that it is to have.
    bool isCurrent_ = true;
    std::shared_ptr<Page> page_ = std::make_shared<Page>();
};

[[nodiscard]] const std::string& nameOf(const DownloadJob::Change& change);

}  // namespace quendokit

#pragma once
/// \file
/// `UploadJob`, saves and deletions, sent by a guard.

#include <deque>
#include <functional>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "hostkit/cloud_guard_options.hpp"
#include "hostkit/cloud_job_internal.hpp"
#include "hostkit/upload_quarantine_internal.hpp"

namespace quendokit {

/// Sends an upload request by request, and leaves out what the cloud does not take. Main thread.
class UploadJob final : public CloudJob {
public:
    using Report = std::function<void(const std::string&)>;

    /// Options and quarantine outlive it.
    UploadJob(std::shared_ptr<DispatchQueue> mainQueue, std::shared_ptr<CKModifyRecordsOperation> operation,
              const CloudGuardOptions& options, UploadQuarantine& quarantine, Report report);

    [[nodiscard]] bool isReady() const override { return operation_->isReady(); }
    void attempt(CKDatabase& database, Done done) override;
    [[nodiscard]] bool needsAnother(const std::optional<Error>& error) override;
    void finish() override;

    /// Answers who asked at once, with an error; whatever comes later is nobody's.
    void cancel(const std::string& why);
    [[nodiscard]] bool isCancelled() const noexcept { return isCancelled_; }

    /// Whether one of `ids` is in it.
    [[nodiscard]] bool holdsAnyOf(const std::vector<std::string>& ids) const;
    [[nodiscard]] bool holdsAllOf(const UploadJob& other) const;
    /// What the cloud has confirmed.
    [[nodiscard]] const std::vector<CKRecord>& saved() const noexcept { return saved_; }
    [[nodiscard]] const std::vector<CKRecordID>& deleted() const noexcept { return deleted_; }
    /// What ended it before everything was sent.
    [[nodiscard]] const std::optional<Error>& failure() const noexcept { return failure_; }

private:
    /// What one request holds.
    struct Request {
        std::optional<std::vector<CKRecord>> records;
        std::optional<std::vector<CKRecordID>> deletions;

        [[nodiscard]] std::size_t size() const;
    };

    void plan();
    void planAsItIs();
    /// Makes two requests of the first one, or leaves its only item out.
    void narrowDown(const Error& error);
    void leaveOut(const CKRecord& record, const std::string& why);

    const std::shared_ptr<CKModifyRecordsOperation> operation_;
    const CloudGuardOptions& options_;
    UploadQuarantine& quarantine_;
    const bool splits_;
    const Report report_;
    std::set<std::string> ids_;
    std::deque<Request> requests_;
    std::vector<CKRecord> saved_;
    std::vector<CKRecordID> deleted_;
    std::optional<Error> failure_;
    bool isCancelled_ = false;
};

}  // namespace quendokit

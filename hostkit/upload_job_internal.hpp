#pragma once
/// \file
/// `UploadJob`, saves and deletions, sent by a guard.

#include <cstdint>
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

class RecentConfirmations;

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

    /// Leaves out what another upload has brought to the cloud since this one was made, word for word: it counts as
    /// confirmed.
    void leaveOutConfirmed(const RecentConfirmations& confirmations);
    /// What it would send now.
    void forEachUnsent(const std::function<void(const CKRecordID&)>& call) const;

    /// Answers who asked at once, with an error; whatever comes later is nobody's.
    void cancel(const std::string& why);
    [[nodiscard]] bool isCancelled() const noexcept { return isCancelled_; }

    /// Whether one of `ids` is in it.
    [[nodiscard]] bool holdsAnyOf(const std::vector<std::string>& ids) const;
    [[nodiscard]] bool holdsAllOf(const UploadJob& other) const;
    /// What the cloud has confirmed to it.
    [[nodiscard]] const std::vector<CKRecord>& saved() const noexcept { return saved_; }
    [[nodiscard]] const std::vector<CKRecordID>& deleted() const noexcept { return deleted_; }
    /// The same as it was sent: the cloud may say it in other words.
    [[nodiscard]] const std::vector<CKRecord>& savedAsSent() const noexcept { return savedAsSent_; }
    /// The names of what was confirmed to others.
    [[nodiscard]] std::vector<std::string> leftOut() const;
    /// What ended it before everything was sent.
    [[nodiscard]] const std::optional<Error>& failure() const noexcept { return failure_; }

    /// Of how many confirmed uploads the engine had heard when it was made.
    std::uint64_t heardBefore = 0;

private:
    /// What one request holds.
    struct Request {
        std::optional<std::vector<CKRecord>> records;
        std::optional<std::vector<CKRecordID>> deletions;

        [[nodiscard]] std::size_t size() const;
    };

    void takeSaved(const std::vector<CKRecord>& saved);
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
    std::vector<CKRecord> savedAsSent_;
    std::vector<CKRecord> savedBefore_;
    std::vector<CKRecordID> deletedBefore_;
    std::optional<Error> failure_;
    bool isCancelled_ = false;
};

}  // namespace quendokit

#pragma once
/// \file
/// Makes jobs of what a guarded database is asked for.

#include <functional>
#include <memory>
#include <string>

#include "hostkit/cloud_guard_options.hpp"
#include "hostkit/cloud_job_internal.hpp"
#include "hostkit/upload_job_internal.hpp"
#include "quendokit/platform/ck_database.hpp"

namespace quendokit {

/// What jobs are made of. Options and quarantine outlive them.
struct CloudJobParts {
    std::shared_ptr<DispatchQueue> mainQueue;
    const CloudGuardOptions& options;
    UploadQuarantine& quarantine;
    UploadJob::Report report;
    /// Called after the answer to an operation on zones was given.
    std::function<void()> zoneAnswered;
};

[[nodiscard]] std::shared_ptr<CloudJob> makeJob(const CloudJobParts& parts,
                                                const std::shared_ptr<CKDatabaseOperation>& operation);
[[nodiscard]] std::shared_ptr<UploadJob> makeUploadJob(const CloudJobParts& parts,
                                                       std::shared_ptr<CKModifyRecordsOperation> operation);

[[nodiscard]] std::shared_ptr<CloudJob> makeFetchJob(const CloudJobParts& parts, const std::string& subscriptionID,
                                                     CKDatabase::SubscriptionCompletion completion);
[[nodiscard]] std::shared_ptr<CloudJob> makeSaveJob(const CloudJobParts& parts, const CKSubscription& subscription,
                                                    CKDatabase::SubscriptionCompletion completion);
/// Answers a list or an error, whatever the cloud answers: neither would end the process.
[[nodiscard]] std::shared_ptr<CloudJob> makeListJob(const CloudJobParts& parts,
                                                    CKDatabase::SubscriptionsCompletion completion);

}  // namespace quendokit

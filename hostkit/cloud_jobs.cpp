#include <optional>
#include <utility>
#include <vector>

#include "hostkit/cloud_jobs_internal.hpp"
#include "hostkit/download_job_internal.hpp"
#include "hostkit/request_job_internal.hpp"
#include "quendokit/platform/ck_error.hpp"

namespace quendokit {
namespace {

/// Makes a job of an operation.
class Sorter final : public CKDatabaseOperation::Visitor {
public:
    Sorter(const CloudJobParts& parts, std::shared_ptr<CKDatabaseOperation> operation)
        : parts_(parts), operation_(std::move(operation)) {}

    void visit(CKFetchRecordZonesOperation& operation) override {
        using Zones = std::optional<CKFetchRecordZonesOperation::Zones>;
        pass<Zones, std::optional<Error>>(
            [ids = operation.recordZoneIDs](CKDatabase& database, auto completion) {
                auto inner = std::make_shared<CKFetchRecordZonesOperation>(ids);
                inner->fetchRecordZonesCompletion = std::move(completion);
                database.add(std::move(inner));
            },
            operation.fetchRecordZonesCompletion, true);
    }
    void visit(CKModifyRecordZonesOperation& operation) override {
        pass<std::optional<std::vector<CKRecordZone>>, std::optional<std::vector<CKRecordZoneID>>,
             std::optional<Error>>(
            [toSave = operation.recordZonesToSave, toDelete = operation.recordZoneIDsToDelete](CKDatabase& database,
                                                                                               auto completion) {
                auto inner = std::make_shared<CKModifyRecordZonesOperation>(toSave, toDelete);
                inner->modifyRecordZonesCompletion = std::move(completion);
                database.add(std::move(inner));
            },
            operation.modifyRecordZonesCompletion, true);
    }
    void visit(CKModifySubscriptionsOperation& operation) override {
        pass<std::optional<std::vector<CKSubscription>>, std::optional<std::vector<std::string>>, std::optional<Error>>(
            [toSave = operation.subscriptionsToSave, toDelete = operation.subscriptionIDsToDelete](CKDatabase& database,
                                                                                                   auto completion) {
                auto inner = std::make_shared<CKModifySubscriptionsOperation>(toSave, toDelete);
                inner->modifySubscriptionsCompletion = std::move(completion);
                database.add(std::move(inner));
            },
            operation.modifySubscriptionsCompletion, false);
    }
    void visit(CKModifyRecordsOperation& /*operation*/) override {
        job = makeUploadJob(parts_, std::static_pointer_cast<CKModifyRecordsOperation>(operation_));
    }
    void visit(CKFetchRecordChangesOperation& /*operation*/) override {
        job = std::make_shared<DownloadJob>(parts_.mainQueue,
                                            std::static_pointer_cast<CKFetchRecordChangesOperation>(operation_));
    }

    std::shared_ptr<CloudJob> job;

private:
    template <typename... Answer, typename Send, typename Completion>
    void pass(Send send, const Completion& completion, bool isOfZones) {
        job = std::make_shared<RequestJob<Answer...>>(
            parts_.mainQueue, std::move(send),
            [completion, operation = operation_,
             answered = isOfZones ? parts_.zoneAnswered : std::function<void()>()](Answer... answer) {
                if (completion) {
                    completion(std::move(answer)...);
                }
                operation->finish();
                if (answered) {
                    answered();
                }
            },
            [operation = operation_] { return operation->isReady(); });
    }

    const CloudJobParts& parts_;
    const std::shared_ptr<CKDatabaseOperation> operation_;
};

using SubscriptionJob = RequestJob<std::optional<CKSubscription>, std::optional<Error>>;

}  // namespace

std::shared_ptr<CloudJob> makeJob(const CloudJobParts& parts, const std::shared_ptr<CKDatabaseOperation>& operation) {
    Sorter sorter(parts, operation);
    operation->accept(sorter);
    return sorter.job;
}

std::shared_ptr<UploadJob> makeUploadJob(const CloudJobParts& parts,
                                         std::shared_ptr<CKModifyRecordsOperation> operation) {
    return std::make_shared<UploadJob>(parts.mainQueue, std::move(operation), parts.options, parts.quarantine,
                                       parts.report);
}

std::shared_ptr<CloudJob> makeFetchJob(const CloudJobParts& parts, const std::string& subscriptionID,
                                       CKDatabase::SubscriptionCompletion completion) {
    return std::make_shared<SubscriptionJob>(
        parts.mainQueue,
        [subscriptionID](CKDatabase& database, auto done) { database.fetch(subscriptionID, std::move(done)); },
        std::move(completion));
}

std::shared_ptr<CloudJob> makeSaveJob(const CloudJobParts& parts, const CKSubscription& subscription,
                                      CKDatabase::SubscriptionCompletion completion) {
    return std::make_shared<SubscriptionJob>(
        parts.mainQueue,
        [subscription](CKDatabase& database, auto done) { database.save(subscription, std::move(done)); },
        std::move(completion));
}

std::shared_ptr<CloudJob> makeListJob(const CloudJobParts& parts, CKDatabase::SubscriptionsCompletion completion) {
    using List = std::optional<std::vector<CKSubscription>>;
    return std::make_shared<RequestJob<List, std::optional<Error>>>(
        parts.mainQueue, [](CKDatabase& database, auto done) { database.fetchAllSubscriptions(std::move(done)); },
        [completion = std::move(completion)](const List& list, const std::optional<Error>& error) {
            if (!completion) {
                return;
            }
            const bool nothing = !list && !error;
            completion(list,
                       nothing ? makeCKError(CKErrorCode::internalError, "The cloud answered no list of subscriptions.")
                               : error);
        });
}

}  // namespace quendokit

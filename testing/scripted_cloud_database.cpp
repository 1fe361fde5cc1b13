#include "testing/scripted_cloud_database.hpp"

#include <algorithm>
#include <iterator>

namespace quendokit::testing {
namespace {

/// Says what an operation asks for.
class Description final : public CKDatabaseOperation::Visitor {
public:
    void visit(CKFetchRecordZonesOperation& operation) override {
        text = "fetch zones";
        for (const CKRecordZoneID& id : operation.recordZoneIDs) {
            text += " " + id.zoneName;
        }
    }
    void visit(CKModifyRecordZonesOperation& operation) override {
        text = "save zones";
        for (const CKRecordZone& zone : operation.recordZonesToSave.value_or(std::vector<CKRecordZone>())) {
            text += " " + zone.zoneID.zoneName;
        }
    }
    void visit(CKModifySubscriptionsOperation& operation) override {
        text = "delete subscriptions";
        for (const std::string& id : operation.subscriptionIDsToDelete.value_or(std::vector<std::string>())) {
            text += " " + id;
        }
    }
    void visit(CKModifyRecordsOperation& operation) override {
        text = "upload";
        for (const CKRecord& record : operation.recordsToSave.value_or(std::vector<CKRecord>())) {
            text += " " + record.recordID().recordName;
        }
        text += " delete";
        for (const CKRecordID& id : operation.recordIDsToDelete.value_or(std::vector<CKRecordID>())) {
            text += " " + id.recordName;
        }
    }
    void visit(CKFetchRecordChangesOperation& operation) override {
        text = "download from ";
        if (!operation.previousServerChangeToken) {
            text += "the beginning";
            return;
        }
        const auto& data = operation.previousServerChangeToken->data();
        std::transform(data.begin(), data.end(), std::back_inserter(text),
                       [](std::byte byte) { return static_cast<char>(byte); });
    }

    std::string text;
};

}  // namespace

void ScriptedCloudDatabase::add(std::shared_ptr<CKDatabaseOperation> operation) {
    Description description;
    operation->accept(description);
    tell(description.text);
    operations_.push_back(std::move(operation));
}

void ScriptedCloudDatabase::fetch(const std::string& subscriptionID, SubscriptionCompletion completion) {
    tell("fetch subscription " + subscriptionID);
    subscriptionFetches.push_back({subscriptionID, std::move(completion)});
}

void ScriptedCloudDatabase::save(const CKSubscription& subscription, SubscriptionCompletion completion) {
    tell("save subscription " + subscription.subscriptionID);
    subscriptionSaves.push_back({subscription, std::move(completion)});
}

void ScriptedCloudDatabase::fetchAllSubscriptions(SubscriptionsCompletion completion) {
    tell("fetch all subscriptions");
    subscriptionListings.push_back(std::move(completion));
}

void ScriptedCloudDatabase::tell(std::string line) {
    if (trace_) {
        trace_->add(std::move(line));
    }
}

}  // namespace quendokit::testing

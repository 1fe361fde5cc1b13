#include <algorithm>
#include <iterator>
#include <set>
#include <string>
#include <utility>

#include <nlohmann/json.hpp>

#include "adapters/cloudkit_web/answer_items_internal.hpp"
#include "adapters/cloudkit_web/item_failures_internal.hpp"
#include "adapters/cloudkit_web/record_exchange_internal.hpp"
#include "adapters/cloudkit_web/record_json_internal.hpp"
#include "adapters/cloudkit_web/zone_json_internal.hpp"

namespace quendokit::web {
namespace {

const char* saveType(const CKRecord& record, CKRecordSavePolicy policy) {
    switch (policy) {
        case CKRecordSavePolicy::ifServerRecordUnchanged:
            return record.recordChangeTag() ? "update" : "create";
        case CKRecordSavePolicy::changedKeys:
        case CKRecordSavePolicy::allKeys:
            // Creates what is missing, and leaves fields of other programs alone.
            return "forceUpdate";
    }
    return "forceUpdate";
}

Json recordOperation(const char* type, Json record) {
    Json json = Json::object();
    json["operationType"] = type;
    json["record"] = std::move(record);
    return json;
}

Json named(const CKRecordID& recordID) {
    Json json = Json::object();
    json["recordName"] = recordID.recordName;
    return json;
}

}  // namespace

Result<RecordChanges> changesOf(const CKModifyRecordsOperation& operation) {
    const auto& toSave = operation.recordsToSave;
    const auto& toDelete = operation.recordIDsToDelete;
    const std::size_t count = (toSave ? toSave->size() : 0) + (toDelete ? toDelete->size() : 0);
    if (count > mostOperations) {
        return makeCKError(CKErrorCode::limitExceeded, std::to_string(count) +
                                                           " records are more than one request takes; change at most " +
                                                           std::to_string(mostOperations) + " at once");
    }
    RecordChanges changes;
    changes.savePolicy = operation.savePolicy;
    // Servers refuse all of a request that names a record twice.
    std::set<CKRecordID> seen;
    if (toDelete) {
        std::copy_if(toDelete->begin(), toDelete->end(), std::back_inserter(changes.toDelete),
                     [&](const CKRecordID& each) { return seen.insert(each).second; });
    }
    if (toSave) {
        std::copy_if(toSave->rbegin(), toSave->rend(), std::back_inserter(changes.toSave),
                     [&](const CKRecord& each) { return seen.insert(each.recordID()).second; });
        std::reverse(changes.toSave.begin(), changes.toSave.end());
    }
    if (!seen.empty()) {
        changes.zoneID = seen.begin()->zoneID;
    }
    const auto other =
        std::find_if(seen.begin(), seen.end(), [&](const CKRecordID& each) { return each.zoneID != changes.zoneID; });
    if (other != seen.end()) {
        return makeCKError(CKErrorCode::invalidArguments, "records of zones " + asPartOfALine(changes.zoneID.zoneName) +
                                                              " and " + asPartOfALine(other->zoneID.zoneName) +
                                                              " cannot be changed at once; change one zone's");
    }
    return changes;
}

Result<Json> recordsToModify(const RecordChanges& changes) {
    Json operations = Json::array();
    for (const CKRecord& record : changes.toSave) {
        auto json = recordOf(record);
        if (!json) {
            return json.error();
        }
        const std::string type = saveType(record, changes.savePolicy);
        if (type == "update") {
            json.value()["recordChangeTag"] = *record.recordChangeTag();
        }
        operations.push_back(recordOperation(type.c_str(), std::move(json).value()));
    }
    for (const CKRecordID& recordID : changes.toDelete) {
        operations.push_back(recordOperation("forceDelete", named(recordID)));
    }
    Json json = Json::object();
    json["zoneID"] = zoneIDOf(changes.zoneID);
    json["atomic"] = true;
    json["operations"] = std::move(operations);
    return json;
}

ModifiedRecords modifiedRecords(const RecordChanges& asked, const Result<Json>& answer) {
    if (!answer) {
        return {std::nullopt, std::nullopt, answer.error()};
    }
    const Json* list = listMember(answer.value(), "records");
    if (list == nullptr) {
        return {std::nullopt, std::nullopt, oddAnswer("the answer has no list of records")};
    }
    ModifiedRecords modified{std::vector<CKRecord>(), std::vector<CKRecordID>(), std::nullopt};
    ItemFailures failures("record", asked.count());
    std::size_t index = 0;
    // The answer to the next record; null when it was not taken.
    const auto taken = [&](const std::string& name, bool mayBeMissing) -> const Json* {
        const Json* item = answerTo(name, index++, *list, ItemKind::record);
        auto failure = item == nullptr ? std::nullopt : serverFailureIn(*item);
        if (item == nullptr || !item->is_object()) {
            failures.addUnanswered(name);
            return nullptr;
        }
        if (!failure || (mayBeMissing && failure->code == "NOT_FOUND")) {
            return item;
        }
        failures.add(name, *std::move(failure));
        return nullptr;
    };
    for (const CKRecord& record : asked.toSave) {
        if (const Json* item = taken(record.recordID().recordName, false)) {
            CKRecord saved = record;
            if (const std::string* tag = textMember(*item, "recordChangeTag")) {
                saved.setRecordChangeTag(*tag);
            }
            modified.saved->push_back(std::move(saved));
        }
    }
    for (const CKRecordID& recordID : asked.toDelete) {
        if (taken(recordID.recordName, true) != nullptr) {
            modified.deleted->push_back(recordID);
        }
    }
    modified.error = failures.error(false);
    return modified;
}

}  // namespace quendokit::web

#include <cstddef>
#include <optional>
#include <string>
#include <utility>
#include <variant>
#include <vector>

#include <nlohmann/json.hpp>

#include "adapters/cloudkit_web/operation_starter_internal.hpp"
#include "adapters/cloudkit_web/record_exchange_internal.hpp"
#include "adapters/cloudkit_web/subscription_exchange_internal.hpp"
#include "adapters/cloudkit_web/web_error_internal.hpp"
#include "adapters/cloudkit_web/zone_exchange_internal.hpp"
#include "quendokit/platform/ck_error.hpp"

namespace quendokit::web {
namespace {

constexpr const char* lookUpZones = "zones/lookup";
constexpr const char* modifyZones = "zones/modify";
constexpr const char* modifySubscriptions = "subscriptions/modify";
constexpr const char* modifyRecords = "records/modify";
constexpr const char* readChanges = "changes/zone";
constexpr const char* readChangesOfOneZone = "records/changes";

template <typename Completion, typename... Arguments>
void call(const Completion& completion, Arguments&&... arguments) {
    if (completion) {
        completion(std::forward<Arguments>(arguments)...);
    }
}

/// Why so many items do not fit into one request; absent when they do.
std::optional<Error> excess(std::size_t count) {
    if (count <= mostOperations) {
        return std::nullopt;
    }
    return makeCKError(CKErrorCode::limitExceeded, std::to_string(count) +
                                                       " items are more than one request takes; ask for at most " +
                                                       std::to_string(mostOperations) + " at once");
}

void tell(const CKFetchRecordChangesOperation& operation, const ChangesPage& page) {
    for (const auto& change : page.changes) {
        if (const auto* record = std::get_if<CKRecord>(&change)) {
            call(operation.recordChanged, *record);
        } else {
            call(operation.recordWithIDWasDeleted, std::get<CKRecordID>(change));
        }
    }
}

template <typename Value>
std::vector<Value> listOf(const std::optional<std::vector<Value>>& list) {
    return list.value_or(std::vector<Value>());
}

}  // namespace

OperationStarter::OperationStarter(std::shared_ptr<const CloudExchange> exchange,
                                   std::shared_ptr<CKDatabaseOperation> operation, std::function<void()> didFinish)
    : exchange_(std::move(exchange)), operation_(std::move(operation)), didFinish_(std::move(didFinish)) {}

void OperationStarter::ask(const char* name, const Json& question, CloudExchange::Completion deliver) {
    exchange_->ask(name, question, finishing(std::move(deliver)));
}

CloudExchange::Completion OperationStarter::finishing(CloudExchange::Completion deliver) const {
    return [keep = operation_, deliver = std::move(deliver), didFinish = didFinish_](const Result<Json>& answer) {
        deliver(answer);
        keep->finish();
        didFinish();
    };
}

void OperationStarter::answerHere(const std::function<void()>& deliver) {
    deliver();
    operation_->finish();
    didFinish_();
}

void OperationStarter::visit(CKFetchRecordZonesOperation& operation) {
    const auto deliver = [exchange = exchange_, &operation](const Result<Json>& answer) {
        const FoundZones found = foundZones(operation.recordZoneIDs, answer);
        call(operation.fetchRecordZonesCompletion, found.zones, exchange->explained(lookUpZones, found.error));
    };
    if (const auto error = excess(operation.recordZoneIDs.size())) {
        answerHere([&] { deliver(*error); });
    } else {
        ask(lookUpZones, zonesToLookUp(operation.recordZoneIDs), deliver);
    }
}

void OperationStarter::visit(CKModifyRecordZonesOperation& operation) {
    auto toSave = listOf(operation.recordZonesToSave);
    auto toDelete = listOf(operation.recordZoneIDsToDelete);
    const Json question = zonesToModify(toSave, toDelete);
    const auto error = excess(toSave.size() + toDelete.size());
    const auto deliver = [exchange = exchange_, &operation, toSave = std::move(toSave),
                          toDelete = std::move(toDelete)](const Result<Json>& answer) {
        const ModifiedZones modified = modifiedZones(toSave, toDelete, answer);
        call(operation.modifyRecordZonesCompletion, modified.saved, modified.deleted,
             exchange->explained(modifyZones, modified.error));
    };
    if (error) {
        answerHere([&] { deliver(*error); });
    } else {
        ask(modifyZones, question, deliver);
    }
}

void OperationStarter::visit(CKModifySubscriptionsOperation& operation) {
    auto toSave = listOf(operation.subscriptionsToSave);
    auto toDelete = listOf(operation.subscriptionIDsToDelete);
    const Json question = subscriptionsToModify(toSave, toDelete);
    const auto error = excess(toSave.size() + toDelete.size());
    const auto deliver = [exchange = exchange_, &operation, toSave = std::move(toSave),
                          toDelete = std::move(toDelete)](const Result<Json>& answer) {
        const ModifiedSubscriptions modified = modifiedSubscriptions(toSave, toDelete, answer);
        call(operation.modifySubscriptionsCompletion, modified.saved, modified.deleted,
             exchange->explained(modifySubscriptions, modified.error));
    };
    if (error) {
        answerHere([&] { deliver(*error); });
    } else {
        ask(modifySubscriptions, question, deliver);
    }
}

void OperationStarter::visit(CKModifyRecordsOperation& operation) {
    const auto complete = [exchange = exchange_, &operation](const ModifiedRecords& modified) {
        call(operation.modifyRecordsCompletion, modified.saved, modified.deleted,
             exchange->explained(modifyRecords, modified.error));
    };
    const auto changes = changesOf(operation);
    if (!changes) {
        answerHere([&] { complete({std::nullopt, std::nullopt, changes.error()}); });
        return;
    }
    if (changes.value().count() == 0) {
        answerHere([&] { complete({std::vector<CKRecord>(), std::vector<CKRecordID>(), std::nullopt}); });
        return;
    }
    const auto question = recordsToModify(changes.value());
    if (!question) {
        answerHere([&] { complete({std::nullopt, std::nullopt, question.error()}); });
        return;
    }
    ask(modifyRecords, question.value(), [complete, changes = changes.value()](const Result<Json>& answer) {
        complete(modifiedRecords(changes, answer));
    });
}

void OperationStarter::visit(CKFetchRecordChangesOperation& operation) {
    const auto fail = [exchange = exchange_, &operation](const Error& error) {
        operation.moreComing = false;
        call(operation.fetchRecordChangesCompletion, std::nullopt, std::nullopt,
             exchange->explained(readChanges, error));
    };
    const auto question = changesToRead(operation.recordZoneID, operation.previousServerChangeToken);
    if (!question) {
        answerHere([&] { fail(question.error()); });
        return;
    }
    const auto deliver = finishing([exchange = exchange_, fail, &operation](const Result<Json>& answer) {
        const auto page = changesPage(operation.recordZoneID, operation.previousServerChangeToken, answer);
        if (!page) {
            fail(page.error());
            return;
        }
        exchange->didSkip(readChanges, page.value().skipped);
        tell(operation, page.value());
        operation.moreComing = page.value().moreComing;
        call(operation.fetchRecordChangesCompletion, page.value().token, std::nullopt, std::nullopt);
    });
    // A service may have the older feed alone, or be without the newer one for a moment. Tokens serve both.
    exchange_->ask(
        readChanges, question.value(),
        [exchange = exchange_, older = changesOfOneZoneToRead(question.value()), deliver](const Result<Json>& answer) {
            if (answer || !isWithoutHandler(answer.error())) {
                deliver(answer);
                return;
            }
            exchange->ask(readChangesOfOneZone, older, [deliver](const Result<Json>& olderAnswer) {
                deliver(olderAnswer ? Result<Json>(asOneOfManyZones(olderAnswer.value())) : olderAnswer);
            });
        });
}

}  // namespace quendokit::web

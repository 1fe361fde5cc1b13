#include <cstddef>
#include <utility>

#include <nlohmann/json.hpp>

#include "adapters/cloudkit_web/answer_items_internal.hpp"
#include "adapters/cloudkit_web/item_failures_internal.hpp"
#include "adapters/cloudkit_web/subscription_exchange_internal.hpp"
#include "adapters/cloudkit_web/zone_json_internal.hpp"

namespace quendokit::web {
namespace {

Json named(const std::string& subscriptionID) {
    Json json = Json::object();
    json["subscriptionID"] = subscriptionID;
    return json;
}

Json subscriptionOperation(const char* type, Json subscription) {
    Json json = Json::object();
    json["operationType"] = type;
    json["subscription"] = std::move(subscription);
    return json;
}

/// The list of subscriptions in an answer. An answer without one says nothing: it does not say that there are none.
Result<const Json*> listIn(const Result<Json>& answer) {
    if (!answer) {
        return answer.error();
    }
    const Json* list = listMember(answer.value(), "subscriptions");
    if (list == nullptr) {
        return oddAnswer("the answer has no list of subscriptions");
    }
    return list;
}

}  // namespace

Json subscriptionToLookUp(const std::string& subscriptionID) {
    Json json = Json::object();
    json["subscriptions"] = Json::array();
    json["subscriptions"].push_back(named(subscriptionID));
    return json;
}

Result<CKSubscription> foundSubscription(const std::string& asked, const Result<Json>& answer) {
    const auto list = listIn(answer);
    if (!list) {
        return list.error();
    }
    ItemFailures failures("subscription", 1);
    const Json* item = answerTo(asked, 0, *list.value(), ItemKind::subscription);
    auto failure = item == nullptr ? std::nullopt : serverFailureIn(*item);
    auto subscription = item == nullptr ? std::nullopt : makeSubscription(*item);
    if (failure) {
        failures.add(asked, *std::move(failure));
    } else if (subscription) {
        return *std::move(subscription);
    } else {
        failures.addUnanswered(asked);
    }
    return *failures.error(true);
}

Result<std::vector<CKSubscription>> listedSubscriptions(const Result<Json>& answer) {
    const auto list = listIn(answer);
    if (!list) {
        return list.error();
    }
    std::vector<CKSubscription> subscriptions;
    for (const Json& item : *list.value()) {
        auto subscription = serverFailureIn(item) ? std::nullopt : makeSubscription(item);
        if (subscription) {
            subscriptions.push_back(*std::move(subscription));
        }
    }
    return subscriptions;
}

Json subscriptionsToModify(const std::vector<CKSubscription>& toSave, const std::vector<std::string>& toDelete) {
    Json operations = Json::array();
    for (const CKSubscription& subscription : toSave) {
        operations.push_back(subscriptionOperation("create", subscriptionOf(subscription)));
    }
    for (const std::string& subscriptionID : toDelete) {
        operations.push_back(subscriptionOperation("delete", named(subscriptionID)));
    }
    Json json = Json::object();
    json["operations"] = std::move(operations);
    return json;
}

ModifiedSubscriptions modifiedSubscriptions(const std::vector<CKSubscription>& toSave,
                                            const std::vector<std::string>& toDelete, const Result<Json>& answer) {
    const auto list = listIn(answer);
    if (!list) {
        return {std::nullopt, std::nullopt, list.error()};
    }
    ModifiedSubscriptions modified{std::vector<CKSubscription>(), std::vector<std::string>(), std::nullopt};
    ItemFailures failures("subscription", toSave.size() + toDelete.size());
    std::size_t index = 0;
    for (const CKSubscription& wanted : toSave) {
        const Json* item = answerTo(wanted.subscriptionID, index++, *list.value(), ItemKind::subscription);
        auto failure = item == nullptr ? std::nullopt : serverFailureIn(*item);
        auto saved = item == nullptr ? std::nullopt : makeSubscription(*item);
        if (failure) {
            failures.add(wanted.subscriptionID, *std::move(failure));
        } else if (saved) {
            modified.saved->push_back(*std::move(saved));
        } else {
            failures.addUnanswered(wanted.subscriptionID);
        }
    }
    for (const std::string& subscriptionID : toDelete) {
        const Json* item = answerTo(subscriptionID, index++, *list.value(), ItemKind::subscription);
        auto failure = item == nullptr ? std::nullopt : serverFailureIn(*item);
        if (item == nullptr || !item->is_object()) {
            failures.addUnanswered(subscriptionID);
        } else if (failure && failure->code != "NOT_FOUND") {
            failures.add(subscriptionID, *std::move(failure));
        } else {
            modified.deleted->push_back(subscriptionID);
        }
    }
    modified.error = failures.error(true);
    return modified;
}

}  // namespace quendokit::web

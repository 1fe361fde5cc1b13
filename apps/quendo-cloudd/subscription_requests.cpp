#include <algorithm>
#include <utility>

#include "apps/quendo-cloudd/call.hpp"
#include "apps/quendo-cloudd/json_reading.hpp"
#include "apps/quendo-cloudd/zone_id.hpp"

namespace cloudd {
namespace {

using nlohmann::json;

constexpr std::size_t mostSubscriptionBytes = 16'384;

json subscriptionErrorJson(const std::string& id, const WireError& error) {
    json result = toJson(error);
    result["subscriptionID"] = id;
    return result;
}

struct SubscriptionOperation {
    std::string type;
    StoredSubscription subscription;
    bool namesForeignZone = false;
};

std::optional<WireError> checkQuery(const json& subscription) {
    const auto query = subscription.find("query");
    const auto firesOn = subscription.find("firesOn");
    if (query == subscription.end() || !query->is_object() || !query->contains("recordType") ||
        !query->at("recordType").is_string()) {
        return badRequest("a query subscription has no query with a recordType");
    }
    if (query->contains("filterBy") && !query->at("filterBy").empty()) {
        return badRequest("queries with filters are not supported; leave filterBy out");
    }
    const auto isEvent = [](const json& event) { return event == "create" || event == "update" || event == "delete"; };
    if (firesOn == subscription.end() || !firesOn->is_array() || firesOn->empty() ||
        !std::all_of(firesOn->begin(), firesOn->end(), isEvent)) {
        return badRequest("firesOn of a query subscription names none of create, update and delete, or others");
    }
    return std::nullopt;
}

/// Reads what a subscription to save says into `operation`.
std::optional<WireError> readContent(const json& subscription, const std::string& user,
                                     SubscriptionOperation& operation) {
    const json type = subscription.value("subscriptionType", json());
    if (type != "zone" && type != "query") {
        return badRequest("subscriptionType is neither zone nor query");
    }
    auto zone = memberZoneID(subscription, user);
    if (!zone) {
        return zone.error();
    }
    auto zoneWide = optionalFlag(subscription, "zoneWide");
    if (!zoneWide) {
        return zoneWide.error();
    }
    const auto notification = subscription.find("notificationInfo");
    if (notification != subscription.end() && !notification->is_object()) {
        return badRequest("notificationInfo is no object");
    }
    json stored = subscription;
    stored["subscriptionID"] = operation.subscription.id;
    if (zone.value()) {
        operation.namesForeignZone = !zone.value()->isMine;
        operation.subscription.zone = zone.value()->name;
        stored["zoneID"] = zoneIDJson(zone.value()->name, user);
    }
    if (type == "query") {
        if (auto refused = checkQuery(subscription)) {
            return refused;
        }
    } else if (!zone.value() && !zoneWide.value().value_or(false)) {
        return badRequest("a zone subscription has neither zoneID nor zoneWide");
    }
    operation.subscription.content = stored.dump();
    if (operation.subscription.content.size() > mostSubscriptionBytes) {
        return badRequest("a subscription is larger than 16 KB");
    }
    return std::nullopt;
}

Reply<SubscriptionOperation> readOperation(const json& entry, const std::string& user) {
    auto type = optionalText(entry, "operationType");
    if (!type || (type.value() != "create" && type.value() != "update" && type.value() != "delete")) {
        return badRequest("operationType of a subscription is neither create, update nor delete");
    }
    const auto subscription = entry.find("subscription");
    if (subscription == entry.end() || !subscription->is_object()) {
        return badRequest("an operation has no subscription");
    }
    auto id = optionalText(*subscription, "subscriptionID");
    if (!id || !id.value() || id.value()->empty() || id.value()->size() > 255) {
        return badRequest("subscriptionID is missing, empty or too long");
    }
    SubscriptionOperation operation{*type.value(), {*id.value(), {}, {}}};
    if (operation.type != "delete") {
        if (auto refused = readContent(*subscription, user, operation)) {
            return *std::move(refused);
        }
    }
    return operation;
}

/// Of queries, which are told apart by what they ask for.
bool asksForTheSame(const json& left, const json& right) {
    const auto events = [](const json& subscription) {
        auto list = subscription.value("firesOn", std::vector<std::string>());
        std::sort(list.begin(), list.end());
        return list;
    };
    return left.value("subscriptionType", "") == "query" && right.value("subscriptionType", "") == "query" &&
           left.at("query").at("recordType") == right.at("query").at("recordType") && events(left) == events(right);
}

Reply<json> save(Call& call, const ScopeRow& scope, const SubscriptionOperation& operation) {
    const StoredSubscription& wanted = operation.subscription;
    auto present = call.store.subscriptions(scope);
    if (!present) {
        return present.error();
    }
    const auto same = std::find_if(present.value().begin(), present.value().end(),
                                   [&](const StoredSubscription& each) { return each.id == wanted.id; });
    if (same != present.value().end() && operation.type == "create") {
        return json::parse(same->content);
    }
    if (same == present.value().end() && operation.type == "update") {
        return subscriptionErrorJson(wanted.id, {ErrorCode::notFound, "subscription not found"});
    }
    if (same == present.value().end() && present.value().size() >= mostSubscriptions) {
        return subscriptionErrorJson(wanted.id,
                                     {ErrorCode::quotaExceeded, "there are too many subscriptions; delete some"});
    }
    if (!wanted.zone.empty() && wanted.zone != defaultZoneName) {
        auto zone = call.store.zone(scope, wanted.zone);
        if (!zone) {
            return zone.error();
        }
        if (operation.namesForeignZone || !zone.value()) {
            return subscriptionErrorJson(wanted.id, zoneNotFound());
        }
    }
    json content = json::parse(wanted.content);
    for (const StoredSubscription& each : present.value()) {
        if (each.id != wanted.id && asksForTheSame(json::parse(each.content), content)) {
            return subscriptionErrorJson(wanted.id,
                                         {ErrorCode::internalError, "could not find subscription we just created"});
        }
    }
    if (auto failure = call.store.putSubscription(scope, wanted)) {
        return *failure;
    }
    return content;
}

Reply<json> remove(Call& call, const ScopeRow& scope, const std::string& id) {
    auto removed = call.store.deleteSubscription(scope, id);
    if (!removed) {
        return removed.error();
    }
    return removed.value() ? json{{"subscriptionID", id}, {"deleted", true}}
                           : subscriptionErrorJson(id, {ErrorCode::notFound, "subscription not found"});
}

Reply<std::vector<StoredSubscription>> stored(Call& call) {
    auto scope = call.store.scope(call.scope);
    if (!scope) {
        return scope.error();
    }
    auto all = call.store.subscriptions(scope.value());
    if (!all) {
        return all.error();
    }
    return std::move(all).value();
}

}  // namespace

Reply<json> listSubscriptions(Call& call) {
    auto all = stored(call);
    if (!all) {
        return all.error();
    }
    json list = json::array();
    for (const StoredSubscription& subscription : all.value()) {
        list.push_back(json::parse(subscription.content));
    }
    return json{{"subscriptions", std::move(list)}};
}

Reply<json> lookUpSubscriptions(Call& call) {
    auto wanted = objects(call.body, "subscriptions", mostOperations);
    if (!wanted) {
        return wanted.error();
    }
    auto all = stored(call);
    if (!all) {
        return all.error();
    }
    json list = json::array();
    for (const json& entry : *wanted.value()) {
        auto id = optionalText(entry, "subscriptionID");
        if (!id || !id.value()) {
            return badRequest("a subscription to look up has no subscriptionID");
        }
        const auto found = std::find_if(all.value().begin(), all.value().end(),
                                        [&](const StoredSubscription& each) { return each.id == *id.value(); });
        list.push_back(found == all.value().end()
                           ? subscriptionErrorJson(*id.value(), {ErrorCode::notFound, "subscription not found"})
                           : json::parse(found->content));
    }
    return json{{"subscriptions", std::move(list)}};
}

Reply<json> modifySubscriptions(Call& call) {
    auto entries = objects(call.body, "operations", mostOperations);
    if (!entries) {
        return entries.error();
    }
    std::vector<SubscriptionOperation> operations;
    for (const json& entry : *entries.value()) {
        auto operation = readOperation(entry, call.user);
        if (!operation) {
            return operation.error();
        }
        operations.push_back(std::move(operation).value());
    }
    return changeStore(call, [&](ScopeRow& scope) -> Reply<StoreChange> {
        json list = json::array();
        for (const SubscriptionOperation& operation : operations) {
            auto item = operation.type == "delete" ? remove(call, scope, operation.subscription.id)
                                                   : save(call, scope, operation);
            if (!item) {
                return item.error();
            }
            list.push_back(std::move(item).value());
        }
        return StoreChange{json{{"subscriptions", std::move(list)}}};
    });
}

}  // namespace cloudd

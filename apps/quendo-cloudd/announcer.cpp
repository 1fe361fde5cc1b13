#include "apps/quendo-cloudd/announcer.hpp"

#include <algorithm>

#include "apps/quendo-cloudd/secrets.hpp"

namespace cloudd {
namespace {

using nlohmann::json;

constexpr int privateDatabase = 2;

const char* nameOf(RecordEvent event) {
    switch (event) {
        case RecordEvent::created:
            return "create";
        case RecordEvent::updated:
            return "update";
        case RecordEvent::deleted:
            return "delete";
    }
    return "";
}

json presentation(const json& subscription) {
    const json info = subscription.value("notificationInfo", json::object());
    json aps = json::object();
    if (const json silent = info.value("shouldSendContentAvailable", json(false)); silent == true || silent == 1) {
        aps["content-available"] = 1;
    }
    if (info.contains("alertBody")) {
        aps["alert"] = info["alertBody"];
    }
    return aps;
}

/// The part of a notification that names its reason; null when the subscription is not about that change.
json reason(const StoredSubscription& stored, const json& subscription, const Announcement& change,
            const std::string& user) {
    const bool isDatabaseWide = stored.zone.empty();
    if (!isDatabaseWide && stored.zone != change.zone) {
        return nullptr;
    }
    json detail{{"sid", stored.id}, {"dbs", privateDatabase}};
    if (subscription.value("subscriptionType", "") != "query") {
        if (isDatabaseWide) {
            return {{"met", detail}};
        }
        detail["zid"] = change.zone;
        detail["zoid"] = user;
        return {{"fet", detail}};
    }
    const json& events = subscription.at("firesOn");
    const auto matching = std::find_if(change.records.begin(), change.records.end(), [&](const ChangedRecord& record) {
        return subscription.at("query").at("recordType") == record.type &&
               std::find(events.begin(), events.end(), nameOf(record.event)) != events.end();
    });
    if (matching == change.records.end()) {
        return nullptr;
    }
    detail["zid"] = change.zone;
    detail["zoid"] = user;
    detail["rid"] = matching->name;
    detail["fo"] = static_cast<int>(matching->event);
    return {{"qry", detail}};
}

}  // namespace

std::optional<Error> announce(Call& call, CourierTokens& tokens, Courier& courier) {
    if (call.announcements.empty()) {
        return std::nullopt;
    }
    auto scope = call.store.scope(call.scope);
    if (!scope) {
        return scope.error();
    }
    auto subscriptions = call.store.subscriptions(scope.value());
    if (!subscriptions) {
        return subscriptions.error();
    }
    auto listeners = tokens.listeners(call.device.user, call.scope, call.nowMilliseconds / 1000);
    if (!listeners) {
        return listeners.error();
    }
    for (const Announcement& change : call.announcements) {
        const std::string id = randomUuid();
        for (const StoredSubscription& stored : subscriptions.value()) {
            const json subscription = json::parse(stored.content);
            const json why = reason(stored, subscription, change, call.user);
            if (why.is_null()) {
                continue;
            }
            json notification{{"aps", presentation(subscription)},
                              {"ck", {{"ce", 2}, {"cid", call.scope.container}, {"ckuserid", call.user}, {"nid", id}}}};
            notification["ck"].update(why);
            const std::string text = notification.dump();
            for (const Listener& listener : listeners.value()) {
                const bool isOwn =
                    call.client.empty() ? listener.device == call.device.id : listener.client == call.client;
                if (!isOwn) {
                    courier.add(listener.id, stored.id, text);
                }
            }
        }
    }
    return std::nullopt;
}

}  // namespace cloudd

#include <string>
#include <utility>

#include <nlohmann/json.hpp>

#include "adapters/cloudkit_web/zone_json_internal.hpp"

namespace quendokit::web {
namespace {

Json notificationOf(const CKNotificationInfo& info) {
    Json json = Json::object();
    json["shouldSendContentAvailable"] = info.shouldSendContentAvailable;
    // Any other key makes a silent push a loud one.
    if (!info.soundName.empty()) {
        json["soundName"] = info.soundName;
    }
    return json;
}

std::optional<CKNotificationInfo> makeNotificationInfo(const Json& json) {
    const Json* info = member(json, "notificationInfo");
    if (info == nullptr || !info->is_object()) {
        return std::nullopt;
    }
    const std::string* sound = textMember(*info, "soundName");
    return CKNotificationInfo{flagMember(*info, "shouldSendContentAvailable").value_or(false),
                              sound == nullptr ? "" : *sound};
}

}  // namespace

Json zoneIDOf(const CKRecordZoneID& zoneID) {
    Json json = Json::object();
    json["zoneName"] = zoneID.zoneName;
    if (zoneID.ownerName != CKOwnerDefaultName) {
        json["ownerRecordName"] = zoneID.ownerName;
    }
    return json;
}

std::optional<CKRecordZoneID> makeZoneID(const Json& json) {
    const std::string* name = textMember(json, "zoneName");
    return name == nullptr || name->empty() ? std::nullopt : std::optional(CKRecordZoneID{*name});
}

Json subscriptionOf(const CKSubscription& subscription) {
    Json json = Json::object();
    json["subscriptionType"] = "zone";
    json["subscriptionID"] = subscription.subscriptionID;
    json["zoneID"] = zoneIDOf(subscription.zoneID);
    if (subscription.notificationInfo) {
        json["notificationInfo"] = notificationOf(*subscription.notificationInfo);
    }
    return json;
}

std::optional<CKSubscription> makeSubscription(const Json& json) {
    const std::string* name = textMember(json, "subscriptionID");
    if (name == nullptr || name->empty()) {
        return std::nullopt;
    }
    const Json* zone = member(json, "zoneID");
    auto zoneID = zone == nullptr ? std::nullopt : makeZoneID(*zone);
    return CKSubscription{zoneID ? *std::move(zoneID) : CKRecordZoneID{}, *name, 0, makeNotificationInfo(json)};
}

}  // namespace quendokit::web

#include <cstddef>
#include <utility>

#include <nlohmann/json.hpp>

#include "adapters/cloudkit_web/answer_items_internal.hpp"
#include "adapters/cloudkit_web/item_failures_internal.hpp"
#include "adapters/cloudkit_web/zone_exchange_internal.hpp"
#include "adapters/cloudkit_web/zone_json_internal.hpp"

namespace quendokit::web {
namespace {

Json zoneOperation(const char* type, const CKRecordZoneID& zoneID) {
    Json zone = Json::object();
    zone["zoneID"] = zoneIDOf(zoneID);
    Json json = Json::object();
    json["operationType"] = type;
    json["zone"] = std::move(zone);
    return json;
}

}  // namespace

Json zonesToLookUp(const std::vector<CKRecordZoneID>& zoneIDs) {
    Json zones = Json::array();
    for (const CKRecordZoneID& zoneID : zoneIDs) {
        zones.push_back(zoneIDOf(zoneID));
    }
    Json json = Json::object();
    json["zones"] = std::move(zones);
    return json;
}

FoundZones foundZones(const std::vector<CKRecordZoneID>& asked, const Result<Json>& answer) {
    if (!answer) {
        // Some services refuse the whole look-up where others say it of the zone.
        return isCKError(answer.error(), CKErrorCode::zoneNotFound)
                   ? FoundZones{CKFetchRecordZonesOperation::Zones(), std::nullopt}
                   : FoundZones{std::nullopt, answer.error()};
    }
    const Json* list = listMember(answer.value(), "zones");
    if (list == nullptr) {
        return {std::nullopt, oddAnswer("the answer has no list of zones")};
    }
    CKFetchRecordZonesOperation::Zones zones;
    ItemFailures failures("zone", asked.size());
    for (std::size_t i = 0; i < asked.size(); ++i) {
        const std::string& name = asked[i].zoneName;
        const Json* item = answerTo(name, i, *list, ItemKind::zone);
        if (item == nullptr) {
            failures.addUnanswered(name);
        } else if (auto failure = serverFailureIn(*item)) {
            if (failure->code != "ZONE_NOT_FOUND") {
                failures.add(name, *std::move(failure));
            }
        } else if (nameIn(*item, ItemKind::zone) == name) {
            zones.emplace(asked[i], CKRecordZone{asked[i]});
        } else {
            failures.addUnanswered(name);
        }
    }
    return {std::move(zones), failures.error(true)};
}

Json zonesToModify(const std::vector<CKRecordZone>& toSave, const std::vector<CKRecordZoneID>& toDelete) {
    Json operations = Json::array();
    for (const CKRecordZone& zone : toSave) {
        operations.push_back(zoneOperation("create", zone.zoneID));
    }
    for (const CKRecordZoneID& zoneID : toDelete) {
        operations.push_back(zoneOperation("delete", zoneID));
    }
    Json json = Json::object();
    json["operations"] = std::move(operations);
    return json;
}

ModifiedZones modifiedZones(const std::vector<CKRecordZone>& toSave, const std::vector<CKRecordZoneID>& toDelete,
                            const Result<Json>& answer) {
    if (!answer) {
        return {std::nullopt, std::nullopt, answer.error()};
    }
    const Json* list = listMember(answer.value(), "zones");
    if (list == nullptr) {
        return {std::nullopt, std::nullopt, oddAnswer("the answer has no list of zones")};
    }
    ItemFailures failures("zone", toSave.size() + toDelete.size());
    std::size_t index = 0;
    // Whether the operation on that zone has come to what it was for.
    const auto isDone = [&](const std::string& name, const char* doneBefore) {
        const Json* item = answerTo(name, index++, *list, ItemKind::zone);
        auto failure = item == nullptr ? std::nullopt : serverFailureIn(*item);
        if (item == nullptr || !item->is_object()) {
            failures.addUnanswered(name);
            return false;
        }
        if (!failure || failure->code == doneBefore) {
            return true;
        }
        failures.add(name, *std::move(failure));
        return false;
    };
    ModifiedZones modified{std::vector<CKRecordZone>(), std::vector<CKRecordZoneID>(), std::nullopt};
    for (const CKRecordZone& zone : toSave) {
        if (isDone(zone.zoneID.zoneName, "EXISTS")) {
            modified.saved->push_back(zone);
        }
    }
    for (const CKRecordZoneID& zoneID : toDelete) {
        if (isDone(zoneID.zoneName, "ZONE_NOT_FOUND")) {
            modified.deleted->push_back(zoneID);
        }
    }
    modified.error = failures.error(true);
    return modified;
}

}  // namespace quendokit::web

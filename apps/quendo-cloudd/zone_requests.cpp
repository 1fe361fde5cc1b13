#include <set>
#include <utility>

#include "apps/quendo-cloudd/call.hpp"
#include "apps/quendo-cloudd/json_reading.hpp"
#include "apps/quendo-cloudd/sync_token.hpp"
#include "apps/quendo-cloudd/zone_id.hpp"

namespace cloudd {
namespace {

using nlohmann::json;

json zoneJson(const Zone& zone, const std::string& user) {
    return {{"zoneID", zoneIDJson(zone.name, user)},
            {"syncToken", makeSyncToken(FeedKind::zone, zone.identity, zone.sequence)},
            {"atomic", true}};
}

json defaultZoneJson(const std::string& user) {
    return {{"zoneID", zoneIDJson(defaultZoneName, user)}, {"atomic", false}};
}

struct ZoneOperation {
    bool isCreation = false;
    ZoneReference zone;
    /// As the client wrote it.
    json zoneID;
};

Reply<ZoneOperation> readZoneOperation(const json& operation, const std::string& user) {
    auto type = optionalText(operation, "operationType");
    if (!type) {
        return type.error();
    }
    if (type.value() != "create" && type.value() != "delete") {
        return badRequest("operationType of a zone is neither create nor delete");
    }
    const auto zone = operation.find("zone");
    if (zone == operation.end() || !zone->is_object() || !zone->contains("zoneID")) {
        return badRequest("an operation has no zone with a zoneID");
    }
    auto reference = readZoneID(zone->at("zoneID"), user);
    if (!reference) {
        return reference.error();
    }
    return ZoneOperation{type.value() == "create", std::move(reference).value(), zone->at("zoneID")};
}

Reply<std::vector<ZoneOperation>> readZoneOperations(const Call& call) {
    auto list = objects(call.body, "operations", mostOperations);
    if (!list) {
        return list.error();
    }
    std::vector<ZoneOperation> operations;
    std::set<std::string> names;
    for (const json& entry : *list.value()) {
        auto operation = readZoneOperation(entry, call.user);
        if (!operation) {
            return operation.error();
        }
        if (!names.insert(operation.value().zone.name).second) {
            return badRequest("a zone comes twice in one request");
        }
        operations.push_back(std::move(operation).value());
    }
    return operations;
}

/// Answers the item; whether anything changed goes to `call.announcements`.
Reply<json> createZone(Call& call, ScopeRow& scope, const ZoneOperation& operation) {
    if (!operation.zone.isMine) {
        return zoneErrorJson(operation.zoneID, {ErrorCode::accessDenied, "zones of other users cannot be made"});
    }
    if (operation.zone.isDefault()) {
        return defaultZoneJson(call.user);
    }
    auto present = call.store.zone(scope, operation.zone.name);
    if (!present) {
        return present.error();
    }
    if (present.value()) {
        return zoneJson(*present.value(), call.user);
    }
    auto all = call.store.zones(scope);
    if (!all) {
        return all.error();
    }
    if (all.value().size() >= mostZones) {
        return zoneErrorJson(operation.zoneID, {ErrorCode::quotaExceeded, "there are too many zones; delete some"});
    }
    auto made = call.store.createZone(scope, operation.zone.name);
    if (!made) {
        return made.error();
    }
    call.announcements.push_back({operation.zone.name});
    return zoneJson(made.value(), call.user);
}

Reply<json> deleteZone(Call& call, ScopeRow& scope, const ZoneOperation& operation) {
    if (operation.zone.isDefault()) {
        return zoneErrorJson(operation.zoneID, badRequest("the default zone cannot be deleted"));
    }
    auto present = operation.zone.isMine ? call.store.zone(scope, operation.zone.name)
                                         : Result<std::optional<Zone>>(std::optional<Zone>());
    if (!present) {
        return present.error();
    }
    if (!present.value()) {
        return zoneErrorJson(operation.zoneID, zoneNotFound());
    }
    if (auto failure = call.store.deleteZone(scope, *present.value())) {
        return *failure;
    }
    call.announcements.push_back({operation.zone.name});
    return json{{"zoneID", zoneIDJson(operation.zone.name, call.user)}, {"deleted", true}};
}

}  // namespace

Reply<json> listZones(Call& call) {
    auto scope = call.store.scope(call.scope);
    if (!scope) {
        return scope.error();
    }
    auto zones = call.store.zones(scope.value());
    if (!zones) {
        return zones.error();
    }
    json list = json::array({defaultZoneJson(call.user)});
    for (const Zone& zone : zones.value()) {
        if (zone.name != defaultZoneName) {
            list.push_back(zoneJson(zone, call.user));
        }
    }
    return json{{"zones", std::move(list)}};
}

Reply<json> lookUpZones(Call& call) {
    auto wanted = objects(call.body, "zones", mostOperations);
    if (!wanted) {
        return wanted.error();
    }
    auto scope = call.store.scope(call.scope);
    if (!scope) {
        return scope.error();
    }
    json list = json::array();
    for (const json& entry : *wanted.value()) {
        const json& zoneID = entry.contains("zoneID") ? entry.at("zoneID") : entry;
        auto reference = readZoneID(zoneID, call.user);
        if (!reference) {
            return reference.error();
        }
        if (reference.value().isMine && reference.value().isDefault()) {
            list.push_back(defaultZoneJson(call.user));
            continue;
        }
        auto zone = call.store.zone(scope.value(), reference.value().name);
        if (!zone) {
            return zone.error();
        }
        const bool found = reference.value().isMine && zone.value();
        list.push_back(found ? zoneJson(*zone.value(), call.user) : zoneErrorJson(zoneID, zoneNotFound()));
    }
    return json{{"zones", std::move(list)}};
}

Reply<json> modifyZones(Call& call) {
    auto operations = readZoneOperations(call);
    if (!operations) {
        return operations.error();
    }
    return changeStore(call, [&](ScopeRow& scope) -> Reply<StoreChange> {
        json list = json::array();
        for (const ZoneOperation& operation : operations.value()) {
            auto item = operation.isCreation ? createZone(call, scope, operation) : deleteZone(call, scope, operation);
            if (!item) {
                return item.error();
            }
            list.push_back(std::move(item).value());
        }
        return StoreChange{json{{"zones", std::move(list)}}};
    });
}

}  // namespace cloudd

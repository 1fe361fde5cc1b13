#include <utility>

#include "apps/quendo-cloudd/call.hpp"
#include "apps/quendo-cloudd/json_reading.hpp"
#include "apps/quendo-cloudd/record_operation.hpp"
#include "apps/quendo-cloudd/zone_id.hpp"

namespace cloudd {
namespace {

using nlohmann::json;

constexpr std::size_t mostAnswerBytes = 16'000'000;

Reply<ZoneReference> zoneOfRequest(const Call& call) {
    auto zone = memberZoneID(call.body, call.user);
    if (!zone) {
        return zone.error();
    }
    if (zone.value() && !zone.value()->isMine) {
        return zoneNotFound();
    }
    return zone.value() ? *std::move(zone).value() : ZoneReference{std::string(defaultZoneName)};
}

Reply<bool> isAtomic(const Call& call, const ZoneReference& zone) {
    auto flag = optionalFlag(call.body, "atomic");
    if (!flag) {
        return flag.error();
    }
    if (zone.isDefault() && flag.value().value_or(false)) {
        return badRequest("atomic operations not supported in default zone");
    }
    return flag.value().value_or(!zone.isDefault());
}

Reply<Zone> zoneForWriting(Call& call, ScopeRow& scope, const ZoneReference& reference) {
    auto zone = call.store.zone(scope, reference.name);
    if (!zone) {
        return zone.error();
    }
    if (zone.value()) {
        return *std::move(zone).value();
    }
    if (!reference.isDefault()) {
        return zoneNotFound();
    }
    auto made = call.store.createZone(scope, reference.name);
    if (!made) {
        return made.error();
    }
    return std::move(made).value();
}

json recordErrorJson(const std::string& name, const WireError& error) {
    json result = toJson(error);
    result["recordName"] = name;
    return result;
}

/// The items of an answer. When one operation of an atomic batch was refused, none of the others was done either.
json items(const Call& call, const ZoneReference& zone, const std::vector<RecordOperation>& operations,
           const std::vector<RecordOutcome>& outcomes, bool noneDone) {
    json list = json::array();
    for (std::size_t i = 0; i < outcomes.size(); ++i) {
        const RecordOutcome& outcome = outcomes[i];
        if (outcome.refused) {
            list.push_back(recordErrorJson(operations[i].name, *outcome.refused));
        } else if (noneDone) {
            list.push_back(recordErrorJson(operations[i].name,
                                           {ErrorCode::atomicError, "another record of the atomic batch failed"}));
        } else {
            list.push_back(recordJson(outcome.record, zone.name, call.user, operations[i].choice));
        }
    }
    return list;
}

}  // namespace

Reply<json> modifyRecords(Call& call) {
    auto reference = zoneOfRequest(call);
    if (!reference) {
        return reference.error();
    }
    auto atomic = isAtomic(call, reference.value());
    if (!atomic) {
        return atomic.error();
    }
    auto operations = readRecordOperations(call.body, reference.value().name, call.user);
    if (!operations) {
        return operations.error();
    }
    return changeStore(call, [&](ScopeRow& scope) -> Reply<StoreChange> {
        auto zone = zoneForWriting(call, scope, reference.value());
        if (!zone) {
            return zone.error();
        }
        std::vector<RecordOutcome> outcomes;
        bool anyRefused = false;
        Announcement announcement{reference.value().name};
        for (const RecordOperation& operation : operations.value()) {
            auto outcome = apply(call, scope, zone.value(), operation);
            if (!outcome) {
                return outcome.error();
            }
            anyRefused = anyRefused || outcome.value().refused;
            if (outcome.value().event) {
                announcement.records.push_back({operation.name, outcome.value().record.type, *outcome.value().event});
            }
            outcomes.push_back(std::move(outcome).value());
        }
        const bool noneDone = atomic.value() && anyRefused;
        const bool isKept = !noneDone && !announcement.records.empty();
        if (isKept) {
            if (auto failure = call.store.noteChange(scope, zone.value())) {
                return *failure;
            }
            call.announcements.push_back(std::move(announcement));
        }
        return StoreChange{json{{"records", items(call, reference.value(), operations.value(), outcomes, noneDone)}},
                           isKept};
    });
}

Reply<json> lookUpRecords(Call& call) {
    auto reference = zoneOfRequest(call);
    if (!reference) {
        return reference.error();
    }
    auto wanted = objects(call.body, "records", mostRecordsInAnswer);
    if (!wanted) {
        return wanted.error();
    }
    auto choice = readFieldChoice(call.body, {});
    if (!choice) {
        return choice.error();
    }
    auto scope = call.store.scope(call.scope);
    if (!scope) {
        return scope.error();
    }
    auto zone = call.store.zone(scope.value(), reference.value().name);
    if (!zone) {
        return zone.error();
    }
    if (!zone.value() && !reference.value().isDefault()) {
        return zoneNotFound();
    }
    json list = json::array();
    std::size_t bytes = 0;
    for (const json& entry : *wanted.value()) {
        auto name = optionalText(entry, "recordName");
        auto ownChoice = readFieldChoice(entry, choice.value());
        if (!name || !name.value()) {
            return badRequest("a record to look up has no recordName");
        }
        if (!ownChoice) {
            return ownChoice.error();
        }
        auto record = zone.value() ? call.store.record(*zone.value(), *name.value())
                                   : Result<std::optional<StoredRecord>>(std::optional<StoredRecord>());
        if (!record) {
            return record.error();
        }
        const bool isThere = record.value() && !record.value()->deleted;
        bytes += isThere ? record.value()->fields.size() : 0;
        if (bytes > mostAnswerBytes) {
            return badRequest("the answer would be larger than 16 MB; look up fewer records at a time");
        }
        list.push_back(isThere ? recordJson(*record.value(), reference.value().name, call.user, ownChoice.value())
                               : recordErrorJson(*name.value(), {ErrorCode::notFound, "Record not found"}));
    }
    return json{{"records", std::move(list)}};
}

}  // namespace cloudd

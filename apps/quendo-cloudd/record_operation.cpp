#include "apps/quendo-cloudd/record_operation.hpp"

#include <algorithm>
#include <array>
#include <set>
#include <utility>

#include "apps/quendo-cloudd/json_reading.hpp"
#include "apps/quendo-cloudd/secrets.hpp"
#include "apps/quendo-cloudd/zone_id.hpp"

namespace cloudd {
namespace {

using nlohmann::json;
using Kind = RecordOperation::Kind;

std::optional<Kind> kindOf(const std::string& text) {
    static const std::array<std::pair<const char*, Kind>, 7> kinds{{{"create", Kind::create},
                                                                    {"update", Kind::update},
                                                                    {"forceUpdate", Kind::forceUpdate},
                                                                    {"replace", Kind::replace},
                                                                    {"forceReplace", Kind::forceReplace},
                                                                    {"delete", Kind::delete_},
                                                                    {"forceDelete", Kind::forceDelete}}};
    for (const auto& [name, kind] : kinds) {
        if (text == name) {
            return kind;
        }
    }
    return std::nullopt;
}

bool isTypeName(const std::string& name) {
    return !name.empty() && name.size() <= 255 &&
           std::all_of(name.begin(), name.end(), [](char character) { return character > ' ' && character < 0x7F; });
}

/// Whether the operation makes a record that is not there.
bool mayCreate(Kind kind) {
    return kind == Kind::create || kind == Kind::forceUpdate || kind == Kind::forceReplace;
}

bool isConditional(Kind kind) {
    return kind == Kind::update || kind == Kind::replace || kind == Kind::delete_;
}

bool isDeletion(Kind kind) {
    return kind == Kind::delete_ || kind == Kind::forceDelete;
}

/// Reads the record of an operation into it.
std::optional<WireError> readRecord(const json& record, RecordOperation& operation, const std::string& zoneName,
                                    const std::string& user) {
    auto name = optionalText(record, "recordName");
    auto type = optionalText(record, "recordType");
    auto tag = optionalText(record, "recordChangeTag");
    auto zone = memberZoneID(record, user);
    if (!name || !type || !tag) {
        return badRequest("recordName, recordType and recordChangeTag are texts");
    }
    if (!zone) {
        return zone.error();
    }
    if (zone.value() && (zone.value()->name != zoneName || !zone.value()->isMine)) {
        return badRequest("a record names another zone than its request");
    }
    if (!name.value() && operation.kind == Kind::create) {
        name.value() = randomUuid();
    }
    if (!name.value() || !isRecordName(*name.value())) {
        return badRequest("a recordName is missing, or not of 1 to 255 ASCII characters without underscore first");
    }
    operation.name = *name.value();
    operation.type = type.value().value_or("");
    if (type.value() ? !isTypeName(operation.type) : mayCreate(operation.kind)) {
        return badRequest("recordType of " + operation.name + " is missing or not plain ASCII");
    }
    operation.changeTag = tag.value();
    if (isConditional(operation.kind) && !operation.changeTag) {
        return badRequest("recordChangeTag of " + operation.name + " is missing");
    }
    const auto fields = record.find("fields");
    if (isDeletion(operation.kind) || fields == record.end()) {
        return std::nullopt;
    }
    auto changes = readFields(*fields);
    if (!changes) {
        return changes.error();
    }
    operation.fields = std::move(changes).value();
    return std::nullopt;
}

Reply<RecordOperation> readOperation(const json& entry, const std::string& zoneName, const std::string& user,
                                     const FieldChoice& choice) {
    auto type = optionalText(entry, "operationType");
    const auto kind = type ? kindOf(type.value().value_or("")) : std::nullopt;
    if (!kind) {
        return badRequest("an operationType is missing or unknown");
    }
    auto ownChoice = readFieldChoice(entry, choice);
    if (!ownChoice) {
        return ownChoice.error();
    }
    RecordOperation operation{
        .kind = *kind, .name = {}, .type = {}, .changeTag = {}, .fields = {}, .choice = ownChoice.value()};
    const auto record = entry.find("record");
    if (record == entry.end() || !record->is_object()) {
        return badRequest("an operation has no record");
    }
    if (auto refused = readRecord(*record, operation, zoneName, user)) {
        return *std::move(refused);
    }
    return operation;
}

/// The stored fields after the operation; an error for a value that its field never holds.
Reply<std::string> changedFields(Call& call, const ScopeRow& scope, const std::string& type, const std::string& before,
                                 const RecordOperation& operation) {
    json fields = json::parse(before, nullptr, false);
    if (!fields.is_object()) {
        fields = json::object();
    }
    for (const FieldChange& change : operation.fields) {
        if (change.isNull) {
            fields.erase(change.name);
            continue;
        }
        if (change.type == "TIMESTAMP") {
            if (auto failure = call.store.noteTimestamp(scope, type, change.name)) {
                return *failure;
            }
        } else if (!change.isTagged) {
            auto isTimestamp = call.store.isTimestamp(scope, type, change.name);
            if (!isTimestamp) {
                return isTimestamp.error();
            }
            if (isTimestamp.value()) {
                return badRequest("Invalid value, expected type TIMESTAMP. (field " + change.name + ")");
            }
        }
        fields[change.name] = json::parse(change.stored);
    }
    return fields.dump();
}

RecordOutcome refused(ErrorCode code, std::string reason) {
    return {WireError{code, std::move(reason)}, {}, {}};
}

Reply<RecordOutcome> remove(Call& call, Zone& zone, const RecordOperation& operation,
                            std::optional<StoredRecord> present) {
    if (!present || present->deleted) {
        if (operation.kind == Kind::delete_) {
            return refused(ErrorCode::notFound, "record not found");
        }
        StoredRecord nothing;
        nothing.name = operation.name;
        nothing.deleted = true;
        return RecordOutcome{std::nullopt, std::move(nothing), std::nullopt};
    }
    present->deleted = true;
    present->fields.clear();
    present->modifiedMilliseconds = call.nowMilliseconds;
    present->modifier = call.device.id;
    if (auto failure = call.store.putRecord(zone, *present)) {
        return *failure;
    }
    --zone.liveCount;
    return RecordOutcome{std::nullopt, *std::move(present), RecordEvent::deleted};
}

Reply<RecordOutcome> save(Call& call, const ScopeRow& scope, Zone& zone, const RecordOperation& operation,
                          std::optional<StoredRecord> present) {
    const bool isThere = present && !present->deleted;
    if (isThere && operation.kind == Kind::create) {
        return refused(ErrorCode::exists, "record to insert already exists");
    }
    if (!isThere && isConditional(operation.kind)) {
        return refused(ErrorCode::notFound, "record not found");
    }
    if (!isThere && zone.liveCount >= mostLiveRecords) {
        return refused(ErrorCode::quotaExceeded, "the zone is full; delete records");
    }
    StoredRecord record = isThere ? *std::move(present) : StoredRecord();
    record.name = operation.name;
    record.type = operation.type.empty() ? record.type : operation.type;
    const bool replaces = operation.kind == Kind::replace || operation.kind == Kind::forceReplace;
    auto fields = changedFields(call, scope, record.type, replaces ? "" : record.fields, operation);
    if (!fields) {
        return fields.error();
    }
    record.fields = std::move(fields).value();
    if (record.fields.size() > mostRecordBytes) {
        return refused(ErrorCode::badRequest, "the record is larger than 1 MB");
    }
    if (!isThere) {
        record.createdMilliseconds = call.nowMilliseconds;
        record.creator = call.device.id;
        ++zone.liveCount;
    }
    record.modifiedMilliseconds = call.nowMilliseconds;
    record.modifier = call.device.id;
    if (auto failure = call.store.putRecord(zone, record)) {
        return *failure;
    }
    return RecordOutcome{std::nullopt, std::move(record), isThere ? RecordEvent::updated : RecordEvent::created};
}

}  // namespace

bool isRecordName(const std::string& name) {
    return !name.empty() && name.size() <= 255 && !name.starts_with('_') &&
           std::all_of(name.begin(), name.end(), [](char character) { return character >= ' ' && character < 0x7F; });
}

std::string changeTagOf(const StoredRecord& record) {
    std::string text;
    for (std::int64_t rest = record.sequence; rest > 0; rest /= 36) {
        text += "0123456789abcdefghijklmnopqrstuvwxyz"[rest % 36];
    }
    std::reverse(text.begin(), text.end());
    return text;
}

json recordJson(const StoredRecord& record, const std::string& zoneName, const std::string& user,
                const FieldChoice& choice) {
    if (record.deleted) {
        json gone{{"recordName", record.name}, {"deleted", true}};
        if (record.sequence > 0) {
            gone["recordChangeTag"] = changeTagOf(record);
        }
        return gone;
    }
    const auto moment = [&](std::int64_t milliseconds, std::int64_t device) {
        return json{{"timestamp", milliseconds}, {"userRecordName", user}, {"deviceID", std::to_string(device)}};
    };
    return {{"recordName", record.name},
            {"recordType", record.type},
            {"recordChangeTag", changeTagOf(record)},
            {"deleted", false},
            {"zoneID", zoneIDJson(zoneName, user)},
            {"created", moment(record.createdMilliseconds, record.creator)},
            {"modified", moment(record.modifiedMilliseconds, record.modifier)},
            {"fields", fieldsFor(record.fields, choice)}};
}

Reply<std::vector<RecordOperation>> readRecordOperations(const json& body, const std::string& zoneName,
                                                         const std::string& user) {
    auto list = objects(body, "operations", mostOperations);
    if (!list) {
        return list.error();
    }
    auto choice = readFieldChoice(body, {});
    if (!choice) {
        return choice.error();
    }
    std::vector<RecordOperation> operations;
    std::set<std::string> names;
    for (const json& entry : *list.value()) {
        auto operation = readOperation(entry, zoneName, user, choice.value());
        if (!operation) {
            return operation.error();
        }
        if (!names.insert(operation.value().name).second) {
            return badRequest("record " + operation.value().name + " comes twice in one request");
        }
        operations.push_back(std::move(operation).value());
    }
    return operations;
}

Reply<RecordOutcome> apply(Call& call, const ScopeRow& scope, Zone& zone, const RecordOperation& operation) {
    auto present = call.store.record(zone, operation.name);
    if (!present) {
        return present.error();
    }
    const bool isThere = present.value() && !present.value()->deleted;
    if (isThere && isConditional(operation.kind) && *operation.changeTag != changeTagOf(*present.value())) {
        return refused(ErrorCode::conflict, "record to update already exists with a different change tag");
    }
    return isDeletion(operation.kind) ? remove(call, zone, operation, std::move(present).value())
                                      : save(call, scope, zone, operation, std::move(present).value());
}

}  // namespace cloudd

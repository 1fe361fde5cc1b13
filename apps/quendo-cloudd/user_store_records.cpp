#include <utility>

#include "apps/quendo-cloudd/secrets.hpp"
#include "apps/quendo-cloudd/user_store.hpp"

namespace cloudd {
namespace {

using quendokit::sqlite::Statement;

#define ZONE_COLUMNS "id, name, identity, sequence, live, changed, deleted"
#define RECORD_COLUMNS "name, type, fields, sequence, created, creator, modified, modifier, deleted"

Zone zoneOf(const Statement& row) {
    return {.id = row.integer(0),
            .name = std::string(row.text(1)),
            .identity = std::string(row.text(2)),
            .sequence = row.integer(3),
            .liveCount = row.integer(4),
            .changed = row.integer(5),
            .deleted = row.integer(6) != 0};
}

StoredRecord recordOf(const Statement& row) {
    return {.name = std::string(row.text(0)),
            .type = std::string(row.text(1)),
            .fields = std::string(row.text(2)),
            .sequence = row.integer(3),
            .createdMilliseconds = row.integer(4),
            .creator = row.integer(5),
            .modifiedMilliseconds = row.integer(6),
            .modifier = row.integer(7),
            .deleted = row.integer(8) != 0};
}

}  // namespace

Result<std::optional<Zone>> UserStore::zone(const ScopeRow& scope, std::string_view name) {
    std::optional<Zone> found;
    if (auto failure = forEach(
            *connection_, "SELECT " ZONE_COLUMNS " FROM zone WHERE scope = ?1 AND name = ?2 AND deleted = 0",
            [&](const Statement& row) { found = zoneOf(row); }, scope.id, name)) {
        return *std::move(failure);
    }
    return found;
}

Result<std::vector<Zone>> UserStore::zones(const ScopeRow& scope) {
    std::vector<Zone> found;
    if (auto failure = forEach(
            *connection_, "SELECT " ZONE_COLUMNS " FROM zone WHERE scope = ?1 AND deleted = 0 ORDER BY name",
            [&](const Statement& row) { found.push_back(zoneOf(row)); }, scope.id)) {
        return *std::move(failure);
    }
    return found;
}

Result<std::vector<Zone>> UserStore::changedZones(const ScopeRow& scope, std::int64_t since, std::int64_t limit) {
    std::vector<Zone> found;
    if (auto failure = forEach(
            *connection_,
            "SELECT " ZONE_COLUMNS " FROM zone WHERE scope = ?1 AND changed > ?2 ORDER BY changed LIMIT ?3",
            [&](const Statement& row) { found.push_back(zoneOf(row)); }, scope.id, since, limit)) {
        return *std::move(failure);
    }
    return found;
}

Result<Zone> UserStore::createZone(ScopeRow& scope, std::string_view name) {
    if (auto failure = change(*connection_,
                              "INSERT INTO zone (scope, name, identity, sequence, live, changed, deleted) "
                              "VALUES (?1, ?2, ?3, 0, 0, ?4, 0) ON CONFLICT (scope, name) DO UPDATE SET "
                              "identity = excluded.identity, sequence = 0, live = 0, changed = ?4, deleted = 0",
                              scope.id, name, randomHex(16), scope.sequence + 1)) {
        return *std::move(failure);
    }
    auto made = zone(scope, name);
    if (!made) {
        return made.error();
    }
    Zone result = *std::move(made).value();
    if (auto failure = noteChange(scope, result)) {
        return *std::move(failure);
    }
    return result;
}

std::optional<Error> UserStore::deleteZone(ScopeRow& scope, Zone& zone) {
    if (auto failure = change(*connection_, "DELETE FROM record WHERE zone = ?1", zone.id)) {
        return failure;
    }
    zone.deleted = true;
    zone.liveCount = 0;
    return noteChange(scope, zone);
}

std::optional<Error> UserStore::noteChange(ScopeRow& scope, Zone& zone) {
    ++scope.sequence;
    zone.changed = scope.sequence;
    if (auto failure = change(*connection_, "UPDATE scope SET sequence = ?2 WHERE id = ?1", scope.id, scope.sequence)) {
        return failure;
    }
    return change(*connection_, "UPDATE zone SET sequence = ?2, live = ?3, changed = ?4, deleted = ?5 WHERE id = ?1",
                  zone.id, zone.sequence, zone.liveCount, zone.changed, std::int64_t{zone.deleted ? 1 : 0});
}

Result<std::optional<StoredRecord>> UserStore::record(const Zone& zone, std::string_view name) {
    std::optional<StoredRecord> found;
    if (auto failure = forEach(
            *connection_, "SELECT " RECORD_COLUMNS " FROM record WHERE zone = ?1 AND name = ?2",
            [&](const Statement& row) { found = recordOf(row); }, zone.id, name)) {
        return *std::move(failure);
    }
    return found;
}

Result<std::vector<StoredRecord>> UserStore::changedRecords(const Zone& zone, std::int64_t since, std::int64_t limit) {
    std::vector<StoredRecord> found;
    if (auto failure = forEach(
            *connection_,
            "SELECT " RECORD_COLUMNS " FROM record WHERE zone = ?1 AND sequence > ?2 ORDER BY sequence LIMIT ?3",
            [&](const Statement& row) { found.push_back(recordOf(row)); }, zone.id, since, limit)) {
        return *std::move(failure);
    }
    return found;
}

std::optional<Error> UserStore::putRecord(Zone& zone, StoredRecord& record) {
    record.sequence = ++zone.sequence;
    return change(*connection_,
                  "INSERT INTO record (zone, name, sequence, type, fields, created, creator, modified, modifier, "
                  "deleted) VALUES (?1, ?2, ?3, ?4, ?5, ?6, ?7, ?8, ?9, ?10) ON CONFLICT (zone, name) DO UPDATE SET "
                  "sequence = ?3, type = ?4, fields = ?5, created = ?6, creator = ?7, modified = ?8, modifier = ?9, "
                  "deleted = ?10",
                  zone.id, record.name, record.sequence, record.type, record.fields, record.createdMilliseconds,
                  record.creator, record.modifiedMilliseconds, record.modifier, std::int64_t{record.deleted ? 1 : 0});
}

#undef ZONE_COLUMNS
#undef RECORD_COLUMNS

}  // namespace cloudd

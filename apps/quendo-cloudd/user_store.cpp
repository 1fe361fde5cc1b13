#include "apps/quendo-cloudd/user_store.hpp"

#include <sqlite3.h>
#include <utility>

#include "apps/quendo-cloudd/secrets.hpp"

namespace cloudd {
namespace {

/// More kinds of fields than any program has; what goes beyond is stored all the same.
constexpr std::int64_t mostTimestampFields = 10'000;

}  // namespace

const DatabaseKind userKind{0x51434C55, 1, R"(
CREATE TABLE scope (
    id INTEGER PRIMARY KEY,
    container TEXT NOT NULL,
    environment TEXT NOT NULL,
    identity TEXT NOT NULL,
    sequence INTEGER NOT NULL,
    UNIQUE (container, environment)
) STRICT;
CREATE TABLE zone (
    id INTEGER PRIMARY KEY,
    scope INTEGER NOT NULL,
    name TEXT NOT NULL,
    identity TEXT NOT NULL,
    sequence INTEGER NOT NULL,
    live INTEGER NOT NULL,
    changed INTEGER NOT NULL,
    deleted INTEGER NOT NULL,
    UNIQUE (scope, name)
) STRICT;
CREATE UNIQUE INDEX zone_by_change ON zone (scope, changed);
CREATE TABLE record (
    zone INTEGER NOT NULL,
    name TEXT NOT NULL,
    sequence INTEGER NOT NULL,
    type TEXT NOT NULL,
    fields TEXT NOT NULL,
    created INTEGER NOT NULL,
    creator INTEGER NOT NULL,
    modified INTEGER NOT NULL,
    modifier INTEGER NOT NULL,
    deleted INTEGER NOT NULL,
    PRIMARY KEY (zone, name)
) STRICT;
CREATE UNIQUE INDEX record_by_change ON record (zone, sequence);
CREATE TABLE timestamp_field (
    scope INTEGER NOT NULL,
    type TEXT NOT NULL,
    field TEXT NOT NULL,
    PRIMARY KEY (scope, type, field)
) STRICT, WITHOUT ROWID;
CREATE TABLE subscription (
    scope INTEGER NOT NULL,
    id TEXT NOT NULL,
    zone TEXT NOT NULL,
    content TEXT NOT NULL,
    PRIMARY KEY (scope, id)
) STRICT;
)"};

Result<std::unique_ptr<UserStore>> UserStore::open(const std::filesystem::path& file, const char* fileSystem) {
    auto connection = openDatabase(file, userKind, IfMissing::refuse, fileSystem);
    if (!connection) {
        return connection.error();
    }
    return std::unique_ptr<UserStore>(new UserStore(std::move(connection).value()));
}

std::optional<Error> UserStore::create(const std::filesystem::path& file, const char* fileSystem) {
    auto connection = openDatabase(file, userKind, IfMissing::create, fileSystem);
    return connection ? std::nullopt : std::optional(connection.error());
}

Result<ScopeRow> UserStore::scope(const Scope& scope) {
    ScopeRow row;
    if (auto failure = forEach(
            *connection_, "SELECT id, identity, sequence FROM scope WHERE container = ?1 AND environment = ?2",
            [&](const auto& found) { row = {found.integer(0), std::string(found.text(1)), found.integer(2)}; },
            scope.container, scope.environment)) {
        return *std::move(failure);
    }
    return row;
}

Result<ScopeRow> UserStore::obtainScope(const Scope& wanted) {
    auto row = scope(wanted);
    if (!row || row.value().id != 0) {
        return row;
    }
    if (auto failure = change(*connection_,
                              "INSERT INTO scope (container, environment, identity, sequence) VALUES (?1, ?2, ?3, 0)",
                              wanted.container, wanted.environment, randomHex(16))) {
        return *std::move(failure);
    }
    return scope(wanted);
}

Result<std::int64_t> UserStore::scopeCount() {
    return connection_->integer("SELECT count(*) FROM scope");
}

Result<bool> UserStore::isTimestamp(const ScopeRow& scope, std::string_view type, std::string_view field) {
    bool found = false;
    if (auto failure = forEach(
            *connection_, "SELECT 1 FROM timestamp_field WHERE scope = ?1 AND type = ?2 AND field = ?3",
            [&](const auto&) { found = true; }, scope.id, type, field)) {
        return *std::move(failure);
    }
    return found;
}

std::optional<Error> UserStore::noteTimestamp(const ScopeRow& scope, std::string_view type, std::string_view field) {
    auto known = isTimestamp(scope, type, field);
    if (!known) {
        return known.error();
    }
    if (known.value()) {
        return std::nullopt;
    }
    return change(*connection_,
                  "INSERT INTO timestamp_field (scope, type, field) SELECT ?1, ?2, ?3 WHERE "
                  "(SELECT count(*) FROM timestamp_field) < ?4",
                  scope.id, type, field, mostTimestampFields);
}

Result<std::vector<StoredSubscription>> UserStore::subscriptions(const ScopeRow& scope) {
    std::vector<StoredSubscription> found;
    if (auto failure = forEach(
            *connection_, "SELECT id, zone, content FROM subscription WHERE scope = ?1 ORDER BY id",
            [&](const auto& row) {
                found.push_back({std::string(row.text(0)), std::string(row.text(1)), std::string(row.text(2))});
            },
            scope.id)) {
        return *std::move(failure);
    }
    return found;
}

std::optional<Error> UserStore::putSubscription(const ScopeRow& scope, const StoredSubscription& subscription) {
    return change(*connection_,
                  "INSERT INTO subscription (scope, id, zone, content) VALUES (?1, ?2, ?3, ?4) "
                  "ON CONFLICT (scope, id) DO UPDATE SET zone = excluded.zone, content = excluded.content",
                  scope.id, subscription.id, subscription.zone, subscription.content);
}

Result<bool> UserStore::deleteSubscription(const ScopeRow& scope, std::string_view id) {
    if (auto failure = change(*connection_, "DELETE FROM subscription WHERE scope = ?1 AND id = ?2", scope.id, id)) {
        return *std::move(failure);
    }
    return sqlite3_changes(connection_->handle()) == 1;
}

}  // namespace cloudd

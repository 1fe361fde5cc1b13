#include "apps/quendo-cloudd/database.hpp"

#include <algorithm>
#include <sqlite3.h>
#include <utility>

#include "quendokit/platform/realm_error.hpp"

namespace cloudd {
namespace {

using quendokit::makeRealmError;
using quendokit::RealmErrorCode;

constexpr int busyMilliseconds = 5'000;

Error damaged(const Connection& connection, std::string what) {
    std::replace(what.begin(), what.end(), '\n', ' ');
    return makeRealmError(RealmErrorCode::damaged, connection.file() + ": the database is damaged (" + what +
                                                       "); move it aside and restore it from a backup");
}

/// True when the file is ours, false when nothing was ever stored in it.
Result<bool> isOurs(Connection& connection, const DatabaseKind& kind) {
    auto id = connection.integer("PRAGMA application_id");
    if (!id) {
        return id.error();
    }
    auto version = connection.integer("PRAGMA user_version");
    if (!version) {
        return version.error();
    }
    auto tables = connection.integer("SELECT count(*) FROM sqlite_schema");
    if (!tables) {
        return tables.error();
    }
    if (id.value() == 0 && version.value() == 0 && tables.value() == 0) {
        return false;
    }
    if (id.value() != kind.applicationId) {
        return damaged(connection, "it is another program's file");
    }
    if (version.value() > kind.version) {
        return makeRealmError(RealmErrorCode::newerVersion,
                              connection.file() + ": a newer version wrote it; update this program");
    }
    return true;
}

std::optional<Error> makeTables(Connection& connection, const DatabaseKind& kind) {
    Transaction transaction(connection);
    if (auto failure = transaction.begin()) {
        return failure;
    }
    // Another process may have done the same since this one looked.
    auto ours = isOurs(connection, kind);
    if (!ours) {
        return ours.error();
    }
    if (ours.value()) {
        return std::nullopt;
    }
    const std::string header = "; PRAGMA application_id = " + std::to_string(kind.applicationId) +
                               "; PRAGMA user_version = " + std::to_string(kind.version);
    if (auto failure = connection.execute(kind.schema + header)) {
        return failure;
    }
    return transaction.commit();
}

std::optional<Error> checkBy(Connection& connection, const char* pragma) {
    auto finding = connection.text(pragma);
    if (!finding) {
        return finding.error();
    }
    return finding.value() == "ok" ? std::nullopt : std::optional(damaged(connection, finding.value()));
}

}  // namespace

Result<std::unique_ptr<Connection>> openDatabase(const std::filesystem::path& file, const DatabaseKind& kind,
                                                 IfMissing ifMissing, const char* fileSystem) {
    const int create = ifMissing == IfMissing::create ? SQLITE_OPEN_CREATE : 0;
    sqlite3* handle = nullptr;
    const int opened = sqlite3_open_v2(
        file.c_str(), &handle, SQLITE_OPEN_READWRITE | SQLITE_OPEN_NOMUTEX | SQLITE_OPEN_NOFOLLOW | create, fileSystem);
    auto connection = std::make_unique<Connection>(handle, file.string());
    if (opened != SQLITE_OK) {
        return connection->lastError();
    }
    sqlite3_extended_result_codes(handle, 1);
    sqlite3_busy_timeout(handle, busyMilliseconds);
    sqlite3_db_config(handle, SQLITE_DBCONFIG_DEFENSIVE, 1, nullptr);
    sqlite3_db_config(handle, SQLITE_DBCONFIG_TRUSTED_SCHEMA, 0, nullptr);
    sqlite3_db_config(handle, SQLITE_DBCONFIG_ENABLE_TRIGGER, 0, nullptr);
    sqlite3_db_config(handle, SQLITE_DBCONFIG_ENABLE_VIEW, 0, nullptr);
    if (auto failure = connection->execute("PRAGMA cell_size_check = ON; PRAGMA synchronous = FULL")) {
        return *std::move(failure);
    }
    auto ours = isOurs(*connection, kind);
    if (!ours) {
        return ours.error();
    }
    if (!ours.value() && ifMissing == IfMissing::refuse) {
        return damaged(*connection, "it is empty");
    }
    if (ours.value()) {
        if (auto failure = checkBy(*connection, "PRAGMA quick_check(1)")) {
            return *std::move(failure);
        }
    }
    auto mode = connection->text("PRAGMA journal_mode = WAL");
    if (!mode) {
        return mode.error();
    }
    if (mode.value() != "wal") {
        return makeRealmError(RealmErrorCode::unavailable,
                              file.string() + ": the file system cannot keep a write-ahead log; use another folder");
    }
    if (!ours.value()) {
        if (auto failure = makeTables(*connection, kind)) {
            return *std::move(failure);
        }
    }
    return connection;
}

std::optional<Error> checkIntegrity(Connection& connection) {
    return checkBy(connection, "PRAGMA integrity_check(1)");
}

std::optional<Error> copyDatabase(Connection& connection, const std::filesystem::path& copy) {
    const StatementUse statement(connection, "VACUUM INTO ?1");
    if (!statement) {
        return connection.lastError();
    }
    const std::string name = copy.string();
    statement->bind(1, std::string_view(name));
    return statement->step() == Step::failed ? std::optional(connection.lastError()) : std::nullopt;
}

}  // namespace cloudd

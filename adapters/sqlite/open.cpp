#include <algorithm>
#include <chrono>
#include <map>
#include <sqlite3.h>
#include <thread>
#include <utility>

#include "adapters/sqlite/database_file_internal.hpp"
#include "adapters/sqlite/migration_internal.hpp"
#include "adapters/sqlite/open_internal.hpp"
#include "adapters/sqlite/schema_sql_internal.hpp"
#include "adapters/sqlite/sqlite_error_internal.hpp"

namespace quendokit::sqlite {
namespace {

enum class CheckDepth { quick, full };

/// What kind of file it is, as its header says.
struct FileState {
    std::int64_t version = 0;
    /// Nothing was ever stored in it.
    bool isNew = false;
};

Result<std::unique_ptr<Connection>> connect(const std::filesystem::path& file, const SQLiteRealmOptions& options) {
    std::error_code unknown;
    const bool hasLog = std::filesystem::exists(file.string() + "-wal", unknown);
    sqlite3* handle = nullptr;
    const int opened = sqlite3_open_v2(file.c_str(), &handle, SQLITE_OPEN_READWRITE | SQLITE_OPEN_NOMUTEX,
                                       options.fileSystem.empty() ? nullptr : options.fileSystem.c_str());
    auto connection = std::make_unique<Connection>(handle, file.string());
    if (opened != SQLITE_OK) {
        return errorOf(handle, opened, file.string());
    }
    sqlite3_extended_result_codes(handle, 1);
    sqlite3_busy_timeout(handle, static_cast<int>(options.busyTimeout.count()));
    sqlite3_db_config(handle, SQLITE_DBCONFIG_DEFENSIVE, 1, nullptr);
    sqlite3_db_config(handle, SQLITE_DBCONFIG_TRUSTED_SCHEMA, 0, nullptr);
    sqlite3_db_config(handle, SQLITE_DBCONFIG_ENABLE_TRIGGER, 0, nullptr);
    sqlite3_db_config(handle, SQLITE_DBCONFIG_ENABLE_VIEW, 0, nullptr);
    // Until the file is known to be ours, closing it must leave it as it is, and a log that it came with too.
    sqlite3_db_config(handle, SQLITE_DBCONFIG_NO_CKPT_ON_CLOSE, hasLog ? 1 : 0, nullptr);
    if (auto failure = connection->execute("PRAGMA cell_size_check = ON; PRAGMA synchronous = FULL")) {
        return *std::move(failure);
    }
    return connection;
}

Result<FileState> inspect(Connection& connection, const RealmConfiguration& configuration) {
    auto kind = connection.integer("PRAGMA application_id");
    if (!kind) {
        return kind.error();
    }
    auto version = connection.integer("PRAGMA user_version");
    if (!version) {
        return version.error();
    }
    if (version.value() > static_cast<std::int64_t>(configuration.schemaVersion)) {
        return makeRealmError(RealmErrorCode::newerVersion,
                              connection.file() + ": a newer version wrote it (schema " +
                                  std::to_string(version.value()) + ", this program knows " +
                                  std::to_string(configuration.schemaVersion) + "); update this program");
    }
    FileState state{.version = version.value(), .isNew = false};
    const bool isCurrent = state.version == static_cast<std::int64_t>(configuration.schemaVersion);
    std::size_t missingCount = 0;
    std::string missing;
    for (const ObjectSchema& schema : configuration.objectSchemas) {
        auto present = connection.hasTable(schema.className);
        if (!present) {
            return present.error();
        }
        if (!present.value()) {
            ++missingCount;
            missing = schema.className;
        }
    }
    const bool hasNone = missingCount == configuration.objectSchemas.size();
    state.isNew = state.version == 0 && hasNone;
    // An older version may lack a class that came later, but not all of them.
    if (!state.isNew && (hasNone || (isCurrent && missingCount > 0))) {
        return damagedError(connection.file(), "table " + missing + " is missing");
    }
    // Older schema versions were written before files carried a kind.
    if (state.version < 0 || (kind.value() != applicationId && !(kind.value() == 0 && !isCurrent))) {
        return damagedError(connection.file(), "it is another program's database");
    }
    return state;
}

std::optional<Error> check(Connection& connection, CheckDepth depth) {
    auto finding = connection.text(depth == CheckDepth::quick ? "PRAGMA quick_check(1)" : "PRAGMA integrity_check(1)");
    if (!finding) {
        return finding.error();
    }
    if (finding.value() != "ok") {
        std::string line = finding.value();
        std::replace(line.begin(), line.end(), '\n', ' ');
        return damagedError(connection.file(), line);
    }
    return std::nullopt;
}

/// Compares the columns with those that this program makes.
std::optional<Error> checkTable(Connection& connection, const ObjectSchema& schema) {
    const auto statement = connection.prepare(
        "SELECT name, upper(type) || ' ' || \"notnull\" || ' ' || pk FROM pragma_table_xinfo(?1)", false);
    if (!statement) {
        return connection.lastError();
    }
    statement->bind(1, std::string_view(schema.className));
    std::map<std::string, std::string> columns;
    while (statement->step() == Step::row) {
        columns.emplace(statement->text(0), statement->text(1));
    }
    for (const Property& property : schema.properties) {
        const auto column = columns.find(property.name);
        if (column == columns.end()) {
            return damagedError(connection.file(), "table " + schema.className + " has no column " + property.name);
        }
        const std::string wanted =
            std::string(columnType(property.type)) + " 1 " + (property.name == schema.primaryKey ? "1" : "0");
        if (column->second != wanted) {
            return damagedError(connection.file(),
                                "column " + property.name + " of table " + schema.className + " is of the wrong type");
        }
        columns.erase(column);
    }
    if (!columns.empty()) {
        return damagedError(connection.file(),
                            "table " + schema.className + " has an unknown column " + columns.begin()->first);
    }
    // Without its checks the table could hold values that lists and look-ups take differently.
    auto definition =
        connection.text("SELECT sql FROM sqlite_schema WHERE type = 'table' AND name = '" + schema.className + "'");
    if (!definition || definition.value() != createTable(schema)) {
        return damagedError(connection.file(), "table " + schema.className + " is not as this program makes it");
    }
    return std::nullopt;
}

std::string setVersion(const RealmConfiguration& configuration) {
    return "PRAGMA application_id = " + std::to_string(applicationId) +
           "; PRAGMA user_version = " + std::to_string(configuration.schemaVersion);
}

/// The statements that turn the indices of a class's table into those that its hints ask for; empty when they are.
Result<std::string> indexChanges(Connection& connection, const ObjectSchema& schema) {
    const auto statement = connection.prepare(
        "SELECT name, sql FROM sqlite_schema WHERE type = 'index' AND tbl_name = ?1 AND sql IS NOT NULL", false);
    if (!statement) {
        return connection.lastError();
    }
    statement->bind(1, std::string_view(schema.className));
    std::map<std::string, std::string> present;
    Step step = statement->step();
    for (; step == Step::row; step = statement->step()) {
        present.emplace(statement->text(0), statement->text(1));
    }
    if (step == Step::failed) {
        return connection.lastError();
    }
    std::string create;
    for (const IndexSQL& index : createIndices(schema)) {
        const auto found = present.find(index.name);
        if (found != present.end() && found->second == index.create) {
            present.erase(found);
        } else {
            create += index.create + ";";
        }
    }
    std::string drop;
    for (const auto& [name, sql] : present) {
        drop += "DROP INDEX " + quotedName(name) + ";";
    }
    return drop + create;
}

/// For use inside a transaction.
std::optional<Error> changeIndices(Connection& connection, const ObjectSchema& schema) {
    auto changes = indexChanges(connection, schema);
    if (!changes) {
        return changes.error();
    }
    return connection.execute(changes.value());
}

/// For use inside a transaction, as its last step.
std::optional<Error> finishTables(Connection& connection, const RealmConfiguration& configuration) {
    for (const ObjectSchema& schema : configuration.objectSchemas) {
        if (auto failure = changeIndices(connection, schema)) {
            return failure;
        }
    }
    return connection.execute(setVersion(configuration));
}

std::optional<Error> makeTables(Connection& connection, const RealmConfiguration& configuration) {
    for (const ObjectSchema& schema : configuration.objectSchemas) {
        if (auto failure = connection.execute(createTable(schema))) {
            return failure;
        }
    }
    return finishTables(connection, configuration);
}

std::optional<Error> migrate(Connection& connection, const RealmConfiguration& configuration, std::int64_t oldVersion) {
    if (auto failure = rebuildTables(connection, configuration, static_cast<std::uint64_t>(oldVersion))) {
        return failure;
    }
    return finishTables(connection, configuration);
}

/// Makes the tables of a new file, or copies one of an older version and migrates it; all in one transaction.
std::optional<Error> bringUpToDate(Connection& connection, const RealmConfiguration& configuration,
                                   const std::filesystem::path& file, const SQLiteRealmOptions& options) {
    Transaction transaction(connection);
    if (auto failure = transaction.begin()) {
        return failure;
    }
    // Another process may have done the same since this one looked.
    auto state = inspect(connection, configuration);
    if (!state) {
        return state.error();
    }
    const std::int64_t version = state.value().version;
    if (state.value().isNew) {
        if (auto failure = makeTables(connection, configuration)) {
            return failure;
        }
        return transaction.commit();
    }
    if (version == static_cast<std::int64_t>(configuration.schemaVersion)) {
        return std::nullopt;
    }
    auto copy = backUp(file, version, options.fileSystem);
    if (!copy) {
        return copy.error();
    }
    auto failure = migrate(connection, configuration, version);
    if (!failure) {
        failure = transaction.commit();
    }
    if (failure) {
        // The file is as it was, and each further try would leave one more copy of it.
        std::error_code ignored;
        std::filesystem::remove(copy.value(), ignored);
    }
    return failure;
}

std::optional<Error> adjustIndices(Connection& connection, const ObjectSchema& schema) {
    auto changes = indexChanges(connection, schema);
    if (!changes) {
        return changes.error();
    }
    if (changes.value().empty()) {
        return std::nullopt;
    }
    Transaction transaction(connection);
    if (auto failure = transaction.begin()) {
        return failure;
    }
    // Another process may have done the same since this one looked.
    if (auto failure = changeIndices(connection, schema)) {
        return failure;
    }
    return transaction.commit();
}

std::optional<Error> useWriteAheadLog(Connection& connection, std::chrono::milliseconds patience) {
    constexpr std::chrono::milliseconds betweenTries(5);
    const auto deadline = std::chrono::steady_clock::now() + patience;
    auto mode = connection.text("PRAGMA journal_mode = WAL");
    // Of two that switch at the same time, SQLite turns one away at once instead of letting it wait.
    while (!mode && mode.error().code == static_cast<int>(RealmErrorCode::locked) &&
           std::chrono::steady_clock::now() < deadline) {
        std::this_thread::sleep_for(betweenTries);
        mode = connection.text("PRAGMA journal_mode = WAL");
    }
    if (!mode) {
        return mode.error();
    }
    if (mode.value() != "wal") {
        return makeRealmError(
            RealmErrorCode::unavailable,
            connection.file() + ": the file system cannot keep a write-ahead log; use another folder");
    }
    return std::nullopt;
}

std::optional<Error> setUp(Connection& connection, const std::filesystem::path& file,
                           const RealmConfiguration& configuration, const SQLiteRealmOptions& options) {
    auto state = inspect(connection, configuration);
    if (!state) {
        return state.error();
    }
    if (!state.value().isNew) {
        if (auto failure = check(connection, CheckDepth::quick)) {
            return failure;
        }
    }
    if (state.value().isNew || state.value().version < static_cast<std::int64_t>(configuration.schemaVersion)) {
        if (auto failure = bringUpToDate(connection, configuration, file, options)) {
            return failure;
        }
    }
    for (const ObjectSchema& schema : configuration.objectSchemas) {
        if (auto failure = checkTable(connection, schema)) {
            return failure;
        }
    }
    if (auto failure = useWriteAheadLog(connection, options.busyTimeout)) {
        return failure;
    }
    for (const ObjectSchema& schema : configuration.objectSchemas) {
        if (auto failure = adjustIndices(connection, schema)) {
            return failure;
        }
    }
    sqlite3_db_config(connection.handle(), SQLITE_DBCONFIG_NO_CKPT_ON_CLOSE, 0, nullptr);
    return std::nullopt;
}

}  // namespace

Result<std::shared_ptr<SQLiteRealm>> openRealm(const std::filesystem::path& file,
                                               const RealmConfiguration& configuration,
                                               const SQLiteRealmOptions& options) {
    if (auto failure = prepareFile(file)) {
        return *std::move(failure);
    }
    auto connection = connect(file, options);
    if (!connection) {
        return connection.error();
    }
    if (auto failure = setUp(*connection.value(), file, configuration, options)) {
        return *std::move(failure);
    }
    if (auto failure = closeToOthers(file)) {
        return *std::move(failure);
    }
    return std::make_shared<SQLiteRealm>(std::move(connection).value(), configuration.objectSchemas, options.onFailure);
}

Result<std::optional<std::uint64_t>> examineFile(const std::filesystem::path& file,
                                                 const RealmConfiguration& configuration,
                                                 const SQLiteRealmOptions& options) {
    const std::optional<std::uint64_t> nothingStored;
    if (auto failure = refuseForeignFile(file)) {
        return *std::move(failure);
    }
    std::error_code missing;
    if (std::filesystem::file_size(file, missing) == 0 || missing) {
        return nothingStored;
    }
    auto connection = connect(file, options);
    if (!connection) {
        return connection.error();
    }
    auto state = inspect(*connection.value(), configuration);
    if (!state) {
        return state.error();
    }
    if (auto failure = check(*connection.value(), CheckDepth::full)) {
        return *std::move(failure);
    }
    const bool current = state.value().version == static_cast<std::int64_t>(configuration.schemaVersion);
    for (const ObjectSchema& schema : configuration.objectSchemas) {
        if (auto failure = current ? checkTable(*connection.value(), schema) : std::nullopt) {
            return *std::move(failure);
        }
    }
    return state.value().isNew ? nothingStored : std::optional(static_cast<std::uint64_t>(state.value().version));
}

}  // namespace quendokit::sqlite

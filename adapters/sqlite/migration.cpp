#include <algorithm>
#include <sqlite3.h>
#include <utility>
#include <vector>

#include "adapters/sqlite/database_file_internal.hpp"
#include "adapters/sqlite/migration_internal.hpp"
#include "adapters/sqlite/parameters_internal.hpp"
#include "adapters/sqlite/schema_sql_internal.hpp"
#include "adapters/sqlite/sqlite_error_internal.hpp"
#include "quendokit/platform/fatal_error.hpp"
#include "quendokit/platform/services.hpp"

namespace quendokit::sqlite {
namespace {

std::string oldTableOf(const ObjectSchema& schema) {
    return schema.className + "_old";
}

/// The value in a column by the type of the property of that name, or, for a column that no property has now, by what
/// SQLite keeps there.
Value valueOf(sqlite3_stmt* row, int column, std::optional<PropertyType> type) {
    const auto text = [&] {
        const auto* data = reinterpret_cast<const char*>(sqlite3_column_text(row, column));
        return std::string(data == nullptr ? "" : data, static_cast<std::size_t>(sqlite3_column_bytes(row, column)));
    };
    if (!type) {
        switch (sqlite3_column_type(row, column)) {
            case SQLITE_INTEGER:
                return sqlite3_column_int64(row, column);
            case SQLITE_FLOAT:
                return Date(sqlite3_column_double(row, column));
            default:
                return text();
        }
    }
    switch (*type) {
        case PropertyType::boolean:
            return sqlite3_column_int64(row, column) != 0;
        case PropertyType::integer:
            return sqlite3_column_int64(row, column);
        case PropertyType::text:
            return text();
        case PropertyType::date:
            return Date(sqlite3_column_double(row, column));
    }
    fatalError("no such property type");
}

/// One object of one of the two tables, read from columns of a row that holds both.
class RowObject final : public MigrationObject {
public:
    struct Column {
        std::string name;
        int index;
        std::optional<PropertyType> type;
    };

    RowObject(sqlite3_stmt* row, const std::vector<Column>& columns, const ObjectSchema* writable)
        : row_(row), columns_(columns), schema_(writable) {}

    [[nodiscard]] std::optional<Value> value(std::string_view property) const override {
        for (const auto& [name, assigned] : assigned_) {
            if (name == property) {
                return assigned;
            }
        }
        const auto column =
            std::find_if(columns_.begin(), columns_.end(), [&](const Column& each) { return each.name == property; });
        return column == columns_.end() ? std::nullopt : std::optional(valueOf(row_, column->index, column->type));
    }

    void set(std::string_view property, Value value) override {
        if (schema_ == nullptr) {
            fatalError("an old object of a migration cannot be changed");
        }
        static_cast<void>(schema_->checkedIndexOf(property, typeOf(value)));
        std::erase_if(assigned_, [&](const auto& each) { return each.first == property; });
        assigned_.emplace_back(property, std::move(value));
    }

    [[nodiscard]] const std::vector<std::pair<std::string, Value>>& assigned() const { return assigned_; }

private:
    sqlite3_stmt* const row_;
    const std::vector<Column>& columns_;
    const ObjectSchema* const schema_;
    std::vector<std::pair<std::string, Value>> assigned_;
};

Value defaultOf(const Property& property) {
    const Value* value = std::get_if<Value>(&*property.defaultValue);
    return value != nullptr ? *value : Value(platform::clock().now());
}

class SQLiteMigration final : public Migration {
public:
    SQLiteMigration(Connection& connection, const std::vector<ObjectSchema>& schemas)
        : connection_(connection), schemas_(schemas) {}

    void enumerateObjects(std::string_view className, const Visitor& visitor) override {
        const auto schema = std::find_if(schemas_.begin(), schemas_.end(),
                                         [&](const ObjectSchema& each) { return each.className == className; });
        if (schema == schemas_.end()) {
            fatalError("no class \"" + std::string(className) + "\" to migrate");
        }
        if (failure_) {
            return;
        }
        auto wasThere = connection_.hasTable(oldTableOf(*schema));
        if (!wasThere) {
            failure_ = wasThere.error();
        } else if (wasThere.value()) {
            enumerate(*schema, visitor);
        }
    }

    [[nodiscard]] const std::optional<Error>& failure() const { return failure_; }

private:
    void enumerate(const ObjectSchema& schema, const Visitor& visitor) {
        const std::string key = quotedName(schema.primaryKey);
        const auto rows =
            connection_.prepare("SELECT old.*, new.* FROM " + quotedName(oldTableOf(schema)) + " old JOIN " +
                                    quotedName(schema.className) + " new ON new." + key + " = old." + key,
                                false);
        if (!rows) {
            failure_ = connection_.lastError();
            return;
        }
        std::vector<RowObject::Column> oldColumns;
        std::vector<RowObject::Column> newColumns;
        const int columnCount = sqlite3_column_count(rows->handle());
        const int oldCount = columnCount - static_cast<int>(schema.properties.size());
        for (int i = 0; i < columnCount; ++i) {
            const char* name = sqlite3_column_name(rows->handle(), i);
            const auto property = schema.indexOf(name);
            (i < oldCount ? oldColumns : newColumns)
                .push_back({name, i, property ? std::optional(schema.properties[*property].type) : std::nullopt});
        }
        Step step = rows->step();
        while (step == Step::row && !failure_) {
            RowObject oldObject(rows->handle(), oldColumns, nullptr);
            RowObject newObject(rows->handle(), newColumns, &schema);
            visitor(oldObject, newObject);
            const Value id = *RowObject(rows->handle(), newColumns, nullptr).value(schema.primaryKey);
            update(schema, id, newObject.assigned());
            step = rows->step();
        }
        if (step == Step::failed) {
            failure_ = connection_.lastError();
        }
    }

    void update(const ObjectSchema& schema, const Value& id,
                const std::vector<std::pair<std::string, Value>>& assigned) {
        if (assigned.empty()) {
            return;
        }
        std::string columns;
        for (const auto& [name, value] : assigned) {
            columns += (columns.empty() ? "" : ", ") + quotedName(name) + " = ?";
        }
        const StatementUse statement(connection_, "UPDATE " + quotedName(schema.className) + " SET " + columns +
                                                      " WHERE " + quotedName(schema.primaryKey) + " = ?");
        if (!statement) {
            failure_ = connection_.lastError();
            return;
        }
        ParameterWriter writer(*statement);
        for (std::size_t i = 0; i < assigned.size(); ++i) {
            writer.value(i, assigned[i].second);
        }
        writer.value(assigned.size(), id);
        if (!writer.allDatesFinite()) {
            failure_ = notFiniteError(connection_.file());
        } else if (statement->step() == Step::failed) {
            failure_ = connection_.lastError();
        }
    }

    Connection& connection_;
    const std::vector<ObjectSchema>& schemas_;
    std::optional<Error> failure_;
};

/// The columns of a table as it is in the file.
std::vector<std::string> columnsOf(Connection& connection, const std::string& table) {
    std::vector<std::string> columns;
    const auto statement = connection.prepare("SELECT name FROM pragma_table_info(?1)", false);
    if (statement) {
        statement->bind(1, std::string_view(table));
        while (statement->step() == Step::row) {
            columns.emplace_back(statement->text(0));
        }
    }
    return columns;
}

std::optional<Error> rebuildTable(Connection& connection, const ObjectSchema& schema, std::uint64_t oldVersion) {
    auto wasThere = connection.hasTable(schema.className);
    if (!wasThere) {
        return wasThere.error();
    }
    if (!wasThere.value()) {
        // A class that came with a later version.
        return connection.execute(createTable(schema));
    }
    const std::vector<std::string> oldColumns = columnsOf(connection, schema.className);
    std::string sources;
    std::vector<Value> defaults;
    for (const Property& property : schema.properties) {
        sources += sources.empty() ? "" : ", ";
        if (std::find(oldColumns.begin(), oldColumns.end(), property.name) != oldColumns.end()) {
            sources += quotedName(property.name);
        } else if (property.defaultValue && !(property.since && *property.since <= oldVersion)) {
            defaults.push_back(defaultOf(property));
            sources += "?" + std::to_string(defaults.size());
        } else {
            return damagedError(connection.file(), "table " + schema.className + " has no column " + property.name);
        }
    }
    if (auto failure = connection.execute("ALTER TABLE " + quotedName(schema.className) + " RENAME TO " +
                                          quotedName(oldTableOf(schema)) + "; " + createTable(schema))) {
        return failure;
    }
    const auto insert = connection.prepare("INSERT INTO " + quotedName(schema.className) + " (" + columnList(schema) +
                                               ") SELECT " + sources + " FROM " + quotedName(oldTableOf(schema)),
                                           false);
    if (!insert) {
        return connection.lastError();
    }
    ParameterWriter writer(*insert);
    for (std::size_t i = 0; i < defaults.size(); ++i) {
        writer.value(i, defaults[i]);
    }
    if (insert->step() == Step::failed) {
        const Error error = connection.lastError();
        // An old row that breaks the table's rules is the file's fault, not the caller's.
        return isRealmError(error, RealmErrorCode::invalidValue)
                   ? damagedError(connection.file(), sqlite3_errmsg(connection.handle()))
                   : error;
    }
    return std::nullopt;
}

/// A name that no file has.
std::filesystem::path freeName(const std::filesystem::path& file, const std::string& suffix) {
    std::filesystem::path name = file.string() + suffix;
    std::error_code unknown;
    for (int i = 2; std::filesystem::exists(std::filesystem::symlink_status(name, unknown)); ++i) {
        name = file.string() + suffix + "-" + std::to_string(i);
    }
    return name;
}

std::unique_ptr<Connection> openPlainly(const std::filesystem::path& file, const std::string& fileSystem) {
    sqlite3* handle = nullptr;
    const char* fileSystemName = fileSystem.empty() ? nullptr : fileSystem.c_str();
    // A failure shows at the first use.
    sqlite3_open_v2(file.c_str(), &handle, SQLITE_OPEN_READWRITE | SQLITE_OPEN_NOMUTEX, fileSystemName);
    sqlite3_extended_result_codes(handle, 1);
    return std::make_unique<Connection>(handle, file.string());
}

std::optional<Error> copyInto(const std::filesystem::path& file, const std::filesystem::path& copy,
                              const std::string& fileSystem) {
    const auto source = openPlainly(file, fileSystem);
    const auto target = openPlainly(copy, fileSystem);
    sqlite3_backup* backup = sqlite3_backup_init(target->handle(), "main", source->handle(), "main");
    if (backup == nullptr) {
        return target->lastError();
    }
    constexpr int allPages = -1;
    const int copied = sqlite3_backup_step(backup, allPages);
    sqlite3_backup_finish(backup);
    if (copied != SQLITE_DONE) {
        return errorOf(target->handle(), copied, copy.string());
    }
    return std::nullopt;
}

}  // namespace

Result<std::filesystem::path> backUp(const std::filesystem::path& file, std::int64_t version,
                                     const std::string& fileSystem) {
    const std::string suffix = ".v" + std::to_string(version) + "-backup";
    // A copy that is not whole yet has another name, so that nobody takes it for one that is.
    const std::filesystem::path part = file.string() + suffix + ".part";
    std::error_code ignored;
    std::filesystem::remove(part, ignored);
    if (auto failure = createFile(part)) {
        return *std::move(failure);
    }
    if (auto failure = copyInto(file, part, fileSystem)) {
        std::filesystem::remove(part, ignored);
        return *std::move(failure);
    }
    const std::filesystem::path copy = freeName(file, suffix);
    std::error_code renamed;
    std::filesystem::rename(part, copy, renamed);
    if (renamed) {
        return systemError(renamed.value(), part.string());
    }
    syncFolder(file.parent_path());
    return copy;
}

std::optional<Error> rebuildTables(Connection& connection, const RealmConfiguration& configuration,
                                   std::uint64_t oldVersion) {
    for (const ObjectSchema& schema : configuration.objectSchemas) {
        if (auto failure = rebuildTable(connection, schema, oldVersion)) {
            return failure;
        }
    }
    if (configuration.migrationBlock) {
        SQLiteMigration migration(connection, configuration.objectSchemas);
        configuration.migrationBlock(migration, oldVersion);
        if (migration.failure()) {
            return migration.failure();
        }
    }
    for (const ObjectSchema& schema : configuration.objectSchemas) {
        if (auto failure = connection.execute("DROP TABLE IF EXISTS " + quotedName(oldTableOf(schema)))) {
            return failure;
        }
    }
    return std::nullopt;
}

}  // namespace quendokit::sqlite

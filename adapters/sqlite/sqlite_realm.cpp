#include <algorithm>
#include <string>
#include <utility>

#include "adapters/sqlite/parameters_internal.hpp"
#include "adapters/sqlite/schema_sql_internal.hpp"
#include "adapters/sqlite/sqlite_error_internal.hpp"
#include "adapters/sqlite/sqlite_realm_internal.hpp"
#include "quendokit/platform/fatal_error.hpp"

namespace quendokit::sqlite {
namespace {

/// More different queries than any program writes down; those beyond are prepared each time.
constexpr std::size_t mostCompiledQueries = 256;

/// The row at which a statement stands; its columns are the properties in order.
class StatementRow final : public Row {
public:
    explicit StatementRow(const Statement& statement) : statement_(statement) {}

    [[nodiscard]] bool boolean(std::size_t property) const override { return integer(property) != 0; }
    [[nodiscard]] std::int64_t integer(std::size_t property) const override {
        return statement_.integer(static_cast<int>(property));
    }
    [[nodiscard]] std::string_view text(std::size_t property) const override {
        return statement_.text(static_cast<int>(property));
    }
    [[nodiscard]] Date date(std::size_t property) const override {
        return Date(statement_.real(static_cast<int>(property)));
    }

private:
    const Statement& statement_;
};

/// Counts the reads that are under way, one inside the other.
class ReadScope {
public:
    explicit ReadScope(int& depth) : depth_(depth) { ++depth_; }
    ReadScope(const ReadScope&) = delete;
    ReadScope& operator=(const ReadScope&) = delete;
    ~ReadScope() { --depth_; }

private:
    int& depth_;
};

void bindArguments(Statement& statement, const QueryBranch& branch, const Query& query) {
    ParameterWriter writer(statement);
    for (std::size_t i = 0; i < branch.parameters.size(); ++i) {
        const auto [filter, argument] = branch.parameters[i];
        writer.value(i, query.filters[filter].arguments[argument]);
    }
}

}  // namespace

SQLiteRealm::SQLiteRealm(std::unique_ptr<Connection> connection, const std::vector<ObjectSchema>& schemas,
                         std::function<void(const Error&)> onFailure)
    : connection_(std::move(connection)), onFailure_(std::move(onFailure)) {
    for (const ObjectSchema& schema : schemas) {
        tables_.push_back({.schema = schema,
                           .insert = insertStatement(schema, false),
                           .insertOrUpdate = insertStatement(schema, true),
                           .remove = deleteStatement(schema),
                           .removeAll = "DELETE FROM " + quotedName(schema.className)});
    }
}

SQLiteRealm::~SQLiteRealm() = default;

std::optional<Error> SQLiteRealm::write(const std::function<void()>& changes) {
    auto failure = writeUnreported(changes);
    if (failure) {
        report(*failure);
    }
    return failure;
}

std::optional<Error> SQLiteRealm::writeUnreported(const std::function<void()>& changes) {
    if (writing_ || readDepth_ > 0) {
        return makeRealmError(RealmErrorCode::nested,
                              connection_->file() + ": a write began inside another write or a read");
    }
    Transaction transaction(*connection_);
    if (auto failure = transaction.begin()) {
        return failure;
    }
    writing_ = true;
    changes();
    writing_ = false;
    if (writeFailure_) {
        return std::exchange(writeFailure_, std::nullopt);
    }
    hasDeferred_ = isDeferred_;
    return transaction.commit();
}

void SQLiteRealm::deferDurability() {
    if (isDeferred_ || writing_ || readDepth_ > 0) {
        return;
    }
    // The log is not synced with each commit then; its order is kept all the same.
    const auto failure = connection_->execute("PRAGMA synchronous = NORMAL");
    isDeferred_ = !failure;
}

std::optional<Error> SQLiteRealm::makeDurable() {
    if (!isDeferred_ || writing_ || readDepth_ > 0) {
        return std::nullopt;
    }
    auto failure = connection_->execute("PRAGMA synchronous = FULL");
    if (!failure && hasDeferred_) {
        // A commit syncs the whole log with it; this one changes nothing.
        const auto version = connection_->integer("PRAGMA user_version");
        failure = version ? connection_->execute("PRAGMA user_version = " + std::to_string(version.value()))
                          : version.error();
    }
    if (failure) {
        // It stays deferred, and the next call tries again.
        report(*failure);
        return failure;
    }
    isDeferred_ = false;
    hasDeferred_ = false;
    return std::nullopt;
}

void SQLiteRealm::read(const std::function<void()>& reads) const {
    const ReadScope scope(readDepth_);
    if (writing_ || readDepth_ > 1) {
        reads();
        return;
    }
    // The transaction begins as a reader with its first query, and what it reads stays as it is until the end.
    if (const auto failure = connection_->run("BEGIN")) {
        report(*failure);
    }
    reads();
    if (connection_->inTransaction()) {
        if (const auto failure = connection_->run("COMMIT")) {
            report(*failure);
        }
    }
}

void SQLiteRealm::deleteAll() {
    if (!mayChange()) {
        return;
    }
    for (const Table& table : tables_) {
        change(table.removeAll, [](Statement&) { return true; });
    }
}

void SQLiteRealm::visitRows(const Query& query, const RowVisitor& visitor) const {
    CompiledQuery ownRoom;
    const CompiledQuery& plan = compiled(query, ownRoom);
    if (plan.branches.size() > 1 && readDepth_ == 0) {
        // Several statements, one state of the database.
        read([&] { visitBranches(plan, query, visitor); });
    } else {
        visitBranches(plan, query, visitor);
    }
}

void SQLiteRealm::visitBranches(const CompiledQuery& plan, const Query& query, const RowVisitor& visitor) const {
    const ReadScope scope(readDepth_);
    for (const QueryBranch& branch : plan.branches) {
        const StatementUse statement(*connection_, branch.select);
        if (!statement) {
            failRead();
            return;
        }
        bindArguments(*statement, branch, query);
        const StatementRow row(*statement);
        Step step = statement->step();
        while (step == Step::row && visitor(row)) {
            step = statement->step();
        }
        if (step == Step::failed) {
            failRead();
        }
        if (step != Step::done) {
            return;
        }
    }
}

bool SQLiteRealm::answersInOrder(const Query& query) const {
    CompiledQuery ownRoom;
    return !query.order || compiled(query, ownRoom).ordered;
}

std::size_t SQLiteRealm::countRows(const Query& query) const {
    CompiledQuery ownRoom;
    const CompiledQuery& plan = compiled(query, ownRoom);
    std::size_t count = 0;
    read([&] {
        for (const QueryBranch& branch : plan.branches) {
            const StatementUse statement(*connection_, branch.count);
            if (statement) {
                bindArguments(*statement, branch, query);
            }
            if (!statement || statement->step() != Step::row) {
                failRead();
                count = 0;
                return;
            }
            count += static_cast<std::size_t>(statement->integer(0));
        }
    });
    return count;
}

void SQLiteRealm::addRow(const ObjectSchema& schema, const std::function<void(RowWriter&)>& fill, bool update) {
    const Table& table = tableOf(schema);
    if (!mayChange()) {
        return;
    }
    change(update ? table.insertOrUpdate : table.insert, [&](Statement& statement) {
        ParameterWriter writer(statement);
        fill(writer);
        return writer.allDatesFinite();
    });
}

void SQLiteRealm::setValues(const ObjectSchema& schema, std::string_view primaryKey,
                            std::span<const Assignment> assignments) {
    std::string columns;
    for (const Assignment& assignment : assignments) {
        static_cast<void>(schema.checkedIndexOf(assignment.property, typeOf(assignment.value)));
        columns += (columns.empty() ? "" : ", ") + quotedName(assignment.property) + " = ?";
    }
    if (!mayChange() || columns.empty()) {
        return;
    }
    const std::string sql = "UPDATE " + quotedName(schema.className) + " SET " + columns + " WHERE " +
                            quotedName(schema.primaryKey) + " = ?";
    change(sql, [&](Statement& statement) {
        ParameterWriter writer(statement);
        for (std::size_t i = 0; i < assignments.size(); ++i) {
            writer.value(i, assignments[i].value);
        }
        writer.text(assignments.size(), primaryKey);
        return writer.allDatesFinite();
    });
}

void SQLiteRealm::deleteRow(const ObjectSchema& schema, std::string_view primaryKey) {
    const Table& table = tableOf(schema);
    if (!mayChange()) {
        return;
    }
    change(table.remove, [&](Statement& statement) {
        statement.bind(1, primaryKey);
        return true;
    });
}

const SQLiteRealm::Table& SQLiteRealm::tableOf(const ObjectSchema& schema) const {
    const auto found = std::find_if(tables_.begin(), tables_.end(),
                                    [&](const Table& table) { return table.schema.className == schema.className; });
    if (found == tables_.end()) {
        fatalError("the database keeps no class \"" + schema.className + "\"");
    }
    return *found;
}

const CompiledQuery& SQLiteRealm::compiled(const Query& query, CompiledQuery& ownRoom) const {
    std::string key = compilationKey(query);
    const auto found = compiledQueries_.find(key);
    if (found != compiledQueries_.end()) {
        for (std::size_t i = 0; i < query.filters.size(); ++i) {
            found->second.predicates[i].checkArguments(query.filters[i].arguments);
        }
        return found->second;
    }
    static_cast<void>(tableOf(*query.schema));
    ownRoom = compile(query);
    if (compiledQueries_.size() >= mostCompiledQueries) {
        return ownRoom;
    }
    return compiledQueries_.emplace(std::move(key), std::move(ownRoom)).first->second;
}

bool SQLiteRealm::mayChange() const {
    if (!writing_) {
        fatalError("a database was changed outside Realm::write");
    }
    if (readDepth_ > 0) {
        fatalError("a database was changed while it was being read");
    }
    return !writeFailure_;
}

void SQLiteRealm::change(const std::string& sql, const std::function<bool(Statement&)>& bind) {
    if (writeFailure_) {
        return;
    }
    if (!connection_->inTransaction()) {
        // SQLite has rolled back by itself; what came now would be durable alone.
        writeFailure_ =
            makeRealmError(RealmErrorCode::unavailable, connection_->file() + ": the write was lost; try again");
        return;
    }
    const StatementUse statement(*connection_, sql);
    if (!statement) {
        writeFailure_ = connection_->lastError();
    } else if (!bind(*statement)) {
        writeFailure_ = notFiniteError(connection_->file());
    } else if (statement->step() == Step::failed) {
        writeFailure_ = connection_->lastError();
    }
}

void SQLiteRealm::failRead() const {
    const Error error = connection_->lastError();
    if (!writing_) {
        report(error);
    } else if (!writeFailure_) {
        writeFailure_ = error;
    }
}

void SQLiteRealm::report(const Error& error) const {
    if (onFailure_) {
        onFailure_(error);
    }
}

}  // namespace quendokit::sqlite

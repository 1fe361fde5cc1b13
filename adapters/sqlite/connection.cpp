#include <sqlite3.h>
#include <utility>

#include "adapters/sqlite/connection_internal.hpp"
#include "adapters/sqlite/sqlite_error_internal.hpp"

namespace quendokit::sqlite {
namespace {

/// More than any program needs; statements beyond are prepared for each use.
constexpr std::size_t mostCachedStatements = 512;

}  // namespace

Statement::~Statement() {
    sqlite3_finalize(statement_);
}

void Statement::bind(int parameter, std::int64_t value) {
    sqlite3_bind_int64(statement_, parameter, value);
}

void Statement::bind(int parameter, double value) {
    sqlite3_bind_double(statement_, parameter, value);
}

void Statement::bind(int parameter, std::string_view value) {
    // An empty view may hold a null pointer, which SQLite would take for NULL.
    const char* data = value.empty() ? "" : value.data();
    const int failed = sqlite3_bind_text64(statement_, parameter, data, value.size(), SQLITE_STATIC, SQLITE_UTF8);
    if (failed != SQLITE_OK) {
        // Too long for SQLite: NULL fails at the column's NOT NULL, never silently.
        sqlite3_bind_null(statement_, parameter);
    }
}

Step Statement::step() {
    switch (sqlite3_step(statement_)) {
        case SQLITE_ROW:
            return Step::row;
        case SQLITE_DONE:
            return Step::done;
        default:
            return Step::failed;
    }
}

void Statement::reset() {
    sqlite3_reset(statement_);
}

std::int64_t Statement::integer(int column) const {
    return sqlite3_column_int64(statement_, column);
}

double Statement::real(int column) const {
    return sqlite3_column_double(statement_, column);
}

std::string_view Statement::text(int column) const {
    const unsigned char* data = sqlite3_column_text(statement_, column);
    const int size = sqlite3_column_bytes(statement_, column);
    return data == nullptr ? std::string_view()
                           : std::string_view(reinterpret_cast<const char*>(data), static_cast<std::size_t>(size));
}

StatementUse::StatementUse(Connection& connection, std::string_view sql) : statement_(connection.cached(sql)) {
    if (statement_ == nullptr || statement_->inUse_) {
        own_ = connection.prepare(sql, false);
        statement_ = own_.get();
    }
    if (statement_ != nullptr) {
        statement_->inUse_ = true;
    }
}

StatementUse::~StatementUse() {
    if (statement_ != nullptr) {
        statement_->reset();
        statement_->inUse_ = false;
    }
}

Connection::Connection(sqlite3* database, std::string file) : database_(database), file_(std::move(file)) {}

Connection::~Connection() {
    statements_.clear();
    sqlite3_close(database_);
}

Statement* Connection::cached(std::string_view sql) {
    const auto found = statements_.find(sql);
    if (found != statements_.end()) {
        return found->second.get();
    }
    if (statements_.size() >= mostCachedStatements) {
        return nullptr;
    }
    auto statement = prepare(sql, true);
    if (!statement) {
        return nullptr;
    }
    return statements_.emplace(sql, std::move(statement)).first->second.get();
}

std::unique_ptr<Statement> Connection::prepare(std::string_view sql, bool persistent) {
    sqlite3_stmt* statement = nullptr;
    const unsigned flags = persistent ? SQLITE_PREPARE_PERSISTENT : 0;
    ++prepareCount_;
    if (sqlite3_prepare_v3(database_, sql.data(), static_cast<int>(sql.size()), flags, &statement, nullptr) !=
        SQLITE_OK) {
        return nullptr;
    }
    return std::make_unique<Statement>(statement);
}

std::optional<Error> Connection::run(std::string_view sql) {
    const StatementUse statement(*this, sql);
    if (!statement || statement->step() == Step::failed) {
        return lastError();
    }
    return std::nullopt;
}

std::optional<Error> Connection::execute(const std::string& sql) {
    if (sqlite3_exec(database_, sql.c_str(), nullptr, nullptr, nullptr) != SQLITE_OK) {
        return lastError();
    }
    return std::nullopt;
}

Result<std::int64_t> Connection::integer(std::string_view sql) {
    const auto statement = prepare(sql, false);
    if (!statement || statement->step() != Step::row) {
        return lastError();
    }
    return statement->integer(0);
}

Result<std::string> Connection::text(std::string_view sql) {
    const auto statement = prepare(sql, false);
    if (!statement || statement->step() != Step::row) {
        return lastError();
    }
    return std::string(statement->text(0));
}

Result<bool> Connection::hasTable(std::string_view name) {
    const auto statement = prepare(
        "SELECT count(*) FROM sqlite_schema WHERE type IN ('table', 'view') AND name = ?1 COLLATE NOCASE", false);
    if (!statement) {
        return lastError();
    }
    statement->bind(1, name);
    if (statement->step() != Step::row) {
        return lastError();
    }
    return statement->integer(0) == 1;
}

bool Connection::inTransaction() const {
    return sqlite3_get_autocommit(database_) == 0;
}

Error Connection::lastError() const {
    return errorOf(database_, sqlite3_extended_errcode(database_), file_);
}

Transaction::~Transaction() {
    if (connection_.inTransaction()) {
        // Without a way to fail that could be told: at worst the lock is held until the connection closes.
        static_cast<void>(connection_.run("ROLLBACK"));
    }
}

}  // namespace quendokit::sqlite

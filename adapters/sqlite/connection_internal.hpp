#pragma once
/// \file
/// A small owning layer over SQLite's C interface: connection, statement, statement cache.

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>

#include "quendokit/platform/error.hpp"

struct sqlite3;
struct sqlite3_stmt;

namespace quendokit::sqlite {

enum class Step { row, done, failed };

/// One prepared statement. Parameters count from 1, columns from 0, as in SQLite.
class Statement {
public:
    Statement(sqlite3_stmt* statement) noexcept : statement_(statement) {}
    Statement(const Statement&) = delete;
    Statement& operator=(const Statement&) = delete;
    ~Statement();

    void bind(int parameter, std::int64_t value);
    void bind(int parameter, double value);
    /// `value` must live until the statement is reset.
    void bind(int parameter, std::string_view value);

    [[nodiscard]] Step step();
    /// Ends what `step` began, so that no lock stays behind.
    void reset();

    [[nodiscard]] std::int64_t integer(int column) const;
    [[nodiscard]] double real(int column) const;
    /// Valid until the next step.
    [[nodiscard]] std::string_view text(int column) const;
    [[nodiscard]] sqlite3_stmt* handle() const noexcept { return statement_; }

private:
    friend class StatementUse;
    sqlite3_stmt* const statement_;
    bool inUse_ = false;
};

class Connection;

/// A statement in use; resets it at its end.
class StatementUse {
public:
    /// Takes the cached statement, or one of its own when that is running already (a query inside the visit of the same
    /// query) or the cache is full.
    StatementUse(Connection& connection, std::string_view sql);
    StatementUse(const StatementUse&) = delete;
    StatementUse& operator=(const StatementUse&) = delete;
    ~StatementUse();

    /// False when the statement could not be prepared.
    explicit operator bool() const noexcept { return statement_ != nullptr; }
    Statement* operator->() const noexcept { return statement_; }
    Statement& operator*() const noexcept { return *statement_; }

private:
    std::unique_ptr<Statement> own_;
    Statement* statement_;
};

/// One open file with the statements prepared for it. One thread.
class Connection {
public:
    /// `file` is for messages.
    Connection(sqlite3* database, std::string file);
    Connection(const Connection&) = delete;
    Connection& operator=(const Connection&) = delete;
    ~Connection();

    /// The statement for `sql`, prepared at its first use; null when it cannot be prepared or the cache is full.
    [[nodiscard]] Statement* cached(std::string_view sql);
    /// A statement for one use.
    [[nodiscard]] std::unique_ptr<Statement> prepare(std::string_view sql, bool persistent);

    /// Runs cached SQL without parameters and results.
    [[nodiscard]] std::optional<Error> run(std::string_view sql);
    /// Runs one or more statements once, without caching them.
    [[nodiscard]] std::optional<Error> execute(const std::string& sql);
    /// The first column of the first row.
    [[nodiscard]] Result<std::int64_t> integer(std::string_view sql);
    [[nodiscard]] Result<std::string> text(std::string_view sql);

    /// A table or view of that name; SQLite does not tell names apart by case.
    [[nodiscard]] Result<bool> hasTable(std::string_view name);

    [[nodiscard]] bool inTransaction() const;
    /// The error of the call that failed last.
    [[nodiscard]] Error lastError() const;
    [[nodiscard]] const std::string& file() const noexcept { return file_; }
    [[nodiscard]] sqlite3* handle() const noexcept { return database_; }
    /// How many statements were prepared since the connection was opened.
    [[nodiscard]] std::size_t prepareCount() const noexcept { return prepareCount_; }

private:
    struct Hash {
        using is_transparent = void;
        std::size_t operator()(std::string_view text) const noexcept { return std::hash<std::string_view>()(text); }
    };

    sqlite3* const database_;
    const std::string file_;
    std::size_t prepareCount_ = 0;
    std::unordered_map<std::string, std::unique_ptr<Statement>, Hash, std::equal_to<>> statements_;
};

/// A transaction that is rolled back unless it was committed.
class Transaction {
public:
    explicit Transaction(Connection& connection) : connection_(connection) {}
    Transaction(const Transaction&) = delete;
    Transaction& operator=(const Transaction&) = delete;
    ~Transaction();

    /// Takes the write lock at once: a transaction that turns from reading to writing could be refused halfway.
    [[nodiscard]] std::optional<Error> begin() { return connection_.run("BEGIN IMMEDIATE"); }
    [[nodiscard]] std::optional<Error> commit() { return connection_.run("COMMIT"); }

private:
    Connection& connection_;
};

}  // namespace quendokit::sqlite

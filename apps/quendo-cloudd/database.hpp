#pragma once
/// \file
/// Opening the server's database files.

#include <filesystem>
#include <memory>
#include <optional>
#include <string>

#include "adapters/sqlite/connection_internal.hpp"
#include "quendokit/platform/error.hpp"

namespace cloudd {

using quendokit::Error;
using quendokit::Result;
using quendokit::sqlite::Connection;
using quendokit::sqlite::StatementUse;
using quendokit::sqlite::Step;
using quendokit::sqlite::Transaction;

/// What a file is for. Stored format.
struct DatabaseKind {
    /// In the file's header, so that no file is taken for one of another kind.
    std::int64_t applicationId;
    std::int64_t version;
    /// Makes the tables of a new file.
    const char* schema;
};

inline constexpr const char* defaultFileSystem = nullptr;

enum class IfMissing { refuse, create };

/// Opens `file` with a write-ahead log and every commit synced. Refuses a file of another kind, of a newer version, or
/// a damaged one, and leaves it as it is. `fileSystem` is SQLite's name of one.
[[nodiscard]] Result<std::unique_ptr<Connection>> openDatabase(const std::filesystem::path& file,
                                                               const DatabaseKind& kind, IfMissing ifMissing,
                                                               const char* fileSystem = defaultFileSystem);

/// What `PRAGMA integrity_check` finds wrong; absent when the file is sound.
[[nodiscard]] std::optional<Error> checkIntegrity(Connection& connection);

/// Writes a consistent copy to `copy`, which must not exist, while others go on writing.
[[nodiscard]] std::optional<Error> copyDatabase(Connection& connection, const std::filesystem::path& copy);

/// Runs a statement that answers no rows, with its parameters in order (`std::int64_t` or text).
template <typename... Values>
[[nodiscard]] std::optional<Error> change(Connection& connection, std::string_view sql, const Values&... values) {
    const StatementUse statement(connection, sql);
    if (!statement) {
        return connection.lastError();
    }
    int parameter = 0;
    (statement->bind(++parameter, values), ...);
    return statement->step() == Step::failed ? std::optional(connection.lastError()) : std::nullopt;
}

/// Calls `visit` with the statement for each row that a query answers.
template <typename Visit, typename... Values>
[[nodiscard]] std::optional<Error> forEach(Connection& connection, std::string_view sql, const Visit& visit,
                                           const Values&... values) {
    const StatementUse statement(connection, sql);
    if (!statement) {
        return connection.lastError();
    }
    int parameter = 0;
    (statement->bind(++parameter, values), ...);
    Step step = statement->step();
    for (; step == Step::row; step = statement->step()) {
        visit(*statement);
    }
    return step == Step::failed ? std::optional(connection.lastError()) : std::nullopt;
}

}  // namespace cloudd

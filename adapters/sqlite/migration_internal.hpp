#pragma once
/// \file
/// Bringing the file of an older schema version up to date.

#include <filesystem>
#include <optional>
#include <string>

#include "adapters/sqlite/connection_internal.hpp"
#include "quendokit/platform/realm_configuration.hpp"

namespace quendokit::sqlite {

/// Copies the database, with all that is committed, to a file of its own beside it: "NAME.v2-backup". It reads through
/// a connection of its own, so that the caller can keep others from writing meanwhile. `fileSystem` is SQLite's, empty
/// for the default.
[[nodiscard]] Result<std::filesystem::path> backUp(const std::filesystem::path& file, std::int64_t version,
                                                   const std::string& fileSystem);

/// Rebuilds the tables in the shape of the configuration's schemas and runs its migration block; for use inside a
/// transaction, which the caller commits. Old columns of the same name keep their values, others are dropped.
[[nodiscard]] std::optional<Error> rebuildTables(Connection& connection, const RealmConfiguration& configuration,
                                                 std::uint64_t oldVersion);

}  // namespace quendokit::sqlite

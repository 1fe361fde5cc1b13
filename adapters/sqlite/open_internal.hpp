#pragma once
/// \file
/// Opening a database file: looking it over, making or migrating it, setting it up.

#include <cstdint>
#include <filesystem>
#include <memory>
#include <optional>

#include "adapters/sqlite/sqlite_realm_internal.hpp"
#include "adapters/sqlite/sqlite_realm_provider.hpp"
#include "quendokit/platform/realm.hpp"

namespace quendokit::sqlite {

/// As `SQLiteRealmProvider::open`.
[[nodiscard]] QUENDOKIT_EXPORT Result<std::shared_ptr<SQLiteRealm>> openRealm(const std::filesystem::path& file,
                                                                              const RealmConfiguration& configuration,
                                                                              const SQLiteRealmOptions& options);

/// As `SQLiteRealmProvider::examine`.
[[nodiscard]] Result<std::optional<std::uint64_t>> examineFile(const std::filesystem::path& file,
                                                               const RealmConfiguration& configuration,
                                                               const SQLiteRealmOptions& options);

}  // namespace quendokit::sqlite

#pragma once
/// \file
/// From SQLite's result codes to the errors of object databases.

#include <string>

#include "quendokit/platform/realm_error.hpp"

struct sqlite3;

namespace quendokit::sqlite {

/// The error that `database` has just met with the extended result `code`; `file` is named in the description.
[[nodiscard]] Error errorOf(sqlite3* database, int code, const std::string& file);

[[nodiscard]] Error damagedError(const std::string& file, const std::string& what);

/// A date that is NaN or endless was to be stored.
[[nodiscard]] Error notFiniteError(const std::string& file);

/// For `errno` after a call on `file` failed.
[[nodiscard]] Error systemError(int number, const std::string& file);

}  // namespace quendokit::sqlite

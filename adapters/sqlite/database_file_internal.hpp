#pragma once
/// \file
/// The file of a database as the file system sees it: who may use it, and its making.

#include <filesystem>
#include <optional>

#include "quendokit/platform/error.hpp"

namespace quendokit::sqlite {

/// Refuses a file that is a symbolic link, no regular file, or another user's, and one that may not be written. Absent
/// also when there is no file.
[[nodiscard]] std::optional<Error> refuseForeignFile(const std::filesystem::path& file);

/// Makes the file (0600) and its folder (0700) when there is none; refuses a foreign one.
[[nodiscard]] std::optional<Error> prepareFile(const std::filesystem::path& file);

/// Takes away other users' rights to the file.
[[nodiscard]] std::optional<Error> closeToOthers(const std::filesystem::path& file);

/// Makes an empty file (0600) that must not exist yet.
[[nodiscard]] std::optional<Error> createFile(const std::filesystem::path& file);

/// Makes what happened to a folder's entries durable.
void syncFolder(const std::filesystem::path& folder);

}  // namespace quendokit::sqlite

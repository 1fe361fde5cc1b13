#pragma once
/// \file
/// Folders for one person alone.

#include <filesystem>
#include <optional>

#include "apps/quendo/failure.hpp"

namespace quendo {

/// Makes a folder and those above it (0700) when there are none.
[[nodiscard]] std::optional<Failure> makeFolder(const std::filesystem::path& folder);

}  // namespace quendo

#pragma once
/// \file
/// The folder of everything that the server keeps.

#include <filesystem>
#include <optional>

#include "apps/quendo/failure.hpp"

namespace cloudd {

enum class IfAbsent { refuse, make };

/// Sees that the folder is there, and the one for the users' files in it; both 0700 when made.
[[nodiscard]] std::optional<quendo::Failure> prepareDataFolder(const std::filesystem::path& folder, IfAbsent ifAbsent);

/// Gives what root made in the folder to whom the folder belongs, so that the server may use it.
void giveToOwner(const std::filesystem::path& folder, const std::filesystem::path& file);

}  // namespace cloudd

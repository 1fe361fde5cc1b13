#pragma once
/// \file
/// The command that serves.

#include <filesystem>
#include <optional>

#include "apps/quendo-cloudd/arguments.hpp"
#include "apps/quendo/failure.hpp"

namespace cloudd {

/// Serves until SIGTERM or SIGINT. One process at a time on a data folder.
[[nodiscard]] std::optional<quendo::Failure> serve(const std::filesystem::path& dataFolder,
                                                   const ServeArguments& arguments);

}  // namespace cloudd

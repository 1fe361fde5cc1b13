#pragma once
/// \file
/// Copies of everything that the server keeps, and whether it is sound.

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "apps/quendo/failure.hpp"

namespace cloudd {

/// Writes a tar archive of the data folder to `file`, which must not exist; each database in it is consistent in itself
/// and sound, whatever a server does meanwhile. In the copy every feed has a new identity: once it is put in place,
/// what clients have read since is not taken for what comes then, and they read from the beginning.
[[nodiscard]] std::optional<quendo::Failure> backUp(const std::filesystem::path& dataFolder,
                                                    const std::filesystem::path& file);

struct Finding {
    /// The file, relative to the data folder.
    std::string check;
    bool ok = false;
    /// What is wrong and what to do; empty when nothing is.
    std::string detail;
    quendo::ExitCode code = quendo::ExitCode::done;
};

/// Reads every database to the end. Also says which files belong to nobody.
[[nodiscard]] quendo::Outcome<std::vector<Finding>> check(const std::filesystem::path& dataFolder);

}  // namespace cloudd

#pragma once
/// \file
/// Looking over everything that the program stands on, without changing any of it but the token that the cloud renews.

#include <string>
#include <vector>

#include "apps/quendo/failure.hpp"
#include "apps/quendo/folders.hpp"

namespace quendo {

/// What one check found.
struct Finding {
    std::string check;
    bool ok;
    /// What was found, and what to do when it is not well.
    std::string detail;
};

/// All findings, and the exit code they amount to.
struct Diagnosis {
    std::vector<Finding> findings;
    ExitCode code;
};

[[nodiscard]] Diagnosis examine(const Folders& folders);

}  // namespace quendo

#pragma once
/// \file
/// `quendo daemon`, the one program that works on the reminders while it runs.

#include <optional>

#include "apps/quendo/failure.hpp"
#include "apps/quendo/folders.hpp"

namespace quendo {

struct DaemonOptions {
    /// Asks the cloud from time to time instead of letting it call.
    bool poll = false;
};

/// Answers the other commands until SIGTERM or SIGINT; says why when it cannot. Called on the main thread, before there
/// is another one.
[[nodiscard]] std::optional<Failure> runDaemon(const Folders& folders, const DaemonOptions& options);

}  // namespace quendo

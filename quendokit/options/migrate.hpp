#pragma once
/// \file
/// `Migrate`, a host's own step after an update.

#include <cstdint>
#include <functional>
#include <string>

#include "quendokit/platform/export.hpp"

namespace quendokit {

class UserDefaults;

/// What the host does after an update; is told the version that ran before.
using VersionMigration = std::function<void(std::int64_t major, std::int64_t minor, std::int64_t patch)>;

/// Calls `migration` if another version than `toVersion`, the host's own, ran here before, and remembers `toVersion` in
/// `accordingToDefaults` afterwards, in any case. Called once, at the start.
///
/// A version is three numbers between dots: "2.1" is 2.1.0, what follows a third one is not looked at, and what is no
/// number counts as 0. An older version than before is another version too. The first run on a device migrates nothing.
/// `migration` is called before this returns; should the process end meanwhile, it is called again by the next start,
/// so it must be safe to run twice.
///
/// Says what it does by lines on the standard output of the installed services. Main thread only.
QUENDOKIT_EXPORT void Migrate(const std::string& toVersion, UserDefaults& accordingToDefaults,
                              const VersionMigration& migration);

}  // namespace quendokit

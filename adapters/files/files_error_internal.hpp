#pragma once
/// \file
/// The errors of settings in a file, as one line each.

#include <string>

#include "adapters/files/file_user_defaults.hpp"

namespace quendokit::files {

[[nodiscard]] Error makeFilesError(FileUserDefaultsErrorCode code, std::string description);

/// For `errno` after a call on `path` failed: what, and what to do.
[[nodiscard]] Error systemError(int number, const std::string& path);

}  // namespace quendokit::files

#pragma once
/// \file
/// `NSLog`, a line in the system's log.

#include <string_view>

#include "quendokit/platform/export.hpp"

namespace quendokit {

/// Writes `line` to the system's log as it stands, whatever is in it: texts of a server are no formats. Any thread.
QUENDOKIT_EXPORT void NSLog(std::string_view line);

}  // namespace quendokit

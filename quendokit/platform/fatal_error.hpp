#pragma once
/// \file
/// The one way in which the engine ends the process.

#include <string_view>

#include "quendokit/platform/export.hpp"

namespace quendokit {

/// Writes "Fatal error: " and `message` as one line to standard error and aborts. For mistakes of the program and
/// values that cannot be; never for what comes from outside. Any thread.
[[noreturn]] QUENDOKIT_EXPORT void fatalError(std::string_view message) noexcept;

}  // namespace quendokit

#pragma once
/// \file
/// Where synchronisation logs.

#include "quendokit/model/log_func.hpp"

namespace quendokit {

/// Hands `message` to the hook that the host installed, unread; without one, prints its text to standard output. Any
/// thread.
void Log(const LogMessage& message);

}  // namespace quendokit

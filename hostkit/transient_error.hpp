#pragma once
/// \file
/// Which errors of the cloud are worth another try.

#include "quendokit/platform/error.hpp"
#include "quendokit/platform/export.hpp"

namespace quendokit {

/// Whether what failed so is worth another try. `wasTried`: whether the last try failed of it, too; a server that fails
/// twice over one request fails over that request. Any thread.
[[nodiscard]] QUENDOKIT_EXPORT bool isTransient(const Error& error, bool wasTried);

}  // namespace quendokit

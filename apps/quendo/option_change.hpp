#pragma once
/// \file
/// Changes of the day plan, and which of them are refused.

#include <optional>

#include "apps/quendo/failure.hpp"
#include "apps/quendo/option_assignment.hpp"

namespace quendo {

/// Why the day plan could not be meant with the new value; absent when it could. Asks the installed services.
[[nodiscard]] std::optional<Failure> refusalOf(const OptionAssignment& assignment);

/// Writes the new value.
void assign(const OptionAssignment& assignment);

}  // namespace quendo

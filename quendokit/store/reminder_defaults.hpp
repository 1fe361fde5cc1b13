#pragma once
/// \file
/// `ReminderDefaults`, the constants of the reminder record.

#include "quendokit/platform/date.hpp"

namespace quendokit::ReminderDefaults {

/// Stands for "no date" in the record's date column: 1970-01-01 00:00:00 UTC. Stored format. A reminder for exactly
/// this moment therefore reads back as one without a date.
inline constexpr Date NoDate = Date(0);

}  // namespace quendokit::ReminderDefaults

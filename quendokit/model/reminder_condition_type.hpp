#pragma once
/// \file
/// `ReminderConditionType`, the kinds of conditions without their payload.

namespace quendokit {

/// Vocabulary for hosts, as for a filter in their lists. The engine neither takes nor returns it.
enum class ReminderConditionType { dateTime, device, all };

}  // namespace quendokit

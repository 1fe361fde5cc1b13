#pragma once
/// \file
/// What a postpone button means when it is pressed late.

#include <optional>

#include "quendokit/model/reminder_condition.hpp"
#include "quendokit/platform/date.hpp"
#include "quendokit/platform/export.hpp"
#include "quendokit/presets/preset.hpp"

namespace quendokit {

/// The condition that `preset` gives for a reminder of the moment `from`; for one of a device (absent), and for a new
/// one, it reckons from `now`. A rule that reckons from the reminder's own moment gives a moment that has passed when
/// the button is pressed hours later, and such a reminder would never ring: then the rule is asked again from `now`.
///
/// "20 minutes" for a reminder of 09:00, pressed at 09:05, is 09:20; pressed at 11:00, it is 11:20. A rule that gives
/// `now` itself, as tomorrow's morning does in the very second in which the morning begins, is asked from a second
/// later. With `again` false the first answer counts, as the engine gives it. Any thread.
[[nodiscard]] QUENDOKIT_EXPORT ReminderCondition postponedCondition(const Preset& preset, std::optional<Date> from,
                                                                    Date now, bool again = true);

}  // namespace quendokit

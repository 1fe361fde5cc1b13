#pragma once
/// \file
/// `armedReminders`, what is still to ring.

#include <string>
#include <vector>

#include "quendokit/platform/date.hpp"
#include "quendokit/platform/export.hpp"

namespace quendokit {

class ReminderController;

/// A dated reminder that lies ahead. Plain value.
struct ArmedReminder {
    std::string id;
    std::string title;
    Date date;
    /// Whether it was shown before: one that was shown and then postponed rings again.
    bool shown = false;

    friend bool operator==(const ArmedReminder&, const ArmedReminder&) = default;
};

/// The dated reminders at `now` and after it that are not deleted, the earliest first. A pure function of what is
/// stored: whatever was asked of a scheduler, and whether a write failed, does not count. Main thread only.
[[nodiscard]] QUENDOKIT_EXPORT std::vector<ArmedReminder> armedReminders(const ReminderController& controller,
                                                                         Date now);

}  // namespace quendokit

#pragma once
/// \file
/// `ReminderControllerDelegate`, by which the host hears of changes.

namespace quendokit {

class ReminderController;

/// Implemented by the host, called on the main thread, never inside a database write. Held weakly by the controller.
class ReminderControllerDelegate {
public:
    ReminderControllerDelegate() = default;
    ReminderControllerDelegate(const ReminderControllerDelegate&) = delete;
    ReminderControllerDelegate& operator=(const ReminderControllerDelegate&) = delete;
    virtual ~ReminderControllerDelegate() = default;

    /// A reminder was stored or re-timed.
    virtual void reminderControllerDidAddReminder(ReminderController& controller) = 0;
    /// A reminder was deleted, or is about to be re-timed.
    virtual void reminderControllerDidRemoveReminder(ReminderController& controller) = 0;
};

}  // namespace quendokit

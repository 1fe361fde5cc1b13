#pragma once
/// \file
/// What the engine's other rooms, the host kit and the programs may ask of a controller beyond its public face.

#include <optional>
#include <string_view>
#include <vector>

#include "quendokit/platform/date.hpp"
#include "quendokit/store/reminder_controller.hpp"
#include "quendokit/store/reminder_lists_internal.hpp"

namespace quendokit {

/// A controller's records with their flags. Main thread only.
class QUENDOKIT_EXPORT ReminderControllerInternal {
public:
    /// The three lists at this instant, from one reading of the clock and one state of the database.
    [[nodiscard]] static ReminderItems reminderItems(const ReminderController& controller, bool includingDeleted);

    /// The same at an instant that the caller has read.
    [[nodiscard]] static ReminderItems reminderItems(const ReminderController& controller, bool includingDeleted,
                                                     Date now);

    /// The first record of `reminderItems(controller, true)` with this id; absent when there is none.
    [[nodiscard]] static std::optional<ReminderItem> reminderItem(const ReminderController& controller,
                                                                  std::string_view id);

    /// The dated reminders after `instant`, the earliest first, without deleted ones: the upcoming list as it is then.
    [[nodiscard]] static std::vector<ReminderItem> datedReminders(const ReminderController& controller, Date instant);

    /// The record with this id, in a list or not; absent when there is none.
    [[nodiscard]] static std::optional<ReminderItem> storedReminder(const ReminderController& controller,
                                                                    std::string_view id);

    /// The device reminders that were not shown yet, deleted ones too, in no particular order.
    [[nodiscard]] static std::vector<ReminderItem> unseenReminders(const ReminderController& controller);

    /// Cancels the item's notification, then marks the record deleted and pending. A failed write is dropped.
    static void softDelete(ReminderController& controller, const ReminderItem& item);

    /// Cancels the item's notification, then removes the record. A failed write is dropped. For deletions that come
    /// from the cloud.
    static void hardDelete(ReminderController& controller, const ReminderItem& item);

    /// Asks the controller's scheduler, when there is one and the record converts.
    static void schedule(ReminderController& controller, const ReminderItem& item);
    static void cancel(ReminderController& controller, const ReminderItem& item);
};

}  // namespace quendokit

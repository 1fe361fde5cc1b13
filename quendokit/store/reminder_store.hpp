#pragma once
/// \file
/// `ReminderStore`, the seam between the reminders and their mirroring.

#include <optional>
#include <string>
#include <vector>

#include "quendokit/model/reminder_struct.hpp"
#include "quendokit/store/reminder_item.hpp"

namespace quendokit {

/// What the sync manager asks of the reminders and tells them. Implemented by `ReminderController`; the manager holds
/// weakly its store.
class QUENDOKIT_EXPORT ReminderStore {
public:
    ReminderStore() = default;
    ReminderStore(const ReminderStore&) = delete;
    ReminderStore& operator=(const ReminderStore&) = delete;
    virtual ~ReminderStore() = default;

    /// The records whose local changes the cloud has not confirmed, without those that are deleted. Absent when the
    /// store cannot say. Main thread only.
    [[nodiscard]] virtual std::optional<std::vector<ReminderItem>> remindersToUpload() = 0;

    /// The records whose deletion the cloud has not confirmed. Absent when the store cannot say. Main thread only.
    [[nodiscard]] virtual std::optional<std::vector<ReminderItem>> remindersToDelete() = 0;

    /// Takes a reminder that came from the cloud. Returns before it is stored. Any thread.
    virtual void storeReminder(const ReminderStruct& reminder) = 0;

    /// Takes a deletion that came from the cloud. Returns before anything is deleted. Any thread.
    virtual void deleteReminder(const std::string& id) = 0;

    /// Takes the ids of the records, changed and deleted ones, that the cloud has confirmed. Returns before that is
    /// noted. Any thread.
    virtual void didSyncReminders(const std::vector<std::string>& ids) = 0;
};

}  // namespace quendokit

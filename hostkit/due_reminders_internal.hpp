#pragma once
/// \file
/// Which reminders have fallen due.

#include <string>
#include <vector>

#include "hostkit/armed_list.hpp"
#include "hostkit/fired_ledger.hpp"
#include "hostkit/reminder_alarms_options.hpp"
#include "quendokit/store/reminder_item.hpp"

namespace quendokit {

/// One that is to be shown.
struct DueReminder {
    FiredEntry entry;
    std::string title;
};

/// What a look at the store at one moment finds.
struct RemindersAt {
    Date now;
    /// Of the last while before `now`, the earliest first.
    std::vector<ReminderItem> passed;
    /// At `now` or later, the earliest first.
    std::vector<ArmedReminder> armed;
};
[[nodiscard]] RemindersAt remindersAt(const ReminderController& controller, Date now, Date from);

/// From when on `newlyDue` looks at what is stored.
[[nodiscard]] Date dueFrom(const FiredLedger& ledger, Date now, const ReminderAlarmsOptions& options);

/// The dated reminders that are due and not in the ledger: those on `former`, the last armed list, whose moment is
/// over, unless they were shown elsewhere since; and those that came to be known since and ring late.
[[nodiscard]] std::vector<DueReminder> newlyDue(const ReminderController& controller, const RemindersAt& at,
                                                const std::vector<ArmedReminder>& former, const FiredLedger& ledger,
                                                const ReminderAlarmsOptions& options);

/// Whether `item` is there, not deleted, and still of the moment or the device that rang.
[[nodiscard]] bool isStillOf(const FiredEntry& entry, const std::optional<ReminderItem>& item);

}  // namespace quendokit

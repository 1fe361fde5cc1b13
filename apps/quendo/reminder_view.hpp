#pragma once
/// \file
/// `ReminderView`, one reminder with its flags, as answers show it.

#include <optional>
#include <string>
#include <string_view>

#include "quendokit/model/reminder_condition.hpp"
#include "quendokit/store/reminder_controller_internal.hpp"

namespace quendo {

/// A reminder and where it stands. Plain value.
struct ReminderView {
    std::string id;
    std::string title;
    bool shown;
    quendokit::ReminderCondition condition;
    /// Absent when the reminder is in no list at this instant.
    std::optional<quendokit::ReminderList> list;
    /// Not yet confirmed by the cloud.
    bool pending;
    bool deleted;
};

/// Absent for a record that is no reminder.
[[nodiscard]] std::optional<ReminderView> makeReminderView(quendokit::ReminderItem item, quendokit::Date now);

/// "mac", "upcoming" or "passed".
[[nodiscard]] std::string_view nameOf(quendokit::ReminderList list);

}  // namespace quendo

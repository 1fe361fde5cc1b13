#pragma once
/// \file
/// Records for tests, and their contents as text.

#include <cstdio>
#include <string>
#include <vector>

#include "quendokit/store/reminder_item.hpp"

namespace quendokit::testing {

/// A confirmed record for that moment; the title is the id.
[[nodiscard]] inline ReminderItem datedItem(const std::string& id, Date moment) {
    return {id, ReminderCondition::dateTime(moment), id, false};
}

/// A confirmed record that waits at the Mac. `completed` orders it once it is shown.
[[nodiscard]] inline ReminderItem macItem(const std::string& id, bool shown = false, Date completed = Date(1)) {
    ReminderItem item = datedItem(id, completed);
    item._device = DeviceType::mac;
    item._datetime = ReminderDefaults::NoDate;
    item.shown = shown;
    return item;
}

/// A record of any device value without a date.
[[nodiscard]] inline ReminderItem deviceItem(const std::string& id, std::int64_t device, bool shown) {
    ReminderItem item = macItem(id, shown);
    item._device = device;
    return item;
}

[[nodiscard]] inline std::string text(Date date) {
    char buffer[40];
    std::snprintf(buffer, sizeof buffer, "%.17g", date.timeIntervalSince1970());
    return buffer;
}

/// Every property of the record, exactly.
[[nodiscard]] inline std::string text(const ReminderItem& item) {
    return item.ID + ": \"" + item.title + "\"" + (item.deleted ? " deleted" : "") + (item.shown ? " shown" : "") +
           (item.pending ? " pending" : "") + ", device " + std::to_string(item._device) + ", datetime " +
           text(item._datetime) + ", completed " + text(item.completionDate);
}

/// Every field of the reminder, exactly.
[[nodiscard]] inline std::string text(const ReminderStruct& reminder) {
    const auto moment = reminder.condition().date();
    return reminder.id().value_or("(no id)") + ": \"" + reminder.title() + "\"" + (reminder.shown() ? " shown" : "") +
           (moment ? " at " + text(*moment) : std::string(" at the Mac"));
}

[[nodiscard]] inline std::vector<std::string> ids(const std::vector<ReminderItem>& items) {
    std::vector<std::string> ids;
    for (const ReminderItem& item : items) {
        ids.push_back(item.ID);
    }
    return ids;
}

[[nodiscard]] inline std::vector<std::string> ids(const std::vector<ReminderStruct>& reminders) {
    std::vector<std::string> ids;
    for (const ReminderStruct& reminder : reminders) {
        ids.push_back(reminder.id().value_or("(no id)"));
    }
    return ids;
}

[[nodiscard]] inline std::vector<std::string> texts(const std::vector<ReminderStruct>& reminders) {
    std::vector<std::string> texts;
    for (const ReminderStruct& reminder : reminders) {
        texts.push_back(text(reminder));
    }
    return texts;
}

}  // namespace quendokit::testing

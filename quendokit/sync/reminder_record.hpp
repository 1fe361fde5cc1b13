#pragma once
/// \file
/// A reminder as a record of the cloud, there and back.

#include <optional>
#include <string_view>

#include "quendokit/model/reminder_struct.hpp"
#include "quendokit/platform/ck_record.hpp"
#include "quendokit/platform/export.hpp"
#include "quendokit/store/reminder_item.hpp"

namespace quendokit {

namespace ReminderRecord {

/// Stored format. The record's name is the reminder's id. A reminder for a moment has `date` that moment and `device`
/// -1; one that waits for a device has `date` `ReminderDefaults::NoDate` and `device` the raw value of the
/// `DeviceType`.
inline constexpr std::string_view type = "Reminder";
/// Text.
inline constexpr std::string_view title = "title";
/// A number that holds a boolean.
inline constexpr std::string_view shown = "shown";
/// A moment.
inline constexpr std::string_view date = "internal_date";
/// A number that holds an integer.
inline constexpr std::string_view device = "internal_device";

}  // namespace ReminderRecord

/// The record that holds `reminder`, in the zone `zoneID`: all four values, as the item's columns hold them, and no
/// others. Absent when the cloud takes no such name. Any thread.
[[nodiscard]] QUENDOKIT_EXPORT std::optional<CKRecord> makeCKRecord(const ReminderItem& reminder,
                                                                    const CKRecordZoneID& zoneID);

/// The reminder that `record` holds; its id is the record's name. Absent when one of the four values is missing or of
/// another kind, or when moment and device contradict each other: a device other than -1 needs `NoDate` and must be
/// known. Such a record is not applied at all. Any thread.
[[nodiscard]] QUENDOKIT_EXPORT std::optional<ReminderStruct> makeReminderStruct(const CKRecord& record);

}  // namespace quendokit

#include "quendokit/sync/reminder_record.hpp"

#include <string>

#include "quendokit/model/device_type.hpp"
#include "quendokit/store/reminder_defaults.hpp"

namespace quendokit {
namespace {

/// The value under `key` if it is of that kind; null otherwise.
template <typename Kind>
const Kind* valueOf(const CKRecord& record, std::string_view key) {
    const CKRecordValue* value = record.object(key);
    return value == nullptr ? nullptr : std::get_if<Kind>(value);
}

std::optional<ReminderCondition> conditionOf(Date date, std::int64_t device) {
    if (device == ReminderItem::noDevice) {
        return ReminderCondition::dateTime(date);
    }
    const auto known = DeviceType::fromRawValue(device);
    if (date != ReminderDefaults::NoDate || !known) {
        return std::nullopt;
    }
    return ReminderCondition::device(*known);
}

}  // namespace

std::optional<CKRecord> makeCKRecord(const ReminderItem& reminder, const CKRecordZoneID& zoneID) {
    auto record = CKRecord::make(std::string(ReminderRecord::type), {reminder.ID, zoneID});
    if (!record) {
        return std::nullopt;
    }
    record->setObject(std::string(ReminderRecord::title), reminder.title);
    record->setObject(std::string(ReminderRecord::shown), CKNumber(reminder.shown));
    record->setObject(std::string(ReminderRecord::date), reminder._datetime);
    record->setObject(std::string(ReminderRecord::device), CKNumber(reminder._device));
    return record;
}

std::optional<ReminderStruct> makeReminderStruct(const CKRecord& record) {
    const auto* title = valueOf<std::string>(record, ReminderRecord::title);
    const auto* date = valueOf<Date>(record, ReminderRecord::date);
    const auto* device = valueOf<CKNumber>(record, ReminderRecord::device);
    const auto* shown = valueOf<CKNumber>(record, ReminderRecord::shown);
    if (title == nullptr || date == nullptr || device == nullptr || shown == nullptr) {
        return std::nullopt;
    }
    const auto integer = device->integerValue();
    const auto condition = integer ? conditionOf(*date, *integer) : std::nullopt;
    if (!condition) {
        return std::nullopt;
    }
    return ReminderStruct(record.recordID().recordName, *title, shown->boolValue(), *condition);
}

}  // namespace quendokit

#pragma once
/// \file
/// `ReminderItem`, the one persistent record: a reminder and its sync flags.

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "quendokit/model/reminder_condition.hpp"
#include "quendokit/model/reminder_struct.hpp"
#include "quendokit/platform/date.hpp"
#include "quendokit/platform/export.hpp"
#include "quendokit/platform/object_schema.hpp"
#include "quendokit/store/reminder_defaults.hpp"

namespace quendokit {

class Row;
class RowWriter;

/// One reminder in the database. A detached value: changing it changes nothing stored.
struct QUENDOKIT_EXPORT ReminderItem {
    /// Stored in `_device` by a reminder that waits for no device.
    static constexpr std::int64_t noDevice = -1;

    /// A record for a reminder. Without an id it gets a fresh UUID and is `pending`; with one it is not: records that
    /// arrive from the cloud carry ids. `deleted` is false. `completionDate` is the condition's moment, or now.
    ReminderItem(std::string title, const ReminderCondition& condition, std::optional<std::string> id, bool shown);

    /// The record that storing `reminder` writes.
    explicit ReminderItem(const ReminderStruct& reminder);

    std::string ID;
    std::string title;
    /// The person deleted the reminder, and the cloud does not know yet.
    bool deleted = false;
    /// The reminder was presented.
    bool shown = false;
    /// Orders passed reminders: the reminder's moment, later the one at which it was marked seen.
    Date completionDate;
    /// The record has changes that the cloud has not confirmed.
    bool pending = true;
    /// The raw value of a `DeviceType`, or `noDevice`.
    std::int64_t _device = noDevice;
    /// `ReminderDefaults::NoDate` for none; read it through `datetime()`.
    Date _datetime = ReminderDefaults::NoDate;

    /// The reminder's moment; absent when `_datetime` is `NoDate`.
    [[nodiscard]] std::optional<Date> datetime() const noexcept;

    [[nodiscard]] static std::string_view primaryKey() noexcept { return "ID"; }
    /// The last is computed; the first two name nothing and stay for the sake of older programs.
    [[nodiscard]] static std::vector<std::string> ignoredProperties() { return {"device", "condition", "datetime"}; }

    /// What `Realm` asks of an object. Properties are numbered in the order of the fields above.
    [[nodiscard]] static const ObjectSchema& schema();
    [[nodiscard]] static ReminderItem fromRow(const Row& row);
    void writeTo(RowWriter& writer) const;
    [[nodiscard]] std::string_view primaryKeyValue() const noexcept { return ID; }
    [[nodiscard]] bool precedes(const ReminderItem& other, std::size_t property) const;

private:
    ReminderItem(std::string id, std::string itemTitle, Date completed)
        : ID(std::move(id)), title(std::move(itemTitle)), completionDate(completed) {}
};

/// The reminder that a record holds: by its moment when it has one, whatever `_device` says; else by its device. Absent
/// when it has neither; every listing of reminders skips such a record.
[[nodiscard]] QUENDOKIT_EXPORT std::optional<ReminderStruct> makeReminderStruct(const ReminderItem& item);
[[nodiscard]] QUENDOKIT_EXPORT std::optional<ReminderStruct> makeReminderStruct(ReminderItem&& item);

}  // namespace quendokit

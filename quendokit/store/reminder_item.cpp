#include "quendokit/store/reminder_item.hpp"

#include <utility>

#include "quendokit/platform/row.hpp"
#include "quendokit/platform/services.hpp"
#include "quendokit/platform/uuid.hpp"

namespace quendokit {
namespace {

/// The numbers of the properties in the schema.
enum Column : std::size_t { id, title, deleted, shown, completionDate, pending, device, datetime };

ObjectSchema makeSchema() {
    using enum PropertyType;
    return {
        .className = "ReminderItem",
        .properties =
            {
                {"ID", text, std::nullopt, 0},
                {"title", text, Value(""), 0},
                {"deleted", boolean, Value(false), 1},
                {"shown", boolean, Value(false), 2},
                {"completionDate", date, CurrentInstant(), 4},
                {"pending", boolean, Value(true), 0},
                {"_device", integer, Value(ReminderItem::noDevice), 0},
                {"_datetime", date, Value(ReminderDefaults::NoDate), 0},
            },
        .primaryKey = std::string(ReminderItem::primaryKey()),
        .ignoredProperties = ReminderItem::ignoredProperties(),
        .indexHints =
            {
                // Upcoming and the dated half of the passed ones are answered from this index alone.
                {"by_moment",
                 {"_device", "_datetime", "ID", "deleted", "title", "shown", "completionDate", "pending"},
                 ""},
                // The first properties repeat the condition: a database searches an index by its first properties.
                {"waiting_at_mac", {"_device", "shown", "title", "ID", "deleted"}, "_device = 1 AND shown = false"},
                {"seen_at_device", {"shown", "completionDate", "ID", "deleted"}, "shown = true AND _device != -1"},
                {"unseen_at_device", {"shown", "_device"}, "shown = false AND _device != -1"},
                {"unsent", {"pending", "deleted"}, "pending = true"},
            },
    };
}

std::optional<ReminderCondition> conditionOf(const ReminderItem& item) {
    if (const auto moment = item.datetime()) {
        return ReminderCondition::dateTime(*moment);
    }
    if (const auto waitsFor = DeviceType::fromRawValue(item._device)) {
        return ReminderCondition::device(*waitsFor);
    }
    return std::nullopt;
}

}  // namespace

ReminderItem::ReminderItem(std::string itemTitle, const ReminderCondition& condition, std::optional<std::string> id,
                           bool itemShown)
    : ID(id ? *id : makeUUID()),
      title(std::move(itemTitle)),
      shown(itemShown),
      completionDate(condition.date() ? *condition.date() : platform::clock().now()),
      pending(!id.has_value()),
      _device(condition.deviceType() ? condition.deviceType()->rawValue() : noDevice),
      _datetime(condition.date().value_or(ReminderDefaults::NoDate)) {}

ReminderItem::ReminderItem(const ReminderStruct& reminder)
    : ReminderItem(reminder.title(), reminder.condition(), reminder.id(), reminder.shown()) {}

std::optional<Date> ReminderItem::datetime() const noexcept {
    if (_datetime == ReminderDefaults::NoDate) {
        return std::nullopt;
    }
    return _datetime;
}

const ObjectSchema& ReminderItem::schema() {
    static const ObjectSchema schema = makeSchema();
    return schema;
}

ReminderItem ReminderItem::fromRow(const Row& row) {
    ReminderItem item(std::string(row.text(Column::id)), std::string(row.text(Column::title)),
                      row.date(Column::completionDate));
    item.deleted = row.boolean(Column::deleted);
    item.shown = row.boolean(Column::shown);
    item.pending = row.boolean(Column::pending);
    item._device = row.integer(Column::device);
    item._datetime = row.date(Column::datetime);
    return item;
}

void ReminderItem::writeTo(RowWriter& writer) const {
    writer.text(Column::id, ID);
    writer.text(Column::title, title);
    writer.boolean(Column::deleted, deleted);
    writer.boolean(Column::shown, shown);
    writer.date(Column::completionDate, completionDate);
    writer.boolean(Column::pending, pending);
    writer.integer(Column::device, _device);
    writer.date(Column::datetime, _datetime);
}

bool ReminderItem::precedes(const ReminderItem& other, std::size_t property) const {
    switch (static_cast<Column>(property)) {
        case Column::id:
            return ID < other.ID;
        case Column::title:
            return title < other.title;
        case Column::deleted:
            return deleted < other.deleted;
        case Column::shown:
            return shown < other.shown;
        case Column::completionDate:
            return completionDate < other.completionDate;
        case Column::pending:
            return pending < other.pending;
        case Column::device:
            return _device < other._device;
        case Column::datetime:
            return _datetime < other._datetime;
    }
    return false;
}

std::optional<ReminderStruct> makeReminderStruct(const ReminderItem& item) {
    return makeReminderStruct(ReminderItem(item));
}

std::optional<ReminderStruct> makeReminderStruct(ReminderItem&& item) {
    const auto condition = conditionOf(item);
    if (!condition) {
        return std::nullopt;
    }
    return ReminderStruct(std::move(item.ID), std::move(item.title), item.shown, *condition);
}

}  // namespace quendokit

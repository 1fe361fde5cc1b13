#include "quendokit/store/quendokit_config.hpp"

#include "quendokit/platform/services.hpp"
#include "quendokit/store/reminder_item.hpp"

namespace quendokit {
namespace {

void migrate(Migration& migration, std::uint64_t oldSchemaVersion) {
    const Date now = platform::clock().now();
    migration.enumerateObjects(ReminderItem::schema().className, [&](const MigrationObject&, MigrationObject& item) {
        if (oldSchemaVersion == 0) {
            item.set("deleted", false);
        }
        if (oldSchemaVersion <= 1) {
            item.set("shown", false);
        }
        if (oldSchemaVersion <= 3) {
            item.set("completionDate", now);
        }
    });
}

}  // namespace

RealmConfiguration QuendoKitConfig() {
    return {
        .fileURL = std::nullopt,
        .schemaVersion = reminderSchemaVersion,
        .migrationBlock = migrate,
        .objectSchemas = {ReminderItem::schema()},
    };
}

}  // namespace quendokit

/// \file
/// The books that mirroring needs: what is unsent, what arrived, what was confirmed.

#include "quendokit/platform/dispatch_queue.hpp"
#include "quendokit/platform/results.hpp"
#include "quendokit/platform/services.hpp"
#include "quendokit/store/reminder_controller.hpp"
#include "quendokit/store/reminder_controller_internal.hpp"

namespace quendokit {

using Internal = ReminderControllerInternal;

std::optional<std::vector<ReminderItem>> ReminderController::remindersToUpload() {
    return inListOrder(realm_->objects<ReminderItem>().filter("pending = true AND deleted != true"),
                       platform::clock().now());
}

std::optional<std::vector<ReminderItem>> ReminderController::remindersToDelete() {
    return inListOrder(realm_->objects<ReminderItem>().filter("pending = true AND deleted = true"),
                       platform::clock().now());
}

void ReminderController::storeReminder(const ReminderStruct& reminder) {
    DispatchQueue::main().async([self = shared_from_this(), reminder] { self->store(reminder); });
}

void ReminderController::deleteReminder(const std::string& id) {
    DispatchQueue::main().async([self = shared_from_this(), id] {
        if (const auto item = Internal::reminderItem(*self, id)) {
            Internal::hardDelete(*self, *item);
        }
    });
}

void ReminderController::didSyncReminders(const std::vector<std::string>& ids) {
    DispatchQueue::main().async([self = shared_from_this(), ids] {
        Realm& realm = *self->realm_;
        const Date now = platform::clock().now();
        // A failed write is dropped: the records stay unsent, and the next pass sends them again.
        static_cast<void>(realm.write([&] {
            for (const std::string& id : ids) {
                const auto item = listedItem(realm, id, now);
                if (!item) {
                    continue;
                }
                if (item->deleted) {
                    realm.delete_(*item);
                } else {
                    realm.set<ReminderItem>(id, {{"pending", false}});
                }
            }
        }));
    });
}

}  // namespace quendokit

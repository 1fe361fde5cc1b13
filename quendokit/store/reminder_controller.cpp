#include "quendokit/store/reminder_controller.hpp"

#include <iterator>
#include <string>
#include <utility>

#include "quendokit/platform/fatal_error.hpp"
#include "quendokit/platform/results.hpp"
#include "quendokit/platform/services.hpp"
#include "quendokit/store/reminder_controller_internal.hpp"
#include "quendokit/sync/reminder_sync_manager.hpp"

namespace quendokit {

using Internal = ReminderControllerInternal;

std::shared_ptr<ReminderController> ReminderController::create(
    std::shared_ptr<Scheduler> scheduler, std::shared_ptr<Realm> realm,
    const std::shared_ptr<ReminderControllerDelegate>& delegate, std::shared_ptr<ReminderSyncManager> syncManager) {
    if (!realm) {
        fatalError("ReminderController::create needs an open realm");
    }
    auto controller = std::make_shared<ReminderController>(PrivateTag(), std::move(scheduler), std::move(realm),
                                                           delegate, std::move(syncManager));
    if (controller->syncManager_) {
        controller->syncManager_->setReminderStore(controller);
    }
    return controller;
}

ReminderController::ReminderController(PrivateTag, std::shared_ptr<Scheduler> scheduler, std::shared_ptr<Realm> realm,
                                       const std::shared_ptr<ReminderControllerDelegate>& delegate,
                                       std::shared_ptr<ReminderSyncManager> syncManager)
    : scheduler_(std::move(scheduler)),
      realm_(std::move(realm)),
      delegate_(delegate),
      syncManager_(std::move(syncManager)) {}

ReminderController::~ReminderController() = default;

void ReminderController::store(const ReminderStruct& reminder) {
    const ReminderItem item(reminder);
    const auto failure = realm_->write([&] {
        if (const auto existing = Internal::reminderItem(*this, item.ID)) {
            Internal::cancel(*this, *existing);
            if (existing->deleted) {
                // A deletion that is still to reach the cloud stays; storing never revives.
                return;
            }
        }
        platform::standardOutput().writeLine("🗃 [store] " + item.ID);
        realm_->add(item, true);
    });
    if (failure) {
        // The caller sees that nothing changed; there is nobody to tell.
        return;
    }
    Internal::schedule(*this, item);
    tellAdded();
    requireSync();
}

std::optional<ReminderStruct> ReminderController::reminder(std::string_view id) const {
    auto item = Internal::reminderItem(*this, id);
    if (!item) {
        return std::nullopt;
    }
    return makeReminderStruct(*std::move(item));
}

std::vector<ReminderStruct> ReminderController::reminders(bool includingDeleted) const {
    std::vector<ReminderStruct> reminders;
    const Date now = platform::clock().now();
    realm_->read([&] {
        for (const auto list : allReminderLists) {
            resultsOf(list, *realm_, includingDeleted, now).forEach([&](ReminderItem&& item) {
                if (auto reminder = makeReminderStruct(std::move(item))) {
                    reminders.push_back(*std::move(reminder));
                }
                return true;
            });
        }
    });
    return reminders;
}

bool ReminderController::hasReminders() const {
    bool found = false;
    const Date now = platform::clock().now();
    realm_->read([&] {
        for (const auto list : allReminderLists) {
            resultsOf(list, *realm_, false, now).unsorted().forEach([&](const ReminderItem& item) {
                found = makeReminderStruct(item).has_value();
                return !found;
            });
            if (found) {
                return;
            }
        }
    });
    return found;
}

void ReminderController::delete_(const ReminderStruct& reminder) {
    if (!reminder.id()) {
        return;
    }
    const auto item = Internal::reminderItem(*this, *reminder.id());
    if (!item) {
        return;
    }
    if (scheduler_) {
        scheduler_->cancel(reminder);
    }
    Internal::softDelete(*this, *item);
    requireSync();
    tellRemoved();
}

void ReminderController::tellAdded() {
    if (const auto delegate = delegate_.lock()) {
        delegate->reminderControllerDidAddReminder(*this);
    }
}

void ReminderController::tellRemoved() {
    if (const auto delegate = delegate_.lock()) {
        delegate->reminderControllerDidRemoveReminder(*this);
    }
}

void ReminderController::requireSync() {
    if (syncManager_) {
        syncManager_->requireSync();
    }
}

ReminderItems ReminderControllerInternal::reminderItems(const ReminderController& controller, bool includingDeleted) {
    return reminderItems(controller, includingDeleted, platform::clock().now());
}

ReminderItems ReminderControllerInternal::reminderItems(const ReminderController& controller, bool includingDeleted,
                                                        Date now) {
    ReminderItems items;
    const Realm& realm = *controller.realm_;
    realm.read([&] {
        items.macReminders = resultsOf(ReminderList::mac, realm, includingDeleted, now).toVector();
        items.upcomingReminders = resultsOf(ReminderList::upcoming, realm, includingDeleted, now).toVector();
        items.remainingReminders = resultsOf(ReminderList::remaining, realm, includingDeleted, now).toVector();
    });
    return items;
}

std::optional<ReminderItem> ReminderControllerInternal::reminderItem(const ReminderController& controller,
                                                                     std::string_view id) {
    return listedItem(*controller.realm_, id, platform::clock().now());
}

std::vector<ReminderItem> ReminderControllerInternal::datedReminders(const ReminderController& controller,
                                                                     Date instant) {
    return resultsOf(ReminderList::upcoming, *controller.realm_, false, instant).toVector();
}

std::optional<ReminderItem> ReminderControllerInternal::storedReminder(const ReminderController& controller,
                                                                       std::string_view id) {
    return storedItem(*controller.realm_, id);
}

void ReminderControllerInternal::softDelete(ReminderController& controller, const ReminderItem& item) {
    cancel(controller, item);
    // A failed write is dropped: the record stays, and the person can delete it again.
    static_cast<void>(controller.realm_->write(
        [&] { controller.realm_->set<ReminderItem>(item.ID, {{"deleted", true}, {"pending", true}}); }));
}

void ReminderControllerInternal::hardDelete(ReminderController& controller, const ReminderItem& item) {
    cancel(controller, item);
    // A failed write is dropped: the record stays.
    static_cast<void>(controller.realm_->write([&] { controller.realm_->delete_(item); }));
}

void ReminderControllerInternal::schedule(ReminderController& controller, const ReminderItem& item) {
    if (!controller.scheduler_) {
        return;
    }
    if (const auto reminder = makeReminderStruct(item)) {
        controller.scheduler_->schedule(*reminder);
    }
}

void ReminderControllerInternal::cancel(ReminderController& controller, const ReminderItem& item) {
    if (!controller.scheduler_) {
        return;
    }
    if (const auto reminder = makeReminderStruct(item)) {
        controller.scheduler_->cancel(*reminder);
    }
}

}  // namespace quendokit

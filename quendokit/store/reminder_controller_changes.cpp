/// \file
/// Postponing, seeing, counting, storing many, clearing.

#include "quendokit/platform/results.hpp"
#include "quendokit/platform/services.hpp"
#include "quendokit/store/reminder_controller.hpp"
#include "quendokit/store/reminder_controller_internal.hpp"

namespace quendokit {
namespace {

using Internal = ReminderControllerInternal;

std::vector<ReminderItem> itemsOf(const std::vector<ReminderStruct>& reminders) {
    std::vector<ReminderItem> items;
    items.reserve(reminders.size());
    for (const ReminderStruct& reminder : reminders) {
        items.emplace_back(reminder);
    }
    return items;
}

/// Gives the stored record another condition; a fresh record says which columns that takes.
void retime(Realm& realm, const std::string& id, const ReminderCondition& condition) {
    const ReminderItem model("", condition, id, false);
    if (condition.date()) {
        realm.set<ReminderItem>(id, {{"_datetime", model._datetime},
                                     {"_device", model._device},
                                     {"completionDate", model.completionDate},
                                     {"pending", true}});
    } else {
        realm.set<ReminderItem>(id, {{"_datetime", model._datetime}, {"_device", model._device}, {"pending", true}});
    }
}

/// Inside a write: stores the records as seen now.
void addSeen(Realm& realm, std::vector<ReminderItem> items) {
    const Date now = platform::clock().now();
    for (ReminderItem& item : items) {
        item.shown = true;
        item.pending = true;
        item.completionDate = now;
    }
    realm.add(items, true);
}

}  // namespace

void ReminderController::postpone(const ReminderStruct& reminder, const ReminderCondition& condition) {
    if (!reminder.id()) {
        return;
    }
    const auto item = Internal::reminderItem(*this, *reminder.id());
    if (!item) {
        return;
    }
    Internal::cancel(*this, *item);
    tellRemoved();
    // A failed write is dropped: what is scheduled again is what stayed.
    static_cast<void>(realm_->write([&] { retime(*realm_, item->ID, condition); }));
    if (const auto current = storedItem(*realm_, item->ID)) {
        Internal::schedule(*this, *current);
    }
    tellAdded();
    requireSync();
}

void ReminderController::markSeen() {
    // A failed write is dropped: they stay unseen.
    static_cast<void>(realm_->write([&] { addSeen(*realm_, Internal::unseenReminders(*this)); }));
    requireSync();
}

void ReminderController::markSeen(const std::vector<ReminderStruct>& reminders) {
    const auto items = itemsOf(reminders);
    // A failed write is dropped: they stay unseen.
    static_cast<void>(realm_->write([&] { addSeen(*realm_, items); }));
    requireSync();
}

ReminderStats ReminderController::reminderStats(bool /*includingDeleted*/) const {
    ReminderStats stats;
    const Date now = platform::clock().now();
    realm_->read([&] {
        const auto count = [&](ReminderList list) { return resultsOf(list, *realm_, false, now).unsorted().count(); };
        stats.pending = count(ReminderList::mac) + count(ReminderList::upcoming);
        stats.passed = count(ReminderList::remaining);
    });
    return stats;
}

void ReminderController::store(const std::vector<ReminderStruct>& reminders) {
    const auto items = itemsOf(reminders);
    if (realm_->write([&] { realm_->add(items, true); })) {
        // The caller sees that nothing changed; there is nobody to tell.
        return;
    }
    for (const ReminderStruct& reminder : reminders) {
        if (scheduler_) {
            scheduler_->schedule(reminder);
        }
        tellAdded();
    }
}

void ReminderController::clearRealm() {
    if (realm_->write([&] { realm_->deleteAll(); })) {
        // The caller sees that nothing changed; there is nobody to tell.
        return;
    }
    tellRemoved();
}

std::vector<ReminderItem> ReminderControllerInternal::unseenReminders(const ReminderController& controller) {
    return controller.realm_->objects<ReminderItem>().filter("shown == false && _device != -1").toVector();
}

}  // namespace quendokit

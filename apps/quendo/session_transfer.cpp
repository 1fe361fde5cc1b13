/// \file
/// Reminders on their way out of the database and into it.

#include <set>
#include <utility>

#include "apps/quendo/session_internal.hpp"
#include "quendokit/platform/realm.hpp"
#include "quendokit/store/reminder_controller_internal.hpp"
#include "quendokit/sync/reminder_sync_manager.hpp"

namespace quendo {
namespace {

using quendokit::ReminderItem;

TransferEntry entryOf(ReminderItem item, const ReminderView& view) {
    TransferEntry entry{item.ID, std::move(item.title), item.shown, view.condition, item.completionDate};
    entry.standing = TransferStanding{view.list, item.pending, item.deleted};
    return entry;
}

ReminderItem itemOf(const TransferEntry& entry) {
    ReminderItem item(entry.title, entry.condition, entry.id, entry.shown);
    item.pending = true;
    if (entry.completed) {
        item.completionDate = *entry.completed;
    }
    return item;
}

}  // namespace

Outcome<std::vector<TransferEntry>> Session::perform(const ExportRequest&) {
    if (auto failure = openToRead()) {
        return *std::move(failure);
    }
    const quendokit::Date now = quendokit::platform::clock().now();
    auto items = quendokit::ReminderControllerInternal::reminderItems(*controller_, false, now);
    if (auto failure = takeFailure()) {
        return *std::move(failure);
    }
    std::vector<TransferEntry> entries;
    for (auto* list : {&items.macReminders, &items.upcomingReminders, &items.remainingReminders}) {
        for (ReminderItem& item : *list) {
            if (const auto view = makeReminderView(item, now)) {
                entries.push_back(entryOf(std::move(item), *view));
            }
        }
    }
    return entries;
}

Outcome<ImportAnswer> Session::perform(const ImportRequest& request) {
    if (auto failure = openToChange()) {
        return *std::move(failure);
    }
    std::set<std::string> deleted;
    const auto toDelete = controller_->remindersToDelete();
    for (const ReminderItem& item : *toDelete) {
        deleted.insert(item.ID);
    }
    if (auto failure = takeFailure()) {
        return *std::move(failure);
    }
    ImportAnswer answer;
    std::vector<std::string> ids;
    for (const TransferEntry& entry : request.entries) {
        if (entry.id) {
            ids.push_back(*entry.id);
        }
    }
    std::optional<quendokit::Error> error;
    change(std::move(ids), [&] {
        error = realm_->write([&] {
            for (const TransferEntry& entry : request.entries) {
                if (entry.id && deleted.contains(*entry.id)) {
                    answer.leftOut.push_back(entry.title);
                } else {
                    realm_->add(itemOf(entry), true);
                    ++answer.imported;
                }
            }
        });
    });
    if (auto failure = takeFailure(error)) {
        return *std::move(failure);
    }
    if (manager_) {
        // The engine was not asked, and so does not ask itself.
        manager_->requireSync();
    }
    return answer;
}

}  // namespace quendo

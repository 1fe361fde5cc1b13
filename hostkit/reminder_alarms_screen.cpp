/// \file
/// What stands on the screen, and what does not stand there any more.

#include <algorithm>
#include <iterator>

#include "hostkit/day_plan_check.hpp"
#include "hostkit/due_reminders_internal.hpp"
#include "hostkit/reminder_alarms.hpp"
#include "hostkit/tell_internal.hpp"
#include "quendokit/model/date_operations.hpp"
#include "quendokit/platform/services.hpp"
#include "quendokit/store/reminder_controller.hpp"
#include "quendokit/store/reminder_controller_internal.hpp"

namespace quendokit {

using State = FiredEntry::State;

/// Those that were due before and did not come to the screen: the process ended, or there was no screen.
void ReminderAlarms::addUnshown(Due& due) {
    const auto isAmong = [&due, count = due.size()](const FiredEntry& entry) {
        return std::any_of(due.begin(), std::next(due.begin(), static_cast<std::ptrdiff_t>(count)),
                           [&](const DueReminder& one) { return keyOf(one.entry) == keyOf(entry); });
    };
    FiredLedger::Entries over;
    Due again;
    for (FiredEntry& entry : parts_.ledger->in(State::due)) {
        if (presenting_.contains(keyOf(entry)) || isAmong(entry)) {
            continue;
        }
        const auto item = stored(entry.id);
        if (!isStillOf(entry, item) || (item->shown && !entry.wasShown)) {
            entry.state = State::acted;
            over.push_back(std::move(entry));
        } else {
            again.push_back({std::move(entry), item->title});
        }
    }
    note(over);
    std::move(again.begin(), again.end(), std::back_inserter(due));
    std::sort(due.begin(), due.end(), [](const DueReminder& a, const DueReminder& b) {
        return std::pair(a.entry.occurrence, a.entry.id) < std::pair(b.entry.occurrence, b.entry.id);
    });
}

void ReminderAlarms::show(const Due& due, Date now) {
    if (options_.summarises && due.size() > options_.mostAtOnce) {
        showSummary(due);
        return;
    }
    Due old;
    for (const DueReminder& one : due) {
        if (options_.summarises && one.entry.occurrence && *one.entry.occurrence < now - options_.oldAfter) {
            old.push_back(one);
        }
    }
    if (!old.empty()) {
        showSummary(old);
    }
    for (const DueReminder& one : due) {
        if (!presenting_.contains(keyOf(one.entry))) {
            showOne(one, now);
        }
    }
}

void ReminderAlarms::showOne(const DueReminder& due, Date now) {
    const auto occurrence = due.entry.occurrence;
    ReminderNotice notice;
    notice.kind = occurrence ? NoticeKind::reminder : NoticeKind::deviceReminder;
    notice.id = due.entry.id;
    notice.title = due.title;
    notice.occurrence = occurrence;
    notice.isMissed = occurrence && *occurrence < now - options_.missedAfter;
    notice.category = DayPlanCheck(options_.checksDayPlan).notificationCategory(occurrence.value_or(now));
    FiredEntry entry = due.entry;
    entry.inSummary = false;
    present(notice, {entry});
}

void ReminderAlarms::showSummary(const Due& due) {
    ReminderNotice notice;
    notice.kind = NoticeKind::summary;
    notice.isMissed = true;
    notice.count = due.size();
    FiredLedger::Entries entries;
    for (const DueReminder& one : due) {
        if (notice.titles.size() < options_.titlesInSummary) {
            notice.titles.push_back(one.title);
        }
        entries.push_back(one.entry);
        entries.back().inSummary = true;
    }
    present(notice, entries);
}

void ReminderAlarms::present(const ReminderNotice& notice, const FiredLedger::Entries& entries) {
    for (const FiredEntry& entry : entries) {
        presenting_.insert(keyOf(entry));
    }
    parts_.presenter->show(notice, [weak = weak_from_this(), entries](const Result<std::string>& handle) {
        if (const auto self = weak.lock()) {
            self->presented(entries, handle);
        }
    });
}

void ReminderAlarms::presented(FiredLedger::Entries entries, const Result<std::string>& handle) {
    for (const FiredEntry& entry : entries) {
        presenting_.erase(keyOf(entry));
    }
    if (!handle) {
        // They stay due, until there is a screen or something else makes us look.
        if (handle.error().retryAfter) {
            retryLater();
        }
        tell(events_.failed, handle.error());
        return;
    }
    retries_ = 0;
    left_.erase(handle.value());
    for (FiredEntry& entry : entries) {
        entry.state = State::posted;
        entry.handle = handle.value();
    }
    note(entries);
    std::erase_if(entries, [](const FiredEntry& entry) { return entry.occurrence.has_value(); });
    markDevicesSeen(entries);
    // Much may have happened to them on their way.
    closeOutdated();
}

void ReminderAlarms::closeOutdated() {
    if (!options_.closesOutdated) {
        return;
    }
    FiredLedger::Entries over;
    std::set<std::string> kept;
    for (FiredEntry& entry : parts_.ledger->in(State::posted)) {
        const auto item = stored(entry.id);
        if (isStillOf(entry, item) && (entry.wasShown || !item->shown)) {
            kept.insert(entry.handle);
        } else {
            entry.state = State::acted;
            over.push_back(std::move(entry));
        }
    }
    note(over);
    for (const FiredEntry& entry : over) {
        // A summary stays while it speaks of anything.
        if (kept.insert(entry.handle).second) {
            parts_.presenter->close(entry.handle);
        }
    }
}

ReminderAlarms::Due ReminderAlarms::dueAtDevice() {
    Due due;
    FiredLedger::Entries unmarked;
    for (const ReminderItem& item : ReminderControllerInternal::unseenReminders(*parts_.controller)) {
        const FiredEntry* const entry = parts_.ledger->find(item.ID, std::nullopt);
        const auto reminder = makeReminderStruct(item);
        if (item.deleted || !reminder || !reminder->condition().deviceType()) {
            continue;
        }
        if (entry == nullptr || entry->state == State::acted || (entry->state == State::posted && entry->wasShown)) {
            if (entry != nullptr && entry->state == State::posted) {
                // It waits anew.
                parts_.presenter->close(entry->handle);
            }
            due.push_back({{.id = item.ID, .occurrence = std::nullopt}, item.title});
        } else if (entry->state == State::posted) {
            unmarked.push_back(*entry);
        }
    }
    markDevicesSeen(unmarked);
    return due;
}

void ReminderAlarms::markDevicesSeen(const FiredLedger::Entries& entries) {
    if (entries.empty()) {
        return;
    }
    std::vector<std::string> ids;
    for (const FiredEntry& entry : entries) {
        ids.push_back(entry.id);
    }
    parts_.perform(ids, [weak = weak_from_this(), ids] {
        const auto self = weak.lock();
        if (!self) {
            return;
        }
        const auto devices = [&](bool shown) {
            std::vector<ReminderItem> found;
            for (const std::string& id : ids) {
                auto item = self->stored(id);
                if (item && !item->deleted && !item->datetime() && item->shown == shown) {
                    found.push_back(*std::move(item));
                }
            }
            return found;
        };
        std::vector<ReminderStruct> unseen;
        for (const ReminderItem& item : devices(false)) {
            if (auto reminder = makeReminderStruct(item)) {
                unseen.push_back(*std::move(reminder));
            }
        }
        if (!unseen.empty()) {
            self->parts_.controller->markSeen(unseen);
        }
        // Being shown is what we made them, no news from elsewhere. What could not be marked is tried again.
        FiredLedger::Entries marked;
        for (const ReminderItem& item : devices(true)) {
            const FiredEntry* const entry = self->parts_.ledger->find(item.ID, std::nullopt);
            if (entry != nullptr && entry->state == State::posted && !entry->wasShown) {
                marked.push_back(*entry);
                marked.back().wasShown = true;
            }
        }
        self->note(marked);
    });
}

}  // namespace quendokit

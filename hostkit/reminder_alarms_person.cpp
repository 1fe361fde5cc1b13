/// \file
/// What the person does with what stands on the screen.

#include <cmath>

#include "hostkit/due_reminders_internal.hpp"
#include "hostkit/late_postpone.hpp"
#include "hostkit/reminder_alarms.hpp"
#include "quendokit/platform/services.hpp"
#include "quendokit/presets/notification_action.hpp"
#include "quendokit/presets/preset_controller.hpp"
#include "quendokit/store/reminder_controller.hpp"

namespace quendokit {
namespace {

/// Seconds between two attempts to store what a button means: the store tells of a failed one at once.
constexpr double finishingPause = 1;

/// What the button meant when it was pressed; if that is over by now, what it means now.
ReminderCondition conditionOf(const FiredEntry& entry, const Preset& preset, Date now, bool again) {
    const Date pressedAt = entry.pressedAt.value_or(now);
    const auto condition = postponedCondition(preset, entry.occurrence, pressedAt, again);
    const auto date = condition.date();
    return again && date && *date <= now ? postponedCondition(preset, std::nullopt, now) : condition;
}

}  // namespace

void ReminderAlarms::pressed(const std::string& handle, const std::string& actionIdentifier) {
    const auto action = NotificationAction::fromRawValue(actionIdentifier);
    if (!action) {
        report("a press of an unknown button is ignored");
        return;
    }
    const auto entries = parts_.ledger->shownAs(handle);
    if (entries.size() != 1 || entries.front().inSummary) {
        report("a press on an unknown notification is ignored");
        return;
    }
    FiredEntry entry = entries.front();
    const bool isOnScreen =
        entry.state == FiredEntry::State::posted || (entry.state == FiredEntry::State::acted && left_.contains(handle));
    if (!isOnScreen || !entry.action.empty()) {
        report("a second press on a notification is ignored");
        return;
    }
    if (!isStillOf(entry, stored(entry.id))) {
        report("a press is ignored: its reminder was deleted or has another time");
        entry.state = FiredEntry::State::acted;
        note({entry});
        return;
    }
    entry.state = FiredEntry::State::pressed;
    entry.action = action->rawValue();
    entry.pressedAt = platform::clock().now();
    note({entry});
    parts_.presenter->close(handle);
    finish(entry);
}

void ReminderAlarms::finishPressed(Date now) {
    if (finishFailed_ &&
        std::abs(now.timeIntervalSince1970() - finishFailed_->timeIntervalSince1970()) < finishingPause) {
        return;
    }
    for (const FiredEntry& entry : parts_.ledger->in(FiredEntry::State::pressed)) {
        finish(entry);
    }
}

void ReminderAlarms::finish(const FiredEntry& entry) {
    if (!finishing_.insert(keyOf(entry)).second) {
        return;
    }
    parts_.perform({entry.id}, [weak = weak_from_this(), entry] {
        if (const auto self = weak.lock()) {
            self->finishing_.erase(keyOf(entry));
            self->postpone(entry);
        }
    });
}

void ReminderAlarms::postpone(const FiredEntry& entry) {
    FiredEntry finished = entry;
    finished.state = FiredEntry::State::acted;
    const auto action = NotificationAction::fromRawValue(entry.action);
    const auto item = stored(entry.id);
    if (!action || !isStillOf(entry, item)) {
        note({finished});
        return;
    }
    const Date now = platform::clock().now();
    const auto condition = conditionOf(entry, PresetController().postpone(*action), now, options_.reckonsLateButtons);
    parts_.controller->postpone(*makeReminderStruct(*item), condition);
    if (isStillOf(entry, stored(entry.id)) && !entry.isOf(condition.date())) {
        finishFailed_ = now;
        retryLater();
        report("a postponed reminder could not be stored; it is tried again");
        return;
    }
    finishFailed_.reset();
    note({finished});
}

void ReminderAlarms::left(const std::string& handle, bool isSeen) {
    FiredLedger::Entries over;
    for (FiredEntry& entry : parts_.ledger->shownAs(handle)) {
        if (entry.state != FiredEntry::State::posted) {
            continue;
        }
        left_.insert(handle);
        // Who has read a summary has not read all that it counts.
        if (isSeen && entry.occurrence && !entry.inSummary) {
            markSeen(entry);
        } else {
            entry.state = FiredEntry::State::acted;
            over.push_back(std::move(entry));
        }
    }
    note(over);
}

void ReminderAlarms::markSeen(const FiredEntry& entry) {
    parts_.perform({entry.id}, [weak = weak_from_this(), id = entry.id, occurrence = entry.occurrence] {
        const auto self = weak.lock();
        if (!self) {
            return;
        }
        const FiredEntry* const current = self->parts_.ledger->find(id, occurrence);
        if (current == nullptr || current->state != FiredEntry::State::posted) {
            return;
        }
        FiredEntry entry = *current;
        const auto item = self->stored(id);
        if (isStillOf(entry, item) && !item->shown) {
            self->parts_.controller->markSeen(std::vector{*makeReminderStruct(*item)});
        }
        entry.state = FiredEntry::State::acted;
        self->note({entry});
    });
}

}  // namespace quendokit

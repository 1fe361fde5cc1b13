#include <algorithm>
#include <string_view>
#include <unordered_map>
#include <utility>

#include "hostkit/due_reminders_internal.hpp"
#include "quendokit/model/date_operations.hpp"
#include "quendokit/store/reminder_controller_internal.hpp"

namespace quendokit {
namespace {

/// Whether a reminder that nobody knew before its moment is still news to the person: nobody has shown it; or it was
/// postponed to that moment on this device.
bool isNews(const ReminderItem& item) {
    return !item.shown || (item.pending && item.completionDate == item._datetime);
}

bool isSame(Date a, Date b) {
    return ReminderCondition::dateTime(a) == ReminderCondition::dateTime(b);
}

/// Decides about one record after the other.
class DueSearch {
public:
    DueSearch(Date now, const FiredLedger& ledger, const ReminderAlarmsOptions& options)
        : now_(now), ledger_(ledger), options_(options) {}

    /// `armed` is absent (null) for one that was not known before its moment.
    void look(const ReminderItem& item, const ArmedReminder* armed) {
        if (!item.datetime() || ledger_.find(item.ID, item.datetime()) != nullptr) {
            return;
        }
        if (!options_.catchesUp && item._datetime < now_ - options_.missedAfter) {
            return;
        }
        if (armed != nullptr ? armed->shown || !item.shown : ringsLate(item)) {
            due.push_back({{.id = item.ID, .occurrence = item.datetime(), .wasShown = item.shown}, item.title});
        }
    }

    std::vector<DueReminder> due;

private:
    [[nodiscard]] bool ringsLate(const ReminderItem& item) const {
        // What was stored while nobody looked was known to whoever stored it, however long ago that was.
        const bool isRecent = item._datetime > now_ - options_.oldAfter ||
                              (ledger_.lastCheck() && item._datetime >= *ledger_.lastCheck());
        return options_.ringsLateArrivals && isRecent && item._datetime >= ledger_.beginning() && isNews(item);
    }

    const Date now_;
    const FiredLedger& ledger_;
    const ReminderAlarmsOptions& options_;
};

}  // namespace

RemindersAt remindersAt(const ReminderController& controller, Date now, Date from) {
    RemindersAt at{now, {}, {}};
    for (ReminderItem& item : ReminderControllerInternal::datedReminders(controller, from)) {
        if (item._datetime < now) {
            at.passed.push_back(std::move(item));
        } else {
            at.armed.push_back({std::move(item.ID), std::move(item.title), item._datetime, item.shown});
        }
    }
    return at;
}

Date dueFrom(const FiredLedger& ledger, Date now, const ReminderAlarmsOptions& options) {
    const Date recent = now - options.oldAfter;
    return ledger.lastCheck() ? std::min(recent, *ledger.lastCheck() - 1) : recent;
}

std::vector<DueReminder> newlyDue(const ReminderController& controller, const RemindersAt& at,
                                  const std::vector<ArmedReminder>& former, const FiredLedger& ledger,
                                  const ReminderAlarmsOptions& options) {
    DueSearch search(at.now, ledger, options);
    std::unordered_map<std::string_view, const ReminderItem*> passed;
    for (const ReminderItem& item : at.passed) {
        passed.emplace(item.ID, &item);
    }
    std::unordered_map<std::string_view, const ArmedReminder*> known;
    for (const ArmedReminder& armed : former) {
        // A moment may have moved by less than a second since.
        if (armed.date >= at.now + 1) {
            break;
        }
        if (const auto item = passed.find(armed.id); item != passed.end()) {
            if (isSame(armed.date, item->second->_datetime)) {
                known.emplace(armed.id, &armed);
            }
            continue;
        }
        // Older than what was read.
        const auto item = ReminderControllerInternal::storedReminder(controller, armed.id);
        if (item && !item->deleted && item->_device == ReminderItem::noDevice && item->_datetime < at.now &&
            isSame(armed.date, item->_datetime)) {
            search.look(*item, &armed);
        }
    }
    for (const ReminderItem& item : at.passed) {
        const auto armed = known.find(item.ID);
        search.look(item, armed != known.end() ? armed->second : nullptr);
    }
    return std::move(search.due);
}

bool isStillOf(const FiredEntry& entry, const std::optional<ReminderItem>& item) {
    return item && !item->deleted && makeReminderStruct(*item) && entry.isOf(item->datetime());
}

}  // namespace quendokit

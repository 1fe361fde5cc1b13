#include "hostkit/reminder_alarms.hpp"

#include <algorithm>
#include <cmath>

#include "hostkit/due_reminders_internal.hpp"
#include "hostkit/tell_internal.hpp"
#include "quendokit/model/date_operations.hpp"
#include "quendokit/platform/fatal_error.hpp"
#include "quendokit/platform/services.hpp"
#include "quendokit/store/reminder_controller_internal.hpp"

namespace quendokit {
namespace {

/// Seconds that the last check may have moved on before that is written for its own sake.
constexpr double unwrittenCheck = 60;
/// What comes before the start is kept, within reason.
constexpr std::size_t mostEarlyEvents = 1'000;

}  // namespace

std::shared_ptr<ReminderAlarms> ReminderAlarms::create(ReminderAlarmsParts parts, ReminderAlarmsOptions options,
                                                       ReminderAlarmsEvents events) {
    if (!parts.controller || !parts.ledger || !parts.presenter || !parts.armAt || !parts.perform) {
        fatalError("ReminderAlarms needs a controller, a ledger, a presenter, a timer and a way to change reminders");
    }
    auto alarms = std::make_shared<ReminderAlarms>(PrivateTag(), std::move(parts), options, std::move(events));
    alarms->listen();
    return alarms;
}

ReminderAlarms::ReminderAlarms(PrivateTag, ReminderAlarmsParts parts, ReminderAlarmsOptions options,
                               ReminderAlarmsEvents events)
    : parts_(std::move(parts)), options_(options), events_(std::move(events)) {}

ReminderAlarms::~ReminderAlarms() {
    parts_.presenter->setEvents({});
}

void ReminderAlarms::listen() {
    const auto weak = weak_from_this();
    ReminderPresenterEvents events;
    events.pressed = [weak](const std::string& handle, const std::string& action) {
        if (const auto self = weak.lock()) {
            self->later([self = self.get(), handle, action] { self->pressed(handle, action); });
        }
    };
    events.opened = [weak](const std::string& handle) {
        if (const auto self = weak.lock()) {
            self->later([self = self.get(), handle] { self->left(handle, true); });
        }
    };
    events.closed = [weak](const std::string& handle, bool byThePerson) {
        if (const auto self = weak.lock()) {
            self->later([self = self.get(), handle, byThePerson] { self->left(handle, byThePerson); });
        }
    };
    events.available = [weak] {
        if (const auto self = weak.lock()) {
            self->check();
        }
    };
    parts_.presenter->setEvents(std::move(events));
}

void ReminderAlarms::later(std::function<void()> event) {
    if (started_) {
        event();
    } else if (early_.size() < mostEarlyEvents) {
        early_.push_back(std::move(event));
    }
}

void ReminderAlarms::start() {
    if (std::exchange(started_, true)) {
        return;
    }
    const auto self = shared_from_this();
    if (parts_.armedList) {
        armed_ = parts_.armedList->read().value_or(std::vector<ArmedReminder>());
    }
    check();
    for (const auto& event : std::exchange(early_, {})) {
        event();
    }
}

void ReminderAlarms::timeReached() {
    timer_.reset();
    check();
}

void ReminderAlarms::clockChanged() {
    timer_.reset();
    check();
}

void ReminderAlarms::storeChanged() {
    check();
}

void ReminderAlarms::arrived() {
    hasArrived_ = true;
    check();
}

void ReminderAlarms::setController(std::shared_ptr<ReminderController> controller) {
    parts_.controller = std::move(controller);
    check();
}

void ReminderAlarms::check() {
    if (!started_) {
        return;
    }
    if (checking_) {
        // What a check does may change the store.
        checksAgain_ = true;
        return;
    }
    const auto self = shared_from_this();
    checking_ = true;
    do {
        checksAgain_ = false;
        checkOnce();
    } while (checksAgain_);
    checking_ = false;
}

void ReminderAlarms::checkOnce() {
    const Date now = platform::clock().now();
    if (retryAt_ && *retryAt_ <= now) {
        retryAt_.reset();
    }
    closeOutdated();
    finishPressed(now);
    RemindersAt at = remindersAt(*parts_.controller, now, dueFrom(*parts_.ledger, now, options_));
    Due due = newlyDue(*parts_.controller, at, armed_, *parts_.ledger, options_);
    if (std::exchange(hasArrived_, false)) {
        Due waiting = dueAtDevice();
        std::move(waiting.begin(), waiting.end(), std::back_inserter(due));
    }
    FiredLedger::Entries entries;
    for (const DueReminder& one : due) {
        entries.push_back(one.entry);
    }
    const auto last = parts_.ledger->lastCheck();
    bool isNoted = true;
    if (!entries.empty() || !last ||
        std::abs(now.timeIntervalSince1970() - last->timeIntervalSince1970()) > unwrittenCheck) {
        isNoted = note(entries, now);
    }
    addUnshown(due);
    show(due, now);
    arm(std::move(at.armed), now, isNoted);
    forgetWhatIsGone(now);
}

void ReminderAlarms::arm(std::vector<ArmedReminder> armed, Date now, bool everythingIsNoted) {
    armed_ = std::move(armed);
    // While the ledger cannot be written, the list on the disk is what tells the next start of them.
    if (parts_.armedList && everythingIsNoted) {
        if (const auto error = parts_.armedList->write(armed_, now)) {
            tell(events_.failed, *error);
        }
    }
    setTimer(now);
}

void ReminderAlarms::setTimer(Date now) {
    const auto next = std::find_if(armed_.begin(), armed_.end(), [this](const ArmedReminder& reminder) {
        // What rang stays rung when the clock is set back.
        return parts_.ledger->find(reminder.id, reminder.date) == nullptr;
    });
    std::optional<Date> moment;
    if (next != armed_.end()) {
        // At its very moment a reminder is in none of the engine's lists and cannot be postponed.
        moment = next->date > now ? next->date : Date(now.timeIntervalSince1970() + 0.001);
    }
    if (retryAt_ && (!moment || *retryAt_ < *moment)) {
        moment = retryAt_;
    }
    if (timer_ != std::optional(moment)) {
        timer_ = moment;
        parts_.armAt(moment);
    }
}

void ReminderAlarms::retryLater() {
    // Once it has failed for half an hour, only news can make a difference.
    constexpr int mostRetries = 11;
    if (retries_ < mostRetries && !retryAt_) {
        const Date now = platform::clock().now();
        retryAt_ = now + (std::int64_t{1} << retries_++);
        setTimer(now);
    }
}

void ReminderAlarms::forgetWhatIsGone(Date now) {
    // What is gone may come back, as everything does after a clear.
    const Date recent = now - options_.oldAfter;
    const auto error = parts_.ledger->compact([this, recent](const FiredEntry& entry) {
        const auto item = stored(entry.id);
        return (item && entry.isOf(item->datetime())) || (entry.occurrence && *entry.occurrence > recent);
    });
    if (error) {
        tell(events_.failed, *error);
    }
}

std::optional<ReminderItem> ReminderAlarms::stored(const std::string& id) const {
    return ReminderControllerInternal::storedReminder(*parts_.controller, id);
}

bool ReminderAlarms::note(const FiredLedger::Entries& entries, std::optional<Date> checked) {
    if (entries.empty() && !checked) {
        return true;
    }
    const auto error = parts_.ledger->put(entries, checked);
    if (error) {
        tell(events_.failed, *error);
    }
    return !error;
}

void ReminderAlarms::report(const std::string& line) const {
    tell(events_.reports, line);
}

ReminderAlarms::Key ReminderAlarms::keyOf(const FiredEntry& entry) {
    return {entry.id, entry.occurrence ? std::optional(entry.occurrence->timeIntervalSince1970()) : std::nullopt};
}

}  // namespace quendokit

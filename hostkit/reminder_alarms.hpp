#pragma once
/// \file
/// `ReminderAlarms`, which makes reminders ring.

#include <functional>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "hostkit/armed_list.hpp"
#include "hostkit/armed_list_file.hpp"
#include "hostkit/fired_ledger.hpp"
#include "hostkit/reminder_alarms_options.hpp"
#include "hostkit/reminder_presenter.hpp"
#include "quendokit/platform/date.hpp"
#include "quendokit/platform/export.hpp"
#include "quendokit/store/reminder_item.hpp"

namespace quendokit {

class ReminderController;
struct DueReminder;

/// What alarms work with.
struct ReminderAlarmsParts {
    std::shared_ptr<ReminderController> controller;
    std::shared_ptr<FiredLedger> ledger;
    /// Null: what was known before its moment is forgotten when the process ends.
    std::shared_ptr<ArmedListFile> armedList;
    std::shared_ptr<ReminderPresenter> presenter;
    /// Sets the host's one timer to that moment of the wall clock, instead of any before; absent: to none. The host
    /// calls `timeReached` then.
    std::function<void(std::optional<Date>)> armAt;
    /// Changes the reminders with these ids by `change`, now or in a later turn: `GuardedCloudDatabase::perform`.
    std::function<void(std::vector<std::string> ids, std::function<void()> change)> perform;
};

/// Decides when what is put before the person, and does what they ask for there. What rings is read from the store and
/// held against the ledger, at each call that says that time or store may have moved; nothing else wakes it up.
///
/// A dated reminder rings once for each moment that it is given, as soon as that is over; late, too, when the machine
/// was off or asleep. One of a device is shown when the person arrives. Everything rings at least once: only when the
/// process ends between the screen and the ledger it rings twice.
///
/// Holds what it is made with, and is the only one to set the presenter's events. Main thread only.
class QUENDOKIT_EXPORT ReminderAlarms final : public std::enable_shared_from_this<ReminderAlarms> {
    struct PrivateTag {};

public:
    /// Fatal if a part other than the armed list is missing.
    [[nodiscard]] static std::shared_ptr<ReminderAlarms> create(ReminderAlarmsParts parts,
                                                                ReminderAlarmsOptions options = {},
                                                                ReminderAlarmsEvents events = {});
    ReminderAlarms(PrivateTag tag, ReminderAlarmsParts parts, ReminderAlarmsOptions options,
                   ReminderAlarmsEvents events);
    ReminderAlarms(const ReminderAlarms&) = delete;
    ReminderAlarms& operator=(const ReminderAlarms&) = delete;
    /// Ends the presenter's events.
    ~ReminderAlarms();

    /// Finishes what the last process left half done, and rings what fell due since. What came before is answered now.
    void start();
    /// The timer has fired.
    void timeReached();
    /// The clock was set, the time zone changed, or the machine woke up: the timer may be wrong.
    void clockChanged();
    /// Something is stored, deleted or downloaded, or a write has failed. Call it outside of writes, once for many
    /// changes (`QueueingScheduler`).
    void storeChanged();
    /// The person is at this device: they have logged in, unlocked the screen or woken the machine.
    void arrived();

    /// The host has made another controller over the same reminders.
    void setController(std::shared_ptr<ReminderController> controller);

private:
    using Due = std::vector<DueReminder>;
    using Key = std::pair<std::string, std::optional<double>>;

    void listen();
    void check();
    void checkOnce();
    void arm(std::vector<ArmedReminder> armed, Date now, bool everythingIsNoted);
    void setTimer(Date now);
    /// What could not be shown or stored is tried again by itself, ever later, a number of times.
    void retryLater();
    void forgetWhatIsGone(Date now);

    // What is on the screen.
    void addUnshown(Due& due);
    void show(const Due& due, Date now);
    void showOne(const DueReminder& due, Date now);
    void showSummary(const Due& due);
    void present(const ReminderNotice& notice, const FiredLedger::Entries& entries);
    void presented(FiredLedger::Entries entries, const Result<std::string>& handle);
    void closeOutdated();

    // Those that wait for the person at a device.
    [[nodiscard]] Due dueAtDevice();
    void markDevicesSeen(const FiredLedger::Entries& entries);

    // What the person does.
    void later(std::function<void()> event);
    void pressed(const std::string& handle, const std::string& actionIdentifier);
    void left(const std::string& handle, bool isSeen);
    void markSeen(const FiredEntry& entry);
    void finishPressed(Date now);
    void finish(const FiredEntry& entry);
    void postpone(const FiredEntry& entry);

    [[nodiscard]] std::optional<ReminderItem> stored(const std::string& id) const;
    /// Whether that is on the disk.
    bool note(const FiredLedger::Entries& entries, std::optional<Date> checked = std::nullopt);
    void report(const std::string& line) const;
    [[nodiscard]] static Key keyOf(const FiredEntry& entry);

    ReminderAlarmsParts parts_;
    const ReminderAlarmsOptions options_;
    const ReminderAlarmsEvents events_;
    /// As it was at the last check.
    std::vector<ArmedReminder> armed_;
    /// What the timer was set to; absent while that is unknown.
    std::optional<std::optional<Date>> timer_;
    /// When something that failed is tried again, and how often that was so in a row.
    std::optional<Date> retryAt_;
    int retries_ = 0;
    bool started_ = false;
    bool checking_ = false;
    bool checksAgain_ = false;
    bool hasArrived_ = false;
    /// What came before the start.
    std::vector<std::function<void()>> early_;
    /// On their way to the screen.
    std::set<Key> presenting_;
    /// Postpones on their way to the store, and when one failed last.
    std::set<Key> finishing_;
    std::optional<Date> finishFailed_;
    /// What left the screen in this process: some services tell of that before they tell of the button.
    std::set<std::string> left_;
};

}  // namespace quendokit

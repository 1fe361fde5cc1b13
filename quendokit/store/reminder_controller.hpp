#pragma once
/// \file
/// `ReminderController`, through which the host keeps a person's reminders.

#include <cstddef>
#include <initializer_list>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "quendokit/model/reminder_struct.hpp"
#include "quendokit/platform/export.hpp"
#include "quendokit/store/reminder_controller_delegate.hpp"
#include "quendokit/store/reminder_store.hpp"
#include "quendokit/store/scheduler.hpp"

namespace quendokit {

class Realm;
class ReminderSyncManager;

/// How many reminders there are.
struct ReminderStats {
    /// Those at the Mac and the upcoming ones.
    std::size_t pending = 0;
    std::size_t passed = 0;
};

/// The person's reminders.
///
/// A device reminder is "mac" until it is shown and "passed" from then on; a dated one is "upcoming" while its moment
/// lies ahead and "passed" afterwards, shown or not. A reminder that is due at the very instant of a call is in none of
/// the three lists and is not found by that call.
///
/// Holds scheduler, database and sync manager, and holds weakly the delegate. Main thread only: the thread on which the
/// database was opened. No operation reports an error; a write that fails leaves what was stored as it was.
class QUENDOKIT_EXPORT ReminderController final : public ReminderStore,
                                                  public std::enable_shared_from_this<ReminderController> {
    struct PrivateTag {};

public:
    /// `realm` was opened with `QuendoKitConfig()`. Scheduler, delegate and sync manager may be null: nobody is asked
    /// or told then. The controller becomes the sync manager's store, which starts a download at once. Fatal if `realm`
    /// is null.
    [[nodiscard]] static std::shared_ptr<ReminderController> create(
        std::shared_ptr<Scheduler> scheduler, std::shared_ptr<Realm> realm,
        const std::shared_ptr<ReminderControllerDelegate>& delegate = nullptr,
        std::shared_ptr<ReminderSyncManager> syncManager = nullptr);

    ReminderController(PrivateTag tag, std::shared_ptr<Scheduler> scheduler, std::shared_ptr<Realm> realm,
                       const std::shared_ptr<ReminderControllerDelegate>& delegate,
                       std::shared_ptr<ReminderSyncManager> syncManager);
    ~ReminderController() override;

    /// Stores a new reminder under a fresh id, or replaces the one of the same id. In this order: inside one write, the
    /// old record's notification is cancelled, a line is printed and the record added; then the notification is
    /// scheduled, the delegate told and a sync required. A reminder that was deleted, but whose deletion the cloud has
    /// not confirmed, is left as it is; the rest happens all the same. After a failed write nothing more happens.
    ///
    /// A reminder with an id does not count as changed here: storing it does not by itself carry it to the person's
    /// other devices.
    void store(const ReminderStruct& reminder);

    /// The first of `reminders(true)` with this id; absent when there is none. Costs the same for any number of
    /// reminders.
    [[nodiscard]] std::optional<ReminderStruct> reminder(std::string_view id) const;

    /// All reminders at this instant: mac by title, upcoming by moment, passed with the newest first.
    /// `includingDeleted` adds those whose deletion the cloud has not confirmed.
    [[nodiscard]] std::vector<ReminderStruct> reminders(bool includingDeleted) const;

    /// Whether `reminders(false)` holds any.
    [[nodiscard]] bool hasReminders() const;

    /// Deletes the stored reminder of the same id: cancels `reminder`'s notification, marks the record deleted (which
    /// cancels once more), requires a sync, then tells the delegate, even if the write failed. Nothing happens when
    /// `reminder` has no id or is not stored. The record goes away when the cloud has confirmed the deletion.
    void delete_(const ReminderStruct& reminder);

    /// Gives the stored reminder of the same id another condition. In this order: its notification is cancelled, the
    /// delegate is told of a removal, the change is written, the notification is scheduled and the delegate told of an
    /// addition, and a sync is required; the last three even if the write failed, with what is stored then. `shown`
    /// stays: a reminder that was shown and now waits for the Mac is passed, not mac. Nothing happens when `reminder`
    /// has no id or is not stored.
    void postpone(const ReminderStruct& reminder, const ReminderCondition& condition);

    /// Marks the device reminders that were not shown yet, then requires a sync. Neither scheduler nor delegate are
    /// told.
    void markSeen();

    /// Marks each of `reminders`, as it is given: it replaces what is stored under its id, a deleted reminder too; one
    /// without an id is stored under a fresh one. Read them right before, so that nothing newer is replaced. Then a
    /// sync is required. Neither scheduler nor delegate are told.
    void markSeen(const std::vector<ReminderStruct>& reminders);

    /// What `reminders(false)` counts, and records that are no reminders with it. The argument changes nothing:
    /// deleted reminders never count.
    [[nodiscard]] ReminderStats reminderStats(bool includingDeleted) const;

    /// Stores many in one write, as `store(reminder)` does one, but replaces deleted ones, too, and cancels nothing.
    /// Then, for each in turn, the notification is scheduled, of one without an id without the id that it got, and the
    /// delegate told. No sync is required. After a failed write nothing more happens.
    void store(const std::vector<ReminderStruct>& reminders);
    /// Braces around one reminder are a list of one.
    void store(std::initializer_list<ReminderStruct> reminders) { store(std::vector<ReminderStruct>(reminders)); }

    /// Removes everything from the database of this device, then tells the delegate, but not if the write failed.
    /// Notifications stay armed.
    void clearRealm();

    /// For the sync manager. Mac, upcoming, passed, each in its order; never absent. Costs by what they answer.
    [[nodiscard]] std::optional<std::vector<ReminderItem>> remindersToUpload() override;
    [[nodiscard]] std::optional<std::vector<ReminderItem>> remindersToDelete() override;

    /// For the sync manager: `store(reminder)` in a later turn of the main queue, which keeps the controller until
    /// then. Any thread.
    void storeReminder(const ReminderStruct& reminder) override;
    /// For the sync manager: removes the record for good, likewise; nothing when there is none. Any thread.
    void deleteReminder(const std::string& id) override;
    /// For the sync manager: in one write, likewise, these records have no unconfirmed change any more, and those that
    /// are deleted go. Ids without a record are ignored, a failed write is dropped. Any thread.
    void didSyncReminders(const std::vector<std::string>& ids) override;

    /// Absent (null) when none was given.
    [[nodiscard]] const std::shared_ptr<ReminderSyncManager>& syncManager() const noexcept { return syncManager_; }

private:
    friend class ReminderControllerInternal;

    void tellAdded();
    void tellRemoved();
    void requireSync();

    const std::shared_ptr<Scheduler> scheduler_;
    const std::shared_ptr<Realm> realm_;
    const std::weak_ptr<ReminderControllerDelegate> delegate_;
    const std::shared_ptr<ReminderSyncManager> syncManager_;
};

}  // namespace quendokit

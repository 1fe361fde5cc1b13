#pragma once
/// \file
/// `ReminderController`, through which the host stores, lists, looks up and deletes reminders.

#include <memory>
#include <optional>
#include <string_view>
#include <vector>

#include "quendokit/model/reminder_struct.hpp"
#include "quendokit/platform/export.hpp"
#include "quendokit/store/reminder_controller_delegate.hpp"
#include "quendokit/store/scheduler.hpp"

namespace quendokit {

class Realm;
class ReminderSyncManager;

/// The person's reminders.
///
/// A device reminder is "mac" until it is shown and "passed" from then on; a dated one is "upcoming" while its moment
/// lies ahead and "passed" afterwards, shown or not. A reminder that is due at the very instant of a call is in none of
/// the three lists and is not found by that call.
///
/// Holds scheduler, database and sync manager, and holds weakly the delegate. Main thread only: the thread on which the
/// database was opened. No operation reports an error; a write that fails leaves what was stored as it was.
class QUENDOKIT_EXPORT ReminderController : public std::enable_shared_from_this<ReminderController> {
    struct PrivateTag {};

public:
    /// `realm` was opened with `QuendoKitConfig()`. Scheduler, delegate and sync manager may be null: nobody is asked
    /// or told then. Fatal if `realm` is null.
    [[nodiscard]] static std::shared_ptr<ReminderController> create(
        std::shared_ptr<Scheduler> scheduler, std::shared_ptr<Realm> realm,
        const std::shared_ptr<ReminderControllerDelegate>& delegate = nullptr,
        std::shared_ptr<ReminderSyncManager> syncManager = nullptr);

    ReminderController(PrivateTag tag, std::shared_ptr<Scheduler> scheduler, std::shared_ptr<Realm> realm,
                       const std::shared_ptr<ReminderControllerDelegate>& delegate,
                       std::shared_ptr<ReminderSyncManager> syncManager);
    ReminderController(const ReminderController&) = delete;
    ReminderController& operator=(const ReminderController&) = delete;
    ~ReminderController();

    /// Stores a new reminder under a fresh id, or replaces the one of the same id. In this order: inside one write, the
    /// old record's notification is cancelled, a line is printed and the record added; then the notification is
    /// scheduled and the delegate told. A reminder that was deleted, but whose deletion the cloud has not confirmed, is
    /// left as it is; the rest happens all the same. After a failed write nothing more happens.
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
    /// cancels once more), then tells the delegate, even if the write failed. Nothing happens when `reminder` has no id
    /// or is not stored. The record goes away when the cloud has confirmed the deletion.
    void delete_(const ReminderStruct& reminder);

    /// Absent (null) when none was given.
    [[nodiscard]] const std::shared_ptr<ReminderSyncManager>& syncManager() const noexcept { return syncManager_; }

private:
    friend class ReminderControllerInternal;

    void tellAdded();
    void tellRemoved();

    const std::shared_ptr<Scheduler> scheduler_;
    const std::shared_ptr<Realm> realm_;
    const std::weak_ptr<ReminderControllerDelegate> delegate_;
    const std::shared_ptr<ReminderSyncManager> syncManager_;
};

}  // namespace quendokit

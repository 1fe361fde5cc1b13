#pragma once
/// \file
/// `ReminderSyncManager`, which mirrors the reminders between the person's devices.

#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "quendokit/platform/ck_database.hpp"
#include "quendokit/platform/export.hpp"

namespace quendokit {

class ReminderStore;
class Timer;

/// Keeps the reminders of this device and one zone of the person's private cloud database in step: uploads what is
/// unsent a second after the last change, downloads what changed elsewhere.
///
/// The host makes one, gives it to its `ReminderController` in the same turn of the main loop, and tells it of pushes.
/// Holds the database, and weakly its store. What completes after the manager is gone does nothing more than log. A
/// polling manager lives on: its timer, which the main run loop keeps, holds it. Main thread, except where it says
/// "Any thread."; completions come on the database's threads, and hold manager and store while they use them: whoever
/// lets go of them meanwhile lets them end there.
class QUENDOKIT_EXPORT ReminderSyncManager : public std::enable_shared_from_this<ReminderSyncManager> {
    struct PrivateTag {};

public:
    /// How the manager learns of changes on the server.
    enum class SyncMethod : std::uint8_t {
        /// It asks every 60 seconds.
        polling,
        /// The server tells, and the host calls `remoteSync`.
        push,
    };

    /// Makes a manager that at once looks the zone up, or makes it; then it subscribes to pushes or begins to poll.
    /// Returns before any of that is done. The device's identifier changes nothing. Fatal if no database of the host's
    /// container is installed.
    [[nodiscard]] static std::shared_ptr<ReminderSyncManager> create(const std::string& deviceIdentifier,
                                                                     SyncMethod syncMethod = SyncMethod::push);
    /// Fatal: there is no manager without a device.
    [[noreturn]] static std::shared_ptr<ReminderSyncManager> create();

    ReminderSyncManager(PrivateTag tag, SyncMethod syncMethod);
    ReminderSyncManager(const ReminderSyncManager&) = delete;
    ReminderSyncManager& operator=(const ReminderSyncManager&) = delete;
    ~ReminderSyncManager();

    /// Where changes go and come from; null when there is none or it is gone. Any thread.
    [[nodiscard]] std::shared_ptr<ReminderStore> reminderStore() const;
    /// Sets the store, and starts a download when it is not null, whichever store there was.
    void setReminderStore(const std::shared_ptr<ReminderStore>& store);

    /// Uploads when there is something to upload, else downloads. An upload that it starts depends on a download that
    /// is given to no database, and so never runs; hosts call `requireSync` and `remoteSync` instead.
    void sync();
    /// Starts a download. Any thread.
    void remoteSync();
    /// Starts an upload a second after the last of such calls.
    void requireSync();
    /// What the timer of `requireSync` does: starts an upload. While the zone is unknown nothing happens, and what is
    /// unsent waits for the next `requireSync`.
    void triggerSync(Timer& timer);
    /// What the timer of polling does: starts a download.
    void triggerPollingUpdate(Timer& timer);

    /// The upload of all that is unsent, given to no database yet. Null while the zone is unknown, without a word, and
    /// when there is nothing to do, after `DidFinishLocalSync` was posted.
    [[nodiscard]] std::shared_ptr<CKDatabaseOperation> localSyncOp();

    /// True once the zone has been found or made. Any thread.
    [[nodiscard]] bool zoneExists() const noexcept { return zoneExists_.load(); }
    /// Null until the manager polls, and always for one that is pushed. Any thread.
    [[nodiscard]] std::shared_ptr<Timer> pollingTimer() const;

private:
    using Weak = std::weak_ptr<ReminderSyncManager>;

    [[nodiscard]] std::shared_ptr<CKDatabaseOperation> remoteSyncOp();

    [[nodiscard]] std::optional<CKServerChangeToken> changeToken() const;
    void setChangeToken(const std::optional<CKServerChangeToken>& token);

    // reminder_sync_zone.cpp
    void prepareZone();
    void retrieveZone(const CKRecordZoneID& zoneID, std::function<void(std::optional<CKRecordZone>)> completion);
    void createZone();
    void listen();
    void subscribeToPushUpdates();
    void wipeSubscriptions();
    void deleteSubscriptions(const std::vector<std::string>& identifiers);
    void initiatePolling();

    const SyncMethod syncMethod_;
    const std::shared_ptr<CKDatabase> database_;
    const CKRecordZoneID zoneID_;
    const std::string subscriptionName_;
    // Written by completions on the database's threads and read on the main one.
    std::atomic<bool> zoneExists_ = false;
    std::atomic<bool> didAttemptWipingSubscriptions_ = false;
    /// Says nothing and stays as it is.
    [[maybe_unused]] const bool subscriptionActive_ = false;
    std::shared_ptr<Timer> pollingTimer_;
    std::shared_ptr<const std::weak_ptr<ReminderStore>> reminderStore_;
    std::shared_ptr<Timer> syncDelayTimer_;
};

}  // namespace quendokit

#pragma once
/// \file
/// `SyncDriver`, which asks for syncs when nobody else does.

#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "quendokit/platform/ck_record.hpp"
#include "quendokit/platform/error.hpp"
#include "quendokit/platform/export.hpp"

namespace quendokit {

class GuardedCloudDatabase;
class ReminderSyncManager;
class Timer;

/// How a driver goes about it.
struct SyncDriverOptions {
    /// How often it looks for changes and for what is unsent although nothing says that there is any.
    std::chrono::nanoseconds safetyInterval = std::chrono::minutes(5);
    /// How long a stream of changes from elsewhere may put an upload off.
    std::chrono::nanoseconds longestDelay = std::chrono::seconds(10);
    /// How long it waits after an upload that failed for good, or after a change that could not be stored, at first;
    /// twice as long after each further one, a safety interval at most.
    std::chrono::nanoseconds firstRetry = std::chrono::seconds(30);
};

/// What the host hears of a driver, on the main thread. Each may be absent.
struct SyncDriverEvents {
    /// An upload or a download is over.
    std::function<void(const std::optional<Error>&)> uploadEnded = {};
    std::function<void(const std::optional<Error>&)> downloadEnded = {};
    /// As in `CloudGuardEvents`.
    std::function<void(const std::vector<std::string>&)> confirmed = {};
    std::function<void(const std::vector<CKRecord>&, const std::vector<CKRecordID>&)> received = {};
    /// The zone could not be looked up or made for a safety interval, and nothing waits for the network: a new manager
    /// tries again.
    std::function<void()> zoneStaysUnknown = {};
    /// Something waits for the network.
    std::function<void(const Error&, std::chrono::nanoseconds)> waits = {};
    /// One line for the log.
    std::function<void(const std::string&)> reports = {};
};

/// The engine uploads a second after a change and never again when that failed; this asks again: when the zone becomes
/// known, when the network is back, after a failed upload or a failed write, and now and then. A host makes one beside
/// its manager, and another one when it makes another manager. Holds both weakly, and is the only one to set the
/// database's events. Main thread.
class QUENDOKIT_EXPORT SyncDriver final : public std::enable_shared_from_this<SyncDriver> {
    struct PrivateTag {};

public:
    /// Starts at once.
    [[nodiscard]] static std::shared_ptr<SyncDriver> create(const std::shared_ptr<ReminderSyncManager>& manager,
                                                            const std::shared_ptr<GuardedCloudDatabase>& database,
                                                            SyncDriverOptions options = {},
                                                            SyncDriverEvents events = {});
    SyncDriver(PrivateTag tag, const std::shared_ptr<ReminderSyncManager>& manager,
               const std::shared_ptr<GuardedCloudDatabase>& database, SyncDriverOptions options,
               SyncDriverEvents events);
    SyncDriver(const SyncDriver&) = delete;
    SyncDriver& operator=(const SyncDriver&) = delete;
    /// Ends its timers.
    ~SyncDriver();

    /// The server says that something changed.
    void pushed();
    /// There is a network again, or the machine woke up: everything is tried at once.
    void resumed();

private:
    void begin();
    void upload();
    void zoneAnswered();
    void uploadEnded(const std::optional<Error>& error);
    void downloadEnded(const std::optional<Error>& error);
    void received(const std::vector<CKRecord>& records, const std::vector<CKRecordID>& deleted);
    void writeFailed();
    void lookAgain();
    /// Asks for both directions.
    void ask();
    /// How long to wait after so many failures before.
    [[nodiscard]] std::chrono::nanoseconds waitAfter(int failures) const;
    /// Calls `action` on this driver after `time`, instead of what `timer` was to do.
    void arm(std::shared_ptr<Timer>& timer, std::chrono::nanoseconds time, void (SyncDriver::*action)(), bool repeats);

    const std::weak_ptr<ReminderSyncManager> manager_;
    const std::weak_ptr<GuardedCloudDatabase> database_;
    const SyncDriverOptions options_;
    const SyncDriverEvents events_;
    std::shared_ptr<Timer> safetyTimer_;
    std::shared_ptr<Timer> retryTimer_;
    std::shared_ptr<Timer> readTimer_;
    std::shared_ptr<Timer> delayTimer_;
    int failedUploads_ = 0;
    int failedWrites_ = 0;
    bool writeFailedSinceLook_ = false;
};

}  // namespace quendokit

#pragma once
/// \file
/// `GuardedCloudDatabase`, a cloud database between which and the engine no change gets lost.

#include <cstddef>
#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <set>
#include <string>
#include <variant>
#include <vector>

#include "hostkit/cloud_guard_options.hpp"
#include "quendokit/platform/ck_database.hpp"
#include "quendokit/platform/export.hpp"

namespace quendokit {

class CloudJob;
struct CloudJobParts;
class DispatchQueue;
class DownloadJob;
class NetworkWait;
class Realm;
class RecentConfirmations;
class ReminderStore;
class ReminderSyncManager;
class TokenGate;
class UploadJob;
class UploadQuarantine;

/// Hands operations on to another database when their turn has come, and its answers back to the engine, all on the
/// main queue: what the engine queues there in answer runs before whatever is asked for later.
///
/// The engine's rules stay as they are; this decides what it gets to see, and when. Made by `GuardedContainerProvider`.
/// `add`, `fetch`, `save` and `fetchAllSubscriptions` on any thread, everything else on the main thread.
class QUENDOKIT_EXPORT GuardedCloudDatabase final : public CKDatabase,
                                                    public std::enable_shared_from_this<GuardedCloudDatabase> {
    struct PrivateTag {};

public:
    /// Shares `database`. Uses the installed main queue and the main run loop.
    [[nodiscard]] static std::shared_ptr<GuardedCloudDatabase> create(std::shared_ptr<CKDatabase> database,
                                                                      CloudGuardOptions options);
    GuardedCloudDatabase(PrivateTag tag, std::shared_ptr<CKDatabase> database, CloudGuardOptions options);
    ~GuardedCloudDatabase() override;

    /// Whose reminders these are: who is asked for an upload before a download, and for what is unsent. Held weakly.
    void attach(const std::shared_ptr<ReminderSyncManager>& manager);
    void setEvents(CloudGuardEvents events);
    /// Who makes the change token durable; absent: nobody but the engine.
    void setTokenGate(std::shared_ptr<TokenGate> gate);
    /// Where the reminders are kept. What arrives in one page is stored there one by one and made durable at its end,
    /// before the token is; a write of the host's own meanwhile is durable at the end, too, or at once when it is made
    /// by `perform`. Absent: each write waits for the disk.
    void setRealm(std::shared_ptr<Realm> realm);

    /// Changes the reminders with these ids by `change`: now, unless something that the cloud said of one of them is
    /// still queued; then behind it. An upload that holds one of them is taken back before: its completion is an error,
    /// and everything in it stays unsent. The host makes every change of stored reminders through this.
    void perform(std::vector<std::string> ids, std::function<void()> change);
    /// Whether something that the cloud said is still queued: `perform` may run later then.
    [[nodiscard]] bool isStoring() const noexcept { return !queued_.empty(); }

    /// A write of the reminders' database has failed: what was downloaded since the last durable token is downloaded
    /// again, also what is on its way. Without a token gate it changes nothing.
    void writeFailed();

    /// Tries again at once what waits for the network: there is one again.
    void retryNow();

    void add(std::shared_ptr<CKDatabaseOperation> operation) override;
    void fetch(const std::string& subscriptionID, SubscriptionCompletion completion) override;
    void save(const CKSubscription& subscription, SubscriptionCompletion completion) override;
    void fetchAllSubscriptions(SubscriptionsCompletion completion) override;

    /// How many operations are on their way, and how many wait for their turn.
    [[nodiscard]] std::size_t runningCount() const noexcept { return running_.size(); }
    [[nodiscard]] std::size_t waitingCount() const noexcept { return queue_.size(); }
    /// Whether nothing is on its way or waits for its turn, and everything that came has been stored.
    [[nodiscard]] bool isIdle() const;
    /// Why it waits; absent when it does not.
    [[nodiscard]] const std::optional<Error>& waitsBecause() const noexcept;

private:
    using Job = std::shared_ptr<CloudJob>;
    /// What was asked for, before it is a job.
    struct Arrival {
        std::function<Job()> make;
        /// A download whose token has been dropped since.
        bool restarts = false;
        /// Of how many confirmed uploads the engine had heard.
        std::uint64_t heardBefore = 0;
    };

    [[nodiscard]] CloudJobParts parts();
    /// Takes in on the main queue what `make` makes there. Any thread.
    void arrive(std::function<Job()> make);
    void takeIn();
    void enqueue(Job job);
    void enqueueUpload(const std::shared_ptr<UploadJob>& upload, bool first);
    void enqueueDownload(const std::shared_ptr<DownloadJob>& download);
    /// Lets it begin anew with the durable token, if it is a download.
    void restart(CloudJob& job) const;
    /// Starts what may start.
    void advance();
    /// Puts an upload before everything else, if there is something unsent.
    void putUploadFirst();
    /// A download that was asked for while another one was on its way does not read the same once more.
    void beginWhereTheLastEnded(DownloadJob& job) const;
    void attempt(const Job& job);
    /// Takes out of it what was confirmed while it waited.
    void leaveOutConfirmed(UploadJob& upload);
    [[nodiscard]] bool hasWaitingUpload() const;
    void attempted(const Job& job, const std::optional<Error>& error);
    void finish(const Job& job);
    void wait(const Error& error);

    void deliver(UploadJob& upload);
    void deliver(DownloadJob& download);
    /// Whether the page belongs to a read from the beginning.
    [[nodiscard]] bool takeReplay(DownloadJob& download);
    /// What is unsent because the cloud does not take it.
    [[nodiscard]] std::set<std::string> refusedIDs(const CKRecordZoneID& zoneID) const;
    void reportReplaced(const std::variant<CKRecord, CKRecordID>& change);
    void tellOf(const std::vector<std::variant<CKRecord, CKRecordID>>& changes) const;
    /// Whether it is what this process has uploaded last under that name, which is forgotten then.
    [[nodiscard]] bool takeOwnTag(const std::variant<CKRecord, CKRecordID>& change);
    /// Finishes `job`: what the engine queues on the main queue then is about these.
    void answer(std::vector<std::string> ids, CloudJob& job);
    [[nodiscard]] std::set<std::string> unsentIDs() const;
    [[nodiscard]] std::shared_ptr<ReminderStore> store() const;
    /// What was handed to the engine is stored, or could not be.
    void stored();
    /// Whether everything that was written is durable.
    bool makeDurable();

    const std::shared_ptr<CKDatabase> database_;
    const CloudGuardOptions options_;
    const std::shared_ptr<DispatchQueue> mainQueue_;
    const std::unique_ptr<UploadQuarantine> quarantine_;
    const std::unique_ptr<RecentConfirmations> confirmations_;
    const std::unique_ptr<NetworkWait> wait_;
    /// Between downloads while nothing can be stored.
    const std::unique_ptr<NetworkWait> storeWait_;
    CloudGuardEvents events_;
    std::weak_ptr<ReminderSyncManager> manager_;
    std::shared_ptr<TokenGate> gate_;
    std::shared_ptr<Realm> realm_;
    mutable std::mutex arrivingMutex_;
    std::deque<Arrival> arriving_;
    /// The next one first; those whose dependencies are not finished are passed over.
    std::deque<Job> queue_;
    std::vector<Job> running_;
    /// How many tasks of the main queue are about an id.
    std::map<std::string, std::size_t> queued_;
    /// The tags of what this process has uploaded and not seen come back; absent for what it has deleted.
    std::map<std::string, std::optional<std::string>> uploadedTags_;
    /// Where the last download of each zone ended; absent when it failed.
    std::map<CKRecordZoneID, std::optional<CKServerChangeToken>> lastTokens_;
    /// The zones that are being read from the beginning, beyond the first page.
    std::set<CKRecordZoneID> replayed_;
    /// Whether it is still to be told that a write has failed.
    bool tellsOfFailedWrite_ = false;
    /// Whether one has failed since something from the cloud was stored, and how many times in a row that was so.
    bool failedWhileStoring_ = false;
    int failedStores_ = 0;
    /// How many downloads have ended.
    std::uint64_t downloads_ = 0;
};

}  // namespace quendokit

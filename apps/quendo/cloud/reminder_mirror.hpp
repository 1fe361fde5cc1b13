#pragma once
/// \file
/// `ReminderMirror`, which keeps the reminders of this home and those of the cloud in step.

#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "apps/quendo/cloud/sync_record.hpp"
#include "apps/quendo/request.hpp"
#include "hostkit/cloud_move.hpp"
#include "hostkit/sync_driver.hpp"
#include "quendokit/platform/error.hpp"

namespace quendokit {
class GuardedCloudDatabase;
class ReminderController;
class ReminderSyncManager;
class TokenGate;
}  // namespace quendokit

namespace quendo {

/// What a mirror works with. All of it outlives the mirror.
struct ReminderMirrorParts {
    std::shared_ptr<quendokit::ReminderSyncManager> manager;
    std::shared_ptr<quendokit::GuardedCloudDatabase> guard;
    std::shared_ptr<quendokit::ReminderController> controller;
    SyncRecord& record;
    quendokit::CloudIdentity identity;
    /// Which cloud, container and environment.
    std::string cloud;
    /// It is another one than the reminders were mirrored to.
    bool isAnother;
    std::function<void(const std::string&)> warn;
    /// Neither may be absent. The zone is not known, and another manager may find or make it.
    std::function<void()> zoneStaysUnknown;
    /// An upload or a download is over, or waits.
    std::function<void()> told;
};

/// Watches one manager and its database for as long as it lives: asks for syncs when nobody else does, remembers when
/// the last one was and what went wrong, and counts what came and went. Main thread.
class ReminderMirror {
public:
    explicit ReminderMirror(ReminderMirrorParts parts);
    ReminderMirror(const ReminderMirror&) = delete;
    ReminderMirror& operator=(const ReminderMirror&) = delete;
    ~ReminderMirror();

    /// Asks for both directions: a download, and an upload before it.
    void ask();
    /// The token was removed: what is on its way is read from the beginning, too.
    void readFromTheBeginning();
    [[nodiscard]] quendokit::SyncDriver& driver() { return *driver_; }
    [[nodiscard]] bool zoneExists() const;
    /// Nothing is on its way, and everything that came is stored.
    [[nodiscard]] bool isIdle() const;
    /// Something that came is not stored yet.
    [[nodiscard]] bool isStoring() const;

    /// Counts from now on; a word of an earlier failure is forgotten, and what waits is tried at once.
    void beginCount();
    [[nodiscard]] const SyncAnswer& count() const noexcept { return count_; }
    /// Why the last upload and the last download failed since `beginCount`; absent when they did not.
    [[nodiscard]] const std::optional<quendokit::Error>& uploadError() const noexcept { return uploadError_; }
    [[nodiscard]] const std::optional<quendokit::Error>& downloadError() const noexcept { return downloadError_; }
    /// Why everything waits; absent when nothing does.
    [[nodiscard]] const std::optional<quendokit::Error>& waits() const noexcept { return waits_; }

    /// Whether something that an earlier cloud has confirmed may be missing in this one.
    [[nodiscard]] bool isAnother() const noexcept { return isAnother_; }
    /// Makes everything unsent that this cloud has neither shown nor taken by now; then calls `done` with whether that
    /// could be written.
    void resendTheRest(std::function<void(bool)> done);
    /// Nothing is missing in it any more.
    void setMoved();

private:
    void uploadEnded(const std::optional<quendokit::Error>& error);
    void downloadEnded(const std::optional<quendokit::Error>& error);
    void confirmed(const std::vector<std::string>& ids);
    void received(const std::vector<quendokit::CKRecord>& records, const std::vector<quendokit::CKRecordID>& deleted);
    /// Whether it was not sent from here just before. What was sent comes back when everything is read from the
    /// beginning.
    [[nodiscard]] bool isNews(const std::string& id);

    ReminderMirrorParts parts_;
    bool isAnother_;
    SyncAnswer count_;
    /// Which are counted.
    std::set<std::string> countedComing_;
    std::set<std::string> countedConfirmed_;
    /// What another cloud has shown or taken.
    std::set<std::string> cameFromAnother_;
    std::optional<quendokit::Error> uploadError_;
    std::optional<quendokit::Error> downloadError_;
    std::optional<quendokit::Error> waits_;
    std::shared_ptr<quendokit::SyncDriver> driver_;
};

}  // namespace quendo

#pragma once
/// \file
/// `Session`, the one place that works on the reminders.

#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "apps/quendo/failure.hpp"
#include "apps/quendo/folders.hpp"
#include "apps/quendo/lock_file.hpp"
#include "apps/quendo/request.hpp"
#include "quendokit/platform/services.hpp"

namespace quendokit {
class EventLoop;
class LocalCalendar;
class Realm;
class ReminderSyncManager;
class TwoStepChanges;
}  // namespace quendokit

namespace quendo {

class ReminderMirror;

/// The lock of these folders, which are made when there are none. Waits at most `patience` for another process.
[[nodiscard]] Outcome<LockFile> takeLock(const Folders& folders, std::chrono::milliseconds patience);

/// The reminders and the day plan of one person, who asks by requests: holds the lock and installs the engine's
/// services for its lifetime, and opens the database with the first request that needs it. One thread.
class Session {
public:
    /// Shares `lock`, which `takeLock` gave for `folders`. `warn` hears, now and while the session lasts, of what was
    /// damaged and put aside or cannot be used; the session goes on without it. The engine's lines go to `lines`, and
    /// to the log when that is null.
    [[nodiscard]] static Outcome<std::unique_ptr<Session>> open(const Folders& folders,
                                                                std::shared_ptr<const LockFile> lock,
                                                                std::function<void(const std::string&)> warn,
                                                                std::shared_ptr<quendokit::LineSink> lines = nullptr);
    ~Session();
    Session(const Session&) = delete;
    Session& operator=(const Session&) = delete;

    /// Does what is asked, as a whole where the request does not say otherwise, and answers with the request's answer.
    /// Main thread; within a task of the loop only what `waits` says no to.
    [[nodiscard]] Outcome<Response> execute(const Request& request);

    /// Whether the request runs the loop to wait for the cloud, or must not come between while another one does.
    [[nodiscard]] bool waits(const Request& request) const;

    /// The loop of the thread that opened the session.
    [[nodiscard]] const std::shared_ptr<quendokit::EventLoop>& mainLoop() const { return mainLoop_; }

    // session_stay.cpp

    /// What a process hears of that stays, in turns of their own on the main thread. None may be absent.
    struct StayEvents {
        /// The reminders may be others than they were.
        std::function<void()> changed;
        /// A write of the reminders has failed.
        std::function<void()> writeFailed;
        /// An upload or a download is over, or waits.
        std::function<void()> cloudTold;
        /// A whole sync is to be made, by a request.
        std::function<void()> wantsSync;
        /// `renewMirror` is to be called, where no request waits for the cloud.
        std::function<void()> wantsNewMirror;
    };
    /// For a process that stays: opens the reminders, and with an account begins to keep them in step with the cloud
    /// for as long as the session lasts; what keeps the cloud away is warned of and no failure. `polls`: the cloud is
    /// asked from time to time instead of letting it call.
    [[nodiscard]] std::optional<Failure> stay(StayEvents events, bool polls);
    /// There is a network again, or the machine woke up.
    void resumed();
    /// Looks for the zone of the cloud with a new manager, unless it has been found; `controller` may be another one
    /// then, and is none after a failure.
    [[nodiscard]] std::optional<Failure> renewMirror();
    /// Of a session that stays. Another one after `renewMirror`.
    [[nodiscard]] const std::shared_ptr<quendokit::ReminderController>& controller() const { return controller_; }
    /// Whether the session works without what a request has ended, and another one is to be opened.
    [[nodiscard]] bool isOver() const noexcept { return isOver_; }
    /// Whether something from the cloud is being stored: a request that changes reminders comes behind it.
    [[nodiscard]] bool isStoring() const;
    /// Makes a change of stored reminders, now or in a later turn.
    void changeSoon(std::vector<std::string> ids, std::function<void()> change);
    /// The device may be in another time zone.
    void zoneChanged();
    /// How this home stands to its cloud.
    [[nodiscard]] Outcome<CloudView> cloudView();
    /// Whether the zone in the cloud is known; absent without a cloud.
    [[nodiscard]] std::optional<bool> knowsZone() const;

private:
    [[nodiscard]] Outcome<Response> executeAlone(const Request& request);
    /// For the next daemon, which cannot tell a reminder that was seen before it was postponed from one that was seen
    /// since.
    void noteWhatLiesAhead() const;

    struct Record;
    struct Cloud;
    struct Stay;
    class NotingScheduler;

    Session(std::shared_ptr<const LockFile> lock, Folders folders, std::shared_ptr<Record> record,
            std::unique_ptr<Cloud> cloud, std::shared_ptr<quendokit::EventLoop> mainLoop,
            quendokit::platform::Services services);

    // session_reminders.cpp
    [[nodiscard]] Outcome<ReminderView> perform(const AddRequest& request);
    [[nodiscard]] Outcome<std::vector<ReminderView>> perform(const ListRequest& request);
    [[nodiscard]] Outcome<ReminderView> perform(const ShowRequest& request);
    [[nodiscard]] Outcome<std::vector<ReminderView>> perform(const DeleteRequest& request);
    [[nodiscard]] Outcome<quendokit::ReminderStats> perform(const StatsRequest& request);
    [[nodiscard]] Outcome<ClearAnswer> perform(const ClearRequest& request);
    // session_changes.cpp
    [[nodiscard]] Outcome<ReminderView> perform(const EditRequest& request);
    [[nodiscard]] Outcome<std::vector<ReminderView>> perform(const PostponeRequest& request);
    [[nodiscard]] Outcome<SeenAnswer> perform(const SeenRequest& request);
    // session_plan.cpp
    [[nodiscard]] Outcome<PresetsView> perform(const PresetsRequest& request);
    [[nodiscard]] Outcome<std::vector<ActionView>> perform(const ActionsRequest& request);
    [[nodiscard]] Outcome<OptionsView> perform(const OptionsRequest& request);
    [[nodiscard]] Outcome<OptionsView> perform(const SetOptionRequest& request);
    [[nodiscard]] Outcome<OptionsView> perform(const ResetOptionsRequest& request);
    [[nodiscard]] Outcome<OptionsView> changePlan(const std::function<void()>& change);
    // session_day_plan.cpp
    /// Brings the day plan and the cloud together, there and back; says why, when it is not done by `end`.
    [[nodiscard]] std::optional<Failure> shareDayPlan(std::chrono::steady_clock::time_point end);
    // session_cloud.cpp
    [[nodiscard]] Outcome<CloudConnected> perform(const CloudConnectRequest& request);
    [[nodiscard]] Outcome<CloudView> perform(const CloudStatusRequest& request);
    [[nodiscard]] Outcome<CloudDisconnected> perform(const CloudDisconnectRequest& request);
    [[nodiscard]] Outcome<HealthView> perform(const StatusRequest& request);
    [[nodiscard]] Outcome<CloudView> readCloudView();
    // session_sync.cpp
    [[nodiscard]] Outcome<SyncAnswer> perform(const SyncRequest& request);
    [[nodiscard]] Outcome<SyncAnswer> sync(std::chrono::seconds patience);
    [[nodiscard]] std::optional<Failure> syncBothWays(std::chrono::steady_clock::time_point end,
                                                      const std::function<Failure()>& timeIsUp);
    // session_stay.cpp
    [[nodiscard]] bool polls() const;
    void listen();
    void writeFailed();
    void zoneStaysUnknown();
    void cloudTold();
    void shareDayPlanSoon();
    // session_transfer.cpp
    [[nodiscard]] Outcome<std::vector<TransferEntry>> perform(const ExportRequest& request);
    [[nodiscard]] Outcome<ImportAnswer> perform(const ImportRequest& request);

    /// Opens the database if it is not open, and then finishes what an earlier session left half done; warns when that
    /// fails.
    [[nodiscard]] std::optional<Failure> openToRead();
    /// Opens the database if it is not open, and finishes what any earlier change left half done; fails when that
    /// fails: finished later, it would undo newer changes.
    [[nodiscard]] std::optional<Failure> openToChange();
    [[nodiscard]] std::optional<Failure> openDatabase(bool isMirrored = false);
    /// Makes the way to the cloud, if there is none. For a home with an account.
    [[nodiscard]] std::optional<Failure> openConnection();
    /// The same with a sync manager, for a session that has not opened it.
    [[nodiscard]] std::optional<Failure> openToSync();
    /// Ends everything between the reminders and the cloud; the next request opens the database again.
    void stopMirror();
    /// That, and the connection to the cloud.
    void leaveCloud();
    [[nodiscard]] std::optional<Failure> finishLeftovers();

    /// What went wrong with the files since the last call; the engine itself reports no errors.
    [[nodiscard]] std::optional<Failure> takeFailure();
    [[nodiscard]] bool hasFailure() const;
    /// `writeFailed` is called when a write of the database has failed.
    void tellOfFailedWrites(std::function<void()> writeFailed);
    /// `takeFailure()`, or else what `error` says.
    [[nodiscard]] std::optional<Failure> takeFailure(const std::optional<quendokit::Error>& error);

    [[nodiscard]] std::vector<ReminderView> views(const ListRequest& request) const;
    [[nodiscard]] Outcome<ReminderView> find(const std::string& id, bool includingDeleted);
    /// All of them, each once and none that is deleted, or why one of the identifiers fits none.
    [[nodiscard]] Outcome<std::vector<ReminderView>> findAll(const std::vector<std::string>& ids);
    /// The reminder as it is stored now. `expected` is for one that falls due at this very instant and so is in no
    /// list.
    [[nodiscard]] ReminderView stored(const std::string& id, const quendokit::ReminderStruct& expected) const;

    /// Does `change` to each of `chosen` in turn; a failure tells how many were `doneWord` before.
    [[nodiscard]] std::optional<Failure> changeEach(
        const std::vector<ReminderView>& chosen, const char* doneWord,
        const std::function<std::optional<quendokit::Error>(const ReminderView&)>& change);

    /// Makes every change of stored reminders: with a cloud, by its guard. Nothing of the cloud's may be queued.
    void change(std::vector<std::string> ids, const std::function<void()>& change);

    const std::shared_ptr<const LockFile> lock_;
    const Folders folders_;
    std::function<void(const std::string&)> warn_;
    std::optional<Failure> settingsFailure_;
    /// Why it is not known which cloud is connected.
    std::optional<Failure> accountFailure_;
    std::shared_ptr<Record> record_;
    std::unique_ptr<Cloud> cloud_;
    std::shared_ptr<quendokit::EventLoop> mainLoop_;
    std::shared_ptr<quendokit::LocalCalendar> calendar_;
    quendokit::platform::ScopedInstall services_;
    std::shared_ptr<NotingScheduler> scheduler_;
    std::shared_ptr<quendokit::Realm> realm_;
    /// Only of a session that syncs.
    std::shared_ptr<quendokit::ReminderSyncManager> manager_;
    std::shared_ptr<quendokit::ReminderController> controller_;
    std::unique_ptr<quendokit::TwoStepChanges> twoSteps_;
    /// Only of a session that syncs.
    std::unique_ptr<ReminderMirror> mirror_;
    /// Only of a session that stays.
    std::unique_ptr<Stay> stay_;
    bool isOver_ = false;
};

}  // namespace quendo

#pragma once
/// \file
/// `ReminderBell`, what rings in the daemon.

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "adapters/dbus/session_signals.hpp"
#include "adapters/linux/wall_clock_alarm.hpp"
#include "apps/quendo/daemon/desktop_presenter.hpp"
#include "apps/quendo/folders.hpp"
#include "apps/quendo/request.hpp"
#include "apps/quendo/session.hpp"
#include "hostkit/host_health.hpp"
#include "hostkit/reminder_alarms.hpp"

namespace quendo {

/// Puts the reminders of a session that stays before the person, when their time has come and when the person arrives,
/// and does what is asked for there. Runs on with what there is: without a bus it keeps count of what it could not
/// show. Main thread.
class ReminderBell {
public:
    /// Borrows `session`. `warn` takes a line for the log.
    ReminderBell(Session& session, Folders folders, std::function<void(const std::string&)> warn);
    ReminderBell(const ReminderBell&) = delete;
    ReminderBell& operator=(const ReminderBell&) = delete;
    ~ReminderBell();

    /// Rings what fell due since the last time; the person who has just logged in has arrived.
    void start();
    /// Something is stored, deleted or downloaded, or a write has failed.
    void storeChanged();
    void writeFailed();
    /// A write of the reminders has succeeded.
    void writeDone();
    /// The session works with another controller.
    void controllerReplaced();
    /// What is known of the cloud may be another thing than before.
    void lookAfterHealth();

    [[nodiscard]] DaemonHealth health();

private:
    void makeAlarms();
    void zoneChanged();
    void resumed();
    [[nodiscard]] quendokit::HostFacts facts() const;

    Session& session_;
    const Folders folders_;
    const std::function<void(const std::string&)> warn_;
    const std::shared_ptr<DesktopPresenter> presenter_;
    quendokit::HostHealth health_;
    std::vector<std::string> problems_;
    bool hasWriteFailed_ = false;
    /// What the screen says of them.
    std::vector<std::string> healthHandles_;
    /// What the log was told last of something that could not be shown or written.
    std::string lastFailure_;
    std::shared_ptr<quendokit::ReminderAlarms> alarms_;
    // The last ones, which tell the others.
    std::unique_ptr<quendokit::WallClockAlarm> clock_;
    std::unique_ptr<quendokit::SessionSignals> signals_;
};

}  // namespace quendo

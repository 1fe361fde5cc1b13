#include "apps/quendo/daemon/reminder_bell.hpp"

#include <utility>

#include "adapters/cctz/local_time_zone.hpp"
#include "adapters/event_loop/event_loop.hpp"
#include "apps/quendo/daemon/protocol.hpp"
#include "quendokit/platform/clock.hpp"
#include "quendokit/platform/services.hpp"

namespace quendo {

using quendokit::Date;
using quendokit::Error;

namespace {

Date now() {
    return quendokit::platform::clock().now();
}

}  // namespace

ReminderBell::ReminderBell(Session& session, Folders folders, std::function<void(const std::string&)> warn)
    : session_(session),
      folders_(std::move(folders)),
      warn_(std::move(warn)),
      presenter_(std::make_shared<DesktopPresenter>(session.mainLoop(), warn_)) {
    quendokit::WallClockEvents events;
    events.reached = [this] { alarms_->timeReached(); };
    events.clockChanged = [this] { alarms_->clockChanged(); };
    events.zoneChanged = [this] { zoneChanged(); };
    auto clock = quendokit::WallClockAlarm::create(session.mainLoop(), std::move(events));
    if (clock) {
        clock_ = std::move(clock).value();
    } else {
        warn_("nothing can ring at its time: " + clock.error().description);
    }
    makeAlarms();
}

ReminderBell::~ReminderBell() = default;

void ReminderBell::makeAlarms() {
    auto ledger = quendokit::FiredLedger::open(folders_.ledger(), now(), warn_);
    if (!ledger) {
        hasWriteFailed_ = true;
        warn_(ledger.error().description + "; what rings now may ring again after the next start");
    }
    quendokit::ReminderAlarmsParts parts;
    parts.controller = session_.controller();
    parts.ledger = ledger ? std::shared_ptr(std::move(ledger).value()) : quendokit::FiredLedger::inMemory(now());
    parts.armedList = std::make_shared<quendokit::ArmedListFile>(folders_.armedList(), warn_);
    parts.presenter = presenter_;
    parts.armAt = [this](std::optional<Date> moment) {
        if (clock_) {
            clock_->set(moment);
        }
    };
    parts.perform = [this](std::vector<std::string> ids, std::function<void()> change) {
        session_.changeSoon(std::move(ids), std::move(change));
    };
    quendokit::ReminderAlarmsEvents events;
    events.failed = [this](const Error& error) {
        // Each command makes it try again, and fail again in the same way.
        if (std::exchange(lastFailure_, error.description) != error.description) {
            warn_(error.description);
        }
        if (error.domain == "FiredLedger" || error.domain == "ArmedListFile") {
            hasWriteFailed_ = true;
        }
        lookAfterHealth();
    };
    events.reports = warn_;
    alarms_ = quendokit::ReminderAlarms::create(std::move(parts), {}, std::move(events));
}

void ReminderBell::start() {
    alarms_->start();
    quendokit::SessionSignals::Options options;
    options.queue = session_.mainLoop();
    options.events.unlocked = [this] { alarms_->arrived(); };
    options.events.becameActive = [this] { alarms_->arrived(); };
    options.events.resumed = [this] { resumed(); };
    options.events.networkUp = [this] { session_.resumed(); };
    signals_ = quendokit::SessionSignals::start(std::move(options));
    // The service is started when the person logs in.
    alarms_->arrived();
    lookAfterHealth();
}

void ReminderBell::storeChanged() {
    alarms_->storeChanged();
}

void ReminderBell::writeFailed() {
    hasWriteFailed_ = true;
    lookAfterHealth();
}

void ReminderBell::writeDone() {
    hasWriteFailed_ = false;
}

void ReminderBell::controllerReplaced() {
    alarms_->setController(session_.controller());
}

void ReminderBell::zoneChanged() {
    session_.zoneChanged();
    alarms_->clockChanged();
    warn_("the clocks are those of " + quendokit::LocalTimeZone::current()->name() +
          " now; reminders stay at their moments, see quendo list");
}

void ReminderBell::resumed() {
    health_.resumed();
    alarms_->clockChanged();
    alarms_->arrived();
    session_.resumed();
}

quendokit::HostFacts ReminderBell::facts() const {
    quendokit::HostFacts facts;
    const auto knowsZone = session_.knowsZone();
    facts.isMirrored = knowsZone.has_value();
    facts.isZoneKnown = knowsZone.value_or(false);
    if (auto cloud = session_.cloudView()) {
        facts.unsentCount = cloud.value().unsent;
        facts.lastDownload = cloud.value().lastDownload;
    }
    facts.hasWriteFailed = hasWriteFailed_;
    // One that is started only when it is needed counts as there.
    facts.isPresenterReachable = presenter_->canShow() && (presenter_->service() || !presenter_->hasFailed());
    return facts;
}

void ReminderBell::lookAfterHealth() {
    const auto state = health_.update(facts(), now());
    problems_ = state.lines;
    if (problems_.empty()) {
        for (const std::string& handle : std::exchange(healthHandles_, {})) {
            presenter_->close(handle);
        }
    }
    if (state.newLines.empty()) {
        return;
    }
    for (const std::string& line : state.newLines) {
        warn_(line);
    }
    quendokit::ReminderNotice notice;
    notice.kind = quendokit::NoticeKind::health;
    notice.titles = state.newLines;
    notice.count = state.newLines.size();
    // Whoever cannot show it is one of the lines.
    presenter_->show(notice, [this](const quendokit::Result<std::string>& handle) {
        if (handle) {
            healthHandles_.push_back(handle.value());
        }
    });
}

DaemonHealth ReminderBell::health() {
    lookAfterHealth();
    return {programVersion(), presenter_->service(), problems_};
}

}  // namespace quendo

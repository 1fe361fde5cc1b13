/// \file
/// A session of a process that stays.

#include <chrono>
#include <utility>

#include "adapters/cctz/local_calendar.hpp"
#include "adapters/event_loop/event_loop.hpp"
#include "apps/quendo/cloud/reminder_mirror.hpp"
#include "apps/quendo/session_cloud_internal.hpp"
#include "apps/quendo/session_internal.hpp"
#include "apps/quendo/session_stay_internal.hpp"
#include "hostkit/guarded_cloud_database.hpp"
#include "hostkit/queueing_scheduler.hpp"
#include "hostkit/two_step_changes.hpp"
#include "quendokit/options/migrate.hpp"
#include "quendokit/platform/realm.hpp"
#include "quendokit/platform/user_defaults.hpp"
#include "quendokit/sync/reminder_sync_manager.hpp"

namespace quendo {

std::optional<Failure> Session::stay(StayEvents events, bool polls) {
    stay_ = std::make_unique<Stay>(std::move(events), polls);
    scheduler_->next = quendokit::QueueingScheduler::create([this] { stay_->events.changed(); });
    // Nothing that an earlier version stored is read otherwise by this one. The version is remembered all the same: a
    // later one will ask.
    quendokit::Migrate(QUENDO_VERSION, quendokit::UserDefaults::standard(), [](auto, auto, auto) {});
    if (const auto failure = takeFailure()) {
        warn_(failure->line);
    }
    if (accountFailure_) {
        warn_(accountFailure_->line);
    }
    if (cloud_->account) {
        if (const auto failure = openToSync()) {
            // The reminders matter more than the cloud.
            warn_(failure->line);
        }
        if (mirror_) {
            listen();
            stay_->events.wantsSync();
        }
    }
    if (!mirror_) {
        tellOfFailedWrites([this] { writeFailed(); });
    }
    return openToRead();
}

void Session::listen() {
    if (stay_->polls) {
        return;
    }
    // Both come on a thread of the cloud's, which ends before this session does.
    const auto pushed = [this, loop = std::weak_ptr(mainLoop_)] {
        if (const auto main = loop.lock()) {
            main->async([this] {
                if (mirror_) {
                    mirror_->driver().pushed();
                    shareDayPlanSoon();
                }
            });
        }
    };
    const auto failed = [log = quendokit::platform::services().standardOutput](const quendokit::Error& error) {
        log->writeLine("quendo: the cloud cannot tell of changes: " + error.description);
    };
    stay_->courier = std::make_unique<quendokit::Courier>(cloud_->connection->webSession(), pushed, failed);
    stay_->courier->start();
}

void Session::leaveCloud() {
    if (stay_) {
        stay_->courier.reset();
    }
    stopMirror();
    cloud_->connection.reset();
    isOver_ = true;
}

void Session::resumed() {
    if (mirror_) {
        mirror_->driver().resumed();
        shareDayPlanSoon();
    }
}

std::optional<Failure> Session::renewMirror() {
    // A manager that has found the zone may poll by a timer of its own, and is never let go of.
    if (!mirror_ || mirror_->zoneExists()) {
        return std::nullopt;
    }
    stopMirror();
    if (const auto failure = openToSync()) {
        warn_(failure->line);
    }
    return openToRead();
}

void Session::zoneChanged() {
    calendar_->zoneChanged();
}

bool Session::polls() const {
    return stay_ && stay_->polls;
}

bool Session::isStoring() const {
    return mirror_ && mirror_->isStoring();
}

void Session::changeSoon(std::vector<std::string> ids, std::function<void()> change) {
    auto changeBehindOthers = [this, change = std::move(change)] {
        // Finished later, an earlier change would undo this one. When that fails, so does this.
        if (twoSteps_) {
            static_cast<void>(twoSteps_->finishLeftovers());
        }
        change();
    };
    if (mirror_) {
        cloud_->guards->database(cloud_->account->container)->perform(std::move(ids), std::move(changeBehindOthers));
    } else {
        changeBehindOthers();
    }
}

std::optional<bool> Session::knowsZone() const {
    return cloud_->account ? std::optional(mirror_ && mirror_->zoneExists()) : std::nullopt;
}

void Session::writeFailed() {
    // Within a write.
    if (stay_) {
        mainLoop_->async([this] {
            stay_->events.writeFailed();
            stay_->events.changed();
        });
    }
}

void Session::zoneStaysUnknown() {
    if (stay_) {
        stay_->events.wantsNewMirror();
    }
}

void Session::cloudTold() {
    if (!stay_) {
        return;
    }
    // What came is stored by then.
    mainLoop_->async([this] {
        if (!mirror_) {
            return;
        }
        const auto& waits = mirror_->waits();
        const auto& error = mirror_->downloadError() ? mirror_->downloadError() : mirror_->uploadError();
        const auto& told = waits ? waits : error;
        const auto known = cloud_->record.lastError();
        if (told && known != told->description) {
            cloud_->record.ended(told->description);
        }
        if (!told && mirror_->zoneExists() && mirror_->isIdle()) {
            cloud_->record.downloaded(quendokit::platform::clock().now());
            if (known) {
                cloud_->record.ended(std::nullopt);
            }
            if (mirror_->isAnother()) {
                stay_->events.wantsSync();
            }
            shareDayPlanSoon();
        }
        stay_->events.cloudTold();
    });
}

void Session::shareDayPlanSoon() {
    // Changes of it are rare, and news of the reminders are not.
    constexpr std::chrono::minutes between(1);
    const auto now = std::chrono::steady_clock::now();
    SharedDayPlan& plan = *cloud_->dayPlan;
    if (stay_ && cloud_->connection && plan.isIdle() && (!stay_->sharedPlan || now - *stay_->sharedPlan >= between)) {
        stay_->sharedPlan = now;
        plan.begin(cloud_->connection->containers()->privateCloudDatabase(cloud_->account->container));
    }
}

}  // namespace quendo

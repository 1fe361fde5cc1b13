#include "hostkit/sync_driver.hpp"

#include <algorithm>
#include <string>
#include <utility>

#include "hostkit/guarded_cloud_database.hpp"
#include "hostkit/tell_internal.hpp"
#include "quendokit/platform/run_loop.hpp"
#include "quendokit/platform/timer.hpp"
#include "quendokit/sync/reminder_sync_manager.hpp"

namespace quendokit {

std::shared_ptr<SyncDriver> SyncDriver::create(const std::shared_ptr<ReminderSyncManager>& manager,
                                               const std::shared_ptr<GuardedCloudDatabase>& database,
                                               SyncDriverOptions options, SyncDriverEvents events) {
    auto driver = std::make_shared<SyncDriver>(PrivateTag(), manager, database, options, std::move(events));
    driver->begin();
    return driver;
}

SyncDriver::SyncDriver(PrivateTag, const std::shared_ptr<ReminderSyncManager>& manager,
                       const std::shared_ptr<GuardedCloudDatabase>& database, SyncDriverOptions options,
                       SyncDriverEvents events)
    : manager_(manager), database_(database), options_(options), events_(std::move(events)) {}

SyncDriver::~SyncDriver() {
    for (const auto& timer : {safetyTimer_, retryTimer_, readTimer_, delayTimer_}) {
        if (timer) {
            timer->invalidate();
        }
    }
}

void SyncDriver::begin() {
    const auto database = database_.lock();
    const auto manager = manager_.lock();
    if (!database || !manager) {
        return;
    }
    database->attach(manager);
    const auto weak = weak_from_this();
    CloudGuardEvents events;
    events.zoneAnswered = [weak] {
        if (const auto self = weak.lock()) {
            self->zoneAnswered();
        }
    };
    events.uploadEnded = [weak](const std::optional<Error>& error) {
        if (const auto self = weak.lock()) {
            self->uploadEnded(error);
        }
    };
    events.downloadEnded = [weak](const std::optional<Error>& error) {
        if (const auto self = weak.lock()) {
            self->downloadEnded(error);
        }
    };
    events.writeFailed = [weak] {
        if (const auto self = weak.lock()) {
            self->writeFailed();
        }
    };
    events.confirmed = events_.confirmed;
    events.received = [weak](const std::vector<CKRecord>& records, const std::vector<CKRecordID>& deleted) {
        if (const auto self = weak.lock()) {
            self->received(records, deleted);
        }
    };
    events.waits = events_.waits;
    events.reports = events_.reports;
    database->setEvents(std::move(events));
    arm(safetyTimer_, options_.safetyInterval, &SyncDriver::lookAgain, true);
}

void SyncDriver::pushed() {
    if (const auto manager = manager_.lock()) {
        manager->remoteSync();
    }
}

void SyncDriver::resumed() {
    if (const auto database = database_.lock()) {
        database->retryNow();
    }
    lookAgain();
}

void SyncDriver::upload() {
    if (const auto manager = manager_.lock()) {
        manager->requireSync();
    }
}

void SyncDriver::zoneAnswered() {
    const auto manager = manager_.lock();
    if (manager && manager->zoneExists()) {
        // What was stored before could not be sent.
        upload();
    }
}

void SyncDriver::uploadEnded(const std::optional<Error>& error) {
    if (delayTimer_) {
        delayTimer_->invalidate();
        delayTimer_ = nullptr;
    }
    if (error) {
        arm(retryTimer_, waitAfter(failedUploads_++), &SyncDriver::upload, false);
    } else {
        failedUploads_ = 0;
    }
    tell(events_.uploadEnded, error);
}

std::chrono::nanoseconds SyncDriver::waitAfter(int failures) const {
    return std::min<std::chrono::nanoseconds>(options_.firstRetry * (1 << std::min(failures, 10)),
                                              options_.safetyInterval);
}

void SyncDriver::writeFailed() {
    writeFailedSinceLook_ = true;
    if (!readTimer_ || !readTimer_->isValid()) {
        arm(readTimer_, waitAfter(failedWrites_++), &SyncDriver::ask, false);
    }
}

void SyncDriver::received(const std::vector<CKRecord>& records, const std::vector<CKRecordID>& deleted) {
    // Each record that is stored puts the engine's upload off by a second. An empty page does not, and arms nothing.
    if (!records.empty() && (!delayTimer_ || !delayTimer_->isValid())) {
        delayTimer_ = Timer::create(
            options_.longestDelay,
            [weak = manager_](Timer& timer) {
                if (const auto manager = weak.lock()) {
                    manager->triggerSync(timer);
                }
            },
            false);
        RunLoop::main().add(delayTimer_, RunLoopMode::default_);
    }
    tell(events_.received, records, deleted);
}

void SyncDriver::downloadEnded(const std::optional<Error>& error) {
    if (!error && readTimer_) {
        // It began with what is stored. Whether all of it could be stored this time is told later.
        readTimer_->invalidate();
    }
    tell(events_.downloadEnded, error);
}

void SyncDriver::lookAgain() {
    const auto manager = manager_.lock();
    if (!manager) {
        return;
    }
    // A time without any begins the count anew.
    if (!std::exchange(writeFailedSinceLook_, false)) {
        failedWrites_ = 0;
    }
    if (!manager->zoneExists()) {
        const auto database = database_.lock();
        // While there is no network, the guard keeps asking for it, and a new manager could do no more.
        if (!database || !database->waitsBecause()) {
            tell(events_.zoneStaysUnknown);
        }
        return;
    }
    ask();
}

void SyncDriver::ask() {
    if (const auto manager = manager_.lock()) {
        manager->requireSync();
        manager->remoteSync();
    }
}

void SyncDriver::arm(std::shared_ptr<Timer>& timer, std::chrono::nanoseconds time, void (SyncDriver::*action)(),
                     bool repeats) {
    if (timer) {
        timer->invalidate();
    }
    timer = Timer::create(
        time,
        [weak = weak_from_this(), action](Timer&) {
            if (const auto self = weak.lock()) {
                (*self.*action)();
            }
        },
        repeats);
    RunLoop::main().add(timer, RunLoopMode::default_);
}

}  // namespace quendokit

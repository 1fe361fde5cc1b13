#include "apps/quendo/cloud/reminder_mirror.hpp"

#include <utility>

#include "hostkit/guarded_cloud_database.hpp"
#include "quendokit/platform/ck_error.hpp"
#include "quendokit/platform/clock.hpp"
#include "quendokit/platform/services.hpp"
#include "quendokit/sync/reminder_record.hpp"
#include "quendokit/sync/reminder_sync_manager.hpp"

namespace quendo {

using quendokit::CKErrorCode;
using quendokit::Error;

ReminderMirror::ReminderMirror(ReminderMirrorParts parts) : parts_(std::move(parts)), isAnother_(parts_.isAnother) {
    quendokit::SyncDriverEvents events;
    events.uploadEnded = [this](const std::optional<Error>& error) { uploadEnded(error); };
    events.downloadEnded = [this](const std::optional<Error>& error) { downloadEnded(error); };
    events.waits = [this](const Error& error, std::chrono::nanoseconds) {
        waits_ = error;
        parts_.told();
    };
    events.reports = parts_.warn;
    events.confirmed = [this](const std::vector<std::string>& ids) { confirmed(ids); };
    events.received = [this](const auto& records, const auto& deleted) { received(records, deleted); };
    events.zoneStaysUnknown = parts_.zoneStaysUnknown;
    driver_ = quendokit::SyncDriver::create(parts_.manager, parts_.guard, {}, std::move(events));
}

ReminderMirror::~ReminderMirror() {
    // They speak of this object.
    parts_.guard->setEvents({});
}

void ReminderMirror::ask() {
    // An upload goes before it.
    parts_.manager->remoteSync();
}

void ReminderMirror::readFromTheBeginning() {
    // As after a write that failed: what came since the token that is durable comes again, and that is none.
    parts_.guard->writeFailed();
}

bool ReminderMirror::zoneExists() const {
    return parts_.manager->zoneExists();
}

bool ReminderMirror::isIdle() const {
    return parts_.guard->isIdle();
}

bool ReminderMirror::isStoring() const {
    return parts_.guard->isStoring();
}

void ReminderMirror::beginCount() {
    count_ = {};
    countedComing_.clear();
    countedConfirmed_.clear();
    uploadError_ = std::nullopt;
    downloadError_ = std::nullopt;
    waits_ = std::nullopt;
    // Somebody waits for it now.
    parts_.guard->retryNow();
}

void ReminderMirror::resendTheRest(std::function<void(bool)> done) {
    quendokit::resendEverything(parts_.controller, parts_.guard, cameFromAnother_, std::move(done));
}

void ReminderMirror::setMoved() {
    isAnother_ = false;
    cameFromAnother_.clear();
    parts_.identity.setMoved(parts_.cloud);
}

void ReminderMirror::uploadEnded(const std::optional<Error>& error) {
    uploadError_ = error;
    waits_ = std::nullopt;
    if (!error) {
        parts_.record.uploaded(quendokit::platform::clock().now());
    }
    parts_.told();
}

void ReminderMirror::downloadEnded(const std::optional<Error>& error) {
    downloadError_ = error;
    waits_ = std::nullopt;
    const bool isGone = error && (quendokit::isCKError(*error, CKErrorCode::changeTokenExpired) ||
                                  quendokit::isCKError(*error, CKErrorCode::zoneNotFound));
    if (isGone) {
        // The zone was made anew, or the server was: what was confirmed then may be nowhere now.
        parts_.identity.forget();
        isAnother_ = true;
        cameFromAnother_.clear();
    }
    parts_.told();
}

void ReminderMirror::confirmed(const std::vector<std::string>& ids) {
    for (const std::string& id : ids) {
        countedComing_.insert(id);
        if (isAnother_) {
            cameFromAnother_.insert(id);
        }
        if (countedConfirmed_.insert(id).second) {
            count_.uploaded.push_back(id);
        }
    }
}

bool ReminderMirror::isNews(const std::string& id) {
    return countedComing_.insert(id).second || !countedConfirmed_.contains(id);
}

void ReminderMirror::received(const std::vector<quendokit::CKRecord>& records,
                              const std::vector<quendokit::CKRecordID>& deleted) {
    for (const auto& record : records) {
        const std::string& id = record.recordID().recordName;
        if (isAnother_) {
            cameFromAnother_.insert(id);
        }
        count_.received += isNews(id) && quendokit::makeReminderStruct(record) ? 1 : 0;
    }
    for (const auto& id : deleted) {
        if (isAnother_) {
            cameFromAnother_.insert(id.recordName);
        }
        count_.deleted += isNews(id.recordName) ? 1 : 0;
    }
}

}  // namespace quendo

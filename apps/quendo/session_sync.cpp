/// \file
/// One whole sync.

#include <algorithm>
#include <filesystem>
#include <memory>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "adapters/event_loop/event_loop.hpp"
#include "apps/quendo/session_cloud_internal.hpp"
#include "apps/quendo/session_internal.hpp"
#include "hostkit/cloud_move.hpp"
#include "hostkit/intent_journal.hpp"
#include "hostkit/sync_driver.hpp"
#include "hostkit/two_step_changes.hpp"
#include "quendokit/platform/ck_error.hpp"
#include "quendokit/platform/realm.hpp"
#include "quendokit/sync/reminder_record.hpp"
#include "quendokit/sync/reminder_sync_manager.hpp"

namespace quendo {

using quendokit::Error;

namespace {

bool isExpired(const Error& error) {
    return quendokit::isCKError(error, quendokit::CKErrorCode::changeTokenExpired);
}

}  // namespace

std::optional<Failure> Session::openConnection() {
    if (cloud_->connection) {
        return std::nullopt;
    }
    auto connection = CloudConnection::open(
        *cloud_->account, cloud_->file.tokens(),
        [log = quendokit::platform::services().standardOutput](const std::string& line) { log->writeLine(line); });
    if (!connection) {
        return connection.failure();
    }
    cloud_->connection = std::move(connection).value();
    return std::nullopt;
}

std::optional<Failure> Session::openToSync() {
    if (auto failure = openConnection()) {
        return failure;
    }
    // Manager and controller are made in one turn of the loop: no page finds the manager without a store.
    manager_ = quendokit::ReminderSyncManager::create(cloud_->account->clientID);
    if (auto failure = openDatabase()) {
        return failure;
    }
    return finishLeftovers();
}

Outcome<SyncAnswer> Session::perform(const SyncRequest& request) {
    if (!cloud_->account) {
        return Failure{ExitCode::notDone, "no cloud is connected; connect one with quendo cloud connect"};
    }
    auto answer = sync(request.patience);
    cloud_->record.ended(answer ? std::nullopt : std::optional(answer.failure().line));
    return answer;
}

Outcome<SyncAnswer> Session::sync(std::chrono::seconds patience) {
    const auto end = std::chrono::steady_clock::now() + patience;
    const auto rest = [&] {
        return std::max<std::chrono::nanoseconds>(end - std::chrono::steady_clock::now(), std::chrono::seconds(0));
    };
    if (!controller_ && !std::filesystem::exists(folders_.database())) {
        // A token stands for what the database holds.
        cloud_->gate->remove(Cloud::tokenKey);
    }
    // Asked before there is a manager, which reads the token.
    quendokit::CloudIdentity identity(cloud_->gate, Cloud::tokenKey);
    const std::string cloud =
        cloud_->account->url + " " + cloud_->account->container + " " + cloud_->account->environment;
    bool isAnother = identity.isAnother(cloud);
    if (auto failure = openToSync()) {
        return *std::move(failure);
    }
    SyncAnswer answer;
    // What this cloud has shown or taken by now.
    std::set<std::string> came;
    std::set<std::string> confirmed;
    std::optional<Error> uploadError;
    std::optional<Error> downloadError;
    std::optional<Error> waits;
    const auto guard = cloud_->guards->database(cloud_->account->container);
    guard->setTokenGate(cloud_->gate);
    guard->setRealm(realm_);
    tellOfFailedWrites([weak = std::weak_ptr(guard)] {
        if (const auto database = weak.lock()) {
            database->writeFailed();
        }
    });
    quendokit::SyncDriverEvents events;
    events.uploadEnded = [&](const std::optional<Error>& error) {
        uploadError = error;
        waits = std::nullopt;
        if (!error) {
            cloud_->record.uploaded(quendokit::platform::clock().now());
        }
    };
    events.downloadEnded = [&](const std::optional<Error>& error) {
        downloadError = error;
        waits = std::nullopt;
        const bool isGone =
            error && (isExpired(*error) || quendokit::isCKError(*error, quendokit::CKErrorCode::zoneNotFound));
        if (isGone) {
            // The zone was made anew, or the server was: what was confirmed then may be nowhere now.
            identity.forget();
            isAnother = true;
        }
    };
    events.waits = [&](const Error& error, std::chrono::nanoseconds) { waits = error; };
    events.reports = [&](const std::string& line) { warn_(line); };
    events.confirmed = [&](const std::vector<std::string>& ids) {
        for (const std::string& id : ids) {
            came.insert(id);
            if (confirmed.insert(id).second) {
                answer.uploaded.push_back(id);
            }
        }
    };
    // What was sent just now comes back, when everything is read from the beginning.
    const auto isNews = [&](const std::string& id) { return came.insert(id).second || !confirmed.contains(id); };
    events.received = [&](const std::vector<quendokit::CKRecord>& records,
                          const std::vector<quendokit::CKRecordID>& deleted) {
        for (const auto& record : records) {
            const bool is = isNews(record.recordID().recordName);
            answer.received += is && quendokit::makeReminderStruct(record) ? 1 : 0;
        }
        for (const auto& id : deleted) {
            answer.deleted += isNews(id.recordName) ? 1 : 0;
        }
    };
    // They speak of what is in this frame.
    const std::shared_ptr<void> silence(nullptr, [&](void*) { guard->setEvents({}); });
    const auto driver = quendokit::SyncDriver::create(manager_, guard, {}, std::move(events));
    const auto timeIsUp = [&] {
        const std::string why = waits ? ": " + waits->description : "";
        return Failure{ExitCode::cloud, "the sync was not done within " + std::to_string(patience.count()) +
                                            " seconds" + why + "; what is unsent stays and goes with the next one"};
    };
    // At first the manager looks for its zone, and makes it.
    if (!mainLoop_->runUntil([&] { return manager_->zoneExists() || guard->isIdle(); }, rest())) {
        return timeIsUp();
    }
    if (!manager_->zoneExists()) {
        return downloadError ? failureOf(*downloadError)
                             : Failure{ExitCode::cloud, "the cloud did not make a zone for the reminders; see " +
                                                            folders_.log().string()};
    }
    const auto syncOnce = [&]() -> std::optional<Failure> {
        // After a token that is not good any more everything is read from the beginning.
        for (int i = 0; i == 0 || (i == 1 && downloadError && isExpired(*downloadError)); ++i) {
            // An upload goes before it.
            manager_->remoteSync();
            // A download would begin anew again and again while nothing can be stored.
            if (!mainLoop_->runUntil([&] { return guard->isIdle() || hasFailure(); }, rest())) {
                return timeIsUp();
            }
        }
        // What the last changes have queued: the token that is kept behind them.
        static_cast<void>(mainLoop_->runUntil([] { return false; }, std::chrono::nanoseconds(0)));
        if (auto failure = takeFailure()) {
            return failure;
        }
        for (const auto& error : {uploadError, downloadError}) {
            if (error) {
                return failureOf(*error);
            }
        }
        return std::nullopt;
    };
    if (auto failure = syncOnce()) {
        return *std::move(failure);
    }
    if (isAnother) {
        // What an earlier cloud had confirmed and this one has not shown.
        const auto resent = std::make_shared<std::optional<bool>>();
        quendokit::resendEverything(controller_, guard, came, [resent](bool everything) { *resent = everything; });
        if (!mainLoop_->runUntil([&] { return resent->has_value(); }, rest())) {
            return timeIsUp();
        }
        if (auto failure = syncOnce()) {
            return *std::move(failure);
        }
        if (**resent) {
            identity.setMoved(cloud);
        }
    }
    const auto now = quendokit::platform::clock().now();
    cloud_->record.uploaded(now);
    cloud_->record.downloaded(now);
    // Behind the reminders, which matter more.
    if (auto failure = shareDayPlan(end)) {
        failure->line = "the reminders are in step, and the day plan is not: " + failure->line;
        return *std::move(failure);
    }
    return answer;
}

}  // namespace quendo

/// \file
/// One whole sync.

#include <algorithm>
#include <filesystem>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "adapters/event_loop/event_loop.hpp"
#include "apps/quendo/cloud/reminder_mirror.hpp"
#include "apps/quendo/session_cloud_internal.hpp"
#include "apps/quendo/session_internal.hpp"
#include "hostkit/cloud_move.hpp"
#include "hostkit/intent_journal.hpp"
#include "hostkit/two_step_changes.hpp"
#include "quendokit/platform/ck_error.hpp"
#include "quendokit/platform/fatal_error.hpp"
#include "quendokit/platform/realm.hpp"
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
    if (mirror_) {
        return std::nullopt;
    }
    if (auto failure = openConnection()) {
        return failure;
    }
    if (!controller_ && !std::filesystem::exists(folders_.database())) {
        // A token stands for what the database holds.
        cloud_->gate->remove(Cloud::tokenKey);
    }
    // Asked before there is a manager, which reads the token.
    quendokit::CloudIdentity identity(cloud_->gate, Cloud::tokenKey);
    const auto& account = *cloud_->account;
    std::string cloud = account.url + " " + account.container + " " + account.environment;
    const bool isAnother = identity.isAnother(cloud);
    // Manager and controller are made in one turn of the loop: no page finds the manager without a store.
    if (auto failure = openDatabase(true)) {
        return failure;
    }
    const auto guard = cloud_->guards->database(account.container);
    guard->setTokenGate(cloud_->gate);
    guard->setRealm(realm_);
    tellOfFailedWrites([this, weak = std::weak_ptr(guard)] {
        if (const auto database = weak.lock()) {
            database->writeFailed();
        }
        writeFailed();
    });
    mirror_ = std::make_unique<ReminderMirror>(ReminderMirrorParts{
        manager_, guard, controller_, cloud_->record, std::move(identity), std::move(cloud), isAnother,
        [this](const std::string& line) { warn_(line); }, [this] { zoneStaysUnknown(); }, [this] { cloudTold(); }});
    return finishLeftovers();
}

void Session::stopMirror() {
    if (!mirror_) {
        return;
    }
    tellOfFailedWrites([this] { writeFailed(); });
    mirror_.reset();
    twoSteps_.reset();
    controller_.reset();
    manager_.reset();
    realm_.reset();
}

void Session::change(std::vector<std::string> ids, const std::function<void()>& change) {
    if (!mirror_) {
        change();
        return;
    }
    bool isDone = false;
    cloud_->guards->database(cloud_->account->container)->perform(std::move(ids), [&] {
        change();
        isDone = true;
    });
    if (!isDone) {
        quendokit::fatalError("a reminder was to be changed while a change from the cloud was being stored");
    }
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
    if (auto failure = openToSync()) {
        return *std::move(failure);
    }
    mirror_->beginCount();
    const auto timeIsUp = [&] {
        const auto& waits = mirror_->waits();
        const std::string why = waits ? ": " + waits->description : "";
        return Failure{ExitCode::cloud, "the sync was not done within " + std::to_string(patience.count()) +
                                            " seconds" + why + "; what is unsent stays and goes with the next one"};
    };
    // At first the manager looks for its zone, and makes it.
    if (!mainLoop_->runUntil([&] { return mirror_->zoneExists() || mirror_->isIdle(); }, rest())) {
        return timeIsUp();
    }
    if (!mirror_->zoneExists()) {
        const auto& error = mirror_->downloadError();
        return error ? failureOf(*error)
                     : Failure{ExitCode::cloud,
                               "the cloud did not make a zone for the reminders; see " + folders_.log().string()};
    }
    if (auto failure = syncBothWays(end, timeIsUp)) {
        return *std::move(failure);
    }
    if (mirror_->isAnother()) {
        // What an earlier cloud had confirmed and this one has not shown.
        const auto resent = std::make_shared<std::optional<bool>>();
        mirror_->resendTheRest([resent](bool everything) { *resent = everything; });
        if (!mainLoop_->runUntil([&] { return resent->has_value(); }, rest())) {
            return timeIsUp();
        }
        if (auto failure = syncBothWays(end, timeIsUp)) {
            return *std::move(failure);
        }
        if (**resent) {
            mirror_->setMoved();
        }
    }
    const auto now = quendokit::platform::clock().now();
    cloud_->record.uploaded(now);
    cloud_->record.downloaded(now);
    SyncAnswer answer = mirror_->count();
    // Behind the reminders, which matter more.
    if (auto failure = shareDayPlan(end)) {
        failure->line = "the reminders are in step, and the day plan is not: " + failure->line;
        return *std::move(failure);
    }
    return answer;
}

std::optional<Failure> Session::syncBothWays(std::chrono::steady_clock::time_point end,
                                             const std::function<Failure()>& timeIsUp) {
    // After a token that is not good any more everything is read from the beginning.
    for (int i = 0; i == 0 || (i == 1 && mirror_->downloadError() && isExpired(*mirror_->downloadError())); ++i) {
        mirror_->ask();
        const auto rest =
            std::max<std::chrono::nanoseconds>(end - std::chrono::steady_clock::now(), std::chrono::seconds(0));
        // A download would begin anew again and again while nothing can be stored.
        if (!mainLoop_->runUntil([&] { return mirror_->isIdle() || hasFailure(); }, rest)) {
            return timeIsUp();
        }
    }
    // What the last changes have queued: the token that is kept behind them.
    static_cast<void>(mainLoop_->runUntil([] { return false; }, std::chrono::nanoseconds(0)));
    if (auto failure = takeFailure()) {
        return failure;
    }
    for (const auto& error : {mirror_->uploadError(), mirror_->downloadError()}) {
        if (error) {
            return failureOf(*error);
        }
    }
    return std::nullopt;
}

}  // namespace quendo

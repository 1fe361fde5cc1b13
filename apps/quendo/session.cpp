#include "apps/quendo/session.hpp"

#include <algorithm>
#include <chrono>
#include <iterator>
#include <mutex>
#include <utility>

#include "adapters/event_loop/event_loop.hpp"
#include "adapters/linux/linux_platform.hpp"
#include "apps/quendo/cloud/reminder_mirror.hpp"
#include "apps/quendo/identifiers.hpp"
#include "apps/quendo/locale_folder.hpp"
#include "apps/quendo/log_file.hpp"
#include "apps/quendo/make_folder.hpp"
#include "apps/quendo/session_cloud_internal.hpp"
#include "apps/quendo/session_internal.hpp"
#include "apps/quendo/session_stay_internal.hpp"
#include "hostkit/armed_list_file.hpp"
#include "hostkit/guarded_user_defaults.hpp"
#include "hostkit/intent_journal.hpp"
#include "hostkit/two_step_changes.hpp"
#include "quendokit/platform/realm.hpp"
#include "quendokit/store/quendokit_config.hpp"
#include "quendokit/sync/reminder_sync_manager.hpp"

namespace quendo {
namespace {

using quendokit::Date;
using quendokit::ReminderControllerInternal;
using quendokit::ReminderList;

constexpr std::chrono::seconds patienceForFiles(5);

}  // namespace

/// What went wrong with the files during the current operation: the engine itself reports no errors.
/// Any thread: the day plan arrives on one of the cloud's.
struct Session::Record {
    std::mutex mutex;
    std::optional<quendokit::Error> firstError;

    /// Called when a write of the database has failed. Main thread, as that is.
    std::function<void()> writeFailed;

    void note(const quendokit::Error& error) {
        {
            const std::lock_guard lock(mutex);
            if (!firstError) {
                firstError = error;
            }
        }
        if (error.domain == quendokit::realmErrorDomain && writeFailed) {
            writeFailed();
        }
    }

    std::optional<quendokit::Error> exchange(std::optional<quendokit::Error> error) {
        const std::lock_guard lock(mutex);
        return std::exchange(firstError, std::move(error));
    }

    [[nodiscard]] bool hasFailure() {
        const std::lock_guard lock(mutex);
        return firstError.has_value();
    }

    [[nodiscard]] std::optional<Failure> takeFailure() {
        const std::lock_guard lock(mutex);
        const auto error = std::exchange(firstError, std::nullopt);
        return error ? std::optional(failureOf(*error)) : std::nullopt;
    }
};

Outcome<LockFile> takeLock(const Folders& folders, std::chrono::milliseconds patience) {
    for (const auto& folder : {folders.data, folders.config, folders.state}) {
        if (auto failure = makeFolder(folder)) {
            return *std::move(failure);
        }
    }
    return LockFile::take(folders.lock(), patience);
}

Outcome<std::unique_ptr<Session>> Session::open(const Folders& folders, std::shared_ptr<const LockFile> lock,
                                                std::function<void(const std::string&)> warn,
                                                std::shared_ptr<quendokit::LineSink> lines) {
    const auto record = std::make_shared<Record>();
    quendokit::LinuxPlatformOptions options;
    options.folders = static_cast<const quendokit::LinuxFolders&>(folders);
    options.localeFolder = findLocaleFolder();
    options.AppIdentifier = "quendo";
    options.organisationPrefix = "quendo";
    options.patience = patienceForFiles;
    options.onFailure = [record](const quendokit::Error& error) { record->note(error); };
    auto cloud = std::make_unique<Cloud>(folders);
    if (cloud->account) {
        options.CloudContainerIdentifier = cloud->account->container;
    }
    auto linuxPlatform = quendokit::makeLinuxPlatform(std::move(options));
    auto services = std::move(linuxPlatform.services);
    // The settings are read while they are made. What was damaged then may be mended by now.
    std::optional<Failure> settingsFailure;
    if (const auto found = record->takeFailure()) {
        if (const auto error = quendokit::FileUserDefaults::examine(folders.settings())) {
            settingsFailure = Failure{failureOf(*error).code, found->line};
        } else {
            warn(found->line);
        }
    }
    services.standardOutput = lines ? std::move(lines) : std::make_shared<LogFile>(folders.log());
    services.systemLog = services.standardOutput;
    services.userDefaults = std::make_shared<quendokit::GuardedUserDefaults>(
        services.userDefaults, quendokit::SettingsGuardOptions{true, warn});
    cloud->install(services, folders, [record](const quendokit::Error& error) { record->note(error); }, warn);
    // A copy that was damaged is fetched anew.
    if (const auto found = record->takeFailure()) {
        warn(found->line);
    }
    auto session = std::unique_ptr<Session>(new Session(std::move(lock), folders, record, std::move(cloud),
                                                        std::move(linuxPlatform.mainLoop), std::move(services)));
    session->calendar_ = std::move(linuxPlatform.calendar);
    session->warn_ = std::move(warn);
    session->settingsFailure_ = std::move(settingsFailure);
    session->accountFailure_ = session->cloud_->file.takeFailure();
    return session;
}

Session::Session(std::shared_ptr<const LockFile> lock, Folders folders, std::shared_ptr<Record> record,
                 std::unique_ptr<Cloud> cloud, std::shared_ptr<quendokit::EventLoop> mainLoop,
                 quendokit::platform::Services services)
    : lock_(std::move(lock)),
      folders_(std::move(folders)),
      record_(std::move(record)),
      cloud_(std::move(cloud)),
      mainLoop_(std::move(mainLoop)),
      services_(std::move(services)),
      scheduler_(std::make_shared<NotingScheduler>()) {}

Session::~Session() {
    // Nothing of the cloud's thread comes any more while the rest ends.
    leaveCloud();
    // What waits there holds the loop, by the services.
    mainLoop_->end();
}

bool Session::waits(const Request& request) const {
    // Who clears, or forgets the account, would pull the ground from under a sync.
    const bool always =
        std::holds_alternative<SyncRequest>(request) || std::holds_alternative<CloudConnectRequest>(request) ||
        std::holds_alternative<CloudDisconnectRequest>(request) || std::holds_alternative<ClearRequest>(request);
    const bool withCloud =
        std::holds_alternative<SetOptionRequest>(request) || std::holds_alternative<ResetOptionsRequest>(request);
    return always || (withCloud && cloud_->account);
}

Outcome<Response> Session::execute(const Request& request) {
    // While one request waits for the cloud, others come between; what fails then is each one's own.
    const auto outer = record_->exchange(std::nullopt);
    auto response = executeAlone(request);
    const bool mayTellOfMoments =
        std::holds_alternative<PostponeRequest>(request) || std::holds_alternative<SyncRequest>(request);
    if (!stay_ && controller_ && mayTellOfMoments) {
        noteWhatLiesAhead();
    }
    if (outer) {
        record_->exchange(outer);
    }
    return response;
}

void Session::noteWhatLiesAhead() const {
    std::error_code unknown;
    if (!std::filesystem::exists(folders_.armedList(), unknown)) {
        // No daemon ever ran here.
        return;
    }
    const Date now = quendokit::platform::clock().now();
    quendokit::ArmedListFile file(folders_.armedList(), warn_);
    auto known = file.read().value_or(std::vector<quendokit::ArmedReminder>());
    // What is over is for the daemon to look at.
    std::erase_if(known, [now](const quendokit::ArmedReminder& each) { return each.date >= now; });
    auto ahead = quendokit::armedReminders(*controller_, now);
    known.insert(known.end(), std::make_move_iterator(ahead.begin()), std::make_move_iterator(ahead.end()));
    if (const auto error = file.write(known, quendokit::ReminderDefaults::NoDate)) {
        warn_(error->description);
    }
}

Outcome<CloudView> Session::cloudView() {
    // Somebody who looks in between takes no failure of a sync that goes on.
    const auto outer = record_->exchange(std::nullopt);
    auto view = readCloudView();
    record_->exchange(outer);
    return view;
}

Outcome<Response> Session::executeAlone(const Request& request) {
    if (settingsFailure_) {
        const bool needsSettings = std::holds_alternative<OptionsRequest>(request) ||
                                   std::holds_alternative<SetOptionRequest>(request) ||
                                   std::holds_alternative<ResetOptionsRequest>(request);
        if (needsSettings) {
            return *settingsFailure_;
        }
        // The others go by the day plan that everyone begins with.
        warn_(settingsFailure_->line);
    }
    if (accountFailure_) {
        const bool needsAccount =
            std::holds_alternative<SyncRequest>(request) || std::holds_alternative<CloudStatusRequest>(request) ||
            std::holds_alternative<CloudDisconnectRequest>(request) || std::holds_alternative<StatusRequest>(request);
        if (needsAccount) {
            return *accountFailure_;
        }
        // The others go on without a cloud. The file may have been put aside: the next command knows nothing of it.
        warn_(accountFailure_->line);
    }
    return std::visit(
        [this](const auto& one) -> Outcome<Response> {
            auto answer = perform(one);
            if (!answer) {
                return answer.failure();
            }
            return Response(std::move(answer).value());
        },
        request);
}

std::optional<Failure> Session::openToRead() {
    if (controller_) {
        return std::nullopt;
    }
    if (auto failure = openDatabase()) {
        return failure;
    }
    if (const auto failure = finishLeftovers()) {
        warn_(failure->line);
    }
    return std::nullopt;
}

std::optional<Failure> Session::openToChange() {
    if (!controller_) {
        if (auto failure = openDatabase()) {
            return failure;
        }
    }
    return finishLeftovers();
}

std::optional<Failure> Session::openDatabase(bool isMirrored) {
    auto realm = quendokit::Realm::open(quendokit::QuendoKitConfig());
    if (!realm) {
        return failureOf(realm.error());
    }
    auto journal = quendokit::IntentJournal::open(folders_.journal());
    if (!journal) {
        return failureOf(journal.error());
    }
    realm_ = std::move(realm).value();
    if (isMirrored) {
        using SyncMethod = quendokit::ReminderSyncManager::SyncMethod;
        manager_ = quendokit::ReminderSyncManager::create(cloud_->account->clientID,
                                                          polls() ? SyncMethod::polling : SyncMethod::push);
    }
    controller_ = quendokit::ReminderController::create(scheduler_, realm_, nullptr, manager_);
    twoSteps_ = std::make_unique<quendokit::TwoStepChanges>(controller_, std::move(journal).value());
    return std::nullopt;
}

std::optional<Failure> Session::finishLeftovers() {
    std::optional<quendokit::Error> error;
    change({}, [&] { error = twoSteps_->finishLeftovers(); });
    auto failure = takeFailure(error);
    if (failure) {
        failure->line = "an earlier change could not be finished: " + failure->line;
    }
    return failure;
}

std::optional<Failure> Session::takeFailure() {
    return record_->takeFailure();
}

bool Session::hasFailure() const {
    return record_->hasFailure();
}

void Session::tellOfFailedWrites(std::function<void()> writeFailed) {
    record_->writeFailed = std::move(writeFailed);
}

std::optional<Failure> Session::takeFailure(const std::optional<quendokit::Error>& error) {
    auto failure = takeFailure();
    if (!failure && error) {
        failure = failureOf(*error);
    }
    return failure;
}

std::vector<ReminderView> Session::views(const ListRequest& request) const {
    const Date now = quendokit::platform::clock().now();
    auto items = ReminderControllerInternal::reminderItems(*controller_, request.includingDeleted, now);
    std::vector<ReminderView> result;
    for (const ReminderList list : request.lists) {
        auto& of = list == ReminderList::mac        ? items.macReminders
                   : list == ReminderList::upcoming ? items.upcomingReminders
                                                    : items.remainingReminders;
        for (auto& item : of) {
            if (auto view = makeReminderView(std::move(item), now)) {
                result.push_back(*std::move(view));
            }
        }
    }
    return result;
}

Outcome<ReminderView> Session::find(const std::string& id, bool includingDeleted) {
    auto found = [&]() -> Outcome<ReminderView> {
        // A whole identifier, as scripts give it, needs no listing.
        if (auto item = ReminderControllerInternal::reminderItem(*controller_, id);
            item && (includingDeleted || !item->deleted)) {
            if (auto view = makeReminderView(*std::move(item), quendokit::platform::clock().now())) {
                return *std::move(view);
            }
        }
        return findReminder(views({{quendokit::allReminderLists.begin(), quendokit::allReminderLists.end()},
                                   includingDeleted,
                                   std::nullopt}),
                            id);
    }();
    // What a reading that failed did not find may well be there.
    if (auto failure = takeFailure()) {
        return *std::move(failure);
    }
    return found;
}

Outcome<std::vector<ReminderView>> Session::findAll(const std::vector<std::string>& ids) {
    std::vector<ReminderView> chosen;
    for (const std::string& id : ids) {
        auto found = find(id, false);
        if (!found) {
            return found.failure();
        }
        const bool again = std::any_of(chosen.begin(), chosen.end(),
                                       [&](const ReminderView& each) { return each.id == found.value().id; });
        if (!again) {
            chosen.push_back(std::move(found).value());
        }
    }
    return chosen;
}

ReminderView Session::stored(const std::string& id, const quendokit::ReminderStruct& expected) const {
    if (auto item = ReminderControllerInternal::reminderItem(*controller_, id)) {
        if (auto view = makeReminderView(*std::move(item), quendokit::platform::clock().now())) {
            return *std::move(view);
        }
    }
    return {id, expected.title(), expected.shown(), expected.condition(), std::nullopt, true, false};
}

std::optional<Failure> Session::changeEach(
    const std::vector<ReminderView>& chosen, const char* doneWord,
    const std::function<std::optional<quendokit::Error>(const ReminderView&)>& change) {
    std::size_t done = 0;
    for (const ReminderView& each : chosen) {
        if (auto failure = takeFailure(change(each))) {
            if (done > 0) {
                failure->line += " (" + std::to_string(done) + " of " + std::to_string(chosen.size()) + " were " +
                                 doneWord + " before)";
            }
            return failure;
        }
        ++done;
    }
    return std::nullopt;
}

}  // namespace quendo

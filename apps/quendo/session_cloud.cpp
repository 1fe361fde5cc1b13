/// \file
/// Connecting to the cloud, and how this home stands to it.

#include <utility>

#include "adapters/event_loop/event_loop.hpp"
#include "apps/quendo/cloud/cloud_check.hpp"
#include "apps/quendo/cloud/reminder_mirror.hpp"
#include "apps/quendo/session_cloud_internal.hpp"
#include "apps/quendo/session_internal.hpp"
#include "hostkit/guarded_key_value_store.hpp"
#include "quendokit/platform/user_defaults.hpp"
#include "quendokit/store/reminder_controller_internal.hpp"

namespace quendo {
namespace {

/// Keeps a token for as long as an account is tried.
class TriedToken final : public quendokit::WebTokenStore {
public:
    explicit TriedToken(std::string token) : token_(std::move(token)) {}

    [[nodiscard]] std::optional<std::string> webToken() const override {
        const std::lock_guard lock(mutex_);
        return token_;
    }
    void keep(const std::string& token) override {
        const std::lock_guard lock(mutex_);
        token_ = token;
    }

private:
    mutable std::mutex mutex_;
    std::string token_;
};

}  // namespace

class Session::Cloud::Containers final : public quendokit::CKContainerProvider {
public:
    explicit Containers(const Cloud& cloud) : cloud_(cloud) {}

    [[nodiscard]] std::shared_ptr<quendokit::CKDatabase> privateCloudDatabase(std::string_view identifier) override {
        return cloud_.connection ? cloud_.connection->containers()->privateCloudDatabase(identifier) : nullptr;
    }

private:
    const Cloud& cloud_;
};

Session::Cloud::Cloud(const Folders& folders)
    : file(folders.account()), account(file.account()), record(folders.syncRecord()) {}

void Session::Cloud::install(quendokit::platform::Services& services, const Folders& folders,
                             std::function<void(const quendokit::Error&)> onFailure,
                             const std::function<void(const std::string&)>& warn) {
    dayPlan = std::make_unique<SharedDayPlan>(folders.sharedSettings(), services.mainQueue, std::move(onFailure));
    if (!account) {
        return;
    }
    guards = std::make_shared<quendokit::GuardedContainerProvider>(std::make_shared<Containers>(*this),
                                                                   quendokit::CloudGuardOptions());
    gate = quendokit::TokenGate::create(services.userDefaults, tokenKey, services.mainQueue);
    services.userDefaults = gate;
    services.containerProvider = guards;
    // What arrives is read on one of the cloud's threads.
    const auto warnOnMain = [queue = std::weak_ptr(services.mainQueue), warn](const std::string& line) {
        if (const auto main = queue.lock()) {
            main->async([warn, line] { warn(line); });
        }
    };
    services.ubiquitousKeyValueStore = std::make_shared<quendokit::GuardedKeyValueStore>(
        dayPlan->store(), quendokit::SettingsGuardOptions{true, warnOnMain});
}

void Session::Cloud::forgetWhatWasRead() {
    quendokit::UserDefaults::standard().remove(tokenKey);
    record.forget();
    dayPlan->leaveCloud();
}

Outcome<CloudConnected> Session::perform(const CloudConnectRequest& request) {
    quendokit::WebAccount account;
    account.url = request.url;
    account.container = request.container;
    account.environment = request.environment;
    account.apiToken = request.apiToken;
    const auto token = std::make_shared<TriedToken>(request.webToken);
    if (auto failure = checkCloud(account, token, request.patience, mainLoop_)) {
        return *std::move(failure);
    }
    leaveCloud();
    if (cloud_->account && (cloud_->account->url != account.url || cloud_->account->container != account.container ||
                            cloud_->account->environment != account.environment)) {
        cloud_->forgetWhatWasRead();
    }
    cloud_->file.remember(account, token->webToken().value_or(request.webToken));
    if (auto failure = cloud_->file.takeFailure()) {
        return *std::move(failure);
    }
    if (auto failure = takeFailure()) {
        return *std::move(failure);
    }
    return CloudConnected{account.url, account.container};
}

Outcome<CloudView> Session::perform(const CloudStatusRequest&) {
    if (auto failure = openToRead()) {
        return *std::move(failure);
    }
    return cloudView();
}

Outcome<CloudView> Session::readCloudView() {
    CloudView view;
    if (!controller_) {
        return view;
    }
    for (const auto& items : {controller_->remindersToUpload(), controller_->remindersToDelete()}) {
        view.unsent += items ? items->size() : 0;
    }
    if (auto failure = takeFailure()) {
        return *std::move(failure);
    }
    if (auto failure = cloud_->file.takeFailure()) {
        return *std::move(failure);
    }
    if (cloud_->account) {
        view.connected = true;
        view.url = cloud_->account->url;
        view.container = cloud_->account->container;
        view.lastUpload = cloud_->record.lastUpload();
        view.lastDownload = cloud_->record.lastDownload();
        view.lastError = cloud_->record.lastError();
        if (view.lastDownload) {
            view.zone = std::string(reminderZoneName);
        }
    }
    return view;
}

Outcome<CloudDisconnected> Session::perform(const CloudDisconnectRequest&) {
    if (!cloud_->account) {
        return Failure{ExitCode::notDone, "no cloud is connected"};
    }
    leaveCloud();
    cloud_->file.forget();
    if (auto failure = cloud_->file.takeFailure()) {
        return *std::move(failure);
    }
    cloud_->forgetWhatWasRead();
    if (auto failure = takeFailure()) {
        return *std::move(failure);
    }
    return CloudDisconnected();
}

Outcome<HealthView> Session::perform(const StatusRequest&) {
    if (auto failure = openToRead()) {
        return *std::move(failure);
    }
    HealthView health;
    auto upcoming = views({{quendokit::ReminderList::upcoming}, false, std::nullopt});
    if (!upcoming.empty()) {
        health.next = std::move(upcoming.front());
    }
    auto cloud = cloudView();
    if (!cloud) {
        return cloud.failure();
    }
    health.cloud = std::move(cloud).value();
    return health;
}

}  // namespace quendo

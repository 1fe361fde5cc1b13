#include "bench/cloud_home.hpp"

#include <cstdio>
#include <cstdlib>
#include <mutex>
#include <string_view>
#include <utility>

#include "adapters/cloudkit_web/web_cloud_database.hpp"
#include "adapters/linux/linux_platform.hpp"
#include "bench/store_files.hpp"
#include "hostkit/guarded_container_provider.hpp"
#include "hostkit/token_gate.hpp"

namespace quendokit::bench {
namespace {

using Clock = std::chrono::steady_clock;

constexpr std::chrono::seconds patience(60);

class NullSink final : public LineSink {
public:
    void writeLine(std::string_view) override {}
};

void check(bool good, const std::string& what) {
    if (!good) {
        std::fprintf(stderr, "cloud home: %s\n", what.c_str());
        std::abort();
    }
}

LinuxPlatform platformIn(const std::filesystem::path& folder, const std::string& container) {
    LinuxPlatformOptions options;
    options.folders = LinuxFolders::inOne(folder);
    options.AppIdentifier = "bench";
    options.organisationPrefix = "quendo";
    options.CloudContainerIdentifier = container;
    options.onFailure = [](const Error& error) { check(false, error.description); };
    return makeLinuxPlatform(std::move(options));
}

std::shared_ptr<CurlTransport> makeTransport() {
    CurlTransportOptions options;
    options.allowsPlainHttp = true;
    return std::make_shared<CurlTransport>(std::move(options));
}

}  // namespace

class CloudHome::Token final : public WebTokenStore {
public:
    explicit Token(std::string& token) : token_(token) {}

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
    std::string& token_;
};

CloudHome::CloudHome(const std::filesystem::path& folder, const WebAccount& account, std::string& webToken)
    : token_(std::make_shared<Token>(webToken)), transport_(makeTransport()), start_(Clock::now()), uploaded_(start_) {
    auto made = platformIn(folder, account.container);
    loop_ = std::move(made.mainLoop);
    auto services = std::move(made.services);
    auto session = WebSession::open(account, transport_, token_);
    check(static_cast<bool>(session), "the account");
    auto database = std::make_shared<WebCloudDatabase>(session.value(),
                                                       [](const Error& error) { check(false, error.description); });
    auto containers = std::make_shared<WebContainerProvider>(account.container, std::move(database));
    auto guards = std::make_shared<GuardedContainerProvider>(std::move(containers), CloudGuardOptions());
    auto gate = TokenGate::create(services.userDefaults, "quendo.sync.change-token", services.mainQueue);
    services.userDefaults = gate;
    services.containerProvider = guards;
    services.standardOutput = std::make_shared<NullSink>();
    services.systemLog = services.standardOutput;
    services_ = std::make_unique<platform::ScopedInstall>(std::move(services));
    guard_ = guards->database(account.container);
    guard_->setTokenGate(std::move(gate));
    manager_ = ReminderSyncManager::create(account.clientID);
    const auto realm = openRealm(folder / "reminders.sqlite");
    guard_->setRealm(realm);
    controller_ = ReminderController::create(nullptr, realm, nullptr, manager_);
    SyncDriverEvents events;
    const auto checkEnd = [](const std::optional<Error>& error) { check(!error, error ? error->description : ""); };
    events.uploadEnded = [this, checkEnd](const std::optional<Error>& error) {
        checkEnd(error);
        uploaded_ = Clock::now();
    };
    events.downloadEnded = checkEnd;
    events.waits = [](const Error& error, std::chrono::nanoseconds) { check(false, error.description); };
    driver_ = SyncDriver::create(manager_, guard_, {}, std::move(events));
}

CloudHome::~CloudHome() {
    transport_->stop();
    loop_->end();
}

CloudHome::Times CloudHome::finishFirstSync() {
    check(loop_->runUntil([&] { return manager_->zoneExists() && guard_->isIdle(); }, patience), "no end");
    return {uploaded_ - start_, Clock::now() - start_};
}

}  // namespace quendokit::bench

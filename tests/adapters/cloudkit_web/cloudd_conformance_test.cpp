/// \file
/// `WebCloudDatabase` keeps the promises of `CKDatabase` with the record server of this project.

#include <atomic>
#include <chrono>
#include <cstdint>
#include <memory>
#include <string>
#include <thread>

#include "adapters/cloudkit_web/courier.hpp"
#include "adapters/cloudkit_web/curl_transport.hpp"
#include "adapters/cloudkit_web/web_cloud_database.hpp"
#include "testing/conformance/cloud_database_conformance.hpp"
#include "testing/in_memory_user_defaults.hpp"
#include "tests/support/cloudd_process.hpp"

namespace quendokit::testing {
namespace {

using namespace std::chrono_literals;

ClouddProcess& server() {
    static ClouddProcess process(QUENDO_CLOUDD);
    return process;
}

/// One device of a person: a transport, tokens and a database of its own.
class Device {
public:
    explicit Device(const ClouddProcess::Tokens& tokens) : session_(open(tokens)), database_(session_) {}
    ~Device() { transport_->stop(); }

    [[nodiscard]] CKDatabase& database() { return database_; }
    [[nodiscard]] const std::shared_ptr<WebSession>& session() const { return session_; }

private:
    [[nodiscard]] std::shared_ptr<WebSession> open(const ClouddProcess::Tokens& tokens) const {
        WebAccount account;
        account.url = server().url();
        account.container = "iCloud.net.example.app";
        account.apiToken = tokens.api;
        account.clientID = "6F9619FF-8B86-4D01-B42D-" + std::to_string(100'000'000'000 + ++lastDevice);
        const auto store = std::make_shared<SettingsWebTokenStore>(std::make_shared<InMemoryUserDefaults>());
        store->keep(tokens.web);
        return WebSession::open(account, transport_, store).value();
    }

    static CurlTransportOptions options() {
        CurlTransportOptions options;
        options.allowsPlainHttp = true;
        return options;
    }

    static inline std::int64_t lastDevice = 0;
    const std::shared_ptr<CurlTransport> transport_ = std::make_shared<CurlTransport>(options());
    const std::shared_ptr<WebSession> session_;
    WebCloudDatabase database_;
};

/// Each test has a person of its own.
class ClouddFactory final : public CloudDatabaseFactory {
public:
    ClouddFactory()
        : user_("user-" + std::to_string(++lastUser)),
          device_(server().addUser(user_)),
          otherDevice_(server().addDevice(user_, "other")) {}

    [[nodiscard]] CKDatabase& database() override { return device_.database(); }
    [[nodiscard]] CKDatabase& otherDevice() override { return otherDevice_.database(); }

    [[nodiscard]] bool runUntil(const std::function<bool()>& done) override {
        const auto end = std::chrono::steady_clock::now() + 20s;
        while (!done()) {
            if (std::chrono::steady_clock::now() > end) {
                return false;
            }
            std::this_thread::sleep_for(1ms);
        }
        return true;
    }

    [[nodiscard]] bool listenOnOtherDevice() override {
        courier_ = std::make_unique<Courier>(otherDevice_.session(), [this] { ++newsCount_; });
        courier_->start();
        // The first says that it listens.
        return runUntil([this] { return newsCount_ > 0; });
    }
    [[nodiscard]] std::size_t pushCount() const override { return newsCount_ - 1; }

private:
    static inline int lastUser = 0;

    const std::string user_;
    Device device_;
    Device otherDevice_;
    std::atomic<std::size_t> newsCount_ = 0;
    std::unique_ptr<Courier> courier_;
};

const auto implementations =
    ::testing::Values(CloudDatabaseImplementation{"Cloudd", [] { return std::make_unique<ClouddFactory>(); }});

}  // namespace

INSTANTIATE_TEST_SUITE_P(Web, CloudDatabaseConformance, implementations, ::testing::PrintToStringParamName());
INSTANTIATE_TEST_SUITE_P(Web, CloudSubscriptionConformance, implementations, ::testing::PrintToStringParamName());

}  // namespace quendokit::testing

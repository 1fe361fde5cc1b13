/// \file
/// A guarded database keeps the promises of `CKDatabase`, with every protection and with none.

#include "hostkit/guarded_container_provider.hpp"
#include "quendokit/platform/services.hpp"
#include "testing/conformance/cloud_database_conformance.hpp"
#include "testing/in_memory_cloud_database.hpp"
#include "testing/manual_dispatch_queue.hpp"
#include "testing/manual_run_loop_provider.hpp"
#include "testing/one_cloud_database.hpp"

namespace quendokit::testing {
namespace {

class GuardedCloudFactory final : public CloudDatabaseFactory {
public:
    explicit GuardedCloudFactory(const CloudGuardOptions& options)
        : installed_(services()), database_(guard(plainHere_, options)), otherDevice_(guard(plainThere_, options)) {}

    /// What still waits on a queue holds its database, which holds the queue.
    ~GuardedCloudFactory() override {
        static_cast<void>(runUntil([] { return false; }));
    }

    [[nodiscard]] CKDatabase& database() override { return *database_; }
    [[nodiscard]] CKDatabase& otherDevice() override { return *otherDevice_; }
    [[nodiscard]] bool runUntil(const std::function<bool()>& done) override {
        while (!done()) {
            if (!mainQueue_->runNext() && !network_->runNext()) {
                return false;
            }
        }
        return true;
    }
    [[nodiscard]] bool listenOnOtherDevice() override {
        plainThere_->setPushHandler([this](const CKSubscription&) { ++pushCount_; });
        return true;
    }
    [[nodiscard]] std::size_t pushCount() const override { return pushCount_; }

private:
    [[nodiscard]] platform::Services services() const {
        platform::Services services;
        services.mainQueue = mainQueue_;
        services.runLoopProvider = std::make_shared<ManualRunLoopProvider>(std::make_shared<ManualRunLoop>());
        return services;
    }
    static std::shared_ptr<CKDatabase> guard(const std::shared_ptr<InMemoryCloudDatabase>& database,
                                             const CloudGuardOptions& options) {
        return GuardedContainerProvider(std::make_shared<OneCloudDatabase>(database), options)
            .privateCloudDatabase("any");
    }

    std::size_t pushCount_ = 0;
    const std::shared_ptr<ManualDispatchQueue> mainQueue_ = std::make_shared<ManualDispatchQueue>();
    const std::shared_ptr<ManualDispatchQueue> network_ = std::make_shared<ManualDispatchQueue>();
    const std::shared_ptr<InMemoryCloud> cloud_ = std::make_shared<InMemoryCloud>();
    const std::shared_ptr<InMemoryCloudDatabase> plainHere_ = InMemoryCloudDatabase::create(cloud_, network_);
    const std::shared_ptr<InMemoryCloudDatabase> plainThere_ = InMemoryCloudDatabase::create(cloud_, network_);
    const platform::ScopedInstall installed_;
    const std::shared_ptr<CKDatabase> database_;
    const std::shared_ptr<CKDatabase> otherDevice_;
};

CloudDatabaseImplementation guarded(const std::string& name, const CloudGuardOptions& options) {
    return {name, [=] { return std::make_unique<GuardedCloudFactory>(options); }};
}

const auto implementations = ::testing::Values(
    guarded("AllProtections", {}),
    guarded("NoProtection", {false, false, false, false, false, false, false, false, 200, 1'000'000, {}}));

}  // namespace

INSTANTIATE_TEST_SUITE_P(Guarded, CloudDatabaseConformance, implementations, ::testing::PrintToStringParamName());
INSTANTIATE_TEST_SUITE_P(Guarded, CloudSubscriptionConformance, implementations, ::testing::PrintToStringParamName());

}  // namespace quendokit::testing

/// \file
/// `InMemoryCloudDatabase` keeps the promises of `CKDatabase`, whatever its pages hold.

#include "testing/conformance/cloud_database_conformance.hpp"
#include "testing/in_memory_cloud_database.hpp"
#include "testing/manual_dispatch_queue.hpp"

namespace quendokit::testing {
namespace {

class InMemoryCloudFactory final : public CloudDatabaseFactory {
public:
    InMemoryCloudFactory(std::size_t pageSize, bool replaysDeletions) {
        cloud_->setPageSize(pageSize);
        cloud_->setReplaysDeletions(replaysDeletions);
    }

    [[nodiscard]] CKDatabase& database() override { return *database_; }
    [[nodiscard]] CKDatabase& otherDevice() override { return *otherDevice_; }
    [[nodiscard]] bool runUntil(const std::function<bool()>& done) override {
        while (!done()) {
            if (!queue_->runNext()) {
                return false;
            }
        }
        return true;
    }
    [[nodiscard]] bool listenOnOtherDevice() override {
        otherDevice_->setPushHandler([this](const CKSubscription&) { ++pushCount_; });
        return true;
    }
    [[nodiscard]] std::size_t pushCount() const override { return pushCount_; }

private:
    std::size_t pushCount_ = 0;
    const std::shared_ptr<InMemoryCloud> cloud_ = std::make_shared<InMemoryCloud>();
    const std::shared_ptr<ManualDispatchQueue> queue_ = std::make_shared<ManualDispatchQueue>();
    const std::shared_ptr<InMemoryCloudDatabase> database_ = InMemoryCloudDatabase::create(cloud_, queue_);
    const std::shared_ptr<InMemoryCloudDatabase> otherDevice_ = InMemoryCloudDatabase::create(cloud_, queue_);
};

CloudDatabaseImplementation inMemory(const std::string& name, std::size_t pageSize, bool replaysDeletions) {
    return {name, [=] { return std::make_unique<InMemoryCloudFactory>(pageSize, replaysDeletions); }};
}

const auto implementations = ::testing::Values(inMemory("InMemory", 200, false), inMemory("SmallPages", 3, false),
                                               inMemory("ReplayedDeletions", 1, true));

}  // namespace

INSTANTIATE_TEST_SUITE_P(Doubles, CloudDatabaseConformance, implementations, ::testing::PrintToStringParamName());
INSTANTIATE_TEST_SUITE_P(Doubles, CloudSubscriptionConformance, implementations, ::testing::PrintToStringParamName());

}  // namespace quendokit::testing

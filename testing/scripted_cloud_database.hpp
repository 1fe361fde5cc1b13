#pragma once
/// \file
/// `ScriptedCloudDatabase`, a cloud that answers what the test says, when it says so.

#include <cstddef>
#include <deque>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "quendokit/platform/ck_database.hpp"
#include "quendokit/platform/export.hpp"
#include "testing/trace.hpp"

namespace quendokit::testing {

/// Keeps what it is given until the test takes it out, in any order, and answers it: by calling its completion, with
/// any answer or error, and then `finish` for an operation. Operations that wait for others cannot be taken. One
/// thread.
///
/// With a trace, it adds a line for each call: "fetch zones ZONE…", "save zones ZONE…", "delete subscriptions ID…",
/// "upload NAME… delete NAME…", "download from TOKEN" (or "the beginning"), "fetch subscription ID",
/// "save subscription ID", "fetch all subscriptions".
class QUENDOKIT_EXPORT ScriptedCloudDatabase final : public CKDatabase {
public:
    struct Fetch {
        std::string subscriptionID;
        SubscriptionCompletion completion;
    };
    struct Save {
        CKSubscription subscription;
        SubscriptionCompletion completion;
    };

    explicit ScriptedCloudDatabase(std::shared_ptr<Trace> trace = nullptr) : trace_(std::move(trace)) {}

    void add(std::shared_ptr<CKDatabaseOperation> operation) override;
    void fetch(const std::string& subscriptionID, SubscriptionCompletion completion) override;
    void save(const CKSubscription& subscription, SubscriptionCompletion completion) override;
    void fetchAllSubscriptions(SubscriptionsCompletion completion) override;

    /// The first operation of that kind that is ready, taken out; null when there is none. After its completion was
    /// called it is to be finished.
    template <typename Operation>
    [[nodiscard]] std::shared_ptr<Operation> take() {
        for (auto each = operations_.begin(); each != operations_.end(); ++each) {
            auto operation = std::dynamic_pointer_cast<Operation>(*each);
            if (operation && operation->isReady()) {
                operations_.erase(each);
                return operation;
            }
        }
        return nullptr;
    }

    /// How many operations were added and not taken, ready or not.
    [[nodiscard]] std::size_t operationCount() const noexcept { return operations_.size(); }

    /// What was asked for and is to be answered and removed by the test.
    std::deque<Fetch> subscriptionFetches;
    std::deque<Save> subscriptionSaves;
    std::deque<SubscriptionsCompletion> subscriptionListings;

private:
    void tell(std::string line);

    const std::shared_ptr<Trace> trace_;
    std::vector<std::shared_ptr<CKDatabaseOperation>> operations_;
};

}  // namespace quendokit::testing

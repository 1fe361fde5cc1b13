#pragma once
/// \file
/// `DeferredCloudDatabase`, a database that asks nobody until it may.

#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "quendokit/platform/ck_database.hpp"

namespace quendo {

/// Keeps what it is asked until `open`, and passes everything on to another database from then on: most commands have
/// nothing to say to the cloud, and the engine asks it all the same. What was never passed on is let go of without an
/// answer. Any thread.
class DeferredCloudDatabase final : public quendokit::CKDatabase {
public:
    void add(std::shared_ptr<quendokit::CKDatabaseOperation> operation) override;
    void fetch(const std::string& subscriptionID, SubscriptionCompletion completion) override;
    void save(const quendokit::CKSubscription& subscription, SubscriptionCompletion completion) override;
    void fetchAllSubscriptions(SubscriptionsCompletion completion) override;

    /// Passes on to `database`, first what waits, in its order. Only the first call counts.
    void open(std::shared_ptr<quendokit::CKDatabase> database);

private:
    using Request = std::function<void(quendokit::CKDatabase&)>;

    void pass(Request request);

    std::mutex mutex_;
    std::shared_ptr<quendokit::CKDatabase> database_;
    std::vector<Request> waiting_;
};

}  // namespace quendo

#include "apps/quendo/cloud/deferred_database.hpp"

#include <utility>

namespace quendo {

using quendokit::CKDatabase;

void DeferredCloudDatabase::add(std::shared_ptr<quendokit::CKDatabaseOperation> operation) {
    pass([operation = std::move(operation)](CKDatabase& database) { database.add(operation); });
}

void DeferredCloudDatabase::fetch(const std::string& subscriptionID, SubscriptionCompletion completion) {
    pass([subscriptionID, completion = std::move(completion)](CKDatabase& database) {
        database.fetch(subscriptionID, completion);
    });
}

void DeferredCloudDatabase::save(const quendokit::CKSubscription& subscription, SubscriptionCompletion completion) {
    pass([subscription, completion = std::move(completion)](CKDatabase& database) {
        database.save(subscription, completion);
    });
}

void DeferredCloudDatabase::fetchAllSubscriptions(SubscriptionsCompletion completion) {
    pass([completion = std::move(completion)](CKDatabase& database) { database.fetchAllSubscriptions(completion); });
}

void DeferredCloudDatabase::open(std::shared_ptr<CKDatabase> database) {
    const std::lock_guard lock(mutex_);
    if (database_) {
        return;
    }
    database_ = std::move(database);
    for (const Request& request : std::exchange(waiting_, {})) {
        request(*database_);
    }
}

void DeferredCloudDatabase::pass(Request request) {
    // A database answers from threads of its own, so that nothing comes back in here; and the order holds.
    const std::lock_guard lock(mutex_);
    if (database_) {
        request(*database_);
    } else {
        waiting_.push_back(std::move(request));
    }
}

}  // namespace quendo

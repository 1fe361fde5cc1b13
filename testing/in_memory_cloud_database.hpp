#pragma once
/// \file
/// `InMemoryCloudDatabase`, one device's way to an `InMemoryCloud`.

#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "quendokit/platform/ck_database.hpp"
#include "quendokit/platform/dispatch_queue.hpp"
#include "quendokit/platform/export.hpp"
#include "testing/in_memory_cloud.hpp"

namespace quendokit::testing {

/// What becomes of a request that fails on its way.
struct RequestFault {
    /// Whether the server has done what it was asked for before the answer was lost.
    bool serverDidIt = false;
    Error error;
};

/// A database that asks an `InMemoryCloud`. Everything happens on one queue, in tasks of their own: a request reaches
/// the server in one, and each call of its callbacks is another, so that whoever runs the queue chooses what comes
/// between them. Several operations may be on their way at once. Any thread.
class QUENDOKIT_EXPORT InMemoryCloudDatabase final : public CKDatabase,
                                                     public std::enable_shared_from_this<InMemoryCloudDatabase> {
    struct PrivateTag {};

public:
    /// Asked at each request, on the queue, for what is to become of it; absent: it succeeds.
    using Faults = std::function<std::optional<RequestFault>()>;
    using PushHandler = std::function<void(const CKSubscription&)>;

    [[nodiscard]] static std::shared_ptr<InMemoryCloudDatabase> create(std::shared_ptr<InMemoryCloud> cloud,
                                                                       std::shared_ptr<DispatchQueue> queue);
    InMemoryCloudDatabase(PrivateTag tag, std::shared_ptr<InMemoryCloud> cloud, std::shared_ptr<DispatchQueue> queue);

    /// Before the first request.
    void setFaults(Faults faults) { faults_ = std::move(faults); }
    /// Called on the queue when another device has changed a zone with a subscription. At any time on the thread that
    /// runs the queue.
    void setPushHandler(PushHandler handler) { pushHandler_ = std::move(handler); }

    void add(std::shared_ptr<CKDatabaseOperation> operation) override;
    void fetch(const std::string& subscriptionID, SubscriptionCompletion completion) override;
    void save(const CKSubscription& subscription, SubscriptionCompletion completion) override;
    void fetchAllSubscriptions(SubscriptionsCompletion completion) override;

    /// How many operations wait for others.
    [[nodiscard]] std::size_t waitingCount() const;
    /// How many operations are on their way.
    [[nodiscard]] std::size_t runningCount() const;

private:
    friend class InMemoryCloud;

    /// Starts what no longer waits.
    void startReady();
    void run(const std::shared_ptr<CKDatabaseOperation>& operation);
    /// Sends a request: `answer` makes the calls that follow it, with the error that it failed with.
    void request(std::function<void()> work, std::function<void(const std::optional<Error>&)> answer);
    void receive(const CKSubscription& subscription);

    const std::shared_ptr<InMemoryCloud> cloud_;
    const std::shared_ptr<DispatchQueue> queue_;
    Faults faults_;
    PushHandler pushHandler_;
    mutable std::mutex mutex_;
    std::vector<std::shared_ptr<CKDatabaseOperation>> waiting_;
    std::size_t runningCount_ = 0;
};

}  // namespace quendokit::testing

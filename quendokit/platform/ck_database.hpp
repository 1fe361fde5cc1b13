#pragma once
/// \file
/// `CKDatabase`, the person's private database in the cloud.

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "quendokit/platform/ck_operations.hpp"
#include "quendokit/platform/ck_zone.hpp"
#include "quendokit/platform/error.hpp"
#include "quendokit/platform/export.hpp"

namespace quendokit {

/// A database of the cloud. Calls return before anything is done; completions come later, on threads of the
/// database's, never inside the call. Any thread.
class QUENDOKIT_EXPORT CKDatabase {
public:
    using SubscriptionCompletion = std::function<void(std::optional<CKSubscription>, std::optional<Error>)>;
    using SubscriptionsCompletion =
        std::function<void(std::optional<std::vector<CKSubscription>>, std::optional<Error>)>;

    CKDatabase() = default;
    CKDatabase(const CKDatabase&) = delete;
    CKDatabase& operator=(const CKDatabase&) = delete;
    virtual ~CKDatabase() = default;

    /// Runs `operation` once everything that it depends on has finished, here or before it came. Until then it holds no
    /// thread, and others that were added after it run. Keeps it until it is finished.
    virtual void add(std::shared_ptr<CKDatabaseOperation> operation) = 0;

    /// Looks a subscription up; neither a subscription nor an error when there is none, or an error that says so.
    virtual void fetch(const std::string& subscriptionID, SubscriptionCompletion completion) = 0;
    /// Saves a subscription, and answers it as it is saved. Saving it again succeeds.
    virtual void save(const CKSubscription& subscription, SubscriptionCompletion completion) = 0;
    /// Every subscription of the database, of other programs too. Answers a list or an error.
    virtual void fetchAllSubscriptions(SubscriptionsCompletion completion) = 0;
};

/// The databases of the containers that this process may use.
class QUENDOKIT_EXPORT CKContainerProvider {
public:
    CKContainerProvider() = default;
    CKContainerProvider(const CKContainerProvider&) = delete;
    CKContainerProvider& operator=(const CKContainerProvider&) = delete;
    virtual ~CKContainerProvider() = default;

    /// The private database of the container `identifier`; the same one each time. Any thread.
    [[nodiscard]] virtual std::shared_ptr<CKDatabase> privateCloudDatabase(std::string_view identifier) = 0;
};

/// A container, which holds an application's databases. Plain value.
class QUENDOKIT_EXPORT CKContainer {
public:
    explicit CKContainer(std::string identifier) : identifier_(std::move(identifier)) {}

    /// The person's own database. Fatal if no `CKContainerProvider` is installed, or if it has none.
    [[nodiscard]] std::shared_ptr<CKDatabase> privateCloudDatabase() const;

private:
    std::string identifier_;
};

}  // namespace quendokit

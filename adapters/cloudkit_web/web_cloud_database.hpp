#pragma once
/// \file
/// `WebCloudDatabase`, the person's private database behind CloudKit's HTTP protocol.

#include <functional>
#include <memory>
#include <string>
#include <string_view>

#include "adapters/cloudkit_web/web_session.hpp"
#include "quendokit/platform/ck_database.hpp"
#include "quendokit/platform/export.hpp"

namespace quendokit {

/// Each operation is one request; none is sent again when it fails. Completions come on the transport's thread.
/// Operations that wait for one of another database start with the next operation that is added here or has finished
/// here.
///
/// A request saves and deletes at most 200 records, of one zone, all of them or none; more is refused with
/// `limitExceeded` before anything is sent. Dates are sent as whole milliseconds, rounded down, and records with texts
/// or numbers that no server takes are refused with `invalidArguments`. A token that the server does not take is
/// `changeTokenExpired`.
///
/// Operations whose answer is under way are answered after this has gone, for as long as the transport lives.
class QUENDOKIT_EXPORT WebCloudDatabase final : public CKDatabase {
public:
    /// Hears of items of an answer that nobody can read, and that are left out, on the transport's thread. May be
    /// empty.
    using OnSkipped = std::function<void(const Error&)>;

    explicit WebCloudDatabase(std::shared_ptr<WebSession> session, OnSkipped onSkipped = nullptr);
    WebCloudDatabase(const WebCloudDatabase&) = delete;
    WebCloudDatabase& operator=(const WebCloudDatabase&) = delete;
    ~WebCloudDatabase() override;

    void add(std::shared_ptr<CKDatabaseOperation> operation) override;
    void fetch(const std::string& subscriptionID, SubscriptionCompletion completion) override;
    void save(const CKSubscription& subscription, SubscriptionCompletion completion) override;
    void fetchAllSubscriptions(SubscriptionsCompletion completion) override;

private:
    class State;
    const std::shared_ptr<State> state_;
};

/// Gives the database of the one container that the session is for.
class QUENDOKIT_EXPORT WebContainerProvider final : public CKContainerProvider {
public:
    WebContainerProvider(std::string container, std::shared_ptr<CKDatabase> database);

    /// Null for another container.
    [[nodiscard]] std::shared_ptr<CKDatabase> privateCloudDatabase(std::string_view identifier) override;

private:
    const std::string container_;
    const std::shared_ptr<CKDatabase> database_;
};

}  // namespace quendokit

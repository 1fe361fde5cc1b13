#include "adapters/cloudkit_web/web_cloud_database.hpp"

#include <algorithm>
#include <utility>
#include <vector>

#include <nlohmann/json.hpp>

#include "adapters/cloudkit_web/cloud_exchange_internal.hpp"
#include "adapters/cloudkit_web/operation_starter_internal.hpp"
#include "adapters/cloudkit_web/subscription_exchange_internal.hpp"

namespace quendokit {
namespace {

constexpr const char* lookUpSubscription = "subscriptions/lookup";
constexpr const char* modifySubscriptions = "subscriptions/modify";
constexpr const char* listSubscriptions = "subscriptions/list";

}  // namespace

/// What outlives the database while answers are under way. All but `post` on the transport's thread.
class WebCloudDatabase::State final : public std::enable_shared_from_this<State> {
public:
    State(std::shared_ptr<WebSession> session, OnSkipped onSkipped)
        : exchange_(std::make_shared<web::CloudExchange>(std::move(session), std::move(onSkipped))) {}

    /// Runs `task` there. Any thread.
    void post(std::function<void(State&)> task) {
        exchange_->transport().post([self = shared_from_this(), task = std::move(task)] { task(*self); });
    }

    void add(std::shared_ptr<CKDatabaseOperation> operation) {
        waiting_.push_back(std::move(operation));
        startReady();
    }

    /// Forgets what never starts.
    void forget() { waiting_.clear(); }

    [[nodiscard]] const web::CloudExchange& exchange() const noexcept { return *exchange_; }
    [[nodiscard]] std::shared_ptr<const web::CloudExchange> sharedExchange() const { return exchange_; }

private:
    void startReady() {
        // One that is answered at once comes back here before its start returns.
        for (;;) {
            const auto ready = std::find_if(waiting_.begin(), waiting_.end(),
                                            [](const auto& operation) { return operation->isReady(); });
            if (ready == waiting_.end()) {
                return;
            }
            auto operation = std::move(*ready);
            waiting_.erase(ready);
            web::OperationStarter(exchange_, std::move(operation), [self = shared_from_this()] {
                self->startReady();
            }).start();
        }
    }

    const std::shared_ptr<const web::CloudExchange> exchange_;
    std::vector<std::shared_ptr<CKDatabaseOperation>> waiting_;
};

WebCloudDatabase::WebCloudDatabase(std::shared_ptr<WebSession> session, OnSkipped onSkipped)
    : state_(std::make_shared<State>(std::move(session), std::move(onSkipped))) {}

WebCloudDatabase::~WebCloudDatabase() {
    state_->post([](State& state) { state.forget(); });
}

void WebCloudDatabase::add(std::shared_ptr<CKDatabaseOperation> operation) {
    state_->post([operation = std::move(operation)](State& state) { state.add(operation); });
}

void WebCloudDatabase::fetch(const std::string& subscriptionID, SubscriptionCompletion completion) {
    state_->post([subscriptionID, completion = std::move(completion)](State& state) {
        state.exchange().ask(
            lookUpSubscription, web::subscriptionToLookUp(subscriptionID),
            [exchange = state.sharedExchange(), subscriptionID, completion](const Result<web::Json>& answer) {
                const auto found = web::foundSubscription(subscriptionID, answer);
                if (found) {
                    completion(found.value(), std::nullopt);
                } else {
                    completion(std::nullopt, exchange->explained(lookUpSubscription, found.error()));
                }
            });
    });
}

void WebCloudDatabase::save(const CKSubscription& subscription, SubscriptionCompletion completion) {
    state_->post([subscription, completion = std::move(completion)](State& state) {
        state.exchange().ask(
            modifySubscriptions, web::subscriptionsToModify({subscription}, {}),
            [exchange = state.sharedExchange(), subscription, completion](const Result<web::Json>& answer) {
                const auto modified = web::modifiedSubscriptions({subscription}, {}, answer);
                if (modified.error) {
                    completion(std::nullopt, exchange->explained(modifySubscriptions, *modified.error));
                } else {
                    completion(modified.saved->front(), std::nullopt);
                }
            });
    });
}

void WebCloudDatabase::fetchAllSubscriptions(SubscriptionsCompletion completion) {
    state_->post([completion = std::move(completion)](State& state) {
        state.exchange().ask(listSubscriptions, nullptr,
                             [exchange = state.sharedExchange(), completion](const Result<web::Json>& answer) {
                                 const auto listed = web::listedSubscriptions(answer);
                                 if (listed) {
                                     completion(listed.value(), std::nullopt);
                                 } else {
                                     completion(std::nullopt, exchange->explained(listSubscriptions, listed.error()));
                                 }
                             });
    });
}

WebContainerProvider::WebContainerProvider(std::string container, std::shared_ptr<CKDatabase> database)
    : container_(std::move(container)), database_(std::move(database)) {}

std::shared_ptr<CKDatabase> WebContainerProvider::privateCloudDatabase(std::string_view identifier) {
    return identifier == container_ ? database_ : nullptr;
}

}  // namespace quendokit

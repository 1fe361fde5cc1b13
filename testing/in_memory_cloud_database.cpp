#include "testing/in_memory_cloud_database.hpp"

#include <algorithm>
#include <iterator>
#include <utility>

namespace quendokit::testing {
namespace {

/// Completes an operation that got no answer.
class Failing final : public CKDatabaseOperation::Visitor {
public:
    explicit Failing(const Error& error) : error_(error) {}

    void visit(CKFetchRecordZonesOperation& operation) override {
        complete(operation.fetchRecordZonesCompletion, std::nullopt);
    }
    void visit(CKModifyRecordZonesOperation& operation) override {
        complete(operation.modifyRecordZonesCompletion, std::nullopt, std::nullopt);
    }
    void visit(CKModifySubscriptionsOperation& operation) override {
        complete(operation.modifySubscriptionsCompletion, std::nullopt, std::nullopt);
    }
    void visit(CKModifyRecordsOperation& operation) override {
        complete(operation.modifyRecordsCompletion, std::nullopt, std::nullopt);
    }
    void visit(CKFetchRecordChangesOperation& operation) override {
        complete(operation.fetchRecordChangesCompletion, std::nullopt, std::nullopt);
    }

private:
    template <typename Completion, typename... Absent>
    void complete(const Completion& completion, Absent... absent) const {
        if (completion) {
            completion(absent..., error_);
        }
    }

    const Error& error_;
};

}  // namespace

std::shared_ptr<InMemoryCloudDatabase> InMemoryCloudDatabase::create(std::shared_ptr<InMemoryCloud> cloud,
                                                                     std::shared_ptr<DispatchQueue> queue) {
    auto database = std::make_shared<InMemoryCloudDatabase>(PrivateTag(), std::move(cloud), std::move(queue));
    database->cloud_->connect(database);
    return database;
}

InMemoryCloudDatabase::InMemoryCloudDatabase(PrivateTag, std::shared_ptr<InMemoryCloud> cloud,
                                             std::shared_ptr<DispatchQueue> queue)
    : cloud_(std::move(cloud)), queue_(std::move(queue)) {}

void InMemoryCloudDatabase::add(std::shared_ptr<CKDatabaseOperation> operation) {
    {
        const std::lock_guard lock(mutex_);
        waiting_.push_back(std::move(operation));
    }
    startReady();
}

void InMemoryCloudDatabase::startReady() {
    std::vector<std::shared_ptr<CKDatabaseOperation>> ready;
    {
        const std::lock_guard lock(mutex_);
        const auto firstReady = std::stable_partition(waiting_.begin(), waiting_.end(),
                                                      [](const auto& operation) { return !operation->isReady(); });
        std::move(firstReady, waiting_.end(), std::back_inserter(ready));
        waiting_.erase(firstReady, waiting_.end());
        runningCount_ += ready.size();
    }
    for (auto& operation : ready) {
        queue_->async([self = shared_from_this(), operation = std::move(operation)] { self->run(operation); });
    }
}

void InMemoryCloudDatabase::run(const std::shared_ptr<CKDatabaseOperation>& operation) {
    const auto fault = faults_ ? faults_() : std::nullopt;
    std::vector<InMemoryCloud::Task> calls;
    if (!fault || fault->serverDidIt) {
        calls = cloud_->handle(*operation, this);
    }
    if (fault) {
        calls.clear();
        calls.emplace_back([operation, error = fault->error] {
            Failing failing(error);
            operation->accept(failing);
        });
    }
    for (auto& call : calls) {
        queue_->async(std::move(call));
    }
    queue_->async([self = shared_from_this(), operation] {
        operation->finish();
        {
            const std::lock_guard lock(self->mutex_);
            --self->runningCount_;
        }
        self->startReady();
    });
}

void InMemoryCloudDatabase::request(std::function<void()> work,
                                    std::function<void(const std::optional<Error>&)> answer) {
    queue_->async([self = shared_from_this(), work = std::move(work), answer = std::move(answer)] {
        const auto fault = self->faults_ ? self->faults_() : std::nullopt;
        if (!fault || fault->serverDidIt) {
            const std::lock_guard lock(self->cloud_->mutex_);
            work();
        }
        self->queue_->async([answer, error = fault ? std::optional(fault->error) : std::nullopt] { answer(error); });
    });
}

void InMemoryCloudDatabase::fetch(const std::string& subscriptionID, SubscriptionCompletion completion) {
    auto found = std::make_shared<std::optional<CKSubscription>>();
    request([this, found, subscriptionID] { *found = cloud_->find(subscriptionID); },
            [found, completion = std::move(completion)](const std::optional<Error>& error) {
                completion(error ? std::nullopt : *found, error);
            });
}

void InMemoryCloudDatabase::save(const CKSubscription& subscription, SubscriptionCompletion completion) {
    auto refused = std::make_shared<std::optional<Error>>();
    request([this, refused, subscription] { *refused = cloud_->save(subscription); },
            [refused, subscription, completion = std::move(completion)](const std::optional<Error>& error) {
                const auto& failure = error ? error : *refused;
                completion(failure ? std::nullopt : std::optional(subscription), failure);
            });
}

void InMemoryCloudDatabase::fetchAllSubscriptions(SubscriptionsCompletion completion) {
    auto all = std::make_shared<std::vector<CKSubscription>>();
    request([this, all] { *all = cloud_->subscriptions_; },
            [all, completion = std::move(completion)](const std::optional<Error>& error) {
                completion(error ? std::nullopt : std::optional(*all), error);
            });
}

std::size_t InMemoryCloudDatabase::waitingCount() const {
    const std::lock_guard lock(mutex_);
    return waiting_.size();
}

std::size_t InMemoryCloudDatabase::runningCount() const {
    const std::lock_guard lock(mutex_);
    return runningCount_;
}

void InMemoryCloudDatabase::receive(const CKSubscription& subscription) {
    queue_->async([self = shared_from_this(), subscription] {
        if (self->pushHandler_) {
            self->pushHandler_(subscription);
        }
    });
}

}  // namespace quendokit::testing

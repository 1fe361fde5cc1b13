#pragma once
/// \file
/// `OperationStarter`, which asks what an operation wants to know and gives it the answer.

#include <functional>
#include <memory>

#include "adapters/cloudkit_web/cloud_exchange_internal.hpp"
#include "quendokit/platform/ck_operations.hpp"

namespace quendokit::web {

/// Starts one operation, and keeps it until its completion has returned. On the transport's thread.
class OperationStarter final : public CKDatabaseOperation::Visitor {
public:
    /// `didFinish` is called behind the completion.
    OperationStarter(std::shared_ptr<const CloudExchange> exchange, std::shared_ptr<CKDatabaseOperation> operation,
                     std::function<void()> didFinish);

    void start() { operation_->accept(*this); }

    void visit(CKFetchRecordZonesOperation& operation) override;
    void visit(CKModifyRecordZonesOperation& operation) override;
    void visit(CKModifySubscriptionsOperation& operation) override;
    void visit(CKModifyRecordsOperation& operation) override;
    void visit(CKFetchRecordChangesOperation& operation) override;

private:
    /// Asks, and gives the answer to the operation.
    void ask(const char* name, const Json& question, CloudExchange::Completion deliver);
    /// Gives an answer to the operation, which is finished then.
    [[nodiscard]] CloudExchange::Completion finishing(CloudExchange::Completion deliver) const;
    /// Gives an answer that needs no question.
    void answerHere(const std::function<void()>& deliver);

    const std::shared_ptr<const CloudExchange> exchange_;
    const std::shared_ptr<CKDatabaseOperation> operation_;
    const std::function<void()> didFinish_;
};

}  // namespace quendokit::web

#pragma once
/// \file
/// `CKDatabaseOperation`, work for the cloud's database, and what may have to be done before it.

#include <atomic>
#include <memory>
#include <utility>
#include <vector>

#include "quendokit/platform/export.hpp"

namespace quendokit {

class CKFetchRecordZonesOperation;
class CKModifyRecordZonesOperation;
class CKModifySubscriptionsOperation;
class CKModifyRecordsOperation;
class CKFetchRecordChangesOperation;

/// One piece of work, made by whoever wants it done, given to one `CKDatabase` once. Everything about it is set before
/// that. The database keeps it until it is finished, and it keeps what it waits for.
class QUENDOKIT_EXPORT CKDatabaseOperation {
public:
    /// For databases: which kind of operation it is.
    class Visitor {
    public:
        Visitor() = default;
        Visitor(const Visitor&) = delete;
        Visitor& operator=(const Visitor&) = delete;
        virtual ~Visitor() = default;

        virtual void visit(CKFetchRecordZonesOperation& operation) = 0;
        virtual void visit(CKModifyRecordZonesOperation& operation) = 0;
        virtual void visit(CKModifySubscriptionsOperation& operation) = 0;
        virtual void visit(CKModifyRecordsOperation& operation) = 0;
        virtual void visit(CKFetchRecordChangesOperation& operation) = 0;
    };

    CKDatabaseOperation() = default;
    CKDatabaseOperation(const CKDatabaseOperation&) = delete;
    CKDatabaseOperation& operator=(const CKDatabaseOperation&) = delete;
    virtual ~CKDatabaseOperation() = default;

    virtual void accept(Visitor& visitor) = 0;

    /// This one starts only after `operation` has finished: never, when that one is given to no database.
    void addDependency(std::shared_ptr<CKDatabaseOperation> operation) {
        dependencies_.push_back(std::move(operation));
    }
    [[nodiscard]] const std::vector<std::shared_ptr<CKDatabaseOperation>>& dependencies() const noexcept {
        return dependencies_;
    }

    /// Whether everything that it waits for has finished. Any thread.
    [[nodiscard]] bool isReady() const;
    /// Whether its completion has returned. Any thread.
    [[nodiscard]] bool isFinished() const noexcept { return finished_.load(); }
    /// For databases: its completion has returned. Any thread.
    void finish() noexcept { finished_.store(true); }

private:
    std::vector<std::shared_ptr<CKDatabaseOperation>> dependencies_;
    std::atomic<bool> finished_ = false;
};

}  // namespace quendokit

#pragma once
/// \file
/// `WanderingUploads`, a network on which an upload may overtake another one, or arrive twice.

#include <chrono>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "quendokit/platform/ck_database.hpp"
#include "tests/simulation/hazard.hpp"
#include "tests/simulation/simulated_queue.hpp"

namespace quendokit::simulation {

/// Stands before a device's database. Each upload takes its own time to it; everything else arrives at once. Sees when
/// an older version of a record arrives behind a newer one. What is on its way when the process ends is lost. One
/// thread.
class WanderingUploads final : public CKDatabase, private CKDatabaseOperation::Visitor {
public:
    struct Way {
        std::chrono::nanoseconds time{0};
        /// How long after the upload the same arrives once more; its answer is the answer to that.
        std::optional<std::chrono::nanoseconds> repeatsAfter = {};
    };
    /// The way of the next upload; absent: the shortest.
    using Ways = std::function<Way()>;

    /// `now` is read at each call.
    WanderingUploads(std::shared_ptr<CKDatabase> database, std::shared_ptr<const Instant> now, Ways ways,
                     std::shared_ptr<Findings> findings)
        : database_(std::move(database)),
          now_(std::move(now)),
          ways_(std::move(ways)),
          findings_(std::move(findings)) {}

    void add(std::shared_ptr<CKDatabaseOperation> operation) override {
        isUpload_ = false;
        operation->accept(*this);
        if (!isUpload_) {
            database_->add(std::move(operation));
            return;
        }
        const auto upload = std::static_pointer_cast<CKModifyRecordsOperation>(std::move(operation));
        const Way way = ways_ ? ways_() : Way();
        const std::uint64_t number = ++lastNumber_;
        if (way.repeatsAfter) {
            auto first = std::make_shared<CKModifyRecordsOperation>(upload->recordsToSave, upload->recordIDsToDelete);
            first->savePolicy = upload->savePolicy;
            underWay_.emplace(*now_ + way.time, Upload{number, std::move(first)});
        }
        underWay_.emplace(*now_ + way.time + way.repeatsAfter.value_or(Instant(0)), Upload{number, upload});
        runDue();
    }
    void fetch(const std::string& subscriptionID, SubscriptionCompletion completion) override {
        database_->fetch(subscriptionID, std::move(completion));
    }
    void save(const CKSubscription& subscription, SubscriptionCompletion completion) override {
        database_->save(subscription, std::move(completion));
    }
    void fetchAllSubscriptions(SubscriptionsCompletion completion) override {
        database_->fetchAllSubscriptions(std::move(completion));
    }

    [[nodiscard]] std::optional<Instant> nextDue() const {
        return underWay_.empty() ? std::nullopt : std::optional(underWay_.begin()->first);
    }
    /// Lets those arrive whose time has come; false when there was none.
    bool runDue() {
        bool any = false;
        while (!underWay_.empty() && underWay_.begin()->first <= *now_) {
            const Upload upload = std::move(underWay_.extract(underWay_.begin()).mapped());
            arrive(upload);
            any = true;
        }
        return any;
    }
    void clear() { underWay_.clear(); }

private:
    struct Upload {
        /// Which one it was.
        std::uint64_t number = 0;
        std::shared_ptr<CKModifyRecordsOperation> operation;
    };
    /// What arrived last of a record; absent for a deletion.
    struct Version {
        std::uint64_t number = 0;
        std::optional<CKRecord> record;
    };

    void visit(CKFetchRecordZonesOperation&) override {}
    void visit(CKModifyRecordZonesOperation&) override {}
    void visit(CKModifySubscriptionsOperation&) override {}
    void visit(CKFetchRecordChangesOperation&) override {}
    void visit(CKModifyRecordsOperation&) override { isUpload_ = true; }

    void arrive(const Upload& upload) {
        for (const CKRecord& record : upload.operation->recordsToSave.value_or(std::vector<CKRecord>())) {
            arrive(record.recordID().recordName, {upload.number, record});
        }
        for (const CKRecordID& id : upload.operation->recordIDsToDelete.value_or(std::vector<CKRecordID>())) {
            arrive(id.recordName, {upload.number, std::nullopt});
        }
        database_->add(upload.operation);
    }
    void arrive(const std::string& name, Version version) {
        Version& newest = newest_[name];
        if (newest.number <= version.number) {
            newest = std::move(version);
        } else if (newest.record != version.record) {
            findings_->note(Hazard::uploadOvertaken, name);
        }
    }

    const std::shared_ptr<CKDatabase> database_;
    const std::shared_ptr<const Instant> now_;
    const Ways ways_;
    const std::shared_ptr<Findings> findings_;
    std::multimap<Instant, Upload> underWay_;
    std::map<std::string, Version> newest_;
    std::uint64_t lastNumber_ = 0;
    bool isUpload_ = false;
};

}  // namespace quendokit::simulation

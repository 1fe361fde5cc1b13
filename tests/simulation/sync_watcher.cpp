#include "tests/simulation/sync_watcher.hpp"

#include <map>
#include <utility>
#include <vector>

#include "quendokit/sync/reminder_record.hpp"

namespace quendokit::simulation {
namespace {

/// Whether the record says of the reminder what the item says.
bool isOf(const CKRecord& record, const ReminderItem& item) {
    const auto other = makeCKRecord(item, record.recordID().zoneID);
    return other && other->values() == record.values();
}

}  // namespace

/// One page of a download.
struct SyncWatcher::Page {
    bool fromTheBeginning = false;
    bool tokenIsStored = false;
};

/// What a task on the main queue is about. A record that came, or those that an upload confirmed.
class SyncWatcher::Hop {
public:
    std::vector<CKRecord> uploaded;
    std::optional<CKRecord> fetched;
    std::string id;
    std::shared_ptr<Page> page;
};

/// Wraps the callbacks of what is added.
class SyncWatcher::Database final : public CKDatabase, private CKDatabaseOperation::Visitor {
public:
    Database(std::shared_ptr<SyncWatcher> watcher, std::shared_ptr<CKDatabase> database)
        : watcher_(std::move(watcher)), database_(std::move(database)) {}

    void add(std::shared_ptr<CKDatabaseOperation> operation) override {
        operation->accept(*this);
        database_->add(std::move(operation));
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

private:
    void visit(CKFetchRecordZonesOperation&) override {}
    void visit(CKModifyRecordZonesOperation&) override {}
    void visit(CKModifySubscriptionsOperation&) override {}

    void visit(CKModifyRecordsOperation& operation) override {
        auto hop = std::make_shared<Hop>();
        hop->uploaded = operation.recordsToSave.value_or(std::vector<CKRecord>());
        std::set<std::string> names;
        for (const CKRecord& record : hop->uploaded) {
            watcher_->findings_->namedTwice += names.insert(record.recordID().recordName).second ? 0 : 1;
        }
        for (const CKRecordID& id : operation.recordIDsToDelete.value_or(std::vector<CKRecordID>())) {
            watcher_->findings_->namedTwice += names.insert(id.recordName).second ? 0 : 1;
        }
        operation.modifyRecordsCompletion = around(std::move(hop), std::move(operation.modifyRecordsCompletion));
    }

    void visit(CKFetchRecordChangesOperation& operation) override {
        auto page = std::make_shared<Page>();
        page->fromTheBeginning = !operation.previousServerChangeToken || watcher_->goesOnFromTheBeginning_;
        operation.recordChanged = [weak = std::weak_ptr(watcher_), page,
                                   inner = std::move(operation.recordChanged)](const CKRecord& record) {
            auto hop = std::make_shared<Hop>();
            hop->fetched = record;
            hop->id = record.recordID().recordName;
            hop->page = page;
            during(weak, hop, [&] { inner(record); });
        };
        operation.recordWithIDWasDeleted = [weak = std::weak_ptr(watcher_), page,
                                            inner = std::move(operation.recordWithIDWasDeleted)](const CKRecordID& id) {
            auto hop = std::make_shared<Hop>();
            hop->id = id.recordName;
            hop->page = page;
            during(weak, hop, [&] { inner(id); });
        };
        operation.fetchRecordChangesCompletion = [weak = std::weak_ptr(watcher_), page, itself = &operation,
                                                  inner = std::move(operation.fetchRecordChangesCompletion)](
                                                     const auto& token, const auto& data, const auto& error) {
            const bool last = !itself->moreComing;
            const auto watcher = weak.lock();
            if (watcher) {
                watcher->goesOnFromTheBeginning_ = !error && !last && page->fromTheBeginning;
            }
            inner(token, data, error);
            page->tokenIsStored = !error;
            if (watcher && !error && last && page->fromTheBeginning) {
                watcher->readFromTheBeginning();
            }
        };
    }

    template <typename Call>
    static void during(const std::weak_ptr<SyncWatcher>& weak, std::shared_ptr<const Hop> hop, const Call& call) {
        const auto watcher = weak.lock();
        if (!watcher) {
            call();
            return;
        }
        auto previous = std::exchange(watcher->current_, std::move(hop));
        call();
        watcher->current_ = std::move(previous);
    }

    template <typename Completion>
    Completion around(std::shared_ptr<const Hop> hop, Completion inner) const {
        return [weak = std::weak_ptr(watcher_), hop = std::move(hop), inner = std::move(inner)](const auto&... answer) {
            during(weak, hop, [&] { inner(answer...); });
        };
    }

    const std::shared_ptr<SyncWatcher> watcher_;
    const std::shared_ptr<CKDatabase> database_;
};

SyncWatcher::SyncWatcher(std::shared_ptr<Findings> findings, LookUp lookUp, SentIDs sentIDs, ServerNames serverNames)
    : findings_(std::move(findings)),
      lookUp_(std::move(lookUp)),
      sentIDs_(std::move(sentIDs)),
      serverNames_(std::move(serverNames)) {}

SyncWatcher::~SyncWatcher() = default;

std::shared_ptr<CKDatabase> SyncWatcher::watch(std::shared_ptr<CKDatabase> database) {
    return std::make_shared<Database>(shared_from_this(), std::move(database));
}

DispatchQueue::Task SyncWatcher::watch(DispatchQueue::Task task) {
    if (!current_) {
        return task;
    }
    waiting_.insert(current_);
    return [weak = weak_from_this(), hop = current_, task = std::move(task)] {
        if (const auto watcher = weak.lock()) {
            watcher->waiting_.erase(watcher->waiting_.find(hop));
            for (const CKRecord& record : hop->uploaded) {
                watcher->confirmed(record);
            }
            if (hop->fetched) {
                watcher->fetched(*hop->fetched, *hop->page);
            }
        }
        task();
    };
}

void SyncWatcher::processEnds() {
    for (const auto& hop : waiting_) {
        if (hop->page && hop->page->tokenIsStored) {
            findings_->note(Hazard::tokenBeforeChanges, hop->id);
        }
    }
    waiting_.clear();
}

void SyncWatcher::fetched(const CKRecord& record, const Page& page) {
    const auto item = lookUp_(record.recordID().recordName);
    if (item && item->pending && !item->deleted && !isOf(record, *item)) {
        findings_->note(page.fromTheBeginning ? Hazard::olderVersionAfterErasedToken : Hazard::ownEcho, item->ID);
    }
}

void SyncWatcher::confirmed(const CKRecord& uploaded) {
    const auto item = lookUp_(uploaded.recordID().recordName);
    if (!item) {
        return;
    }
    if (item->deleted) {
        findings_->note(Hazard::deletedDuringUpload, item->ID);
    } else if (item->pending && !isOf(uploaded, *item)) {
        findings_->note(Hazard::changedDuringUpload, item->ID);
    }
}

void SyncWatcher::readFromTheBeginning() {
    const std::set<std::string> onServer = serverNames_();
    for (const std::string& id : sentIDs_()) {
        if (!onServer.contains(id)) {
            findings_->note(Hazard::deletionNotTold, id);
        }
    }
}

}  // namespace quendokit::simulation

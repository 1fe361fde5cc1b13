#include "tests/sync/threaded_cloud.hpp"

#include <algorithm>
#include <cstdint>
#include <utility>

namespace quendokit::testing {
namespace {

constexpr std::size_t mostOfAPage = 10;

/// True one time in `times`.
bool happens(std::mt19937& random, unsigned times) {
    return random() % times == 0;
}

Error refusal() {
    return {"CKErrorDomain", 1, "Refused."};
}

CKServerChangeToken tokenOf(std::size_t position) {
    std::vector<std::byte> data;
    for (const char c : std::to_string(position)) {
        data.push_back(static_cast<std::byte>(c));
    }
    return CKServerChangeToken(std::move(data));
}

std::size_t positionOf(const std::optional<CKServerChangeToken>& token) {
    std::size_t position = 0;
    if (token) {
        for (const std::byte byte : token->data()) {
            position = position * 10 + (std::to_integer<std::size_t>(byte) - '0');
        }
    }
    return position;
}

}  // namespace

/// Answers an operation on a thread of the cloud's. Callbacks run outside the lock.
class ThreadedCloud::Answer final : public CKDatabaseOperation::Visitor {
public:
    Answer(ThreadedCloud& cloud, std::mt19937& random) : cloud_(cloud), random_(random), mayFail_(!cloud.isQuiet()) {}

    void visit(CKFetchRecordZonesOperation& operation) override {
        if (fails(4)) {
            operation.fetchRecordZonesCompletion(std::nullopt, refusal());
            return;
        }
        CKFetchRecordZonesOperation::Zones zones;
        {
            const std::lock_guard lock(cloud_.mutex_);
            if (cloud_.hasZone_) {
                const CKRecordZoneID& id = operation.recordZoneIDs.front();
                zones.emplace(id, CKRecordZone{id});
            }
        }
        operation.fetchRecordZonesCompletion(zones, std::nullopt);
    }

    void visit(CKModifyRecordZonesOperation& operation) override {
        if (fails(4)) {
            operation.modifyRecordZonesCompletion(std::nullopt, std::nullopt, refusal());
            return;
        }
        {
            const std::lock_guard lock(cloud_.mutex_);
            cloud_.hasZone_ = true;
        }
        operation.modifyRecordZonesCompletion(operation.recordZonesToSave, std::nullopt, std::nullopt);
    }

    void visit(CKModifySubscriptionsOperation& operation) override {
        if (fails(4)) {
            operation.modifySubscriptionsCompletion(std::nullopt, std::nullopt, refusal());
            return;
        }
        {
            const std::lock_guard lock(cloud_.mutex_);
            cloud_.subscriptions_.clear();
        }
        operation.modifySubscriptionsCompletion(std::nullopt, operation.subscriptionIDsToDelete, std::nullopt);
    }

    void visit(CKModifyRecordsOperation& operation) override {
        const auto& saves = operation.recordsToSave;
        const auto& deletions = operation.recordIDsToDelete;
        if (fails(6)) {
            operation.modifyRecordsCompletion(std::nullopt, std::nullopt, refusal());
            count([](Counts& counts) { ++counts.failedUploads; });
            return;
        }
        std::size_t names = 0;
        {
            const std::lock_guard lock(cloud_.mutex_);
            for (const CKRecord& record : saves.value_or(std::vector<CKRecord>())) {
                cloud_.record(record.recordID().recordName, record);
                ++names;
            }
            for (const CKRecordID& id : deletions.value_or(std::vector<CKRecordID>())) {
                cloud_.record(id.recordName, std::nullopt);
                ++names;
            }
        }
        operation.modifyRecordsCompletion(saves, deletions, std::nullopt);
        count([&](Counts& counts) {
            ++counts.endedUploads;
            counts.confirmedNames += names;
        });
    }

    void visit(CKFetchRecordChangesOperation& operation) override {
        if (mayFail_) {
            cloud_.changeFromElsewhere(random_);
        }
        const Page page = cloud_.pageAfter(positionOf(operation.previousServerChangeToken));
        std::size_t records = 0;
        std::size_t deletions = 0;
        for (const Change& change : page.changes) {
            if (change.record) {
                operation.recordChanged(*change.record);
                records += isReminder(change) ? 1 : 0;
            } else {
                ++deletions;
                operation.recordWithIDWasDeleted({change.name, operation.recordZoneID});
            }
        }
        const bool failed = fails(24);
        operation.moreComing = page.moreComing;
        operation.fetchRecordChangesCompletion(failed ? std::nullopt : std::optional(tokenOf(page.end)), std::nullopt,
                                               failed ? std::optional(refusal()) : std::nullopt);
        count([&](Counts& counts) {
            counts.failedDownloads += failed ? 1 : 0;
            counts.endedDownloads += failed || page.moreComing ? 0 : 1;
            counts.sentRecords += records;
            counts.sentDeletions += deletions;
        });
    }

private:
    bool fails(unsigned times) { return mayFail_ && happens(random_, times); }

    template <typename Add>
    void count(Add add) {
        const std::lock_guard lock(cloud_.mutex_);
        ++cloud_.counts_.passes;
        add(cloud_.counts_);
    }

    ThreadedCloud& cloud_;
    std::mt19937& random_;
    const bool mayFail_;
};

ThreadedCloud::ThreadedCloud(std::size_t threadCount, std::function<void()> didFinish)
    : didFinish_(std::move(didFinish)) {
    for (unsigned i = 0; i < threadCount; ++i) {
        threads_.emplace_back([this, i] { work(i); });
    }
}

void ThreadedCloud::add(std::shared_ptr<CKDatabaseOperation> operation) {
    if (!operation->isReady()) {
        const std::lock_guard lock(mutex_);
        unready_.push_back(std::move(operation));
        return;
    }
    submit([this, operation = std::move(operation)](std::mt19937& random) {
        Answer answer(*this, random);
        operation->accept(answer);
        operation->finish();
    });
}

void ThreadedCloud::fetch(const std::string& subscriptionID, SubscriptionCompletion completion) {
    submit([this, subscriptionID, completion = std::move(completion)](std::mt19937&) {
        std::optional<CKSubscription> found;
        {
            const std::lock_guard lock(mutex_);
            const auto position =
                std::find_if(subscriptions_.begin(), subscriptions_.end(),
                             [&](const CKSubscription& each) { return each.subscriptionID == subscriptionID; });
            if (position != subscriptions_.end()) {
                found = *position;
            }
        }
        completion(found, std::nullopt);
    });
}

void ThreadedCloud::save(const CKSubscription& subscription, SubscriptionCompletion completion) {
    submit([this, subscription, completion = std::move(completion)](std::mt19937& random) {
        if (!isQuiet() && happens(random, 2)) {
            completion(std::nullopt, refusal());
            return;
        }
        {
            const std::lock_guard lock(mutex_);
            subscriptions_.push_back(subscription);
        }
        completion(subscription, std::nullopt);
    });
}

void ThreadedCloud::fetchAllSubscriptions(SubscriptionsCompletion completion) {
    submit([this, completion = std::move(completion)](std::mt19937&) {
        std::vector<CKSubscription> all{{CKRecordZoneID{"Other Zone"}, "another program's"}};
        {
            const std::lock_guard lock(mutex_);
            all.insert(all.end(), subscriptions_.begin(), subscriptions_.end());
        }
        completion(all, std::nullopt);
    });
}

void ThreadedCloud::beQuiet() {
    const std::lock_guard lock(mutex_);
    quiet_ = true;
    changed_.notify_all();
}

void ThreadedCloud::stop() {
    {
        const std::lock_guard lock(mutex_);
        stopped_ = true;
        changed_.notify_all();
    }
    for (std::thread& thread : threads_) {
        thread.join();
    }
    threads_.clear();
    tasks_.clear();
}

bool ThreadedCloud::waitForFewerThan(std::size_t count) {
    std::unique_lock lock(mutex_);
    changed_.wait(lock, [&] { return quiet_ || due_ < count; });
    return !quiet_;
}

std::size_t ThreadedCloud::dueCount() const {
    const std::lock_guard lock(mutex_);
    return due_;
}

ThreadedCloud::Counts ThreadedCloud::counts() const {
    const std::lock_guard lock(mutex_);
    return counts_;
}

std::map<std::string, CKRecord> ThreadedCloud::records() const {
    const std::lock_guard lock(mutex_);
    std::map<std::string, CKRecord> records;
    for (const auto& [position, change] : changes_) {
        if (isReminder(change)) {
            records.emplace(change.name, *change.record);
        }
    }
    return records;
}

void ThreadedCloud::submit(Task task) {
    const std::lock_guard lock(mutex_);
    tasks_.push_back(std::move(task));
    ++due_;
    changed_.notify_all();
}

void ThreadedCloud::work(unsigned seed) {
    std::mt19937 random(seed);
    for (;;) {
        Task task;
        {
            std::unique_lock lock(mutex_);
            changed_.wait(lock, [&] { return stopped_ || !tasks_.empty(); });
            if (stopped_) {
                return;
            }
            task = std::move(tasks_.front());
            tasks_.pop_front();
        }
        task(random);
        // What it keeps may end with it, and reach this cloud.
        task = nullptr;
        {
            const std::lock_guard lock(mutex_);
            --due_;
            changed_.notify_all();
        }
        didFinish_();
    }
}

bool ThreadedCloud::isQuiet() const {
    const std::lock_guard lock(mutex_);
    return quiet_;
}

void ThreadedCloud::record(const std::string& name, std::optional<CKRecord> record) {
    if (const auto earlier = positions_.find(name); earlier != positions_.end()) {
        changes_.erase(earlier->second);
    }
    positions_[name] = ++last_;
    changes_.emplace(last_, Change{name, std::move(record)});
}

void ThreadedCloud::changeFromElsewhere(std::mt19937& random) {
    if (!happens(random, 4)) {
        return;
    }
    const std::lock_guard lock(mutex_);
    if (positions_.empty() || happens(random, 8)) {
        const std::string name = "no reminder";
        record(name, CKRecord::make("Note", {name, CKRecordZoneID{"Reminder Zone"}}));
        return;
    }
    const auto any = std::next(positions_.begin(), static_cast<std::ptrdiff_t>(random() % positions_.size()));
    const Change change = changes_.at(any->second);
    if (!isReminder(change) || happens(random, 3)) {
        record(change.name, std::nullopt);
        return;
    }
    CKRecord changed = *change.record;
    changed.setObject("title", "changed elsewhere " + std::to_string(random() % 1'000));
    record(change.name, std::move(changed));
}

bool ThreadedCloud::isReminder(const Change& change) {
    return change.record && !change.record->values().empty();
}

ThreadedCloud::Page ThreadedCloud::pageAfter(Position position) const {
    const std::lock_guard lock(mutex_);
    Page page{{}, position, false};
    for (auto each = changes_.upper_bound(position); each != changes_.end(); ++each) {
        if (page.changes.size() == mostOfAPage) {
            page.moreComing = true;
            break;
        }
        page.changes.push_back(each->second);
        page.end = each->first;
    }
    return page;
}

}  // namespace quendokit::testing

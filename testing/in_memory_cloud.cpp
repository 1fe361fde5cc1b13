#include "testing/in_memory_cloud.hpp"

#include <algorithm>
#include <charconv>
#include <iterator>
#include <set>
#include <utility>

#include "quendokit/platform/ck_error.hpp"
#include "quendokit/platform/fatal_error.hpp"
#include "testing/in_memory_cloud_database.hpp"

namespace quendokit::testing {
namespace {

/// Up to where a zone is known.
struct Position {
    std::uint64_t generation = 0;
    std::uint64_t identity = 0;
    std::uint64_t sequence = 0;
};

CKServerChangeToken tokenOf(const Position& position) {
    const std::string text = std::to_string(position.generation) + '/' + std::to_string(position.identity) + '/' +
                             std::to_string(position.sequence);
    std::vector<std::byte> data;
    std::transform(text.begin(), text.end(), std::back_inserter(data), [](char c) { return std::byte(c); });
    return CKServerChangeToken(std::move(data));
}

/// Absent for what no server of this kind gave out.
std::optional<Position> positionOf(const CKServerChangeToken& token) {
    std::string text;
    std::transform(token.data().begin(), token.data().end(), std::back_inserter(text),
                   [](std::byte byte) { return static_cast<char>(byte); });
    Position position;
    const char* next = text.data();
    const char* const end = next + text.size();
    for (std::uint64_t* number : {&position.generation, &position.identity, &position.sequence}) {
        const auto [after, failure] = std::from_chars(next, end, *number);
        const bool last = number == &position.sequence;
        if (failure != std::errc() || (last ? after != end : after == end || *after != '/')) {
            return std::nullopt;
        }
        next = last ? after : after + 1;
    }
    return position;
}

Error zoneNotFound(const CKRecordZoneID& zoneID) {
    return makeCKError(CKErrorCode::zoneNotFound, "There is no zone \"" + zoneID.zoneName + "\" in the cloud.");
}

template <typename Element>
const std::vector<Element>& listOf(const std::optional<std::vector<Element>>& list) {
    static const std::vector<Element> none;
    return list ? *list : none;
}

}  // namespace

/// Does what one operation asks for. Works under the lock.
class InMemoryCloud::Handler final : public CKDatabaseOperation::Visitor {
public:
    explicit Handler(InMemoryCloud& cloud) : cloud_(cloud) {}

    void visit(CKFetchRecordZonesOperation& operation) override {
        CKFetchRecordZonesOperation::Zones found;
        for (const CKRecordZoneID& id : operation.recordZoneIDs) {
            if (cloud_.zones_.contains(id)) {
                found.emplace(id, CKRecordZone{id});
            }
        }
        complete(operation.fetchRecordZonesCompletion, std::move(found), std::optional<Error>());
    }

    void visit(CKModifyRecordZonesOperation& operation) override {
        for (const CKRecordZone& zone : listOf(operation.recordZonesToSave)) {
            Zone& made = cloud_.zones_[zone.zoneID];
            if (made.identity == 0) {
                made.identity = ++cloud_.lastIdentity_;
            }
        }
        for (const CKRecordZoneID& id : listOf(operation.recordZoneIDsToDelete)) {
            cloud_.zones_.erase(id);
        }
        complete(operation.modifyRecordZonesCompletion, listOf(operation.recordZonesToSave),
                 listOf(operation.recordZoneIDsToDelete), std::optional<Error>());
    }

    void visit(CKModifySubscriptionsOperation& operation) override {
        std::vector<CKSubscription> saved;
        std::optional<Error> failure;
        for (const CKSubscription& subscription : listOf(operation.subscriptionsToSave)) {
            if (auto refused = cloud_.save(subscription)) {
                failure = std::move(refused);
            } else {
                saved.push_back(subscription);
            }
        }
        for (const std::string& id : listOf(operation.subscriptionIDsToDelete)) {
            std::erase_if(cloud_.subscriptions_, [&](const auto& each) { return each.subscriptionID == id; });
        }
        complete(operation.modifySubscriptionsCompletion, std::move(saved), listOf(operation.subscriptionIDsToDelete),
                 std::move(failure));
    }

    void visit(CKModifyRecordsOperation& operation) override {
        if (auto refused = refusal(operation)) {
            complete(operation.modifyRecordsCompletion, std::optional<std::vector<CKRecord>>(),
                     std::optional<std::vector<CKRecordID>>(), std::move(refused));
            return;
        }
        std::vector<CKRecord> saved;
        for (const CKRecord& record : listOf(operation.recordsToSave)) {
            saved.push_back(save(record));
        }
        for (const CKRecordID& id : listOf(operation.recordIDsToDelete)) {
            Zone& zone = cloud_.zones_.at(id.zoneID);
            const auto found = zone.changes.find(id.recordName);
            if (found != zone.changes.end() && found->second.record) {
                found->second = {std::nullopt, ++zone.lastSequence};
                changedZones.insert(id.zoneID);
            }
        }
        complete(operation.modifyRecordsCompletion, std::move(saved), listOf(operation.recordIDsToDelete),
                 std::optional<Error>());
    }

    void visit(CKFetchRecordChangesOperation& operation) override {
        const auto found = cloud_.zones_.find(operation.recordZoneID);
        if (found == cloud_.zones_.end()) {
            fail(operation, zoneNotFound(operation.recordZoneID));
            return;
        }
        const Zone& zone = found->second;
        const auto& token = operation.previousServerChangeToken;
        const auto from = token ? positionOf(*token) : Position{cloud_.tokenGeneration_, zone.identity, 0};
        if (!from || from->generation != cloud_.tokenGeneration_ || from->identity != zone.identity) {
            fail(operation, makeCKError(CKErrorCode::changeTokenExpired,
                                        "The change token is of no use any more: read the zone from its beginning."));
            return;
        }
        const bool tellsOfDeletions = token || cloud_.replaysDeletions_;
        std::map<std::uint64_t, const std::pair<const std::string, Change>*> page;
        for (const auto& change : zone.changes) {
            if (change.second.sequence > from->sequence && (change.second.record || tellsOfDeletions)) {
                page.emplace(change.second.sequence, &change);
            }
        }
        operation.moreComing = page.size() > cloud_.pageSize_;
        std::uint64_t last = operation.moreComing ? 0 : zone.lastSequence;
        for (const auto& [sequence, change] : page) {
            if (calls.size() == cloud_.pageSize_) {
                break;
            }
            tell(operation, *change);
            if (operation.moreComing) {
                last = sequence;
            }
        }
        complete(operation.fetchRecordChangesCompletion,
                 tokenOf({cloud_.tokenGeneration_, zone.identity, std::max(last, from->sequence)}),
                 std::optional<std::vector<std::byte>>(), std::optional<Error>());
    }

    std::vector<Task> calls;
    std::set<CKRecordZoneID> changedZones;

private:
    template <typename Completion, typename... Answers>
    void complete(const Completion& completion, Answers... answers) {
        calls.emplace_back([completion, ... answers = std::move(answers)] {
            if (completion) {
                completion(answers...);
            }
        });
    }

    void fail(CKFetchRecordChangesOperation& operation, Error error) {
        complete(operation.fetchRecordChangesCompletion, std::optional<CKServerChangeToken>(),
                 std::optional<std::vector<std::byte>>(), std::optional(std::move(error)));
    }

    void tell(CKFetchRecordChangesOperation& operation, const std::pair<const std::string, Change>& change) {
        if (change.second.record) {
            complete(operation.recordChanged, *change.second.record);
        } else {
            complete(operation.recordWithIDWasDeleted, CKRecordID{change.first, operation.recordZoneID});
        }
    }

    /// Why nothing of it is done; absent when all of it can be.
    [[nodiscard]] std::optional<Error> refusal(const CKModifyRecordsOperation& operation) const {
        const auto& saves = listOf(operation.recordsToSave);
        const auto& deletions = listOf(operation.recordIDsToDelete);
        if (saves.size() + deletions.size() > cloud_.requestLimit_) {
            return makeCKError(CKErrorCode::limitExceeded, "One request takes " + std::to_string(cloud_.requestLimit_) +
                                                               " items at most: send less at once.");
        }
        std::set<CKRecordID> named;
        for (const CKRecord& record : saves) {
            if (auto refused = refusal(record.recordID(), named)) {
                return refused;
            }
            if (operation.savePolicy == CKRecordSavePolicy::ifServerRecordUnchanged && !isUnchanged(record)) {
                return makeCKError(CKErrorCode::serverRecordChanged,
                                   "The record \"" + record.recordID().recordName + "\" has changed in the cloud.");
            }
        }
        for (const CKRecordID& id : deletions) {
            if (auto refused = refusal(id, named)) {
                return refused;
            }
        }
        return std::nullopt;
    }

    [[nodiscard]] std::optional<Error> refusal(const CKRecordID& id, std::set<CKRecordID>& named) const {
        if (!cloud_.zones_.contains(id.zoneID)) {
            return zoneNotFound(id.zoneID);
        }
        if (!named.insert(id).second) {
            return makeCKError(CKErrorCode::invalidArguments,
                               "The record \"" + id.recordName + "\" is named twice in one request.");
        }
        return std::nullopt;
    }

    [[nodiscard]] bool isUnchanged(const CKRecord& record) const {
        const auto& changes = cloud_.zones_.at(record.recordID().zoneID).changes;
        const auto found = changes.find(record.recordID().recordName);
        const bool there = found != changes.end() && found->second.record;
        return record.recordChangeTag() == (there ? found->second.record->recordChangeTag() : std::nullopt);
    }

    /// Answers the record as it is now.
    CKRecord save(const CKRecord& record) {
        Zone& zone = cloud_.zones_.at(record.recordID().zoneID);
        Change& change = zone.changes[record.recordID().recordName];
        change.sequence = ++zone.lastSequence;
        if (change.record && change.record->recordType() == record.recordType()) {
            for (const auto& [key, value] : record.values()) {
                change.record->setObject(key, value);
            }
        } else {
            change.record = record;
        }
        change.record->setRecordChangeTag(std::to_string(change.sequence));
        changedZones.insert(record.recordID().zoneID);
        return *change.record;
    }

    InMemoryCloud& cloud_;
};

void InMemoryCloud::setPageSize(std::size_t size) {
    if (size == 0) {
        fatalError("a page of an InMemoryCloud holds at least one change");
    }
    const std::lock_guard lock(mutex_);
    pageSize_ = size;
}

void InMemoryCloud::setRequestLimit(std::size_t count) {
    const std::lock_guard lock(mutex_);
    requestLimit_ = count;
}

void InMemoryCloud::setReplaysDeletions(bool replays) {
    const std::lock_guard lock(mutex_);
    replaysDeletions_ = replays;
}

void InMemoryCloud::expireTokens() {
    const std::lock_guard lock(mutex_);
    ++tokenGeneration_;
}

void InMemoryCloud::removeZone(const CKRecordZoneID& zoneID) {
    const std::lock_guard lock(mutex_);
    zones_.erase(zoneID);
}

std::vector<CKRecord> InMemoryCloud::records(const CKRecordZoneID& zoneID) const {
    const std::lock_guard lock(mutex_);
    std::vector<CKRecord> records;
    if (const auto zone = zones_.find(zoneID); zone != zones_.end()) {
        for (const auto& [name, change] : zone->second.changes) {
            if (change.record) {
                records.push_back(*change.record);
            }
        }
    }
    return records;
}

std::vector<CKSubscription> InMemoryCloud::subscriptions() const {
    const std::lock_guard lock(mutex_);
    return subscriptions_;
}

std::vector<InMemoryCloud::Task> InMemoryCloud::handle(CKDatabaseOperation& operation, Device device) {
    Handler handler(*this);
    {
        const std::lock_guard lock(mutex_);
        operation.accept(handler);
    }
    for (const CKRecordZoneID& zoneID : handler.changedZones) {
        push(zoneID, device);
    }
    return std::move(handler.calls);
}

std::optional<CKSubscription> InMemoryCloud::find(const std::string& subscriptionID) const {
    const auto found = std::find_if(subscriptions_.begin(), subscriptions_.end(),
                                    [&](const auto& each) { return each.subscriptionID == subscriptionID; });
    return found == subscriptions_.end() ? std::nullopt : std::optional(*found);
}

std::optional<Error> InMemoryCloud::save(const CKSubscription& subscription) {
    for (CKSubscription& each : subscriptions_) {
        if (each.subscriptionID == subscription.subscriptionID) {
            each = subscription;
            return std::nullopt;
        }
        if (each.zoneID == subscription.zoneID) {
            return makeCKError(CKErrorCode::serverRejectedRequest,
                               "The subscription is a duplicate of \"" + each.subscriptionID + "\".");
        }
    }
    subscriptions_.push_back(subscription);
    return std::nullopt;
}

void InMemoryCloud::connect(const std::weak_ptr<InMemoryCloudDatabase>& device) {
    const std::lock_guard lock(mutex_);
    devices_.push_back(device);
}

void InMemoryCloud::push(const CKRecordZoneID& zoneID, Device origin) {
    std::vector<std::shared_ptr<InMemoryCloudDatabase>> others;
    std::vector<CKSubscription> subscriptions;
    {
        const std::lock_guard lock(mutex_);
        std::erase_if(devices_, [](const auto& device) { return device.expired(); });
        for (const auto& device : devices_) {
            auto other = device.lock();
            if (other && other.get() != origin) {
                others.push_back(std::move(other));
            }
        }
        std::copy_if(subscriptions_.begin(), subscriptions_.end(), std::back_inserter(subscriptions),
                     [&](const auto& each) { return each.zoneID == zoneID; });
    }
    for (const auto& other : others) {
        for (const CKSubscription& subscription : subscriptions) {
            other->receive(subscription);
        }
    }
}

}  // namespace quendokit::testing

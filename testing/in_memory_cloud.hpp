#pragma once
/// \file
/// `InMemoryCloud`, a person's private database in the cloud, for any number of devices in one process.

#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "quendokit/platform/ck_database.hpp"
#include "quendokit/platform/export.hpp"

namespace quendokit::testing {

class InMemoryCloudDatabase;

/// What the server of a person's private database keeps: zones with their records, in the order of their last change,
/// what was deleted, and subscriptions. Devices reach it through an `InMemoryCloudDatabase` each. Any thread.
class QUENDOKIT_EXPORT InMemoryCloud {
public:
    /// A server without a zone.
    InMemoryCloud() = default;
    InMemoryCloud(const InMemoryCloud&) = delete;
    InMemoryCloud& operator=(const InMemoryCloud&) = delete;
    ~InMemoryCloud() = default;

    /// How many changes one page holds at most; 200 at first. Fatal if 0.
    void setPageSize(std::size_t size);
    /// How many records one operation may save and delete, counted together; 200 at first. More are refused with
    /// `limitExceeded`.
    void setRequestLimit(std::size_t count);
    /// Whether a read from the beginning of a zone tells of deletions too; false at first.
    void setReplaysDeletions(bool replays);
    /// Refuses every token that was given out so far.
    void expireTokens();
    /// Removes a zone, as the person can do in the settings of the cloud.
    void removeZone(const CKRecordZoneID& zoneID);

    /// What is in a zone, by name; nothing when there is no such zone.
    [[nodiscard]] std::vector<CKRecord> records(const CKRecordZoneID& zoneID) const;
    [[nodiscard]] std::vector<CKSubscription> subscriptions() const;

private:
    friend class InMemoryCloudDatabase;
    class Handler;

    struct Change {
        /// Absent when the record was deleted.
        std::optional<CKRecord> record;
        std::uint64_t sequence = 0;
    };
    struct Zone {
        /// Tells a zone from an earlier one of its name.
        std::uint64_t identity = 0;
        std::uint64_t lastSequence = 0;
        std::map<std::string, Change> changes;
    };
    using Task = std::function<void()>;
    using Device = const InMemoryCloudDatabase*;

    /// Does what `operation` asks for, and answers the calls that its device has to make then, the completion last.
    [[nodiscard]] std::vector<Task> handle(CKDatabaseOperation& operation, Device device);
    [[nodiscard]] std::optional<CKSubscription> find(const std::string& subscriptionID) const;
    [[nodiscard]] std::optional<Error> save(const CKSubscription& subscription);

    void connect(const std::weak_ptr<InMemoryCloudDatabase>& device);
    /// Tells the other devices that a zone has changed, if somebody asked for it.
    void push(const CKRecordZoneID& zoneID, Device origin);

    mutable std::mutex mutex_;
    std::size_t pageSize_ = 200;
    std::size_t requestLimit_ = 200;
    bool replaysDeletions_ = false;
    std::uint64_t lastIdentity_ = 0;
    /// How often all tokens have expired; a token says when it was given out, and one of an earlier time is refused.
    std::uint64_t tokenGeneration_ = 0;
    std::map<CKRecordZoneID, Zone> zones_;
    std::vector<CKSubscription> subscriptions_;
    std::vector<std::weak_ptr<InMemoryCloudDatabase>> devices_;
};

}  // namespace quendokit::testing

#pragma once
/// \file
/// What one user keeps: zones, records, the order of their changes, subscriptions.

#include <cstdint>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "apps/quendo-cloudd/database.hpp"

namespace cloudd {

/// A container in one of its environments; each is a world of its own.
struct Scope {
    std::string container;
    std::string environment;
};

/// A row of the file for a scope; 0 when nothing was ever stored there.
struct ScopeRow {
    std::int64_t id = 0;
    std::string identity;
    /// Counts the changes of its zones.
    std::int64_t sequence = 0;
};

struct Zone {
    std::int64_t id = 0;
    std::string name;
    /// Fresh with every making, so that a token of a zone deleted and made again fits no more.
    std::string identity;
    /// That of its last change; each change has the next one.
    std::int64_t sequence = 0;
    /// Records that are not deleted.
    std::int64_t liveCount = 0;
    /// The scope's sequence when the zone last changed.
    std::int64_t changed = 0;
    bool deleted = false;
};

/// A record or what is left of a deleted one: that it was.
struct StoredRecord {
    std::string name;
    std::string type;
    /// A JSON object of fields, each `{"value": …, "type": …}`.
    std::string fields;
    /// That of its newest change. Written to base 36 it is the record's change tag.
    std::int64_t sequence = 0;
    std::int64_t createdMilliseconds = 0;
    std::int64_t creator = 0;
    std::int64_t modifiedMilliseconds = 0;
    std::int64_t modifier = 0;
    bool deleted = false;
};

struct StoredSubscription {
    std::string id;
    /// Empty for one of the whole database.
    std::string zone;
    /// The subscription as JSON.
    std::string content;
};

/// One user's file. What is deleted of a zone stays in it as an entry of its own for ever, so that a device which was
/// away for years still hears of it. One thread.
class UserStore {
public:
    [[nodiscard]] static Result<std::unique_ptr<UserStore>> open(const std::filesystem::path& file,
                                                                 const char* fileSystem = defaultFileSystem);
    /// Makes the file of a new user.
    [[nodiscard]] static std::optional<Error> create(const std::filesystem::path& file,
                                                     const char* fileSystem = defaultFileSystem);

    [[nodiscard]] Connection& connection() noexcept { return *connection_; }

    /// With id 0 when nothing was stored in the scope. `obtainScope` makes it then.
    [[nodiscard]] Result<ScopeRow> scope(const Scope& scope);
    [[nodiscard]] Result<ScopeRow> obtainScope(const Scope& wanted);
    [[nodiscard]] Result<std::int64_t> scopeCount();

    /// Absent when there is none, or none any more.
    [[nodiscard]] Result<std::optional<Zone>> zone(const ScopeRow& scope, std::string_view name);
    [[nodiscard]] Result<std::vector<Zone>> zones(const ScopeRow& scope);
    /// Zones that changed after `since`, deleted ones too, in the order of their last change.
    [[nodiscard]] Result<std::vector<Zone>> changedZones(const ScopeRow& scope, std::int64_t since, std::int64_t limit);
    /// Inside a transaction. The zone must not be there.
    [[nodiscard]] Result<Zone> createZone(ScopeRow& scope, std::string_view name);
    /// Inside a transaction. Its records go with it.
    [[nodiscard]] std::optional<Error> deleteZone(ScopeRow& scope, Zone& zone);
    /// Inside a transaction, after records of the zone were put: notes that it changed.
    [[nodiscard]] std::optional<Error> noteChange(ScopeRow& scope, Zone& zone);

    /// Absent when there never was one; a deleted one is answered.
    [[nodiscard]] Result<std::optional<StoredRecord>> record(const Zone& zone, std::string_view name);
    /// Records whose newest change came after `since`, deleted ones too, in that order.
    [[nodiscard]] Result<std::vector<StoredRecord>> changedRecords(const Zone& zone, std::int64_t since,
                                                                   std::int64_t limit);
    /// Inside a transaction. Gives the record the zone's next sequence.
    [[nodiscard]] std::optional<Error> putRecord(Zone& zone, StoredRecord& record);

    /// Whether a field of records of a type holds moments: once it did, it does for ever.
    [[nodiscard]] Result<bool> isTimestamp(const ScopeRow& scope, std::string_view type, std::string_view field);
    [[nodiscard]] std::optional<Error> noteTimestamp(const ScopeRow& scope, std::string_view type,
                                                     std::string_view field);

    [[nodiscard]] Result<std::vector<StoredSubscription>> subscriptions(const ScopeRow& scope);
    [[nodiscard]] std::optional<Error> putSubscription(const ScopeRow& scope, const StoredSubscription& subscription);
    /// False when there is none of that id.
    [[nodiscard]] Result<bool> deleteSubscription(const ScopeRow& scope, std::string_view id);

private:
    explicit UserStore(std::unique_ptr<Connection> connection) : connection_(std::move(connection)) {}

    std::unique_ptr<Connection> connection_;
};

extern const DatabaseKind userKind;

}  // namespace cloudd

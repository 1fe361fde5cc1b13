#pragma once
/// \file
/// The operations that the engine gives to the cloud's database.
///
/// What a callback is given, and when: each completion is called once, on a thread of the database's, last of all
/// callbacks of its operation. Lists and tokens that came are present even next to an error; absent is what did not
/// come. Callbacks may be empty.

#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "quendokit/platform/ck_operation.hpp"
#include "quendokit/platform/ck_record.hpp"
#include "quendokit/platform/ck_server_change_token.hpp"
#include "quendokit/platform/ck_zone.hpp"
#include "quendokit/platform/error.hpp"

namespace quendokit {

/// Looks zones up. One that is not there is missing from the answer, which is no error.
class CKFetchRecordZonesOperation final : public CKDatabaseOperation {
public:
    using Zones = std::map<CKRecordZoneID, CKRecordZone>;

    explicit CKFetchRecordZonesOperation(std::vector<CKRecordZoneID> zoneIDs) : recordZoneIDs(std::move(zoneIDs)) {}
    void accept(Visitor& visitor) override { visitor.visit(*this); }

    std::vector<CKRecordZoneID> recordZoneIDs;
    std::function<void(std::optional<Zones>, std::optional<Error>)> fetchRecordZonesCompletion;
};

/// Makes and removes zones. Making one that is there leaves it as it is; a zone goes with all its records.
class CKModifyRecordZonesOperation final : public CKDatabaseOperation {
public:
    CKModifyRecordZonesOperation(std::optional<std::vector<CKRecordZone>> toSave,
                                 std::optional<std::vector<CKRecordZoneID>> toDelete)
        : recordZonesToSave(std::move(toSave)), recordZoneIDsToDelete(std::move(toDelete)) {}
    void accept(Visitor& visitor) override { visitor.visit(*this); }

    std::optional<std::vector<CKRecordZone>> recordZonesToSave;
    std::optional<std::vector<CKRecordZoneID>> recordZoneIDsToDelete;
    std::function<void(std::optional<std::vector<CKRecordZone>>, std::optional<std::vector<CKRecordZoneID>>,
                       std::optional<Error>)>
        modifyRecordZonesCompletion;
};

/// Makes and removes subscriptions, and answers which it saved and which it deleted.
class CKModifySubscriptionsOperation final : public CKDatabaseOperation {
public:
    CKModifySubscriptionsOperation(std::optional<std::vector<CKSubscription>> toSave,
                                   std::optional<std::vector<std::string>> toDelete)
        : subscriptionsToSave(std::move(toSave)), subscriptionIDsToDelete(std::move(toDelete)) {}
    void accept(Visitor& visitor) override { visitor.visit(*this); }

    std::optional<std::vector<CKSubscription>> subscriptionsToSave;
    std::optional<std::vector<std::string>> subscriptionIDsToDelete;
    std::function<void(std::optional<std::vector<CKSubscription>>, std::optional<std::vector<std::string>>,
                       std::optional<Error>)>
        modifySubscriptionsCompletion;
};

/// Which records a save may replace, with the platform's numbers.
enum class CKRecordSavePolicy : std::uint8_t {
    /// Only one that has not changed since it was read.
    ifServerRecordUnchanged = 0,
    /// Any, in the keys that changed.
    changedKeys = 1,
    /// Any, in every key that the saved one has; keys that only the server knows stay.
    allKeys = 2,
};

/// Saves and deletes records, all of them or none. Deleting one that is not there succeeds.
class CKModifyRecordsOperation final : public CKDatabaseOperation {
public:
    CKModifyRecordsOperation(std::optional<std::vector<CKRecord>> toSave,
                             std::optional<std::vector<CKRecordID>> toDelete)
        : recordsToSave(std::move(toSave)), recordIDsToDelete(std::move(toDelete)) {}
    void accept(Visitor& visitor) override { visitor.visit(*this); }

    std::optional<std::vector<CKRecord>> recordsToSave;
    std::optional<std::vector<CKRecordID>> recordIDsToDelete;
    CKRecordSavePolicy savePolicy = CKRecordSavePolicy::ifServerRecordUnchanged;
    std::optional<std::vector<std::byte>> clientChangeTokenData;
    /// What the server took, each list in the order in which it was given, saved records with their change tags.
    std::function<void(std::optional<std::vector<CKRecord>>, std::optional<std::vector<CKRecordID>>,
                       std::optional<Error>)>
        modifyRecordsCompletion;
};

/// Reads one page of what changed in a zone, in the order of the changes, records of one request in the order in which
/// it gave them: each record once, in its last state. Changes of this device may be among them or not. A page may be
/// empty although another one is coming.
class CKFetchRecordChangesOperation final : public CKDatabaseOperation {
public:
    /// Without a token from the beginning of the zone: what is in it, perhaps also what went. A token may be used
    /// again. One that the server cannot use is answered with `changeTokenExpired`, a zone that is not there with
    /// `zoneNotFound`.
    CKFetchRecordChangesOperation(CKRecordZoneID zoneID, std::optional<CKServerChangeToken> previousToken)
        : recordZoneID(std::move(zoneID)), previousServerChangeToken(std::move(previousToken)) {}
    void accept(Visitor& visitor) override { visitor.visit(*this); }

    CKRecordZoneID recordZoneID;
    std::optional<CKServerChangeToken> previousServerChangeToken;
    /// Called for each record that changed, on a thread of the database's.
    std::function<void(const CKRecord&)> recordChanged;
    /// Called for each record that went, likewise.
    std::function<void(const CKRecordID&)> recordWithIDWasDeleted;
    /// The token with which the next page begins.
    std::function<void(std::optional<CKServerChangeToken>, std::optional<std::vector<std::byte>>, std::optional<Error>)>
        fetchRecordChangesCompletion;
    /// Whether another page is to be read. Set by the database before the completion, on its thread.
    bool moreComing = false;
};

}  // namespace quendokit

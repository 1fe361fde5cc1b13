#pragma once
/// \file
/// Saving and deleting records, and reading what changed in a zone: what is asked, and what the answers say.

#include <cstddef>
#include <optional>
#include <variant>
#include <vector>

#include "adapters/cloudkit_web/web_json_internal.hpp"
#include "quendokit/platform/ck_operations.hpp"
#include "quendokit/platform/error.hpp"

namespace quendokit::web {

/// What one request may hold.
inline constexpr std::size_t mostOperations = 200;

/// One request that saves and deletes records of one zone: each record once.
struct RecordChanges {
    CKRecordZoneID zoneID;
    std::vector<CKRecord> toSave;
    std::vector<CKRecordID> toDelete;
    CKRecordSavePolicy savePolicy = CKRecordSavePolicy::ifServerRecordUnchanged;

    [[nodiscard]] std::size_t count() const noexcept { return toSave.size() + toDelete.size(); }
};

/// What `operation` asks for. Of a record that is there twice the last is taken, and one that is to be deleted is not
/// saved before. An error when one request cannot hold it: too many, or of several zones.
[[nodiscard]] Result<RecordChanges> changesOf(const CKModifyRecordsOperation& operation);

/// `records/modify`. An error names the record that no server takes.
[[nodiscard]] Result<Json> recordsToModify(const RecordChanges& changes);

struct ModifiedRecords {
    /// As they were sent, with the versions that the server gave them.
    std::optional<std::vector<CKRecord>> saved;
    std::optional<std::vector<CKRecordID>> deleted;
    std::optional<Error> error;
};
/// A record that was not there counts as deleted.
[[nodiscard]] ModifiedRecords modifiedRecords(const RecordChanges& asked, const Result<Json>& answer);

/// `changes/zone`. An error for a token that no server takes.
[[nodiscard]] Result<Json> changesToRead(const CKRecordZoneID& zoneID, const std::optional<CKServerChangeToken>& since);

/// `records/changes`, the older feed, for the one zone of a question for `changes/zone`.
[[nodiscard]] Json changesOfOneZoneToRead(const Json& question);
/// Its answer in the form of the other's.
[[nodiscard]] Json asOneOfManyZones(const Json& answer);

/// One page of changes, in the order in which they are to be told.
struct ChangesPage {
    std::vector<std::variant<CKRecord, CKRecordID>> changes;
    CKServerChangeToken token;
    bool moreComing = false;
    /// How many items were left out because nobody can read them.
    std::size_t skipped = 0;
};
[[nodiscard]] Result<ChangesPage> changesPage(const CKRecordZoneID& zoneID,
                                              const std::optional<CKServerChangeToken>& since,
                                              const Result<Json>& answer);

}  // namespace quendokit::web

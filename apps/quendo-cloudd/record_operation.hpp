#pragma once
/// \file
/// One operation on a record: reading it, and carrying it out.

#include <optional>
#include <string>
#include <vector>

#include "apps/quendo-cloudd/call.hpp"
#include "apps/quendo-cloudd/record_fields.hpp"

namespace cloudd {

/// What becomes of a record, and under which condition.
struct RecordOperation {
    enum class Kind { create, update, forceUpdate, replace, forceReplace, delete_, forceDelete };

    Kind kind = Kind::create;
    std::string name;
    /// Empty when it was not given.
    std::string type;
    std::optional<std::string> changeTag;
    std::vector<FieldChange> fields;
    FieldChoice choice;
};

/// The operations of a request on `zoneName`; an error when any of them cannot be meant.
[[nodiscard]] Reply<std::vector<RecordOperation>> readRecordOperations(const nlohmann::json& body,
                                                                       const std::string& zoneName,
                                                                       const std::string& user);

/// What an operation did.
struct RecordOutcome {
    /// Why it was not done. The store itself is sound.
    std::optional<WireError> refused;
    /// As it is now; deleted or not.
    StoredRecord record;
    /// Absent when nothing changed, as when a record to delete was not there.
    std::optional<RecordEvent> event;
};

/// Carries it out on `zone`, inside a transaction. An error when the store failed or the request has to be refused as a
/// whole.
[[nodiscard]] Reply<RecordOutcome> apply(Call& call, const ScopeRow& scope, Zone& zone,
                                         const RecordOperation& operation);

/// Whether that may be a record's name: 1 to 255 printable ASCII characters, no underscore first.
[[nodiscard]] bool isRecordName(const std::string& name);

/// The version text of a record.
[[nodiscard]] std::string changeTagOf(const StoredRecord& record);

/// A record as answers show it, a deleted one by its name, and that it is gone.
[[nodiscard]] nlohmann::json recordJson(const StoredRecord& record, const std::string& zoneName,
                                        const std::string& user, const FieldChoice& choice);

}  // namespace cloudd

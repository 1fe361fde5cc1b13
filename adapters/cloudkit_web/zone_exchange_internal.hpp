#pragma once
/// \file
/// What is asked about zones, and what the answers say.

#include <optional>
#include <vector>

#include "adapters/cloudkit_web/web_json_internal.hpp"
#include "quendokit/platform/ck_operations.hpp"
#include "quendokit/platform/error.hpp"

namespace quendokit::web {

/// `zones/lookup`
[[nodiscard]] Json zonesToLookUp(const std::vector<CKRecordZoneID>& zoneIDs);

struct FoundZones {
    std::optional<CKFetchRecordZonesOperation::Zones> zones;
    /// Also when nothing is known of one of several.
    std::optional<Error> error;
};
/// A zone that is not there is missing, which is no error.
[[nodiscard]] FoundZones foundZones(const std::vector<CKRecordZoneID>& asked, const Result<Json>& answer);

/// `zones/modify`
[[nodiscard]] Json zonesToModify(const std::vector<CKRecordZone>& toSave, const std::vector<CKRecordZoneID>& toDelete);

struct ModifiedZones {
    std::optional<std::vector<CKRecordZone>> saved;
    std::optional<std::vector<CKRecordZoneID>> deleted;
    std::optional<Error> error;
};
/// A zone that was there before counts as saved, one that was not there as deleted.
[[nodiscard]] ModifiedZones modifiedZones(const std::vector<CKRecordZone>& toSave,
                                          const std::vector<CKRecordZoneID>& toDelete, const Result<Json>& answer);

}  // namespace quendokit::web

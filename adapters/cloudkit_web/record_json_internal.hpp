#pragma once
/// \file
/// Records and their values as JSON.

#include <cstdint>
#include <optional>
#include <string>

#include "adapters/cloudkit_web/web_json_internal.hpp"
#include "quendokit/platform/ck_record.hpp"
#include "quendokit/platform/date.hpp"
#include "quendokit/platform/error.hpp"

namespace quendokit::web {

/// The last whole millisecond since 1970 that is not after `date`: 0.0015 is 1, -0.0015 is -2. What was read from
/// milliseconds is written as the same ones. Absent for what is no moment within 2^43 seconds.
[[nodiscard]] std::optional<std::int64_t> millisecondsOf(Date date);

/// A value under its key: `{"type": "STRING", "value": "milk"}`. An error when servers do not take it.
[[nodiscard]] Result<Json> fieldOf(const CKRecordValue& value);

/// The value of a field; absent when it is null, of another kind than its tag says, or of a kind that no
/// `CKRecordValue` holds.
[[nodiscard]] std::optional<CKRecordValue> valueOf(const Json& field);

/// Name, type and fields of a record to be saved. Without the tag of its version.
[[nodiscard]] Result<Json> recordOf(const CKRecord& record);

/// The live record that `item` is, in `zoneID`, with the fields that can be read. Absent when it is none: odd, or of
/// another zone.
[[nodiscard]] std::optional<CKRecord> makeRecord(const Json& item, const CKRecordZoneID& zoneID);

/// The name of the record in `item`; absent when there is none that the cloud could have given out.
[[nodiscard]] std::optional<CKRecordID> makeRecordID(const Json& item, const CKRecordZoneID& zoneID);

}  // namespace quendokit::web

#pragma once
/// \file
/// `CKRecordZoneID` and `CKRecordID`: how things in the cloud are named.

#include <compare>
#include <string>
#include <string_view>

namespace quendokit {

/// The owner of every zone in a person's own private database.
inline constexpr std::string_view CKOwnerDefaultName = "__defaultOwner__";

/// Names a record zone. Plain value.
struct CKRecordZoneID {
    std::string zoneName;
    std::string ownerName = std::string(CKOwnerDefaultName);

    friend auto operator<=>(const CKRecordZoneID&, const CKRecordZoneID&) = default;
};

/// Names a record. Plain value.
struct CKRecordID {
    std::string recordName;
    CKRecordZoneID zoneID;

    friend auto operator<=>(const CKRecordID&, const CKRecordID&) = default;
};

}  // namespace quendokit

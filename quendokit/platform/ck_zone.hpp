#pragma once
/// \file
/// `CKRecordZone` and `CKSubscription`: a part of the cloud's database, and how to hear of its changes.

#include <cstdint>
#include <optional>
#include <string>

#include "quendokit/platform/ck_identifiers.hpp"

namespace quendokit {

/// A zone. Plain value.
struct CKRecordZone {
    CKRecordZoneID zoneID;

    friend bool operator==(const CKRecordZone&, const CKRecordZone&) = default;
};

/// What a subscription's push looks like. Plain value.
struct CKNotificationInfo {
    /// A silent push, which wakes the program and shows nothing.
    bool shouldSendContentAvailable = false;
    std::string soundName;

    friend bool operator==(const CKNotificationInfo&, const CKNotificationInfo&) = default;
};

/// A wish to hear of every change that another device makes in a zone. Plain value.
struct CKSubscription {
    CKRecordZoneID zoneID;
    std::string subscriptionID;
    std::uint64_t options = 0;
    std::optional<CKNotificationInfo> notificationInfo = {};

    friend bool operator==(const CKSubscription&, const CKSubscription&) = default;
};

}  // namespace quendokit

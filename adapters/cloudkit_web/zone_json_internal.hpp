#pragma once
/// \file
/// Zones and subscriptions as JSON.

#include <optional>

#include "adapters/cloudkit_web/web_json_internal.hpp"
#include "quendokit/platform/ck_identifiers.hpp"
#include "quendokit/platform/ck_zone.hpp"

namespace quendokit::web {

/// `{"zoneName": "Errands"}`. The person is the owner when none is named; servers do not know `CKOwnerDefaultName`.
[[nodiscard]] Json zoneIDOf(const CKRecordZoneID& zoneID);

/// The zone that a server names. Every zone of a private database is the person's own, however servers call them, so
/// its owner is `CKOwnerDefaultName`. Absent when nothing is named.
[[nodiscard]] std::optional<CKRecordZoneID> makeZoneID(const Json& json);

/// One for every change in a zone.
[[nodiscard]] Json subscriptionOf(const CKSubscription& subscription);

/// A subscription of any kind; of those that are not for a zone the zone's name is empty. Absent when it has no name.
[[nodiscard]] std::optional<CKSubscription> makeSubscription(const Json& json);

}  // namespace quendokit::web

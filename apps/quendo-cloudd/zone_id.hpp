#pragma once
/// \file
/// How requests and answers name zones.

#include <optional>
#include <string>
#include <string_view>

#include <nlohmann/json_fwd.hpp>

#include "apps/quendo-cloudd/wire.hpp"

namespace cloudd {

/// The zone that everybody has. It has neither a change feed nor atomic batches.
inline constexpr std::string_view defaultZoneName = "_defaultZone";

struct ZoneReference {
    std::string name;
    /// False for one of another user, which nobody here may see.
    bool isMine = true;

    [[nodiscard]] bool isDefault() const { return name == defaultZoneName; }
};

/// Reads a zone ID. `user` is the caller's record name.
[[nodiscard]] Reply<ZoneReference> readZoneID(const nlohmann::json& zoneID, const std::string& user);
/// Reads member `zoneID` of a request or entry; absent when it is missing.
[[nodiscard]] Reply<std::optional<ZoneReference>> memberZoneID(const nlohmann::json& object, const std::string& user);

[[nodiscard]] nlohmann::json zoneIDJson(std::string_view name, const std::string& user);

/// The error for one zone of several: it names the zone as the client did.
[[nodiscard]] nlohmann::json zoneErrorJson(const nlohmann::json& zoneID, const WireError& error);

[[nodiscard]] inline WireError zoneNotFound() {
    return {ErrorCode::zoneNotFound, "Zone does not exist"};
}

}  // namespace cloudd

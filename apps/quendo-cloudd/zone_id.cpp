#include "apps/quendo-cloudd/zone_id.hpp"

#include <algorithm>
#include <utility>

#include <nlohmann/json.hpp>

#include "apps/quendo-cloudd/json_reading.hpp"

namespace cloudd {
namespace {

using nlohmann::json;

constexpr std::size_t mostNameCharacters = 255;

bool isZoneName(const std::string& name) {
    const auto characters = std::count_if(name.begin(), name.end(), [](char byte) { return (byte & 0xC0) != 0x80; });
    const bool plain = std::all_of(name.begin(), name.end(),
                                   [](char byte) { return static_cast<unsigned char>(byte) >= 0x20 && byte != 0x7F; });
    return plain && characters > 0 && static_cast<std::size_t>(characters) <= mostNameCharacters &&
           (!name.starts_with('_') || name == defaultZoneName);
}

}  // namespace

Reply<ZoneReference> readZoneID(const json& zoneID, const std::string& user) {
    if (!zoneID.is_object()) {
        return badRequest("a zone ID is no object");
    }
    auto name = optionalText(zoneID, "zoneName");
    if (!name) {
        return name.error();
    }
    auto owner = optionalText(zoneID, "ownerRecordName");
    if (!owner) {
        return owner.error();
    }
    if (!name.value() || !isZoneName(*name.value())) {
        return badRequest("zoneName is missing, empty, longer than 255 characters, or not a name for a zone");
    }
    const std::string& given = owner.value().value_or(user);
    const bool isMine = given == user || given == "_defaultOwner" || given == "__defaultOwner__";
    return ZoneReference{*std::move(name.value()), isMine};
}

Reply<std::optional<ZoneReference>> memberZoneID(const json& object, const std::string& user) {
    const auto found = object.find("zoneID");
    if (found == object.end() || found->is_null()) {
        return std::optional<ZoneReference>();
    }
    auto zone = readZoneID(*found, user);
    if (!zone) {
        return zone.error();
    }
    return std::optional(std::move(zone).value());
}

json zoneIDJson(std::string_view name, const std::string& user) {
    return {{"zoneName", name},
            {"ownerRecordName", user},
            {"zoneType", name == defaultZoneName ? "DEFAULT_ZONE" : "REGULAR_CUSTOM_ZONE"}};
}

json zoneErrorJson(const json& zoneID, const WireError& error) {
    json result = toJson(error);
    result["zoneID"] = zoneID;
    return result;
}

}  // namespace cloudd

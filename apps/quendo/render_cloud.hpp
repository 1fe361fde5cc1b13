#pragma once
/// \file
/// What has to do with the cloud, as sentences for a person and as JSON for scripts. Each is whole, without the last
/// line break.

#include <string>

#include "adapters/cctz/local_time_zone.hpp"
#include "apps/quendo/request.hpp"

namespace quendo::plain {

[[nodiscard]] std::string connected(const CloudConnected& answer);
[[nodiscard]] std::string cloud(const CloudView& view, const quendokit::LocalTimeZone& zone);
[[nodiscard]] std::string synced(const SyncAnswer& answer);
[[nodiscard]] std::string health(const HealthView& view, const quendokit::LocalTimeZone& zone);

}  // namespace quendo::plain

namespace quendo::json {

[[nodiscard]] std::string connected(const CloudConnected& answer);
[[nodiscard]] std::string disconnected();
[[nodiscard]] std::string cloud(const CloudView& view, const quendokit::LocalTimeZone& zone);
[[nodiscard]] std::string synced(const SyncAnswer& answer);
[[nodiscard]] std::string health(const HealthView& view, const quendokit::LocalTimeZone& zone);

}  // namespace quendo::json

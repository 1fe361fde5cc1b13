#pragma once
/// \file
/// What the sync manager is set to.

#include <chrono>
#include <string>
#include <string_view>

#include "quendokit/platform/services.hpp"

namespace quendokit::SyncConfig {

inline constexpr std::chrono::seconds PollingInterval(60);
inline constexpr std::chrono::seconds QuietBeforeUpload(1);

/// Stored format.
inline constexpr std::string_view ZoneName = "Reminder Zone";
inline constexpr std::string_view SubscriptionName = "Reminder Subscription";

/// The container of the person's private database.
[[nodiscard]] inline std::string Container() {
    return platform::services().CloudContainerIdentifier;
}

/// Where the change token stands in the settings. Stored format.
[[nodiscard]] inline std::string TokenKey() {
    return platform::services().AppIdentifier + ".sync.change-token";
}

}  // namespace quendokit::SyncConfig

#pragma once
/// \file
/// The database configuration with which the host opens its reminders.

#include "quendokit/platform/export.hpp"
#include "quendokit/platform/realm_configuration.hpp"

namespace quendokit {

/// Stored format: the version of the record's shape. Files of versions 0 to 3 are migrated when they are opened.
inline constexpr std::uint64_t reminderSchemaVersion = 4;

/// The platform's defaults, except for the schema version, the migration from older ones, and the class of the record.
/// Made anew by each call. `Realm::open(QuendoKitConfig())`. Any thread.
[[nodiscard]] QUENDOKIT_EXPORT RealmConfiguration QuendoKitConfig();

}  // namespace quendokit

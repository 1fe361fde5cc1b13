#pragma once
/// \file
/// One element of a list of reminders in JSON.

#include <optional>
#include <string>

#include <nlohmann/json_fwd.hpp>

#include "adapters/cctz/local_time_zone.hpp"
#include "apps/quendo/transfer/transfer_entry.hpp"

namespace quendo {

/// The reminder that `object` describes, without its place. Absent, with `problem` set, when there is none. Members
/// that it does not know are ignored, and so are `list`, `pending` and `deleted`.
[[nodiscard]] std::optional<TransferEntry> readJsonEntry(const nlohmann::json& object,
                                                         const quendokit::LocalTimeZone& zone, std::string& problem);

/// What kind of value it is: "a number".
[[nodiscard]] std::string typeText(const nlohmann::json& value);

}  // namespace quendo

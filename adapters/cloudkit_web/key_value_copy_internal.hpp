#pragma once
/// \file
/// `KeyValueCopy`, this device's copy of the person's shared settings, and what of it is not sent yet.

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>

#include "quendokit/platform/ck_server_change_token.hpp"
#include "quendokit/platform/property_value.hpp"

namespace quendokit::web {

/// One key's place. Plain value.
struct KeyValueEntry {
    /// Absent when it was removed here, and the cloud does not know yet.
    std::optional<PropertyValue> value;
    /// Which change made here is not in the cloud yet; 0 for none. Not kept: after a restart it is 1.
    std::uint64_t unsentChange = 0;
};

/// Plain value.
struct KeyValueCopy {
    std::map<std::string, KeyValueEntry, std::less<>> entries;
    /// Up to where the cloud's changes are in it.
    std::optional<CKServerChangeToken> token;
};

/// Stored format. One JSON object.
[[nodiscard]] std::string renderCopy(const KeyValueCopy& copy);

/// What can be read of `text`. Without the token when that is not all: then everything is fetched anew.
[[nodiscard]] KeyValueCopy parseCopy(std::string_view text);

}  // namespace quendokit::web

#pragma once
/// \file
/// Base64, as bytes are written in JSON.

#include <cstddef>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "quendokit/platform/export.hpp"

namespace quendokit {

/// With padding: one byte 0xFF is "/w==".
[[nodiscard]] QUENDOKIT_EXPORT std::string base64(std::span<const std::byte> bytes);

/// Absent unless `text` is what `base64` answers for some bytes.
[[nodiscard]] QUENDOKIT_EXPORT std::optional<std::vector<std::byte>> fromBase64(std::string_view text);

}  // namespace quendokit

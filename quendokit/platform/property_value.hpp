#pragma once
/// \file
/// `PropertyValue`, what stands under a key of the person's settings.

#include <cstddef>
#include <cstdint>
#include <string>
#include <variant>
#include <vector>

namespace quendokit {

/// An integer, a number with a fraction, a boolean, a text or some bytes. The kinds are apart: `true` is not 1, 1 is
/// not 1.0, and "1" is neither. Plain value; equal when kind and content are.
using PropertyValue = std::variant<std::int64_t, double, bool, std::string, std::vector<std::byte>>;

}  // namespace quendokit

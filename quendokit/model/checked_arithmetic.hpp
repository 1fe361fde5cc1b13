#pragma once
/// \file
/// Integer arithmetic that traps: a result that does not fit is fatal and never wraps.

#include <cstdint>
#include <limits>

#include "quendokit/platform/fatal_error.hpp"

namespace quendokit {

/// `a + b`. Fatal if that is outside 64 bits. Any thread.
[[nodiscard]] constexpr std::int64_t checkedAdd(std::int64_t a, std::int64_t b) {
    using Limits = std::numeric_limits<std::int64_t>;
    if (b > 0 ? a > Limits::max() - b : a < Limits::min() - b) {
        fatalError("an addition of whole seconds does not fit 64 bits");
    }
    return a + b;
}

/// `a - b`. Fatal if that is outside 64 bits. Any thread.
[[nodiscard]] constexpr std::int64_t checkedSubtract(std::int64_t a, std::int64_t b) {
    using Limits = std::numeric_limits<std::int64_t>;
    if (b > 0 ? a < Limits::min() + b : a > Limits::max() + b) {
        fatalError("a subtraction of whole seconds does not fit 64 bits");
    }
    return a - b;
}

/// `value * factor`; `factor` is above 0. Fatal if that is outside 64 bits. Any thread.
[[nodiscard]] constexpr std::int64_t checkedMultiply(std::int64_t value, std::int64_t factor) {
    using Limits = std::numeric_limits<std::int64_t>;
    if (value > Limits::max() / factor || value < Limits::min() / factor) {
        fatalError("a duration does not fit 64 bits of seconds");
    }
    return value * factor;
}

/// `value` without its fraction, towards zero. Fatal if it is NaN, infinite or outside 64 bits. Any thread.
[[nodiscard]] constexpr std::int64_t checkedTruncate(double value) {
    constexpr double beyond = 9'223'372'036'854'775'808.0;
    // Written so that NaN fails as well.
    if (!(value >= -beyond && value < beyond)) {
        fatalError("a duration is not a number within 64 bits of seconds");
    }
    return static_cast<std::int64_t>(value);
}

}  // namespace quendokit

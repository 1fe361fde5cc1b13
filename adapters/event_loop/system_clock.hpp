#pragma once
/// \file
/// `SystemClock`, the wall clock of the standard library.

#include "quendokit/platform/clock.hpp"
#include "quendokit/platform/export.hpp"

namespace quendokit {

/// The system's wall clock at its full resolution. Any thread.
class QUENDOKIT_EXPORT SystemClock final : public Clock {
public:
    [[nodiscard]] Date now() const override;
};

}  // namespace quendokit

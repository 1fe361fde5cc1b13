#pragma once
/// \file
/// `Clock`, where the engine reads the time.

#include "quendokit/platform/date.hpp"

namespace quendokit {

/// The device's wall clock. Any thread.
class Clock {
public:
    Clock() = default;
    Clock(const Clock&) = delete;
    Clock& operator=(const Clock&) = delete;
    virtual ~Clock() = default;

    /// The current moment at the clock's full resolution, never truncated to seconds. May jump in either direction when
    /// the person or the network sets the clock.
    [[nodiscard]] virtual Date now() const = 0;
};

}  // namespace quendokit

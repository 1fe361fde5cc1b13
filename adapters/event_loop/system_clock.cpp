#include "adapters/event_loop/system_clock.hpp"

#include <chrono>

namespace quendokit {

Date SystemClock::now() const {
    const std::chrono::duration<double> sinceEpoch = std::chrono::system_clock::now().time_since_epoch();
    return Date(sinceEpoch.count());
}

}  // namespace quendokit

#include "testing/manual_clock.hpp"

namespace quendokit::testing {

Date ManualClock::now() const {
    ++readCount_;
    return now_.load();
}

void ManualClock::advanceBy(std::chrono::duration<double> time) {
    set(Date(now_.load().timeIntervalSince1970() + time.count()));
}

}  // namespace quendokit::testing

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <random>
#include <utility>

#include "hostkit/network_wait_internal.hpp"
#include "quendokit/platform/run_loop.hpp"
#include "quendokit/platform/timer.hpp"

namespace quendokit {
namespace {

double randomFraction() {
    static thread_local std::minstd_rand generator{std::random_device{}()};
    return std::uniform_real_distribution<double>(0, 1)(generator);
}

}  // namespace

NetworkWait::NetworkWait(std::function<double()> jitter) : jitter_(jitter ? std::move(jitter) : randomFraction) {}

NetworkWait::~NetworkWait() {
    end();
}

std::chrono::nanoseconds NetworkWait::begin(const Error& error, std::function<void()> over) {
    constexpr double longest = 300;
    const double doubled = std::min(longest, std::pow(2.0, std::min(failures_++, 20)));
    // What the server asks for stands second: it is ignored when it is no number.
    const double seconds = std::max(doubled * (1 - jitter_() / 2), error.retryAfter.value_or(0));
    const std::chrono::nanoseconds time(static_cast<std::int64_t>(std::clamp(seconds, 0.5, 86'400.0) * 1e9));
    if (timer_) {
        timer_->invalidate();
    }
    because_ = error;
    timer_ = Timer::create(
        time,
        [this, over = std::move(over)](Timer&) {
            because_ = std::nullopt;
            over();
        },
        false);
    RunLoop::main().add(timer_, RunLoopMode::default_);
    return time;
}

bool NetworkWait::end() {
    if (!because_) {
        return false;
    }
    timer_->invalidate();
    because_ = std::nullopt;
    failures_ = 0;
    return true;
}

}  // namespace quendokit

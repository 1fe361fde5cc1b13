#pragma once
/// \file
/// `NetworkWait`, the time between two tries.

#include <chrono>
#include <functional>
#include <memory>
#include <optional>

#include "quendokit/platform/error.hpp"

namespace quendokit {

class Timer;

/// Waits ever longer while one try after the other fails. Main thread.
class NetworkWait {
public:
    /// `jitter` answers at least 0 and less than 1; absent: random.
    explicit NetworkWait(std::function<double()> jitter);
    NetworkWait(const NetworkWait&) = delete;
    NetworkWait& operator=(const NetworkWait&) = delete;
    /// Ends the wait without calling anything.
    ~NetworkWait();

    /// Waits, anew if it waits already; then calls `over`, unless it was ended before. Answers how long that will be.
    std::chrono::nanoseconds begin(const Error& error, std::function<void()> over);
    /// Ends the wait; false when there was none. The next one is a first one again.
    bool end();
    /// The server answers: the next wait is a first one again.
    void forgetFailures() noexcept { failures_ = 0; }

    /// Why it waits; absent when it does not.
    [[nodiscard]] const std::optional<Error>& because() const noexcept { return because_; }

private:
    const std::function<double()> jitter_;
    std::shared_ptr<Timer> timer_;
    std::optional<Error> because_;
    int failures_ = 0;
};

}  // namespace quendokit

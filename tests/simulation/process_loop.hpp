#pragma once
/// \file
/// `ProcessLoop`, the run loop of a simulated process.

#include <memory>
#include <utility>
#include <vector>

#include "quendokit/platform/run_loop.hpp"
#include "quendokit/platform/timer.hpp"
#include "testing/manual_clock.hpp"
#include "testing/manual_run_loop.hpp"

namespace quendokit::simulation {

/// The one loop of a process. At the end, timers that still wait let go of what they hold.
class ProcessLoop final : public RunLoopProvider, public RunLoop {
public:
    explicit ProcessLoop(const std::shared_ptr<testing::ManualClock>& clock) : loop(clock) {}
    ~ProcessLoop() override {
        for (const auto& weak : timers_) {
            if (const auto timer = weak.lock()) {
                timer->invalidate();
            }
        }
    }

    [[nodiscard]] RunLoop& main() override { return *this; }
    [[nodiscard]] RunLoop& current() override { return *this; }
    void add(std::shared_ptr<Timer> timer, RunLoopMode mode) override {
        std::erase_if(timers_, [](const auto& each) { return each.expired(); });
        timers_.push_back(timer);
        loop.add(std::move(timer), mode);
    }

    testing::ManualRunLoop loop;

private:
    std::vector<std::weak_ptr<Timer>> timers_;
};

}  // namespace quendokit::simulation

#pragma once
/// \file
/// `SimulatedQueue`, a queue whose tasks take their time to come up.

#include <algorithm>
#include <chrono>
#include <deque>
#include <functional>
#include <memory>
#include <optional>
#include <utility>

#include "quendokit/platform/dispatch_queue.hpp"

namespace quendokit::simulation {

/// Time since the simulation began.
using Instant = std::chrono::nanoseconds;

/// Each task comes up some time after it was submitted, behind those before it. One thread.
class SimulatedQueue final : public DispatchQueue {
public:
    using Latency = std::function<std::chrono::nanoseconds()>;
    /// Puts something around each task that is submitted.
    using Wrapper = std::function<Task(Task)>;

    /// `now` is read at each call.
    SimulatedQueue(std::shared_ptr<const Instant> now, Latency latency, Wrapper wrap = {})
        : now_(std::move(now)), latency_(std::move(latency)), wrap_(std::move(wrap)) {}

    void async(Task task) override {
        const Instant earliest = tasks_.empty() ? *now_ : std::max(*now_, tasks_.back().first);
        const Instant due = std::max(earliest, *now_ + (latency_ ? latency_() : std::chrono::nanoseconds(0)));
        tasks_.emplace_back(due, wrap_ ? wrap_(std::move(task)) : std::move(task));
    }

    [[nodiscard]] std::optional<Instant> nextDue() const {
        return tasks_.empty() ? std::nullopt : std::optional(tasks_.front().first);
    }

    /// Runs the first task, due or not; false when there is none.
    bool runNext() {
        if (tasks_.empty()) {
            return false;
        }
        const Task task = std::move(tasks_.front().second);
        tasks_.pop_front();
        task();
        return true;
    }

    /// Lets go of all tasks, as the end of a process does.
    void clear() {
        while (!tasks_.empty()) {
            tasks_.pop_front();
        }
    }

private:
    const std::shared_ptr<const Instant> now_;
    const Latency latency_;
    const Wrapper wrap_;
    std::deque<std::pair<Instant, Task>> tasks_;
};

}  // namespace quendokit::simulation

#pragma once
/// \file
/// `ManualDispatchQueue`, a queue whose tasks run when a test says so.

#include <cstddef>
#include <deque>
#include <mutex>

#include "quendokit/platform/dispatch_queue.hpp"
#include "quendokit/platform/export.hpp"

namespace quendokit::testing {

/// Keeps tasks until the test runs them, on the thread that calls. A race between a completion and the main thread is
/// played with two of them, run in either order.
///
/// Any thread submits; one thread at a time runs tasks. Lets go of the tasks that never ran.
class QUENDOKIT_EXPORT ManualDispatchQueue final : public DispatchQueue {
public:
    void async(Task task) override;

    /// Runs the task that was submitted first; false when there is none. Fatal inside a task of this queue.
    bool runNext();

    /// Runs tasks until there are none, those that they submit among them; answers how many. Fatal inside a task of
    /// this queue.
    std::size_t runAll();

    /// How many tasks wait. One that runs does not.
    [[nodiscard]] std::size_t count() const;

private:
    mutable std::mutex mutex_;
    std::deque<Task> tasks_;
    bool inTask_ = false;
};

}  // namespace quendokit::testing

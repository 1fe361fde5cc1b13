#pragma once
/// \file
/// `MovableQueue`, a main queue that outlives the loops it runs on.

#include <deque>
#include <memory>
#include <mutex>

#include "quendokit/platform/dispatch_queue.hpp"

namespace quendo {

/// Hands its tasks to the queue that it is attached to, in their order, and keeps them while it is attached to none.
/// Made by `std::make_shared`. Any thread, but for `attach` and `detach`, which belong to the thread of the tasks.
class MovableQueue final : public quendokit::DispatchQueue, public std::enable_shared_from_this<MovableQueue> {
public:
    void async(Task task) override;

    /// From now on tasks run on `target`, those that wait too.
    void attach(std::shared_ptr<quendokit::DispatchQueue> target);
    /// None runs until the next `attach`.
    void detach();

private:
    void post();
    void runNext();

    std::mutex mutex_;
    std::shared_ptr<quendokit::DispatchQueue> target_;
    std::deque<Task> tasks_;
};

}  // namespace quendo

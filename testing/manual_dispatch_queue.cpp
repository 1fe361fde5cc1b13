#include "testing/manual_dispatch_queue.hpp"

#include <utility>

#include "quendokit/platform/fatal_error.hpp"

namespace quendokit::testing {

void ManualDispatchQueue::async(Task task) {
    const std::lock_guard lock(mutex_);
    tasks_.push_back(std::move(task));
}

bool ManualDispatchQueue::runNext() {
    std::unique_lock lock(mutex_);
    if (inTask_) {
        fatalError("a task of a ManualDispatchQueue told the queue to run another one: tasks run one at a time");
    }
    if (tasks_.empty()) {
        return false;
    }
    Task task = std::move(tasks_.front());
    tasks_.pop_front();
    inTask_ = true;
    lock.unlock();
    task();
    // Its end belongs to it, and may reach this queue again.
    task = nullptr;
    lock.lock();
    inTask_ = false;
    return true;
}

std::size_t ManualDispatchQueue::runAll() {
    std::size_t count = 0;
    while (runNext()) {
        ++count;
    }
    return count;
}

std::size_t ManualDispatchQueue::count() const {
    const std::lock_guard lock(mutex_);
    return tasks_.size();
}

}  // namespace quendokit::testing

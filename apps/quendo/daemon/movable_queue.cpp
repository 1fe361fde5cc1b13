#include "apps/quendo/daemon/movable_queue.hpp"

#include <cstddef>
#include <utility>

namespace quendo {

void MovableQueue::async(Task task) {
    const std::lock_guard lock(mutex_);
    tasks_.push_back(std::move(task));
    post();
}

void MovableQueue::attach(std::shared_ptr<quendokit::DispatchQueue> target) {
    const std::lock_guard lock(mutex_);
    target_ = std::move(target);
    for (std::size_t i = 0; i < tasks_.size(); ++i) {
        post();
    }
}

void MovableQueue::detach() {
    const std::lock_guard lock(mutex_);
    target_ = nullptr;
}

void MovableQueue::post() {
    if (target_) {
        target_->async([self = weak_from_this()] {
            if (const auto queue = self.lock()) {
                queue->runNext();
            }
        });
    }
}

void MovableQueue::runNext() {
    Task task;
    {
        const std::lock_guard lock(mutex_);
        // Posts of an earlier target may be left over.
        if (!target_ || tasks_.empty()) {
            return;
        }
        task = std::move(tasks_.front());
        tasks_.pop_front();
    }
    task();
}

}  // namespace quendo

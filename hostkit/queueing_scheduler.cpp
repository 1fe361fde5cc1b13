#include "hostkit/queueing_scheduler.hpp"

#include "hostkit/tell_internal.hpp"
#include "quendokit/platform/dispatch_queue.hpp"

namespace quendokit {

std::shared_ptr<QueueingScheduler> QueueingScheduler::create(std::function<void()> changed) {
    return std::make_shared<QueueingScheduler>(PrivateTag(), std::move(changed));
}

void QueueingScheduler::schedule(const ReminderStruct& /*reminder*/) {
    enqueue();
}

void QueueingScheduler::cancel(const ReminderStruct& /*reminder*/) {
    enqueue();
}

void QueueingScheduler::enqueue() {
    if (std::exchange(isQueued_, true)) {
        return;
    }
    DispatchQueue::main().async([weak = weak_from_this()] {
        if (const auto self = weak.lock()) {
            self->isQueued_ = false;
            tell(self->changed_);
        }
    });
}

}  // namespace quendokit

#pragma once
/// \file
/// `Outlet`, the way of events to the host.

#include <functional>
#include <memory>
#include <mutex>
#include <utility>

#include "quendokit/platform/dispatch_queue.hpp"

namespace quendokit::dbus {

/// Submits to the host's queue until it is closed, and keeps the queue until then. Any thread.
class Outlet {
public:
    explicit Outlet(std::shared_ptr<DispatchQueue> queue) : queue_(std::move(queue)) {}

    /// Calls `event` with copies of `arguments` on the queue, unless it is empty or this is closed by then.
    template <typename... Parameters, typename... Arguments>
    void post(const std::function<void(Parameters...)>& event, Arguments... arguments) {
        const std::lock_guard lock(mutex_);
        if (!event || !queue_) {
            return;
        }
        queue_->async([event, weak = std::weak_ptr<int>(life_), ... arguments = std::move(arguments)] {
            if (weak.lock()) {
                event(arguments...);
            }
        });
    }

    void close() {
        std::shared_ptr<DispatchQueue> queue;
        const std::lock_guard lock(mutex_);
        life_.reset();
        queue.swap(queue_);
    }

private:
    std::mutex mutex_;
    std::shared_ptr<DispatchQueue> queue_;
    std::shared_ptr<int> life_ = std::make_shared<int>();
};

}  // namespace quendokit::dbus

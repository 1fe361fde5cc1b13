#include "testing/manual_run_loop_provider.hpp"

#include <utility>

namespace quendokit::testing {

ManualRunLoopProvider::ScopedCurrent::ScopedCurrent(ManualRunLoopProvider& provider,
                                                    std::shared_ptr<ManualRunLoop> loop)
    : provider_(provider), previous_(provider.exchangeCurrent(std::move(loop))) {}

ManualRunLoopProvider::ScopedCurrent::~ScopedCurrent() {
    // What is answered is destroyed here, without a lock.
    static_cast<void>(provider_.exchangeCurrent(std::move(previous_)));
}

ManualRunLoopProvider::ManualRunLoopProvider(std::shared_ptr<ManualRunLoop> main) : main_(std::move(main)) {}

ManualRunLoop& ManualRunLoopProvider::main() {
    return *main_;
}

ManualRunLoop& ManualRunLoopProvider::current() {
    const std::lock_guard lock(mutex_);
    const auto other = others_.find(std::this_thread::get_id());
    return other == others_.end() ? *main_ : *other->second;
}

std::shared_ptr<ManualRunLoop> ManualRunLoopProvider::exchangeCurrent(std::shared_ptr<ManualRunLoop> loop) {
    const std::lock_guard lock(mutex_);
    std::shared_ptr<ManualRunLoop> previous;
    const auto known = others_.find(std::this_thread::get_id());
    if (known != others_.end()) {
        previous = std::move(known->second);
        others_.erase(known);
    }
    if (loop) {
        others_.emplace(std::this_thread::get_id(), std::move(loop));
    }
    return previous;
}

}  // namespace quendokit::testing

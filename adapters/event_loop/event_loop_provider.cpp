#include "adapters/event_loop/event_loop_provider.hpp"

#include <utility>

namespace quendokit {

EventLoopProvider::EventLoopProvider(std::shared_ptr<EventLoop> main) : main_(std::move(main)) {}

EventLoop& EventLoopProvider::main() {
    return *main_;
}

EventLoop& EventLoopProvider::current() {
    if (main_->isOnItsThread()) {
        return *main_;
    }
    thread_local EventLoop own;
    return own;
}

}  // namespace quendokit

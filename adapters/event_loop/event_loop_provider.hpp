#pragma once
/// \file
/// `EventLoopProvider`, an event loop for each thread that asks.

#include <memory>

#include "adapters/event_loop/event_loop.hpp"
#include "quendokit/platform/export.hpp"
#include "quendokit/platform/run_loop.hpp"

namespace quendokit {

/// The main loop is given; it is also the current one of the thread that made it. Any other thread has one of its own,
/// made when it first asks and ended with the thread, the same from every provider. Any thread.
class QUENDOKIT_EXPORT EventLoopProvider final : public RunLoopProvider {
public:
    explicit EventLoopProvider(std::shared_ptr<EventLoop> main);

    [[nodiscard]] EventLoop& main() override;
    [[nodiscard]] EventLoop& current() override;

private:
    const std::shared_ptr<EventLoop> main_;
};

}  // namespace quendokit

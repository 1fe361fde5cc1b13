#pragma once
/// \file
/// `TracingRunLoop`, a run loop around another one that tells a trace when a timer is armed.

#include <memory>
#include <utility>

#include "quendokit/platform/run_loop.hpp"
#include "testing/trace.hpp"

namespace quendokit::testing {

/// Forwards everything to the inner loop. Adds "arm" to the trace before each timer.
class TracingRunLoop final : public RunLoop {
public:
    TracingRunLoop(std::shared_ptr<RunLoop> inner, std::shared_ptr<Trace> trace)
        : inner_(std::move(inner)), trace_(std::move(trace)) {}

    void add(std::shared_ptr<Timer> timer, RunLoopMode mode) override {
        trace_->add("arm");
        inner_->add(std::move(timer), mode);
    }

private:
    const std::shared_ptr<RunLoop> inner_;
    const std::shared_ptr<Trace> trace_;
};

/// A `TracingRunLoop` for every thread.
class TracingRunLoopProvider final : public RunLoopProvider {
public:
    TracingRunLoopProvider(std::shared_ptr<RunLoop> inner, std::shared_ptr<Trace> trace)
        : loop_(std::move(inner), std::move(trace)) {}

    [[nodiscard]] RunLoop& main() override { return loop_; }
    [[nodiscard]] RunLoop& current() override { return loop_; }

private:
    TracingRunLoop loop_;
};

}  // namespace quendokit::testing

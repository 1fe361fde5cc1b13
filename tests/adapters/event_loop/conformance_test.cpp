#include <chrono>
#include <memory>
#include <thread>

#include "adapters/event_loop/event_loop.hpp"
#include "adapters/event_loop/process_notification_center.hpp"
#include "testing/conformance/dispatch_queue_conformance.hpp"
#include "testing/conformance/notification_center_conformance.hpp"
#include "testing/conformance/run_loop_conformance.hpp"

namespace quendokit::testing {
namespace {

/// Longer than any test needs, shorter than the patience of who waits for a failing one.
constexpr std::chrono::seconds patience(10);

class EventLoopFactory final : public RunLoopFactory {
public:
    [[nodiscard]] RunLoop& loop() override { return loop_; }
    [[nodiscard]] std::chrono::nanoseconds now() const override {
        return std::chrono::steady_clock::now().time_since_epoch();
    }
    [[nodiscard]] bool runUntil(const std::function<bool()>& done) override { return loop_.runUntil(done, patience); }
    void runFor(std::chrono::nanoseconds time) override {
        EXPECT_FALSE(loop_.runUntil([] { return false; }, time));
    }
    void spend(std::chrono::nanoseconds time) override { std::this_thread::sleep_for(time); }

private:
    EventLoop loop_;
};

class EventLoopQueueFactory final : public DispatchQueueFactory {
public:
    [[nodiscard]] DispatchQueue& queue() override { return loop_; }
    [[nodiscard]] bool runUntil(const std::function<bool()>& done) override { return loop_.runUntil(done, patience); }

private:
    EventLoop loop_;
};

}  // namespace

INSTANTIATE_TEST_SUITE_P(EventLoop, RunLoopConformance,
                         ::testing::Values(RunLoopImplementation{"EventLoop",
                                                                 [] { return std::make_unique<EventLoopFactory>(); }}));

INSTANTIATE_TEST_SUITE_P(EventLoop, DispatchQueueConformance,
                         ::testing::Values(DispatchQueueImplementation{
                             "EventLoop", [] { return std::make_unique<EventLoopQueueFactory>(); }}));

INSTANTIATE_TEST_SUITE_P(Process, NotificationCenterConformance,
                         ::testing::Values(NotificationCenterImplementation{
                             "Process", [] { return std::make_shared<ProcessNotificationCenter>(); }}));

}  // namespace quendokit::testing

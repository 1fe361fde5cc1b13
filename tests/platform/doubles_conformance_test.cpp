/// \file
/// The doubles of run loop, queue and notification centre keep the promises of what they stand for.

#include <memory>

#include "testing/conformance/dispatch_queue_conformance.hpp"
#include "testing/conformance/notification_center_conformance.hpp"
#include "testing/conformance/run_loop_conformance.hpp"
#include "testing/manual_dispatch_queue.hpp"
#include "testing/manual_run_loop.hpp"
#include "testing/recording_notification_center.hpp"

namespace quendokit::testing {
namespace {

class ManualRunLoopFactory final : public RunLoopFactory {
public:
    [[nodiscard]] RunLoop& loop() override { return loop_; }
    [[nodiscard]] std::chrono::nanoseconds now() const override { return loop_.elapsed(); }
    [[nodiscard]] bool runUntil(const std::function<bool()>& done) override {
        while (!done()) {
            const auto next = loop_.timeUntilNextTimer();
            if (!next) {
                return false;
            }
            loop_.advanceBy(*next);
        }
        return true;
    }
    void runFor(std::chrono::nanoseconds time) override { loop_.advanceBy(time); }
    void spend(std::chrono::nanoseconds time) override { loop_.advanceBy(time); }

private:
    ManualRunLoop loop_;
};

class ManualDispatchQueueFactory final : public DispatchQueueFactory {
public:
    [[nodiscard]] DispatchQueue& queue() override { return queue_; }
    [[nodiscard]] bool runUntil(const std::function<bool()>& done) override {
        while (!done()) {
            if (!queue_.runNext()) {
                return done();
            }
        }
        return true;
    }

private:
    ManualDispatchQueue queue_;
};

}  // namespace

INSTANTIATE_TEST_SUITE_P(Manual, RunLoopConformance,
                         ::testing::Values(RunLoopImplementation{
                             "Manual", [] { return std::make_unique<ManualRunLoopFactory>(); }}));

INSTANTIATE_TEST_SUITE_P(Manual, DispatchQueueConformance,
                         ::testing::Values(DispatchQueueImplementation{
                             "Manual", [] { return std::make_unique<ManualDispatchQueueFactory>(); }}));

INSTANTIATE_TEST_SUITE_P(Recording, NotificationCenterConformance,
                         ::testing::Values(NotificationCenterImplementation{
                             "Recording", [] { return std::make_shared<RecordingNotificationCenter>(); }}));

}  // namespace quendokit::testing

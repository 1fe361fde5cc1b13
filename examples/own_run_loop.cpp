#include "adapters/event_loop/timer_table.hpp"
#include "examples/toolkit.hpp"
#include "testing/conformance/dispatch_queue_conformance.hpp"
#include "testing/conformance/run_loop_conformance.hpp"

namespace quendokit::testing {

using namespace std::chrono_literals;
using std::chrono::steady_clock;

/// Put your toolkit's loop in the place of this one. Lives as long as that.
class MyLoop final : public RunLoop, public DispatchQueue {
public:
    explicit MyLoop(toolkit::Toolkit& toolkit) : toolkit_(toolkit) {}

    void async(Task task) override { toolkit_.post(std::move(task)); }

    void add(std::shared_ptr<Timer> timer, RunLoopMode) override {
        if (timers_.add(std::move(timer), steady_clock::now())) {
            toolkit_.post([this] { setAlarm(); });
        }
    }

private:
    void setAlarm() {
        if (const auto due = timers_.nextDue()) {
            const auto wait = std::chrono::ceil<std::chrono::milliseconds>(*due - steady_clock::now());
            toolkit_.setAlarm(std::max(wait, 0ms), [this] { fireDue(); });
        }
    }

    void fireDue() {
        const TimerTable::Turn turn = timers_.beginTurn(steady_clock::now());
        while (const auto timer = timers_.takeNext(turn, steady_clock::now())) {
            timer->fire();
        }
        setAlarm();
    }

    toolkit::Toolkit& toolkit_;
    TimerTable timers_;
};

class MyFactory final : public RunLoopFactory, public DispatchQueueFactory {
public:
    [[nodiscard]] RunLoop& loop() override { return loop_; }
    [[nodiscard]] DispatchQueue& queue() override { return loop_; }
    [[nodiscard]] std::chrono::nanoseconds now() const override { return steady_clock::now().time_since_epoch(); }
    [[nodiscard]] bool runUntil(const std::function<bool()>& done) override { return run(done, 10s); }
    void runFor(std::chrono::nanoseconds time) override {
        run([] { return false; }, time);
    }
    void spend(std::chrono::nanoseconds time) override { std::this_thread::sleep_for(time); }

private:
    bool run(const std::function<bool()>& done, std::chrono::nanoseconds atMost) {
        const auto until = steady_clock::now() + atMost;
        while (!done() && steady_clock::now() < until) {
            toolkit_.callNext(until);
        }
        return done();
    }

    toolkit::Toolkit toolkit_;
    MyLoop loop_{toolkit_};
};

INSTANTIATE_TEST_SUITE_P(MyLoop, RunLoopConformance,
                         ::testing::Values(RunLoopImplementation{"Mine",
                                                                 [] { return std::make_unique<MyFactory>(); }}));
INSTANTIATE_TEST_SUITE_P(MyQueue, DispatchQueueConformance,
                         ::testing::Values(DispatchQueueImplementation{"Mine",
                                                                       [] { return std::make_unique<MyFactory>(); }}));

}  // namespace quendokit::testing

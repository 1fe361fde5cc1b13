#pragma once
/// \file
/// The fixture of the conformance suite of `RunLoop`.

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "quendokit/platform/timer.hpp"
#include "testing/conformance/run_loop_factory.hpp"

namespace quendokit::testing {

/// An empty run loop for each test. A loop in real time may be late and never early: the tests ask no more of any.
class RunLoopConformance : public ::testing::TestWithParam<RunLoopImplementation> {
protected:
    using Fired = std::vector<std::string>;

    /// The unit of intervals: long enough that some computing fits in, short enough to wait for.
    static constexpr std::chrono::nanoseconds tick = std::chrono::milliseconds(10);

    RunLoopConformance() : factory(GetParam().makeFactory()), loop(factory->loop()) {}

    void add(const std::shared_ptr<Timer>& timer) { loop.add(timer, RunLoopMode::default_); }

    /// A timer that notes `name` in `fired`, then does `more`.
    [[nodiscard]] std::shared_ptr<Timer> timer(std::chrono::nanoseconds interval, const std::string& name,
                                               const Timer::Action& more = nullptr, bool repeats = false) {
        return Timer::create(
            interval,
            [this, name, more](Timer& timer) {
                fired.push_back(name);
                if (more) {
                    more(timer);
                }
            },
            repeats);
    }

    /// The same, repeating.
    [[nodiscard]] std::shared_ptr<Timer> repeating(std::chrono::nanoseconds interval, const std::string& name,
                                                   const Timer::Action& more = nullptr) {
        return timer(interval, name, more, true);
    }

    /// Makes and adds a one-shot that nobody but the loop keeps.
    void add(std::chrono::nanoseconds interval, const std::string& name, const Timer::Action& more = nullptr) {
        const std::chrono::nanoseconds before = factory->now();
        add(timer(interval, name, more));
        dues_[name] = {before + interval, factory->now() + interval};
    }

    /// Runs the loop until at least that many actions have been called.
    void runUntilFired(std::size_t count) {
        EXPECT_TRUE(factory->runUntil([&] { return fired.size() >= count; })) << "fired only " << fired.size();
    }

    /// Called by an action: lets it take until `instant`, at least.
    void spendUntil(std::chrono::nanoseconds instant) {
        factory->spend(std::max(instant - factory->now(), std::chrono::nanoseconds(0)));
    }

    /// Sees that no one-shot fired after one that was certainly due later. In real time a thread that is kept waiting
    /// between two adds makes dues uncertain, not wrong.
    void expectFiredInTheOrderOfTheirDues() {
        for (std::size_t i = 0; i < fired.size(); ++i) {
            for (std::size_t later = i + 1; later < fired.size(); ++later) {
                EXPECT_LE(dues_.at(fired[i]).earliest, dues_.at(fired[later]).latest)
                    << fired[i] << " fired before " << fired[later];
            }
        }
    }

    const std::unique_ptr<RunLoopFactory> factory;
    RunLoop& loop;
    /// What has fired, in order.
    Fired fired;

private:
    /// Between which instants a timer became due.
    struct Due {
        std::chrono::nanoseconds earliest;
        std::chrono::nanoseconds latest;
    };

    std::map<std::string, Due> dues_;
};

/// Without an INSTANTIATE_TEST_SUITE_P, including the suite runs nothing.
GTEST_ALLOW_UNINSTANTIATED_PARAMETERIZED_TEST(RunLoopConformance);

}  // namespace quendokit::testing

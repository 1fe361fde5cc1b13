#pragma once
/// \file
/// `RunLoopFactory`: what an implementation of `RunLoop` supplies so that the suite of tests can run on it.

#include <chrono>
#include <functional>
#include <memory>
#include <ostream>
#include <string>

#include "quendokit/platform/run_loop.hpp"

namespace quendokit::testing {

/// Holds the run loop of one test and lets its time pass: by hand, or by waiting. Lives as long as the test. One
/// thread, which is the loop's.
class RunLoopFactory {
public:
    RunLoopFactory() = default;
    RunLoopFactory(const RunLoopFactory&) = delete;
    RunLoopFactory& operator=(const RunLoopFactory&) = delete;
    virtual ~RunLoopFactory() = default;

    /// The calling thread's loop, the same at each call, without timers before the first.
    [[nodiscard]] virtual RunLoop& loop() = 0;

    /// The monotonic time by which the loop measures intervals.
    [[nodiscard]] virtual std::chrono::nanoseconds now() const = 0;

    /// Runs the loop until `done` answers true; asks at the beginning and whenever actions have been called, one or
    /// several. Gives up after some seconds, or when no timer is left where nobody else could add one. Answers what
    /// `done` answered last.
    [[nodiscard]] virtual bool runUntil(const std::function<bool()>& done) = 0;

    /// Runs the loop for `time`, or longer where that is real time.
    virtual void runFor(std::chrono::nanoseconds time) = 0;

    /// Called by an action: lets `time` pass before it returns, during which the loop cannot run.
    virtual void spend(std::chrono::nanoseconds time) = 0;
};

/// One implementation of `RunLoop`, the parameter of the suite.
struct RunLoopImplementation {
    /// Part of the names of its tests: letters and digits.
    std::string name;
    /// Called once a test.
    std::function<std::unique_ptr<RunLoopFactory>()> makeFactory;

    friend void PrintTo(const RunLoopImplementation& implementation, std::ostream* stream) {
        *stream << implementation.name;
    }
};

}  // namespace quendokit::testing

#pragma once
/// \file
/// `DispatchQueueFactory`: what an implementation of `DispatchQueue` supplies so that the suite of tests can run on it.

#include <functional>
#include <memory>
#include <ostream>
#include <string>

#include "quendokit/platform/dispatch_queue.hpp"

namespace quendokit::testing {

/// Holds the queue of one test and runs its tasks. Lives as long as the test. One thread, on which the tasks run.
class DispatchQueueFactory {
public:
    DispatchQueueFactory() = default;
    DispatchQueueFactory(const DispatchQueueFactory&) = delete;
    DispatchQueueFactory& operator=(const DispatchQueueFactory&) = delete;
    virtual ~DispatchQueueFactory() = default;

    /// The queue, the same at each call, empty before the first.
    [[nodiscard]] virtual DispatchQueue& queue() = 0;

    /// Runs tasks until `done` answers true; asks at the beginning and whenever tasks have run, one or several. Gives
    /// up after some seconds, or when no task is left where nobody else could submit one. Answers what `done` answered
    /// last.
    [[nodiscard]] virtual bool runUntil(const std::function<bool()>& done) = 0;
};

/// One implementation of `DispatchQueue`, the parameter of the suite.
struct DispatchQueueImplementation {
    /// Part of the names of its tests: letters and digits.
    std::string name;
    /// Called once a test.
    std::function<std::unique_ptr<DispatchQueueFactory>()> makeFactory;

    friend void PrintTo(const DispatchQueueImplementation& implementation, std::ostream* stream) {
        *stream << implementation.name;
    }
};

}  // namespace quendokit::testing

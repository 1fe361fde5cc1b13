#pragma once
/// \file
/// `CloudDatabaseFactory`: what an implementation of `CKDatabase` supplies so that the suite of tests can run on it.

#include <cstddef>
#include <functional>
#include <memory>
#include <ostream>
#include <string>

#include "quendokit/platform/ck_database.hpp"

namespace quendokit::testing {

/// Holds a cloud that is empty at first, and two devices of one person. Lives as long as the test. One thread.
class CloudDatabaseFactory {
public:
    CloudDatabaseFactory() = default;
    CloudDatabaseFactory(const CloudDatabaseFactory&) = delete;
    CloudDatabaseFactory& operator=(const CloudDatabaseFactory&) = delete;
    virtual ~CloudDatabaseFactory() = default;

    /// The private database as each of the devices has it; the same one at each call.
    [[nodiscard]] virtual CKDatabase& database() = 0;
    [[nodiscard]] virtual CKDatabase& otherDevice() = 0;

    /// Runs what has to run until `done` answers true; asks at the beginning and whenever something may have happened.
    /// Gives up after some seconds, or when nothing can happen any more. Answers what `done` answered last.
    [[nodiscard]] virtual bool runUntil(const std::function<bool()>& done) = 0;

    /// From now on, counts what the server tells the other device of its own accord. Answers false when this cannot be
    /// played; the tests of it are then skipped, and say so.
    [[nodiscard]] virtual bool listenOnOtherDevice() { return false; }
    [[nodiscard]] virtual std::size_t pushCount() const { return 0; }
};

/// One implementation of `CKDatabase`, the parameter of the suite.
struct CloudDatabaseImplementation {
    /// Part of the names of its tests: letters and digits.
    std::string name;
    /// Called once a test.
    std::function<std::unique_ptr<CloudDatabaseFactory>()> makeFactory;

    friend void PrintTo(const CloudDatabaseImplementation& implementation, std::ostream* stream) {
        *stream << implementation.name;
    }
};

}  // namespace quendokit::testing

#pragma once
/// \file
/// The conformance suite of `UserDefaults`. It asserts only what the interface's comments promise.
///
/// Include it in one source file of a test program, and name your implementation there:
///
///     namespace quendokit::testing {
///     INSTANTIATE_TEST_SUITE_P(MySettings, UserDefaultsConformance, ::testing::Values(UserDefaultsImplementation{
///         "MySettings", [] { return std::make_unique<MyUserDefaultsFactory>(); }}));
///     }

#include <functional>
#include <memory>
#include <ostream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "quendokit/platform/user_defaults.hpp"
#include "testing/conformance/property_checks.hpp"

namespace quendokit::testing {

/// Makes the settings of one test. Lives as long as the test, outlives the settings it made, and clears up behind it.
/// One thread.
class UserDefaultsFactory {
public:
    UserDefaultsFactory() = default;
    UserDefaultsFactory(const UserDefaultsFactory&) = delete;
    UserDefaultsFactory& operator=(const UserDefaultsFactory&) = delete;
    virtual ~UserDefaultsFactory() = default;

    /// Empty settings, apart from all earlier ones. Never null.
    [[nodiscard]] virtual std::shared_ptr<UserDefaults> make() = 0;

    /// The settings of the last `make` as the program's next run finds them, after the test has let go of them. Null
    /// when nothing outlives a run, as in doubles; the tests of that are then skipped, and say so.
    [[nodiscard]] virtual std::shared_ptr<UserDefaults> reopen() { return nullptr; }
};

/// One implementation of `UserDefaults`, the parameter of the suite.
struct UserDefaultsImplementation {
    /// Part of the names of its tests: letters and digits.
    std::string name;
    /// Called once a test.
    std::function<std::unique_ptr<UserDefaultsFactory>()> makeFactory;

    friend void PrintTo(const UserDefaultsImplementation& implementation, std::ostream* stream) {
        *stream << implementation.name;
    }
};

/// Empty settings for each test.
class UserDefaultsConformance : public ::testing::TestWithParam<UserDefaultsImplementation> {
protected:
    void SetUp() override {
        defaults = factory->make();
        ASSERT_TRUE(defaults);
    }

    void TearDown() override { defaults.reset(); }

    /// The next run of the program. False when there is none.
    [[nodiscard]] bool reopen() {
        defaults.reset();
        defaults = factory->reopen();
        return defaults != nullptr;
    }

    const std::unique_ptr<UserDefaultsFactory> factory = GetParam().makeFactory();
    std::shared_ptr<UserDefaults> defaults;
};

TEST_P(UserDefaultsConformance, AValueReadsAsItWasSet) {
    checkAValueReadsAsItWasSet(*defaults);
}

TEST_P(UserDefaultsConformance, KindsStayApart) {
    checkKindsStayApart(*defaults);
}

TEST_P(UserDefaultsConformance, KeysStayApart) {
    checkKeysStayApart(*defaults);
}

TEST_P(UserDefaultsConformance, ARemovedKeyIsAbsentUntilItIsSetAgain) {
    checkRemoving(*defaults);
}

TEST_P(UserDefaultsConformance, SeveralThreadsLoseNothing) {
    checkSeveralThreads(*defaults);
}

TEST_P(UserDefaultsConformance, EveryKindIsKeptFromOneRunToTheNext) {
    const auto values = plainPropertyValues();
    for (std::size_t i = 0; i < values.size(); ++i) {
        defaults->set("value." + std::to_string(i), values[i]);
    }
    for (int run = 0; run < 2; ++run) {
        if (!reopen()) {
            GTEST_SKIP() << "these settings do not outlive a run";
        }
        for (std::size_t i = 0; i < values.size(); ++i) {
            SCOPED_TRACE("value number " + std::to_string(i));
            expectHolds(*defaults, "value." + std::to_string(i), values[i]);
        }
        defaults->set("run", std::int64_t{run});
    }
}

TEST_P(UserDefaultsConformance, EveryKeyIsKeptFromOneRunToTheNext) {
    const auto keys = keysAtTheEdge();
    for (std::size_t i = 0; i < keys.size(); ++i) {
        defaults->set(keys[i], static_cast<std::int64_t>(i));
    }
    if (!reopen()) {
        GTEST_SKIP() << "these settings do not outlive a run";
    }
    for (std::size_t i = 0; i < keys.size(); ++i) {
        expectHolds(*defaults, keys[i], static_cast<std::int64_t>(i));
    }
}

TEST_P(UserDefaultsConformance, WhatWasReplacedAndRemovedStaysSoInTheNextRun) {
    defaults->set("replaced", "old");
    defaults->set("removed", true);
    defaults->set("removed and back", 1.5);
    defaults->set("replaced", std::int64_t{2});
    defaults->remove("removed");
    defaults->remove("removed and back");
    defaults->set("removed and back", false);
    if (!reopen()) {
        GTEST_SKIP() << "these settings do not outlive a run";
    }
    expectHolds(*defaults, "replaced", std::int64_t{2});
    EXPECT_FALSE(defaults->object("removed"));
    expectHolds(*defaults, "removed and back", false);

    defaults->remove("replaced");
    EXPECT_TRUE(reopen());
    EXPECT_FALSE(defaults->object("replaced"));
    expectHolds(*defaults, "removed and back", false);
}

TEST_P(UserDefaultsConformance, WhatSeveralThreadsWroteIsThereInTheNextRun) {
    checkSeveralThreads(*defaults);
    const auto common = defaults->object("common");
    if (!reopen()) {
        GTEST_SKIP() << "these settings do not outlive a run";
    }
    for (int thread = 0; thread < 4; ++thread) {
        expectHolds(*defaults, "own." + std::to_string(thread), std::int64_t{24});
        EXPECT_FALSE(defaults->object("passing.own." + std::to_string(thread)));
    }
    expectHolds(*defaults, "common", *common);
}

}  // namespace quendokit::testing

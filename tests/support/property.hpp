#pragma once
/// \file
/// `checkProperty`: a statement that holds for random inputs; `propertySeed`, for tests that make their inputs
/// themselves.

#include <cstdint>
#include <iostream>
#include <sstream>
#include <string>

#include <gtest/gtest.h>

// rapidcheck's glue to GoogleTest needs GoogleTest before it.
#include <rapidcheck/gtest.h>

namespace quendokit::testing {

/// The seed for the random inputs of the running test, which it prints; N with RC_PARAMS="seed=N" in the environment.
inline std::uint64_t propertySeed() {
    const auto* test = ::testing::UnitTest::GetInstance()->current_test_info();
    const std::uint64_t seed = rc::detail::configuration().testParams.seed;
    std::cout << test->test_suite_name() << "/" << test->name() << ": seed " << seed << "\n";
    return seed;
}

/// Runs `property`, a function of generated arguments, on `cases` inputs and fails the test with the smallest input for
/// which it fails. Prints the seed; RC_PARAMS="seed=N" in the environment runs the same inputs again.
template <typename Property>
void checkProperty(int cases, Property&& property) {
    const auto* test = ::testing::UnitTest::GetInstance()->current_test_info();
    rc::detail::TestMetadata metadata;
    metadata.id = std::string(test->test_suite_name()) + "/" + test->name();
    metadata.description = test->name();

    rc::detail::TestParams parameters = rc::detail::configuration().testParams;
    parameters.maxSuccess = cases;
    std::cout << metadata.id << ": seed " << parameters.seed << "\n";

    const auto result = rc::detail::checkTestable(std::forward<Property>(property), metadata, parameters);
    if (!result.template is<rc::detail::SuccessResult>()) {
        std::ostringstream message;
        rc::detail::printResultMessage(result, message);
        FAIL() << "seed " << parameters.seed << ": " << message.str();
    }
}

}  // namespace quendokit::testing

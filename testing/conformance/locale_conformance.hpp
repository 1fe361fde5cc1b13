#pragma once
/// \file
/// The conformance suite of `Locale`. It asserts only what the interface's comments promise.
///
/// Include it in one source file of a test program, and name your implementation there:
///
///     namespace quendokit::testing {
///     INSTANTIATE_TEST_SUITE_P(MyLanguage, LocaleConformance, ::testing::Values(LocaleImplementation{
///         .name = "MyLanguage",
///         .makeLocale = [] { return std::make_shared<MyLocale>("de"); },
///         .sunday = "Sonntag"}));
///     }

#include <functional>
#include <memory>
#include <ostream>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "quendokit/platform/locale.hpp"

namespace quendokit::testing {

/// One implementation of `Locale`, the parameter of the suite.
struct LocaleImplementation {
    /// Part of the names of its tests: letters and digits.
    std::string name;
    /// Called once a test.
    std::function<std::shared_ptr<const Locale>()> makeLocale;
    /// What that locale calls the first day.
    std::string sunday;

    friend void PrintTo(const LocaleImplementation& implementation, std::ostream* stream) {
        *stream << implementation.name;
    }
};

/// A locale for each test.
class LocaleConformance : public ::testing::TestWithParam<LocaleImplementation> {
protected:
    void SetUp() override {
        locale = GetParam().makeLocale();
        ASSERT_TRUE(locale);
    }

    std::shared_ptr<const Locale> locale;
};

/// Without an INSTANTIATE_TEST_SUITE_P, including the suite runs nothing.
GTEST_ALLOW_UNINSTANTIATED_PARAMETERIZED_TEST(LocaleConformance);

TEST_P(LocaleConformance, TheWeekHasSevenNames) {
    const auto names = locale->standaloneWeekdaySymbols();
    EXPECT_EQ(names.size(), 7U);
    EXPECT_EQ(std::set<std::string>(names.begin(), names.end()).size(), 7U) << "two days have the same name";
}

TEST_P(LocaleConformance, NoNameIsEmpty) {
    for (const std::string& name : locale->standaloneWeekdaySymbols()) {
        EXPECT_FALSE(name.empty());
    }
}

TEST_P(LocaleConformance, SundayIsTheFirst) {
    const auto names = locale->standaloneWeekdaySymbols();
    ASSERT_FALSE(names.empty());
    EXPECT_EQ(names.front(), GetParam().sunday);
}

TEST_P(LocaleConformance, SeveralThreadsMayAskAtOnce) {
    const auto names = locale->standaloneWeekdaySymbols();
    std::vector<std::vector<std::string>> answers(4);
    std::vector<std::thread> threads;
    for (auto& answer : answers) {
        threads.emplace_back([this, &answer] { answer = locale->standaloneWeekdaySymbols(); });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    for (const auto& answer : answers) {
        EXPECT_EQ(answer, names);
    }
}

}  // namespace quendokit::testing

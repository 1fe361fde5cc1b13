#pragma once
/// \file
/// The conformance suite of `Bundle` and `BundleProvider`. It asserts only what the interfaces' comments promise.
///
/// Include it in one source file of a test program, and name your implementation there:
///
///     namespace quendokit::testing {
///     INSTANTIATE_TEST_SUITE_P(MyTexts, BundleConformance, ::testing::Values(BundleImplementation{
///         .name = "MyTexts",
///         .makeProvider = [] { return std::make_shared<MyBundleProvider>(); },
///         .identifier = "net.example.texts",
///         .translations = {{"hour", "Stunde"}, {"hours", "Stunden"}}}));
///     }

#include <functional>
#include <map>
#include <memory>
#include <ostream>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "quendokit/platform/bundle.hpp"

namespace quendokit::testing {

/// One implementation of `Bundle`, the parameter of the suite.
struct BundleImplementation {
    /// Part of the names of its tests: letters and digits.
    std::string name;
    /// Called once a test.
    std::function<std::shared_ptr<const BundleProvider>()> makeProvider;
    /// Of a bundle that the provider finds.
    std::string identifier;
    /// Some keys that this bundle translates, and how. At least one.
    std::map<std::string, std::string> translations;

    friend void PrintTo(const BundleImplementation& implementation, std::ostream* stream) {
        *stream << implementation.name;
    }
};

/// The bundle of that identifier, for each test.
class BundleConformance : public ::testing::TestWithParam<BundleImplementation> {
protected:
    void SetUp() override {
        provider = GetParam().makeProvider();
        ASSERT_TRUE(provider);
        bundle = provider->bundle(GetParam().identifier);
        ASSERT_TRUE(bundle);
        ASSERT_FALSE(translations().empty());
    }

    [[nodiscard]] static const std::map<std::string, std::string>& translations() { return GetParam().translations; }

    /// How often each translation comes out right, each key asked `rounds` times.
    [[nodiscard]] std::size_t rightAnswers(int rounds) const {
        std::size_t right = 0;
        for (int round = 0; round < rounds; ++round) {
            for (const auto& [key, translation] : translations()) {
                right += bundle->localizedString(key, "") == translation ? 1U : 0U;
            }
        }
        return right;
    }

    std::shared_ptr<const BundleProvider> provider;
    std::shared_ptr<const Bundle> bundle;
};

/// Without an INSTANTIATE_TEST_SUITE_P, including the suite runs nothing.
GTEST_ALLOW_UNINSTANTIATED_PARAMETERIZED_TEST(BundleConformance);

TEST_P(BundleConformance, AKeyGivesItsTranslation) {
    for (const auto& [key, translation] : translations()) {
        EXPECT_EQ(bundle->localizedString(key, ""), translation);
    }
}

TEST_P(BundleConformance, AKeyIsTakenAtItsLengthFromALongerText) {
    for (const auto& [key, translation] : translations()) {
        const std::string longer = "(" + key + ")";
        EXPECT_EQ(bundle->localizedString(std::string_view(longer).substr(1, key.size()), ""), translation);
    }
}

TEST_P(BundleConformance, AnUntranslatedKeyGivesItself) {
    using std::string_literals::operator""s;
    for (const std::string& key : {"no table has this key"s, " "s, "%s %n"s, "nein \xC3\xA4"s, "\xFF"s, "line\nline"s,
                                   "\0"s, std::string(100'000, 'x')}) {
        EXPECT_EQ(bundle->localizedString(key, "a comment"), key);
    }
}

TEST_P(BundleConformance, WhatOnlyResemblesAKeyGivesItself) {
    using std::string_literals::operator""s;
    for (const auto& [key, translation] : translations()) {
        for (const std::string& other : {key + " ", " " + key, key + "\0"s, key + "\0more"s, key + "."}) {
            EXPECT_EQ(bundle->localizedString(other, ""), other);
        }
    }
}

TEST_P(BundleConformance, TheEmptyKeyGivesTheEmptyText) {
    EXPECT_EQ(bundle->localizedString("", ""), "");
    EXPECT_EQ(bundle->localizedString(std::string_view(), "a comment"), "");
}

TEST_P(BundleConformance, ACommentNeverChangesTheTranslation) {
    for (const auto& [key, translation] : translations()) {
        for (const std::string& comment : {std::string("a comment"), key, translation}) {
            EXPECT_EQ(bundle->localizedString(key, comment), translation);
            EXPECT_EQ(bundle->localizedString("no table has this key", comment), "no table has this key");
            EXPECT_EQ(bundle->localizedString("", comment), "");
        }
    }
}

TEST_P(BundleConformance, AnUnknownIdentifierFindsNoBundle) {
    const std::string& identifier = GetParam().identifier;
    for (const std::string& unknown : {std::string("no.bundle.has.this"), identifier + "x", identifier + "."}) {
        EXPECT_EQ(provider->bundle(unknown), nullptr) << unknown;
    }
}

TEST_P(BundleConformance, SeveralThreadsMayAskAtOnce) {
    constexpr int threadCount = 4;
    constexpr int rounds = 200;
    std::vector<std::size_t> right(threadCount);
    std::vector<std::thread> threads;
    for (std::size_t& answers : right) {
        threads.emplace_back([this, &answers] { answers = rightAnswers(rounds); });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(right, std::vector<std::size_t>(threadCount, rounds * translations().size()));
}

}  // namespace quendokit::testing

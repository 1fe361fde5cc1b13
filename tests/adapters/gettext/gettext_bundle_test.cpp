#include <clocale>
#include <filesystem>
#include <fstream>
#include <libintl.h>
#include <memory>
#include <string>

#include <gtest/gtest.h>

#include "adapters/gettext/gettext_bundle_provider.hpp"
#include "testing/conformance/bundle_conformance.hpp"
#include "tests/adapters/gettext/message_locale.hpp"
#include "tests/support/temporary_folder.hpp"

namespace quendokit {
namespace {

namespace fs = std::filesystem;
using testing::MessageLocale;

const fs::path localeFolder = QUENDOKIT_LOCALE_FOLDER;

std::string translated(const std::string& key, const fs::path& folder = localeFolder) {
    return GettextBundleProvider("texts", folder).bundle("texts")->localizedString(key, "");
}

/// The word for an hour in a process that speaks that language.
std::string hourIn(const char* language) {
    const MessageLocale locale(language);
    EXPECT_TRUE(locale.isChosen());
    return translated("hour");
}

TEST(GettextBundle, SpeaksTheLanguageOfTheEnvironment) {
    EXPECT_EQ(hourIn("de"), "Stunde");
    EXPECT_EQ(hourIn("sv"), "timme");
    EXPECT_EQ(hourIn("ja"), "時間");
    EXPECT_EQ(hourIn("zh_CN"), "小时");
}

TEST(GettextBundle, ACountryOrAnEncodingBehindTheLanguageIsFine) {
    EXPECT_EQ(hourIn("de_AT"), "Stunde");
    EXPECT_EQ(hourIn("de_AT.UTF-8@euro"), "Stunde");
    EXPECT_EQ(hourIn("pt_BR"), "hora");
}

TEST(GettextBundle, TheFirstLanguageThatHasACatalogueCounts) {
    EXPECT_EQ(hourIn("xx:sv:de"), "timme");
    EXPECT_EQ(hourIn("en:de"), "hour");
    EXPECT_EQ(hourIn("en_GB:de"), "hour");
}

TEST(GettextBundle, SpeaksEnglishWithoutALanguageThatHasACatalogue) {
    EXPECT_EQ(hourIn(nullptr), "hour");
    EXPECT_EQ(hourIn("xx"), "hour");
    // Simplified characters are no substitute for traditional ones.
    EXPECT_EQ(hourIn("zh_TW"), "hour");
}

TEST(GettextBundle, SpeaksEnglishWhileTheHostHasChosenNoLocale) {
    const MessageLocale locale("de", "C");
    EXPECT_EQ(translated("hour"), "hour");
}

TEST(GettextBundle, SpeaksEnglishWithoutCatalogues) {
    const MessageLocale locale("de");
    const testing::TemporaryFolder empty;
    EXPECT_EQ(translated("hour", empty.path()), "hour");
    EXPECT_EQ(translated("hour", empty.path() / "nowhere"), "hour");
    EXPECT_EQ(translated("hour", ""), "hour");
}

TEST(GettextBundle, SpeaksEnglishWhereTheCatalogueIsDamaged) {
    const MessageLocale locale("de");
    const testing::TemporaryFolder folder;
    const fs::path messages = folder.path() / "de" / "LC_MESSAGES";
    fs::create_directories(messages);
    std::ofstream(messages / "quendokit.mo") << "no catalogue";
    EXPECT_EQ(translated("hour", folder.path()), "hour");
}

TEST(GettextBundle, TextsAreUtf8WhateverTheLocalesEncoding) {
    const MessageLocale locale("de");
    std::setlocale(LC_CTYPE, "C");
    EXPECT_EQ(translated("later"), "Später");
}

TEST(GettextBundle, TheHeaderOfACatalogueIsNoText) {
    const MessageLocale locale("de");
    EXPECT_EQ(translated(""), "");
}

TEST(GettextBundle, ARelativeFolderStaysWhereItWas) {
    const MessageLocale locale("de");
    const fs::path before = fs::current_path();
    fs::current_path(localeFolder.parent_path());
    const GettextBundleProvider provider("texts", localeFolder.filename());
    fs::current_path("/");
    const std::string hour = provider.bundle("texts")->localizedString("hour", "");
    fs::current_path(before);
    EXPECT_EQ(hour, "Stunde");
}

TEST(GettextBundle, AnEmptyFolderIsNotTheOneInWhichTheProcessIs) {
    const MessageLocale locale("de");
    const fs::path before = fs::current_path();
    fs::current_path(localeFolder);
    const std::string hour = translated("hour", "");
    fs::current_path(before);
    EXPECT_EQ(hour, "hour");
}

TEST(GettextBundle, TheFolderOfTheLastProviderHoldsForAll) {
    const MessageLocale locale("de");
    const GettextBundleProvider first("first", localeFolder);
    const testing::TemporaryFolder empty;
    EXPECT_EQ(translated("hour", empty.path()), "hour");
    EXPECT_EQ(first.bundle("first")->localizedString("hour", ""), "hour");
}

TEST(GettextBundle, LeavesTheLocaleAndTheTextDomainOfTheHostAlone) {
    const MessageLocale locale("de");
    const std::string before = std::setlocale(LC_ALL, nullptr);
    const std::string domain = ::textdomain(nullptr);
    EXPECT_EQ(translated("hour"), "Stunde");
    EXPECT_EQ(std::setlocale(LC_ALL, nullptr), before);
    EXPECT_EQ(::textdomain(nullptr), domain);
    EXPECT_STREQ(::gettext("hour"), "hour");
}

TEST(GettextBundle, AProviderKnowsOneIdentifier) {
    const GettextBundleProvider provider("net.example.texts", localeFolder);
    EXPECT_NE(provider.bundle("net.example.texts"), nullptr);
    EXPECT_EQ(provider.bundle("net.example.texts"), provider.bundle("net.example.texts"));
    EXPECT_EQ(provider.bundle("net.example"), nullptr);
    EXPECT_EQ(provider.bundle(""), nullptr);
}

/// A provider in a process that speaks German as long as it lives.
class GermanProvider final : public BundleProvider {
public:
    [[nodiscard]] std::shared_ptr<const Bundle> bundle(std::string_view identifier) const override {
        return provider_.bundle(identifier);
    }

private:
    const MessageLocale locale_{"de"};
    const GettextBundleProvider provider_{"net.example.texts", localeFolder};
};

}  // namespace

namespace testing {

INSTANTIATE_TEST_SUITE_P(Gettext, BundleConformance,
                         ::testing::Values(BundleImplementation{
                             .name = "German",
                             .makeProvider = [] { return std::make_shared<GermanProvider>(); },
                             .identifier = "net.example.texts",
                             .translations = {
                                 {"hour", "Stunde"}, {"later", "Später"}, {"Tomorrow Morning", "Morgen früh"}}}));

}  // namespace testing
}  // namespace quendokit

// Every catalogue, as it was built, in a process that speaks its language.

#include <filesystem>
#include <sstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "adapters/gettext/gettext_bundle_provider.hpp"
#include "adapters/icu/icu_locale.hpp"
#include "tests/adapters/gettext/message_locale.hpp"
#include "tests/support/engine_texts.hpp"
#include "tests/support/po_table.hpp"

namespace quendokit::testing {
namespace {

std::vector<std::string> languages() {
    std::istringstream listed(QUENDOKIT_LANGUAGES);
    return {std::istream_iterator<std::string>(listed), {}};
}

std::shared_ptr<const Bundle> texts() {
    return GettextBundleProvider("texts", QUENDOKIT_LOCALE_FOLDER).bundle("texts");
}

class CatalogueOf : public ::testing::TestWithParam<std::string> {};

TEST_P(CatalogueOf, TranslatesEveryTextAsItsTableSays) {
    const MessageLocale locale(GetParam().c_str());
    const PoTable table = readPoTable(std::filesystem::path(QUENDOKIT_PO_FOLDER) / (GetParam() + ".po"));
    ASSERT_EQ(table.entries.size(), engineTexts.size());
    const auto bundle = texts();
    for (std::size_t i = 0; i < engineTexts.size(); ++i) {
        const auto& [key, comment] = engineTexts[i];
        EXPECT_EQ(bundle->localizedString(key, comment), table.entries[i].translation) << key;
    }
}

TEST_P(CatalogueOf, HasALanguageWhoseDaysHaveNames) {
    const std::string sunday = ICULocale(GetParam()).standaloneWeekdaySymbols().front();
    EXPECT_EQ(sunday == "Sunday", GetParam() == "en") << sunday;
}

INSTANTIATE_TEST_SUITE_P(Gettext, CatalogueOf, ::testing::ValuesIn(languages()),
                         [](const auto& info) { return info.param; });

/// The word for an hour and the first day's name, in a process that starts in that environment.
std::string wordsIn(const char* language, const char* lang) {
    const ScopedEnvironment all("LC_ALL", nullptr);
    const ScopedEnvironment messages("LC_MESSAGES", nullptr);
    const ScopedEnvironment last("LANG", lang);
    const MessageLocale locale(language, "");
    EXPECT_TRUE(locale.isChosen());
    return texts()->localizedString("hour", "") + " " + ICULocale().standaloneWeekdaySymbols().front();
}

TEST(Languages, TextsAndDaysSpeakTheSame) {
    EXPECT_EQ(wordsIn("de", "C.UTF-8"), "Stunde Sonntag");
    EXPECT_EQ(wordsIn("de_AT:fr", "C.UTF-8"), "Stunde Sonntag");
    EXPECT_EQ(wordsIn("xx:fr:de", "C.UTF-8"), "heure dimanche");
    EXPECT_EQ(wordsIn("::de", "C.UTF-8"), "Stunde Sonntag");
    EXPECT_EQ(wordsIn("en:de", "C.UTF-8"), "hour Sunday");
    EXPECT_EQ(wordsIn("C:de", "C.UTF-8"), "hour Sunday");
    EXPECT_EQ(wordsIn("POSIX:de", "C.UTF-8"), "hour Sunday");
    EXPECT_EQ(wordsIn("xx", "C.UTF-8"), "hour Sunday");
    EXPECT_EQ(wordsIn("", "C.UTF-8"), "hour Sunday");
    EXPECT_EQ(wordsIn(nullptr, "C.UTF-8"), "hour Sunday");
    EXPECT_EQ(wordsIn("de", "C"), "hour Sunday");
    EXPECT_EQ(wordsIn("de", "POSIX"), "hour Sunday");
    EXPECT_EQ(wordsIn("de", nullptr), "hour Sunday");
}

}  // namespace
}  // namespace quendokit::testing

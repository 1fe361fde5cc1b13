#include <string>

#include <gtest/gtest.h>

#include "adapters/icu/icu_locale.hpp"
#include "tests/support/scoped_environment.hpp"

namespace quendokit {
namespace {

using testing::ScopedEnvironment;

/// LANGUAGE, LC_ALL, LC_MESSAGES and LANG; null where one is not set.
struct Variables {
    const char* language = nullptr;
    const char* all = nullptr;
    const char* messages = nullptr;
    const char* lang = nullptr;
};

std::string sunday(const Variables& variables) {
    const ScopedEnvironment language("LANGUAGE", variables.language);
    const ScopedEnvironment all("LC_ALL", variables.all);
    const ScopedEnvironment messages("LC_MESSAGES", variables.messages);
    const ScopedEnvironment lang("LANG", variables.lang);
    return ICULocale().standaloneWeekdaySymbols().front();
}

TEST(EnvironmentLanguage, IsThatOfLang) {
    EXPECT_EQ(sunday({.lang = "de_DE.UTF-8"}), "Sonntag");
    EXPECT_EQ(sunday({.lang = "sr_RS@latin"}), "nedelja");
}

TEST(EnvironmentLanguage, LCMessagesGoesBeforeLang) {
    EXPECT_EQ(sunday({.messages = "fr_FR.UTF-8", .lang = "de_DE.UTF-8"}), "dimanche");
    EXPECT_EQ(sunday({.messages = "", .lang = "de_DE.UTF-8"}), "Sonntag");
}

TEST(EnvironmentLanguage, LCAllGoesBeforeBoth) {
    EXPECT_EQ(sunday({.all = "it_IT", .messages = "fr_FR.UTF-8", .lang = "de_DE.UTF-8"}), "domenica");
    EXPECT_EQ(sunday({.all = "", .messages = "fr_FR.UTF-8", .lang = "de_DE.UTF-8"}), "dimanche");
}

TEST(EnvironmentLanguage, LanguageGoesBeforeAnyLocale) {
    EXPECT_EQ(sunday({.language = "pl", .all = "it_IT", .lang = "de_DE.UTF-8"}), "niedziela");
    EXPECT_EQ(sunday({.language = "pl", .lang = "C.UTF-8"}), "niedziela");
    EXPECT_EQ(sunday({.language = "", .lang = "de_DE.UTF-8"}), "Sonntag");
}

TEST(EnvironmentLanguage, TheFirstOfSeveralThatIsKnownCounts) {
    EXPECT_EQ(sunday({.language = "pl:fr", .lang = "de_DE.UTF-8"}), "niedziela");
    EXPECT_EQ(sunday({.language = "en_GB:fr", .lang = "de_DE.UTF-8"}), "Sunday");
    EXPECT_EQ(sunday({.language = "xx:fr:pl", .lang = "de_DE.UTF-8"}), "dimanche");
    EXPECT_EQ(sunday({.language = "::fr:", .lang = "de_DE.UTF-8"}), "dimanche");
}

TEST(EnvironmentLanguage, IsEnglishWhenNoneOfSeveralIsKnown) {
    EXPECT_EQ(sunday({.language = "xx:yy", .lang = "de_DE.UTF-8"}), "Sunday");
    EXPECT_EQ(sunday({.language = ":", .lang = "de_DE.UTF-8"}), "Sunday");
}

TEST(EnvironmentLanguage, IsEnglishWhereTheListSaysC) {
    EXPECT_EQ(sunday({.language = "C:fr", .lang = "de_DE.UTF-8"}), "Sunday");
    EXPECT_EQ(sunday({.language = "POSIX:fr", .lang = "de_DE.UTF-8"}), "Sunday");
}

TEST(EnvironmentLanguage, IsEnglishInTheLocalesWithoutLanguage) {
    EXPECT_EQ(sunday({}), "Sunday");
    EXPECT_EQ(sunday({.lang = "C.UTF-8"}), "Sunday");
    EXPECT_EQ(sunday({.all = "C", .lang = "de_DE.UTF-8"}), "Sunday");
    EXPECT_EQ(sunday({.messages = "POSIX", .lang = "de_DE.UTF-8"}), "Sunday");
}

TEST(EnvironmentLanguage, LanguageMeansNothingInTheLocalesWithoutLanguage) {
    EXPECT_EQ(sunday({.language = "fr"}), "Sunday");
    EXPECT_EQ(sunday({.language = "fr", .all = "C", .lang = "de_DE.UTF-8"}), "Sunday");
    EXPECT_EQ(sunday({.language = "fr", .lang = "POSIX"}), "Sunday");
}

TEST(EnvironmentLanguage, StaysAsItWasWhenTheObjectWasMade) {
    const ScopedEnvironment none("LANGUAGE", nullptr);
    const ScopedEnvironment all("LC_ALL", "de_DE.UTF-8");
    const ICULocale locale;
    const ScopedEnvironment changed("LC_ALL", "fr_FR.UTF-8");
    EXPECT_EQ(locale.standaloneWeekdaySymbols().front(), "Sonntag");
}

}  // namespace
}  // namespace quendokit

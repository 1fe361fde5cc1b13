#include "adapters/icu/icu_locale.hpp"

#include <memory>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "testing/conformance/locale_conformance.hpp"

namespace quendokit {
namespace {

using Names = std::vector<std::string>;

Names weekdays(const char* language) {
    return ICULocale(language).standaloneWeekdaySymbols();
}

std::string sunday(const char* language) {
    return weekdays(language).front();
}

const Names english{"Sunday", "Monday", "Tuesday", "Wednesday", "Thursday", "Friday", "Saturday"};

TEST(ICULocale, KnowsTheNamesOfTheDays) {
    EXPECT_EQ(weekdays("en"), english);
    EXPECT_EQ(weekdays("de"), (Names{"Sonntag", "Montag", "Dienstag", "Mittwoch", "Donnerstag", "Freitag", "Samstag"}));
    EXPECT_EQ(weekdays("uk"), (Names{"неділя", "понеділок", "вівторок", "середа", "четвер", "пʼятниця", "субота"}));
    EXPECT_EQ(weekdays("ja"), (Names{"日曜日", "月曜日", "火曜日", "水曜日", "木曜日", "金曜日", "土曜日"}));
}

TEST(ICULocale, TheNamesStandAloneAndInNoSentence) {
    // In a sentence a Finn says "sunnuntaina", on Sunday.
    EXPECT_EQ(sunday("fi"), "sunnuntai");
}

TEST(ICULocale, ACountryOrAnEncodingBehindTheLanguageIsFine) {
    EXPECT_EQ(sunday("de_AT"), "Sonntag");
    EXPECT_EQ(sunday("de-AT"), "Sonntag");
    EXPECT_EQ(sunday("de_AT.UTF-8"), "Sonntag");
    EXPECT_EQ(sunday("de_AT.UTF-8@euro"), "Sonntag");
    EXPECT_EQ(sunday("de_AT@euro"), "Sonntag");
    EXPECT_EQ(sunday("de_ZZ"), "Sonntag");
    EXPECT_EQ(weekdays("pt_BR")[1], "segunda-feira");
    EXPECT_EQ(sunday("zh_CN"), "星期日");
}

TEST(ICULocale, TheScriptBehindTheLanguageCounts) {
    EXPECT_EQ(sunday("sr_RS"), "недеља");
    EXPECT_EQ(sunday("sr_RS@latin"), "nedelja");
    EXPECT_EQ(sunday("sr@latin"), "nedelja");
    EXPECT_EQ(sunday("sr_RS.UTF-8@latin"), "nedelja");
    EXPECT_EQ(sunday("sr_Latn"), "nedelja");
    EXPECT_EQ(sunday("uz_UZ"), "yakshanba");
    EXPECT_EQ(sunday("uz_UZ@cyrillic"), "якшанба");
}

TEST(ICULocale, SpeaksEnglishWhereALanguageIsUnknown) {
    for (const char* unknown : {"xx", "xx_DE", "deutsch", "C", "POSIX", "C.UTF-8", "root", "", "_", "@", "@latin", ".",
                                "de/../fr", "../../etc/passwd", "\xFF"}) {
        EXPECT_EQ(weekdays(unknown), english) << unknown;
    }
    EXPECT_EQ(weekdays(std::string(1'000'000, 'd').c_str()), english);
}

TEST(ICULocale, SpeaksEnglishWhereOnlyTheNamesAreUnknown) {
    // ICU knows some words of Northern Luri, but no days.
    EXPECT_EQ(weekdays("lrc"), english);
}

std::shared_ptr<const Locale> finnish() {
    return std::make_shared<ICULocale>("fi_FI.UTF-8");
}

std::shared_ptr<const Locale> unknown() {
    return std::make_shared<ICULocale>("xx");
}

}  // namespace

namespace testing {

INSTANTIATE_TEST_SUITE_P(
    ICU, LocaleConformance,
    ::testing::Values(LocaleImplementation{.name = "Finnish", .makeLocale = finnish, .sunday = "sunnuntai"},
                      LocaleImplementation{.name = "Unknown", .makeLocale = unknown, .sunday = "Sunday"}));

}  // namespace testing
}  // namespace quendokit

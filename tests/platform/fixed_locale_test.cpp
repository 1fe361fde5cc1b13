#include "testing/fixed_locale.hpp"

#include <gtest/gtest.h>

namespace quendokit::testing {
namespace {

using Names = std::vector<std::string>;

TEST(FixedLocale, SpeaksEnglishUnlessToldOtherwise) {
    EXPECT_EQ(FixedLocale().standaloneWeekdaySymbols(),
              (Names{"Sunday", "Monday", "Tuesday", "Wednesday", "Thursday", "Friday", "Saturday"}));
}

TEST(FixedLocale, GivesTheNamesItWasGiven) {
    EXPECT_EQ(FixedLocale(Names{"dimanche", "lundi"}).standaloneWeekdaySymbols(), (Names{"dimanche", "lundi"}));
}

}  // namespace
}  // namespace quendokit::testing

#include "apps/quendo/text_table.hpp"

#include <clocale>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace quendo::testing {
namespace {

using ::testing::ElementsAre;

/// The texts are UTF-8.
class TextTable : public ::testing::Test {
protected:
    TextTable() { std::setlocale(LC_CTYPE, "C.UTF-8"); }
    ~TextTable() override { std::setlocale(LC_CTYPE, "C"); }

    const Style file_;
    const Style narrow_{.colour = false, .columns = 20};
};

TEST_F(TextTable, AWidthCountsColumnsAndNotBytes) {
    EXPECT_EQ(widthOf(""), 0U);
    EXPECT_EQ(widthOf("Zoë"), 3U);
    EXPECT_EQ(widthOf("明日"), 4U);
    EXPECT_EQ(widthOf("e\u0301"), 1U);
}

TEST_F(TextTable, AWidthOfWhatIsNoTextCountsBytes) {
    EXPECT_EQ(widthOf("a\xFFz"), 3U);
}

TEST_F(TextTable, TextThatFitsIsNotCut) {
    EXPECT_EQ(fitted("12345", 5), "12345");
    EXPECT_EQ(fitted("明日", 4), "明日");
    EXPECT_EQ(fitted("", 0), "");
}

TEST_F(TextTable, TextThatDoesNotFitEndsWithinTheColumnsInAnEllipsis) {
    EXPECT_EQ(fitted("123456", 5), "1234…");
    EXPECT_EQ(fitted("123456", 1), "…");
    EXPECT_EQ(fitted("123456", 0), "");
}

TEST_F(TextTable, NoCharacterIsCutInTwo) {
    EXPECT_EQ(fitted("明日明日", 6), "明日…");
    EXPECT_EQ(fitted("明日明日", 4), "明…") << "half of the second would fit";
    EXPECT_EQ(fitted("e\u0301e\u0301e\u0301", 2), "e\u0301…");
}

TEST_F(TextTable, InALocaleWithoutUtf8NoCharacterIsCutInTwo) {
    std::setlocale(LC_CTYPE, "C");
    EXPECT_EQ(fitted("ëëëë", 6), "ëë…");
}

TEST_F(TextTable, CellsStandUnderEachOtherByTheirWidth) {
    EXPECT_THAT(aligned({{{"明日"}, {"x"}}, {{"a"}, {"y"}}}, file_), ElementsAre("明日  x", "a     y"));
}

TEST_F(TextTable, TheLastCellOfAShortRowWidensNoColumn) {
    EXPECT_THAT(aligned({{{"a"}, {"a long title"}}, {{"b"}, {"18:00"}, {"title"}}}, file_),
                ElementsAre("a  a long title", "b  18:00  title"));
}

TEST_F(TextTable, EveryLineIsIndented) {
    EXPECT_THAT(aligned({{{"a"}, {"x"}}, {{"b"}, {"y"}}}, file_, 3), ElementsAre("   a  x", "   b  y"));
}

TEST_F(TextTable, OnATerminalTheLastCellIsCutToItsWidth) {
    EXPECT_THAT(aligned({{{"1234"}, {"exactly twelve"}}, {{"5678"}, {"exactly 14 too"}}}, narrow_),
                ElementsAre("1234  exactly twelve", "5678  exactly 14 too"));
    EXPECT_THAT(aligned({{{"1234"}, {"fifteen of them"}}}, narrow_), ElementsAre("1234  fifteen of th…"));
    EXPECT_THAT(aligned({{{"1234"}, {"fifteen of them"}}}, narrow_, 2), ElementsAre("  1234  fifteen of …"));
}

TEST_F(TextTable, WhatStandsBehindTheLastCellStaysWhenThatIsCut) {
    EXPECT_THAT(aligned({{{"1"}, {"fifteen of them", Emphasis::none, " (x)"}}}, narrow_),
                ElementsAre("1  fifteen of t… (x)"));
}

TEST_F(TextTable, AnywhereElseNothingIsCut) {
    EXPECT_THAT(aligned({{{"1"}, {std::string(500, 'x')}}}, file_), ElementsAre("1  " + std::string(500, 'x')));
}

TEST_F(TextTable, OnTheNarrowestTerminalTenColumnsAreLeftToTheLastCell) {
    const Style sliver{.colour = false, .columns = 3};
    EXPECT_THAT(aligned({{{"1234"}, {"fifteen of them"}}}, sliver), ElementsAre("1234  fifteen o…"));
}

TEST_F(TextTable, CodesOfColourTakeNoColumn) {
    const Style colourful{.colour = true, .columns = 20};
    EXPECT_THAT(
        aligned({{{"明日", Emphasis::faint}, {"fifteen of them", Emphasis::heading}}, {{"1234"}, {"x"}}}, colourful),
        ElementsAre("\x1b[2m明日\x1b[0m  \x1b[1mfifteen of th…\x1b[0m", "1234  x"));
}

}  // namespace
}  // namespace quendo::testing

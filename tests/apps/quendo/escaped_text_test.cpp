#include "apps/quendo/escaped_text.hpp"

#include <gtest/gtest.h>

namespace quendo {
namespace {

using namespace std::string_view_literals;

TEST(EscapedText, LeavesOrdinaryTextAsItIs) {
    EXPECT_EQ(escapedText(""), "");
    EXPECT_EQ(escapedText("Call the bank, \"now\" \\ later"), "Call the bank, \"now\" \\ later");
    EXPECT_EQ(escapedText("Größe 東京 🎂"), "Größe 東京 🎂");
}

TEST(EscapedText, WritesControlsOut) {
    EXPECT_EQ(escapedText("a\x1B[2Jb\n\t\x7F\0"sv), "a\\u001B[2Jb\\u000A\\u0009\\u007F\\u0000");
    EXPECT_EQ(escapedText("\xC2\x9B"
                          "31m"),
              "\\u009B31m");
    EXPECT_EQ(escapedText("\xC2\xA0"), "\xC2\xA0");
}

TEST(EscapedText, WritesMarksOfDirectionAndLineSeparatorsOut) {
    EXPECT_EQ(escapedText("\u202E\u202A\u2066\u2069\u200E\u200F\u061C"),
              "\\u202E\\u202A\\u2066\\u2069\\u200E\\u200F\\u061C");
    EXPECT_EQ(escapedText("\u2028\u2029"), "\\u2028\\u2029");
    EXPECT_EQ(escapedText("\u200D\u202F\u2065"), "\u200D\u202F\u2065");
}

TEST(EscapedText, WritesBytesThatAreNoUtf8Out) {
    EXPECT_EQ(escapedText("a\xFF\x80z"), "a\\xFF\\x80z");
    EXPECT_EQ(escapedText("\xE6\x9D"), "\\xE6\\x9D");
    EXPECT_EQ(escapedText("\xE6"
                          "ab"),
              "\\xE6ab");
}

TEST(EscapedText, TakesNoOverlongSurrogateOrTooGreatCodePointForUtf8) {
    EXPECT_EQ(escapedText("\xC0\x9B"), "\\xC0\\x9B");
    EXPECT_EQ(escapedText("\xE0\x80\x9B"), "\\xE0\\x80\\x9B");
    EXPECT_EQ(escapedText("\xED\xA0\x80"), "\\xED\\xA0\\x80");
    EXPECT_EQ(escapedText("\xF4\x90\x80\x80"), "\\xF4\\x90\\x80\\x80");
    EXPECT_EQ(escapedText("\xF9\x90\x80\x80"), "\\xF9\\x90\\x80\\x80");
    EXPECT_EQ(escapedText("\xF4\x8F\xBF\xBF"), "\xF4\x8F\xBF\xBF");
}

TEST(EscapedText, CutsBetweenCharacters) {
    EXPECT_EQ(escapedText("東京都", 3), "東京都");
    EXPECT_EQ(escapedText("東京都", 2), "東京…");
    EXPECT_EQ(escapedText("a\nb", 2), "a\\u000A…");
    EXPECT_EQ(escapedText("\xFF\xFF\xFF", 2), "\\xFF\\xFF…");
}

}  // namespace
}  // namespace quendo

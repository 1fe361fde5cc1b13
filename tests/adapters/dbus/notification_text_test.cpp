#include <gtest/gtest.h>

#include "adapters/dbus/notification_handle_internal.hpp"
#include "adapters/dbus/notification_text_internal.hpp"

namespace quendokit::dbus {
namespace {

TEST(NotificationText, KeepsLettersOfAllScripts) {
    const std::string text = "Zürich 東京 שלום 🗃 \\ & <b>";
    EXPECT_EQ(harmlessLine(text, 100), text);
    EXPECT_EQ(harmlessLines(text, 100), text);
}

TEST(NotificationText, HasABlankForEachControlAndNothingForEachMarkOfDirection) {
    EXPECT_EQ(harmlessLine(std::string("\0\x01\x1F\x7F\u0080\u009F", 8), 100), "      ");
    EXPECT_EQ(harmlessLine("\u061C\u200E\u200F\u202A\u202B\u202C\u202D\u202E\u2066\u2067\u2068\u2069", 100), "");
    EXPECT_EQ(harmlessLine("a\nb\u2028c\u2029d\u0085e\tf", 100), "a b c d e f");
    EXPECT_EQ(harmlessLines("a\nb\u2028c\u2029d\u0085e\tf", 100), "a\nb\nc\nd\ne f");
}

TEST(NotificationText, HasASignForEachByteThatIsNoUTF8) {
    EXPECT_EQ(harmlessLine("\xC0\x80", 100), "\uFFFD\uFFFD");
    EXPECT_EQ(harmlessLine("\xED\xA0\x80", 100), "\uFFFD\uFFFD\uFFFD");
    EXPECT_EQ(harmlessLine("a\xE2\x82", 100), "a\uFFFD\uFFFD");
    EXPECT_EQ(harmlessLine("\xF4\x90\x80\x80", 100), "\uFFFD\uFFFD\uFFFD\uFFFD");
}

TEST(NotificationText, IsCutAtAWholeCharacter) {
    EXPECT_EQ(harmlessLine("äöü", 3), "äöü");
    EXPECT_EQ(harmlessLine("äöüß", 3), "äö…");
    EXPECT_EQ(harmlessLine("äöü\u200E", 3), "äöü");
    EXPECT_EQ(harmlessLine("ab", 1), "…");
}

TEST(NotificationText, IsEscapedAsMarkup) {
    EXPECT_EQ(escapedMarkup("&<>\"'&amp;"), "&amp;&lt;&gt;&quot;&#39;&amp;amp;");
}

TEST(NotificationHandle, IsReadAsItWasWritten) {
    const NotificationHandle handle{"0a1b", ":1.42", 4'294'967'295};
    EXPECT_EQ(text(handle), "0a1b :1.42 4294967295");
    EXPECT_EQ(handleIn(text(handle)), handle);
}

TEST(NotificationHandle, IsNotReadFromAnyOtherText) {
    for (const char* wrong :
         {"", " ", "  ", "0a1b :1.42", "0a1b :1.42 ", "0a1b :1.42 0", "0a1b :1.42 07", "0a1b :1.42 -7",
          "0a1b :1.42 4294967296", "0a1b :1.42 7 ", " :1.42 7", "0a1b  7", "0a1b org.example 7"}) {
        EXPECT_FALSE(handleIn(wrong)) << wrong;
    }
}

}  // namespace
}  // namespace quendokit::dbus

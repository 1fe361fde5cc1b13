// What the test of the tables can see.

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "tests/support/po_table.hpp"

namespace quendokit::testing {
namespace {

using Lines = std::vector<std::string>;
using Entries = std::vector<PoEntry>;

const std::string header = "msgid \"\"\nmsgstr \"\"\n\"Language: de\\n\"\n\"MIME-Version: 1.0\\n\"\n\n";
const std::string hour = "#. one\nmsgid \"hour\"\nmsgstr \"Stunde\"\n";

TEST(PoTableParser, ReadsHeaderEntriesAndComments) {
    const PoTable table = parsePoTable("# notes\n#\n" + header + hour + "\nmsgid \"later\"\nmsgstr \"\"\n");
    EXPECT_EQ(table.header, "Language: de\nMIME-Version: 1.0\n");
    EXPECT_EQ(table.entries, (Entries{{{"one"}, "hour", "Stunde"}, {{}, "later", ""}}));
    EXPECT_EQ(table.unexpected, Lines{});
}

TEST(PoTableParser, JoinsTheLinesOfALongText) {
    const PoTable table = parsePoTable("#. one\n#. two\nmsgid \"\"\n\"a \"\n\"b\"\nmsgstr \"\"\n\"c \\\"\"\n\"d\\\\\"");
    EXPECT_EQ(table.entries, (Entries{{{"one", "two"}, "a b", "c \"d\\"}}));
    EXPECT_EQ(table.unexpected, Lines{});
}

TEST(PoTableParser, ReportsWhatNoFinishedTableHolds) {
    for (const std::string line : {"#, fuzzy", "#, c-format", "#~ msgid \"old\"", "#: words.cpp:1", "#| msgid \"was\"",
                                   "#.no blank", "#.", "msgctxt \"menu\"", "msgid_plural \"hours\"", " ", "text"}) {
        EXPECT_EQ(parsePoTable(header + line + "\n" + hour).unexpected, Lines{"6: " + line}) << line;
    }
}

TEST(PoTableParser, ReportsATextThatIsBroken) {
    for (const std::string text :
         {"Stunde", "\"Stunde", "Stunde\"", "\"", "\"a\"b\"", "\"tab\\t\"", "\"end\\\"", "\"a\" "}) {
        EXPECT_EQ(parsePoTable("msgid \"hour\"\nmsgstr " + text).unexpected, Lines{"2: msgstr " + text}) << text;
    }
}

TEST(PoTableParser, ReportsAnEntryThatIsBroken) {
    EXPECT_EQ(parsePoTable("msgid \"hour\"\n\n" + hour).unexpected, Lines{"2: no translation of hour"});
    EXPECT_EQ(parsePoTable("msgid \"hour\"\n").unexpected, Lines{"1: no translation of hour"});
    EXPECT_EQ(parsePoTable("#. one\n\n" + hour).unexpected, Lines{"2: no translation of "});
    EXPECT_EQ(parsePoTable("msgstr \"Stunde\"\n").unexpected, Lines{"1: msgstr \"Stunde\""});
    EXPECT_EQ(parsePoTable(hour + "msgstr \"twice\"\n").unexpected, Lines{"4: msgstr \"twice\""});
    EXPECT_EQ(parsePoTable(hour + "msgid \"hours\"\n").unexpected.front(), "4: msgid \"hours\"");
    EXPECT_EQ(parsePoTable(hour + "#. late\n").unexpected, Lines{"4: #. late"});
    EXPECT_EQ(parsePoTable("\"text\"\n").unexpected, Lines{"1: \"text\""});
}

TEST(PoTableParser, ReportsAFileThatCannotBeRead) {
    EXPECT_EQ(readPoTable("/nowhere/de.po").unexpected, Lines{"/nowhere/de.po cannot be read"});
}

}  // namespace
}  // namespace quendokit::testing

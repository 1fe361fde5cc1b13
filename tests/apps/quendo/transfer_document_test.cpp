#include "tests/apps/quendo/transfer_fixture.hpp"

namespace quendo {
namespace {

using TransferFormats = Transferring;

TEST_F(TransferFormats, AnEmptyTextIsRefused) {
    const std::string line = "reminders: the file is empty; give one that quendo export or a calendar wrote";
    EXPECT_EQ(refusal(""), line);
    EXPECT_EQ(refusal(" \r\n\t\n"), line);
    EXPECT_EQ(refusal("\xEF\xBB\xBF\n"), line);
}

TEST_F(TransferFormats, WhatIsInNeitherFormatIsRefusedAtItsFirstLine) {
    for (const std::string text : {"Call the bank\n", "BEGIN", "\x1F\x8B\x08", "<html>", "\xFF\xFE[\0]"}) {
        EXPECT_EQ(refusal("\n" + text),
                  "reminders: line 2: this is neither JSON nor iCalendar; give a file that quendo export or a calendar "
                  "wrote");
    }
}

}  // namespace
}  // namespace quendo

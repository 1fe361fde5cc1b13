#include "tests/apps/quendo/transfer_fixture.hpp"

namespace quendo {
namespace {

class TransferIcalendarRefusals : public Transferring {
protected:
    [[nodiscard]] static std::string calendar(const std::string& lines) {
        return "BEGIN:VCALENDAR\nVERSION:2.0\n" + lines + "END:VCALENDAR\n";
    }

    /// The refusal of a calendar whose second to-do has these lines, which begin on line 8, without the part that names
    /// it.
    [[nodiscard]] std::string refusalOfTodo(const std::string& lines, const std::string& names = "",
                                            const std::string& zone = "") const {
        const std::string line = refusal(
            calendar("BEGIN:VTODO\nSUMMARY:a\nDUE:20261121\nEND:VTODO\nBEGIN:VTODO\n" + lines + "END:VTODO\n" + zone));
        const std::string place = "reminders: entry 2 (line 7)" + names + ": ";
        EXPECT_TRUE(line.starts_with(place)) << line;
        return line.substr(std::min(place.size(), line.size()));
    }

    /// The refusal of a to-do that is due at `reading` in a zone of that definition.
    [[nodiscard]] std::string refusalOfZone(const std::string& definition) const {
        return refusalOfTodo("SUMMARY:b\nDUE;TZID=Own:20261121T180000\n", ", \"b\"",
                             "BEGIN:VTIMEZONE\nTZID:Own\n" + definition + "END:VTIMEZONE\n");
    }
};

TEST_F(TransferIcalendarRefusals, EveryCutInTheMiddleIsRefusedNamingTheLastLine) {
    const std::string whole =
        writeTransfer({{"A", "Käse 🧀", true, dated(1'795'302'000.5), at6pm}, {"B", "b", false, atTheMac(), at6pm}},
                      TransferFormat::icalendar, writing);
    const std::size_t end = whole.find("END:VCALENDAR") + 13;
    for (std::size_t length = 6; length < end; ++length) {
        const std::string line = refusal(whole.substr(0, length));
        const bool named = line.starts_with("reminders: line ");
        const bool toldToGetAll = line.ends_with(": the file is cut off here; get the whole file");
        ASSERT_TRUE(named && toldToGetAll) << length << ": " << line;
    }
    EXPECT_EQ(entries(whole.substr(0, end)).size(), 2);
    EXPECT_EQ(refusal("BEGIN:VCALENDAR\nBEGIN:VTODO\nSUMMARY:a\n"),
              "reminders: line 3: the file is cut off here; get the whole file");
}

TEST_F(TransferIcalendarRefusals, ComponentsThatAreNotNestedRightlyAreRefusedAtTheirLine) {
    EXPECT_EQ(refusal("BEGIN:VCARD\nEND:VCARD\n"),
              "reminders: line 1: \"BEGIN:VCARD\" stands where \"BEGIN:VCALENDAR\" should; mend it, or export again");
    EXPECT_EQ(refusal(calendar("BEGIN:VTODO\nSUMMARY:a\n")),
              "reminders: line 5: \"END:VCALENDAR\" stands where \"END:VTODO\" should; mend it, or export again");
    EXPECT_EQ(refusal(calendar("") + "END:VTODO\n"),
              "reminders: line 4: \"END:VTODO\" has no BEGIN; remove it, or export again");
    EXPECT_EQ(refusal(calendar("") + "SUMMARY:a\n"),
              "reminders: line 4: the line stands outside the calendar; put it before END:VCALENDAR, or remove it");
}

TEST_F(TransferIcalendarRefusals, NamesOfComponentsAreMadeHarmlessForTheTerminal) {
    EXPECT_EQ(refusal(calendar("BEGIN:V\xFF\x1B\nEND:VTODO\n")),
              "reminders: line 4: \"END:VTODO\" stands where \"END:V\\xFF\\u001B\" should; mend it, or export again");
    EXPECT_EQ(refusal(calendar("") + "END:\xFF\n"),
              "reminders: line 4: \"END:\\xFF\" has no BEGIN; remove it, or export again");
}

TEST_F(TransferIcalendarRefusals, NulIsRefusedAtItsLine) {
    EXPECT_EQ(refusal(calendar(std::string("BEGIN:VTODO\nSUMMARY:a\0b\nEND:VTODO\n", 33))),
              "reminders: line 4: the line holds a NUL character; remove it, or export again");
}

TEST_F(TransferIcalendarRefusals, TheOldVersionIsRefused) {
    EXPECT_EQ(refusal("BEGIN:VCALENDAR\nVERSION:1.0\nEND:VCALENDAR\n"),
              "reminders: line 2: this is a calendar of the old version 1.0; export it as iCalendar 2.0");
}

TEST_F(TransferIcalendarRefusals, ATodoWithoutADateIsRefusedNamingWhatItSaysOfItself) {
    EXPECT_EQ(refusalOfTodo("UID:6F96\nSUMMARY:Call\\nthe bank\n", ", UID \"6F96\", \"Call\\u000Athe bank\""),
              "the to-do has no date; give it a DUE, or remove it");
    EXPECT_EQ(refusalOfTodo("SUMMARY:b\nDUE:\nX-QUENDO-CONDITION:WATCH\n", ", \"b\""),
              "the to-do has no date; give it a DUE, or remove it");
}

TEST_F(TransferIcalendarRefusals, TitlesThatSayNothingAreRefused) {
    EXPECT_EQ(refusalOfTodo("DUE:20261121\n"), "the title is missing; add a SUMMARY");
    EXPECT_EQ(refusalOfTodo("DUE:20261121\nSUMMARY:\n"), "the title is empty; say what to be reminded of");
    EXPECT_EQ(refusalOfTodo("DUE:20261121\nSUMMARY: \\n \n", ", \"\\u000A\""),
              "the title is empty; say what to be reminded of");
    EXPECT_EQ(refusalOfTodo("DUE:20261121\nSUMMARY:K\xE4se\n", ", \"K\\xE4se\""),
              "the title is not UTF-8 text; convert it to UTF-8");
}

TEST_F(TransferIcalendarRefusals, IdentifiersThatTheCloudWouldRefuseAreRefused) {
    EXPECT_EQ(refusalOfTodo("DUE:20261121\nSUMMARY:b\nUID:\n", ", \"b\""),
              "the identifier is empty; leave it out for a new reminder");
    EXPECT_EQ(refusalOfTodo("DUE:20261121\nSUMMARY:b\nUID:ä\n", ", UID \"ä\", \"b\""),
              "the identifier \"ä\" is not of printable ASCII characters; use letters, digits and signs");
    const std::string tooLong(256, 'x');
    EXPECT_EQ(refusalOfTodo("DUE:20261121\nSUMMARY:b\nUID:" + tooLong + "\n",
                            ", UID \"" + std::string(64, 'x') + "…\", \"b\""),
              "the identifier has 256 characters; give at most 255, or leave it out for a new reminder");
}

TEST_F(TransferIcalendarRefusals, AnIdentifierThatComesTwiceIsRefusedNamingBothEntries) {
    const std::string one = "BEGIN:VTODO\nSUMMARY:a\nUID:x\nDUE:20261121\nEND:VTODO\n";
    EXPECT_EQ(refusal(calendar(one + one)),
              "reminders: entry 2 (line 8), UID \"x\", \"a\": the identifier \"x\" is that of "
              "entry 1 (line 3) too; remove one of the two");
}

TEST_F(TransferIcalendarRefusals, TimesThatCannotBeReadAreRefusedAtTheirLine) {
    for (const std::string text : {"tomorrow", "20261332T180000Z", "20261121T256100", "20260230", "2026-11-31"}) {
        EXPECT_EQ(refusalOfTodo("SUMMARY:b\nDUE:" + text + "\n", ", \"b\""),
                  "DUE (line 9) cannot be read: \"" + text + "\"; write it as 20261121T180000, or with a Z in UTC");
    }
    EXPECT_EQ(refusalOfTodo("SUMMARY:b\nDUE:20261121\nCOMPLETED:x\n", ", \"b\""),
              "COMPLETED (line 10) cannot be read: \"x\"; write it as 20261121T180000, or with a Z in UTC");
}

TEST_F(TransferIcalendarRefusals, FoldedLinesCountAsTheLinesThatTheyAre) {
    EXPECT_TRUE(refusalOfTodo("SUMMARY:b\n c\n d\nDUE:x\n", ", \"bcd\"").starts_with("DUE (line 11) cannot be read"));
}

TEST_F(TransferIcalendarRefusals, MomentsThatCannotBeMeantAreRefused) {
    EXPECT_EQ(refusalOfTodo("SUMMARY:b\nDUE:19700101T000000Z\n", ", \"b\""),
              "DUE (line 9) is not after 1970-01-01; give a later one");
    EXPECT_EQ(refusalOfTodo("SUMMARY:b\nDUE:20261121\nCOMPLETED:19691231T235959Z\n", ", \"b\""),
              "COMPLETED (line 10) is not after 1970-01-01; give a later one");
    EXPECT_EQ(refusalOfTodo("SUMMARY:b\nDUE:99991231T235959Z\nX-QUENDO-DUE:1e16\n", ", \"b\""),
              "DUE (line 9) lies too far away; give at most 2^53 seconds since 1970");
    EXPECT_EQ(refusalOfTodo("SUMMARY:b\nDUE:20261121\nX-QUENDO-COMPLETED:nan\n", ", \"b\""),
              "X-QUENDO-COMPLETED lies too far away; give at most 2^53 seconds since 1970");
}

TEST_F(TransferIcalendarRefusals, OurOwnPropertiesAreRefusedWhenTheyCannotBeRead) {
    for (const std::string line :
         {"X-QUENDO-DUE:soon", "X-QUENDO-COMPLETED:1.5s", "X-QUENDO-TITLE:100%", "X-QUENDO-TITLE:%zz"}) {
        const auto colon = line.find(':');
        EXPECT_EQ(refusalOfTodo("SUMMARY:b\nDUE:20261121\n" + line + "\n", ", \"b\""),
                  line.substr(0, colon) + " (line 10) cannot be read: \"" + line.substr(colon + 1) +
                      "\"; export again, or remove the line");
    }
}

constexpr const char* unknownZone =
    "DUE (line 9) is in the zone \"Own\", which is unknown; add its VTIMEZONE, or write the time in UTC";

TEST_F(TransferIcalendarRefusals, AZoneThatNobodyKnowsIsRefused) {
    EXPECT_EQ(refusalOfTodo("SUMMARY:b\nDUE;TZID=Own:20261121T180000\n", ", \"b\""), unknownZone);
}

TEST_F(TransferIcalendarRefusals, NoZoneLeadsToAFileOutsideTheZoneData) {
    for (const std::string name :
         {"/etc/localtime", "../zoneinfo/Europe/Berlin", "Europe/../Europe/Berlin", "/dev/zero", "Europe"}) {
        EXPECT_EQ(refusalOfTodo("SUMMARY:b\nDUE;TZID=\"" + name + "\":20261121T180000\n", ", \"b\""),
                  "DUE (line 9) is in the zone \"" + name +
                      "\", which is unknown; add its VTIMEZONE, or write the time in UTC");
    }
}

TEST_F(TransferIcalendarRefusals, AZoneWhoseDefinitionDoesNotSayItsOffsetsIsRefused) {
    EXPECT_EQ(refusalOfZone(""), unknownZone);
    EXPECT_EQ(refusalOfZone("BEGIN:STANDARD\nEND:STANDARD\n"), unknownZone);
    EXPECT_EQ(refusalOfZone("BEGIN:STANDARD\nDTSTART:19700101T000000\nTZOFFSETTO:+0100\nEND:STANDARD\n"), unknownZone);
    EXPECT_EQ(refusalOfZone("BEGIN:STANDARD\nDTSTART:19700101T000000\nTZOFFSETFROM:x\nTZOFFSETTO:y\nEND:STANDARD\n"),
              unknownZone);
}

TEST_F(TransferIcalendarRefusals, AZoneWhoseRulesWouldNeverEndIsRefused) {
    for (const std::string rule :
         {"FREQ=SECONDLY", "FREQ=YEARLY;BYSECOND=1,2,3", "FREQ=DAILY", "BYMONTH=3", "FREQ=YEARLY;FREQ=HOURLY"}) {
        EXPECT_EQ(
            refusalOfZone("BEGIN:STANDARD\nDTSTART:19700101T000000\nTZOFFSETFROM:+0100\nTZOFFSETTO:+0200\nRRULE:" +
                          rule + "\nEND:STANDARD\n"),
            unknownZone)
            << rule;
    }
}

}  // namespace
}  // namespace quendo

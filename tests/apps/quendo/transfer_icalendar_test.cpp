#include "tests/apps/quendo/transfer_fixture.hpp"

namespace quendo {
namespace {

using quendokit::Date;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;

class TransferIcalendar : public Transferring {
protected:
    [[nodiscard]] std::string written(const std::vector<TransferEntry>& entries) const {
        return writeTransfer(entries, TransferFormat::icalendar, writing);
    }

    /// A calendar around `lines`, which end in line breaks. They begin on line 3.
    [[nodiscard]] static std::string calendar(const std::string& lines) {
        return "BEGIN:VCALENDAR\nVERSION:2.0\n" + lines + "END:VCALENDAR\n";
    }

    /// A calendar with one to-do called "a", whose lines begin on line 5.
    [[nodiscard]] static std::string todo(const std::string& lines) {
        return calendar("BEGIN:VTODO\nSUMMARY:a\n" + lines + "END:VTODO\n");
    }

    [[nodiscard]] TransferEntry onlyEntry(const std::string& text) const {
        auto read = entries(text);
        EXPECT_EQ(read.size(), 1);
        return read.empty() ? TransferEntry{std::nullopt, "", false, atTheMac(), std::nullopt} : read.front();
    }

    /// When a to-do with these lines is due.
    [[nodiscard]] std::optional<Date> due(const std::string& lines) const {
        return onlyEntry(todo(lines)).condition.date();
    }

    [[nodiscard]] static Date utc(const quendokit::LocalDateTime& reading) {
        return Date(static_cast<double>(wallSeconds(reading)));
    }
};

TEST_F(TransferIcalendar, AReminderIsATodoWithAnAlarmAtItsMoment) {
    EXPECT_EQ(written({{"6F9619FF", "Call the bank, now", false, dated(1'795'302'000), Date(1'795'302'000)}}),
              "BEGIN:VCALENDAR\r\nVERSION:2.0\r\nPRODID:-//QuendoKit//quendo//EN\r\n"
              "BEGIN:VTODO\r\nUID:6F9619FF\r\nDTSTAMP:20261121T230000Z\r\nSUMMARY:Call the bank\\, now\r\n"
              "STATUS:NEEDS-ACTION\r\nX-QUENDO-COMPLETED:1795302000\r\nDUE:20261121T230000Z\r\n"
              "BEGIN:VALARM\r\nACTION:DISPLAY\r\nDESCRIPTION:Call the bank\\, now\r\nTRIGGER;RELATED=END:PT0S\r\n"
              "END:VALARM\r\nEND:VTODO\r\nEND:VCALENDAR\r\n");
}

TEST_F(TransferIcalendar, AShownReminderAtTheMacIsACompletedTodoWithoutADate) {
    EXPECT_EQ(written({{"A", "Unpack", true, atTheMac(), at6pm}}),
              "BEGIN:VCALENDAR\r\nVERSION:2.0\r\nPRODID:-//QuendoKit//quendo//EN\r\n"
              "BEGIN:VTODO\r\nUID:A\r\nDTSTAMP:20261121T230000Z\r\nSUMMARY:Unpack\r\nSTATUS:COMPLETED\r\n"
              "COMPLETED:20261121T230000Z\r\nX-QUENDO-CONDITION:MAC\r\nEND:VTODO\r\nEND:VCALENDAR\r\n");
}

TEST_F(TransferIcalendar, WhatIcalendarCannotSayComesBackAllTheSame) {
    const std::vector<TransferEntry> odd{
        {"A", "fractions", true, dated(1'795'302'000.123456), Date(1'795'302'000.75)},
        {"B", "fractions, not shown", false, dated(0.5), Date(1e-300)},
        {"C", "shown, but not completed", true, dated(1'795'302'000), std::nullopt},
        {"D", "after the year 9999", true, dated(9e15), Date(253'402'300'800)},
        {"E", "not shown, at the Mac", false, atTheMac(), Date(1'795'302'000.1)},
        {std::nullopt, "new", false, atTheMac(), std::nullopt},
    };
    EXPECT_EQ(afterRoundTrip(odd, TransferFormat::icalendar), odd);
}

TEST_F(TransferIcalendar, WhatAnotherProgramChangedBeatsOurOwnProperties) {
    const auto entry =
        onlyEntry(calendar("BEGIN:VTODO\nSUMMARY:new\nX-QUENDO-TITLE:old%0D\nDUE:20261121T230000Z\n"
                           "X-QUENDO-DUE:1795302060.5\nSTATUS:COMPLETED\nCOMPLETED:20261121T230000Z\n"
                           "X-QUENDO-COMPLETED:1795302060.5\nX-QUENDO-CONDITION:MAC\nEND:VTODO\n"));
    EXPECT_EQ(entry, (TransferEntry{std::nullopt, "new", true, dated(1'795'302'000), at6pm}));
}

TEST_F(TransferIcalendar, LinesAreFoldedWithinCharacters) {
    std::string title;
    while (title.size() < 5000) {
        title += "Käse 🧀 ";
    }
    title.pop_back();
    const std::string text = written({{"A", title, false, atTheMac(), std::nullopt}});
    for (std::size_t start = 0; start < text.size();) {
        const std::size_t end = text.find("\r\n", start);
        EXPECT_LE(end - start, 75);
        start = end + 2;
    }
    EXPECT_EQ(entries(text).at(0).title, title);
}

TEST_F(TransferIcalendar, ATimeInUtcIsThatMoment) {
    EXPECT_EQ(due("DUE:20261121T230000Z\n"), at6pm);
}

TEST_F(TransferIcalendar, ATimeWithoutZoneIsLocal) {
    EXPECT_EQ(due("DUE:20261121T180000\n"), at6pm);
    EXPECT_EQ(due("DUE;TZID=:20261121T180000\n"), at6pm);
}

TEST_F(TransferIcalendar, ADateFallsDueAtTheHourThatTheReaderIsGiven) {
    reading.timeOfDates = 64'800;
    EXPECT_EQ(due("DUE;VALUE=DATE:20261121\n"), at6pm);
    EXPECT_EQ(due("DUE:20261121\n"), at6pm);
    reading.timeOfDates = 9'000;  // 02:30, which the clocks skip on that date
    EXPECT_EQ(due("DUE;VALUE=DATE:20260308\n"), Date(1'772'953'200));
}

TEST_F(TransferIcalendar, YearsUntil9999AreTold) {
    EXPECT_EQ(due("DUE:99991231T235959Z\n"), Date(253'402'300'799));
    EXPECT_THAT(written({{"A", "far", false, dated(253'402'300'799), std::nullopt}}),
                HasSubstr("DUE:99991231T235959Z\r\n"));
}

TEST_F(TransferIcalendar, ADateFallsDueInTheMorningUnlessToldOtherwise) {
    EXPECT_EQ(due("DUE;VALUE=DATE:20261121\n"), utc({2026, 11, 21, 14, 0, 0}));
}

TEST_F(TransferIcalendar, AZoneThatTheSystemKnowsIsReadFromItsData) {
    EXPECT_EQ(due("DUE;TZID=Europe/Berlin:20261122T000000\n"), at6pm);
    EXPECT_EQ(due("due;x-a=b;tzid=\"Europe/Berlin\":20261122T000000\n"), at6pm);
    EXPECT_EQ(due("DUE;TZID=/citadel.org/20210210_1/Europe/Berlin:20261122T000000\n"), at6pm);
    EXPECT_EQ(due("DUE;TZID=America/New_York:20260308T023000\n"), Date(1'772'953'200));
}

constexpr const char* westernEurope =
    "BEGIN:VTIMEZONE\nTZID:W. Europe Standard Time\n"
    "BEGIN:STANDARD\nDTSTART:16010101T030000\nTZOFFSETFROM:+0200\nTZOFFSETTO:+0100\n"
    "RRULE:FREQ=YEARLY;INTERVAL=1;BYDAY=-1SU;BYMONTH=10\nEND:STANDARD\n"
    "BEGIN:DAYLIGHT\nDTSTART:16010101T020000\nTZOFFSETFROM:+0100\nTZOFFSETTO:+0200\n"
    "RRULE:FREQ=YEARLY;INTERVAL=1;BYDAY=-1SU;BYMONTH=3\nEND:DAYLIGHT\nEND:VTIMEZONE\n";

TEST_F(TransferIcalendar, AZoneThatTheFileDefinesIsReadByItsRules) {
    // Behind the to-do that needs it, as some programs write it.
    const auto dueAt = [&](const std::string& reading) {
        return onlyEntry(calendar("BEGIN:VTODO\nSUMMARY:a\nDUE;TZID=W. Europe Standard Time:" + reading +
                                  "\nEND:VTODO\n" + westernEurope))
            .condition.date();
    };
    EXPECT_EQ(dueAt("20261122T000000"), at6pm);
    EXPECT_EQ(dueAt("20260701T120000"), utc({2026, 7, 1, 10, 0, 0}));
    EXPECT_EQ(dueAt("20260329T015959"), utc({2026, 3, 29, 0, 59, 59}));
    EXPECT_EQ(dueAt("20260329T023000"), utc({2026, 3, 29, 1, 0, 0})) << "skipped";
    EXPECT_EQ(dueAt("20260329T030000"), utc({2026, 3, 29, 1, 0, 0}));
    EXPECT_EQ(dueAt("20261025T015959"), utc({2026, 10, 24, 23, 59, 59}));
    EXPECT_EQ(dueAt("20261025T023000"), utc({2026, 10, 25, 0, 30, 0})) << "repeated";
    EXPECT_EQ(dueAt("20261025T030000"), utc({2026, 10, 25, 2, 0, 0}));
}

TEST_F(TransferIcalendar, TheSystemsRulesOfAZoneBeatThoseOfTheFile) {
    EXPECT_EQ(onlyEntry(calendar("BEGIN:VTIMEZONE\nTZID:Europe/Berlin\nBEGIN:STANDARD\nDTSTART:19700101T000000\n"
                                 "TZOFFSETFROM:+0900\nTZOFFSETTO:+0900\nEND:STANDARD\nEND:VTIMEZONE\n"
                                 "BEGIN:VTODO\nSUMMARY:a\nDUE;TZID=Europe/Berlin:20261122T000000\nEND:VTODO\n"))
                  .condition.date(),
              at6pm);
}

TEST_F(TransferIcalendar, WithoutDueTheStartCountsAndWithoutThatTheFirstAlarmAtAMoment) {
    const std::string alarms =
        "BEGIN:VALARM\nTRIGGER;VALUE=DATE-TIME:20261122T230000Z\nEND:VALARM\n"
        "BEGIN:VALARM\nTRIGGER;VALUE=DATE-TIME:20261121T230000Z\nEND:VALARM\n"
        "BEGIN:VALARM\nTRIGGER:-PT15M\nEND:VALARM\n";
    EXPECT_EQ(due(alarms), at6pm);
    EXPECT_EQ(due(alarms + "DTSTART:20261123T230000Z\n"), utc({2026, 11, 23, 23, 0, 0}));
    EXPECT_EQ(due(alarms + "DTSTART:20261123T230000Z\nDUE:20261124T230000Z\n"), utc({2026, 11, 24, 23, 0, 0}));
}

TEST_F(TransferIcalendar, ACompletedTodoIsShown) {
    const std::string dueLine = "DUE:20261121T230000Z\n";
    const auto shown = [&](const std::string& lines) { return onlyEntry(todo(dueLine + lines)).shown; };
    EXPECT_FALSE(shown(""));
    EXPECT_FALSE(shown("STATUS:IN-PROCESS\n"));
    EXPECT_FALSE(shown("STATUS:\nCOMPLETED:\n"));
    EXPECT_TRUE(shown("status:completed\n"));
    EXPECT_TRUE(shown("COMPLETED:20261122T230000Z\n"));
    EXPECT_EQ(onlyEntry(todo(dueLine + "COMPLETED:20261121T230000Z\n")).completed, at6pm);
}

TEST_F(TransferIcalendar, TextIsReadWithItsEscapesParametersAndFolds) {
    EXPECT_EQ(onlyEntry(calendar(
                  "BEGIN:VTODO\r\nSUMMARY;LANGUAGE=de;ALTREP=\"x:y\":Milch\\, Brot\\; K\xC3\r\n \xA4se\\nund \r\n"
                  "\tWein\\\\\r\nUID:a\\,b\r\nX-QUENDO-CONDITION:mac\r\nEND:VTODO\r\n")),
              (TransferEntry{"a,b", "Milch, Brot; Käse\nund Wein\\", false, atTheMac(), std::nullopt}));
}

TEST_F(TransferIcalendar, PropertiesThatNobodyAskedForMayBeUnreadable) {
    EXPECT_EQ(due("noise\nDESCRIPTION:\nPRIORITY:high\nCREATED:yesterday\nDUE:20261121T230000Z\nDUE:again\n"), at6pm);
}

TEST_F(TransferIcalendar, EntriesKnowWhereTheyStood) {
    const std::string one = "BEGIN:VTODO\nSUMMARY:a\nX-QUENDO-CONDITION:MAC\nEND:VTODO\n";
    const auto read = entries(calendar(one + "BEGIN:VEVENT\nSUMMARY:b\n folded\nEND:VEVENT\n" + one));
    ASSERT_EQ(read.size(), 2);
    EXPECT_EQ(placeText(read[0].place), "entry 1 (line 3)");
    EXPECT_EQ(placeText(read[1].place), "entry 2 (line 11)");
}

TEST_F(TransferIcalendar, SeveralCalendarsInOneFileAreReadTogether) {
    EXPECT_EQ(entries(todo("DUE:20261121\n") + "\n" + todo("DUE:20261121\n")).size(), 2);
}

TEST_F(TransferIcalendar, WhatIsNoOpenTodoIsLeftOutWithAWarning) {
    const std::string event = "BEGIN:VEVENT\nSUMMARY:b\nBEGIN:VALARM\nEND:VALARM\nEND:VEVENT\n";
    const std::string dueLine = "SUMMARY:a\nUID:1\nDUE:20261121T230000Z\n";
    const auto read = document(calendar(event + event + "BEGIN:VJOURNAL\nEND:VJOURNAL\n" +  //
                                        "BEGIN:VTODO\nSTATUS:CANCELLED\nEND:VTODO\n" + "BEGIN:VTODO\n" + dueLine +
                                        "RRULE:FREQ=DAILY\nEND:VTODO\n" + "BEGIN:VTODO\n" + dueLine +
                                        "RECURRENCE-ID:20261122T230000Z\nEND:VTODO\n"));
    EXPECT_EQ(read.entries.size(), 1);
    EXPECT_THAT(read.warnings, ElementsAre("3 parts that are no to-dos (events, for example) were left out",
                                           "1 cancelled to-do was left out",
                                           "1 to-do repeats; it became a reminder for its first date",
                                           "1 changed date of a repeating to-do was left out"));
}

TEST_F(TransferIcalendar, AFileOfPlainTodosHasNoWarnings) {
    EXPECT_THAT(document(todo("DUE:20261121\n")).warnings, IsEmpty());
    EXPECT_THAT(document(calendar(westernEurope)).warnings, IsEmpty());
}

TEST_F(TransferIcalendar, ProgressOfReadingCountsBytesAndEnds) {
    std::vector<std::pair<std::size_t, std::size_t>> heard;
    const std::vector<TransferEntry> many(1500, TransferEntry{std::nullopt, "a", false, atTheMac(), std::nullopt});
    writing.progress = reading.progress = [&](std::size_t done, std::size_t total) { heard.emplace_back(done, total); };
    const std::string text = written(many);
    EXPECT_THAT(heard, ElementsAre(std::pair(1000, 1500), std::pair(1500, 1500)));
    heard.clear();
    EXPECT_EQ(entries(text).size(), 1500);
    ASSERT_EQ(heard.size(), 2);
    EXPECT_LT(heard.front().first, text.size());
    EXPECT_EQ(heard.back(), std::pair(text.size(), text.size()));
}

}  // namespace
}  // namespace quendo

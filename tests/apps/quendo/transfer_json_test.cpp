#include <cmath>

#include <nlohmann/json.hpp>

#include "tests/apps/quendo/transfer_fixture.hpp"

namespace quendo {
namespace {

using nlohmann::json;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

const TransferEntry bank{"6F9619FF-8B86-4D01-B42D-00CF4FC964FF", "Call the bank", false, dated(1'795'302'000),
                         quendokit::Date(1'795'302'000)};

class TransferJson : public Transferring {
protected:
    [[nodiscard]] std::string written(const std::vector<TransferEntry>& entries) const {
        return writeTransfer(entries, TransferFormat::json, writing);
    }

    /// The refusal of a list whose second entry is `entry`, without the part that names it.
    [[nodiscard]] std::string refusalOfEntry(const std::string& entry) const {
        const std::string line =
            refusal("[{\"title\": \"a\", \"condition\": {\"type\": \"device\", \"device\": \"mac\"}},\n" + entry + "]");
        const std::string place = "reminders: entry 2 (line 2): ";
        EXPECT_TRUE(line.starts_with(place)) << line;
        return line.substr(std::min(place.size(), line.size()));
    }

    [[nodiscard]] std::string refusalOfCondition(const std::string& condition) const {
        return refusalOfEntry("{\"title\": \"b\", \"condition\": " + condition + "}");
    }

    /// The moment that `{"type": "dateTime", …}` with these members means.
    [[nodiscard]] std::optional<quendokit::Date> moment(const std::string& members) const {
        const auto read = entries("[{\"title\": \"a\", \"condition\": {\"type\": \"dateTime\", " + members + "}}]");
        return read.empty() ? std::nullopt : read.front().condition.date();
    }
};

TEST_F(TransferJson, AReminderIsWrittenAsListsShowItAndWithItsCompletion) {
    TransferEntry entry = bank;
    entry.standing = TransferStanding{quendokit::ReminderList::upcoming, true, false};
    EXPECT_EQ(json::parse(written({entry})), json::parse(R"([{
        "id": "6F9619FF-8B86-4D01-B42D-00CF4FC964FF", "title": "Call the bank", "shown": false,
        "condition": {"type": "dateTime", "date": "2026-11-21T18:00:00-05:00", "epoch": 1795302000},
        "list": "upcoming", "pending": true, "deleted": false,
        "completed": {"date": "2026-11-21T18:00:00-05:00", "epoch": 1795302000}}])"));
}

TEST_F(TransferJson, AReminderInNoListIsWrittenWithNull) {
    TransferEntry entry{"A", "Unpack", true, atTheMac(), std::nullopt};
    entry.standing = TransferStanding{std::nullopt, false, true};
    EXPECT_EQ(json::parse(written({entry})), json::parse(R"([{
        "id": "A", "title": "Unpack", "shown": true, "condition": {"type": "device", "device": "mac"},
        "list": null, "pending": false, "deleted": true, "completed": null}])"));
}

TEST_F(TransferJson, WithoutIdAndStandingTheirMembersAreLeftOut) {
    EXPECT_EQ(written({{std::nullopt, "Unpack", false, atTheMac(), std::nullopt}}),
              "[\n{\"title\":\"Unpack\",\"shown\":false,\"condition\":{\"type\":\"device\",\"device\":\"mac\"},"
              "\"completed\":null}\n]\n");
}

TEST_F(TransferJson, NoEntriesAreAnEmptyListThatIsReadAgain) {
    EXPECT_EQ(written({}), "[]\n");
    EXPECT_THAT(entries("[]"), IsEmpty());
}

TEST_F(TransferJson, WhatIsNoUtf8InTheDatabaseIsWrittenSoThatItCanBeReadAgain) {
    const TransferEntry odd{"A", std::string("a\xFF") + '\0' + "b\xC3", false, atTheMac(), std::nullopt};
    EXPECT_EQ(entries(written({odd})).at(0).title, "a\uFFFD\uFFFDb\uFFFD");
}

TEST_F(TransferJson, AWrittenReminderIsReadAsItWas) {
    const TransferEntry mac{"B", "Unpack", true, atTheMac(), quendokit::Date(1'795'300'000.123456)};
    EXPECT_THAT(entries(written({bank, mac})), ElementsAre(bank, mac));
}

TEST_F(TransferJson, EntriesKnowWhereTheyStood) {
    const auto read = entries(
        " \n[{\"title\": \"a\", \"condition\": {\"type\": \"device\", \"device\": \"mac\"}},\n\n{\n"
        "\"title\": \"b\", \"condition\": {\"type\": \"device\", \"device\": \"mac\"}}]");
    ASSERT_EQ(read.size(), 2);
    EXPECT_EQ(placeText(read[0].place), "entry 1 (line 2)");
    EXPECT_EQ(placeText(read[1].place), "entry 2 (line 4)");
}

TEST_F(TransferJson, WhatTellsOfADeviceAndWhatIsUnknownIsIgnored) {
    const auto read = entries(R"([{"title": "a", "condition": {"type": "device", "device": "mac", "x": [1, {"y": 2}]},
        "list": 5, "pending": "yes", "deleted": true, "colour": {"red": [[], {}]}}])");
    EXPECT_THAT(read, ElementsAre(TransferEntry{std::nullopt, "a", false, atTheMac(), std::nullopt}));
    EXPECT_FALSE(read.front().standing);
}

TEST_F(TransferJson, NullInTheOptionalMembersMeansThatTheyAreAbsent) {
    EXPECT_THAT(entries(R"([{"id": null, "title": "a", "shown": null, "completed": null,
        "condition": {"type": "device", "device": "mac"}}])"),
                ElementsAre(TransferEntry{std::nullopt, "a", false, atTheMac(), std::nullopt}));
}

TEST_F(TransferJson, SecondsBeatTheDateBesideThem) {
    EXPECT_EQ(moment(R"("date": "2030-01-01T00:00:00Z", "epoch": 1795302000.5)"), quendokit::Date(1'795'302'000.5));
    EXPECT_EQ(moment(R"("date": "nonsense", "epoch": 1795302000)"), at6pm);
}

TEST_F(TransferJson, ADateAloneIsReadWithItsOffsetOrInTheLocalZone) {
    EXPECT_EQ(moment(R"("date": "2026-11-21T18:00:00-05:00")"), at6pm);
    EXPECT_EQ(moment(R"("date": "2026-11-21T23:00:00Z", "epoch": null)"), at6pm);
    EXPECT_EQ(moment(R"("date": "2026-11-21 18:00")"), at6pm);
}

TEST_F(TransferJson, AByteOrderMarkIsSkipped) {
    EXPECT_THAT(entries("\xEF\xBB\xBF[]"), IsEmpty());
}

TEST_F(TransferJson, ProgressCountsEntriesWhenWritingAndBytesWhenReadingAndEnds) {
    std::vector<std::pair<std::size_t, std::size_t>> heard;
    writing.progress = reading.progress = [&](std::size_t done, std::size_t total) { heard.emplace_back(done, total); };
    std::vector<TransferEntry> many(2500, TransferEntry{std::nullopt, "a", false, atTheMac(), std::nullopt});
    const std::string text = written(many);
    EXPECT_THAT(heard, ElementsAre(std::pair(1000, 2500), std::pair(2000, 2500), std::pair(2500, 2500)));
    heard.clear();
    EXPECT_EQ(entries(text).size(), 2500);
    ASSERT_EQ(heard.size(), 3);
    EXPECT_NEAR(static_cast<double>(heard[0].first), static_cast<double>(text.size()) * 0.4, 100);
    EXPECT_EQ(heard.back(), std::pair(text.size(), text.size()));
}

TEST_F(TransferJson, AnythingButAListIsRefused) {
    EXPECT_EQ(refusal("\n{\"title\": \"a\"}"),
              "reminders: line 2: this is no list of reminders; put them between [ and ], "
              "with commas between them");
}

TEST_F(TransferJson, AnEntryThatIsNoObjectIsRefused) {
    EXPECT_EQ(refusalOfEntry("17"), "a number is no reminder; write {\"title\": …, \"condition\": …}");
    EXPECT_EQ(refusalOfEntry("[]"), "a list is no reminder; write {\"title\": …, \"condition\": …}");
    EXPECT_EQ(refusalOfEntry("null"), "null is no reminder; write {\"title\": …, \"condition\": …}");
}

TEST_F(TransferJson, EveryCutInTheMiddleIsRefusedNamingTheLastLine) {
    const std::string whole = written({bank, {"B", "Käse 🧀", true, atTheMac(), at6pm}});
    const std::size_t end = whole.find_last_of(']');
    for (std::size_t length = 1; length <= end; ++length) {
        const std::string line = refusal(whole.substr(0, length));
        const bool named = line.starts_with("reminders: line ");
        const bool toldToGetAll = line.ends_with(": the file is cut off here; get the whole file");
        ASSERT_TRUE(named && toldToGetAll) << length << ": " << line;
    }
    EXPECT_EQ(refusal(whole.substr(0, end)), "reminders: line 3: the file is cut off here; get the whole file");
}

TEST_F(TransferJson, WhatIsNoJsonIsRefusedAtItsPlace) {
    EXPECT_EQ(refusal("[\n  {\"title\": x}]"),
              "reminders: line 2, column 13: this is no JSON; mend it there, or export again");
    EXPECT_EQ(refusal("[] []"), "reminders: line 1, column 4: this is no JSON; mend it there, or export again");
    EXPECT_EQ(refusal("[{\"title\": \"\xFF\"}]"),
              "reminders: line 1, column 13: this is no JSON; mend it there, or export again");
    EXPECT_EQ(refusal("[{\"title\": \"\\uD800\"}]"),
              "reminders: line 1, column 19: this is no JSON; mend it there, or export again");
    EXPECT_EQ(refusal("[{\"x\": 1e999}]"),
              "reminders: line 1, column 12: this is no JSON; mend it there, or export again");
}

TEST_F(TransferJson, DeepNestingIsRefusedBeforeItCanExhaustTheProgram) {
    const std::string deep(1'000'000, '[');
    EXPECT_EQ(refusalOfEntry("{\"x\": " + deep), "its members are nested more than 32 deep; remove them");
    EXPECT_EQ(refusalOfEntry("{\"x\": " + std::string(32, '[')),
              "its members are nested more than 32 deep; remove them");
    const std::string justDeepEnough = std::string(31, '[') + std::string(31, ']');
    EXPECT_EQ(refusalOfEntry("{\"x\": " + justDeepEnough + "}"), "title is missing; add it");
}

TEST_F(TransferJson, MissingMembersAreNamed) {
    EXPECT_EQ(refusalOfEntry("{}"), "title is missing; add it");
    EXPECT_EQ(refusalOfEntry(R"({"title": null})"), "title is missing; add it");
    EXPECT_EQ(refusalOfEntry(R"({"title": "b"})"), "condition is missing; add it");
    EXPECT_EQ(refusalOfCondition("{}"), "condition.type is missing; add it");
    EXPECT_EQ(refusalOfCondition(R"({"type": "device"})"), "condition.device is missing; add it");
    EXPECT_EQ(refusalOfCondition(R"({"type": "dateTime"})"),
              "condition.epoch and condition.date are missing; give one of them");
    EXPECT_EQ(refusalOfEntry(R"({"title": "b", "completed": {}, "condition": {"type": "device", "device": "mac"}})"),
              "completed.epoch and completed.date are missing; give one of them");
}

TEST_F(TransferJson, WrongTypesAreNamed) {
    EXPECT_EQ(refusalOfEntry(R"({"title": 5})"), "title is a number; write a text in quotes");
    EXPECT_EQ(refusalOfCondition("[]"), "condition is a list; write an object");
    EXPECT_EQ(refusalOfCondition(R"({"type": true})"), "condition.type is true or false; write a text in quotes");
    EXPECT_EQ(refusalOfCondition(R"({"type": "device", "device": {}})"),
              "condition.device is an object; write a text in quotes");
    EXPECT_EQ(refusalOfCondition(R"({"type": "dateTime", "epoch": "1795302000"})"),
              "condition.epoch is a text; write seconds since 1970 as a number");
    EXPECT_EQ(refusalOfCondition(R"({"type": "dateTime", "date": 1795302000})"),
              "condition.date is a number; write a text in quotes");
    const std::string good = R"("title": "b", "condition": {"type": "device", "device": "mac"}})";
    EXPECT_EQ(refusalOfEntry(R"({"id": 7, )" + good), "id is a number; write a text in quotes");
    EXPECT_EQ(refusalOfEntry(R"({"shown": 1, )" + good), "shown is a number; write true or false");
    EXPECT_EQ(refusalOfEntry(R"({"completed": 1795302000, )" + good), "completed is a number; write an object");
}

TEST_F(TransferJson, UnknownConditionsAreRefused) {
    EXPECT_EQ(refusalOfCondition(R"({"type": "place\u001b"})"),
              R"(condition.type "place\u001B" is unknown; write "dateTime" or "device")");
    EXPECT_EQ(refusalOfCondition(R"({"type": "device", "device": "watch"})"),
              R"(condition.device "watch" is unknown; write "mac")");
}

TEST_F(TransferJson, TitlesThatSayNothingOrCannotBeShownAreRefused) {
    EXPECT_EQ(refusalOfEntry(R"({"title": ""})"), "the title is empty; say what to be reminded of");
    EXPECT_EQ(refusalOfEntry(R"({"title": " \t\n "})"), "the title is empty; say what to be reminded of");
    EXPECT_EQ(refusalOfEntry(R"({"title": "a\u0000b"})"), "the title holds a NUL character; remove it");
}

TEST_F(TransferJson, IdentifiersThatTheCloudWouldRefuseAreRefused) {
    const auto refusalOfId = [&](const std::string& id) {
        return refusalOfEntry(R"({"title": "b", "condition": {"type": "device", "device": "mac"}, "id": ")" + id +
                              "\"}");
    };
    EXPECT_EQ(refusalOfId(""), "the identifier is empty; leave it out for a new reminder");
    EXPECT_EQ(refusalOfId(std::string(256, 'x')),
              "the identifier has 256 characters; give at most 255, or leave it out for a new reminder");
    EXPECT_EQ(refusalOfId("ä"),
              "the identifier \"ä\" is not of printable ASCII characters; use letters, digits and signs");
    EXPECT_EQ(refusalOfId("a\\u007F"),
              "the identifier \"a\\u007F\" is not of printable ASCII characters; use letters, "
              "digits and signs");
    EXPECT_EQ(refusalOfId("a "), "the identifier \"a \" begins or ends with a blank; remove it");
    const std::string longest(255, '~');
    EXPECT_EQ(entries(R"([{"title": "b", "condition": {"type": "device", "device": "mac"}, "id": ")" + longest + "\"}]")
                  .at(0)
                  .id,
              longest);
}

TEST_F(TransferJson, AnIdentifierThatComesTwiceIsRefusedNamingBothEntries) {
    EXPECT_EQ(refusal(written({bank, {"B", "b", false, atTheMac(), std::nullopt}, bank})),
              "reminders: entry 3 (line 4): the identifier \"6F9619FF-8B86-4D01-B42D-00CF4FC964FF\" is that of entry 1 "
              "(line 2) too; remove one of the two");
}

TEST_F(TransferJson, MomentsThatCannotBeMeantAreRefused) {
    const auto refusalOfEpoch = [&](const std::string& epoch) {
        return refusalOfCondition("{\"type\": \"dateTime\", \"epoch\": " + epoch + "}");
    };
    const std::string early = "condition.epoch is not after 1970-01-01; give a later one";
    const std::string far = "condition.epoch lies too far away; give at most 2^53 seconds since 1970";
    EXPECT_EQ(refusalOfEpoch("0"), early);
    EXPECT_EQ(refusalOfEpoch("-1e300"), early);
    EXPECT_EQ(refusalOfEpoch("9007199254740994"), far);
    EXPECT_EQ(refusalOfEpoch("99999999999999999999999999"), far);
    EXPECT_EQ(moment("\"epoch\": 9007199254740992"), quendokit::Date(std::ldexp(1.0, 53)));
    EXPECT_EQ(moment("\"epoch\": 5e-324"), quendokit::Date(5e-324));
    EXPECT_EQ(refusalOfEntry(
                  R"({"title": "b", "condition": {"type": "device", "device": "mac"}, "completed": {"epoch": 0}})"),
              "completed.epoch is not after 1970-01-01; give a later one");
    EXPECT_EQ(refusalOfCondition(R"({"type": "dateTime", "date": "1970-01-01T00:00:00Z"})"),
              "condition.date is not after 1970-01-01; give a later one");
}

TEST_F(TransferJson, DatesThatCannotBeReadOrDependOnNowAreRefused) {
    for (const std::string text :
         {"tomorrow", "18:00", "+20m", "@1795302000", "2026-13-01", "2026-11-21T18:00:00.5Z"}) {
        EXPECT_EQ(refusalOfCondition("{\"type\": \"dateTime\", \"date\": \"" + text + "\"}"),
                  "condition.date \"" + text + "\" cannot be read; write it as 2026-11-21T18:00:00-05:00");
    }
}

}  // namespace
}  // namespace quendo

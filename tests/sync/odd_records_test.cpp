/// \file
/// Records of the cloud that this program did not write, or not like this: each is read exactly or passed over as a
/// whole.

#include <cstdint>
#include <limits>
#include <map>
#include <ostream>

#include "tests/support/synced_controller_fixture.hpp"

namespace quendokit::testing {
namespace {

constexpr double infinity = std::numeric_limits<double>::infinity();
constexpr double notANumber = std::numeric_limits<double>::quiet_NaN();
constexpr double moment = 1'795'400'000.5;

/// A record, and what is to become of it.
struct OddRecord {
    std::string name;
    std::map<std::string, CKRecordValue> values;
    std::string recordName = "a";
    std::string recordType = "Reminder";
    std::string zoneName = "Reminder Zone";
    /// The reminder as text; absent when the record is passed over.
    std::optional<std::string> read = std::nullopt;
    /// False for a reminder that the database refuses.
    bool storable = true;

    [[nodiscard]] CKRecord record() const {
        auto record = CKRecord::make(recordType, {recordName, CKRecordZoneID{zoneName}}).value();
        for (const auto& [key, value] : values) {
            record.setObject(key, value);
        }
        return record;
    }
};

/// For messages of the tests.
void PrintTo(const OddRecord& odd, std::ostream* out) {
    *out << odd.name;
}

CKRecordValue whole(std::int64_t value) {
    return CKNumber(value);
}
CKRecordValue fractional(double value) {
    return CKNumber(value);
}
CKRecordValue boolean(bool value) {
    return CKNumber(value);
}
CKRecordValue at(double seconds) {
    return Date(seconds);
}
CKRecordValue words(const std::string& text) {
    return text;
}

OddRecord dated(std::string name) {
    return {std::move(name),
            {{"title", words("bank")},
             {"shown", boolean(false)},
             {"internal_date", at(moment)},
             {"internal_device", whole(-1)}}};
}

std::string datedText(double seconds, bool shown = false) {
    return "a: \"bank\"" + std::string(shown ? " shown" : "") + " at " + text(Date(seconds));
}

const char* const atMacText = R"(a: "bank" at the Mac)";

class Table {
public:
    /// A dated record with one value in another's place.
    void add(const std::string& name, const std::string& key, CKRecordValue value,
             std::optional<std::string> read = std::nullopt) {
        OddRecord odd = dated(name);
        odd.values.insert_or_assign(key, std::move(value));
        odd.read = std::move(read);
        rows.push_back(std::move(odd));
    }
    void addShown(const std::string& name, CKRecordValue shown, bool read) {
        add("Shown" + name, "shown", std::move(shown), datedText(moment, read));
    }
    /// One with both halves of the condition given.
    void addCondition(const std::string& name, double seconds, CKRecordValue device,
                      std::optional<std::string> read = std::nullopt, bool storable = true) {
        OddRecord odd = dated(name);
        odd.values.insert_or_assign("internal_date", at(seconds));
        odd.values.insert_or_assign("internal_device", std::move(device));
        odd.read = std::move(read);
        odd.storable = storable;
        rows.push_back(std::move(odd));
    }
    void addNamed(const std::string& name, const std::string& recordName) {
        OddRecord odd = dated(name);
        odd.recordName = recordName;
        odd.read = recordName + datedText(moment).substr(1);
        rows.push_back(std::move(odd));
    }

    std::vector<OddRecord> rows;
};

void addWrongKinds(Table& table) {
    const std::map<std::string, CKRecordValue> kinds{{"Text", words("1")},  {"Boolean", boolean(true)},
                                                     {"Integer", whole(1)}, {"Double", fractional(1)},
                                                     {"Date", at(1)},       {"Bytes", std::vector{std::byte{1}}}};
    const std::map<std::string, std::vector<std::string>> wrong{
        {"title", {"Boolean", "Integer", "Double", "Date", "Bytes"}},
        {"shown", {"Text", "Date", "Bytes"}},
        {"internal_date", {"Text", "Boolean", "Integer", "Double", "Bytes"}},
        {"internal_device", {"Text", "Date", "Bytes"}}};
    for (const auto& [key, names] : wrong) {
        OddRecord missing = dated("Without_" + key);
        missing.values.erase(key);
        table.rows.push_back(std::move(missing));
        for (const std::string& kind : names) {
            table.add(kind + "As_" + key, key, kinds.at(kind));
        }
    }
    table.rows.push_back({"WithoutAnything", {}});
}

void addNumbersAsShown(Table& table) {
    table.addShown("False", boolean(false), false);
    table.addShown("True", boolean(true), true);
    table.addShown("0", whole(0), false);
    table.addShown("1", whole(1), true);
    table.addShown("2", whole(2), true);
    table.addShown("Minus1", whole(-1), true);
    table.addShown("0Point0", fractional(0), false);
    table.addShown("Minus0Point0", fractional(-0.0), false);
    table.addShown("1Point0", fractional(1), true);
    table.addShown("0Point5", fractional(0.5), true);
    table.addShown("NaN", fractional(notANumber), true);
}

/// Devices of a record with a moment, and of one without.
void addDevices(Table& table) {
    const std::map<std::string, CKRecordValue> unknown{{"0", whole(0)},
                                                       {"False", boolean(false)},
                                                       {"2", whole(2)},
                                                       {"2Point0", fractional(2)},
                                                       {"Minus2", whole(-2)},
                                                       {"2To40", whole(std::int64_t{1} << 40)},
                                                       {"LowWord1", whole((std::int64_t{1} << 32) + 1)},
                                                       {"LowWordMinus1", whole(0xFFFF'FFFF)},
                                                       {"Least", whole(std::numeric_limits<std::int64_t>::min())},
                                                       {"Most", whole(std::numeric_limits<std::int64_t>::max())},
                                                       {"1Point5", fractional(1.5)},
                                                       {"Minus1Point5", fractional(-1.5)},
                                                       {"NaN", fractional(notANumber)},
                                                       {"Infinity", fractional(infinity)},
                                                       {"MinusInfinity", fractional(-infinity)},
                                                       {"2To63", fractional(9'223'372'036'854'775'808.0)},
                                                       {"2To64Less1", fractional(18'446'744'073'709'551'615.0)}};
    for (const auto& [name, device] : unknown) {
        table.addCondition("Device" + name + "AtAMoment", moment, device);
        table.addCondition("Device" + name + "AtTheEpoch", 0, device);
    }
    const std::map<std::string, CKRecordValue> none{{"Minus1", whole(-1)}, {"Minus1Point0", fractional(-1)}};
    for (const auto& [name, device] : none) {
        table.addCondition("Device" + name + "AtAMoment", moment, device, datedText(moment));
        table.addCondition("Device" + name + "AtTheEpoch", 0, device, datedText(0));
    }
    const std::map<std::string, CKRecordValue> mac{
        {"1", whole(1)}, {"1Point0", fractional(1)}, {"True", boolean(true)}};
    for (const auto& [name, device] : mac) {
        table.addCondition("Device" + name + "AtAMoment", moment, device);
        table.addCondition("Device" + name + "AtTheEpoch", 0, device, atMacText);
    }
}

void addDates(Table& table) {
    table.addCondition("MacAtMinusZero", -0.0, whole(1), atMacText);
    const std::map<std::string, double> beside{
        {"ASecondLate", 1},       {"ASecondEarly", -1}, {"ANanosecondLate", 1e-9}, {"ANanosecondEarly", -1e-9},
        {"TheLeastLate", 5e-324}, {"NaN", notANumber},  {"Infinity", infinity},    {"MinusInfinity", -infinity}};
    for (const auto& [name, seconds] : beside) {
        table.addCondition("MacAt" + name, seconds, whole(1));
    }
    const std::map<std::string, double> odd{
        {"Negative", -5.25},   {"BeforeYear1", -1e12}, {"Year10000", 253'402'300'800}, {"Huge", 1e308},
        {"MinusHuge", -1e308}, {"2To63", 9.3e18},      {"TheLeast", 5e-324},           {"BesideEpoch", 1e-9}};
    for (const auto& [name, seconds] : odd) {
        table.addCondition("Date" + name, seconds, whole(-1), datedText(seconds));
    }
    for (const auto& [name, seconds] :
         std::map<std::string, double>{{"NaN", notANumber}, {"Infinity", infinity}, {"MinusInfinity", -infinity}}) {
        table.addCondition("Date" + name, seconds, whole(-1), datedText(seconds), false);
    }
}

void addTitlesAndNames(Table& table) {
    for (const auto& [name, title] : std::map<std::string, std::string>{{"Empty", ""},
                                                                        {"OfAMegabyte", std::string(1'000'000, 'x')},
                                                                        {"WithANull", std::string("a\0b", 3)},
                                                                        {"WithALineFeed", "a\nb"},
                                                                        {"OfNoUtf8", "\xFF\xC3"},
                                                                        {"WithAFormat", "%s%n {}"}}) {
        table.add("Title" + name, "title", words(title), "a: \"" + title + "\" at " + text(Date(moment)));
    }
    table.addNamed("NameOfOneCharacter", " ");
    table.addNamed("NameOf255Characters", std::string(255, 'n'));
    table.addNamed("NameOfAPath", "../x");
    table.addNamed("NameWithQuotes", "a'; DROP TABLE \"ReminderItem\"");
}

void addStrangers(Table& table) {
    OddRecord type = dated("OfAnotherType");
    type.recordType = "Note";
    type.read = datedText(moment);
    table.rows.push_back(type);
    type.name = "OfAnotherTypeWithoutATitle";
    type.values.erase("title");
    type.read.reset();
    table.rows.push_back(type);
    OddRecord zone = dated("OfAnotherZone");
    zone.zoneName = "Other Zone";
    zone.read = datedText(moment);
    table.rows.push_back(zone);
    OddRecord extra = dated("WithMoreKeys");
    for (const char* key : {"ID", "deleted", "pending", "completionDate", "Title", "", "_device"}) {
        extra.values.emplace(key, boolean(true));
    }
    extra.read = datedText(moment);
    table.rows.push_back(extra);
}

std::vector<OddRecord> oddRecords() {
    Table table;
    addWrongKinds(table);
    addNumbersAsShown(table);
    addDevices(table);
    addDates(table);
    addTitlesAndNames(table);
    addStrangers(table);
    return table.rows;
}

class DownloadsOfOddRecords : public SyncedControllerFixture {
protected:
    static ReminderItem earlier(const std::string& id) { return datedItem(id, Date(1'795'310'000)); }
    static ReminderItem sound(const std::string& id) { return datedItem(id, Date(1'795'400'000)); }

    void send(const Download& page, const CKRecord& record) {
        onCloud([page, record] { page->recordChanged(record); });
    }
    [[nodiscard]] CKRecord titled(const std::string& title) const {
        ReminderItem item = sound("a");
        item.title = title;
        return makeCKRecord(item, zoneID).value();
    }
    /// Lets the page end and everything be done.
    void finish(const Download& page) {
        endPage(page, "T1");
        runCloud();
        runMain();
    }
    [[nodiscard]] Lines storedTitles() const {
        Lines titles;
        for (const ReminderItem& item : realm->objects<ReminderItem>().sorted("ID", true).toVector()) {
            titles.push_back(item.ID + " " + item.title);
        }
        return titles;
    }
};

class OddRecords : public DownloadsOfOddRecords, public ::testing::WithParamInterface<OddRecord> {
protected:
    /// A page of a sound record, the odd one and another sound one; what is expected of it in a database that held
    /// `before`, as it was and as it is now by the ids of its records.
    void expectPageOver(const std::vector<ReminderItem>& before) {
        begin();
        put(before);
        std::map<std::string, std::string> expected;
        for (const ReminderItem& item : before) {
            expected[item.ID] = text(item);
        }
        Lines lines{"☁️ Received: b"};
        Lines printed{"🗃 [store] b"};
        const OddRecord& odd = GetParam();
        if (odd.read) {
            lines.push_back("☁️ Received: " + odd.recordName);
            printed.push_back("🗃 [store] " + odd.recordName);
        }
        if (odd.read && odd.storable) {
            expected[odd.recordName] = text(ReminderItem(makeReminderStruct(odd.record()).value()));
        }
        lines.insert(lines.end(), {"☁️ Received: c", finishedRemote});
        printed.push_back("🗃 [store] c");
        lines.insert(lines.end(), printed.begin(), printed.end());
        expected["b"] = text(sound("b"));
        expected["c"] = text(sound("c"));

        const auto page = download();
        sendChanged(page, sound("b"));
        send(page, odd.record());
        sendChanged(page, sound("c"));
        finish(page);
        EXPECT_EQ(taken(), lines);
        Lines texts;
        for (const auto& [id, each] : expected) {
            texts.push_back(each);
        }
        EXPECT_EQ(stored(), texts);
        EXPECT_TRUE(defaults->object(tokenKey));
    }
};

TEST_P(OddRecords, AreReadExactlyOrNotAtAll) {
    const auto reminder = makeReminderStruct(GetParam().record());
    ASSERT_EQ(reminder.has_value(), GetParam().read.has_value());
    if (reminder) {
        EXPECT_EQ(text(*reminder), *GetParam().read);
    }
}

TEST_P(OddRecords, ThatAreNewAreStoredOrLeaveNoTrace) {
    expectPageOver({});
}

TEST_P(OddRecords, OverAnEarlierOneReplaceItOrLeaveItWhole) {
    ReminderItem kept = earlier(GetParam().recordName);
    kept.pending = true;
    kept.shown = true;
    expectPageOver({kept, earlier("b")});
}

TEST_P(OddRecords, NeverReviveADeletedOne) {
    begin();
    const ReminderItem gone = deleted(earlier(GetParam().recordName));
    put({gone});
    const auto page = download();
    send(page, GetParam().record());
    finish(page);
    EXPECT_EQ(stored(), textsOf({gone}));
}

INSTANTIATE_TEST_SUITE_P(OfTheCloud, OddRecords, ::testing::ValuesIn(oddRecords()),
                         [](const ::testing::TestParamInfo<OddRecord>& each) { return each.param.name; });

TEST_F(DownloadsOfOddRecords, ARecordThatIsDeletedAndThenChangedInOnePageStays) {
    begin();
    put({earlier("a")});
    const auto page = download();
    sendDeleted(page, "a");
    sendChanged(page, sound("a"));
    finish(page);
    EXPECT_EQ(taken(), (Lines{"☁️ Deleted: a", "☁️ Received: a", finishedRemote, "🗃 [store] a"}));
    EXPECT_EQ(stored(), textsOf({sound("a")}));
}

TEST_F(DownloadsOfOddRecords, ARecordThatIsChangedAndThenDeletedInOnePageIsGone) {
    begin();
    put({earlier("a")});
    const auto page = download();
    sendChanged(page, sound("a"));
    sendDeleted(page, "a");
    finish(page);
    EXPECT_EQ(taken(), (Lines{"☁️ Received: a", "☁️ Deleted: a", finishedRemote, "🗃 [store] a"}));
    EXPECT_EQ(stored(), Lines{});
}

TEST_F(DownloadsOfOddRecords, OfARecordThatComesTwiceInOnePageTheSecondStands) {
    begin();
    const auto page = download();
    send(page, titled("first"));
    send(page, titled("second"));
    finish(page);
    EXPECT_EQ(storedTitles(), Lines{"a second"});
}

TEST_F(DownloadsOfOddRecords, OfARecordThatComesTwiceTheOneThatCanBeReadStands) {
    begin();
    const auto page = download();
    CKRecord odd = titled("unreadable");
    odd.setObject("internal_device", CKNumber(std::int64_t{2}));
    CKRecord unstorable = titled("unstorable");
    unstorable.setObject("internal_date", Date(notANumber));
    for (const CKRecord& record : {odd, titled("sound"), odd, unstorable}) {
        send(page, record);
    }
    finish(page);
    EXPECT_EQ(storedTitles(), Lines{"a sound"});
}

TEST_F(DownloadsOfOddRecords, ADeletionOfAnOddNameDeletesNothingElseAndIsLogged) {
    begin();
    put({earlier("a")});
    const auto page = download();
    const Lines names{"", "A", "a ", "*", "../a", std::string(256, 'a')};
    Lines lines;
    for (const std::string& name : names) {
        sendDeleted(page, name);
        lines.push_back("☁️ Deleted: " + name);
    }
    lines.push_back(finishedRemote);
    finish(page);
    EXPECT_EQ(taken(), lines);
    EXPECT_EQ(stored(), textsOf({earlier("a")}));
}

}  // namespace
}  // namespace quendokit::testing

#include "quendokit/sync/reminder_record.hpp"

#include <limits>

#include <gtest/gtest.h>

#include "tests/support/reminder_items.hpp"

namespace quendokit::testing {
namespace {

const CKRecordZoneID zone{"Reminder Zone"};

CKRecord recordOf(const ReminderItem& item) {
    return makeCKRecord(item, zone).value();
}

/// The record of a sound reminder with one value in another's place.
CKRecord with(const std::string& key, CKRecordValue value) {
    CKRecord record = recordOf(datedItem("a", Date(1'795'302'000)));
    record.setObject(key, std::move(value));
    return record;
}

TEST(ReminderRecords, HoldTheItemsFourColumnsAndNoMore) {
    ReminderItem item = datedItem("6F9619FF", Date(1'795'302'000.25));
    item.title = "Call the bank";
    item.shown = true;
    item.deleted = true;
    item.pending = true;
    const CKRecord record = recordOf(item);
    EXPECT_EQ(record.recordType(), "Reminder");
    EXPECT_EQ(record.recordID(), (CKRecordID{"6F9619FF", zone}));
    EXPECT_FALSE(record.recordChangeTag());
    EXPECT_EQ(record.values(), (CKRecord::Values{{"title", std::string("Call the bank")},
                                                 {"shown", CKNumber(true)},
                                                 {"internal_date", Date(1'795'302'000.25)},
                                                 {"internal_device", CKNumber(std::int64_t{-1})}}));
}

TEST(ReminderRecords, OfTheMacHoldTheEpochAndOne) {
    const CKRecord record = recordOf(macItem("a"));
    EXPECT_EQ(*record.object("internal_date"), CKRecordValue(Date(0)));
    EXPECT_EQ(*record.object("internal_device"), CKRecordValue(CKNumber(std::int64_t{1})));
}

TEST(ReminderRecords, AreMadeInTheZoneThatIsGiven) {
    const CKRecordZoneID other{"Other Zone", "another person"};
    EXPECT_EQ(makeCKRecord(datedItem("a", Date(5)), other)->recordID(), (CKRecordID{"a", other}));
}

TEST(ReminderRecords, OfAnyDateComeBack) {
    for (const double seconds : {1'795'302'000.25, 0.5, -1.0, -62'135'596'800.0, 253'402'300'799.0, 1e15}) {
        const auto back = makeReminderStruct(recordOf(datedItem("a", Date(seconds))));
        ASSERT_TRUE(back) << seconds;
        EXPECT_EQ(back->condition().date(), Date(seconds));
        EXPECT_EQ(back->id(), "a");
        EXPECT_FALSE(back->shown());
    }
}

TEST(ReminderRecords, OfTheMacComeBack) {
    const auto back = makeReminderStruct(recordOf(macItem("a", true)));
    ASSERT_TRUE(back);
    EXPECT_EQ(back->condition(), ReminderCondition::device(DeviceType::mac));
    EXPECT_TRUE(back->shown());
}

TEST(ReminderRecords, OfTheEpochAsADateComeBackAsOne) {
    const auto back = makeReminderStruct(recordOf(datedItem("a", Date(0))));
    ASSERT_TRUE(back);
    EXPECT_EQ(back->condition().date(), Date(0));
}

TEST(ReminderRecords, LackingAnyValueAreUnreadable) {
    const CKRecord whole = recordOf(datedItem("a", Date(5)));
    for (const auto& [left, value] : whole.values()) {
        CKRecord record = CKRecord::make("Reminder", {"a", zone}).value();
        for (const auto& [key, kept] : whole.values()) {
            if (key != left) {
                record.setObject(key, kept);
            }
        }
        EXPECT_FALSE(makeReminderStruct(record)) << left;
    }
}

TEST(ReminderRecords, WithAValueOfAnotherKindAreUnreadable) {
    EXPECT_FALSE(makeReminderStruct(with("title", CKNumber(std::int64_t{1}))));
    EXPECT_FALSE(makeReminderStruct(with("title", std::vector<std::byte>())));
    EXPECT_FALSE(makeReminderStruct(with("shown", std::string("1"))));
    EXPECT_FALSE(makeReminderStruct(with("shown", Date(1))));
    EXPECT_FALSE(makeReminderStruct(with("internal_date", CKNumber(5.0))));
    EXPECT_FALSE(makeReminderStruct(with("internal_date", std::string("2026-11-21"))));
    EXPECT_FALSE(makeReminderStruct(with("internal_device", std::string("-1"))));
    EXPECT_FALSE(makeReminderStruct(with("internal_device", Date(-1))));
}

TEST(ReminderRecords, ReadAnyNumberAsShownAndAnyWholeOneAsDevice) {
    EXPECT_FALSE(makeReminderStruct(with("shown", CKNumber(std::int64_t{0})))->shown());
    EXPECT_FALSE(makeReminderStruct(with("shown", CKNumber(0.0)))->shown());
    EXPECT_TRUE(makeReminderStruct(with("shown", CKNumber(std::int64_t{2})))->shown());
    EXPECT_TRUE(makeReminderStruct(with("shown", CKNumber(1.0)))->shown());
    EXPECT_TRUE(makeReminderStruct(with("internal_device", CKNumber(-1.0))));
    EXPECT_FALSE(makeReminderStruct(with("internal_device", CKNumber(-1.5))));
    EXPECT_FALSE(makeReminderStruct(with("internal_device", CKNumber(std::numeric_limits<double>::infinity()))));
}

TEST(ReminderRecords, ThatContradictThemselvesAreUnreadable) {
    CKRecord record = recordOf(macItem("a"));
    record.setObject("internal_date", Date(1));
    EXPECT_FALSE(makeReminderStruct(record));
    for (const std::int64_t device : {0, 2, -2}) {
        EXPECT_FALSE(makeReminderStruct(recordOf(deviceItem("a", device, false)))) << device;
    }
}

TEST(ReminderRecords, TakeTheIdFromTheirName) {
    CKRecord record = recordOf(datedItem("a", Date(5)));
    record.setObject("ID", std::string("b"));
    EXPECT_EQ(makeReminderStruct(record)->id(), "a");
}

TEST(ReminderRecords, AreNotMadeForNamesThatTheCloudTakesNot) {
    for (const std::string& name : {std::string(), std::string(256, 'a'), std::string("line\nfeed"),
                                    std::string("na\xC3\xAFve"), std::string("\x7F")}) {
        EXPECT_FALSE(makeCKRecord(datedItem(name, Date(5)), zone)) << name;
    }
    EXPECT_TRUE(makeCKRecord(datedItem(std::string(255, '~'), Date(5)), zone));
}

TEST(CloudNumbers, KnowWhatTheyCanBe) {
    constexpr auto least = std::numeric_limits<std::int64_t>::min();
    EXPECT_EQ(CKNumber(true).integerValue(), 1);
    EXPECT_EQ(CKNumber(least).integerValue(), least);
    EXPECT_EQ(CKNumber(-9'223'372'036'854'775'808.0).integerValue(), least);
    EXPECT_FALSE(CKNumber(9'223'372'036'854'775'808.0).integerValue());
    EXPECT_FALSE(CKNumber(std::numeric_limits<double>::quiet_NaN()).integerValue());
    EXPECT_FALSE(CKNumber(0.5).integerValue());
    EXPECT_EQ(CKNumber(false).doubleValue(), 0);
    EXPECT_EQ(CKNumber(std::int64_t{3}).doubleValue(), 3);
    EXPECT_TRUE(CKNumber(0.5).boolValue());
}

}  // namespace
}  // namespace quendokit::testing

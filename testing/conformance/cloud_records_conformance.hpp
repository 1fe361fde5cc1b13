#pragma once
/// \file
/// Conformance of a cloud's database: zones, records, and what a device learns of them.

#include "quendokit/platform/date.hpp"
#include "testing/conformance/cloud_database_conformance_fixture.hpp"

namespace quendokit::testing {

TEST_P(CloudDatabaseConformance, AZoneThatWasNeverMadeIsMissingFromTheAnswer) {
    EXPECT_EQ(foundZones(here, {{"Other things"}}), Names{});
    EXPECT_EQ(foundZones(here, {{"Other things"}, zoneID}), Names{zoneID.zoneName});
}

TEST_P(CloudDatabaseConformance, AZoneIsThereForEveryDevice) {
    EXPECT_EQ(foundZones(here, {zoneID}), Names{zoneID.zoneName});
    EXPECT_EQ(foundZones(there, {zoneID}), Names{zoneID.zoneName});
}

TEST_P(CloudDatabaseConformance, MakingAZoneAgainKeepsWhatIsInIt) {
    save(here, {record("a")});
    EXPECT_FALSE(makeZone(there, zoneID));
    EXPECT_EQ(fetchAll(here, std::nullopt).changes, Names{"a"});
}

TEST_P(CloudDatabaseConformance, AZoneAnswersTheZonesThatItSaved) {
    const auto operation =
        std::make_shared<CKModifyRecordZonesOperation>(std::vector{CKRecordZone{zoneID}}, std::nullopt);
    const auto answer = std::make_shared<AwaitedAnswer<std::optional<std::vector<CKRecordZone>>>>();
    operation->modifyRecordZonesCompletion = [answer](const auto& saved, const auto&, const auto&) {
        answer->set(saved);
    };
    run(here, operation);
    EXPECT_EQ(wait(answer->future()), std::vector{CKRecordZone{zoneID}});
}

TEST_P(CloudDatabaseConformance, AZoneGoesWithItsRecords) {
    save(here, {record("a")});
    EXPECT_FALSE(changeZones(here, std::nullopt, std::vector{zoneID}));
    EXPECT_EQ(foundZones(there, {zoneID}), Names{});
    const Page gone = fetchPage(here, std::nullopt);
    ASSERT_TRUE(gone.error);
    EXPECT_TRUE(isCKError(*gone.error, CKErrorCode::zoneNotFound)) << gone.error->description;
    EXPECT_FALSE(gone.token);
    EXPECT_FALSE(makeZone(here, zoneID));
    EXPECT_FALSE(fetchAll(here, std::nullopt).records.contains("a"));
}

TEST_P(CloudDatabaseConformance, RecordsReachTheOtherDeviceWithTheirValues) {
    CKRecord full = record("A-1", "Grüße,\n\"🎂\" \\ 𝄞");
    full.setObject("empty", std::string());
    full.setObject("yes", CKNumber(true));
    full.setObject("no", CKNumber(false));
    full.setObject("negative", CKNumber(std::int64_t{-1}));
    full.setObject("large", CKNumber(std::int64_t{9'007'199'254'740'993}));
    full.setObject("half", CKNumber(0.5));
    full.setObject("moment", Date(1'795'302'000.25));
    full.setObject("epoch", Date(0));
    full.setObject("earlier", Date(-86'400.5));
    full.setObject("bytes", std::vector{std::byte{0}, std::byte{255}, std::byte{'x'}});
    save(here, {full});
    const Page page = fetchAll(there, std::nullopt);
    ASSERT_TRUE(page.records.contains("A-1"));
    const CKRecord& came = page.records.at("A-1");
    EXPECT_EQ(came.recordType(), "Thing");
    EXPECT_EQ(came.recordID(), full.recordID());
    EXPECT_TRUE(came.recordChangeTag());
    for (const char* const key : {"text", "empty", "moment", "epoch", "earlier", "bytes"}) {
        ASSERT_NE(came.object(key), nullptr) << key;
        EXPECT_EQ(*came.object(key), *full.object(key)) << key;
    }
    const auto number = [&](const char* key) { return std::get<CKNumber>(*came.object(key)); };
    EXPECT_TRUE(number("yes").boolValue());
    EXPECT_FALSE(number("no").boolValue());
    EXPECT_EQ(number("negative").integerValue(), -1);
    EXPECT_EQ(number("large").integerValue(), 9'007'199'254'740'993);
    EXPECT_EQ(number("half").doubleValue(), 0.5);
}

TEST_P(CloudDatabaseConformance, SavesAndDeletionsAreAnsweredInTheOrderInWhichTheyWereGiven) {
    save(here, {record("x"), record("y")});
    const Saved saved = modify(here, std::vector{record("c"), record("a"), record("b")},
                               std::vector<CKRecordID>{{"y", zoneID}, {"x", zoneID}});
    ASSERT_FALSE(saved.error) << saved.error->description;
    Names names;
    for (const CKRecord& each : saved.records.value_or(std::vector<CKRecord>())) {
        names.push_back(each.recordID().recordName);
        EXPECT_TRUE(each.recordChangeTag());
    }
    EXPECT_EQ(names, (Names{"c", "a", "b"}));
    EXPECT_EQ(saved.deleted, (std::vector<CKRecordID>{{"y", zoneID}, {"x", zoneID}}));
}

TEST_P(CloudDatabaseConformance, AnEmptyListOfSavesNextToADeletionIsFine) {
    save(here, {record("a")});
    const Saved saved = modify(here, std::vector<CKRecord>(), std::vector<CKRecordID>{{"a", zoneID}});
    EXPECT_FALSE(saved.error);
    EXPECT_EQ(saved.deleted, (std::vector<CKRecordID>{{"a", zoneID}}));
}

TEST_P(CloudDatabaseConformance, SavingAllKeysReplacesThemWhateverVersionIsThere) {
    CKRecord first = record("a", "first");
    first.setObject("foreign", std::string("stays"));
    save(here, {first});
    save(there, {record("a", "second")});
    const Page page = fetchAll(here, std::nullopt);
    ASSERT_TRUE(page.records.contains("a"));
    EXPECT_EQ(*page.records.at("a").object("text"), CKRecordValue(std::string("second")));
    ASSERT_NE(page.records.at("a").object("foreign"), nullptr);
    EXPECT_EQ(*page.records.at("a").object("foreign"), CKRecordValue(std::string("stays")));
}

TEST_P(CloudDatabaseConformance, EachSaveGivesTheRecordAnotherTag) {
    const Saved first = modify(here, std::vector{record("a")}, std::nullopt);
    const Saved second = modify(here, std::vector{record("a")}, std::nullopt);
    ASSERT_TRUE(first.records && second.records);
    EXPECT_NE(first.records->at(0).recordChangeTag(), second.records->at(0).recordChangeTag());
}

TEST_P(CloudDatabaseConformance, ARecordThatHasChangedIsNotReplacedWhereThatWasRuledOut) {
    const Saved made = modify(here, std::vector{record("a", "first")}, std::nullopt);
    ASSERT_TRUE(made.records);
    save(there, {record("a", "second")});
    CKRecord stale = made.records->at(0);
    stale.setObject("text", std::string("third"));
    const Saved refused =
        modify(here, std::vector{record("b"), stale}, std::nullopt, CKRecordSavePolicy::ifServerRecordUnchanged);
    EXPECT_TRUE(refused.error);
    const Page page = fetchAll(here, std::nullopt);
    EXPECT_EQ(*page.records.at("a").object("text"), CKRecordValue(std::string("second")));
    EXPECT_FALSE(page.records.contains("b")) << "all are saved or none";
}

TEST_P(CloudDatabaseConformance, DeletingWhatIsNotThereSucceeds) {
    const Saved saved = modify(here, std::nullopt, std::vector<CKRecordID>{{"never", zoneID}});
    EXPECT_FALSE(saved.error);
    EXPECT_EQ(saved.deleted, (std::vector<CKRecordID>{{"never", zoneID}}));
}

TEST_P(CloudDatabaseConformance, NothingIsSavedIntoAZoneThatIsNotThere) {
    const CKRecordID id{"a", {"Other things"}};
    const Saved saved = modify(here, std::vector{CKRecord::make("Thing", id).value()}, std::nullopt);
    ASSERT_TRUE(saved.error);
    EXPECT_TRUE(isCKError(*saved.error, CKErrorCode::zoneNotFound)) << saved.error->description;
    EXPECT_EQ(foundZones(here, {id.zoneID}), Names{});
}

}  // namespace quendokit::testing

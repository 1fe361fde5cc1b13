#pragma once
/// \file
/// Conformance of a cloud's database: pages of changes and their tokens.

#include "testing/conformance/cloud_database_conformance_fixture.hpp"

namespace quendokit::testing {

TEST_P(CloudDatabaseConformance, AnEmptyZoneHasAPageWithATokenAndNoChange) {
    const Page page = fetchAll(here, std::nullopt);
    EXPECT_EQ(page.changes, Names{});
    EXPECT_TRUE(page.token);
}

TEST_P(CloudDatabaseConformance, ATokenTellsWhatCameAfterIt) {
    save(here, {record("a"), record("b")});
    const Page first = fetchAll(there, std::nullopt);
    EXPECT_EQ(first.changes, (Names{"a", "b"}));
    save(here, {record("c")});
    save(here, {record("a", "again")});
    const Page second = fetchAll(there, first.token);
    EXPECT_EQ(second.changes, (Names{"c", "a"}));
    EXPECT_EQ(*second.records.at("a").object("text"), CKRecordValue(std::string("again")));
    EXPECT_EQ(fetchAll(there, second.token).changes, Names{});
}

TEST_P(CloudDatabaseConformance, ATokenMayBeUsedAgain) {
    const Token beginning = fetchAll(there, std::nullopt).token;
    save(here, {record("a")});
    const Page once = fetchAll(there, beginning);
    const Page twice = fetchAll(there, beginning);
    EXPECT_EQ(once.changes, Names{"a"});
    EXPECT_EQ(twice.changes, once.changes);
}

TEST_P(CloudDatabaseConformance, ARecordThatChangedOftenComesOnceInItsLastState) {
    const Token beginning = fetchAll(there, std::nullopt).token;
    for (const char* const text : {"one", "two", "three"}) {
        save(here, {record("a", text)});
    }
    const Page page = fetchAll(there, beginning);
    EXPECT_EQ(page.changes, Names{"a"});
    EXPECT_EQ(*page.records.at("a").object("text"), CKRecordValue(std::string("three")));
}

TEST_P(CloudDatabaseConformance, ADeletionIsAChange) {
    save(here, {record("a"), record("b")});
    const Token before = fetchAll(there, std::nullopt).token;
    remove(here, {"a"});
    EXPECT_EQ(fetchAll(there, before).changes, Names{"-a"});
}

TEST_P(CloudDatabaseConformance, ARecordThatCameAndWentIsADeletionAtMost) {
    const Token before = fetchAll(there, std::nullopt).token;
    save(here, {record("a")});
    remove(here, {"a"});
    EXPECT_FALSE(fetchAll(there, before).records.contains("a"));
}

TEST_P(CloudDatabaseConformance, ADeletedRecordThatIsSavedAgainIsThere) {
    save(here, {record("a", "first")});
    const Token before = fetchAll(there, std::nullopt).token;
    remove(here, {"a"});
    save(here, {record("a", "second")});
    const Page page = fetchAll(there, before);
    EXPECT_EQ(page.changes, Names{"a"});
    EXPECT_EQ(*page.records.at("a").object("text"), CKRecordValue(std::string("second")));
}

TEST_P(CloudDatabaseConformance, FromTheBeginningADeletedRecordIsNotThere) {
    save(here, {record("a"), record("b")});
    remove(here, {"a"});
    const Page page = fetchAll(there, std::nullopt);
    EXPECT_TRUE(page.records.contains("b"));
    EXPECT_FALSE(page.records.contains("a"));
}

TEST_P(CloudDatabaseConformance, ManyChangesComePageByPageEachOnceAndInOrder) {
    constexpr int requests = 3;
    constexpr int each = 170;
    Names expected;
    for (int request = 0; request < requests; ++request) {
        std::vector<CKRecord> records;
        for (int i = 0; i < each; ++i) {
            expected.push_back("record-" + std::to_string(request * each + i));
            records.push_back(record(expected.back()));
        }
        save(here, records);
    }
    const Page all = fetchAll(there, std::nullopt);
    EXPECT_EQ(all.changes, expected);
    EXPECT_EQ(fetchAll(there, all.token).changes, Names{});
}

TEST_P(CloudDatabaseConformance, AChangeBetweenTwoPagesIsNotMissed) {
    std::vector<CKRecord> records;
    for (int i = 0; i < 200; ++i) {
        records.push_back(record("record-" + std::to_string(i)));
    }
    save(here, records);
    save(here, {record("last-but-one")});
    const Page first = fetchPage(there, std::nullopt);
    save(here, {record("record-0", "again"), record("new")});
    remove(here, {"record-1"});
    const Page rest = fetchAll(there, first.token);
    EXPECT_TRUE(rest.records.contains("new"));
    EXPECT_TRUE(rest.records.contains("record-0"));
    EXPECT_TRUE(first.records.contains("last-but-one") || rest.records.contains("last-but-one"));
    if (first.records.contains("record-1")) {
        EXPECT_EQ(rest.changes.back(), "-record-1");
    }
}

TEST_P(CloudDatabaseConformance, ATokenOfNobodysIsRefused) {
    for (const std::string& odd : {std::string("nonsense"), std::string(4000, 'x'), std::string("\0\xff", 2)}) {
        std::vector<std::byte> data;
        for (const char c : odd) {
            data.push_back(static_cast<std::byte>(c));
        }
        const Page page = fetchPage(here, CKServerChangeToken(data));
        ASSERT_TRUE(page.error) << odd;
        EXPECT_TRUE(isCKError(*page.error, CKErrorCode::changeTokenExpired)) << page.error->description;
        EXPECT_FALSE(page.token);
    }
}

TEST_P(CloudDatabaseConformance, ATokenOfAZoneThatWasMadeAnewIsRefused) {
    save(here, {record("a")});
    const Token old = fetchAll(there, std::nullopt).token;
    EXPECT_FALSE(changeZones(here, std::nullopt, std::vector{zoneID}));
    EXPECT_FALSE(makeZone(here, zoneID));
    save(here, {record("b")});
    const Page page = fetchPage(there, old);
    ASSERT_TRUE(page.error);
    EXPECT_TRUE(isCKError(*page.error, CKErrorCode::changeTokenExpired)) << page.error->description;
}

}  // namespace quendokit::testing

#include <map>

#include "tests/support/store_fixture.hpp"

namespace quendokit::testing {
namespace {

using Object = std::map<std::string, Value>;

/// A record of the given version: what every version holds, and what came with this and the versions before it.
Object oldRecord(std::uint64_t version, const std::string& id, Object others = {}) {
    Object object{{"ID", id}, {"title", "title of " + id}, {"pending", true}};
    object["_device"] = std::int64_t{-1};
    object["_datetime"] = Date(1'000.5);
    if (version >= 1) {
        object["deleted"] = false;
    }
    if (version >= 2) {
        object["shown"] = false;
    }
    others.merge(object);
    return others;
}

/// Opens databases that older versions wrote.
class SchemaMigration : public StoreFixture {
protected:
    /// The records after the migration, ordered by id.
    [[nodiscard]] std::vector<ReminderItem> migrated(std::uint64_t version, const std::vector<Object>& objects) {
        controller.reset();
        realm = std::make_shared<TracingRealm>(
            factory->make(QuendoKitConfig(),
                          OldObjects{.schemaVersion = version, .className = "ReminderItem", .objects = objects}),
            trace);
        return stored();
    }
};

TEST_P(SchemaMigration, Version0GetsDeletedShownAndCompletionDate) {
    const auto items =
        migrated(0, {oldRecord(0, "a"),
                     oldRecord(0, "b", {{"_device", std::int64_t{1}}, {"_datetime", Date(0)}, {"pending", false}})});
    ASSERT_EQ(items.size(), 2U);
    EXPECT_EQ(text(items[0]), "a: \"title of a\" pending, device -1, datetime 1000.5, completed 1795302000.25");
    EXPECT_EQ(text(items[1]), "b: \"title of b\", device 1, datetime 0, completed 1795302000.25");
}

TEST_P(SchemaMigration, Version1KeepsDeletedAndGetsShownAndCompletionDate) {
    const auto items = migrated(1, {oldRecord(1, "a", {{"deleted", true}}), oldRecord(1, "b")});
    ASSERT_EQ(items.size(), 2U);
    EXPECT_EQ(text(items[0]), "a: \"title of a\" deleted pending, device -1, datetime 1000.5, completed 1795302000.25");
    EXPECT_EQ(text(items[1]), "b: \"title of b\" pending, device -1, datetime 1000.5, completed 1795302000.25");
}

TEST_P(SchemaMigration, Versions2And3KeepAllFlagsAndGetCompletionDate) {
    for (const std::uint64_t version : {2U, 3U}) {
        const auto items = migrated(version, {oldRecord(version, "a", {{"deleted", true}, {"shown", true}}),
                                              oldRecord(version, "b", {{"pending", false}})});
        ASSERT_EQ(items.size(), 2U);
        EXPECT_EQ(text(items[0]),
                  "a: \"title of a\" deleted shown pending, device -1, datetime 1000.5, completed 1795302000.25");
        EXPECT_EQ(text(items[1]), "b: \"title of b\", device -1, datetime 1000.5, completed 1795302000.25");
    }
}

TEST_P(SchemaMigration, ValuesThatAnOldFileShouldNotHoldAreOverwritten) {
    const Object early{{"deleted", true}, {"shown", true}, {"completionDate", Date(7)}};
    EXPECT_EQ(text(migrated(0, {oldRecord(0, "a", early)}).at(0)),
              "a: \"title of a\" pending, device -1, datetime 1000.5, completed 1795302000.25");
    EXPECT_EQ(text(migrated(1, {oldRecord(1, "a", early)}).at(0)),
              "a: \"title of a\" deleted pending, device -1, datetime 1000.5, completed 1795302000.25");
    EXPECT_EQ(text(migrated(3, {oldRecord(3, "a", early)}).at(0)),
              "a: \"title of a\" deleted shown pending, device -1, datetime 1000.5, completed 1795302000.25");
}

TEST_P(SchemaMigration, AnEmptyOldFileOpens) {
    for (std::uint64_t version = 0; version < 4; ++version) {
        EXPECT_TRUE(migrated(version, {}).empty());
    }
}

TEST_P(SchemaMigration, OddValuesSurvive) {
    const auto items =
        migrated(0, {oldRecord(0, "", {{"title", std::string("a\0b\xFF", 4)}, {"_device", std::int64_t{1} << 40}}),
                     oldRecord(0, "b", {{"_datetime", Date(-1e300)}})});
    ASSERT_EQ(items.size(), 2U);
    EXPECT_EQ(items[0].title, std::string("a\0b\xFF", 4));
    EXPECT_EQ(items[0]._device, std::int64_t{1} << 40);
    EXPECT_EQ(items[1]._datetime, Date(-1e300));
}

TEST_P(SchemaMigration, MigratedRemindersAreListedAsAnyOther) {
    static_cast<void>(migrated(1, {oldRecord(1, "past"), oldRecord(1, "gone", {{"deleted", true}}),
                                   oldRecord(1, "future", {{"_datetime", after(60)}}),
                                   oldRecord(1, "mac", {{"_datetime", Date(0)}, {"_device", std::int64_t{1}}})}));
    controller = ReminderController::create(scheduler, realm);
    EXPECT_EQ(ids(controller->reminders(false)), (Lines{"mac", "future", "past"}));
    // The passed ones are equally new; descending order is the reverse of ascending.
    EXPECT_EQ(ids(controller->reminders(true)), (Lines{"mac", "future", "past", "gone"}));
}

TEST_P(SchemaMigration, OpeningTheMigratedFileAgainChangesNothing) {
    const auto before = migrated(0, {oldRecord(0, "a")});
    const auto lines = storedTexts();
    realm.reset();
    clock->advanceBy(std::chrono::hours(1));
    const auto reopened = factory->reopen(QuendoKitConfig());
    if (!reopened) {
        GTEST_SKIP() << "nothing outlives a realm of this implementation";
    }
    realm = std::make_shared<TracingRealm>(reopened, trace);
    EXPECT_EQ(storedTexts(), lines);
}

INSTANTIATE_TEST_SUITE_P(Databases, SchemaMigration, ::testing::ValuesIn(realmImplementations()), realmName);

}  // namespace
}  // namespace quendokit::testing

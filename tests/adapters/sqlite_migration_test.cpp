/// \file
/// Files of schema versions 0 to 3 become files of version 4: wholly or not at all, and never without a copy.

#include <fstream>
#include <limits>
#include <sstream>
#include <string>

#include <gtest/gtest.h>

#include "tests/golden/old_files.hpp"
#include "tests/support/child_process.hpp"
#include "tests/support/shim_file_system.hpp"
#include "tests/support/sqlite_world.hpp"

namespace quendokit::testing {
namespace {

namespace fs = std::filesystem;

constexpr int goldenCount = 12;

std::string contentsOf(const fs::path& file) {
    std::ostringstream text;
    text << std::ifstream(file, std::ios::binary).rdbuf();
    return text.str();
}

class SQLiteMigration : public ::testing::TestWithParam<int> {
protected:
    [[nodiscard]] static int version() { return GetParam(); }
    [[nodiscard]] static fs::path goldenFile() {
        return fs::path(QUENDOKIT_GOLDEN_FOLDER) / ("v" + std::to_string(version()) + ".sqlite");
    }
    [[nodiscard]] fs::path copy(const std::string& more = "") const {
        return world_.file.string() + ".v" + std::to_string(version()) + "-backup" + more;
    }

    /// What the migrated file holds, against what the old one held.
    void expectMigrated(int count) {
        const auto realm = world_.open();
        ASSERT_TRUE(realm) << realm.error().description;
        const auto items = Result(realm).value()->objects<ReminderItem>().sorted("ID", true).toVector();
        ASSERT_EQ(items.size(), static_cast<std::size_t>(count));
        for (int i = 0; i < count; ++i) {
            const OldRow row = oldRow(i);
            const ReminderItem& item = items[static_cast<std::size_t>(i)];
            EXPECT_EQ(item.ID, row.id);
            EXPECT_EQ(item.title, row.title);
            EXPECT_EQ(item._device, row.device);
            EXPECT_EQ(item._datetime, Date(row.datetime));
            EXPECT_EQ(item.pending, row.pending);
            EXPECT_EQ(item.deleted, version() >= 1 && row.deleted);
            EXPECT_EQ(item.shown, version() >= 2 && row.shown);
            EXPECT_EQ(item.completionDate, world_.clock->now());
        }
    }

    SQLiteWorld world_;
    platform::ScopedInstall installed_{world_.services()};
};

TEST_P(SQLiteMigration, TheGoldenFileIsWhatItsProgramMakes) {
    const fs::path fresh = world_.folder.path() / "fresh.sqlite";
    ASSERT_TRUE(writeOldFile(fresh, version(), goldenCount));
    // Opened from a copy: even reading may touch the file.
    fs::copy_file(goldenFile(), world_.file);
    const std::string everything =
        "SELECT group_concat(quote(ID) || quote(title) || quote(_device) || quote(_datetime) || quote(pending)" +
        std::string(version() >= 1 ? " || quote(deleted)" : "") + (version() >= 2 ? " || quote(shown)" : "") +
        ") || (SELECT sql FROM sqlite_schema WHERE name = 'ReminderItem') FROM (SELECT * FROM ReminderItem ORDER BY "
        "ID)";
    EXPECT_FALSE(querySQL(fresh, everything).empty());
    EXPECT_EQ(querySQL(world_.file, everything), querySQL(fresh, everything));
    EXPECT_EQ(querySQL(world_.file, "PRAGMA user_version"), std::to_string(version()));
}

TEST_P(SQLiteMigration, TheGoldenFileIsBroughtToVersionFour) {
    fs::copy_file(goldenFile(), world_.file);
    expectMigrated(goldenCount);
    EXPECT_EQ(querySQL(world_.file, "PRAGMA user_version"), "4");
    EXPECT_EQ(querySQL(world_.file, "PRAGMA application_id"), std::to_string(0x514E444F));
    EXPECT_EQ(querySQL(world_.file, "SELECT group_concat(name) FROM sqlite_schema WHERE type = 'table'"),
              "ReminderItem");
}

TEST_P(SQLiteMigration, FilesOfAnySizeAreBroughtToVersionFour) {
    for (const int count : {0, 1, 10'000}) {
        ASSERT_TRUE(writeOldFile(world_.file, version(), count));
        expectMigrated(count);
        fs::remove(world_.file);
    }
}

TEST_P(SQLiteMigration, TheFileIsCopiedFirst) {
    fs::copy_file(goldenFile(), world_.file);
    ASSERT_TRUE(world_.open());
    ASSERT_TRUE(fs::exists(copy()));
    EXPECT_EQ(fs::status(copy()).permissions(), fs::perms::owner_read | fs::perms::owner_write);
    EXPECT_EQ(querySQL(copy(), "PRAGMA user_version"), std::to_string(version()));
    EXPECT_EQ(querySQL(copy(), "SELECT count(*) FROM ReminderItem"), std::to_string(goldenCount));

    // The copy can take the place of the file: it is a whole file of its version.
    fs::copy_file(copy(), world_.file, fs::copy_options::overwrite_existing);
    expectMigrated(goldenCount);
    EXPECT_TRUE(fs::exists(copy("-2"))) << "an earlier copy must not be overwritten";
}

TEST_P(SQLiteMigration, OpeningAgainMigratesNothing) {
    fs::copy_file(goldenFile(), world_.file);
    ASSERT_TRUE(world_.open());
    const Date migrated = world_.clock->now();
    world_.clock->advanceBy(std::chrono::hours(1));
    const auto realm = world_.open().value();
    EXPECT_EQ(realm->objects<ReminderItem>().toVector().front().completionDate, migrated);
    EXPECT_FALSE(fs::exists(copy("-2")));
}

TEST_P(SQLiteMigration, WhatTheWriteAheadLogHoldsIsMigratedAndCopiedToo) {
    ASSERT_TRUE(writeOldFile(world_.file, version(), 2));
    // Ended without closing, the last row is in the log alone.
    runInChild([&] {
        sqlite3* database = nullptr;
        sqlite3_open(world_.file.c_str(), &database);
        sqlite3_exec(database, "PRAGMA journal_mode = WAL; UPDATE ReminderItem SET title = 'from the log'", nullptr,
                     nullptr, nullptr);
        return 0;
    });
    ASSERT_GT(fs::file_size(world_.file.string() + "-wal"), 0U);
    const auto realm = world_.open().value();
    EXPECT_EQ(realm->objects<ReminderItem>().toVector().front().title, "from the log");
    EXPECT_EQ(querySQL(copy(), "SELECT count(*) FROM ReminderItem WHERE title = 'from the log'"), "2");
}

TEST_P(SQLiteMigration, AFullDiskLeavesTheOldFileAsItWas) {
    ShimFileSystem disk;
    world_.options.fileSystem = ShimFileSystem::name();
    fs::copy_file(goldenFile(), world_.file);
    const std::string before = contentsOf(world_.file);
    disk.setFull(true);
    const auto realm = world_.open();
    ASSERT_FALSE(realm);
    EXPECT_TRUE(isRealmError(realm.error(), RealmErrorCode::full)) << realm.error().description;
    EXPECT_TRUE(contentsOf(world_.file) == before);
    disk.setFull(false);
    expectMigrated(goldenCount);
}

TEST_P(SQLiteMigration, AnOldRowThatBreaksTheRulesIsDamage) {
    fs::copy_file(goldenFile(), world_.file);
    ASSERT_TRUE(runSQL(world_.file, "UPDATE ReminderItem SET pending = 2"));
    const std::string before = contentsOf(world_.file);
    const auto realm = world_.open();
    ASSERT_FALSE(realm);
    EXPECT_TRUE(isRealmError(realm.error(), RealmErrorCode::damaged)) << realm.error().description;
    EXPECT_TRUE(contentsOf(world_.file) == before);
    EXPECT_FALSE(fs::exists(copy())) << "a file that stays as it was needs no copy";
}

TEST_P(SQLiteMigration, AColumnThatTheVersionAlwaysHadMustBeThere) {
    for (const char* column : {"title", "_device", "_datetime", "pending"}) {
        fs::copy_file(goldenFile(), world_.file, fs::copy_options::overwrite_existing);
        ASSERT_TRUE(runSQL(world_.file, std::string("ALTER TABLE ReminderItem DROP COLUMN ") + column));
        const std::string before = contentsOf(world_.file);
        const auto realm = world_.open();
        ASSERT_FALSE(realm) << column;
        EXPECT_TRUE(isRealmError(realm.error(), RealmErrorCode::damaged));
        EXPECT_NE(realm.error().description.find(std::string("has no column ") + column), std::string::npos);
        EXPECT_TRUE(contentsOf(world_.file) == before);
    }
}

TEST_P(SQLiteMigration, AnIndexThatCannotBeMadeLeavesTheOldFileAsItWas) {
    fs::copy_file(goldenFile(), world_.file);
    ASSERT_TRUE(runSQL(world_.file, "CREATE TABLE other (a); CREATE INDEX ReminderItem_by_moment ON other (a)"));
    const std::string before = contentsOf(world_.file);
    ASSERT_FALSE(world_.open());
    EXPECT_TRUE(contentsOf(world_.file) == before);
}

TEST_P(SQLiteMigration, ABlockThatSetsADateThatIsNotFiniteFails) {
    fs::copy_file(goldenFile(), world_.file);
    const std::string before = contentsOf(world_.file);
    auto configuration = QuendoKitConfig();
    configuration.migrationBlock = [](Migration& migration, std::uint64_t) {
        migration.enumerateObjects("ReminderItem", [](const MigrationObject&, MigrationObject& item) {
            item.set("completionDate", Date(std::numeric_limits<double>::infinity()));
        });
    };
    const auto realm = sqlite::openRealm(world_.file, configuration, world_.options);
    ASSERT_FALSE(realm);
    EXPECT_TRUE(isRealmError(realm.error(), RealmErrorCode::invalidValue)) << realm.error().description;
    EXPECT_TRUE(contentsOf(world_.file) == before);
}

TEST_P(SQLiteMigration, AnEndAtAnyWriteLeavesAFileThatMigratesNextTime) {
    world_.options.fileSystem = ShimFileSystem::name();
    std::size_t changes = 0;
    {
        const ShimFileSystem disk;
        fs::copy_file(goldenFile(), world_.file);
        ASSERT_TRUE(world_.open());
        changes = disk.changeCount();
    }
    ASSERT_GT(changes, 20U);
    for (std::size_t last = 0; last < changes; ++last) {
        SCOPED_TRACE(last);
        for (const auto& entry : fs::directory_iterator(world_.folder.path())) {
            fs::remove(entry.path());
        }
        fs::copy_file(goldenFile(), world_.file);
        const int ended = runInChild([&] {
            ShimFileSystem disk;
            disk.exitAfterChanges(last);
            return world_.open() ? 0 : 1;
        });
        ASSERT_EQ(ended, 137);
        world_.options.fileSystem.clear();
        const auto realm = world_.open();
        ASSERT_TRUE(realm) << realm.error().description;
        EXPECT_EQ(querySQL(world_.file, "SELECT count(*) FROM ReminderItem"), std::to_string(goldenCount));
        EXPECT_EQ(querySQL(world_.file, "PRAGMA user_version"), "4");
        EXPECT_EQ(querySQL(world_.file, "PRAGMA integrity_check"), "ok");
        world_.options.fileSystem = ShimFileSystem::name();
    }
}

INSTANTIATE_TEST_SUITE_P(FromVersion, SQLiteMigration, ::testing::Range(0, 4));

}  // namespace
}  // namespace quendokit::testing

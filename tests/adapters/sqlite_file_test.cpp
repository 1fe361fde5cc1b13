/// \file
/// Opening files of every kind: new, foreign, damaged, out of reach. What is refused stays as it is.

#include <fstream>
#include <random>
#include <sstream>
#include <string>
#include <unistd.h>

#include <gtest/gtest.h>
#include <sys/stat.h>

#include "tests/support/child_process.hpp"
#include "tests/support/shim_file_system.hpp"
#include "tests/support/sqlite_world.hpp"

namespace quendokit::testing {
namespace {

std::string contentsOf(const std::filesystem::path& file) {
    std::ostringstream text;
    text << std::ifstream(file, std::ios::binary).rdbuf();
    return text.str();
}

void writeContents(const std::filesystem::path& file, const std::string& contents) {
    std::ofstream(file, std::ios::binary | std::ios::trunc) << contents;
    std::filesystem::permissions(file, std::filesystem::perms::owner_read | std::filesystem::perms::owner_write);
}

unsigned modeOf(const std::filesystem::path& path) {
    struct stat status{};
    EXPECT_EQ(lstat(path.c_str(), &status), 0) << path;
    return status.st_mode & 0777U;
}

class SQLiteFile : public ::testing::Test {
protected:
    /// A file with `count` reminders, closed.
    void makeFile(int count = 3) const {
        const auto realm = world_.open().value();
        ASSERT_FALSE(realm->write([&] {
            for (int i = 0; i < count; ++i) {
                realm->add(ReminderItem("Reminder " + std::to_string(i), ReminderCondition::dateTime(Date(2e9 + i)),
                                        std::nullopt, false),
                           true);
            }
        }));
    }

    /// The error of opening the file, which must be refused and stay as it is.
    Error refusal() {
        const std::string before = contentsOf(world_.file);
        auto realm = world_.open();
        if (realm) {
            ADD_FAILURE() << "the file was opened";
            return {};
        }
        EXPECT_TRUE(contentsOf(world_.file) == before) << "the refused file was changed";
        EXPECT_EQ(realm.error().description.find('\n'), std::string::npos);
        EXPECT_TRUE(realm.error().description.starts_with(world_.file.string())) << realm.error().description;
        return realm.error();
    }

    void expectDamaged(const std::string& what) {
        const Error error = refusal();
        EXPECT_TRUE(isRealmError(error, RealmErrorCode::damaged)) << error.description;
        EXPECT_NE(error.description.find(what), std::string::npos) << error.description;
    }

    [[nodiscard]] std::size_t countOfReminders() const {
        return world_.open().value()->objects<ReminderItem>().count();
    }

    SQLiteWorld world_;
    platform::ScopedInstall installed_{world_.services()};
};

TEST_F(SQLiteFile, ANewFileIsForItsOwnerAlone) {
    world_.file = world_.folder.path() / "a" / "b" / "reminders.sqlite";
    const auto realm = world_.open().value();
    ASSERT_FALSE(realm->write(
        [&] { realm->add(ReminderItem("x", ReminderCondition::device(DeviceType::mac), {}, false), true); }));
    EXPECT_EQ(modeOf(world_.folder.path() / "a"), 0700U);
    EXPECT_EQ(modeOf(world_.folder.path() / "a" / "b"), 0700U);
    EXPECT_EQ(modeOf(world_.file), 0600U);
    EXPECT_EQ(modeOf(world_.file.string() + "-wal"), 0600U);
    EXPECT_EQ(modeOf(world_.file.string() + "-shm"), 0600U);
}

TEST_F(SQLiteFile, ANewFileSaysWhatItIs) {
    makeFile();
    EXPECT_EQ(querySQL(world_.file, "PRAGMA user_version"), "4");
    EXPECT_EQ(querySQL(world_.file, "PRAGMA application_id"), std::to_string(0x514E444F));
    EXPECT_EQ(querySQL(world_.file, "PRAGMA journal_mode"), "wal");
    EXPECT_EQ(querySQL(world_.file, "SELECT group_concat(name) FROM pragma_table_info('ReminderItem')"),
              "ID,title,deleted,shown,completionDate,pending,_device,_datetime");
    EXPECT_EQ(querySQL(world_.file, "SELECT strict FROM pragma_table_list('ReminderItem')"), "1");
    EXPECT_EQ(querySQL(world_.file,
                       "SELECT group_concat(name) FROM (SELECT name FROM sqlite_schema WHERE type = 'index' "
                       "AND sql IS NOT NULL ORDER BY name)"),
              "ReminderItem_by_moment,ReminderItem_seen_at_device,ReminderItem_unseen_at_device,ReminderItem_unsent,"
              "ReminderItem_waiting_at_mac");
}

TEST_F(SQLiteFile, WritesAreSyncedInFullAndLargeCellsAreChecked) {
    const auto realm = world_.open().value();
    EXPECT_EQ(realm->connection().integer("PRAGMA synchronous").value(), 2);
    EXPECT_EQ(realm->connection().integer("PRAGMA cell_size_check").value(), 1);
    EXPECT_EQ(realm->connection().integer("PRAGMA trusted_schema").value(), 0);
}

TEST_F(SQLiteFile, AFileOpenToOthersIsClosedToThem) {
    makeFile();
    chmod(world_.file.c_str(), 0664);
    EXPECT_EQ(countOfReminders(), 3U);
    EXPECT_EQ(modeOf(world_.file), 0600U);
}

TEST_F(SQLiteFile, AnEmptyFileIsANewOne) {
    writeContents(world_.file, "");
    EXPECT_EQ(countOfReminders(), 0U);
}

TEST_F(SQLiteFile, AFileWithoutVersionAndTableIsANewOne) {
    ASSERT_TRUE(runSQL(world_.file, "CREATE TABLE note (text); DROP TABLE note; PRAGMA user_version = 0"));
    EXPECT_EQ(countOfReminders(), 0U);
}

TEST_F(SQLiteFile, ASymbolicLinkIsRefused) {
    makeFile();
    const auto link = world_.folder.path() / "link.sqlite";
    std::filesystem::create_symlink(world_.file, link);
    world_.file = link;
    const Error error = refusal();
    EXPECT_TRUE(isRealmError(error, RealmErrorCode::notPermitted));
    EXPECT_NE(error.description.find("is a symbolic link"), std::string::npos) << error.description;
}

TEST_F(SQLiteFile, AFolderInItsPlaceIsRefused) {
    std::filesystem::create_directory(world_.file);
    auto realm = world_.open();
    ASSERT_FALSE(realm);
    EXPECT_TRUE(isRealmError(realm.error(), RealmErrorCode::notPermitted));
}

TEST_F(SQLiteFile, AFileOfAnotherUserIsRefused) {
    makeFile();
    if (geteuid() != 0) {
        GTEST_SKIP() << "only root can give a file to another user";
    }
    ASSERT_EQ(chown(world_.file.c_str(), nobody, nobody), 0);
    EXPECT_TRUE(isRealmError(refusal(), RealmErrorCode::notPermitted));
}

TEST_F(SQLiteFile, RandomBytesAreDamage) {
    std::mt19937 random(7);
    std::string bytes(20'000, '\0');
    for (char& byte : bytes) {
        byte = static_cast<char>(random());
    }
    writeContents(world_.file, bytes);
    expectDamaged("file is not a database");
}

TEST_F(SQLiteFile, AnotherHeaderIsDamage) {
    makeFile();
    std::string bytes = contentsOf(world_.file);
    bytes.replace(0, 6, "sqLITE");
    writeContents(world_.file, bytes);
    expectDamaged("file is not a database");
}

TEST_F(SQLiteFile, AFileCutOffAtAnyPageIsDamage) {
    makeFile(400);
    const std::string whole = contentsOf(world_.file);
    constexpr std::size_t pageSize = 4096;
    ASSERT_GE(whole.size(), 10 * pageSize);
    for (std::size_t size = pageSize; size < whole.size(); size += pageSize) {
        writeContents(world_.file, whole.substr(0, size));
        SCOPED_TRACE(size);
        EXPECT_TRUE(isRealmError(refusal(), RealmErrorCode::damaged));
    }
    // Less than a header is no database at all.
    writeContents(world_.file, whole.substr(0, 50));
    EXPECT_TRUE(isRealmError(refusal(), RealmErrorCode::damaged));
}

TEST_F(SQLiteFile, ADestroyedPageIsDamage) {
    makeFile(400);
    const std::string whole = contentsOf(world_.file);
    constexpr std::size_t pageSize = 4096;
    for (std::size_t page = 1; page < whole.size() / pageSize; ++page) {
        SCOPED_TRACE(page);
        std::string bytes = whole;
        bytes.replace(page * pageSize, pageSize, pageSize, '\xA5');
        writeContents(world_.file, bytes);
        EXPECT_TRUE(isRealmError(refusal(), RealmErrorCode::damaged));
    }
}

TEST_F(SQLiteFile, ANewerVersionIsRefused) {
    makeFile();
    ASSERT_TRUE(runSQL(world_.file, "PRAGMA user_version = 5"));
    const Error error = refusal();
    EXPECT_TRUE(isRealmError(error, RealmErrorCode::newerVersion));
    EXPECT_EQ(
        error.description,
        world_.file.string() + ": a newer version wrote it (schema 5, this program knows 4); update this program");
}

TEST_F(SQLiteFile, ANegativeVersionIsDamage) {
    makeFile();
    // The second is what a version of 2^31 becomes in the header.
    for (const char* version : {"-1", "-2147483648"}) {
        ASSERT_TRUE(runSQL(world_.file, std::string("PRAGMA user_version = ") + version));
        expectDamaged("another program's database");
    }
}

TEST_F(SQLiteFile, AnotherProgramsDatabaseIsRefused) {
    makeFile();
    for (const char* kind : {"0", "1196444487"}) {
        ASSERT_TRUE(runSQL(world_.file, std::string("PRAGMA application_id = ") + kind));
        expectDamaged("another program's database");
    }
}

TEST_F(SQLiteFile, AMissingTableIsDamage) {
    makeFile();
    ASSERT_TRUE(runSQL(world_.file, "DROP TABLE ReminderItem"));
    expectDamaged("table ReminderItem is missing");
}

TEST_F(SQLiteFile, AMissingColumnIsDamage) {
    makeFile();
    ASSERT_TRUE(runSQL(world_.file,
                       "DROP INDEX ReminderItem_by_moment; DROP INDEX ReminderItem_unsent; "
                       "ALTER TABLE ReminderItem DROP COLUMN pending"));
    expectDamaged("no column pending");
}

TEST_F(SQLiteFile, AColumnTooManyIsDamage) {
    makeFile();
    ASSERT_TRUE(runSQL(world_.file, "ALTER TABLE ReminderItem ADD COLUMN colour TEXT"));
    expectDamaged("unknown column colour");
}

TEST_F(SQLiteFile, AColumnOfAnotherTypeIsDamage) {
    makeFile();
    ASSERT_TRUE(
        runSQL(world_.file,
               "DROP TABLE ReminderItem; CREATE TABLE ReminderItem (ID TEXT NOT NULL PRIMARY KEY, title INTEGER "
               "NOT NULL, deleted INTEGER NOT NULL, shown INTEGER NOT NULL, completionDate REAL NOT NULL, pending "
               "INTEGER NOT NULL, _device INTEGER NOT NULL, _datetime REAL NOT NULL) STRICT"));
    expectDamaged("column title of table ReminderItem is of the wrong type");
}

TEST_F(SQLiteFile, AMissingIndexIsMadeAgainAndAnOldOneDropped) {
    makeFile();
    ASSERT_TRUE(runSQL(world_.file,
                       "DROP INDEX ReminderItem_by_moment; CREATE INDEX ReminderItem_old ON ReminderItem (title)"));
    EXPECT_EQ(countOfReminders(), 3U);
    EXPECT_EQ(querySQL(world_.file, "SELECT count(*) FROM sqlite_schema WHERE name = 'ReminderItem_by_moment'"), "1");
    EXPECT_EQ(querySQL(world_.file, "SELECT count(*) FROM sqlite_schema WHERE name = 'ReminderItem_old'"), "0");
}

TEST_F(SQLiteFile, AFileOutsideThePersonsRightsIsRefused) {
    makeFile();
    if (geteuid() == 0) {
        std::filesystem::permissions(world_.folder.path(), std::filesystem::perms::all);
        ASSERT_EQ(chown(world_.file.c_str(), nobody, nobody), 0);
    }
    chmod(world_.file.c_str(), 0400);
    const std::string before = contentsOf(world_.file);
    EXPECT_EQ(runAsOrdinaryUser([&] {
                  auto realm = world_.open();
                  return !realm && isRealmError(realm.error(), RealmErrorCode::notPermitted) ? 0 : 1;
              }),
              0);
    EXPECT_TRUE(contentsOf(world_.file) == before);
}

TEST_F(SQLiteFile, AReadOnlyFolderIsRefused) {
    makeFile();
    if (geteuid() == 0) {
        ASSERT_EQ(chown(world_.file.c_str(), nobody, nobody), 0);
        ASSERT_EQ(chown(world_.folder.path().c_str(), nobody, nobody), 0);
    }
    chmod(world_.folder.path().c_str(), 0500);
    const std::string before = contentsOf(world_.file);
    EXPECT_EQ(runAsOrdinaryUser([&] {
                  auto realm = world_.open();
                  return !realm && isRealmError(realm.error(), RealmErrorCode::notPermitted) ? 0 : 1;
              }),
              0);
    EXPECT_TRUE(contentsOf(world_.file) == before);
    chmod(world_.folder.path().c_str(), 0700);
}

TEST_F(SQLiteFile, ALockThatAnotherHoldsFailsTheWriteAndTellsSo) {
    makeFile();
    const auto realm = world_.open().value();
    const auto other = world_.open().value();
    bool inner = false;
    ASSERT_FALSE(other->write([&] {
        const auto failure = realm->write([&] { inner = true; });
        ASSERT_TRUE(failure);
        EXPECT_TRUE(isRealmError(*failure, RealmErrorCode::locked));
    }));
    EXPECT_FALSE(inner);
    ASSERT_EQ(world_.failures.size(), 1U);
    EXPECT_EQ(world_.failures[0].description,
              world_.file.string() + ": another program is writing; try again when it is done");
}

TEST_F(SQLiteFile, AFileThatAnotherKeepsForItselfIsLocked) {
    makeFile();
    sqlite3* other = nullptr;
    sqlite3_open(world_.file.c_str(), &other);
    ASSERT_EQ(sqlite3_exec(other, "PRAGMA locking_mode = EXCLUSIVE; BEGIN EXCLUSIVE; SELECT count(*) FROM ReminderItem",
                           nullptr, nullptr, nullptr),
              SQLITE_OK);
    EXPECT_TRUE(isRealmError(refusal(), RealmErrorCode::locked));
    sqlite3_close(other);
    EXPECT_EQ(countOfReminders(), 3U);
}

TEST_F(SQLiteFile, AFullDiskAtOpeningIsToldAndLeavesNoHalfFile) {
    ShimFileSystem disk;
    world_.options.fileSystem = ShimFileSystem::name();
    disk.setFull(true);
    EXPECT_TRUE(isRealmError(refusal(), RealmErrorCode::full));
    disk.setFull(false);
    EXPECT_EQ(countOfReminders(), 0U);
}

TEST_F(SQLiteFile, AFullDiskFailsTheWriteAndKeepsWhatWasThere) {
    ShimFileSystem disk;
    world_.options.fileSystem = ShimFileSystem::name();
    makeFile();
    {
        const auto realm = world_.open().value();
        disk.setFull(true);
        const auto failure = realm->write(
            [&] { realm->add(ReminderItem("x", ReminderCondition::device(DeviceType::mac), {}, false), true); });
        ASSERT_TRUE(failure);
        EXPECT_TRUE(isRealmError(*failure, RealmErrorCode::full)) << failure->description;
        EXPECT_EQ(realm->objects<ReminderItem>().count(), 3U);
        disk.setFull(false);
        EXPECT_FALSE(realm->write(
            [&] { realm->add(ReminderItem("x", ReminderCondition::device(DeviceType::mac), {}, false), true); }));
    }
    EXPECT_EQ(countOfReminders(), 4U);
}

TEST_F(SQLiteFile, AWriteThatCannotBeMadeDurableFails) {
    ShimFileSystem disk;
    world_.options.fileSystem = ShimFileSystem::name();
    makeFile();
    const auto realm = world_.open().value();
    disk.setSyncsFailing(true);
    const auto failure = realm->write(
        [&] { realm->add(ReminderItem("x", ReminderCondition::device(DeviceType::mac), {}, false), true); });
    ASSERT_TRUE(failure);
    EXPECT_TRUE(isRealmError(*failure, RealmErrorCode::unavailable)) << failure->description;
    EXPECT_EQ(realm->objects<ReminderItem>().count(), 3U);
    disk.setSyncsFailing(false);
}

TEST_F(SQLiteFile, AReadThatFailsInsideAWriteFailsTheWholeWrite) {
    ShimFileSystem disk;
    world_.options.fileSystem = ShimFileSystem::name();
    std::vector<std::string> ids;
    {
        const auto realm = world_.open().value();
        ASSERT_FALSE(realm->write([&] {
            for (int i = 0; i < 400; ++i) {
                ReminderItem item("Reminder", ReminderCondition::dateTime(Date(2e9 + i)), std::nullopt, false);
                item.deleted = true;
                ids.push_back(item.ID);
                realm->add(item, true);
            }
        }));
    }
    const auto realm = world_.open().value();
    const auto scheduler = std::make_shared<RecordingScheduler>();
    const auto controller = ReminderController::create(scheduler, realm);
    // Opening has read every page; what is read now must come from the disk.
    sqlite3_db_release_memory(realm->connection().handle());
    disk.setReadsFailing(true);
    controller->store(ReminderStruct(ids[200], "revived", false, ReminderCondition::dateTime(Date(2e9))));
    const auto failure = realm->write([&] {
        realm->add(ReminderItem("before", ReminderCondition::device(DeviceType::mac), {}, false), true);
        static_cast<void>(realm->objects<ReminderItem>().filter("ID = %@", ids[300]).count());
        realm->add(ReminderItem("after", ReminderCondition::device(DeviceType::mac), {}, false), true);
    });
    disk.setReadsFailing(false);
    EXPECT_TRUE(scheduler->scheduled().empty());
    EXPECT_TRUE(failure && isRealmError(*failure, RealmErrorCode::unavailable));
    EXPECT_EQ(realm->objects<ReminderItem>().count(), 400U);
    EXPECT_EQ(realm->objects<ReminderItem>().filter("deleted = true").count(), 400U);
    ASSERT_EQ(world_.failures.size(), 2U);
    EXPECT_TRUE(isRealmError(world_.failures[0], RealmErrorCode::unavailable)) << world_.failures[0].description;
}

TEST_F(SQLiteFile, AQueryOfSeveralStatementsSeesOneState) {
    const auto realm = world_.open().value();
    const auto other = world_.open().value();
    const auto add = [&](const char* id, bool shown, bool deleted) {
        ReminderItem item(id, ReminderCondition::device(DeviceType::mac), id, shown);
        item.deleted = deleted;
        realm->add(item, true);
    };
    ASSERT_FALSE(realm->write([&] {
        add("first", true, false);
        add("moving", false, true);
    }));
    std::vector<std::string> seen;
    realm->objects<ReminderItem>().filter("shown = true OR deleted = true").forEach([&](const ReminderItem& item) {
        seen.push_back(item.ID);
        // Moves from one side of the OR to the other.
        EXPECT_FALSE(other->write([&] { other->set<ReminderItem>("moving", {{"shown", true}, {"deleted", false}}); }));
        return true;
    });
    EXPECT_EQ(seen, (std::vector<std::string>{"first", "moving"}));
}

TEST_F(SQLiteFile, ATableWithoutItsChecksIsDamage) {
    makeFile();
    ASSERT_TRUE(runSQL(world_.file,
                       "DROP TABLE ReminderItem; CREATE TABLE ReminderItem (ID TEXT NOT NULL PRIMARY KEY, title TEXT "
                       "NOT NULL, deleted INTEGER NOT NULL, shown INTEGER NOT NULL, completionDate REAL NOT NULL, "
                       "pending INTEGER NOT NULL, _device INTEGER NOT NULL, _datetime REAL NOT NULL) STRICT"));
    expectDamaged("table ReminderItem is not as this program makes it");
}

TEST_F(SQLiteFile, ATriggerOfAnotherProgramDoesNotRun) {
    makeFile(0);
    ASSERT_TRUE(
        runSQL(world_.file,
               "CREATE TRIGGER meddle AFTER INSERT ON ReminderItem BEGIN UPDATE ReminderItem SET title = 'x'; END"));
    makeFile(1);
    EXPECT_EQ(querySQL(world_.file, "SELECT title FROM ReminderItem"), "Reminder 0");
}

TEST_F(SQLiteFile, ARefusedFileKeepsItsMode) {
    makeFile();
    ASSERT_TRUE(runSQL(world_.file, "PRAGMA user_version = 5"));
    chmod(world_.file.c_str(), 0644);
    static_cast<void>(refusal());
    EXPECT_EQ(modeOf(world_.file), 0644U);
}

TEST_F(SQLiteFile, AFolderThatCannotBeLookedIntoIsRefused) {
    std::filesystem::create_directory(world_.folder.path() / "closed");
    chmod(world_.folder.path().c_str(), 0755);
    chmod((world_.folder.path() / "closed").c_str(), geteuid() == 0 ? 0700 : 0);
    world_.file = world_.folder.path() / "closed" / "inner" / "reminders.sqlite";
    EXPECT_EQ(runAsOrdinaryUser([&] {
                  auto realm = world_.open();
                  return !realm && isRealmError(realm.error(), RealmErrorCode::notPermitted) ? 0 : 1;
              }),
              0);
}

TEST_F(SQLiteFile, AHotJournalIsRolledBack) {
    makeFile();
    ASSERT_TRUE(runSQL(world_.file, "PRAGMA journal_mode = DELETE"));
    // A process that ends in the middle of a large transaction leaves its journal behind.
    runInChild([&] {
        sqlite3* database = nullptr;
        sqlite3_open(world_.file.c_str(), &database);
        sqlite3_exec(database,
                     "PRAGMA cache_size = 1; BEGIN IMMEDIATE; UPDATE ReminderItem SET title = hex(randomblob(100000))",
                     nullptr, nullptr, nullptr);
        return 0;
    });
    ASSERT_TRUE(std::filesystem::exists(world_.file.string() + "-journal"));
    const auto realm = world_.open().value();
    const auto items = realm->objects<ReminderItem>().sorted("title", true).toVector();
    ASSERT_EQ(items.size(), 3U);
    EXPECT_EQ(items[0].title, "Reminder 0");
}

TEST_F(SQLiteFile, AForeignWriteAheadLogIsLeftOut) {
    makeFile();
    // A log whose checksums are not those of its frames is no log.
    writeContents(world_.file.string() + "-wal", std::string(32 + 4120, '\x37'));
    EXPECT_EQ(countOfReminders(), 3U);
}

TEST_F(SQLiteFile, LookingAFileOverChangesNothing) {
    SQLiteRealmProvider provider(world_.options);
    EXPECT_FALSE(provider.examine(QuendoKitConfig()).value());
    EXPECT_FALSE(std::filesystem::exists(world_.file));

    makeFile();
    const std::string before = contentsOf(world_.file);
    EXPECT_EQ(provider.examine(QuendoKitConfig()).value(), 4U);
    EXPECT_TRUE(contentsOf(world_.file) == before);
    EXPECT_FALSE(std::filesystem::exists(world_.file.string() + "-wal"));
    EXPECT_FALSE(std::filesystem::exists(world_.file.string() + "-shm"));

    ASSERT_TRUE(runSQL(world_.file, "PRAGMA user_version = 5"));
    EXPECT_TRUE(isRealmError(provider.examine(QuendoKitConfig()).error(), RealmErrorCode::newerVersion));
}

}  // namespace
}  // namespace quendokit::testing

/// \file
/// What operations cost on SQLite, counted: syncs, prepared statements, scans, sorts, steps.

#include <algorithm>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "quendokit/store/reminder_controller_internal.hpp"
#include "tests/support/shim_file_system.hpp"
#include "tests/support/sqlite_world.hpp"

namespace quendokit::testing {
namespace {

class SQLiteCosts : public ::testing::Test {
protected:
    SQLiteCosts() : realm_(world_.open().value()), controller_(ReminderController::create(scheduler_, realm_)) {}

    /// Half upcoming, half passed, some at the Mac, some of those seen, one deleted.
    void fill(int count) {
        const double now = world_.clock->now().timeIntervalSince1970();
        ASSERT_FALSE(realm_->write([&] {
            for (int i = 0; i < count; ++i) {
                const Date date(now + (i % 2 == 0 ? 60.0 : -60.0) * (i + 1));
                const auto condition =
                    i % 50 == 0 ? ReminderCondition::device(DeviceType::mac) : ReminderCondition::dateTime(date);
                ReminderItem item("Reminder " + std::to_string(i), condition, idOf(i), i % 100 == 0);
                item.deleted = i % 100 == 7;
                item.pending = i < 10;
                realm_->add(item, true);
            }
        }));
    }

    static std::string idOf(int i) { return "00000000-0000-4000-8000-" + std::to_string(100'000'000'000 + i); }

    /// Everything that reads, once.
    void readEverything() {
        static_cast<void>(controller_->reminders(false));
        static_cast<void>(controller_->reminders(true));
        static_cast<void>(controller_->hasReminders());
        static_cast<void>(controller_->reminder(idOf(3)));
        static_cast<void>(controller_->reminder("unknown"));
        static_cast<void>(ReminderControllerInternal::reminderItem(*controller_, idOf(50)));
        static_cast<void>(controller_->reminderStats(false));
        static_cast<void>(controller_->remindersToUpload());
        static_cast<void>(controller_->remindersToDelete());
        static_cast<void>(ReminderControllerInternal::unseenReminders(*controller_));
    }

    /// The sum of a counter over all statements, set back to 0.
    int take(int counter) const {
        int sum = 0;
        sqlite3* database = realm_->connection().handle();
        for (auto* each = sqlite3_next_stmt(database, nullptr); each != nullptr;
             each = sqlite3_next_stmt(database, each)) {
            sum += sqlite3_stmt_status(each, counter, 1);
        }
        return sum;
    }

    /// What SQLite plans for each statement that reads reminders.
    [[nodiscard]] std::vector<std::string> plans() const {
        std::vector<std::string> queries;
        sqlite3* database = realm_->connection().handle();
        for (auto* each = sqlite3_next_stmt(database, nullptr); each != nullptr;
             each = sqlite3_next_stmt(database, each)) {
            const std::string sql = sqlite3_sql(each);
            if (sql.starts_with("SELECT")) {
                queries.push_back(sql);
            }
        }
        std::vector<std::string> lines;
        for (const std::string& sql : queries) {
            const auto plan = realm_->connection().prepare("EXPLAIN QUERY PLAN " + sql, false);
            while (plan->step() == sqlite::Step::row) {
                lines.emplace_back(plan->text(3));
            }
        }
        return lines;
    }

    ShimFileSystem shim_;
    SQLiteWorld world_{ShimFileSystem::name()};
    platform::ScopedInstall installed_{world_.services()};
    std::shared_ptr<RecordingScheduler> scheduler_ = std::make_shared<RecordingScheduler>();
    std::shared_ptr<sqlite::SQLiteRealm> realm_;
    std::shared_ptr<ReminderController> controller_;
};

TEST_F(SQLiteCosts, StoringANewReminderSyncsOnce) {
    controller_->store(ReminderStruct("first", ReminderCondition::dateTime(Date(2'000'000'000))));
    const auto before = shim_.syncCount();
    controller_->store(ReminderStruct("second", ReminderCondition::dateTime(Date(2'000'000'000))));
    EXPECT_EQ(shim_.syncCount() - before, 1U);
}

TEST_F(SQLiteCosts, WritesWhoseDurabilityIsDeferredShareOneSync) {
    const auto store = [&](int count) {
        for (int i = 0; i < count; ++i) {
            controller_->store(ReminderStruct("one of them", ReminderCondition::dateTime(Date(2'000'000'000))));
        }
    };
    store(1);
    auto before = shim_.syncCount();
    EXPECT_FALSE(realm_->makeDurable());
    realm_->deferDurability();
    realm_->deferDurability();
    EXPECT_FALSE(realm_->makeDurable());
    EXPECT_EQ(shim_.syncCount(), before) << "nothing was written";

    realm_->deferDurability();
    store(200);
    EXPECT_EQ(shim_.syncCount(), before);
    EXPECT_FALSE(realm_->makeDurable());
    EXPECT_EQ(shim_.syncCount() - before, 1U);

    before = shim_.syncCount();
    EXPECT_FALSE(realm_->makeDurable());
    EXPECT_EQ(shim_.syncCount(), before);
    store(2);
    EXPECT_EQ(shim_.syncCount() - before, 2U);
}

TEST_F(SQLiteCosts, WhatCouldNotBeMadeDurableIsTriedAgain) {
    realm_->deferDurability();
    controller_->store(ReminderStruct("one", ReminderCondition::dateTime(Date(2'000'000'000))));
    shim_.failNextSync();
    EXPECT_TRUE(realm_->makeDurable());
    const auto before = shim_.syncCount();
    EXPECT_FALSE(realm_->makeDurable());
    EXPECT_EQ(shim_.syncCount() - before, 1U);
    EXPECT_FALSE(realm_->makeDurable());
    EXPECT_EQ(shim_.syncCount() - before, 1U) << "nothing is left to do";
}

TEST_F(SQLiteCosts, StoringOverAReminderSyncsOnce) {
    fill(10);
    const auto before = shim_.syncCount();
    controller_->store(ReminderStruct(idOf(3), "again", false, ReminderCondition::dateTime(Date(2'000'000'000))));
    EXPECT_EQ(shim_.syncCount() - before, 1U);
}

TEST_F(SQLiteCosts, StoringOverADeletedReminderSyncsNothing) {
    fill(10);
    const auto before = shim_.syncCount();
    controller_->store(ReminderStruct(idOf(7), "revived", false, ReminderCondition::dateTime(Date(2'000'000'000))));
    EXPECT_EQ(shim_.syncCount(), before);
}

TEST_F(SQLiteCosts, DeletingSyncsOnceAndHardDeletingOnce) {
    fill(10);
    auto before = shim_.syncCount();
    controller_->delete_(*controller_->reminder(idOf(3)));
    EXPECT_EQ(shim_.syncCount() - before, 1U);

    before = shim_.syncCount();
    ReminderControllerInternal::hardDelete(*controller_,
                                           *ReminderControllerInternal::reminderItem(*controller_, idOf(4)));
    EXPECT_EQ(shim_.syncCount() - before, 1U);
}

TEST_F(SQLiteCosts, PostponingSyncsOnce) {
    fill(60);
    for (const int i : {3, 4, 50}) {
        for (const auto& condition :
             {ReminderCondition::dateTime(Date(2'000'000'000)), ReminderCondition::device(DeviceType::mac)}) {
            const auto before = shim_.syncCount();
            controller_->postpone(*controller_->reminder(idOf(i)), condition);
            EXPECT_EQ(shim_.syncCount() - before, 1U);
        }
    }
}

TEST_F(SQLiteCosts, MarkingSeenSyncsOnceForAnyNumber) {
    fill(500);
    auto before = shim_.syncCount();
    controller_->markSeen();
    EXPECT_EQ(shim_.syncCount() - before, 1U);

    const auto reminders = controller_->reminders(false);
    before = shim_.syncCount();
    controller_->markSeen(reminders);
    EXPECT_EQ(shim_.syncCount() - before, 1U);
}

TEST_F(SQLiteCosts, MarkingNothingSeenSyncsNothing) {
    controller_->markSeen();
    fill(10);
    controller_->markSeen();
    const auto before = shim_.changeCount();
    controller_->markSeen();
    controller_->markSeen(std::vector<ReminderStruct>());
    EXPECT_EQ(shim_.changeCount(), before);
}

TEST_F(SQLiteCosts, StoringManySyncsOnceForAnyNumber) {
    std::vector<ReminderStruct> reminders;
    for (int i = 0; i < 500; ++i) {
        reminders.emplace_back("new", ReminderCondition::dateTime(Date(2'000'000'000)));
    }
    controller_->store({reminders.front()});
    const auto before = shim_.syncCount();
    controller_->store(reminders);
    EXPECT_EQ(shim_.syncCount() - before, 1U);
}

TEST_F(SQLiteCosts, WhatTheCloudConfirmsSyncsOnceAndWhatArrivesOnceEach) {
    fill(100);
    std::vector<std::string> ids;
    for (int i = 0; i < 100; ++i) {
        ids.push_back(idOf(i));
    }
    controller_->didSyncReminders(ids);
    controller_->storeReminder(*controller_->reminder(idOf(3)));
    controller_->deleteReminder(idOf(4));
    controller_->deleteReminder("unknown");
    for (const std::size_t syncs : {1U, 1U, 1U, 0U}) {
        const auto before = shim_.syncCount();
        ASSERT_TRUE(world_.mainQueue->runNext());
        EXPECT_EQ(shim_.syncCount() - before, syncs);
    }
}

TEST_F(SQLiteCosts, OneWriteOfManyObjectsSyncsOnce) {
    fill(1);
    const auto before = shim_.syncCount();
    fill(500);
    EXPECT_EQ(shim_.syncCount() - before, 1U);
}

TEST_F(SQLiteCosts, ReadingSyncsNothing) {
    fill(100);
    const auto before = shim_.changeCount();
    readEverything();
    EXPECT_EQ(shim_.changeCount(), before);
}

TEST_F(SQLiteCosts, AListingReadsTheClockOnce) {
    fill(100);
    const auto before = world_.clock->readCount();
    static_cast<void>(controller_->reminders(false));
    EXPECT_EQ(world_.clock->readCount() - before, 1U);
    static_cast<void>(controller_->reminderStats(false));
    EXPECT_EQ(world_.clock->readCount() - before, 2U);
}

TEST_F(SQLiteCosts, NoStatementIsPreparedTwice) {
    const auto everything = [&] {
        controller_->store(ReminderStruct("new", ReminderCondition::dateTime(Date(2'000'000'000))));
        controller_->store(ReminderStruct("new", ReminderCondition::device(DeviceType::mac)));
        controller_->delete_(*controller_->reminder(*scheduler_->scheduled().back().id()));
        const auto some = *controller_->reminder(idOf(3));
        controller_->postpone(some, ReminderCondition::device(DeviceType::mac));
        controller_->postpone(some, ReminderCondition::dateTime(Date(2'000'000'000)));
        controller_->markSeen();
        controller_->markSeen({some});
        controller_->store(std::vector{some, some});
        controller_->didSyncReminders({idOf(3), *scheduler_->scheduled().front().id()});
        world_.mainQueue->runAll();
        readEverything();
    };
    fill(100);
    everything();
    const auto prepared = realm_->connection().prepareCount();
    take(SQLITE_STMTSTATUS_REPREPARE);
    for (int i = 0; i < 20; ++i) {
        everything();
    }
    EXPECT_EQ(realm_->connection().prepareCount(), prepared);
    EXPECT_EQ(take(SQLITE_STMTSTATUS_REPREPARE), 0);
}

TEST_F(SQLiteCosts, NothingScansATableOrSorts) {
    fill(1'000);
    take(SQLITE_STMTSTATUS_FULLSCAN_STEP);
    take(SQLITE_STMTSTATUS_SORT);
    readEverything();
    controller_->store(ReminderStruct("new", ReminderCondition::dateTime(Date(2'000'000'000))));
    controller_->delete_(*controller_->reminder(idOf(3)));
    controller_->postpone(*controller_->reminder(idOf(4)), ReminderCondition::device(DeviceType::mac));
    controller_->markSeen();
    controller_->didSyncReminders({idOf(3), idOf(4)});
    world_.mainQueue->runAll();
    EXPECT_EQ(take(SQLITE_STMTSTATUS_FULLSCAN_STEP), 0);
    EXPECT_EQ(take(SQLITE_STMTSTATUS_SORT), 0);
}

TEST_F(SQLiteCosts, EveryQueryIsPlannedAsASearchOfTheHintedIndex) {
    fill(1'000);
    readEverything();
    const auto lines = plans();
    ASSERT_GE(lines.size(), 16U);
    bool byMac = false;
    bool bySeen = false;
    int byUnsent = 0;
    bool byUnseen = false;
    for (const std::string& line : lines) {
        EXPECT_TRUE(line.starts_with("SEARCH ReminderItem USING")) << line;
        byMac = byMac || line.find("INDEX ReminderItem_waiting_at_mac (_device=? AND shown=?)") != std::string::npos;
        bySeen = bySeen || line.find("INDEX ReminderItem_seen_at_device (shown=?)") != std::string::npos;
        byUnsent += static_cast<int>(line.find("INDEX ReminderItem_unsent (pending=?") != std::string::npos);
        byUnseen = byUnseen || line.find("INDEX ReminderItem_unseen_at_device (shown=?)") != std::string::npos;
    }
    EXPECT_EQ(byUnsent, 2);
    EXPECT_TRUE(byUnseen);
    EXPECT_TRUE(byMac);
    EXPECT_TRUE(bySeen);
    EXPECT_NE(std::find(lines.begin(), lines.end(),
                        "SEARCH ReminderItem USING COVERING INDEX ReminderItem_by_moment (_device=? AND _datetime>?)"),
              lines.end());
    EXPECT_NE(std::find(lines.begin(), lines.end(),
                        "SEARCH ReminderItem USING COVERING INDEX ReminderItem_by_moment (_device=? AND _datetime<?)"),
              lines.end());
}

TEST_F(SQLiteCosts, ALookUpTakesAsManyStepsAmongTenThousandAsAmongAHundred) {
    const auto steps = [&] {
        static_cast<void>(controller_->reminder(idOf(3)));
        take(SQLITE_STMTSTATUS_VM_STEP);
        static_cast<void>(controller_->reminder(idOf(3)));
        return take(SQLITE_STMTSTATUS_VM_STEP);
    };
    fill(100);
    const int few = steps();
    fill(10'000);
    EXPECT_EQ(steps(), few);
    EXPECT_GT(few, 0);
}

TEST_F(SQLiteCosts, ListingWhatIsUnsentTakesAsManyStepsAmongTenThousandAsAmongAHundred) {
    const auto steps = [&] {
        EXPECT_EQ(controller_->remindersToUpload()->size(), 9U);
        EXPECT_EQ(controller_->remindersToDelete()->size(), 1U);
        take(SQLITE_STMTSTATUS_VM_STEP);
        static_cast<void>(controller_->remindersToUpload());
        static_cast<void>(controller_->remindersToDelete());
        return take(SQLITE_STMTSTATUS_VM_STEP);
    };
    fill(100);
    const int few = steps();
    fill(10'000);
    EXPECT_EQ(steps(), few);
    EXPECT_GT(few, 0);
}

TEST_F(SQLiteCosts, AskingWhetherThereAreRemindersTakesAsManyStepsAmongTenThousandAsAmongAHundred) {
    const auto steps = [&] {
        EXPECT_TRUE(controller_->hasReminders());
        take(SQLITE_STMTSTATUS_VM_STEP);
        EXPECT_TRUE(controller_->hasReminders());
        return take(SQLITE_STMTSTATUS_VM_STEP);
    };
    fill(100);
    const int few = steps();
    fill(10'000);
    EXPECT_EQ(steps(), few);
}

}  // namespace
}  // namespace quendokit::testing

#include "tests/support/store_fixture.hpp"

namespace quendokit::testing {
namespace {

class SyncBookkeeping : public StoreFixture {
protected:
    static ReminderItem unsent(ReminderItem item) {
        item.pending = true;
        return item;
    }
    static ReminderItem deleted(ReminderItem item) {
        item.deleted = true;
        item.pending = true;
        return item;
    }
    [[nodiscard]] Lines toUpload() const { return ids(controller->remindersToUpload().value()); }
    [[nodiscard]] Lines toDelete() const { return ids(controller->remindersToDelete().value()); }
};

TEST_P(SyncBookkeeping, OfAnEmptyDatabaseAnswersEmptyLists) {
    EXPECT_EQ(toUpload(), Lines{});
    EXPECT_EQ(toDelete(), Lines{});
}

TEST_P(SyncBookkeeping, UploadsTheUnsentOnesMacThenUpcomingThenRemaining) {
    put({unsent(macItem("b mac")), unsent(macItem("a mac")), macItem("sent mac"), unsent(datedItem("late", after(90))),
         unsent(datedItem("early", after(60))), datedItem("sent", after(60)), unsent(datedItem("older", after(-90))),
         unsent(datedItem("newer", after(-60))), unsent(macItem("seen", true, after(-75)))});
    EXPECT_EQ(toUpload(), (Lines{"a mac", "b mac", "early", "late", "newer", "seen", "older"}));
    EXPECT_EQ(toDelete(), Lines{});
}

TEST_P(SyncBookkeeping, ADeletedOneIsToBeDeletedAndNeverUploaded) {
    put({deleted(datedItem("gone", after(60))), deleted(macItem("gone mac")), unsent(datedItem("kept", after(60)))});
    EXPECT_EQ(toUpload(), Lines{"kept"});
    EXPECT_EQ(toDelete(), (Lines{"gone mac", "gone"}));
}

TEST_P(SyncBookkeeping, ADeletedOneThatIsNotUnsentIsNeither) {
    ReminderItem item = datedItem("a", after(60));
    item.deleted = true;
    put({item});
    EXPECT_EQ(toUpload(), Lines{});
    EXPECT_EQ(toDelete(), Lines{});
}

TEST_P(SyncBookkeeping, WhatIsInNoListIsNotSentNow) {
    put({unsent(datedItem("due", now)), unsent(deviceItem("odd", 2, false)), deleted(datedItem("gone", now))});
    EXPECT_EQ(toUpload(), Lines{});
    EXPECT_EQ(toDelete(), Lines{});
    clock->advanceBy(std::chrono::seconds(1));
    EXPECT_EQ(toUpload(), Lines{"due"});
    EXPECT_EQ(toDelete(), Lines{"gone"});
}

TEST_P(SyncBookkeeping, ARecordThatIsNoReminderIsUploadedAsItIs) {
    put({unsent(datedItem("epoch", ReminderDefaults::NoDate))});
    EXPECT_EQ(toUpload(), Lines{"epoch"});
}

TEST_P(SyncBookkeeping, FollowsTheLifeOfARecord) {
    controller->store(ReminderStruct("created", ReminderCondition::dateTime(after(60))));
    EXPECT_EQ(toUpload(), Lines{"fresh-1"});
    const auto confirm = [&] {
        controller->didSyncReminders({"fresh-1"});
        mainQueue->runAll();
    };
    confirm();
    EXPECT_EQ(toUpload(), Lines{});
    controller->postpone(controller->reminder("fresh-1").value(), ReminderCondition::device(DeviceType::mac));
    EXPECT_EQ(toUpload(), Lines{"fresh-1"});
    confirm();
    controller->markSeen();
    EXPECT_EQ(toUpload(), Lines{"fresh-1"});
    confirm();
    EXPECT_EQ(toUpload(), Lines{});
    controller->delete_(controller->reminder("fresh-1").value());
    EXPECT_EQ(toDelete(), Lines{"fresh-1"});
    confirm();
    EXPECT_TRUE(stored().empty());
}

TEST_P(SyncBookkeeping, WhatArrivesIsStoredInALaterTurnAndIsNotUnsent) {
    controller->storeReminder(reminderOf(datedItem("a", after(60))));
    EXPECT_TRUE(trace->lines().empty());
    EXPECT_EQ(mainQueue->count(), 1U);
    mainQueue->runAll();
    EXPECT_EQ(trace->lines(), (Lines{"begin", "🗃 [store] a", "add a", "commit", "schedule a", "did add"}));
    EXPECT_EQ(storedTexts(), Lines{text(datedItem("a", after(60)))});
}

TEST_P(SyncBookkeeping, WhatArrivesForADeletedOneDoesNotReviveIt) {
    const ReminderItem gone = deleted(datedItem("a", after(60)));
    put({gone});
    controller->storeReminder(reminderOf(datedItem("a", after(90))));
    mainQueue->runAll();
    EXPECT_EQ(storedTexts(), Lines{text(gone)});
}

TEST_P(SyncBookkeeping, ADeletionThatArrivesRemovesTheRecordInALaterTurn) {
    put({unsent(datedItem("a", after(60))), datedItem("kept", after(60))});
    controller->deleteReminder("a");
    EXPECT_TRUE(trace->lines().empty());
    mainQueue->runAll();
    EXPECT_EQ(trace->lines(), (Lines{"cancel a", "begin", "delete a", "commit"}));
    EXPECT_EQ(ids(stored()), Lines{"kept"});
}

TEST_P(SyncBookkeeping, ADeletionOfWhatIsNotThereDoesNothing) {
    put({datedItem("due", now)});
    controller->deleteReminder("unknown");
    controller->deleteReminder("due");
    mainQueue->runAll();
    EXPECT_TRUE(trace->lines().empty());
    EXPECT_EQ(ids(stored()), Lines{"due"});
}

TEST_P(SyncBookkeeping, AConfirmationClearsAndRemovesInOneWriteInALaterTurn) {
    put({unsent(datedItem("a", after(60))), deleted(macItem("b")), unsent(datedItem("c", after(60)))});
    controller->didSyncReminders({"b", "a"});
    EXPECT_TRUE(trace->lines().empty());
    mainQueue->runAll();
    EXPECT_EQ(trace->lines(), (Lines{"begin", "delete b", "set a pending", "commit"}));
    EXPECT_EQ(storedTexts(), (Lines{text(datedItem("a", after(60))), text(unsent(datedItem("c", after(60))))}));
}

TEST_P(SyncBookkeeping, AConfirmationTellsNeitherSchedulerNorDelegate) {
    put({unsent(datedItem("a", after(60))), deleted(macItem("b"))});
    controller->didSyncReminders({"a", "b"});
    mainQueue->runAll();
    EXPECT_TRUE(scheduler->cancelled().empty());
    EXPECT_TRUE(scheduler->scheduled().empty());
    EXPECT_EQ(delegate->added() + delegate->removed(), 0);
}

TEST_P(SyncBookkeeping, AConfirmationOfUnknownIdsChangesNothing) {
    put({unsent(datedItem("a", after(60))), unsent(datedItem("due", now))});
    const Lines before = storedTexts();
    controller->didSyncReminders({"unknown", "", "due"});
    mainQueue->runAll();
    EXPECT_EQ(trace->lines(), (Lines{"begin", "commit"}));
    EXPECT_EQ(storedTexts(), before);
}

TEST_P(SyncBookkeeping, AnIdConfirmedTwiceIsLikeOnce) {
    put({deleted(datedItem("a", after(60))), unsent(datedItem("b", after(60)))});
    controller->didSyncReminders({"a", "a", "b", "b"});
    mainQueue->runAll();
    EXPECT_EQ(storedTexts(), Lines{text(datedItem("b", after(60)))});
}

TEST_P(SyncBookkeeping, AConfirmationThatCannotBeWrittenLeavesAllUnsent) {
    put({unsent(datedItem("a", after(60))), deleted(datedItem("b", after(60)))});
    const Lines before = storedTexts();
    for (const FailAt at : {FailAt::begin, FailAt::commit}) {
        realm->failNextWrite(at);
        controller->didSyncReminders({"a", "b"});
        mainQueue->runAll();
        EXPECT_EQ(storedTexts(), before);
    }
}

TEST_P(SyncBookkeeping, WhatWaitsForItsTurnRunsInItsOrder) {
    controller->storeReminder(reminderOf(datedItem("a", after(60))));
    controller->deleteReminder("a");
    controller->storeReminder(reminderOf(datedItem("b", after(60))));
    mainQueue->runAll();
    EXPECT_EQ(ids(stored()), Lines{"b"});
}

TEST_P(SyncBookkeeping, WhatWaitsForItsTurnKeepsTheControllerUntilThen) {
    const std::weak_ptr<ReminderController> weak = controller;
    controller->storeReminder(reminderOf(datedItem("a", after(60))));
    controller->deleteReminder("unknown");
    controller->didSyncReminders({"unknown"});
    controller.reset();
    EXPECT_FALSE(weak.expired());
    mainQueue->runAll();
    EXPECT_TRUE(weak.expired());
    EXPECT_EQ(ids(stored()), Lines{"a"});
}

TEST_P(SyncBookkeeping, ReadsTheClockOnceAList) {
    const auto before = clock->readCount();
    static_cast<void>(controller->remindersToUpload());
    static_cast<void>(controller->remindersToDelete());
    EXPECT_EQ(clock->readCount() - before, 2U);
}

INSTANTIATE_TEST_SUITE_P(Databases, SyncBookkeeping, ::testing::ValuesIn(realmImplementations()), realmName);

}  // namespace
}  // namespace quendokit::testing

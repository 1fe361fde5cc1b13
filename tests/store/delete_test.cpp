#include "tests/support/store_fixture.hpp"

namespace quendokit::testing {
namespace {

class DeletingAReminder : public StoreFixture {
protected:
    /// The text of a record once it is soft-deleted.
    static std::string softDeleted(ReminderItem item) {
        item.deleted = true;
        item.pending = true;
        return text(item);
    }
};

TEST_P(DeletingAReminder, MarksTheRecordDeletedAndPendingAndNothingElse) {
    const ReminderItem gone = datedItem("gone", after(60));
    const ReminderItem kept = datedItem("kept", after(61));
    put({gone, kept});
    controller->delete_(reminderOf(gone));
    EXPECT_EQ(storedTexts(), (Lines{softDeleted(gone), text(kept)}));
    EXPECT_EQ(ids(controller->reminders(false)), Lines{"kept"});
    EXPECT_EQ(ids(controller->reminders(true)), (Lines{"gone", "kept"}));
}

TEST_P(DeletingAReminder, WorksInEachList) {
    const std::vector<ReminderItem> items{datedItem("passed", after(-60)), macItem("mac"), macItem("seen", true),
                                          datedItem("upcoming", after(60))};
    put(items);
    for (const ReminderItem& item : items) {
        controller->delete_(reminderOf(item));
    }
    EXPECT_FALSE(controller->hasReminders());
    EXPECT_EQ(controller->reminders(true).size(), 4U);
    EXPECT_EQ(delegate->removed(), 4);
}

TEST_P(DeletingAReminder, CancelsTwiceCommitsAndTells) {
    put({datedItem("gone", after(60))});
    controller->delete_(reminderOf(stored()[0]));
    EXPECT_EQ(trace->lines(),
              (Lines{"cancel gone", "cancel gone", "begin", "set gone deleted pending", "commit", "did remove"}));
    EXPECT_EQ(delegate->lastController(), controller.get());
}

TEST_P(DeletingAReminder, CancelsTheReminderPassedInAndThenTheRecordsOwn) {
    put({datedItem("gone", after(60))});
    controller->delete_(ReminderStruct("gone", "stale", true, ReminderCondition::device(DeviceType::mac)));
    EXPECT_EQ(texts(scheduler->cancelled()),
              (Lines{"gone: \"stale\" shown at the Mac", "gone: \"gone\" at 1795302060.25"}));
    EXPECT_EQ(storedTexts(), Lines{softDeleted(datedItem("gone", after(60)))});
}

TEST_P(DeletingAReminder, ARecordThatDoesNotConvertIsCancelledOnlyAsPassedIn) {
    const ReminderItem odd = deviceItem("odd", 2, true);
    put({odd});
    controller->delete_(ReminderStruct("odd", "passed in", false, ReminderCondition::dateTime(after(60))));
    EXPECT_EQ(texts(scheduler->cancelled()), Lines{"odd: \"passed in\" at 1795302060.25"});
    EXPECT_EQ(storedTexts(), Lines{softDeleted(odd)});
    EXPECT_EQ(delegate->removed(), 1);
}

TEST_P(DeletingAReminder, WithoutAnIdDoesNothing) {
    put({datedItem("kept", after(60))});
    controller->delete_(ReminderStruct("kept", ReminderCondition::dateTime(after(60))));
    EXPECT_TRUE(trace->lines().empty());
}

TEST_P(DeletingAReminder, ThatIsNotStoredDoesNothing) {
    put({datedItem("kept", after(60))});
    controller->delete_(ReminderStruct("unknown", "kept", false, ReminderCondition::dateTime(after(60))));
    EXPECT_TRUE(trace->lines().empty());
}

TEST_P(DeletingAReminder, ThatIsInNoListDoesNothing) {
    put({datedItem("due", now), deviceItem("odd", 2, false)});
    const Lines before = storedTexts();
    controller->delete_(reminderOf(datedItem("due", now)));
    controller->delete_(ReminderStruct("odd", "t", false, ReminderCondition::device(DeviceType::mac)));
    EXPECT_TRUE(trace->lines().empty());
    EXPECT_EQ(storedTexts(), before);
}

TEST_P(DeletingAReminder, TwiceDoesAllOfItTwice) {
    put({datedItem("gone", after(60))});
    const ReminderStruct reminder = reminderOf(stored()[0]);
    controller->delete_(reminder);
    trace->clear();
    controller->delete_(reminder);
    EXPECT_EQ(trace->lines(),
              (Lines{"cancel gone", "cancel gone", "begin", "set gone deleted pending", "commit", "did remove"}));
}

TEST_P(DeletingAReminder, GoesOnWhenTheWriteCannotBegin) {
    put({datedItem("gone", after(60))});
    const Lines before = storedTexts();
    realm->failNextWrite(FailAt::begin);
    controller->delete_(reminderOf(stored()[0]));
    EXPECT_EQ(trace->lines(), (Lines{"cancel gone", "cancel gone", "no begin", "did remove"}));
    EXPECT_EQ(storedTexts(), before);
}

TEST_P(DeletingAReminder, GoesOnWhenTheWriteCannotCommit) {
    put({datedItem("gone", after(60))});
    const Lines before = storedTexts();
    realm->failNextWrite(FailAt::commit);
    controller->delete_(reminderOf(stored()[0]));
    EXPECT_EQ(trace->lines(),
              (Lines{"cancel gone", "cancel gone", "begin", "set gone deleted pending", "rollback", "did remove"}));
    EXPECT_EQ(storedTexts(), before);
}

using SoftDeletingARecord = DeletingAReminder;

TEST_P(SoftDeletingARecord, CancelsThenCommitsAndTellsNobody) {
    put({datedItem("gone", after(60))});
    Internal::softDelete(*controller, stored()[0]);
    EXPECT_EQ(trace->lines(), (Lines{"cancel gone", "begin", "set gone deleted pending", "commit"}));
}

TEST_P(SoftDeletingARecord, KeepsWhatChangedSinceItWasRead) {
    put({datedItem("gone", after(60))});
    const ReminderItem read = stored()[0];
    ReminderItem changed = read;
    changed.title = "changed meanwhile";
    changed.shown = true;
    put({changed});
    Internal::softDelete(*controller, read);
    EXPECT_EQ(storedTexts(), Lines{softDeleted(changed)});
}

TEST_P(SoftDeletingARecord, DoesNotRecreateOneThatWentMeanwhile) {
    Internal::softDelete(*controller, datedItem("gone", after(60)));
    EXPECT_TRUE(stored().empty());
}

using HardDeletingARecord = DeletingAReminder;

TEST_P(HardDeletingARecord, CancelsThenCommitsAndTellsNobody) {
    put({datedItem("gone", after(60)), datedItem("kept", after(60))});
    Internal::hardDelete(*controller, stored()[0]);
    EXPECT_EQ(trace->lines(), (Lines{"cancel gone", "begin", "delete gone", "commit"}));
    EXPECT_EQ(ids(stored()), Lines{"kept"});
}

TEST_P(HardDeletingARecord, CancelsTheRecordConverted) {
    put({macItem("gone", true)});
    Internal::hardDelete(*controller, stored()[0]);
    EXPECT_EQ(texts(scheduler->cancelled()), Lines{"gone: \"gone\" shown at the Mac"});
}

TEST_P(HardDeletingARecord, RemovesOneThatDoesNotConvertWithoutACancel) {
    put({deviceItem("odd", 2, false)});
    Internal::hardDelete(*controller, stored()[0]);
    EXPECT_EQ(trace->lines(), (Lines{"begin", "delete odd", "commit"}));
    EXPECT_TRUE(stored().empty());
}

TEST_P(HardDeletingARecord, KeepsTheRecordWhenTheWriteFails) {
    put({datedItem("kept", after(60))});
    const Lines before = storedTexts();
    realm->failNextWrite(FailAt::begin);
    Internal::hardDelete(*controller, stored()[0]);
    EXPECT_EQ(trace->lines(), (Lines{"cancel kept", "no begin"}));
    trace->clear();
    realm->failNextWrite(FailAt::commit);
    Internal::hardDelete(*controller, stored()[0]);
    EXPECT_EQ(trace->lines(), (Lines{"cancel kept", "begin", "delete kept", "rollback"}));
    EXPECT_EQ(storedTexts(), before);
}

TEST_P(HardDeletingARecord, ThatIsGoneDoesNothingMore) {
    Internal::hardDelete(*controller, datedItem("gone", after(60)));
    EXPECT_EQ(trace->lines(), (Lines{"cancel gone", "begin", "delete gone", "commit"}));
}

INSTANTIATE_TEST_SUITE_P(Databases, DeletingAReminder, ::testing::ValuesIn(realmImplementations()), realmName);
INSTANTIATE_TEST_SUITE_P(Databases, SoftDeletingARecord, ::testing::ValuesIn(realmImplementations()), realmName);
INSTANTIATE_TEST_SUITE_P(Databases, HardDeletingARecord, ::testing::ValuesIn(realmImplementations()), realmName);

}  // namespace
}  // namespace quendokit::testing

#include <cmath>
#include <limits>

#include "tests/support/store_fixture.hpp"

namespace quendokit::testing {
namespace {

class StoringAReminder : public StoreFixture {
protected:
    static ReminderCondition at(Date moment) { return ReminderCondition::dateTime(moment); }
    static ReminderCondition atMac() { return ReminderCondition::device(DeviceType::mac); }
};

TEST_P(StoringAReminder, ANewDatedOneIsPendingUnderAFreshId) {
    controller->store(ReminderStruct("Milk", at(after(60))));
    EXPECT_EQ(storedTexts(),
              Lines{"fresh-1: \"Milk\" pending, device -1, datetime 1795302060.25, completed 1795302060.25"});
}

TEST_P(StoringAReminder, ANewOneForTheMacIsCompletedNow) {
    controller->store(ReminderStruct("Milk", atMac()));
    EXPECT_EQ(storedTexts(), Lines{"fresh-1: \"Milk\" pending, device 1, datetime 0, completed 1795302000.25"});
}

TEST_P(StoringAReminder, ShownIsStored) {
    controller->store(ReminderStruct(std::nullopt, "Milk", true, at(after(-5))));
    EXPECT_EQ(storedTexts(),
              Lines{"fresh-1: \"Milk\" shown pending, device -1, datetime 1795301995.25, completed 1795301995.25"});
}

TEST_P(StoringAReminder, OneWithAnUnknownIdIsCreatedAndNotPending) {
    controller->store(ReminderStruct("given", "Milk", false, at(after(60))));
    EXPECT_EQ(storedTexts(), Lines{"given: \"Milk\", device -1, datetime 1795302060.25, completed 1795302060.25"});
}

TEST_P(StoringAReminder, OneWithAKnownIdReplacesEveryFieldAndIsNotPending) {
    ReminderItem old = macItem("given", true);
    old.pending = true;
    put({old, datedItem("other", after(5))});
    controller->store(ReminderStruct("given", "Bread", false, at(after(60))));
    EXPECT_EQ(storedTexts(), (Lines{"given: \"Bread\", device -1, datetime 1795302060.25, completed 1795302060.25",
                                    text(datedItem("other", after(5)))}));
}

TEST_P(StoringAReminder, TheSameNewReminderTwiceMakesTwoRecords) {
    const ReminderStruct reminder("Milk", at(after(60)));
    controller->store(reminder);
    controller->store(reminder);
    EXPECT_EQ(ids(stored()), (Lines{"fresh-1", "fresh-2"}));
}

TEST_P(StoringAReminder, ANewOneIsLoggedAddedCommittedScheduledAndTold) {
    controller->store(ReminderStruct("Milk", at(after(60))));
    EXPECT_EQ(trace->lines(),
              (Lines{"begin", "🗃 [store] fresh-1", "add fresh-1", "commit", "schedule fresh-1", "did add"}));
}

TEST_P(StoringAReminder, AKnownOneIsCancelledFirstInsideTheWrite) {
    put({datedItem("given", after(30))});
    controller->store(ReminderStruct("given", "Milk", false, at(after(60))));
    EXPECT_EQ(trace->lines(),
              (Lines{"begin", "cancel given", "🗃 [store] given", "add given", "commit", "schedule given", "did add"}));
}

TEST_P(StoringAReminder, PrintsOneLineToStandardOutput) {
    controller->store(ReminderStruct("a b", "Milk", false, at(after(60))));
    EXPECT_EQ(output->lines(), Lines{"🗃 [store] a b"});
}

TEST_P(StoringAReminder, CancelsTheOldRecordAndSchedulesTheNewOne) {
    ReminderItem old = macItem("given", true);
    old.title = "old title";
    put({old});
    controller->store(ReminderStruct("given", "new title", false, at(after(60))));
    EXPECT_EQ(texts(scheduler->cancelled()), Lines{"given: \"old title\" shown at the Mac"});
    EXPECT_EQ(texts(scheduler->scheduled()), Lines{"given: \"new title\" at 1795302060.25"});
}

TEST_P(StoringAReminder, SchedulesANewOneWithItsFreshId) {
    controller->store(ReminderStruct(std::nullopt, "Milk", true, atMac()));
    EXPECT_EQ(texts(scheduler->scheduled()), Lines{"fresh-1: \"Milk\" shown at the Mac"});
    EXPECT_TRUE(scheduler->cancelled().empty());
}

TEST_P(StoringAReminder, SchedulesOneThatHasPassedToo) {
    controller->store(ReminderStruct("Milk", at(after(-60))));
    EXPECT_EQ(scheduler->scheduled().size(), 1U);
}

TEST_P(StoringAReminder, TheDelegateIsToldOnceByTheController) {
    controller->store(ReminderStruct("Milk", at(after(60))));
    EXPECT_EQ(delegate->added(), 1);
    EXPECT_EQ(delegate->removed(), 0);
    EXPECT_EQ(delegate->lastController(), controller.get());
}

TEST_P(StoringAReminder, OneForTheEpochIsStoredButNotScheduled) {
    controller->store(ReminderStruct("id", "Milk", false, at(Date(0))));
    EXPECT_EQ(storedTexts(), Lines{"id: \"Milk\", device -1, datetime 0, completed 0"});
    EXPECT_EQ(trace->lines(), (Lines{"begin", "🗃 [store] id", "add id", "commit", "did add"}));
}

TEST_P(StoringAReminder, AnExistingRecordThatDoesNotConvertIsNotCancelled) {
    put({datedItem("epoch", Date(0)), deviceItem("odd", 2, true)});
    controller->store(ReminderStruct("epoch", "Milk", false, at(after(60))));
    controller->store(ReminderStruct("odd", "Milk", false, at(after(60))));
    EXPECT_TRUE(scheduler->cancelled().empty());
    EXPECT_EQ(ids(scheduler->scheduled()), (Lines{"epoch", "odd"}));
    EXPECT_EQ(stored()[1].title, "Milk");
}

TEST_P(StoringAReminder, ARecordInNoListIsReplacedWithoutBeingCancelled) {
    put({datedItem("due", now), deviceItem("odd", 0, false)});
    controller->store(ReminderStruct("due", "Milk", false, at(after(60))));
    controller->store(ReminderStruct("odd", "Milk", false, at(after(60))));
    EXPECT_TRUE(scheduler->cancelled().empty());
    EXPECT_EQ(ids(lists().upcomingReminders), (Lines{"due", "odd"}));
}

TEST_P(StoringAReminder, AWriteThatCannotBeginEndsIt) {
    put({datedItem("given", after(30))});
    const Lines before = storedTexts();
    realm->failNextWrite(FailAt::begin);
    controller->store(ReminderStruct("given", "Milk", false, at(after(60))));
    EXPECT_EQ(trace->lines(), Lines{"no begin"});
    EXPECT_EQ(storedTexts(), before);
}

TEST_P(StoringAReminder, AWriteThatCannotCommitEndsItAfterTheCancel) {
    put({datedItem("given", after(30))});
    const Lines before = storedTexts();
    realm->failNextWrite(FailAt::commit);
    controller->store(ReminderStruct("given", "Milk", false, at(after(60))));
    EXPECT_EQ(trace->lines(), (Lines{"begin", "cancel given", "🗃 [store] given", "add given", "rollback"}));
    EXPECT_EQ(storedTexts(), before);
}

TEST_P(StoringAReminder, AfterAFailedWriteTheNextOneWorks) {
    realm->failNextWrite(FailAt::commit);
    controller->store(ReminderStruct("Milk", at(after(60))));
    EXPECT_EQ(delegate->added(), 0);
    EXPECT_FALSE(controller->hasReminders());
    controller->store(ReminderStruct("Bread", at(after(60))));
    EXPECT_EQ(ids(controller->reminders(true)), Lines{"fresh-2"});
    EXPECT_EQ(delegate->added(), 1);
}

TEST_P(StoringAReminder, ADateThatIsNotFiniteFailsAndEndsIt) {
    const double infinity = std::numeric_limits<double>::infinity();
    put({datedItem("given", after(30))});
    const Lines before = storedTexts();
    for (const double seconds : {std::nan(""), infinity, -infinity}) {
        trace->clear();
        controller->store(ReminderStruct("given", "Milk", false, at(Date(seconds))));
        EXPECT_EQ(trace->lines(), (Lines{"begin", "cancel given", "🗃 [store] given", "add given", "rollback"}));
        EXPECT_EQ(storedTexts(), before);
    }
    EXPECT_EQ(delegate->added(), 0);
    EXPECT_TRUE(scheduler->scheduled().empty());
}

TEST_P(StoringAReminder, TextsAreStoredAsTheyAre) {
    const std::string odd("a\0b\xFF'; --", 9);
    controller->store(ReminderStruct(odd, odd, false, at(after(60))));
    controller->store(ReminderStruct("", "", false, at(after(61))));
    EXPECT_EQ(ids(controller->reminders(true)), (Lines{odd, ""}));
    EXPECT_EQ(controller->reminder(odd)->title(), odd);
    EXPECT_EQ(controller->reminder("")->title(), "");
}

TEST_P(StoringAReminder, AStoreInsideAWriteIsAFailedWrite) {
    EXPECT_FALSE(realm->write([&] { controller->store(ReminderStruct("Milk", at(after(60)))); }));
    EXPECT_EQ(trace->lines(), (Lines{"begin", "no begin", "commit"}));
    EXPECT_TRUE(stored().empty());
}

INSTANTIATE_TEST_SUITE_P(Databases, StoringAReminder, ::testing::ValuesIn(realmImplementations()), realmName);

}  // namespace
}  // namespace quendokit::testing

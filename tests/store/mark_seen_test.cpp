#include <algorithm>

#include "tests/support/store_fixture.hpp"

namespace quendokit::testing {
namespace {

class MarkingSeen : public StoreFixture {
protected:
    /// The text of a record once it is seen now.
    static std::string seen(ReminderItem item) {
        item.shown = true;
        item.pending = true;
        item.completionDate = now;
        return text(item);
    }
};

TEST_P(MarkingSeen, WithoutRemindersMarksTheUnseenOnesOfDevices) {
    ReminderItem deleted = macItem("c deleted");
    deleted.deleted = true;
    const ReminderItem mac = macItem("a");
    const ReminderItem odd = deviceItem("b odd", 2, false);
    const ReminderItem shown = macItem("d shown", true);
    const ReminderItem dated = datedItem("e dated", after(-60));
    put({mac, odd, deleted, shown, dated});
    controller->markSeen();
    EXPECT_EQ(storedTexts(), (Lines{seen(mac), seen(odd), seen(deleted), text(shown), text(dated)}));
    EXPECT_TRUE(stored()[2].deleted);
}

TEST_P(MarkingSeen, WithoutRemindersIsOneWriteAndTellsNobody) {
    put({macItem("a"), macItem("b")});
    controller->markSeen();
    ASSERT_EQ(trace->lines().size(), 4U);
    EXPECT_EQ(trace->lines().front(), "begin");
    EXPECT_EQ(trace->lines().back(), "commit");
    EXPECT_TRUE(scheduler->cancelled().empty());
    EXPECT_TRUE(scheduler->scheduled().empty());
    EXPECT_EQ(delegate->added() + delegate->removed(), 0);
}

TEST_P(MarkingSeen, WithoutRemindersWritesNothingWhenNoDeviceReminderIsUnseen) {
    put({datedItem("dated", after(60)), macItem("shown", true)});
    const Lines before = storedTexts();
    controller->markSeen();
    EXPECT_EQ(trace->lines(), (Lines{"begin", "commit"}));
    EXPECT_EQ(storedTexts(), before);
}

TEST_P(MarkingSeen, OfNoneMarksNothing) {
    put({macItem("a")});
    const Lines before = storedTexts();
    controller->markSeen(std::vector<ReminderStruct>());
    EXPECT_EQ(trace->lines(), (Lines{"begin", "commit"}));
    EXPECT_EQ(storedTexts(), before);
}

TEST_P(MarkingSeen, OfGivenOnesReplacesThemAsTheyAreGiven) {
    const ReminderItem dated = datedItem("a", after(60));
    const ReminderItem kept = macItem("kept");
    put({dated, kept});
    controller->markSeen({ReminderStruct("a", "stale", false, ReminderCondition::dateTime(after(5)))});
    ReminderItem expected = datedItem("a", after(5));
    expected.title = "stale";
    EXPECT_EQ(storedTexts(), (Lines{seen(expected), text(kept)}));
    EXPECT_EQ(trace->lines(), (Lines{"begin", "add a", "commit"}));
}

TEST_P(MarkingSeen, ADeletedOneBringsItBack) {
    ReminderItem item = macItem("a");
    item.deleted = true;
    put({item});
    controller->markSeen({reminderOf(item)});
    EXPECT_EQ(storedTexts(), Lines{seen(macItem("a"))});
    EXPECT_EQ(ids(controller->reminders(false)), Lines{"a"});
}

TEST_P(MarkingSeen, OneWithoutAnIdStoresItUnderAFreshOne) {
    controller->markSeen({ReminderStruct("new", ReminderCondition::device(DeviceType::mac))});
    ReminderItem expected = macItem("fresh-1");
    expected.title = "new";
    EXPECT_EQ(storedTexts(), Lines{seen(expected)});
}

TEST_P(MarkingSeen, ManyIsOneWriteInTheirOrder) {
    controller->markSeen({reminderOf(macItem("b")), reminderOf(datedItem("a", after(60)))});
    EXPECT_EQ(trace->lines(), (Lines{"begin", "add b", "add a", "commit"}));
}

TEST_P(MarkingSeen, MovesADeviceReminderToThePassedOnesAndLeavesAnUpcomingOneUpcoming) {
    const ReminderItem mac = macItem("mac");
    const ReminderItem upcoming = datedItem("upcoming", after(60));
    put({mac, upcoming});
    controller->markSeen({reminderOf(mac), reminderOf(upcoming)});
    EXPECT_EQ(ids(lists().remainingReminders), Lines{"mac"});
    EXPECT_EQ(ids(lists().upcomingReminders), Lines{"upcoming"});
}

TEST_P(MarkingSeen, ThatCannotBeWrittenChangesNothing) {
    put({macItem("a")});
    const Lines before = storedTexts();
    for (const FailAt at : {FailAt::begin, FailAt::commit}) {
        realm->failNextWrite(at);
        controller->markSeen();
        EXPECT_EQ(storedTexts(), before);
        realm->failNextWrite(at);
        controller->markSeen({reminderOf(macItem("a"))});
        EXPECT_EQ(storedTexts(), before);
    }
    EXPECT_EQ(delegate->added() + delegate->removed(), 0);
}

using UnseenReminders = MarkingSeen;

TEST_P(UnseenReminders, AreThoseOfAnyDeviceNotShownYetDeletedOnesIncluded) {
    ReminderItem deleted = macItem("deleted");
    deleted.deleted = true;
    put({macItem("mac"), deviceItem("zero", 0, false), deviceItem("minus two", -2, false), deleted,
         macItem("shown", true), datedItem("dated", after(60)), datedItem("due", now)});
    auto found = ids(Internal::unseenReminders(*controller));
    std::sort(found.begin(), found.end());
    EXPECT_EQ(found, (Lines{"deleted", "mac", "minus two", "zero"}));
}

INSTANTIATE_TEST_SUITE_P(Databases, MarkingSeen, ::testing::ValuesIn(realmImplementations()), realmName);
INSTANTIATE_TEST_SUITE_P(Databases, UnseenReminders, ::testing::ValuesIn(realmImplementations()), realmName);

}  // namespace
}  // namespace quendokit::testing

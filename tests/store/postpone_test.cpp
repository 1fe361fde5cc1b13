#include <limits>

#include "tests/support/store_fixture.hpp"

namespace quendokit::testing {
namespace {

class PostponingAReminder : public StoreFixture {
protected:
    static ReminderCondition at(Date date) { return ReminderCondition::dateTime(date); }
    static ReminderCondition atMac() { return ReminderCondition::device(DeviceType::mac); }

    /// The text of a record once it is re-timed to a date.
    static std::string retimed(ReminderItem item, Date date) {
        item._datetime = date;
        item._device = ReminderItem::noDevice;
        item.completionDate = date;
        item.pending = true;
        return text(item);
    }
    /// The text of a record once it waits for the Mac.
    static std::string moved(ReminderItem item) {
        item._datetime = ReminderDefaults::NoDate;
        item._device = DeviceType::mac;
        item.pending = true;
        return text(item);
    }
};

TEST_P(PostponingAReminder, ToADateChangesItsTimesAndMakesItUnsent) {
    const ReminderItem item = datedItem("a", after(60));
    const ReminderItem kept = datedItem("kept", after(61));
    put({item, kept});
    controller->postpone(reminderOf(item), at(after(600)));
    EXPECT_EQ(storedTexts(), (Lines{retimed(item, after(600)), text(kept)}));
}

TEST_P(PostponingAReminder, ToTheMacKeepsWhatOrdersItOncePassed) {
    const ReminderItem item = datedItem("a", after(60));
    put({item});
    controller->postpone(reminderOf(item), atMac());
    EXPECT_EQ(storedTexts(), Lines{moved(item)});
    EXPECT_EQ(stored()[0].completionDate, after(60));
}

TEST_P(PostponingAReminder, FromTheMacToADateLeavesTheMac) {
    const ReminderItem item = macItem("a");
    put({item});
    controller->postpone(reminderOf(item), at(after(600)));
    EXPECT_EQ(storedTexts(), Lines{retimed(item, after(600))});
    EXPECT_EQ(ids(lists().upcomingReminders), Lines{"a"});
}

TEST_P(PostponingAReminder, LeavesShownAsItIs) {
    ReminderItem item = datedItem("a", after(-60));
    item.shown = true;
    put({item});
    controller->postpone(reminderOf(item), at(after(600)));
    EXPECT_TRUE(stored()[0].shown);
}

TEST_P(PostponingAReminder, CancelsTellsCommitsSchedulesAndTells) {
    put({datedItem("a", after(60))});
    controller->postpone(reminderOf(stored()[0]), at(after(600)));
    EXPECT_EQ(trace->lines(),
              (Lines{"cancel a", "did remove", "begin", "set a _datetime _device completionDate pending", "commit",
                     "schedule a", "did add"}));
    EXPECT_EQ(texts(scheduler->cancelled()), Lines{"a: \"a\" at 1795302060.25"});
    EXPECT_EQ(texts(scheduler->scheduled()), Lines{"a: \"a\" at 1795302600.25"});
}

TEST_P(PostponingAReminder, UsesWhatIsStoredAndNotWhatIsPassedIn) {
    put({datedItem("a", after(60))});
    controller->postpone(ReminderStruct("a", "stale", true, atMac()), at(after(600)));
    EXPECT_EQ(texts(scheduler->cancelled()), Lines{"a: \"a\" at 1795302060.25"});
    EXPECT_EQ(texts(scheduler->scheduled()), Lines{"a: \"a\" at 1795302600.25"});
    EXPECT_EQ(storedTexts(), Lines{retimed(datedItem("a", after(60)), after(600))});
}

TEST_P(PostponingAReminder, UpcomingOrPassedToTheMacIsAtTheMacOnlyIfItWasNotShown) {
    ReminderItem shownUpcoming = datedItem("shown upcoming", after(60));
    shownUpcoming.shown = true;
    ReminderItem shownPassed = datedItem("shown passed", after(-60));
    shownPassed.shown = true;
    put({datedItem("passed", after(-60)), shownPassed, shownUpcoming, datedItem("upcoming", after(60))});
    for (const ReminderItem& item : stored()) {
        controller->postpone(reminderOf(item), atMac());
    }
    EXPECT_EQ(ids(lists().macReminders), (Lines{"passed", "upcoming"}));
    EXPECT_TRUE(lists().upcomingReminders.empty());
    EXPECT_EQ(ids(lists().remainingReminders), (Lines{"shown upcoming", "shown passed"}));
}

TEST_P(PostponingAReminder, ThatIsDeletedChangesItAndLeavesItDeleted) {
    ReminderItem item = datedItem("a", after(60));
    item.deleted = true;
    put({item});
    controller->postpone(reminderOf(item), at(after(600)));
    EXPECT_EQ(storedTexts(), Lines{retimed(item, after(600))});
    EXPECT_EQ(scheduler->scheduled().size(), 1U);
}

TEST_P(PostponingAReminder, ToThisVeryInstantSchedulesIt) {
    put({datedItem("a", after(60))});
    controller->postpone(reminderOf(stored()[0]), at(now));
    EXPECT_EQ(texts(scheduler->scheduled()), Lines{"a: \"a\" at 1795302000.25"});
    EXPECT_EQ(delegate->added(), 1);
}

TEST_P(PostponingAReminder, ARecordThatDoesNotConvertIsNotCancelledButScheduledOnceItDoes) {
    put({deviceItem("odd", 2, true)});
    controller->postpone(ReminderStruct("odd", "odd", false, atMac()), at(after(600)));
    EXPECT_TRUE(scheduler->cancelled().empty());
    EXPECT_EQ(texts(scheduler->scheduled()), Lines{"odd: \"odd\" shown at 1795302600.25"});
}

TEST_P(PostponingAReminder, WithoutAnIdDoesNothing) {
    put({datedItem("a", after(60))});
    controller->postpone(ReminderStruct("a", at(after(60))), at(after(600)));
    EXPECT_TRUE(trace->lines().empty());
}

TEST_P(PostponingAReminder, ThatIsNotStoredOrInNoListDoesNothing) {
    put({datedItem("due", now), deviceItem("odd", 2, false)});
    const Lines before = storedTexts();
    controller->postpone(ReminderStruct("unknown", "t", false, atMac()), at(after(600)));
    controller->postpone(reminderOf(datedItem("due", now)), at(after(600)));
    controller->postpone(ReminderStruct("odd", "t", false, atMac()), at(after(600)));
    EXPECT_TRUE(trace->lines().empty());
    EXPECT_EQ(storedTexts(), before);
}

TEST_P(PostponingAReminder, GoesOnWithWhatStayedWhenTheWriteCannotBegin) {
    put({datedItem("a", after(60))});
    const Lines before = storedTexts();
    realm->failNextWrite(FailAt::begin);
    controller->postpone(reminderOf(stored()[0]), at(after(600)));
    EXPECT_EQ(trace->lines(), (Lines{"cancel a", "did remove", "no begin", "schedule a", "did add"}));
    EXPECT_EQ(texts(scheduler->scheduled()), Lines{"a: \"a\" at 1795302060.25"});
    EXPECT_EQ(storedTexts(), before);
}

TEST_P(PostponingAReminder, GoesOnWithWhatStayedWhenTheWriteCannotCommit) {
    put({datedItem("a", after(60))});
    const Lines before = storedTexts();
    realm->failNextWrite(FailAt::commit);
    controller->postpone(reminderOf(stored()[0]), at(after(600)));
    EXPECT_EQ(trace->lines(),
              (Lines{"cancel a", "did remove", "begin", "set a _datetime _device completionDate pending", "rollback",
                     "schedule a", "did add"}));
    EXPECT_EQ(texts(scheduler->scheduled()), Lines{"a: \"a\" at 1795302060.25"});
    EXPECT_EQ(storedTexts(), before);
}

TEST_P(PostponingAReminder, ToADateThatIsNoneChangesNothing) {
    put({datedItem("a", after(60))});
    const Lines before = storedTexts();
    for (const double odd : {std::numeric_limits<double>::quiet_NaN(), std::numeric_limits<double>::infinity()}) {
        controller->postpone(reminderOf(stored()[0]), at(Date(odd)));
        EXPECT_EQ(storedTexts(), before);
        EXPECT_EQ(texts(scheduler->scheduled()).back(), "a: \"a\" at 1795302060.25");
    }
}

TEST_P(PostponingAReminder, ToTheEpochLeavesARecordThatIsNoReminder) {
    put({datedItem("a", after(60))});
    controller->postpone(reminderOf(stored()[0]), at(ReminderDefaults::NoDate));
    EXPECT_TRUE(scheduler->scheduled().empty());
    EXPECT_EQ(delegate->added(), 1);
    EXPECT_TRUE(controller->reminders(true).empty());
}

TEST_P(PostponingAReminder, ThatGoesBetweenCancelAndWriteIsNotRecreated) {
    const ReminderItem item = datedItem("a", after(60));
    put({item});
    delegate->onRemove([&] { EXPECT_FALSE(realm->write([&] { realm->delete_(item); })); });
    controller->postpone(reminderOf(item), at(after(600)));
    EXPECT_TRUE(stored().empty());
    EXPECT_TRUE(scheduler->scheduled().empty());
    EXPECT_EQ(delegate->added(), 1);
}

TEST_P(PostponingAReminder, KeepsWhatTheDelegateChangedMeanwhile) {
    const ReminderItem item = datedItem("a", after(60));
    put({item});
    delegate->onRemove([&] {
        EXPECT_FALSE(realm->write([&] { realm->set<ReminderItem>("a", {{"title", std::string("renamed")}}); }));
    });
    controller->postpone(reminderOf(item), at(after(600)));
    EXPECT_EQ(texts(scheduler->scheduled()), Lines{"a: \"renamed\" at 1795302600.25"});
}

TEST_P(PostponingAReminder, WithoutSchedulerAndDelegateChangesIt) {
    const auto alone = ReminderController::create(nullptr, realm);
    put({datedItem("a", after(60))});
    alone->postpone(reminderOf(stored()[0]), at(after(600)));
    EXPECT_EQ(storedTexts(), Lines{retimed(datedItem("a", after(60)), after(600))});
}

INSTANTIATE_TEST_SUITE_P(Databases, PostponingAReminder, ::testing::ValuesIn(realmImplementations()), realmName);

}  // namespace
}  // namespace quendokit::testing

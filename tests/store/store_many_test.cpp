#include <limits>

#include "tests/support/store_fixture.hpp"

namespace quendokit::testing {
namespace {

class StoringMany : public StoreFixture {
protected:
    static ReminderStruct newReminder(const std::string& title) {
        return {title, ReminderCondition::dateTime(after(60))};
    }
};

TEST_P(StoringMany, GivesFreshIdsAndMakesThoseUnsent) {
    controller->store({newReminder("one"), reminderOf(datedItem("known", after(60))), newReminder("two")});
    ReminderItem one = datedItem("fresh-1", after(60));
    one.title = "one";
    one.pending = true;
    ReminderItem two = datedItem("fresh-2", after(60));
    two.title = "two";
    two.pending = true;
    EXPECT_EQ(storedTexts(), (Lines{text(one), text(two), text(datedItem("known", after(60)))}));
}

TEST_P(StoringMany, IsOneWriteAndThenSchedulesAndTellsForEachInItsOrder) {
    controller->store({reminderOf(datedItem("b", after(60))), reminderOf(macItem("a"))});
    EXPECT_EQ(trace->lines(),
              (Lines{"begin", "add b", "add a", "commit", "schedule b", "did add", "schedule a", "did add"}));
}

TEST_P(StoringMany, SchedulesThemAsPassedInWithoutTheIdsTheyGot) {
    controller->store({newReminder("one")});
    EXPECT_EQ(texts(scheduler->scheduled()), Lines{"(no id): \"one\" at 1795302060.25"});
    EXPECT_EQ(ids(stored()), Lines{"fresh-1"});
}

TEST_P(StoringMany, PrintsNothing) {
    controller->store({newReminder("one")});
    EXPECT_TRUE(output->lines().empty());
}

TEST_P(StoringMany, ReplacesDeletedOnesAndCancelsNothing) {
    ReminderItem deleted = datedItem("a", after(60));
    deleted.deleted = true;
    deleted.pending = true;
    put({deleted});
    controller->store({reminderOf(datedItem("a", after(90)))});
    EXPECT_EQ(storedTexts(), Lines{text(datedItem("a", after(90)))});
    EXPECT_TRUE(scheduler->cancelled().empty());
}

TEST_P(StoringMany, TheLastOfTheSameIdStays) {
    controller->store({reminderOf(datedItem("a", after(60))), reminderOf(datedItem("a", after(90)))});
    EXPECT_EQ(storedTexts(), Lines{text(datedItem("a", after(90)))});
    EXPECT_EQ(delegate->added(), 2);
}

TEST_P(StoringMany, NoneWritesNothingAndTellsNobody) {
    controller->store(std::vector<ReminderStruct>());
    EXPECT_EQ(trace->lines(), (Lines{"begin", "commit"}));
}

TEST_P(StoringMany, ThatCannotBeWrittenTellsNobodyAndStoresNone) {
    for (const FailAt at : {FailAt::begin, FailAt::commit}) {
        realm->failNextWrite(at);
        controller->store({newReminder("one"), newReminder("two")});
    }
    controller->store(
        {newReminder("sound"),
         ReminderStruct("odd", ReminderCondition::dateTime(Date(std::numeric_limits<double>::quiet_NaN())))});
    EXPECT_TRUE(stored().empty());
    EXPECT_TRUE(scheduler->scheduled().empty());
    EXPECT_EQ(delegate->added(), 0);
}

TEST_P(StoringMany, WithoutSchedulerAndDelegateStores) {
    ReminderController::create(nullptr, realm)->store({newReminder("one"), newReminder("two")});
    EXPECT_EQ(stored().size(), 2U);
}

INSTANTIATE_TEST_SUITE_P(Databases, StoringMany, ::testing::ValuesIn(realmImplementations()), realmName);

}  // namespace
}  // namespace quendokit::testing

#include "tests/support/store_fixture.hpp"

namespace quendokit::testing {
namespace {

using Clearing = StoreFixture;

TEST_P(Clearing, RemovesEveryRecordThenTellsTheDelegateOnce) {
    put({datedItem("a", after(60)), datedItem("due", now), deviceItem("odd", 2, false), macItem("seen", true)});
    controller->clearRealm();
    EXPECT_TRUE(stored().empty());
    EXPECT_EQ(trace->lines(), (Lines{"begin", "delete all", "commit", "did remove"}));
}

TEST_P(Clearing, AnEmptyDatabaseTellsTheDelegateToo) {
    controller->clearRealm();
    EXPECT_EQ(delegate->removed(), 1);
}

TEST_P(Clearing, ThatCannotBeWrittenTellsNobodyAndKeepsEverything) {
    put({datedItem("a", after(60))});
    const Lines before = storedTexts();
    for (const FailAt at : {FailAt::begin, FailAt::commit}) {
        realm->failNextWrite(at);
        controller->clearRealm();
        EXPECT_EQ(storedTexts(), before);
    }
    EXPECT_EQ(delegate->removed(), 0);
    EXPECT_TRUE(scheduler->cancelled().empty());
}

TEST_P(Clearing, LeavesADatabaseThatStores) {
    put({datedItem("a", after(60))});
    controller->clearRealm();
    controller->store(reminderOf(datedItem("b", after(60))));
    EXPECT_EQ(ids(controller->reminders(true)), Lines{"b"});
}

INSTANTIATE_TEST_SUITE_P(Databases, Clearing, ::testing::ValuesIn(realmImplementations()), realmName);

}  // namespace
}  // namespace quendokit::testing

#include "tests/support/store_fixture.hpp"

namespace quendokit::testing {
namespace {

/// A record that is deleted here and still has to be deleted in the cloud.
class StoringOverASoftDeletedReminder : public StoreFixture {
protected:
    void SetUp() override {
        StoreFixture::SetUp();
        ReminderItem item = datedItem("gone", after(30));
        item.deleted = true;
        item.pending = true;
        put({item});
    }

    const ReminderStruct again{"gone", "new title", true, ReminderCondition::dateTime(after(60))};
};

TEST_P(StoringOverASoftDeletedReminder, WritesNothing) {
    const Lines before = storedTexts();
    controller->store(again);
    EXPECT_EQ(storedTexts(), before);
}

TEST_P(StoringOverASoftDeletedReminder, StillCancelsSchedulesAndTells) {
    controller->store(again);
    EXPECT_EQ(trace->lines(), (Lines{"begin", "cancel gone", "commit", "schedule gone", "did add"}));
    EXPECT_EQ(texts(scheduler->cancelled()), Lines{"gone: \"gone\" at 1795302030.25"});
    EXPECT_EQ(texts(scheduler->scheduled()), Lines{"gone: \"new title\" shown at 1795302060.25"});
}

TEST_P(StoringOverASoftDeletedReminder, PrintsNoLine) {
    controller->store(again);
    EXPECT_TRUE(output->lines().empty());
}

TEST_P(StoringOverASoftDeletedReminder, EndsWhenTheWriteCannotBegin) {
    realm->failNextWrite(FailAt::begin);
    controller->store(again);
    EXPECT_EQ(trace->lines(), Lines{"no begin"});
}

TEST_P(StoringOverASoftDeletedReminder, WritesNothingInTheOtherListsEither) {
    ReminderItem mac = macItem("mac");
    ReminderItem passed = datedItem("passed", after(-30));
    ReminderItem seen = macItem("seen", true);
    mac.deleted = passed.deleted = seen.deleted = true;
    put({mac, passed, seen});
    const Lines before = storedTexts();
    for (const std::string id : {"mac", "passed", "seen"}) {
        controller->store(ReminderStruct(id, "new title", false, ReminderCondition::dateTime(after(60))));
    }
    EXPECT_EQ(storedTexts(), before);
    EXPECT_EQ(ids(scheduler->cancelled()), (Lines{"mac", "passed", "seen"}));
}

TEST_P(StoringOverASoftDeletedReminder, RevivesOnlyOneThatIsInNoList) {
    // Not found, so that nobody sees that it is deleted.
    clock->set(after(30));
    controller->store(again);
    EXPECT_EQ(storedTexts(),
              Lines{"gone: \"new title\" shown, device -1, datetime 1795302060.25, completed 1795302060.25"});
    EXPECT_TRUE(scheduler->cancelled().empty());
}

TEST_P(StoringOverASoftDeletedReminder, IsNotAskedForANewReminder) {
    controller->store(ReminderStruct("gone", ReminderCondition::dateTime(after(60))));
    EXPECT_EQ(ids(stored()), (Lines{"fresh-1", "gone"}));
}

INSTANTIATE_TEST_SUITE_P(Databases, StoringOverASoftDeletedReminder, ::testing::ValuesIn(realmImplementations()),
                         realmName);

}  // namespace
}  // namespace quendokit::testing

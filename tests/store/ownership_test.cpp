#include "tests/support/store_fixture.hpp"

namespace quendokit::testing {
namespace {

class ControllerOwnership : public StoreFixture {
protected:
    const ReminderStruct reminder{"id", "Milk", false, ReminderCondition::dateTime(after(60))};
};

TEST_P(ControllerOwnership, KeepsItsSchedulerAndReleasesItAtItsEnd) {
    const std::weak_ptr<RecordingScheduler> weak = scheduler;
    scheduler.reset();
    ASSERT_FALSE(weak.expired());
    controller->store(reminder);
    EXPECT_EQ(weak.lock()->scheduled().size(), 1U);
    controller.reset();
    EXPECT_TRUE(weak.expired());
}

TEST_P(ControllerOwnership, KeepsItsDatabaseAndReleasesItAtItsEnd) {
    const std::weak_ptr<TracingRealm> weak = realm;
    realm.reset();
    ASSERT_FALSE(weak.expired());
    controller->store(reminder);
    EXPECT_TRUE(controller->reminder("id"));
    controller.reset();
    EXPECT_TRUE(weak.expired());
}

TEST_P(ControllerOwnership, HoldsItsDelegateWeakly) {
    const std::weak_ptr<RecordingDelegate> weak = delegate;
    delegate.reset();
    EXPECT_TRUE(weak.expired());
    controller->store(reminder);
    controller->delete_(reminder);
    EXPECT_EQ(trace->lines(), (Lines{"begin", "🗃 [store] id", "add id", "commit", "schedule id", "cancel id",
                                     "cancel id", "begin", "set id deleted pending", "commit"}));
}

TEST_P(ControllerOwnership, WorksWithoutAScheduler) {
    controller = ReminderController::create(nullptr, realm, delegate);
    controller->store(reminder);
    controller->store(reminder);
    controller->delete_(reminder);
    Internal::hardDelete(*controller, stored()[0]);
    EXPECT_EQ(trace->lines(), (Lines{"begin", "🗃 [store] id", "add id", "commit", "did add", "begin", "🗃 [store] id",
                                     "add id", "commit", "did add", "begin", "set id deleted pending", "commit",
                                     "did remove", "begin", "delete id", "commit"}));
}

TEST_P(ControllerOwnership, WorksWithoutADelegate) {
    controller = ReminderController::create(scheduler, realm);
    controller->store(reminder);
    controller->delete_(reminder);
    EXPECT_EQ(delegate->added() + delegate->removed(), 0);
    EXPECT_TRUE(stored()[0].deleted);
}

TEST_P(ControllerOwnership, HasNoSyncManagerWhenNoneWasGiven) {
    EXPECT_EQ(controller->syncManager(), nullptr);
}

TEST_P(ControllerOwnership, ItsEndDoesNothingElse) {
    put({datedItem("id", after(60))});
    controller.reset();
    EXPECT_TRUE(trace->lines().empty());
    EXPECT_EQ(stored().size(), 1U);
}

TEST_P(ControllerOwnership, MakingOneTouchesNothing) {
    const auto other = ReminderController::create(scheduler, realm, delegate);
    EXPECT_TRUE(trace->lines().empty());
}

TEST_P(ControllerOwnership, TwoControllersShareOneDatabase) {
    const auto other = ReminderController::create(nullptr, realm);
    controller->store(reminder);
    EXPECT_EQ(ids(other->reminders(true)), Lines{"id"});
}

TEST_P(ControllerOwnership, WithoutADatabaseIsFatal) {
    EXPECT_DEATH(static_cast<void>(ReminderController::create(nullptr, nullptr)), "needs an open realm");
}

INSTANTIATE_TEST_SUITE_P(Databases, ControllerOwnership, ::testing::ValuesIn(realmImplementations()), realmName);

}  // namespace
}  // namespace quendokit::testing

#include "hostkit/queueing_scheduler.hpp"

#include "tests/support/device_fixture.hpp"

namespace quendokit::testing {
namespace {

class QueueingSchedulers : public DeviceFixture {
protected:
    int changes = 0;
    std::shared_ptr<QueueingScheduler> scheduler = QueueingScheduler::create([this] { ++changes; });
    const ReminderStruct reminder{"t", ReminderCondition::dateTime(Date(1))};
};

TEST_F(QueueingSchedulers, TellOnceOfAnyNumberOfCallsInALaterTurn) {
    scheduler->schedule(reminder);
    scheduler->cancel(reminder);
    scheduler->schedule(reminder);
    EXPECT_EQ(changes, 0);
    EXPECT_EQ(mainQueue->runAll(), 1U);
    EXPECT_EQ(changes, 1);
    scheduler->cancel(reminder);
    EXPECT_EQ(mainQueue->runAll(), 1U);
    EXPECT_EQ(changes, 2);
}

TEST_F(QueueingSchedulers, TellNobodyOnceTheyAreGone) {
    scheduler->schedule(reminder);
    scheduler.reset();
    mainQueue->runAll();
    EXPECT_EQ(changes, 0);
}

TEST_F(QueueingSchedulers, MayBeAskedAgainByWhomTheyTell) {
    scheduler = QueueingScheduler::create([this] {
        if (++changes < 3) {
            scheduler->schedule(reminder);
        }
    });
    scheduler->schedule(reminder);
    EXPECT_EQ(mainQueue->runAll(), 3U);
}

}  // namespace
}  // namespace quendokit::testing

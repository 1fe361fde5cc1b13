#include "tests/support/store_fixture.hpp"

namespace quendokit::testing {
namespace {

class Statistics : public StoreFixture {
protected:
    void expectStats(std::size_t pending, std::size_t passed) const {
        for (const bool includingDeleted : {false, true}) {
            const ReminderStats stats = controller->reminderStats(includingDeleted);
            EXPECT_EQ(stats.pending, pending);
            EXPECT_EQ(stats.passed, passed);
        }
    }
};

TEST_P(Statistics, OfAnEmptyDatabaseAreZero) {
    expectStats(0, 0);
}

TEST_P(Statistics, CountMacAndUpcomingAsPendingAndTheRemainingAsPassed) {
    put({macItem("mac"), datedItem("u1", after(1)), datedItem("u2", after(2)), datedItem("p1", after(-1)),
         macItem("seen", true)});
    expectStats(3, 2);
}

TEST_P(Statistics, NeverCountDeletedOnesWhateverIsAsked) {
    std::vector<ReminderItem> items{macItem("mac"), datedItem("upcoming", after(1)), datedItem("passed", after(-1)),
                                    macItem("seen", true)};
    for (ReminderItem& item : items) {
        item.deleted = true;
    }
    put(items);
    put({macItem("other")});
    expectStats(1, 0);
}

TEST_P(Statistics, CountRecordsThatAreNoReminders) {
    put({datedItem("epoch", ReminderDefaults::NoDate), deviceItem("odd", 2, true)});
    EXPECT_TRUE(controller->reminders(true).size() < 2);
    expectStats(0, 2);
}

TEST_P(Statistics, LeaveOutWhatIsInNoList) {
    put({datedItem("due", now), deviceItem("odd", 2, false)});
    expectStats(0, 0);
}

TEST_P(Statistics, ReadTheClockOnceAndWriteNothing) {
    put({macItem("mac")});
    const auto before = clock->readCount();
    static_cast<void>(controller->reminderStats(false));
    EXPECT_EQ(clock->readCount() - before, 1U);
    EXPECT_TRUE(trace->lines().empty());
}

INSTANTIATE_TEST_SUITE_P(Databases, Statistics, ::testing::ValuesIn(realmImplementations()), realmName);

}  // namespace
}  // namespace quendokit::testing

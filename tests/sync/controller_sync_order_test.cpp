/// \file
/// When the controller asks for a sync, among everything else that a change does. "arm" is the timer of the sync.

#include "quendokit/store/quendokit_config.hpp"
#include "quendokit/store/reminder_controller.hpp"
#include "testing/in_memory_realm.hpp"
#include "testing/recording_delegate.hpp"
#include "testing/recording_scheduler.hpp"
#include "tests/support/sync_fixture.hpp"
#include "tests/support/tracing_realm.hpp"
#include "tests/support/tracing_run_loop.hpp"

namespace quendokit::testing {
namespace {

/// The database, the scheduler, the delegate, the engine's lines and the main loop tell one trace.
class OrderOfTheSync : public SyncFixture {
protected:
    OrderOfTheSync() : tracing_(makeTracingServices()) {
        make(SyncMethod::push);
        answerZone(true);
        controller = ReminderController::create(scheduler, realm, delegate, manager);
        trace->clear();
    }

    /// Puts a record into the database behind the controller's back. The trace is empty.
    [[nodiscard]] ReminderStruct put(const ReminderItem& item) {
        EXPECT_FALSE(realm->write([&] { realm->add(item, true); }));
        trace->clear();
        return makeReminderStruct(item).value();
    }
    static ReminderItem item(const std::string& id) { return datedItem(id, Date(1'795'400'000)); }

    const std::shared_ptr<TracingRealm> realm =
        std::make_shared<TracingRealm>(InMemoryRealm::create(QuendoKitConfig()), trace);
    const std::shared_ptr<RecordingScheduler> scheduler = std::make_shared<RecordingScheduler>(trace);
    const std::shared_ptr<RecordingDelegate> delegate = std::make_shared<RecordingDelegate>(trace);
    std::shared_ptr<ReminderController> controller;

private:
    [[nodiscard]] platform::Services makeTracingServices() const {
        platform::Services services = platform::services();
        services.runLoopProvider = std::make_shared<TracingRunLoopProvider>(mainLoop, trace);
        return services;
    }

    const platform::ScopedInstall tracing_;
};

TEST_F(OrderOfTheSync, StoringANewReminderAsksLast) {
    controller->store(makeReminderStruct(item("a")).value());
    EXPECT_EQ(taken(), (Lines{"begin", "🗃 [store] a", "add a", "commit", "schedule a", "did add", "arm"}));
}

TEST_F(OrderOfTheSync, StoringAReminderAgainAsksLast) {
    controller->store(put(item("a")));
    EXPECT_EQ(taken(), (Lines{"begin", "cancel a", "🗃 [store] a", "add a", "commit", "schedule a", "did add", "arm"}));
}

TEST_F(OrderOfTheSync, StoringOverADeletedReminderAsksLast) {
    ReminderItem gone = item("a");
    gone.deleted = true;
    controller->store(put(gone));
    EXPECT_EQ(taken(), (Lines{"begin", "cancel a", "commit", "schedule a", "did add", "arm"}));
}

TEST_F(OrderOfTheSync, WhatArrivesIsStoredInALaterTurnAndAsksLast) {
    controller->storeReminder(makeReminderStruct(item("a")).value());
    EXPECT_EQ(taken(), Lines{});
    mainQueue->runAll();
    EXPECT_EQ(taken(), (Lines{"begin", "🗃 [store] a", "add a", "commit", "schedule a", "did add", "arm"}));
}

TEST_F(OrderOfTheSync, PostponingAsksLast) {
    controller->postpone(put(item("a")), ReminderCondition::dateTime(Date(1'795'500'000)));
    EXPECT_EQ(taken(), (Lines{"cancel a", "did remove", "begin", "set a _datetime _device completionDate pending",
                              "commit", "schedule a", "did add", "arm"}));
}

TEST_F(OrderOfTheSync, MarkingTheUnseenAsSeenAsksAfterTheWrite) {
    static_cast<void>(put(macItem("a")));
    controller->markSeen();
    EXPECT_EQ(taken(), (Lines{"begin", "add a", "commit", "arm"}));
}

TEST_F(OrderOfTheSync, MarkingSomeAsSeenAsksAfterTheWrite) {
    controller->markSeen({put(item("a"))});
    EXPECT_EQ(taken(), (Lines{"begin", "add a", "commit", "arm"}));
}

TEST_F(OrderOfTheSync, DeletingAsksAfterTheWriteAndBeforeItTellsTheDelegate) {
    controller->delete_(put(item("a")));
    EXPECT_EQ(taken(),
              (Lines{"cancel a", "cancel a", "begin", "set a deleted pending", "commit", "arm", "did remove"}));
}

TEST_F(OrderOfTheSync, StoringManyAsksForNone) {
    controller->store(std::vector{makeReminderStruct(item("a")).value(), makeReminderStruct(item("b")).value()});
    EXPECT_EQ(taken(), (Lines{"begin", "add a", "add b", "commit", "schedule a", "did add", "schedule b", "did add"}));
}

TEST_F(OrderOfTheSync, ClearingAsksForNone) {
    static_cast<void>(put(item("a")));
    controller->clearRealm();
    EXPECT_EQ(taken(), (Lines{"begin", "delete all", "commit", "did remove"}));
}

}  // namespace
}  // namespace quendokit::testing

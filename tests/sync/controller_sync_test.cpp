/// \file
/// What the controller asks of its sync manager.

#include "quendokit/store/quendokit_config.hpp"
#include "quendokit/store/reminder_controller.hpp"
#include "testing/recording_delegate.hpp"
#include "testing/recording_scheduler.hpp"
#include "tests/support/in_memory_realm_factory.hpp"
#include "tests/support/sync_fixture.hpp"
#include "tests/support/tracing_realm.hpp"

namespace quendokit::testing {
namespace {

class ControllerWithSync : public SyncFixture {
protected:
    ControllerWithSync() {
        make(SyncMethod::push);
        answerZone(true);
        trace->clear();
        realm =
            std::make_shared<TracingRealm>(factory.make(QuendoKitConfig(), std::nullopt), std::make_shared<Trace>());
        controller = ReminderController::create(scheduler, realm, delegate, manager);
    }

    /// Whether the debounce timer runs after `work`; it is stopped then.
    template <typename Work>
    bool requiresSync(Work work) {
        const std::size_t before = mainLoop->timerCount();
        work();
        const bool required = mainLoop->timerCount() > before;
        mainLoop->advanceBy(std::chrono::seconds(1));
        return required;
    }

    [[nodiscard]] ReminderStruct put(const ReminderItem& item) const {
        EXPECT_FALSE(realm->write([&] { realm->add(item, true); }));
        return makeReminderStruct(item).value();
    }
    static ReminderItem item(const std::string& id) { return datedItem(id, Date(1'795'400'000)); }

    InMemoryRealmFactory factory;
    std::shared_ptr<TracingRealm> realm;
    const std::shared_ptr<RecordingScheduler> scheduler = std::make_shared<RecordingScheduler>();
    const std::shared_ptr<RecordingDelegate> delegate = std::make_shared<RecordingDelegate>();
    std::shared_ptr<ReminderController> controller;
};

TEST_F(ControllerWithSync, MakesItselfTheStoreWhichStartsADownload) {
    EXPECT_EQ(manager->reminderStore(), controller);
    EXPECT_EQ(taken(), Lines{"download from the beginning"});
    const std::weak_ptr<ReminderController> weak = controller;
    controller.reset();
    EXPECT_TRUE(weak.expired());
    EXPECT_EQ(manager->reminderStore(), nullptr);
}

TEST_F(ControllerWithSync, AsksForASyncAfterEachChangeOfItsOwn) {
    const ReminderCondition later = ReminderCondition::dateTime(Date(1'795'500'000));
    EXPECT_TRUE(requiresSync([&] { controller->store(ReminderStruct("new", later)); }));
    const ReminderStruct stored = put(item("a"));
    EXPECT_TRUE(requiresSync([&] { controller->postpone(stored, later); }));
    EXPECT_TRUE(requiresSync([&] { controller->markSeen({stored}); }));
    EXPECT_TRUE(requiresSync([&] { controller->delete_(stored); }));
}

TEST_F(ControllerWithSync, AsksForASyncWhenThereWasNothingToMarkSeen) {
    EXPECT_TRUE(requiresSync([&] { controller->markSeen(); }));
    EXPECT_TRUE(requiresSync([&] { controller->markSeen(std::vector<ReminderStruct>()); }));
}

TEST_F(ControllerWithSync, AsksForASyncAfterStoringOverADeletedReminder) {
    ReminderItem gone = item("a");
    gone.deleted = true;
    const ReminderStruct stored = put(gone);
    EXPECT_TRUE(requiresSync([&] { controller->store(stored); }));
}

TEST_F(ControllerWithSync, AsksForNoSyncAfterStoringManyClearingAndReading) {
    const ReminderStruct stored = put(item("a"));
    EXPECT_FALSE(requiresSync([&] { controller->store(std::vector{stored}); }));
    EXPECT_FALSE(requiresSync([&] { static_cast<void>(controller->reminders(true)); }));
    EXPECT_FALSE(requiresSync([&] { static_cast<void>(controller->remindersToUpload()); }));
    EXPECT_FALSE(requiresSync([&] { controller->clearRealm(); }));
}

TEST_F(ControllerWithSync, AsksForNoSyncForWhatIsNotStored) {
    const ReminderStruct unknown("unknown", "t", false, ReminderCondition::device(DeviceType::mac));
    EXPECT_FALSE(requiresSync([&] { controller->postpone(unknown, unknown.condition()); }));
    EXPECT_FALSE(requiresSync([&] { controller->delete_(unknown); }));
}

TEST_F(ControllerWithSync, AFailedWriteStopsTheSyncOfAStoreAndOfNothingElse) {
    const ReminderStruct stored = put(item("a"));
    const auto failing = [&](auto work) {
        realm->failNextWrite(FailAt::begin);
        return requiresSync(work);
    };
    EXPECT_FALSE(failing([&] { controller->store(stored); }));
    EXPECT_TRUE(failing([&] { controller->postpone(stored, stored.condition()); }));
    EXPECT_TRUE(failing([&] { controller->markSeen(); }));
    EXPECT_TRUE(failing([&] { controller->markSeen({stored}); }));
    EXPECT_TRUE(failing([&] { controller->delete_(stored); }));
}

TEST_F(ControllerWithSync, WhatArrivesAsksForASyncAndADeletionOrConfirmationDoesNot) {
    EXPECT_TRUE(requiresSync([&] {
        controller->storeReminder(makeReminderStruct(item("a")).value());
        mainQueue->runAll();
    }));
    EXPECT_FALSE(requiresSync([&] {
        controller->didSyncReminders({"a"});
        controller->deleteReminder("a");
        mainQueue->runAll();
    }));
}

TEST_F(ControllerWithSync, UploadsWhatWasStoredAndConfirmsIt) {
    taken();
    controller->store(ReminderStruct("new", ReminderCondition::device(DeviceType::mac)));
    const std::string id = controller->reminders(false).front().id().value();
    trace->clear();
    mainLoop->advanceBy(std::chrono::seconds(1));
    EXPECT_EQ(taken(), Lines{"upload " + id + " delete"});
    const auto upload = cloud->take<CKModifyRecordsOperation>();
    upload->modifyRecordsCompletion(upload->recordsToSave, std::nullopt, std::nullopt);
    EXPECT_EQ(controller->remindersToUpload()->size(), 1U);
    mainQueue->runAll();
    EXPECT_TRUE(controller->remindersToUpload()->empty());
}

}  // namespace
}  // namespace quendokit::testing

#include "quendokit/sync/reminder_record.hpp"
#include "tests/support/sync_fixture.hpp"

namespace quendokit::testing {
namespace {

class PreparingTheZone : public SyncFixture {
protected:
    /// Answers the oldest wish for a zone.
    void answerCreation(std::optional<std::vector<CKRecordZone>> saved, std::optional<Error> failure = std::nullopt) {
        const auto making = cloud->take<CKModifyRecordZonesOperation>();
        ASSERT_TRUE(making);
        making->modifyRecordZonesCompletion(std::move(saved), std::nullopt, std::move(failure));
        making->finish();
    }
};

TEST_F(PreparingTheZone, BeginsAtOnceInTheContainerOfTheHost) {
    make(SyncMethod::push);
    EXPECT_EQ(taken(), Lines{"fetch zones Reminder Zone"});
    EXPECT_EQ(containers->lastIdentifier, "iCloud.net.example.reminders");
    EXPECT_FALSE(manager->zoneExists());
    EXPECT_EQ(manager->pollingTimer(), nullptr);
    EXPECT_EQ(manager->reminderStore(), nullptr);
}

TEST_F(PreparingTheZone, AZoneThatIsFoundIsPolledEverySixtySecondsWithoutASubscription) {
    make(SyncMethod::polling);
    answerZone(true);
    EXPECT_EQ(taken(), (Lines{"fetch zones Reminder Zone", "☁️ Reminder zone retrieved"}));
    EXPECT_TRUE(manager->zoneExists());
    ASSERT_TRUE(manager->pollingTimer());
    EXPECT_TRUE(manager->pollingTimer()->repeats());
    EXPECT_EQ(manager->pollingTimer()->timeInterval(), std::chrono::seconds(60));
    EXPECT_EQ(mainLoop->timerCount(), 1U);
    mainLoop->advanceBy(std::chrono::milliseconds(59'999));
    EXPECT_EQ(taken(), Lines{});
    mainLoop->advanceBy(std::chrono::milliseconds(1));
    EXPECT_EQ(taken(), Lines{"download from the beginning"});
    mainLoop->advanceBy(std::chrono::seconds(60));
    EXPECT_EQ(taken(), Lines{"download from the beginning"});
}

TEST_F(PreparingTheZone, AnAnswerOnAThreadWithItsOwnLoopIsPolledOnTheMainLoop) {
    const auto other = std::make_shared<ManualRunLoop>();
    make(SyncMethod::polling);
    {
        const ManualRunLoopProvider::ScopedCurrent scope(*loops, other);
        answerZone(true);
    }
    EXPECT_EQ(other->timerCount(), 0U);
    EXPECT_EQ(mainLoop->timerCount(), 1U);
    EXPECT_EQ(mainLoop->timeUntilNextTimer(), std::chrono::seconds(60));
}

TEST_F(PreparingTheZone, AZoneThatIsFoundIsSubscribedToWhenPushed) {
    make(SyncMethod::push);
    answerZone(true);
    EXPECT_EQ(taken(), (Lines{"fetch zones Reminder Zone", "☁️ Reminder zone retrieved",
                              "fetch subscription Reminder Subscription"}));
    EXPECT_EQ(manager->pollingTimer(), nullptr);
}

TEST_F(PreparingTheZone, AMissingZoneIsMade) {
    make(SyncMethod::push);
    answerZone(false);
    EXPECT_EQ(taken(), (Lines{"fetch zones Reminder Zone", "☁️ Creating reminder zone", "save zones Reminder Zone"}));
    answerCreation(std::vector{CKRecordZone{zoneID}});
    EXPECT_TRUE(manager->zoneExists());
    EXPECT_EQ(taken(), (Lines{"fetch subscription Reminder Subscription", "☁️ Reminder zone created"}));
}

TEST_F(PreparingTheZone, AMadeZoneIsPolled) {
    make(SyncMethod::polling);
    answerZone(false);
    trace->clear();
    answerCreation(std::vector{CKRecordZone{zoneID}});
    EXPECT_EQ(taken(), Lines{"☁️ Reminder zone created"});
    EXPECT_TRUE(manager->pollingTimer());
}

TEST_F(PreparingTheZone, AZoneThatCannotBeLookedUpIsMade) {
    make(SyncMethod::push);
    answerZone(false, error("The network is unreachable."));
    EXPECT_EQ(taken(), (Lines{"fetch zones Reminder Zone", "☁️ Reminder zone error: The network is unreachable.",
                              "☁️ Creating reminder zone", "save zones Reminder Zone"}));
}

TEST_F(PreparingTheZone, AZoneThatComesWithAnErrorIsTaken) {
    make(SyncMethod::polling);
    const auto fetch = cloud->take<CKFetchRecordZonesOperation>();
    fetch->fetchRecordZonesCompletion(CKFetchRecordZonesOperation::Zones{{zoneID, CKRecordZone{zoneID}}},
                                      error("Partial failure."));
    EXPECT_EQ(taken(), (Lines{"fetch zones Reminder Zone", "☁️ Reminder zone error: Partial failure.",
                              "☁️ Reminder zone retrieved"}));
    EXPECT_TRUE(manager->zoneExists());
}

TEST_F(PreparingTheZone, OfOtherZonesNoneCounts) {
    make(SyncMethod::push);
    const auto fetch = cloud->take<CKFetchRecordZonesOperation>();
    const CKRecordZoneID other{"Other Zone"};
    fetch->fetchRecordZonesCompletion(CKFetchRecordZonesOperation::Zones{{other, CKRecordZone{other}}}, std::nullopt);
    EXPECT_EQ(trace->lines().back(), "save zones Reminder Zone");
    EXPECT_FALSE(manager->zoneExists());
}

TEST_F(PreparingTheZone, AZoneThatCannotBeMadeStaysUnknownAndNothingIsTriedAgain) {
    make(SyncMethod::polling);
    answerZone(false);
    trace->clear();
    answerCreation(std::nullopt, error("Not signed in."));
    EXPECT_EQ(taken(), Lines{"☁️ Failed to create reminder zone: Not signed in."});
    EXPECT_FALSE(manager->zoneExists());
    EXPECT_EQ(mainLoop->timerCount(), 0U);
    EXPECT_EQ(cloud->operationCount(), 0U);
}

TEST_F(PreparingTheZone, SavedZonesWithoutOursLeaveItUnknown) {
    make(SyncMethod::polling);
    answerZone(false);
    trace->clear();
    answerCreation(std::vector{CKRecordZone{CKRecordZoneID{"Other Zone"}}});
    EXPECT_EQ(taken(), Lines{"☁️ Reminder zone created"});
    EXPECT_FALSE(manager->zoneExists());
    EXPECT_EQ(manager->pollingTimer(), nullptr);
}

TEST_F(PreparingTheZone, AnEmptyListOfSavedZonesLeavesItUnknownToo) {
    make(SyncMethod::polling);
    answerZone(false);
    trace->clear();
    answerCreation(std::vector<CKRecordZone>());
    EXPECT_EQ(taken(), Lines{"☁️ Reminder zone created"});
    EXPECT_FALSE(manager->zoneExists());
}

TEST_F(PreparingTheZone, SavedZonesThatComeWithAnErrorAreNotTaken) {
    make(SyncMethod::polling);
    answerZone(false);
    trace->clear();
    answerCreation(std::vector{CKRecordZone{zoneID}}, error("Partial failure."));
    EXPECT_EQ(taken(), Lines{"☁️ Failed to create reminder zone: Partial failure."});
    EXPECT_FALSE(manager->zoneExists());
}

TEST_F(PreparingTheZone, NeitherZonesNorAnErrorIsNothing) {
    make(SyncMethod::polling);
    answerZone(false);
    trace->clear();
    answerCreation(std::nullopt);
    EXPECT_EQ(taken(), Lines{});
    EXPECT_FALSE(manager->zoneExists());
}

TEST_F(PreparingTheZone, TwoAnswersMakeOneTimer) {
    make(SyncMethod::polling);
    const auto fetch = cloud->take<CKFetchRecordZonesOperation>();
    const CKFetchRecordZonesOperation::Zones zones{{zoneID, CKRecordZone{zoneID}}};
    fetch->fetchRecordZonesCompletion(zones, std::nullopt);
    const auto timer = manager->pollingTimer();
    fetch->fetchRecordZonesCompletion(zones, std::nullopt);
    EXPECT_EQ(manager->pollingTimer(), timer);
    EXPECT_EQ(mainLoop->timerCount(), 1U);
}

TEST_F(PreparingTheZone, WhatCompletesAfterTheManagerIsGoneOnlyLogs) {
    make(SyncMethod::push);
    manager.reset();
    trace->clear();
    answerZone(true);
    EXPECT_EQ(taken(), Lines{"☁️ Reminder zone retrieved"});

    make(SyncMethod::push);
    manager.reset();
    trace->clear();
    answerZone(false);
    EXPECT_EQ(taken(), Lines{"☁️ Creating reminder zone"});

    make(SyncMethod::push);
    answerZone(false);
    manager.reset();
    trace->clear();
    answerCreation(std::vector{CKRecordZone{zoneID}});
    EXPECT_EQ(taken(), Lines{"☁️ Reminder zone created"});
    EXPECT_EQ(cloud->operationCount(), 0U);
}

TEST_F(PreparingTheZone, APollingManagerLivesAsLongAsTheLoopKeepsItsTimer) {
    makeReady();
    const std::weak_ptr<ReminderSyncManager> weak = manager;
    const auto timer = manager->pollingTimer();
    manager.reset();
    EXPECT_FALSE(weak.expired());
    mainLoop->advanceBy(std::chrono::seconds(60));
    EXPECT_EQ(taken(), Lines{"download from the beginning"});
    timer->invalidate();
    EXPECT_TRUE(weak.expired());
}

TEST_F(PreparingTheZone, APushedManagerGoesWithItsOwner) {
    make(SyncMethod::push);
    answerZone(true);
    const std::weak_ptr<ReminderSyncManager> weak = manager;
    manager.reset();
    EXPECT_TRUE(weak.expired());
}

TEST_F(PreparingTheZone, ThePollAsksBeforeTheZoneIsKnown) {
    make(SyncMethod::polling);
    trace->clear();
    const auto timer = Timer::create(std::chrono::seconds(1), [](Timer&) {}, false);
    manager->triggerPollingUpdate(*timer);
    EXPECT_EQ(taken(), Lines{"download from the beginning"});
    EXPECT_TRUE(timer->isValid());
}

TEST_F(PreparingTheZone, TheMethodsStandInTheirOrder) {
    EXPECT_EQ(static_cast<int>(SyncMethod::polling), 0);
    EXPECT_EQ(static_cast<int>(SyncMethod::push), 1);
    manager = ReminderSyncManager::create("any other device");
    answerZone(true);
    EXPECT_EQ(trace->lines().back(), "fetch subscription Reminder Subscription");
}

class ManagersOfTwoDevices : public PreparingTheZone {
protected:
    struct Deeds {
        Lines lines;
        std::vector<CKRecord> sent;
    };

    /// What a manager does that makes its zone, reads a page, uploads a reminder and lives for another minute.
    Deeds deedsOf(const std::string& deviceIdentifier, SyncMethod method) {
        defaults->remove(tokenKey);
        store->toUpload = std::vector{datedItem("c", Date(1'795'500'000))};
        make(method, deviceIdentifier);
        answerZone(false);
        answerCreation(std::vector{CKRecordZone{zoneID}});
        manager->setReminderStore(store);
        const auto page = cloud->take<CKFetchRecordChangesOperation>();
        page->recordChanged(makeCKRecord(datedItem("a", Date(1'795'400'000)), zoneID).value());
        page->recordWithIDWasDeleted({"b", zoneID});
        page->fetchRecordChangesCompletion(token("T1"), std::nullopt, std::nullopt);
        manager->requireSync();
        mainLoop->advanceBy(std::chrono::seconds(1));
        const auto upload = cloud->take<CKModifyRecordsOperation>();
        const std::vector<CKRecord> sent = upload->recordsToSave.value();
        upload->modifyRecordsCompletion(sent, std::nullopt, std::nullopt);
        mainLoop->advanceBy(std::chrono::seconds(60));
        if (const auto timer = manager->pollingTimer()) {
            timer->invalidate();
        }
        static_cast<void>(cloud->take<CKFetchRecordChangesOperation>());
        return {taken(), sent};
    }
};

TEST_F(ManagersOfTwoDevices, BehaveAlike) {
    for (const SyncMethod method : {SyncMethod::polling, SyncMethod::push}) {
        const Deeds first = deedsOf("this device", method);
        EXPECT_EQ(first.sent.size(), 1U);
        for (const char* const other : {"another device", ""}) {
            const Deeds second = deedsOf(other, method);
            EXPECT_EQ(first.lines, second.lines);
            EXPECT_TRUE(first.sent == second.sent);
        }
    }
}

using PreparingTheZoneDeathTest = PreparingTheZone;

TEST_F(PreparingTheZoneDeathTest, AManagerWithoutADeviceIsFatal) {
    EXPECT_DEATH(static_cast<void>(ReminderSyncManager::create()), "QuendoKit.ReminderSyncManager.*init\\(\\)");
}

}  // namespace
}  // namespace quendokit::testing

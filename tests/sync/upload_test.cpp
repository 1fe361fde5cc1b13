#include "tests/support/sync_fixture.hpp"

namespace quendokit::testing {
namespace {

class Uploading : public SyncFixture {
protected:
    static constexpr const char* didFinish = "post quendokit.reminders.did-finish-local-sync";

    Uploading() {
        makeReady();
        manager->setReminderStore(store);
        trace->clear();
        static_cast<void>(cloud->take<CKFetchRecordChangesOperation>());
    }

    static Date later() { return Date(1'795'400'000); }

    void offer(const std::vector<std::string>& save, const std::vector<std::string>& remove) {
        store->toUpload.emplace();
        for (const std::string& id : save) {
            store->toUpload->push_back(datedItem(id, later()));
        }
        store->toDelete.emplace();
        for (const std::string& id : remove) {
            store->toDelete->push_back(datedItem(id, later()));
        }
    }

    [[nodiscard]] std::shared_ptr<CKModifyRecordsOperation> upload() const {
        return std::dynamic_pointer_cast<CKModifyRecordsOperation>(manager->localSyncOp());
    }
    [[nodiscard]] CKRecord record(const std::string& name) const {
        return CKRecord::make("Reminder", {name, zoneID}).value();
    }
};

TEST_F(Uploading, BeforeTheZoneIsKnownIsNothingWithoutAWord) {
    manager.reset();
    make(SyncMethod::push);
    manager->setReminderStore(store);
    offer({"a"}, {});
    trace->clear();
    EXPECT_EQ(manager->localSyncOp(), nullptr);
    EXPECT_EQ(taken(), Lines{});
}

TEST_F(Uploading, OfNothingPostsThatItIsDone) {
    EXPECT_EQ(manager->localSyncOp(), nullptr);
    EXPECT_EQ(taken(), Lines{didFinish});
}

TEST_F(Uploading, WithoutAStoreOrListsIsOfNothing) {
    store->toUpload.reset();
    store->toDelete.reset();
    EXPECT_EQ(manager->localSyncOp(), nullptr);
    manager->setReminderStore(nullptr);
    offer({"a"}, {});
    EXPECT_EQ(manager->localSyncOp(), nullptr);
    EXPECT_EQ(taken(), (Lines{didFinish, didFinish}));
}

TEST_F(Uploading, SendsRecordsInTheirOrderWithAllTheirKeys) {
    offer({"b", "a"}, {"d", "c"});
    const auto operation = upload();
    ASSERT_TRUE(operation);
    EXPECT_EQ(operation->recordsToSave->at(0).recordID(), (CKRecordID{"b", zoneID}));
    EXPECT_EQ(operation->recordsToSave->at(1).recordID(), (CKRecordID{"a", zoneID}));
    EXPECT_EQ(*operation->recordIDsToDelete, (std::vector<CKRecordID>{{"d", zoneID}, {"c", zoneID}}));
    EXPECT_EQ(operation->savePolicy, CKRecordSavePolicy::allKeys);
    EXPECT_EQ(static_cast<int>(operation->savePolicy), 2);
    // It is given to the database by whoever asked.
    EXPECT_EQ(taken(), Lines{});
}

TEST_F(Uploading, OfDeletionsAloneSavesAnEmptyList) {
    offer({}, {"c"});
    const auto operation = upload();
    ASSERT_TRUE(operation);
    ASSERT_TRUE(operation->recordsToSave);
    EXPECT_TRUE(operation->recordsToSave->empty());
}

TEST_F(Uploading, OfSavesAloneDeletesAnEmptyList) {
    offer({"a"}, {});
    const auto operation = upload();
    ASSERT_TRUE(operation);
    ASSERT_TRUE(operation->recordIDsToDelete);
    EXPECT_TRUE(operation->recordIDsToDelete->empty());
}

TEST_F(Uploading, AnAbsentListStaysAbsent) {
    offer({"a"}, {});
    store->toDelete.reset();
    EXPECT_FALSE(upload()->recordIDsToDelete);
    offer({}, {"a"});
    store->toUpload.reset();
    EXPECT_FALSE(upload()->recordsToSave);
}

TEST_F(Uploading, LeavesOutWhatTheCloudTakesNoNameFor) {
    offer({"a", "", "naïve"}, {});
    EXPECT_EQ(upload()->recordsToSave->size(), 1U);
    offer({""}, {});
    EXPECT_EQ(manager->localSyncOp(), nullptr);
}

TEST_F(Uploading, ConfirmsSavedThenDeletedOnesOnceAndPosts) {
    offer({"A", "B"}, {"C"});
    upload()->modifyRecordsCompletion(std::vector{record("A"), record("B")}, std::vector<CKRecordID>{{"C", zoneID}},
                                      std::nullopt);
    EXPECT_EQ(taken(), (Lines{"🌤 Uploaded: A", "🌤 Uploaded: B", "🌤 Uploaded: C", "did sync A B C", didFinish}));
}

TEST_F(Uploading, ConfirmsInTheOrderThatComesBack) {
    offer({"A", "B"}, {});
    upload()->modifyRecordsCompletion(std::vector{record("B"), record("A")}, std::nullopt, std::nullopt);
    EXPECT_EQ(taken(), (Lines{"🌤 Uploaded: B", "🌤 Uploaded: A", "did sync B A", didFinish}));
}

TEST_F(Uploading, ConfirmsDeletedOnesWithoutAListOfSavedOnes) {
    offer({}, {"C", "D"});
    upload()->modifyRecordsCompletion(std::nullopt, std::vector<CKRecordID>{{"D", zoneID}, {"C", zoneID}},
                                      std::nullopt);
    EXPECT_EQ(taken(), (Lines{"🌤 Uploaded: D", "🌤 Uploaded: C", "did sync D C", didFinish}));
}

TEST_F(Uploading, ThatConfirmsNothingTellsNoStoreAndPosts) {
    offer({"A"}, {});
    upload()->modifyRecordsCompletion(std::nullopt, std::nullopt, std::nullopt);
    EXPECT_EQ(taken(), Lines{didFinish});
}

TEST_F(Uploading, ThatFailsInPartOrWholeLogsAndNothingElse) {
    offer({"A"}, {});
    upload()->modifyRecordsCompletion(std::vector{record("A")}, std::nullopt, error("Partial failure."));
    EXPECT_EQ(taken(), Lines{"💥 Partial failure."});
}

TEST_F(Uploading, ThatEndsAfterStoreOrManagerIsGoneLogsAndPosts) {
    offer({"A"}, {});
    const auto first = upload();
    manager->setReminderStore(nullptr);
    first->modifyRecordsCompletion(std::vector{record("A")}, std::nullopt, std::nullopt);
    EXPECT_EQ(taken(), (Lines{"🌤 Uploaded: A", didFinish}));

    manager->setReminderStore(store);
    const auto second = upload();
    manager->pollingTimer()->invalidate();
    manager.reset();
    trace->clear();
    second->modifyRecordsCompletion(std::vector{record("A")}, std::nullopt, std::nullopt);
    EXPECT_EQ(taken(), (Lines{"🌤 Uploaded: A", didFinish}));
}

TEST_F(Uploading, ThreeRequirementsInABurstAreOneUploadASecondAfterTheThird) {
    offer({"A"}, {});
    for (int i = 0; i < 3; ++i) {
        mainLoop->advanceBy(std::chrono::milliseconds(300));
        manager->requireSync();
    }
    mainLoop->advanceBy(std::chrono::milliseconds(999));
    EXPECT_EQ(taken(), Lines{});
    mainLoop->advanceBy(std::chrono::milliseconds(1));
    EXPECT_EQ(taken(), Lines{"upload A delete"});
    mainLoop->advanceBy(std::chrono::seconds(10));
    EXPECT_EQ(taken(), Lines{});
}

TEST_F(Uploading, ASyncAskedForOnAThreadWithItsOwnLoopWaitsOnTheMainLoop) {
    const auto other = std::make_shared<ManualRunLoop>();
    manager->pollingTimer()->invalidate();
    {
        const ManualRunLoopProvider::ScopedCurrent scope(*loops, other);
        manager->requireSync();
    }
    EXPECT_EQ(other->timerCount(), 0U);
    EXPECT_EQ(mainLoop->timerCount(), 1U);
    EXPECT_EQ(mainLoop->timeUntilNextTimer(), std::chrono::seconds(1));
}

TEST_F(Uploading, RequiredWhileTheZoneIsUnknownDoesNothing) {
    manager.reset();
    make(SyncMethod::push);
    manager->setReminderStore(store);
    offer({"A"}, {});
    trace->clear();
    manager->requireSync();
    mainLoop->advanceBy(std::chrono::seconds(10));
    EXPECT_EQ(taken(), Lines{});
}

TEST_F(Uploading, TheTimerIsEndedOnlyWhenTheZoneIsKnown) {
    const auto timer = Timer::create(std::chrono::seconds(1), [](Timer&) {}, true);
    manager->triggerSync(*timer);
    EXPECT_FALSE(timer->isValid());

    make(SyncMethod::push);
    const auto other = Timer::create(std::chrono::seconds(1), [](Timer&) {}, true);
    manager->triggerSync(*other);
    EXPECT_TRUE(other->isValid());
}

TEST_F(Uploading, SyncWithSomethingToUploadGivesTheDatabaseOneOperationThatNeverStarts) {
    offer({"A"}, {});
    manager->sync();
    EXPECT_EQ(taken(), Lines{"upload A delete"});
    EXPECT_EQ(cloud->operationCount(), 1U);
    EXPECT_EQ(cloud->take<CKModifyRecordsOperation>(), nullptr);
}

TEST_F(Uploading, SyncWithNothingToUploadDownloads) {
    manager->sync();
    EXPECT_EQ(taken(), (Lines{didFinish, "download from the beginning"}));
}

TEST_F(Uploading, SyncBeforeTheZoneIsKnownDownloads) {
    make(SyncMethod::push);
    trace->clear();
    manager->sync();
    EXPECT_EQ(taken(), Lines{"download from the beginning"});
}

TEST_F(Uploading, ARequiredOneKeepsTheManagerUntilItsTimerHasFired) {
    make(SyncMethod::push);
    const std::weak_ptr<ReminderSyncManager> weak = manager;
    manager->requireSync();
    manager.reset();
    EXPECT_FALSE(weak.expired());
    mainLoop->advanceBy(std::chrono::seconds(1));
    EXPECT_TRUE(weak.expired());
}

}  // namespace
}  // namespace quendokit::testing

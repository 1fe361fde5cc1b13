/// \file
/// When a sync driver asks for what.

#include "hostkit/sync_driver.hpp"

#include "tests/support/guarded_fixture.hpp"

namespace quendokit::testing {
namespace {

using namespace std::chrono_literals;

class Driver : public GuardedFixture {
protected:
    void drive(SyncDriverOptions options = {}) {
        SyncDriverEvents events;
        events.uploadEnded = [this](const auto& error) { trace->add(error ? "upload failed" : "upload ended"); };
        events.downloadEnded = [this](const auto& error) { trace->add(error ? "download failed" : "download ended"); };
        events.zoneStaysUnknown = [this] { trace->add("zone stays unknown"); };
        events.waits = [this](const Error&, std::chrono::nanoseconds) { trace->add("waits"); };
        events.reports = [this](const std::string& line) { trace->add("report " + line); };
        driver = SyncDriver::create(manager, database, options, events);
    }
    /// A manager in push mode whose zone was not answered yet, with its driver.
    void driveUnknown(CloudGuardOptions options = {}) {
        guard(std::move(options));
        make(SyncMethod::push);
        manager->setReminderStore(store);
        drive();
        mainQueue->runAll();
    }
    /// The same with the zone known, everything answered and nothing to do. The trace is empty.
    void driveKnown(CloudGuardOptions options = {}) {
        driveUnknown(std::move(options));
        answerZone(true);
        mainQueue->runAll();
        answerDownload({{}, token("T0")});
        cloud->subscriptionFetches.front().completion(CKSubscription(), std::nullopt);
        cloud->subscriptionFetches.clear();
        pass(10s);
        trace->clear();
    }
    /// What reached the cloud and the host, without the engine's own lines.
    Lines told() {
        Lines lines;
        for (std::string& line : taken()) {
            const bool mine = line.starts_with("upload") || line.starts_with("download") || line.starts_with("zone") ||
                              line.starts_with("waits") || line.starts_with("report");
            if (mine) {
                lines.push_back(std::move(line));
            }
        }
        return lines;
    }

    std::shared_ptr<SyncDriver> driver;
};

TEST_F(Driver, UploadsWhatIsUnsentWhenTheZoneBecomesKnown) {
    driveUnknown();
    setUnsent({"a"});
    pass(2s);
    EXPECT_EQ(told(), Lines{});
    answerZone(true);
    mainQueue->runAll();
    // The first download has waited, and asks for the upload itself; without that protection it is asked for anyway.
    EXPECT_EQ(told(), Lines{"upload a delete"});
}

TEST_F(Driver, UploadsASecondAfterTheZoneBecameKnown) {
    CloudGuardOptions options;
    options.uploadsFirst = false;
    driveUnknown(options);
    setUnsent({"a"});
    answerZone(true);
    mainQueue->runAll();
    answerDownload({{}, token("T0")});
    cloud->subscriptionFetches.front().completion(CKSubscription(), std::nullopt);
    pass(999ms);
    EXPECT_EQ(told(), (Lines{"download from the beginning", "download ended"}));
    pass(1ms);
    EXPECT_EQ(told(), Lines{"upload a delete"});
}

TEST_F(Driver, AsksForNothingWhenTheZoneCouldNotBeFoundOrMade) {
    driveUnknown();
    setUnsent({"a"});
    answerZone(false);
    mainQueue->runAll();
    const auto create = cloud->take<CKModifyRecordZonesOperation>();
    ASSERT_FALSE(create);  // the first download is before it
    answerDownload({{}, std::nullopt, false, failure(CKErrorCode::zoneNotFound)});
    const auto made = cloud->take<CKModifyRecordZonesOperation>();
    ASSERT_TRUE(made);
    made->modifyRecordZonesCompletion(std::nullopt, std::nullopt, failure(CKErrorCode::permissionFailure));
    pass(20s);
    EXPECT_EQ(told(), (Lines{"download from the beginning", "download failed"}));
}

TEST_F(Driver, LooksForChangesAndForWhatIsUnsentEveryFiveMinutes) {
    driveKnown();
    pass(5min - 10s - 1ms);
    EXPECT_EQ(told(), Lines{});
    pass(1ms);
    EXPECT_EQ(told(), Lines{"download from T0"});
    answerDownload({{}, token("T1")});
    setUnsent({"a"});
    pass(1s);
    EXPECT_EQ(told(), (Lines{"download ended", "upload a delete"}));
    setUnsent({});
    confirmUpload();
    taken();
    pass(299s);
    EXPECT_EQ(told(), Lines{"download from T1"});
}

TEST_F(Driver, DownloadsWhenItIsPushed) {
    driveKnown();
    driver->pushed();
    mainQueue->runAll();
    EXPECT_EQ(told(), Lines{"download from T0"});
}

TEST_F(Driver, TriesEverythingWhenTheNetworkIsBack) {
    driveKnown();
    driver->pushed();
    mainQueue->runAll();
    answerDownload({{}, std::nullopt, false, offline()});
    EXPECT_EQ(told(), (Lines{"download from T0", "waits"}));
    setUnsent({"a"});
    driver->resumed();
    mainQueue->runAll();
    EXPECT_EQ(told(), Lines{"download from T0"});
    answerDownload({{}, token("T1")});
    // What was asked for then: another download, and before it what is unsent.
    EXPECT_EQ(told(), (Lines{"download ended", "upload a delete"}));
}

TEST_F(Driver, AFailedUploadIsTriedAgainEverLater) {
    CloudGuardOptions options;
    options.uploadsFirst = false;
    driveKnown(options);
    setUnsent({"a"});
    manager->requireSync();
    pass(1s);
    for (const auto wait : {30s, 60s, 120s, 240s}) {
        SCOPED_TRACE(wait.count());
        EXPECT_EQ(told(), Lines{"upload a delete"});
        failUpload(failure(CKErrorCode::quotaExceeded));
        EXPECT_EQ(told(), Lines{"upload failed"});
        // The look around every five minutes asks as well; what matters is that nobody asks before.
        pass(wait - 1ms);
        const Lines meanwhile = told();
        if (!meanwhile.empty()) {
            EXPECT_EQ(wait, 240s);
            return;
        }
        pass(1s + 1ms);
    }
}

TEST_F(Driver, WhatCouldNotBeStoredIsDownloadedAgainEverLater) {
    driveKnown();
    driver->pushed();
    mainQueue->runAll();
    for (const auto wait : {30s, 60s, 120s}) {
        SCOPED_TRACE(wait.count());
        EXPECT_EQ(told(), Lines{"download from T0"});
        answerDownloadWithoutMain({{record("a")}, token("T1")});
        mainQueue->runNext();
        database->writeFailed();
        database->writeFailed();
        mainQueue->runAll();
        EXPECT_EQ(told(), Lines{"download ended"});
        pass(wait - 1ms);
        EXPECT_EQ(told(), Lines{});
        pass(1ms);
    }
}

TEST_F(Driver, AfterATimeWithoutAFailedWriteTheNextWaitIsAFirstOne) {
    driveKnown();
    database->writeFailed();
    mainQueue->runAll();
    pass(30s);
    EXPECT_EQ(told(), Lines{"download from T0"});
    answerDownload({{}, token("T0")});
    // The first look round is the one in whose time it failed.
    for (int i = 0; i < 2; ++i) {
        pass(5min);
        answerDownload({{}, token("T0")});
    }
    taken();
    database->writeFailed();
    mainQueue->runAll();
    pass(30s - 1ms);
    EXPECT_EQ(told(), Lines{});
    pass(1ms);
    EXPECT_EQ(told(), Lines{"download from T0"});
}

TEST_F(Driver, OneLookRoundIsNotTimeEnough) {
    driveKnown();
    database->writeFailed();
    mainQueue->runAll();
    pass(30s);
    answerDownload({{}, token("T0")});
    pass(270s);
    answerDownload({{}, token("T0")});
    database->writeFailed();
    mainQueue->runAll();
    taken();
    pass(60s - 1ms);
    EXPECT_EQ(told(), Lines{});
    pass(1ms);
    EXPECT_EQ(told(), Lines{"download from T0"});
}

TEST_F(Driver, FurtherFailedWritesDoNotPutADownloadOff) {
    driveKnown();
    for (int i = 0; i < 3; ++i) {
        database->writeFailed();
        mainQueue->runAll();
        pass(10s);
    }
    EXPECT_EQ(told(), Lines{"download from T0"});
}

TEST_F(Driver, ADownloadThatEndedMeanwhileIsEnoughAfterAFailedWrite) {
    driveKnown();
    database->writeFailed();
    driver->pushed();
    mainQueue->runAll();
    answerDownload({{}, token("T0")});
    taken();
    pass(60s);
    EXPECT_EQ(told(), Lines{});
}

TEST_F(Driver, ADownloadThatFailedIsNotEnoughAfterAFailedWrite) {
    driveKnown();
    database->writeFailed();
    driver->pushed();
    mainQueue->runAll();
    answerDownload({{}, std::nullopt, false, failure(CKErrorCode::quotaExceeded)});
    taken();
    pass(30s);
    EXPECT_EQ(told(), Lines{"download from the beginning"});
}

TEST_F(Driver, ASuccessBeginsTheCountOfFailedUploadsAnew) {
    CloudGuardOptions options;
    options.uploadsFirst = false;
    driveKnown(options);
    setUnsent({"a"});
    manager->requireSync();
    pass(1s);
    failUpload(failure(CKErrorCode::quotaExceeded));
    pass(31s);
    failUpload(failure(CKErrorCode::quotaExceeded));
    pass(61s);
    confirmUpload();
    manager->requireSync();
    pass(1s);
    failUpload(failure(CKErrorCode::quotaExceeded));
    taken();
    pass(30s);
    EXPECT_EQ(told(), Lines{});
    pass(1s);
    EXPECT_EQ(told(), Lines{"upload a delete"});
}

TEST_F(Driver, AStreamOfChangesPutsAnUploadOffForTenSecondsAtMost) {
    CloudGuardOptions options;
    options.uploadsFirst = false;
    driveKnown(options);
    setUnsent({"a"});
    driver->pushed();
    mainQueue->runAll();
    int seconds = 0;
    Lines lines;
    for (; seconds < 60 && lines.empty(); ++seconds) {
        answerDownload({{record("x" + std::to_string(seconds))}, token("S" + std::to_string(seconds)), true});
        manager->requireSync();  // what each stored reminder does
        taken();
        pass(900ms);
        lines = told();
        std::erase_if(lines, [](const std::string& line) { return !line.starts_with("upload"); });
        if (lines.empty() && database->waitingCount() > 0) {
            break;  // it waits for the page on its way
        }
    }
    EXPECT_EQ(seconds, 11);
    answerDownload({{}, token("end")});
    EXPECT_EQ(Lines({told().back()}), Lines{"upload a delete"});
    setUnsent({});
    confirmUpload();
    EXPECT_EQ(told(), Lines{"upload ended"});
}

TEST_F(Driver, AnUploadThatEndedNeedsNoReminderOfIt) {
    CloudGuardOptions options;
    options.uploadsFirst = false;
    driveKnown(options);
    const auto before = mainLoop->timerCount();
    driver->pushed();
    mainQueue->runAll();
    answerDownload({{record("b")}, token("T1")});
    EXPECT_EQ(mainLoop->timerCount(), before + 1);
    add(uploadOf("1", {"a"}));
    confirmUpload();
    EXPECT_EQ(mainLoop->timerCount(), before);
}

TEST_F(Driver, APageThatStoresNothingWakesNobodyUp) {
    driveKnown();
    const auto before = mainLoop->timerCount();
    driver->pushed();
    mainQueue->runAll();
    answerDownload({{}, token("T1"), true});
    answerDownload({{idOf("a")}, token("T2"), true});
    answerDownload({{}, std::nullopt, false, failure(CKErrorCode::quotaExceeded)});
    EXPECT_EQ(mainLoop->timerCount(), before);
}

TEST_F(Driver, SaysThatTheZoneStaysUnknownEveryFiveMinutes) {
    driveUnknown();
    pass(5min - 1ms);
    EXPECT_EQ(told(), Lines{});
    pass(1ms);
    EXPECT_EQ(told(), Lines{"zone stays unknown"});
    pass(5min);
    EXPECT_EQ(told(), Lines{"zone stays unknown"});
    driver->resumed();
    EXPECT_EQ(told(), Lines{"zone stays unknown"});
}

TEST_F(Driver, SaysNothingOfTheZoneWhileThereIsNoNetwork) {
    driveUnknown();
    const auto fetch = cloud->take<CKFetchRecordZonesOperation>();
    ASSERT_TRUE(fetch);
    fetch->fetchRecordZonesCompletion(std::nullopt, failure(CKErrorCode::networkUnavailable, 3'600));
    mainQueue->runAll();
    EXPECT_EQ(told(), Lines{"waits"});
    pass(30min);
    EXPECT_EQ(told(), Lines{});
}

TEST_F(Driver, AHostMayMakeAnotherManagerAndDriverWhenItHearsOfTheZone) {
    guard();
    make(SyncMethod::push);
    SyncDriverEvents events;
    int made = 0;
    events.zoneStaysUnknown = [&] {
        ++made;
        manager.reset();
        make(SyncMethod::push);
        driver = SyncDriver::create(manager, database);
        ++made;
    };
    driver = SyncDriver::create(manager, database, {}, events);
    const std::weak_ptr<SyncDriver> first = driver;
    driver->resumed();
    EXPECT_EQ(made, 2);
    EXPECT_TRUE(first.expired());
}

TEST_F(Driver, AHostMayMakeAnotherDriverWhenAnUploadEnds) {
    guardManager();
    SyncDriverEvents events;
    bool made = false;
    events.uploadEnded = [&](const auto&) {
        driver = SyncDriver::create(manager, database);
        made = true;
    };
    driver = SyncDriver::create(manager, database, {}, events);
    add(uploadOf("1", {"a"}));
    confirmUpload();
    EXPECT_TRUE(made);
}

TEST_F(Driver, PassesOnWhatIsNotTaken) {
    driveKnown();
    add(uploadOf("1", {"a"}));
    failUpload(failure(CKErrorCode::invalidArguments));
    EXPECT_EQ(told(), (Lines{"upload a delete", "upload ended",
                             "report The reminder \"a\" cannot be sent to the cloud and waits until it is changed: "
                             "Failed 12."}));
}

TEST_F(Driver, ItsTimersEndWithIt) {
    CloudGuardOptions options;
    options.uploadsFirst = false;
    driveKnown(options);
    driver->pushed();
    mainQueue->runAll();
    answerDownload({{}, token("T1")});
    setUnsent({"a"});
    add(manager->localSyncOp());
    failUpload(failure(CKErrorCode::quotaExceeded));
    driver->pushed();
    mainQueue->runAll();
    answerDownload({{record("b")}, token("T2")});
    database->writeFailed();
    mainQueue->runAll();
    EXPECT_EQ(mainLoop->timerCount(), 4U);
    const std::weak_ptr<SyncDriver> weak = driver;
    driver.reset();
    EXPECT_TRUE(weak.expired());
    EXPECT_EQ(mainLoop->timerCount(), 0U);
    taken();
    pass(1h);
    EXPECT_EQ(taken(), Lines{});
}

TEST_F(Driver, HoldsNeitherManagerNorDatabase) {
    driveKnown();
    const std::weak_ptr<ReminderSyncManager> weakManager = manager;
    const std::weak_ptr<GuardedCloudDatabase> weakDatabase = database;
    endGuard();
    EXPECT_TRUE(weakManager.expired());
    EXPECT_TRUE(weakDatabase.expired());
    driver->pushed();
    driver->resumed();
    pass(1h);
    EXPECT_EQ(told(), Lines{});
    EXPECT_TRUE(SyncDriver::create(nullptr, nullptr));
}

}  // namespace
}  // namespace quendokit::testing

/// \file
/// Changes of reminders that are on their way: uploads are taken back, and what the cloud said comes first.

#include "tests/support/guarded_fixture.hpp"

namespace quendokit::testing {
namespace {

class GuardPerform : public GuardedFixture {
protected:
    void change(const std::string& id) {
        database->perform({id}, [this, id] { trace->add("change " + id); });
    }
    static constexpr const char* changedMeanwhile = " A reminder in it has changed meanwhile.";
};

TEST_F(GuardPerform, NothingOnItsWayMeansNow) {
    guard();
    change("a");
    EXPECT_EQ(taken(), Lines{"change a"});
    bool ran = false;
    database->perform({}, [&] { ran = true; });
    EXPECT_TRUE(ran);
}

TEST_F(GuardPerform, AnUploadOnItsWayIsTakenBackBeforeTheChange) {
    guard();
    CloudGuardEvents events;
    events.uploadEnded = [this](const auto&) { trace->add("ended"); };
    database->setEvents(events);
    add(uploadOf("1", {"a", "b"}, {"c"}));
    change("b");
    EXPECT_EQ(taken(), (Lines{"upload a b delete c", std::string("answer to 1:") + changedMeanwhile, "change b"}));
    // The server's confirmation is nobody's, and the next one waits for it all the same.
    add(uploadOf("2", {"a", "b"}));
    EXPECT_EQ(taken(), Lines{});
    EXPECT_EQ(database->runningCount(), 1U);
    confirmUpload();
    EXPECT_EQ(taken(), Lines{"upload a b delete"});
    confirmUpload();
    EXPECT_EQ(taken(), (Lines{"answer to 2: a b", "ended"}));
}

TEST_F(GuardPerform, ADeletionInAnUploadCountsAsWell) {
    guard();
    add(uploadOf("1", {"a"}, {"c"}));
    change("c");
    EXPECT_EQ(taken(), (Lines{"upload a delete c", std::string("answer to 1:") + changedMeanwhile, "change c"}));
}

TEST_F(GuardPerform, AnUploadOfOthersGoesOn) {
    guard();
    add(uploadOf("1", {"a"}));
    change("b");
    confirmUpload();
    EXPECT_EQ(taken(), (Lines{"upload a delete", "change b", "answer to 1: a"}));
}

TEST_F(GuardPerform, AnUploadThatWaitsForItsTurnIsTakenOut) {
    guard();
    add(fetchOf("busy"));
    add(uploadOf("1", {"a"}));
    add(uploadOf("2", {"b"}));
    change("a");
    EXPECT_EQ(database->waitingCount(), 1U);
    answerFetch();
    EXPECT_EQ(taken(), (Lines{"fetch zones Reminder Zone", std::string("answer to 1:") + changedMeanwhile, "change a",
                              "answer to busy:", "upload b delete"}));
}

TEST_F(GuardPerform, AnUploadThatWasJustAskedForIsTakenBack) {
    guard();
    database->add(uploadOf("1", {"a"}));
    change("a");
    EXPECT_EQ(taken(), (Lines{std::string("answer to 1:") + changedMeanwhile, "change a"}));
    mainQueue->runAll();
    EXPECT_EQ(cloud->operationCount(), 0U);
}

TEST_F(GuardPerform, AnUploadThatWaitsForTheNetworkIsTakenBack) {
    guard();
    add(uploadOf("1", {"a"}));
    failUpload(offline());
    change("a");
    pass(std::chrono::seconds(1));
    EXPECT_EQ(taken(), (Lines{"upload a delete", std::string("answer to 1:") + changedMeanwhile, "change a"}));
}

TEST_F(GuardPerform, AnUploadThatWaitsForAnotherOperationIsTakenBack) {
    guard();
    const auto first = fetchOf("first");
    const auto upload = uploadOf("1", {"a"});
    upload->addDependency(first);
    add(upload);
    change("a");
    add(first);
    answerFetch();
    EXPECT_EQ(taken(), (Lines{std::string("answer to 1:") + changedMeanwhile, "change a", "fetch zones Reminder Zone",
                              "answer to first:"}));
    EXPECT_TRUE(upload->isFinished());
    EXPECT_EQ(cloud->operationCount(), 0U);
}

TEST_F(GuardPerform, WhatWaitedForAnUploadThatWasTakenBackRuns) {
    guard();
    const auto never = fetchOf("never");
    const auto upload = uploadOf("1", {"a"});
    upload->addDependency(never);
    const auto behind = fetchOf("behind");
    behind->addDependency(upload);
    add(upload);
    add(behind);
    change("a");
    taken();
    mainQueue->runAll();
    EXPECT_EQ(taken(), Lines{"fetch zones Reminder Zone"});
}

TEST_F(GuardPerform, ATakenBackUploadThatFailsOfTheNetworkDelaysNothing) {
    guard();
    add(uploadOf("1", {"a"}));
    add(fetchOf("2"));
    change("a");
    failUpload(offline());
    EXPECT_EQ(taken(), (Lines{"upload a delete", std::string("answer to 1:") + changedMeanwhile, "change a",
                              "fetch zones Reminder Zone"}));
}

TEST_F(GuardPerform, ASecondTouchTellsNobodyAgain) {
    guard();
    add(uploadOf("1", {"a"}));
    change("a");
    change("a");
    EXPECT_EQ(taken(),
              (Lines{"upload a delete", std::string("answer to 1:") + changedMeanwhile, "change a", "change a"}));
}

TEST_F(GuardPerform, AChangeWaitsForTheConfirmationThatIsStillQueued) {
    guardManager();
    add(uploadOf("1", {"a"}, {"d"}));
    confirmUploadWithoutMain();
    EXPECT_TRUE(mainQueue->runNext());  // the answer; the engine queues its part behind it
    change("a");
    change("d");
    change("b");
    EXPECT_EQ(taken(), (Lines{"upload a delete d", "answer to 1: a -d", "change b"}));
    mainQueue->runAll();
    EXPECT_EQ(taken(), (Lines{"change a", "change d"}));
    change("a");
    EXPECT_EQ(taken(), Lines{"change a"});
}

TEST_F(GuardPerform, AChangeWaitsForADownloadedOneThatIsStillQueued) {
    guardManager();
    manager->remoteSync();
    mainQueue->runAll();
    answerDownloadWithoutMain({{record("a"), record("a"), idOf("b")}, token("T1")});
    EXPECT_TRUE(mainQueue->runNext());
    taken();
    change("a");
    change("b");
    EXPECT_EQ(taken(), Lines{});
    mainQueue->runAll();
    EXPECT_EQ(taken(), (Lines{"change a", "change b"}));
}

TEST_F(GuardPerform, WhatTheShieldDroppedHoldsNoChangeUp) {
    CloudGuardOptions options;
    options.uploadsFirst = false;
    guardManager(options);
    setUnsent({"a"});
    manager->remoteSync();
    mainQueue->runAll();
    answerDownloadWithoutMain({{record("a")}, token("T1")});
    EXPECT_TRUE(mainQueue->runNext());
    taken();
    change("a");
    EXPECT_EQ(taken(), Lines{"change a"});
}

TEST_F(GuardPerform, AListenerThatChangesWhatWasJustConfirmedIsBehindItsConfirmation) {
    guardManager();
    static_cast<void>(
        center->addObserver(ReminderSync::Notification::DidFinishLocalSync, [this](const auto&) { change("a"); }));
    setUnsent({"a"});
    add(manager->localSyncOp());
    confirmUploadWithoutMain();
    EXPECT_TRUE(mainQueue->runNext());
    EXPECT_EQ(taken(), (Lines{"upload a delete", "🌤 Uploaded: a", "did sync a",
                              "post quendokit.reminders.did-finish-local-sync"}));
    mainQueue->runAll();
    EXPECT_EQ(taken(), Lines{"change a"});
}

TEST_F(GuardPerform, AListenerToADownloadThatAnotherReplacesFindsTheUploadBehindIt) {
    guardManager();
    add(fetchOf("busy"));
    manager->remoteSync();
    mainQueue->runAll();
    static_cast<void>(
        center->addObserver(ReminderSync::Notification::DidFinishRemoteSync, [this](const auto&) { change("a"); }));
    // Both arrive in one turn; the first one ends the download that waits.
    manager->remoteSync();
    database->add(uploadOf("1", {"a"}));
    taken();
    mainQueue->runAll();
    EXPECT_EQ(taken(), (Lines{"post quendokit.reminders.did-finish-remote-sync",
                              std::string("answer to 1:") + changedMeanwhile, "change a"}));
}

TEST_F(GuardPerform, AListenerToAReplacedUploadFindsTheLaterOne) {
    guard();
    add(fetchOf("busy"));
    const auto earlier = uploadOf("1", {"a"});
    earlier->modifyRecordsCompletion = [this](const auto&, const auto&, const auto&) { change("a"); };
    add(earlier);
    add(uploadOf("2", {"a"}));
    EXPECT_EQ(taken(),
              (Lines{"fetch zones Reminder Zone", std::string("answer to 2:") + changedMeanwhile, "change a"}));
    EXPECT_EQ(database->waitingCount(), 0U);
}

TEST_F(GuardPerform, WithoutThatProtectionAChangeIsMadeAtOnceAndTheUploadGoesOn) {
    CloudGuardOptions options;
    options.cancelsTouched = false;
    guard(options);
    add(uploadOf("1", {"a"}));
    change("a");
    confirmUploadWithoutMain();
    EXPECT_TRUE(mainQueue->runNext());
    change("a");
    EXPECT_EQ(taken(), (Lines{"upload a delete", "change a", "answer to 1: a", "change a"}));
}

TEST_F(GuardPerform, ManyFailedWritesInOneTurnAreToldOnceAndLater) {
    guard();
    CloudGuardEvents events;
    events.writeFailed = [this] { trace->add("a write failed"); };
    database->setEvents(events);
    database->writeFailed();
    database->writeFailed();
    EXPECT_EQ(taken(), Lines{});
    mainQueue->runAll();
    EXPECT_EQ(taken(), Lines{"a write failed"});
    database->writeFailed();
    mainQueue->runAll();
    EXPECT_EQ(taken(), Lines{"a write failed"});
    database->setTokenGate(nullptr);
    database->writeFailed();
    mainQueue->runAll();
    EXPECT_EQ(taken(), Lines{});
}

}  // namespace
}  // namespace quendokit::testing

/// \file
/// When a guarded database lets what run: one at a time, what waits for others, and what stands for several.

#include "tests/support/guarded_fixture.hpp"

namespace quendokit::testing {
namespace {

using GuardOrder = GuardedFixture;

TEST_F(GuardOrder, NothingIsAskedInsideTheCall) {
    guard();
    database->add(fetchOf("1"));
    EXPECT_EQ(cloud->operationCount(), 0U);
    mainQueue->runAll();
    EXPECT_EQ(cloud->operationCount(), 1U);
}

TEST_F(GuardOrder, OneIsOnItsWayAtATimeInTheOrderInWhichTheyCame) {
    guard();
    add(uploadOf("1", {"a"}));
    add(fetchOf("2"));
    add(uploadOf("3", {"b"}));
    EXPECT_EQ(taken(), Lines{"upload a delete"});
    EXPECT_EQ(database->runningCount(), 1U);
    EXPECT_EQ(database->waitingCount(), 2U);
    confirmUpload();
    EXPECT_EQ(taken(), (Lines{"answer to 1: a", "fetch zones Reminder Zone"}));
    answerFetch();
    EXPECT_EQ(taken(), (Lines{"answer to 2:", "upload b delete"}));
    confirmUpload();
    EXPECT_EQ(taken(), Lines{"answer to 3: b"});
    EXPECT_EQ(database->runningCount() + database->waitingCount(), 0U);
}

TEST_F(GuardOrder, WithoutThatProtectionAllAreOnTheirWayAndMayOvertakeEachOther) {
    guard(unguarded());
    add(uploadOf("1", {"a"}));
    add(uploadOf("2", {"a"}));
    EXPECT_EQ(taken(), (Lines{"upload a delete", "upload a delete"}));
    const auto first = cloud->take<CKModifyRecordsOperation>();
    confirmUpload();
    EXPECT_EQ(taken(), Lines{"answer to 2: a"});
    first->modifyRecordsCompletion(std::nullopt, std::nullopt, std::nullopt);
    mainQueue->runAll();
    EXPECT_EQ(taken(), Lines{"answer to 1:"});
}

TEST_F(GuardOrder, WhatWaitsForAnotherLetsLaterOnesBy) {
    guard();
    const auto never = fetchOf("never");
    const auto blocked = uploadOf("blocked", {"a"});
    blocked->addDependency(never);
    add(blocked);
    add(uploadOf("free", {"b"}));
    EXPECT_EQ(taken(), Lines{"upload b delete"});
    confirmUpload();
    EXPECT_EQ(taken(), Lines{"answer to free: b"});
    EXPECT_EQ(database->waitingCount(), 1U);
    EXPECT_FALSE(blocked->isFinished());
    add(never);
    answerFetch();
    EXPECT_EQ(taken(), (Lines{"fetch zones Reminder Zone", "answer to never:", "upload a delete"}));
    confirmUpload();
    EXPECT_TRUE(blocked->isFinished());
}

TEST_F(GuardOrder, RequestsWithDependenciesWaitAsWell) {
    guard();
    const auto first = fetchOf("first");
    const auto wipe = std::make_shared<CKModifySubscriptionsOperation>(std::nullopt, std::vector<std::string>{"old"});
    wipe->addDependency(first);
    add(wipe);
    EXPECT_EQ(taken(), Lines{});
    add(first);
    answerFetch();
    EXPECT_EQ(taken(), (Lines{"fetch zones Reminder Zone", "answer to first:", "delete subscriptions old"}));
}

TEST_F(GuardOrder, ALaterUploadOfTheSameTakesThePlaceOfOneThatHasNotBegun) {
    guard();
    add(fetchOf("busy"));
    add(uploadOf("earlier", {"a"}, {"c"}));
    EXPECT_EQ(taken(), Lines{"fetch zones Reminder Zone"});
    add(uploadOf("later", {"a", "b"}, {"c"}));
    EXPECT_EQ(taken(), Lines{"answer to earlier: A later upload takes its place."});
    EXPECT_EQ(database->waitingCount(), 1U);
    answerFetch();
    EXPECT_EQ(taken(), (Lines{"answer to busy:", "upload a b delete c"}));
}

TEST_F(GuardOrder, AnUploadOfSomethingElseTakesNobodysPlace) {
    guard();
    add(fetchOf("busy"));
    add(uploadOf("earlier", {"a", "b"}));
    add(uploadOf("later", {"b", "c"}));
    EXPECT_EQ(database->waitingCount(), 2U);
    answerFetch();
    confirmUpload();
    confirmUpload();
    EXPECT_EQ(taken(), (Lines{"fetch zones Reminder Zone", "answer to busy:", "upload a b delete",
                              "answer to earlier: a b", "upload c delete", "answer to later: b c"}));
}

TEST_F(GuardOrder, AnUploadThatHasBegunIsNotReplaced) {
    guard();
    add(uploadOf("earlier", {"a"}));
    add(uploadOf("later", {"a"}));
    EXPECT_EQ(taken(), Lines{"upload a delete"});
    EXPECT_EQ(database->waitingCount(), 1U);
}

TEST_F(GuardOrder, OneThatWaitsForOthersNeitherReplacesNorIsReplaced) {
    guard();
    add(fetchOf("busy"));
    const auto never = fetchOf("never");
    const auto blocked = uploadOf("blocked", {"a"});
    blocked->addDependency(never);
    add(uploadOf("first", {"a"}));
    add(blocked);
    EXPECT_EQ(taken(), Lines{"fetch zones Reminder Zone"});
    add(uploadOf("last", {"a"}));
    EXPECT_EQ(taken(), Lines{"answer to first: A later upload takes its place."});
    EXPECT_EQ(database->waitingCount(), 2U);
}

TEST_F(GuardOrder, ALaterDownloadDoesTheWorkOfOneThatWaits) {
    guard();
    add(fetchOf("busy"));
    add(downloadOf("earlier", token("T1")));
    add(downloadOf("later", token("T2")));
    EXPECT_EQ(taken(), (Lines{"fetch zones Reminder Zone", "answer to earlier:"}));
    answerFetch();
    EXPECT_EQ(taken(), (Lines{"answer to busy:", "download from T2"}));
}

TEST_F(GuardOrder, ADownloadThatWaitsForOthersNeitherReplacesNorIsReplaced) {
    guard();
    add(fetchOf("busy"));
    const auto never = fetchOf("never");
    const auto blocked = downloadOf("blocked", token("T1"));
    blocked->addDependency(never);
    const auto alsoBlocked = downloadOf("also blocked", token("T3"));
    alsoBlocked->addDependency(never);
    add(blocked);
    add(downloadOf("free", token("T2")));
    add(alsoBlocked);
    EXPECT_EQ(taken(), Lines{"fetch zones Reminder Zone"});
    EXPECT_EQ(database->waitingCount(), 3U);
}

TEST_F(GuardOrder, WhereSeveralMayBeOnTheirWayNoneStandsForAnother) {
    CloudGuardOptions options = unguarded();
    options.waitsForNetwork = true;
    guard(options);
    add(fetchOf("1"));
    answerFetch(offline());
    add(uploadOf("2", {"a"}));
    add(uploadOf("3", {"a"}));
    add(downloadOf("4", token("T1")));
    add(downloadOf("5", token("T2")));
    EXPECT_EQ(database->waitingCount(), 5U);
    pass(std::chrono::seconds(1));
    EXPECT_EQ(database->runningCount(), 5U);
}

TEST_F(GuardOrder, ADownloadOfAnotherZoneIsNotReplaced) {
    guard();
    add(fetchOf("busy"));
    add(std::make_shared<CKFetchRecordChangesOperation>(CKRecordZoneID{"Other"}, std::nullopt));
    add(downloadOf("later", token("T2")));
    EXPECT_EQ(database->waitingCount(), 2U);
}

TEST_F(GuardOrder, AThousandRequestsForSyncsWhileOfflineAreOneOfAKind) {
    guardManager();
    setUnsent({"a"});
    CloudGuardEvents events;
    events.downloadEnded = [&](const auto&) { trace->add("download ended"); };
    database->setEvents(events);
    manager->remoteSync();
    mainQueue->runAll();
    failUpload(offline());
    for (int i = 0; i < 1'000; ++i) {
        manager->remoteSync();
        manager->requireSync();
        mainQueue->runAll();
    }
    mainLoop->advanceBy(std::chrono::milliseconds(900));
    EXPECT_EQ(database->waitingCount(), 2U);
    EXPECT_EQ(database->runningCount(), 0U);
}

TEST_F(GuardOrder, ThePageLoopOfAServerEnds) {
    guard();
    add(downloadOf("1", token("T1")));
    answerDownload({{}, token("T1"), true});
    add(downloadOf("2", token("T1")));
    answerDownload({{}, token("T2"), true});
    add(downloadOf("3", token("T2")));
    answerDownload({{record("a")}, token("T2"), true});
    EXPECT_EQ(taken(), (Lines{"download from T1", "answer to 1:", "download from T1", "answer to 2: more",
                              "download from T2", "answer to 3: a more"}));
}

TEST_F(GuardOrder, AMissingListOfSubscriptionsIsAnError) {
    guard();
    database->fetchAllSubscriptions([&](const auto& list, const auto& error) {
        trace->add((list ? "list " : "no list ") + (error ? error->description : ""));
    });
    mainQueue->runAll();
    cloud->subscriptionListings.front()(std::nullopt, std::nullopt);
    mainQueue->runAll();
    EXPECT_EQ(taken(), (Lines{"fetch all subscriptions", "no list The cloud answered no list of subscriptions."}));
}

TEST_F(GuardOrder, AListOrAnErrorOfSubscriptionsComesAsItIs) {
    guard();
    const auto list = [&] {
        database->fetchAllSubscriptions([&](const auto& found, const auto& error) {
            trace->add(found ? "list of " + std::to_string(found->size()) : "no list");
            trace->add(error ? error->description : "no error");
        });
        mainQueue->runAll();
    };
    list();
    cloud->subscriptionListings.front()(std::vector<CKSubscription>(2), std::nullopt);
    cloud->subscriptionListings.clear();
    list();
    cloud->subscriptionListings.front()(std::nullopt, failure(CKErrorCode::permissionFailure));
    mainQueue->runAll();
    EXPECT_EQ(taken(), (Lines{"fetch all subscriptions", "list of 2", "no error", "fetch all subscriptions", "no list",
                              "Failed 10."}));
}

TEST_F(GuardOrder, SubscriptionsAreLookedUpAndSavedInTurn) {
    guard();
    add(fetchOf("busy"));
    database->fetch("mine", [&](const auto& found, const auto&) { trace->add(found ? "found" : "not found"); });
    database->save({zoneID, "mine", 0, CKNotificationInfo{true, ""}},
                   [&](const auto& saved, const auto&) { trace->add(saved ? "saved" : "not saved"); });
    database->fetchAllSubscriptions({});
    mainQueue->runAll();
    answerFetch();
    cloud->subscriptionFetches.front().completion(std::nullopt, std::nullopt);
    mainQueue->runAll();
    cloud->subscriptionSaves.front().completion(cloud->subscriptionSaves.front().subscription, std::nullopt);
    mainQueue->runAll();
    cloud->subscriptionListings.front()(std::nullopt, std::nullopt);
    mainQueue->runAll();
    EXPECT_EQ(taken(), (Lines{"fetch zones Reminder Zone", "answer to busy:", "fetch subscription mine", "not found",
                              "save subscription mine", "saved", "fetch all subscriptions"}));
}

TEST_F(GuardOrder, AnAnswerAfterItsGuardIsGoneIsNobodys) {
    guard();
    add(uploadOf("1", {"a"}));
    add(downloadOf("2", token("T1")));
    const std::weak_ptr<GuardedCloudDatabase> weak = database;
    endGuard();
    EXPECT_TRUE(weak.expired());
    confirmUpload();
    EXPECT_EQ(taken(), Lines{"upload a delete"});
}

TEST_F(GuardOrder, OneContainerHasOneGuard) {
    guard();
    EXPECT_EQ(guards->database("iCloud.net.example.reminders"), database);
    EXPECT_EQ(guards->privateCloudDatabase("iCloud.net.example.reminders"), database);
    EXPECT_NE(guards->database("iCloud.net.example.others"), database);
    GuardedContainerProvider without(std::make_shared<OneCloudDatabase>(nullptr), {});
    EXPECT_EQ(without.database("iCloud.net.example.reminders"), nullptr);
}

}  // namespace
}  // namespace quendokit::testing

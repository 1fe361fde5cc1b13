/// \file
/// Races between what becomes known of the zone and of subscriptions, on the cloud's thread, and the main thread, each
/// played in both orders.

#include <deque>

#include "tests/support/synced_controller_fixture.hpp"

namespace quendokit::testing {
namespace {

class ZoneRaces : public SyncedControllerFixture {
protected:
    static constexpr const char* retrieved = "☁️ Reminder zone retrieved";
    static constexpr const char* creating = "☁️ Creating reminder zone";
    static constexpr const char* created = "☁️ Reminder zone created";
    static constexpr const char* subscribing = "fetch subscription Reminder Subscription";

    static ReminderItem item() { return datedItem("a", Date(1'795'400'000)); }

    [[nodiscard]] std::shared_ptr<CKFetchRecordZonesOperation> takeFetch() {
        auto fetch = cloud->take<CKFetchRecordZonesOperation>();
        EXPECT_TRUE(fetch);
        return fetch;
    }
    [[nodiscard]] std::shared_ptr<CKModifyRecordZonesOperation> takeCreation() {
        auto creation = cloud->take<CKModifyRecordZonesOperation>();
        EXPECT_TRUE(creation);
        trace->clear();
        return creation;
    }
    void find(const std::shared_ptr<CKFetchRecordZonesOperation>& fetch) {
        onCloud([this, fetch] {
            fetch->fetchRecordZonesCompletion(CKFetchRecordZonesOperation::Zones{{zoneID, CKRecordZone{zoneID}}},
                                              std::nullopt);
        });
    }
    void miss(const std::shared_ptr<CKFetchRecordZonesOperation>& fetch) {
        onCloud([fetch] { fetch->fetchRecordZonesCompletion(std::nullopt, std::nullopt); });
    }
    void save(const std::shared_ptr<CKModifyRecordZonesOperation>& creation, const CKRecordZoneID& id) {
        onCloud([creation, id] {
            creation->modifyRecordZonesCompletion(std::vector{CKRecordZone{id}}, std::nullopt, std::nullopt);
        });
    }
};

TEST_F(ZoneRaces, AnUploadThatIsDueBeforeTheZoneIsKnownWaitsForTheNextRequirement) {
    beginWithoutZone();
    put({unsent(item())});
    manager->requireSync();
    find(takeFetch());
    passASecond();
    EXPECT_EQ(taken(), Lines{});
    runCloud();
    passASecond();
    EXPECT_EQ(taken(), (Lines{retrieved, subscribing}));
    EXPECT_EQ(stored(), textsOf({unsent(item())}));
    manager->requireSync();
    passASecond();
    EXPECT_EQ(taken(), Lines{"upload a delete"});
}

TEST_F(ZoneRaces, AnUploadThatIsDueAfterTheZoneIsKnownStarts) {
    beginWithoutZone();
    put({unsent(item())});
    manager->requireSync();
    find(takeFetch());
    runCloud();
    passASecond();
    EXPECT_EQ(taken(), (Lines{retrieved, subscribing, "upload a delete"}));
}

TEST_F(ZoneRaces, AnUploadThatIsDueWhileTheZoneIsMadeWaitsUntilItIsMade) {
    beginWithoutZone();
    put({unsent(item())});
    miss(takeFetch());
    runCloud();
    EXPECT_EQ(taken(), (Lines{creating, "save zones Reminder Zone"}));
    const auto creation = takeCreation();
    manager->requireSync();
    passASecond();
    EXPECT_EQ(taken(), Lines{});
    manager->requireSync();
    save(creation, zoneID);
    runCloud();
    passASecond();
    EXPECT_EQ(taken(), (Lines{subscribing, created, "upload a delete"}));
}

TEST_F(ZoneRaces, WhatIsUnsentIsAskedForOnlyOnceTheZoneIsKnown) {
    beginWithoutZone();
    put({unsent(item())});
    find(takeFetch());
    EXPECT_EQ(manager->localSyncOp(), nullptr);
    EXPECT_EQ(taken(), Lines{});
    runCloud();
    EXPECT_NE(manager->localSyncOp(), nullptr);
    EXPECT_EQ(taken(), (Lines{retrieved, subscribing}));
}

TEST_F(ZoneRaces, TheTimerGoesOnBeforeTheZoneIsKnownAndEndsAfterwards) {
    beginWithoutZone();
    find(takeFetch());
    const auto timer = Timer::create(std::chrono::seconds(1), [](Timer&) {}, true);
    manager->triggerSync(*timer);
    EXPECT_TRUE(timer->isValid());
    runCloud();
    manager->triggerSync(*timer);
    EXPECT_FALSE(timer->isValid());
    EXPECT_EQ(taken(), (Lines{retrieved, subscribing, finishedLocal}));
}

TEST_F(ZoneRaces, AStoreThatIsSetBeforeOrAfterTheZoneIsKnownStartsOneDownloadAndNoUpload) {
    put({unsent(item())});
    for (const bool storeFirst : {true, false}) {
        make(SyncMethod::push);
        find(takeFetch());
        trace->clear();
        const auto attachStore = [&] { controller = ReminderController::create(nullptr, realm, nullptr, manager); };
        if (storeFirst) {
            attachStore();
            runCloud();
            EXPECT_EQ(taken(), (Lines{"download from the beginning", retrieved, subscribing}));
        } else {
            runCloud();
            attachStore();
            EXPECT_EQ(taken(), (Lines{retrieved, subscribing, "download from the beginning"}));
        }
        passASecond();
        EXPECT_EQ(taken(), Lines{});
        EXPECT_EQ(stored(), textsOf({unsent(item())}));
    }
}

TEST_F(ZoneRaces, AStoreThatChangesBetweenPagesGetsTheLaterOnes) {
    begin();
    const auto page = download();
    sendChanged(page, item());
    runCloud();
    manager->setReminderStore(store);
    static_cast<void>(cloud->take<CKFetchRecordChangesOperation>());
    sendChanged(page, datedItem("b", Date(1'795'400'000)));
    endPage(page, "T1");
    runCloud();
    runMain();
    EXPECT_EQ(taken(), (Lines{"☁️ Received: a", "download from the beginning", "store b", "☁️ Received: b",
                              finishedRemote, "🗃 [store] a"}));
    EXPECT_EQ(stored(), textsOf({item()}));
}

TEST_F(ZoneRaces, AZoneThatIsFoundAndMadeAtOnceIsPolledOnceInEitherOrder) {
    for (const bool foundFirst : {true, false}) {
        beginWithoutZone(SyncMethod::polling);
        const auto fetch = takeFetch();
        miss(fetch);
        runCloud();
        const auto creation = takeCreation();
        const std::size_t before = mainLoop->timerCount();
        if (foundFirst) {
            find(fetch);
            save(creation, zoneID);
        } else {
            save(creation, zoneID);
            find(fetch);
        }
        runCloud();
        EXPECT_EQ(taken(), foundFirst ? (Lines{retrieved, created}) : (Lines{created, retrieved}));
        EXPECT_EQ(mainLoop->timerCount(), before + 1);
        mainLoop->advanceBy(std::chrono::seconds(60));
        EXPECT_EQ(taken(), Lines{"download from the beginning"});
        manager->pollingTimer()->invalidate();
        static_cast<void>(cloud->take<CKFetchRecordChangesOperation>());
    }
}

TEST_F(ZoneRaces, TwoAnswersInPollingModeMakeOneTimerBeforeAndAfterItHasFired) {
    beginWithoutZone(SyncMethod::polling);
    const auto fetch = takeFetch();
    find(fetch);
    find(fetch);
    runCloud();
    EXPECT_EQ(mainLoop->timerCount(), 1U);
    mainLoop->advanceBy(std::chrono::seconds(60));
    find(fetch);
    runCloud();
    EXPECT_EQ(mainLoop->timerCount(), 1U);
    EXPECT_EQ(taken(), (Lines{retrieved, retrieved, "download from the beginning", retrieved}));
}

TEST_F(ZoneRaces, OfTwoAnswersThatContradictEachOtherTheLastOneDecidesOnUploads) {
    put({unsent(item())});
    for (const bool foundFirst : {true, false}) {
        beginWithoutZone();
        const auto fetch = takeFetch();
        miss(fetch);
        runCloud();
        const auto creation = takeCreation();
        const CKRecordZoneID other{"Other Zone"};
        if (foundFirst) {
            find(fetch);
            save(creation, other);
        } else {
            save(creation, other);
            find(fetch);
        }
        runCloud();
        EXPECT_EQ(taken(),
                  foundFirst ? (Lines{retrieved, subscribing, created}) : (Lines{created, retrieved, subscribing}));
        EXPECT_EQ(manager->zoneExists(), !foundFirst);
        manager->requireSync();
        passASecond();
        EXPECT_EQ(taken(), foundFirst ? Lines{} : Lines{"upload a delete"});
    }
}

TEST_F(ZoneRaces, AZoneThatIsFoundAfterTheManagerIsGoneIsOnlyLogged) {
    beginWithoutZone();
    find(takeFetch());
    manager.reset();
    controller.reset();
    runCloud();
    EXPECT_EQ(taken(), Lines{retrieved});
}

TEST_F(ZoneRaces, AManagerThatGoesAfterItsZoneWasFoundLeavesItsSubscriptionToOnlyLog) {
    beginWithoutZone();
    find(takeFetch());
    runCloud();
    manager.reset();
    controller.reset();
    const auto fetch = cloud->subscriptionFetches.front();
    onCloud([fetch] { fetch.completion(std::nullopt, std::nullopt); });
    runCloud();
    EXPECT_EQ(taken(), (Lines{retrieved, subscribing, "Adding a new subscription: Reminder Subscription"}));
    EXPECT_TRUE(cloud->subscriptionSaves.empty());
}

// Subscriptions: the zone is answered twice, so that two of them are asked for at once

class SubscriptionRaces : public ZoneRaces {
protected:
    static constexpr const char* failed = "Failed to subscribe for updates: Refused.";
    static constexpr const char* listing = "fetch all subscriptions";
    static constexpr const char* wiping = "delete subscriptions one";
    static constexpr const char* wiped = R"(💢 Deleted subscriptions: ["one"])";

    /// Two saves wait for their answers; the trace is empty.
    SubscriptionRaces() {
        beginWithoutZone();
        const auto fetch = takeFetch();
        find(fetch);
        find(fetch);
        runCloud();
        answerFetches();
        trace->clear();
    }

    template <typename Waiting>
    static Waiting takeFirst(std::deque<Waiting>& waiting) {
        EXPECT_FALSE(waiting.empty());
        Waiting first = waiting.front();
        waiting.pop_front();
        return first;
    }
    /// Each subscription that is looked up is missing, and saved.
    void answerFetches() {
        while (!cloud->subscriptionFetches.empty()) {
            const auto fetch = takeFirst(cloud->subscriptionFetches);
            onCloud([fetch] { fetch.completion(std::nullopt, std::nullopt); });
            runCloud();
        }
    }
    void failSave() {
        const auto save = takeFirst(cloud->subscriptionSaves);
        onCloud([save] { save.completion(std::nullopt, error("Refused.")); });
        runCloud();
    }
    /// There is one subscription.
    void answerListing() {
        const auto completion = takeFirst(cloud->subscriptionListings);
        onCloud([this, completion] { completion(std::vector{CKSubscription{zoneID, "one"}}, std::nullopt); });
        runCloud();
    }
    void endWipe() {
        const auto wipe = cloud->take<CKModifySubscriptionsOperation>();
        ASSERT_TRUE(wipe);
        onCloud([wipe] {
            wipe->modifySubscriptionsCompletion(std::nullopt, std::vector<std::string>{"one"}, std::nullopt);
            wipe->finish();
        });
        runCloud();
    }
};

TEST_F(SubscriptionRaces, ASaveThatFailsAfterTheWipeHasEndedOnlyLogs) {
    failSave();
    answerListing();
    endWipe();
    EXPECT_EQ(taken(), (Lines{failed, listing, wiping, wiped, subscribing}));
    failSave();
    EXPECT_EQ(taken(), Lines{failed});
    EXPECT_TRUE(cloud->subscriptionListings.empty());
}

TEST_F(SubscriptionRaces, ASaveThatFailsBeforeTheWipeHasEndedWipesOnceMore) {
    failSave();
    answerListing();
    failSave();
    endWipe();
    EXPECT_EQ(taken(), (Lines{failed, listing, wiping, failed, listing, wiped, subscribing}));
    answerListing();
    endWipe();
    EXPECT_EQ(taken(), (Lines{wiping, wiped, subscribing}));
    answerFetches();
    taken();
    failSave();
    failSave();
    EXPECT_EQ(taken(), (Lines{failed, failed}));
    EXPECT_TRUE(cloud->subscriptionListings.empty());
}

}  // namespace
}  // namespace quendokit::testing

#include "tests/support/sync_fixture.hpp"

namespace quendokit::testing {
namespace {

class Subscribing : public SyncFixture {
protected:
    Subscribing() {
        make(SyncMethod::push);
        answerZone(true);
        trace->clear();
    }

    [[nodiscard]] CKSubscription named(const std::string& id) const { return {zoneID, id}; }

    void answerFetch(const std::optional<CKSubscription>& found, const std::optional<Error>& failure = std::nullopt) {
        ASSERT_FALSE(cloud->subscriptionFetches.empty());
        const auto fetch = cloud->subscriptionFetches.front();
        cloud->subscriptionFetches.pop_front();
        fetch.completion(found, failure);
    }
    void answerSave(const std::optional<CKSubscription>& saved, const std::optional<Error>& failure = std::nullopt) {
        ASSERT_FALSE(cloud->subscriptionSaves.empty());
        const auto save = cloud->subscriptionSaves.front();
        cloud->subscriptionSaves.pop_front();
        save.completion(saved, failure);
    }
    void answerListing(const std::optional<std::vector<CKSubscription>>& all,
                       const std::optional<Error>& failure = std::nullopt) {
        ASSERT_FALSE(cloud->subscriptionListings.empty());
        const auto completion = cloud->subscriptionListings.front();
        cloud->subscriptionListings.pop_front();
        completion(all, failure);
    }
    void answerWipe(const std::optional<std::vector<std::string>>& deleted,
                    const std::optional<Error>& failure = std::nullopt) {
        const auto wipe = cloud->take<CKModifySubscriptionsOperation>();
        ASSERT_TRUE(wipe);
        EXPECT_FALSE(wipe->subscriptionsToSave);
        wipe->modifySubscriptionsCompletion(std::nullopt, deleted, failure);
        wipe->finish();
    }
    /// Up to a save that fails.
    void failToSave() {
        answerFetch(std::nullopt);
        answerSave(std::nullopt, error("Quota."));
    }
};

TEST_F(Subscribing, ReusesAnExistingSubscription) {
    answerFetch(named("Reminder Subscription"));
    EXPECT_EQ(taken(), Lines{"Reusing existing subscription: Reminder Subscription"});
}

TEST_F(Subscribing, NamesTheSubscriptionThatCameBack) {
    answerFetch(named("Another"), error("ignored"));
    EXPECT_EQ(taken(), Lines{"Reusing existing subscription: Another"});
}

TEST_F(Subscribing, SavesASilentOneForTheZone) {
    answerFetch(std::nullopt, error("Unknown item."));
    EXPECT_EQ(taken(),
              (Lines{"Adding a new subscription: Reminder Subscription", "save subscription Reminder Subscription"}));
    const CKSubscription& wanted = cloud->subscriptionSaves.front().subscription;
    EXPECT_EQ(wanted, (CKSubscription{zoneID, "Reminder Subscription", 0, CKNotificationInfo{true, ""}}));
    answerSave(named("Reminder Subscription"));
    EXPECT_EQ(taken(), Lines{"Subscribed for updates with: Reminder Subscription"});
}

TEST_F(Subscribing, ASavedOneThatDoesNotComeBackIsNamedEmpty) {
    answerFetch(std::nullopt);
    trace->clear();
    answerSave(std::nullopt);
    EXPECT_EQ(taken(), Lines{"Subscribed for updates with: "});
}

TEST_F(Subscribing, AFailedSaveWipesEverySubscriptionAndSubscribesAgain) {
    answerFetch(std::nullopt);
    trace->clear();
    answerSave(std::nullopt, error("Quota."));
    EXPECT_EQ(taken(), (Lines{"Failed to subscribe for updates: Quota.", "fetch all subscriptions"}));
    answerListing(std::vector{named("one"), named("Reminder Subscription")});
    EXPECT_EQ(taken(), Lines{"delete subscriptions one Reminder Subscription"});
    answerWipe(std::vector<std::string>{"one", "Reminder Subscription"});
    EXPECT_EQ(taken(), (Lines{R"(💢 Deleted subscriptions: ["one", "Reminder Subscription"])",
                              "fetch subscription Reminder Subscription"}));
    answerFetch(std::nullopt);
    answerSave(named("Reminder Subscription"));
    EXPECT_EQ(taken().back(), "Subscribed for updates with: Reminder Subscription");
}

TEST_F(Subscribing, ASecondFailedSaveOnlyLogs) {
    failToSave();
    answerListing(std::vector{named("one")});
    answerWipe(std::nullopt);
    answerFetch(std::nullopt);
    trace->clear();
    answerSave(std::nullopt, error("Still."));
    EXPECT_EQ(taken(), Lines{"Failed to subscribe for updates: Still."});
}

TEST_F(Subscribing, AWipeThatNamesNothingIsNotLogged) {
    failToSave();
    answerListing(std::vector{named("one")});
    trace->clear();
    answerWipe(std::vector<std::string>());
    EXPECT_EQ(taken(), Lines{"fetch subscription Reminder Subscription"});
}

TEST_F(Subscribing, NoSubscriptionsLeaveTheWipeToBeTriedAgain) {
    make(SyncMethod::push);
    cloud->subscriptionFetches.clear();
    const auto zone = cloud->take<CKFetchRecordZonesOperation>();
    const CKFetchRecordZonesOperation::Zones zones{{zoneID, CKRecordZone{zoneID}}};
    zone->fetchRecordZonesCompletion(zones, std::nullopt);
    failToSave();
    trace->clear();
    answerListing(std::vector<CKSubscription>());
    EXPECT_EQ(taken(), Lines{});
    EXPECT_EQ(cloud->operationCount(), 0U);

    zone->fetchRecordZonesCompletion(zones, std::nullopt);
    failToSave();
    EXPECT_EQ(taken().back(), "fetch all subscriptions");
}

TEST_F(Subscribing, AFailedListingGivesUp) {
    failToSave();
    trace->clear();
    answerListing(std::nullopt, error("Offline."));
    EXPECT_EQ(taken(), Lines{"💥 Failed to retrieve subscriptions: Offline."});
}

TEST_F(Subscribing, AListingThatComesWithAnErrorGivesUpToo) {
    failToSave();
    trace->clear();
    answerListing(std::vector{named("one")}, error("Partial failure."));
    EXPECT_EQ(taken(), Lines{"💥 Failed to retrieve subscriptions: Partial failure."});
    EXPECT_EQ(cloud->operationCount(), 0U);
}

TEST_F(Subscribing, AWipeTakesSubscriptionsOfOtherZonesToo) {
    failToSave();
    trace->clear();
    answerListing(std::vector{CKSubscription{CKRecordZoneID{"Other Zone"}, "theirs"}, named("ours")});
    EXPECT_EQ(taken(), Lines{"delete subscriptions theirs ours"});
}

TEST_F(Subscribing, AWipeThatComesWithAnErrorCountsAsFailed) {
    failToSave();
    answerListing(std::vector{named("one")});
    trace->clear();
    answerWipe(std::vector<std::string>{"one"}, error("Partial failure."));
    EXPECT_EQ(taken(), Lines{"💥 Failed to delete subscriptions: Partial failure."});
    EXPECT_TRUE(cloud->subscriptionFetches.empty());
}

TEST_F(Subscribing, ASaveThatComesWithAnErrorCountsAsFailed) {
    answerFetch(std::nullopt);
    trace->clear();
    answerSave(named("Reminder Subscription"), error("Quota."));
    EXPECT_EQ(taken(), (Lines{"Failed to subscribe for updates: Quota.", "fetch all subscriptions"}));
}

TEST_F(Subscribing, AFailedWipeGivesUpAndMayBeTriedAgain) {
    make(SyncMethod::push);
    cloud->subscriptionFetches.clear();
    const auto zone = cloud->take<CKFetchRecordZonesOperation>();
    const CKFetchRecordZonesOperation::Zones zones{{zoneID, CKRecordZone{zoneID}}};
    zone->fetchRecordZonesCompletion(zones, std::nullopt);
    failToSave();
    answerListing(std::vector{named("one")});
    trace->clear();
    answerWipe(std::nullopt, error("Offline."));
    EXPECT_EQ(taken(), Lines{"💥 Failed to delete subscriptions: Offline."});
    EXPECT_TRUE(cloud->subscriptionFetches.empty());

    zone->fetchRecordZonesCompletion(zones, std::nullopt);
    failToSave();
    EXPECT_EQ(taken().back(), "fetch all subscriptions");
}

TEST_F(Subscribing, WhatCompletesAfterTheManagerIsGoneOnlyLogs) {
    answerFetch(std::nullopt);
    trace->clear();
    manager.reset();
    answerSave(std::nullopt, error("Quota."));
    EXPECT_EQ(taken(), Lines{"Failed to subscribe for updates: Quota."});

    make(SyncMethod::push);
    answerZone(true);
    trace->clear();
    manager.reset();
    answerFetch(std::nullopt);
    EXPECT_EQ(taken(), Lines{"Adding a new subscription: Reminder Subscription"});

    make(SyncMethod::push);
    answerZone(true);
    failToSave();
    trace->clear();
    manager.reset();
    answerListing(std::vector{named("one")});
    EXPECT_EQ(taken(), Lines{});

    make(SyncMethod::push);
    answerZone(true);
    failToSave();
    answerListing(std::vector{named("one")});
    trace->clear();
    manager.reset();
    answerWipe(std::vector<std::string>{"one"});
    EXPECT_EQ(taken(), Lines{R"(💢 Deleted subscriptions: ["one"])"});
    EXPECT_EQ(cloud->operationCount(), 0U);
}

using SubscribingDeathTest = Subscribing;

TEST_F(SubscribingDeathTest, NeitherSubscriptionsNorAnErrorIsFatal) {
    failToSave();
    EXPECT_DEATH(answerListing(std::nullopt), "neither subscriptions nor an error");
}

}  // namespace
}  // namespace quendokit::testing

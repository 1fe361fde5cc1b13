#pragma once
/// \file
/// Conformance of a cloud's database: when operations run, subscriptions and pushes.

#include <atomic>
#include <thread>

#include "testing/conformance/cloud_database_conformance_fixture.hpp"

namespace quendokit::testing {

TEST_P(CloudDatabaseConformance, ACompletionComesOnceAndNeverInsideTheCall) {
    const auto operation = std::make_shared<CKFetchRecordZonesOperation>(std::vector{zoneID});
    const auto calls = std::make_shared<std::atomic<int>>(0);
    const auto inside = std::make_shared<std::atomic<bool>>(true);
    const auto wasInside = std::make_shared<std::atomic<bool>>(false);
    // A thread of the database's may be quicker than the call returns; on this one it must not come.
    operation->fetchRecordZonesCompletion = [=, caller = std::this_thread::get_id()](const auto&, const auto&) {
        ++*calls;
        *wasInside = *inside && std::this_thread::get_id() == caller;
    };
    here.add(operation);
    *inside = false;
    EXPECT_TRUE(factory->runUntil([&] { return operation->isFinished(); }));
    foundZones(here, {zoneID});
    EXPECT_EQ(*calls, 1);
    EXPECT_FALSE(*wasInside);
}

TEST_P(CloudDatabaseConformance, OperationsWithoutCallbacksRunToo) {
    run(here, std::make_shared<CKFetchRecordZonesOperation>(std::vector{zoneID}));
    run(here, std::make_shared<CKModifyRecordZonesOperation>(std::vector{CKRecordZone{zoneID}}, std::nullopt));
    run(here, std::make_shared<CKModifyRecordsOperation>(std::vector{record("a")}, std::nullopt));
    run(here, std::make_shared<CKFetchRecordChangesOperation>(zoneID, std::nullopt));
    run(here, std::make_shared<CKModifySubscriptionsOperation>(std::nullopt, std::vector<std::string>{"none"}));
    EXPECT_EQ(fetchAll(there, std::nullopt).changes, Names{"a"});
}

TEST_P(CloudDatabaseConformance, AnOperationWaitsForWhatItDependsOn) {
    const auto order = std::make_shared<Names>();
    const auto orderMutex = std::make_shared<std::mutex>();
    const auto noting = [=](const std::string& name) {
        return [=](const auto&, const auto&) {
            const std::lock_guard lock(*orderMutex);
            order->push_back(name);
        };
    };
    const auto first = std::make_shared<CKFetchRecordZonesOperation>(std::vector{zoneID});
    first->fetchRecordZonesCompletion = noting("first");
    const auto second = std::make_shared<CKFetchRecordZonesOperation>(std::vector{zoneID});
    second->fetchRecordZonesCompletion = noting("second");
    second->addDependency(first);
    const auto third = std::make_shared<CKFetchRecordZonesOperation>(std::vector{zoneID});
    third->fetchRecordZonesCompletion = noting("third");
    third->addDependency(second);
    third->addDependency(first);
    here.add(third);
    here.add(second);
    here.add(first);
    EXPECT_TRUE(factory->runUntil([&] { return third->isFinished(); }));
    EXPECT_EQ(*order, (Names{"first", "second", "third"}));
}

TEST_P(CloudDatabaseConformance, OthersRunWhileOneWaitsForWhatIsNeverAdded) {
    const auto waiting = std::make_shared<CKModifyRecordsOperation>(std::vector{record("never")}, std::nullopt);
    const auto calls = std::make_shared<std::atomic<int>>(0);
    waiting->modifyRecordsCompletion = [=](const auto&, const auto&, const auto&) { ++*calls; };
    waiting->addDependency(std::make_shared<CKFetchRecordChangesOperation>(zoneID, std::nullopt));
    here.add(waiting);
    const auto behind = std::make_shared<CKModifyRecordsOperation>(std::vector{record("never")}, std::nullopt);
    behind->addDependency(waiting);
    here.add(behind);
    save(here, {record("a")});
    EXPECT_EQ(fetchAll(here, std::nullopt).changes, Names{"a"});
    EXPECT_FALSE(waiting->isFinished());
    EXPECT_FALSE(behind->isFinished());
    EXPECT_EQ(*calls, 0);
}

TEST_P(CloudDatabaseConformance, WhatWasFinishedBeforeHoldsNothingUp) {
    const auto earlier = std::make_shared<CKFetchRecordZonesOperation>(std::vector{zoneID});
    run(here, earlier);
    const auto later = std::make_shared<CKFetchRecordZonesOperation>(std::vector{zoneID});
    later->addDependency(earlier);
    run(here, later);
}

/// Subscriptions, as their callbacks answer them.
class CloudSubscriptionConformance : public CloudDatabaseConformance {
protected:
    using Found = std::pair<std::optional<CKSubscription>, std::optional<Error>>;

    Found find(CKDatabase& database, const std::string& id) {
        const auto answer = std::make_shared<AwaitedAnswer<Found>>();
        database.fetch(id, [answer](auto found, auto error) { answer->set({std::move(found), std::move(error)}); });
        return wait(answer->future());
    }
    Found subscribe(CKDatabase& database, const CKSubscription& subscription) {
        const auto answer = std::make_shared<AwaitedAnswer<Found>>();
        database.save(subscription,
                      [answer](auto saved, auto error) { answer->set({std::move(saved), std::move(error)}); });
        return wait(answer->future());
    }
    Names all(CKDatabase& database) {
        using All = std::pair<std::optional<std::vector<CKSubscription>>, std::optional<Error>>;
        const auto answer = std::make_shared<AwaitedAnswer<All>>();
        database.fetchAllSubscriptions(
            [answer](auto list, auto error) { answer->set({std::move(list), std::move(error)}); });
        const All came = wait(answer->future());
        EXPECT_TRUE(came.first) << "an empty list is a list";
        EXPECT_FALSE(came.second);
        Names ids;
        for (const CKSubscription& each : came.first.value_or(std::vector<CKSubscription>())) {
            ids.push_back(each.subscriptionID);
        }
        return ids;
    }

    const CKSubscription wanted{zoneID, "Of this test", 0, CKNotificationInfo{true, ""}};
};

TEST_P(CloudSubscriptionConformance, OneThatIsNotThereIsNotFound) {
    const Found found = find(here, "Nobody's");
    EXPECT_FALSE(found.first);
    EXPECT_TRUE(!found.second || isCKError(*found.second, CKErrorCode::unknownItem)) << found.second->description;
    EXPECT_EQ(all(here), Names{});
}

TEST_P(CloudSubscriptionConformance, OneThatWasSavedIsFound) {
    const Found saved = subscribe(here, wanted);
    EXPECT_FALSE(saved.second);
    ASSERT_TRUE(saved.first);
    EXPECT_EQ(saved.first->subscriptionID, wanted.subscriptionID);
    const Found found = find(here, wanted.subscriptionID);
    EXPECT_FALSE(found.second);
    ASSERT_TRUE(found.first);
    EXPECT_EQ(found.first->subscriptionID, wanted.subscriptionID);
    EXPECT_EQ(found.first->zoneID, wanted.zoneID);
    EXPECT_EQ(all(here), Names{wanted.subscriptionID});
}

TEST_P(CloudSubscriptionConformance, SavingOneAgainSucceeds) {
    subscribe(here, wanted);
    EXPECT_FALSE(subscribe(here, wanted).second);
    EXPECT_EQ(all(here), Names{wanted.subscriptionID});
}

TEST_P(CloudSubscriptionConformance, OnesThatAreDeletedAreGone) {
    subscribe(here, wanted);
    const auto operation = std::make_shared<CKModifySubscriptionsOperation>(std::nullopt, Names{wanted.subscriptionID});
    const auto answer = std::make_shared<AwaitedAnswer<std::optional<Names>>>();
    operation->modifySubscriptionsCompletion = [answer](const auto&, const auto& deleted, const auto& error) {
        EXPECT_FALSE(error);
        answer->set(deleted);
    };
    run(here, operation);
    EXPECT_EQ(wait(answer->future()), Names{wanted.subscriptionID});
    EXPECT_EQ(all(here), Names{});
    EXPECT_FALSE(find(here, wanted.subscriptionID).first);
}

TEST_P(CloudSubscriptionConformance, AnotherDeviceHearsOfAChange) {
    subscribe(here, wanted);
    subscribe(there, wanted);
    if (!factory->listenOnOtherDevice()) {
        GTEST_SKIP() << "pushes cannot be played";
    }
    save(here, {record("a")});
    EXPECT_TRUE(factory->runUntil([&] { return factory->pushCount() > 0; }));
}

TEST_P(CloudSubscriptionConformance, ADeviceDoesNotHearOfItsOwnChange) {
    subscribe(there, wanted);
    if (!factory->listenOnOtherDevice()) {
        GTEST_SKIP() << "pushes cannot be played";
    }
    save(there, {record("a")});
    save(here, {record("b")});
    EXPECT_TRUE(factory->runUntil([&] { return factory->pushCount() > 0; }));
    foundZones(there, {zoneID});
    EXPECT_EQ(factory->pushCount(), 1U);
}

/// Without an INSTANTIATE_TEST_SUITE_P, including the suite runs nothing.
GTEST_ALLOW_UNINSTANTIATED_PARAMETERIZED_TEST(CloudDatabaseConformance);
GTEST_ALLOW_UNINSTANTIATED_PARAMETERIZED_TEST(CloudSubscriptionConformance);

}  // namespace quendokit::testing

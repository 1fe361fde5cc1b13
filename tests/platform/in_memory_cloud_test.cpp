#include "testing/in_memory_cloud.hpp"

#include <vector>

#include <gtest/gtest.h>

#include "quendokit/platform/ck_error.hpp"
#include "testing/in_memory_cloud_database.hpp"
#include "testing/manual_dispatch_queue.hpp"

namespace quendokit::testing {
namespace {

class InMemoryCloudTest : public ::testing::Test {
protected:
    using Names = std::vector<std::string>;

    InMemoryCloudTest() {
        here->add(std::make_shared<CKModifyRecordZonesOperation>(std::vector{CKRecordZone{zoneID}}, std::nullopt));
        queue->runAll();
    }

    /// The error of an upload, absent when it succeeds.
    std::optional<Error> save(const Names& names, const Names& deleted = {}) {
        std::vector<CKRecord> records;
        for (const std::string& name : names) {
            records.push_back(CKRecord::make("Thing", {name, zoneID}).value());
        }
        std::vector<CKRecordID> ids;
        for (const std::string& name : deleted) {
            ids.push_back({name, zoneID});
        }
        const auto operation = std::make_shared<CKModifyRecordsOperation>(records, ids);
        operation->savePolicy = CKRecordSavePolicy::allKeys;
        std::optional<Error> failure;
        operation->modifyRecordsCompletion = [&](const auto& saved, const auto&, const auto& error) {
            EXPECT_EQ(saved.has_value(), !error);
            failure = error;
        };
        here->add(operation);
        queue->runAll();
        EXPECT_TRUE(operation->isFinished());
        return failure;
    }
    /// The changes of one page, "-" before deletions, "…" behind the last when more is coming, or the error.
    Names page(std::optional<CKServerChangeToken>& token) {
        Names lines;
        const auto operation = std::make_shared<CKFetchRecordChangesOperation>(zoneID, token);
        operation->recordChanged = [&](const CKRecord& record) { lines.push_back(record.recordID().recordName); };
        operation->recordWithIDWasDeleted = [&](const CKRecordID& id) { lines.push_back("-" + id.recordName); };
        operation->fetchRecordChangesCompletion = [&](const auto& next, const auto&, const auto& error) {
            token = next;
            if (error) {
                lines.push_back(error->description);
            }
        };
        here->add(operation);
        queue->runAll();
        if (operation->moreComing) {
            lines.emplace_back("…");
        }
        return lines;
    }
    Names fromTheBeginning() {
        std::optional<CKServerChangeToken> none;
        return page(none);
    }
    [[nodiscard]] Names stored() const {
        Names names;
        for (const CKRecord& record : cloud->records(zoneID)) {
            names.push_back(record.recordID().recordName);
        }
        return names;
    }

    const CKRecordZoneID zoneID{"Zone"};
    const std::shared_ptr<InMemoryCloud> cloud = std::make_shared<InMemoryCloud>();
    const std::shared_ptr<ManualDispatchQueue> queue = std::make_shared<ManualDispatchQueue>();
    const std::shared_ptr<InMemoryCloudDatabase> here = InMemoryCloudDatabase::create(cloud, queue);
};

TEST_F(InMemoryCloudTest, APageHoldsWhatItIsToldTo) {
    save({"a", "b", "c"});
    cloud->setPageSize(2);
    std::optional<CKServerChangeToken> token;
    EXPECT_EQ(page(token), (Names{"a", "b", "…"}));
    EXPECT_EQ(page(token), Names{"c"});
    EXPECT_EQ(page(token), Names{});
    cloud->setPageSize(3);
    EXPECT_EQ(fromTheBeginning(), (Names{"a", "b", "c"}));
}

TEST_F(InMemoryCloudTest, APageOfNothingIsFatal) {
    EXPECT_DEATH(cloud->setPageSize(0), "at least one change");
}

TEST_F(InMemoryCloudTest, TellsOfDeletionsFromTheBeginningOnlyWhenToldTo) {
    save({"a", "b"});
    save({}, {"a"});
    EXPECT_EQ(fromTheBeginning(), Names{"b"});
    cloud->setReplaysDeletions(true);
    EXPECT_EQ(fromTheBeginning(), (Names{"b", "-a"}));
}

TEST_F(InMemoryCloudTest, RefusesMoreThanARequestTakes) {
    cloud->setRequestLimit(2);
    EXPECT_FALSE(save({"a"}, {"x"}));
    const auto refused = save({"a", "b"}, {"x"});
    ASSERT_TRUE(refused);
    EXPECT_TRUE(isCKError(*refused, CKErrorCode::limitExceeded));
    EXPECT_EQ(stored(), Names{"a"});
}

TEST_F(InMemoryCloudTest, RefusesARecordThatIsNamedTwice) {
    const auto refused = save({"a"}, {"a"});
    ASSERT_TRUE(refused);
    EXPECT_EQ(refused->description, "The record \"a\" is named twice in one request.");
    EXPECT_EQ(stored(), Names{});
}

TEST_F(InMemoryCloudTest, ExpiredTokensAreRefusedOnce) {
    save({"a"});
    std::optional<CKServerChangeToken> token;
    page(token);
    cloud->expireTokens();
    EXPECT_EQ(page(token), Names{"The change token is of no use any more: read the zone from its beginning."});
    EXPECT_FALSE(token);
    EXPECT_EQ(page(token), Names{"a"});
    EXPECT_EQ(page(token), Names{});
}

TEST_F(InMemoryCloudTest, AZoneThatIsRemovedIsNotFound) {
    cloud->removeZone(zoneID);
    EXPECT_EQ(fromTheBeginning(), Names{"There is no zone \"Zone\" in the cloud."});
}

TEST_F(InMemoryCloudTest, ARequestMayBeLostOnEitherWay) {
    std::optional<RequestFault> next;
    here->setFaults([&] { return std::exchange(next, std::nullopt); });
    const Error offline = makeCKError(CKErrorCode::networkFailure, "The network broke off.");
    next = RequestFault{false, offline};
    EXPECT_EQ(save({"a"})->description, offline.description);
    EXPECT_EQ(stored(), Names{});
    next = RequestFault{true, offline};
    EXPECT_EQ(save({"a"})->description, offline.description);
    EXPECT_EQ(stored(), Names{"a"});
    next = RequestFault{true, offline};
    EXPECT_EQ(fromTheBeginning(), Names{offline.description});
    EXPECT_FALSE(save({"b"}));
}

TEST_F(InMemoryCloudTest, SubscriptionsFailOnTheirWayToo) {
    here->setFaults([] { return RequestFault{false, makeCKError(CKErrorCode::networkFailure, "Broken.")}; });
    std::vector<std::string> errors;
    const auto note = [&](const auto& found, const std::optional<Error>& error) {
        EXPECT_FALSE(found);
        errors.push_back(error.value().description);
    };
    here->fetch("id", note);
    here->save({zoneID, "id"}, note);
    here->fetchAllSubscriptions(note);
    queue->runAll();
    EXPECT_EQ(errors, (std::vector<std::string>(3, "Broken.")));
    EXPECT_TRUE(cloud->subscriptions().empty());
}

TEST_F(InMemoryCloudTest, AZoneTakesOneSubscription) {
    std::optional<Error> failure;
    const auto note = [&](const auto&, const std::optional<Error>& error) { failure = error; };
    here->save({zoneID, "mine"}, note);
    queue->runAll();
    EXPECT_FALSE(failure);
    here->save({zoneID, "yours"}, note);
    queue->runAll();
    ASSERT_TRUE(failure);
    EXPECT_EQ(failure->description, "The subscription is a duplicate of \"mine\".");
    EXPECT_EQ(cloud->subscriptions().size(), 1U);
}

TEST_F(InMemoryCloudTest, EveryCallIsATaskOfItsOwn) {
    save({"a", "b"});
    const auto operation = std::make_shared<CKFetchRecordChangesOperation>(zoneID, std::nullopt);
    Names told;
    operation->recordChanged = [&](const CKRecord& record) { told.push_back(record.recordID().recordName); };
    here->add(operation);
    EXPECT_EQ(here->runningCount(), 1U);
    queue->runNext();  // the request
    EXPECT_EQ(told, Names{});
    queue->runNext();
    EXPECT_EQ(told, Names{"a"});
    queue->runNext();
    EXPECT_EQ(told, (Names{"a", "b"}));
    queue->runNext();  // the completion
    EXPECT_FALSE(operation->isFinished());
    queue->runNext();
    EXPECT_TRUE(operation->isFinished());
    EXPECT_EQ(here->runningCount(), 0U);
}

TEST_F(InMemoryCloudTest, TellsHowManyOperationsWait) {
    const auto waiting = std::make_shared<CKFetchRecordChangesOperation>(zoneID, std::nullopt);
    waiting->addDependency(std::make_shared<CKFetchRecordChangesOperation>(zoneID, std::nullopt));
    here->add(waiting);
    queue->runAll();
    EXPECT_EQ(here->waitingCount(), 1U);
    EXPECT_EQ(here->runningCount(), 0U);
}

TEST_F(InMemoryCloudTest, PushesReachEveryOtherDeviceThatIsStillThere) {
    auto second = InMemoryCloudDatabase::create(cloud, queue);
    const auto third = InMemoryCloudDatabase::create(cloud, queue);
    Names pushes;
    const auto note = [&](const std::string& device) {
        return
            [&, device](const CKSubscription& subscription) { pushes.push_back(device + subscription.subscriptionID); };
    };
    here->setPushHandler(note("1 "));
    second->setPushHandler(note("2 "));
    third->setPushHandler(note("3 "));
    save({"a"});
    EXPECT_EQ(pushes, Names{});
    here->save({zoneID, "mine"}, [](const auto&, const auto&) {});
    save({"a"});
    EXPECT_EQ(pushes, (Names{"2 mine", "3 mine"}));
    second.reset();
    save({}, {"a", "never"});
    EXPECT_EQ(pushes, (Names{"2 mine", "3 mine", "3 mine"}));
    save({}, {"a"});
    EXPECT_EQ(pushes.size(), 3U);
}

}  // namespace
}  // namespace quendokit::testing

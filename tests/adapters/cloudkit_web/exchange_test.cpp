/// \file
/// Each operation as services are asked it and answer it.

#include "tests/adapters/cloudkit_web/web_database_fixture.hpp"

namespace quendokit::testing {
namespace {

class WebDatabaseExchange : public WebDatabase {
protected:
    CKRecord errand(const std::string& name) const {
        auto record = *CKRecord::make("Errand", {name, zone});
        record.setObject("note", "milk");
        record.setObject("done", CKNumber(true));
        record.setObject("due", Date(1'700'003'600.9999));
        return record;
    }

    /// What an upload was answered.
    struct Uploaded {
        std::optional<std::vector<CKRecord>> saved;
        std::optional<std::vector<CKRecordID>> deleted;
        std::optional<Error> error;
        bool isComplete = false;
    };

    std::shared_ptr<CKModifyRecordsOperation> upload(std::vector<CKRecord> toSave, std::vector<CKRecordID> toDelete,
                                                     CKRecordSavePolicy policy = CKRecordSavePolicy::allKeys) {
        auto operation = std::make_shared<CKModifyRecordsOperation>(std::move(toSave), std::move(toDelete));
        operation->savePolicy = policy;
        operation->modifyRecordsCompletion = [this](auto saved, auto deleted, auto error) {
            uploaded = {std::move(saved), std::move(deleted), std::move(error), true};
        };
        database->add(operation);
        transport->run();
        return operation;
    }

    Uploaded uploaded;
};

TEST_F(WebDatabaseExchange, ZonesAreLookedUp) {
    std::optional<CKFetchRecordZonesOperation::Zones> found;
    std::optional<Error> failure;
    const auto operation = std::make_shared<CKFetchRecordZonesOperation>(std::vector{zone});
    operation->fetchRecordZonesCompletion = [&](auto zones, auto error) {
        found = std::move(zones);
        failure = std::move(error);
    };
    database->add(operation);
    transport->run();
    EXPECT_EQ(askedOperation(), "zones/lookup");
    EXPECT_EQ(question(), Json::parse(R"({"zones":[{"zoneName":"Errands"}]})"));
    transport->answer(200, R"({"zones":[{"zoneID":{"zoneName":"Errands","ownerRecordName":"_4c1e",
        "zoneType":"REGULAR_CUSTOM_ZONE"},"syncToken":"AQAA","atomic":true}]})");
    EXPECT_FALSE(failure);
    ASSERT_TRUE(found);
    EXPECT_EQ(found->at(zone).zoneID, zone);
    EXPECT_TRUE(operation->isFinished());
}

TEST_F(WebDatabaseExchange, AZoneThatIsNotThereIsMissingWhetherItIsSaidOfItOrOfAll) {
    for (const auto& [status, answer] :
         {std::pair(200, R"({"zones":[{"zoneID":{"zoneName":"Errands"},"reason":"Zone does not exist",
             "serverErrorCode":"ZONE_NOT_FOUND"}]})"),
          std::pair(404, R"({"uuid":"u","serverErrorCode":"ZONE_NOT_FOUND","reason":"Zone does not exist"})")}) {
        std::optional<CKFetchRecordZonesOperation::Zones> found;
        const auto operation = std::make_shared<CKFetchRecordZonesOperation>(std::vector{zone});
        operation->fetchRecordZonesCompletion = [&](auto zones, auto error) {
            EXPECT_FALSE(error);
            found = std::move(zones);
        };
        database->add(operation);
        transport->run();
        transport->answer(status, answer);
        ASSERT_TRUE(found);
        EXPECT_TRUE(found->empty());
    }
}

TEST_F(WebDatabaseExchange, AZoneOfWhichNothingIsKnownIsAnError) {
    std::optional<Error> failure;
    const CKRecordZoneID busy{"Busy"};
    const auto operation = std::make_shared<CKFetchRecordZonesOperation>(std::vector{zone, busy});
    operation->fetchRecordZonesCompletion = [&](auto zones, auto error) {
        EXPECT_TRUE(zones && zones->size() == 1 && zones->contains(zone));
        failure = std::move(error);
    };
    database->add(operation);
    transport->run();
    transport->answer(200, R"({"zones":[{"zoneID":{"zoneName":"Errands"}},
        {"zoneID":{"zoneName":"Busy"},"serverErrorCode":"TRY_AGAIN_LATER","retryAfter":1}]})");
    expectCode(failure, CKErrorCode::serviceUnavailable);
    EXPECT_EQ(failure->retryAfter, 1.0);
}

TEST_F(WebDatabaseExchange, ZonesAreMadeAndRemoved) {
    std::optional<std::vector<CKRecordZone>> made;
    std::optional<std::vector<CKRecordZoneID>> removed;
    std::optional<Error> failure;
    const CKRecordZoneID old{"Old"};
    const auto add = [&] {
        auto operation =
            std::make_shared<CKModifyRecordZonesOperation>(std::vector{CKRecordZone{zone}}, std::vector{old});
        operation->modifyRecordZonesCompletion = [&](auto saved, auto deleted, auto error) {
            made = std::move(saved);
            removed = std::move(deleted);
            failure = std::move(error);
        };
        database->add(operation);
        transport->run();
    };
    add();
    EXPECT_EQ(askedOperation(), "zones/modify");
    EXPECT_EQ(question(), Json::parse(R"({"operations":[
        {"operationType":"create","zone":{"zoneID":{"zoneName":"Errands"}}},
        {"operationType":"delete","zone":{"zoneID":{"zoneName":"Old"}}}]})"));
    transport->answer(200, R"({"zones":[{"zoneID":{"zoneName":"Errands","ownerRecordName":"_defaultOwner"},
        "syncToken":"AQAA","atomic":true},{"zoneID":{"zoneName":"Old"},"deleted":true}]})");
    EXPECT_FALSE(failure);
    EXPECT_EQ(made, std::vector{CKRecordZone{zone}});
    EXPECT_EQ(removed, std::vector{old});

    // What is so already is no failure.
    add();
    transport->answer(200, R"({"zones":[{"zoneID":{"zoneName":"Errands"},"serverErrorCode":"EXISTS"},
        {"zoneID":{"zoneName":"Old"},"serverErrorCode":"ZONE_NOT_FOUND"}]})");
    EXPECT_FALSE(failure);
    EXPECT_EQ(made, std::vector{CKRecordZone{zone}});
    EXPECT_EQ(removed, std::vector{old});

    add();
    transport->answer(200, R"({"zones":[{"zoneID":{"zoneName":"Errands"},"serverErrorCode":"QUOTA_EXCEEDED"},
        {"zoneID":{"zoneName":"Old"},"deleted":true}]})");
    expectCode(failure, CKErrorCode::quotaExceeded);
    EXPECT_TRUE(made && made->empty());
    EXPECT_EQ(removed, std::vector{old});
}

TEST_F(WebDatabaseExchange, ASubscriptionIsLookedUp) {
    std::optional<CKSubscription> found;
    std::optional<Error> failure;
    const auto fetch = [&] {
        database->fetch("Errands-1", [&](auto subscription, auto error) {
            found = std::move(subscription);
            failure = std::move(error);
        });
        transport->run();
    };
    fetch();
    EXPECT_EQ(askedOperation(), "subscriptions/lookup");
    EXPECT_EQ(question(), Json::parse(R"({"subscriptions":[{"subscriptionID":"Errands-1"}]})"));
    transport->answer(200, R"({"subscriptions":[{"subscriptionType":"zone","subscriptionID":"Errands-1",
        "zoneID":{"zoneName":"Errands"},"notificationInfo":{"shouldSendContentAvailable":true}}]})");
    EXPECT_EQ(found, (CKSubscription{zone, "Errands-1", 0, CKNotificationInfo{true, ""}}));
    EXPECT_FALSE(failure);

    fetch();
    transport->answer(200, R"({"subscriptions":[{"subscriptionID":"Errands-1","serverErrorCode":"NOT_FOUND"}]})");
    EXPECT_FALSE(found);
    expectCode(failure, CKErrorCode::unknownItem);
}

TEST_F(WebDatabaseExchange, ASubscriptionIsSaved) {
    std::optional<CKSubscription> saved;
    std::optional<Error> failure;
    const auto save = [&] {
        database->save({zone, "Errands-1", 0, CKNotificationInfo{true, ""}}, [&](auto subscription, auto error) {
            saved = std::move(subscription);
            failure = std::move(error);
        });
        transport->run();
    };
    save();
    EXPECT_EQ(askedOperation(), "subscriptions/modify");
    EXPECT_EQ(question(), Json::parse(R"({"operations":[{"operationType":"create","subscription":{
        "subscriptionType":"zone","subscriptionID":"Errands-1","zoneID":{"zoneName":"Errands"},
        "notificationInfo":{"shouldSendContentAvailable":true}}}]})"));
    transport->answer(200, R"({"subscriptions":[{"subscriptionType":"zone","subscriptionID":"Errands-1",
        "zoneID":{"zoneName":"Errands","ownerRecordName":"_4c1e"},
        "notificationInfo":{"shouldSendContentAvailable":true}}]})");
    EXPECT_EQ(saved, (CKSubscription{zone, "Errands-1", 0, CKNotificationInfo{true, ""}}));
    EXPECT_FALSE(failure);

    save();
    transport->answer(200, R"({"subscriptions":[{"subscriptionID":"Errands-1","serverErrorCode":"INTERNAL_ERROR",
        "reason":"could not find subscription we just created"}]})");
    EXPECT_FALSE(saved);
    expectCode(failure, CKErrorCode::internalError);
}

TEST_F(WebDatabaseExchange, EverySubscriptionIsListed) {
    std::optional<std::vector<CKSubscription>> listed;
    std::optional<Error> failure;
    database->fetchAllSubscriptions([&](auto subscriptions, auto error) {
        listed = std::move(subscriptions);
        failure = std::move(error);
    });
    transport->run();
    EXPECT_EQ(askedOperation(), "subscriptions/list");
    EXPECT_FALSE(transport->sent.front().request.body);
    transport->answer(200, R"({"subscriptions":[
        {"subscriptionType":"zone","subscriptionID":"a","zoneID":{"zoneName":"Errands"}},
        {"subscriptionType":"query","subscriptionID":"b","query":{"recordType":"Errand"}},
        {"serverErrorCode":"INTERNAL_ERROR","subscriptionID":"c"}]})");
    EXPECT_EQ(listed, (std::vector{CKSubscription{zone, "a"}, CKSubscription{CKRecordZoneID{}, "b"}}));
    EXPECT_FALSE(failure);
}

TEST_F(WebDatabaseExchange, SubscriptionsAreDeletedAlsoWhenTheyAreGone) {
    std::optional<std::vector<std::string>> deleted;
    std::optional<Error> failure;
    auto operation =
        std::make_shared<CKModifySubscriptionsOperation>(std::nullopt, std::vector<std::string>{"old", "older"});
    operation->modifySubscriptionsCompletion = [&](auto /*saved*/, auto gone, auto error) {
        deleted = std::move(gone);
        failure = std::move(error);
    };
    database->add(operation);
    transport->run();
    EXPECT_EQ(question(), Json::parse(R"({"operations":[
        {"operationType":"delete","subscription":{"subscriptionID":"old"}},
        {"operationType":"delete","subscription":{"subscriptionID":"older"}}]})"));
    transport->answer(200, R"({"subscriptions":[{"subscriptionID":"old","deleted":true},
        {"subscriptionID":"older","serverErrorCode":"NOT_FOUND"}]})");
    EXPECT_EQ(deleted, (std::vector<std::string>{"old", "older"}));
    EXPECT_FALSE(failure);
}

TEST_F(WebDatabaseExchange, RecordsAreSavedInEveryFieldAndDeletedWhateverTheirVersion) {
    const auto operation = upload({errand("A1")}, {{"B2", zone}});
    EXPECT_EQ(askedOperation(), "records/modify");
    EXPECT_EQ(question(), Json::parse(R"({"zoneID":{"zoneName":"Errands"},"atomic":true,"operations":[
        {"operationType":"forceUpdate","record":{"recordName":"A1","recordType":"Errand",
            "fields":{"note":{"value":"milk","type":"STRING"},"done":{"value":1,"type":"INT64"},
                      "due":{"value":1700003600999,"type":"TIMESTAMP"}}}},
        {"operationType":"forceDelete","record":{"recordName":"B2"}}]})"));
    transport->answer(200, R"({"records":[{"recordName":"A1","recordType":"Errand","recordChangeTag":"25d",
        "created":{"timestamp":1,"userRecordName":"_4c1e","deviceID":"2"},"deleted":false,"pluginFields":{},
        "fields":{"note":{"value":"milk","type":"STRING"}}},{"recordName":"B2","deleted":true}],"syncToken":"AQAA"})");
    EXPECT_FALSE(uploaded.error);
    ASSERT_TRUE(uploaded.saved && uploaded.saved->size() == 1);
    EXPECT_EQ(uploaded.saved->front().recordID(), (CKRecordID{"A1", zone}));
    EXPECT_EQ(uploaded.saved->front().recordChangeTag(), "25d");
    EXPECT_EQ(uploaded.deleted, (std::vector{CKRecordID{"B2", zone}}));
    EXPECT_TRUE(operation->isFinished());
}

TEST_F(WebDatabaseExchange, OnlyUnchangedRecordsAreReplacedByTheirTag) {
    CKRecord known = errand("known");
    known.setRecordChangeTag("3f");
    upload({errand("new"), known}, {}, CKRecordSavePolicy::ifServerRecordUnchanged);
    const Json asked = question();
    EXPECT_EQ(asked["operations"][0]["operationType"], "create");
    EXPECT_EQ(asked["operations"][1]["operationType"], "update");
    EXPECT_EQ(asked["operations"][1]["record"]["recordChangeTag"], "3f");
}

TEST_F(WebDatabaseExchange, ARecordThatWasNotThereCountsAsDeleted) {
    upload({}, {{"B2", zone}});
    transport->answer(200, R"({"records":[{"recordName":"B2","serverErrorCode":"NOT_FOUND"}]})");
    EXPECT_FALSE(uploaded.error);
    EXPECT_EQ(uploaded.deleted, (std::vector{CKRecordID{"B2", zone}}));
}

TEST_F(WebDatabaseExchange, AFailedItemInASuccessIsToldByTheNameOfTheOffender) {
    upload({errand("A1"), errand("A2"), errand("A3")}, {});
    transport->answer(200, R"({"records":[{"recordName":"A1","serverErrorCode":"ATOMIC_ERROR"},
        {"recordName":"A2","serverErrorCode":"BAD_REQUEST","reason":"too large","retryAfter":2.5},
        {"recordName":"A3","serverErrorCode":"ATOMIC_ERROR"}]})");
    expectCode(uploaded.error, CKErrorCode::partialFailure);
    EXPECT_EQ(uploaded.error->description,
              "the cloud at cloud.example, records/modify: 3 of 3 not taken; first record A2: too large (BAD_REQUEST)");
    EXPECT_EQ(uploaded.error->retryAfter, 2.5);
    EXPECT_TRUE(uploaded.saved && uploaded.saved->empty());
}

TEST_F(WebDatabaseExchange, WhatIsNoFaultOfARecordIsToldAsItIs) {
    for (const auto& [said, code] : {std::pair("ZONE_NOT_FOUND", CKErrorCode::zoneNotFound),
                                     std::pair("TRY_AGAIN_LATER", CKErrorCode::serviceUnavailable),
                                     std::pair("THROTTLED", CKErrorCode::requestRateLimited),
                                     std::pair("QUOTA_EXCEEDED", CKErrorCode::quotaExceeded),
                                     std::pair("AUTHENTICATION_FAILED", CKErrorCode::notAuthenticated)}) {
        upload({errand("A1"), errand("A2")}, {});
        transport->answer(200, R"({"records":[{"recordName":"A1","serverErrorCode":")" + std::string(said) +
                                   R"(","retryAfter":4},{"recordName":"A2","serverErrorCode":"ATOMIC_ERROR"}]})");
        expectCode(uploaded.error, code);
        EXPECT_EQ(uploaded.error->retryAfter, 4.0);
    }
}

TEST_F(WebDatabaseExchange, WhatTheAnswerLeavesOutIsNotConfirmed) {
    upload({errand("A1"), errand("A2")}, {{"B2", zone}});
    transport->answer(200, R"({"records":[{"recordName":"B2","deleted":true},{"recordName":"A1","recordType":"x"}]})");
    expectCode(uploaded.error, CKErrorCode::partialFailure);
    ASSERT_TRUE(uploaded.saved && uploaded.saved->size() == 1);
    EXPECT_EQ(uploaded.saved->front().recordID().recordName, "A1");
    EXPECT_EQ(uploaded.deleted, (std::vector{CKRecordID{"B2", zone}}));
}

TEST_F(WebDatabaseExchange, ARecordIsNamedOnceInARequest) {
    CKRecord later = errand("A1");
    later.setObject("note", "bread");
    upload({errand("A1"), errand("B2"), later}, {{"B2", zone}, {"B2", zone}});
    const Json asked = question();
    ASSERT_EQ(asked["operations"].size(), 2U);
    EXPECT_EQ(asked["operations"][0]["record"]["fields"]["note"]["value"], "bread");
    EXPECT_EQ(asked["operations"][1]["operationType"], "forceDelete");
}

TEST_F(WebDatabaseExchange, MoreThanOneRequestTakesIsRefusedHere) {
    std::vector<CKRecord> records;
    for (int i = 0; i < 200; ++i) {
        records.push_back(errand("A" + std::to_string(i)));
    }
    upload(records, {{"B2", zone}});
    EXPECT_TRUE(transport->sent.empty());
    expectCode(uploaded.error, CKErrorCode::limitExceeded);
    EXPECT_FALSE(uploaded.saved);

    upload(records, {});
    EXPECT_EQ(transport->sent.size(), 1U);
}

TEST_F(WebDatabaseExchange, RecordsThatNoServerTakesAreRefusedHere) {
    CKRecord bad = errand("bad");
    bad.setObject("note", "\xFF");
    upload({errand("A1"), bad}, {});
    EXPECT_TRUE(transport->sent.empty());
    expectCode(uploaded.error, CKErrorCode::invalidArguments);
    EXPECT_NE(uploaded.error->description.find("record bad"), std::string::npos);

    upload({errand("A1")}, {{"B2", CKRecordZoneID{"Other"}}});
    EXPECT_TRUE(transport->sent.empty());
    expectCode(uploaded.error, CKErrorCode::invalidArguments);
}

TEST_F(WebDatabaseExchange, NothingToUploadAsksNobody) {
    upload({}, {});
    EXPECT_TRUE(transport->sent.empty());
    EXPECT_TRUE(uploaded.isComplete);
    EXPECT_FALSE(uploaded.error);
}

TEST_F(WebDatabaseExchange, APageOfChangesIsRead) {
    const auto operation = read("AQAAx+/=");
    EXPECT_EQ(askedOperation(), "changes/zone");
    EXPECT_EQ(question(), Json::parse(R"({"zones":[{"zoneID":{"zoneName":"Errands"},"syncToken":"AQAAx+/=",
        "resultsLimit":200}]})"));
    transport->answer(200, R"({"zones":[{"zoneID":{"zoneName":"Errands","ownerRecordName":"_4c1e",
        "zoneType":"REGULAR_CUSTOM_ZONE"},"syncToken":"AQAAy","moreComing":true,"records":[
        {"recordName":"A1","recordType":"Errand","recordChangeTag":"3f","deleted":false,
         "modified":{"timestamp":1700000005000,"userRecordName":"_4c1e","deviceID":"1"},
         "zoneID":{"zoneName":"Errands","ownerRecordName":"_4c1e"},
         "fields":{"note":{"value":"milk","type":"STRING"},"done":{"value":0,"type":"INT64"},
                   "due":{"value":1700003600500,"type":"TIMESTAMP"},"gone":{"value":null}}},
        {"recordName":"B2","deleted":true},
        {"recordName":"B3","recordType":null,"deleted":true,"recordChangeTag":"40"}]}]})");
    EXPECT_FALSE(page.error);
    ASSERT_EQ(page.records.size(), 1U);
    const CKRecord& record = page.records.front();
    EXPECT_EQ(record.recordID(), (CKRecordID{"A1", zone}));
    EXPECT_EQ(record.recordType(), "Errand");
    EXPECT_EQ(record.recordChangeTag(), "3f");
    EXPECT_EQ(
        record.values(),
        (CKRecord::Values{{"done", CKNumber(std::int64_t{0})}, {"due", Date(1'700'003'600.5)}, {"note", "milk"}}));
    EXPECT_EQ(page.deleted, (std::vector<std::string>{"B2", "B3"}));
    EXPECT_EQ(page.token, tokenOf("AQAAy"));
    EXPECT_TRUE(operation->moreComing);
    EXPECT_TRUE(operation->isFinished());
    EXPECT_TRUE(skipped.empty());
}

TEST_F(WebDatabaseExchange, TheFirstReadNamesNoToken) {
    read();
    EXPECT_FALSE(question()["zones"][0].contains("syncToken"));
}

TEST_F(WebDatabaseExchange, AnEmptyPageMayHaveMoreComing) {
    const auto operation = read("old");
    transport->answer(200, R"({"zones":[{"zoneID":{"zoneName":"Errands"},"syncToken":"new","moreComing":true,
        "records":[]}]})");
    EXPECT_FALSE(page.error);
    EXPECT_TRUE(operation->moreComing);
}

TEST_F(WebDatabaseExchange, ATokenThatStaysEndsThePages) {
    const auto operation = read("same");
    transport->answer(200, R"({"zones":[{"zoneID":{"zoneName":"Errands"},"syncToken":"same","moreComing":true,
        "records":[]}]})");
    EXPECT_FALSE(page.error);
    EXPECT_EQ(page.token, tokenOf("same"));
    EXPECT_FALSE(operation->moreComing);
}

TEST_F(WebDatabaseExchange, ARefusedTokenMeansFromTheBeginning) {
    for (const char* answer :
         {R"({"zones":[{"zoneID":{"zoneName":"Errands"},"serverErrorCode":"BAD_REQUEST",
             "reason":"Unknown sync continuation type","syncToken":"","moreComing":false}]})",
          R"({"zones":[{"serverErrorCode":"BAD_REQUEST","reason":"Invalid continuation format"}]})",
          R"({"zones":[{"zoneID":{"zoneName":"Errands"},"serverErrorCode":"CHANGE_TOKEN_EXPIRED"}]})"}) {
        read("old");
        transport->answer(200, answer);
        expectCode(page.error, CKErrorCode::changeTokenExpired);
        EXPECT_FALSE(page.token);
    }
    // What is no text can have come from no server; nobody is asked.
    read("\xFF");
    EXPECT_TRUE(transport->sent.empty());
    expectCode(page.error, CKErrorCode::changeTokenExpired);
    // Without a token none can be of no use.
    read();
    transport->answer(200, R"({"zones":[{"zoneID":{"zoneName":"Errands"},"serverErrorCode":"BAD_REQUEST"}]})");
    expectCode(page.error, CKErrorCode::invalidArguments);
}

TEST_F(WebDatabaseExchange, WhereTheNewerFeedIsNotThereTheOlderOneIsReadEachTime) {
    constexpr const char* noHandler = R"({"serverErrorCode":"NOT_FOUND",
        "reason":"could not find handler for endpoint"})";
    for (int i = 0; i < 2; ++i) {
        // It may have been away for a moment only.
        const auto operation = read("AQAAx");
        EXPECT_EQ(askedOperation(), "changes/zone");
        transport->answer(404, noHandler);
        EXPECT_FALSE(operation->isFinished());
        ASSERT_EQ(transport->sent.size(), 1U);
        EXPECT_EQ(askedOperation(), "records/changes");
        EXPECT_EQ(question(),
                  Json::parse(R"({"zoneID":{"zoneName":"Errands"},"syncToken":"AQAAx","resultsLimit":200})"));
        transport->answer(200, R"({"records":[{"recordName":"B2","deleted":true}],"syncToken":"AQAAy",
            "moreComing":true,"reverse":false})");
        EXPECT_FALSE(page.error);
        EXPECT_EQ(page.token, tokenOf("AQAAy"));
        EXPECT_TRUE(operation->moreComing);
        EXPECT_TRUE(operation->isFinished());
    }
    EXPECT_EQ(page.deleted, (std::vector<std::string>{"B2", "B2"}));
    for (const char* other : {"", R"({"serverErrorCode":"NOT_FOUND","reason":"no such thing"})"}) {
        read();
        transport->answer(404, other);
        EXPECT_TRUE(transport->sent.empty()) << "only a missing feed has another";
    }
}

TEST_F(WebDatabaseExchange, AMissingZoneIsSaidWhileReading) {
    read("old");
    transport->answer(200, R"({"zones":[{"zoneID":{"zoneName":"Errands"},"serverErrorCode":"ZONE_NOT_FOUND",
        "reason":"Zone does not exist"}]})");
    expectCode(page.error, CKErrorCode::zoneNotFound);
    EXPECT_EQ(page.error->description,
              "the cloud at cloud.example, changes/zone: zone Errands: Zone does not exist (ZONE_NOT_FOUND)");
}

}  // namespace
}  // namespace quendokit::testing

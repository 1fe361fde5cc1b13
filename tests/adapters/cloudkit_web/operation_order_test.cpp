/// \file
/// When operations start, and what keeps them.

#include "tests/adapters/cloudkit_web/web_database_fixture.hpp"

namespace quendokit::testing {
namespace {

class WebDatabaseOrder : public WebDatabase {
protected:
    std::shared_ptr<CKFetchRecordZonesOperation> lookUp(const std::string& name) {
        auto operation = std::make_shared<CKFetchRecordZonesOperation>(std::vector{CKRecordZoneID{name}});
        operation->fetchRecordZonesCompletion = [this, name](auto, auto) { done.push_back(name); };
        return operation;
    }

    [[nodiscard]] std::string asked() const { return question()["zones"][0]["zoneName"].get<std::string>(); }

    std::vector<std::string> done;
};

TEST_F(WebDatabaseOrder, NothingIsCalledInsideACall) {
    database->add(std::make_shared<CKModifyRecordsOperation>(std::nullopt, std::nullopt));
    EXPECT_TRUE(transport->sent.empty());
    auto nothing = std::make_shared<CKModifyRecordsOperation>(std::nullopt, std::nullopt);
    bool isComplete = false;
    nothing->modifyRecordsCompletion = [&](auto, auto, auto) { isComplete = true; };
    database->add(nothing);
    EXPECT_FALSE(isComplete);
    transport->run();
    EXPECT_TRUE(isComplete);
}

TEST_F(WebDatabaseOrder, WhatWaitsHoldsNobodyUp) {
    const auto first = lookUp("first");
    const auto waiting = lookUp("waiting");
    waiting->addDependency(first);
    database->add(waiting);
    database->add(lookUp("other"));
    database->add(first);
    transport->run();
    EXPECT_EQ(asked(), "other");
    transport->answer(200, "{}");
    EXPECT_EQ(asked(), "first");
    EXPECT_FALSE(waiting->isFinished());
    transport->answer(200, "{}");
    EXPECT_EQ(asked(), "waiting");
    transport->answer(200, "{}");
    EXPECT_EQ(done, (std::vector<std::string>{"other", "first", "waiting"}));
}

TEST_F(WebDatabaseOrder, WhatWaitsForSomethingGivenToNobodyNeverRuns) {
    auto waiting = lookUp("waiting");
    waiting->addDependency(lookUp("nobody's"));
    database->add(waiting);
    database->add(lookUp("other"));
    transport->run();
    transport->answer(200, "{}");
    EXPECT_TRUE(transport->sent.empty());
    EXPECT_FALSE(waiting->isFinished());

    const std::weak_ptr<CKDatabaseOperation> kept = waiting;
    waiting.reset();
    EXPECT_FALSE(kept.expired());
    database.reset();
    transport->run();
    EXPECT_TRUE(kept.expired());
}

TEST_F(WebDatabaseOrder, AnOperationIsKeptUntilItsCompletionHasReturned) {
    auto operation = lookUp("first");
    const std::weak_ptr<CKDatabaseOperation> kept = operation;
    operation->fetchRecordZonesCompletion = [&](auto, auto) {
        ASSERT_FALSE(kept.expired());
        EXPECT_FALSE(kept.lock()->isFinished());
    };
    database->add(std::move(operation));
    transport->run();
    EXPECT_FALSE(kept.expired());
    transport->answer(200, "{}");
    EXPECT_TRUE(kept.expired());
}

TEST_F(WebDatabaseOrder, AnOperationIsAnsweredAfterItsDatabaseHasGone) {
    database->add(lookUp("first"));
    transport->run();
    database.reset();
    transport->run();
    transport->answer(200, "{}");
    EXPECT_EQ(done, std::vector<std::string>{"first"});
}

TEST_F(WebDatabaseOrder, ACompletionMayAddTheNextOperation) {
    auto operation = lookUp("first");
    operation->fetchRecordZonesCompletion = [&](auto, auto) { database->add(lookUp("second")); };
    database->add(std::move(operation));
    transport->run();
    transport->answer(200, "{}");
    EXPECT_EQ(asked(), "second");
}

TEST_F(WebDatabaseOrder, TransportFailuresAreToldAsTheyAre) {
    read("old");
    transport->answer(makeCKError(CKErrorCode::networkUnavailable, "Couldn't connect to server; check the network"));
    expectCode(page.error, CKErrorCode::networkUnavailable);
    EXPECT_EQ(page.error->description,
              "the cloud at cloud.example, changes/zone: Couldn't connect to server; check the network");
}

TEST_F(WebDatabaseOrder, OneContainerHasOneDatabase) {
    WebContainerProvider provider("iCloud.net.example.app", database);
    EXPECT_EQ(provider.privateCloudDatabase("iCloud.net.example.app"), database);
    EXPECT_EQ(provider.privateCloudDatabase("iCloud.net.example.other"), nullptr);
}

}  // namespace
}  // namespace quendokit::testing

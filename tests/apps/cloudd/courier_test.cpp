/// \file
/// Subscriptions, push tokens and the notifications that come of them.

#include "tests/apps/cloudd/server_fixture.hpp"

namespace cloudd::testing {
namespace {

class ServerCourier : public Server {
protected:
    ServerCourier() {
        createZone();
        const DeviceTokens tokens = addDevice(data_, "anna", "phone");
        phone_ = {tokens.api, tokens.web};
    }

    json subscribe(Client& client, const json& subscription, const std::string& type = "create") {
        return post(client, "subscriptions/modify",
                    {{"operations", json::array({{{"operationType", type}, {"subscription", subscription}}})}})
            .at("subscriptions")
            .at(0);
    }
    static json zoneSubscription(const std::string& id, const std::string& zone = "Errands") {
        return {{"subscriptionType", "zone"},
                {"subscriptionID", id},
                {"zoneID", {{"zoneName", zone}}},
                {"notificationInfo", {{"shouldSendContentAvailable", true}}}};
    }
    static json querySubscription(const std::string& id, const json& firesOn) {
        return {{"subscriptionType", "query"},
                {"subscriptionID", id},
                {"query", {{"recordType", "Errand"}}},
                {"firesOn", firesOn}};
    }
    /// Makes and registers a push token; answers its URL.
    std::string listen(Client& client, const std::string& clientId = "") {
        json request{{"apnsEnvironment", "production"}};
        if (!clientId.empty()) {
            request["clientId"] = clientId;
        }
        const json made = post(client, "tokens/create", request);
        EXPECT_EQ(made.at("apnsEnvironment"), "production");
        request["apnsToken"] = made.at("apnsToken");
        post(client, "tokens/register", request);
        return made.at("webcourierURL").get<std::string>();
    }

    Client phone_;
};

TEST_F(ServerCourier, ASubscriptionIsAnsweredListedAndLookedUp) {
    const json saved = subscribe(client_, zoneSubscription("Errands-1"));
    EXPECT_EQ(saved.at("subscriptionID"), "Errands-1");
    EXPECT_EQ(saved.at("zoneID").at("zoneType"), "REGULAR_CUSTOM_ZONE");
    EXPECT_EQ(saved.at("notificationInfo"), (json{{"shouldSendContentAvailable", true}}));
    EXPECT_EQ(get("subscriptions/list").at("subscriptions"), json::array({saved}));
    const json found =
        post("subscriptions/lookup",
             {{"subscriptions", json::array({{{"subscriptionID", "Errands-1"}}, {{"subscriptionID", "none"}}})}})
            .at("subscriptions");
    EXPECT_EQ(found[0], saved);
    EXPECT_EQ(found[1].at("serverErrorCode"), "NOT_FOUND");
    EXPECT_EQ(found[1].at("subscriptionID"), "none");
}

TEST_F(ServerCourier, WithoutSubscriptionsTheListIsEmptyAndThere) {
    EXPECT_EQ(get("subscriptions/list"), (json{{"subscriptions", json::array()}}));
}

TEST_F(ServerCourier, CreatingAnIdThatIsThereAnswersWhatIsThere) {
    createZone("Other");
    const json first = subscribe(client_, zoneSubscription("S"));
    EXPECT_EQ(subscribe(client_, zoneSubscription("S", "Other")), first);
    EXPECT_EQ(subscribe(client_, zoneSubscription("S", "Other"), "update").at("zoneID").at("zoneName"), "Other");
    EXPECT_EQ(subscribe(client_, zoneSubscription("T"), "update").at("serverErrorCode"), "NOT_FOUND");
}

TEST_F(ServerCourier, DeletingAnswersTheIdAndAMissingOneIsAnErrorOfItsItem) {
    subscribe(client_, zoneSubscription("S"));
    EXPECT_EQ(subscribe(client_, {{"subscriptionID", "S"}}, "delete"),
              (json{{"subscriptionID", "S"}, {"deleted", true}}));
    EXPECT_EQ(subscribe(client_, {{"subscriptionID", "S"}}, "delete").at("serverErrorCode"), "NOT_FOUND");
}

TEST_F(ServerCourier, ASubscriptionToAMissingZoneIsRefused) {
    EXPECT_EQ(subscribe(client_, zoneSubscription("S", "Other")).at("serverErrorCode"), "ZONE_NOT_FOUND");
}

TEST_F(ServerCourier, ASecondQueryForTheSameIsRefused) {
    subscribe(client_, querySubscription("Q1", {"create", "update"}));
    const json refused = subscribe(client_, querySubscription("Q2", {"update", "create"}));
    EXPECT_EQ(refused.at("serverErrorCode"), "INTERNAL_ERROR");
    EXPECT_EQ(subscribe(client_, querySubscription("Q3", {"create"})).at("subscriptionID"), "Q3");
}

TEST_F(ServerCourier, SubscriptionsThatCannotBeMeantRefuseTheRequest) {
    const std::vector<json> wrong{
        {{"subscriptionType", "zone"}, {"subscriptionID", "S"}},
        {{"subscriptionType", "moon"}, {"subscriptionID", "S"}},
        {{"subscriptionType", "zone"}, {"zoneID", {{"zoneName", "Errands"}}}},
        {{"subscriptionType", "query"}, {"subscriptionID", "S"}, {"query", {{"recordType", "Errand"}}}},
        {{"subscriptionType", "query"}, {"subscriptionID", "S"}, {"firesOn", {"create"}}},
        querySubscription("S", {"explode"}),
        querySubscription("S", json::array()),
    };
    for (const json& subscription : wrong) {
        const json answer =
            post("subscriptions/modify",
                 {{"operations", json::array({{{"operationType", "create"}, {"subscription", subscription}}})}}, 400);
        EXPECT_EQ(answer.at("serverErrorCode"), "BAD_REQUEST") << subscription;
    }
    EXPECT_EQ(get("subscriptions/list").at("subscriptions"), json::array());
}

TEST_F(ServerCourier, AChangeReachesTheOtherDeviceAndNotTheOneThatMadeIt) {
    subscribe(client_, zoneSubscription("Errands-1"));
    const std::string own = listen(client_);
    const std::string others = listen(phone_);
    const std::string user = get("users/current").at("userRecordName").get<std::string>();
    modify(json::array({save("A1", "milk")}));
    EXPECT_TRUE(poll(own).is_null());
    json notification = poll(others);
    ASSERT_FALSE(notification.is_null());
    EXPECT_EQ(notification.at("ck").at("nid").get<std::string>().size(), 36U);
    notification["ck"].erase("nid");
    EXPECT_EQ(notification,
              (json{{"aps", {{"content-available", 1}}},
                    {"ck",
                     {{"ce", 2},
                      {"cid", client_.container},
                      {"ckuserid", user},
                      {"fet", {{"sid", "Errands-1"}, {"zid", "Errands"}, {"zoid", user}, {"dbs", 2}}}}}}));
    EXPECT_TRUE(poll(others).is_null()) << "what was taken is gone";
}

TEST_F(ServerCourier, OfTwoProgramsOnOneDeviceTheNamesTellWhoMadeTheChange) {
    subscribe(client_, zoneSubscription("S"));
    const std::string first = listen(client_, "program-1");
    const std::string second = listen(client_, "program-2");
    client_.id = "program-1";
    modify(json::array({save("A1", "milk")}));
    EXPECT_TRUE(poll(first).is_null());
    EXPECT_FALSE(poll(second).is_null());
}

TEST_F(ServerCourier, ManyChangesOfAZoneAreOneNotification) {
    subscribe(client_, zoneSubscription("S"));
    const std::string url = listen(phone_);
    for (int i = 0; i < 50; ++i) {
        modify(json::array({save("A1", std::to_string(i))}));
    }
    EXPECT_FALSE(poll(url).is_null());
    EXPECT_TRUE(poll(url).is_null());
}

TEST_F(ServerCourier, AChangeThatTwoSubscriptionsMatchIsTwoNotificationsOfOneNumber) {
    subscribe(client_, zoneSubscription("S1"));
    subscribe(client_, {{"subscriptionType", "zone"}, {"subscriptionID", "S2"}, {"zoneWide", true}});
    const std::string url = listen(phone_);
    modify(json::array({save("A1", "milk")}));
    const json first = poll(url);
    const json second = poll(url);
    EXPECT_EQ(first.at("ck").at("nid"), second.at("ck").at("nid"));
    EXPECT_EQ(first.at("ck").at("fet").at("sid"), "S1");
    EXPECT_EQ(second.at("ck").at("met"), (json{{"sid", "S2"}, {"dbs", 2}}));
    EXPECT_EQ(second.at("aps"), json::object());
}

TEST_F(ServerCourier, AQueryFiresOnWhatItNamesAlone) {
    subscribe(client_, querySubscription("Q", {"delete"}));
    const std::string url = listen(phone_);
    modify(json::array({save("A1", "milk")}));
    EXPECT_TRUE(poll(url).is_null());
    modify(json::array({remove("A1")}));
    const json notification = poll(url);
    EXPECT_EQ(notification.at("ck").at("qry").at("rid"), "A1");
    EXPECT_EQ(notification.at("ck").at("qry").at("fo"), 3);
}

TEST_F(ServerCourier, WhatChangedNothingIsNotTold) {
    subscribe(client_, zoneSubscription("S"));
    const std::string url = listen(phone_);
    modify(json::array({remove("never")}));
    modify(json::array({save("B2", "x"),
                        {{"operationType", "update"}, {"record", {{"recordName", "A1"}, {"recordChangeTag", "9"}}}}}));
    EXPECT_TRUE(poll(url).is_null());
}

TEST_F(ServerCourier, MadeAndDeletedZonesAreToldToThoseWhoListenToTheDatabase) {
    subscribe(client_, {{"subscriptionType", "zone"}, {"subscriptionID", "all"}, {"zoneWide", true}});
    const std::string url = listen(phone_);
    createZone("Other");
    EXPECT_FALSE(poll(url).is_null());
}

TEST_F(ServerCourier, ATokenThatIsNotRegisteredHearsNothing) {
    subscribe(client_, zoneSubscription("S"));
    const json made = post(phone_, "tokens/create", {{"apnsEnvironment", "development"}});
    modify(json::array({save("A1", "milk")}));
    EXPECT_TRUE(poll(made.at("webcourierURL")).is_null());
    EXPECT_EQ(made.at("webcourierURL"),
              "http://localhost:8420/courier?tok=" + made.at("apnsToken").get<std::string>() + "&ttl=43200");
}

TEST_F(ServerCourier, OtherContainersAndUsersHearNothing) {
    subscribe(client_, zoneSubscription("S"));
    Client elsewhere = phone_;
    elsewhere.container = "iCloud.com.example.other";
    const std::string foreignContainer = listen(elsewhere);
    const DeviceTokens tokens = addUser(data_, "berta");
    Client berta{tokens.api, tokens.web};
    createZone(berta);
    subscribe(berta, zoneSubscription("S"));
    const std::string foreignUser = listen(berta);
    modify(json::array({save("A1", "milk")}));
    EXPECT_TRUE(poll(foreignContainer).is_null());
    EXPECT_TRUE(poll(foreignUser).is_null());
}

TEST_F(ServerCourier, APushTokenHoldsOverARestartButNotOverNewTokensOfItsDevice) {
    subscribe(client_, zoneSubscription("S"));
    const std::string url = listen(phone_);
    start();
    modify(json::array({save("A1", "milk")}));
    EXPECT_FALSE(poll(url).is_null());
    auto accounts = Accounts::open(data_);
    ASSERT_TRUE(accounts.value().rotate(*accounts.value().userId("anna").value(), "phone").value());
    modify(json::array({save("A1", "bread")}));
    EXPECT_EQ(poll(url).at("serverErrorCode"), "NOT_FOUND");
}

TEST_F(ServerCourier, TidyingKeepsWhatWaitsForThoseWhoAreThere) {
    subscribe(client_, zoneSubscription("S"));
    const std::string url = listen(phone_);
    modify(json::array({save("A1", "milk")}));
    handler_->tidy();
    EXPECT_FALSE(poll(url).is_null());
}

TEST_F(ServerCourier, APushTokenIsGoodForTwelveHours) {
    const std::string url = listen(phone_);
    clock_.advanceBy(std::chrono::seconds(43'190));
    EXPECT_TRUE(poll(url).is_null());
    clock_.advanceBy(std::chrono::seconds(20));
    EXPECT_EQ(poll(url).at("serverErrorCode"), "NOT_FOUND");
}

TEST_F(ServerCourier, OnlyTheDeviceThatMadeATokenMayRegisterIt) {
    const json made = post(phone_, "tokens/create", {{"apnsEnvironment", "production"}});
    const json request{{"apnsEnvironment", "production"}, {"apnsToken", made.at("apnsToken")}};
    EXPECT_EQ(post(client_, "tokens/register", request, 404).at("serverErrorCode"), "NOT_FOUND");
    EXPECT_EQ(post(phone_, "tokens/register", request), json::object());
    EXPECT_EQ(post("tokens/create", {{"apnsEnvironment", "moon"}}, 400).at("serverErrorCode"), "BAD_REQUEST");
    EXPECT_EQ(post("tokens/create", json::object(), 400).at("serverErrorCode"), "BAD_REQUEST");
}

TEST_F(ServerCourier, ThePathOfThePublicDocumentsWorksToo) {
    const std::string documented = "/database/1/" + client_.container + "/production/tokens/create";
    const Answer answer = send("POST", documented + "?ckAPIToken=" + client_.api + "&ckWebAuthToken=" + client_.web,
                               R"({"apnsEnvironment":"production"})");
    EXPECT_EQ(answer.status, 200);
}

}  // namespace
}  // namespace cloudd::testing

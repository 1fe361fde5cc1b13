/// \file
/// Zones, and the list of those that changed.

#include "tests/apps/cloudd/server_fixture.hpp"

namespace cloudd::testing {
namespace {

class ServerZones : public Server {
protected:
    json zoneModify(const std::string& type, const std::string& name) {
        return post("zones/modify",
                    {{"operations",
                      json::array({{{"operationType", type}, {"zone", {{"zoneID", {{"zoneName", name}}}}}}})}})
            .at("zones")
            .at(0);
    }
    std::string user() { return get("users/current").at("userRecordName").get<std::string>(); }
};

TEST_F(ServerZones, TheDefaultZoneIsThereFromTheStart) {
    const json zones = get("zones/list").at("zones");
    ASSERT_EQ(zones.size(), 1U);
    EXPECT_EQ(zones[0].at("zoneID"),
              (json{{"zoneName", "_defaultZone"}, {"ownerRecordName", user()}, {"zoneType", "DEFAULT_ZONE"}}));
}

TEST_F(ServerZones, ACreatedZoneIsAnsweredWhole) {
    const json zone = zoneModify("create", "Errands");
    EXPECT_EQ(zone.at("zoneID"),
              (json{{"zoneName", "Errands"}, {"ownerRecordName", user()}, {"zoneType", "REGULAR_CUSTOM_ZONE"}}));
    EXPECT_EQ(zone.at("atomic"), true);
    EXPECT_FALSE(zone.at("syncToken").get<std::string>().empty());
    EXPECT_EQ(get("zones/list").at("zones").size(), 2U);
}

TEST_F(ServerZones, CreatingAZoneThatIsThereAnswersItAsItIs) {
    const json zone = zoneModify("create", "Errands");
    modify(json::array({save("A1", "milk")}));
    EXPECT_EQ(zoneModify("create", "Errands").at("zoneID"), zone.at("zoneID"));
    EXPECT_EQ(changes().at("records").size(), 1U);
}

TEST_F(ServerZones, DeletingAZoneTakesItsRecordsAndAMissingOneIsAnErrorOfItsItem) {
    createZone();
    modify(json::array({save("A1", "milk")}));
    EXPECT_EQ(zoneModify("delete", "Errands").at("deleted"), true);
    EXPECT_EQ(zoneModify("delete", "Errands").at("serverErrorCode"), "ZONE_NOT_FOUND");
    createZone();
    EXPECT_EQ(changes().at("records"), json::array());
}

TEST_F(ServerZones, LookingUpAnswersEachZoneOrWhyNot) {
    createZone();
    const json zones =
        post("zones/lookup", {{"zones", json::array({{{"zoneName", "Errands"}}, {{"zoneName", "Other"}}})}})
            .at("zones");
    ASSERT_EQ(zones.size(), 2U);
    EXPECT_EQ(zones[0].at("zoneID").at("zoneName"), "Errands");
    EXPECT_EQ(zones[1].at("serverErrorCode"), "ZONE_NOT_FOUND");
    EXPECT_EQ(zones[1].at("reason"), "Zone does not exist");
    EXPECT_EQ(zones[1].at("zoneID").at("zoneName"), "Other");
    EXPECT_FALSE(zones[1].at("uuid").get<std::string>().empty());
}

TEST_F(ServerZones, AZoneOfAnotherOwnerIsNotFoundAndOnesOwnByAnyOfItsNames) {
    createZone();
    for (const std::string& owner : {user(), std::string("_defaultOwner"), std::string("__defaultOwner__")}) {
        const json zone =
            post("zones/lookup", {{"zones", json::array({{{"zoneName", "Errands"}, {"ownerRecordName", owner}}})}});
        EXPECT_FALSE(zone.at("zones")[0].contains("serverErrorCode")) << owner;
    }
    const json foreign{{"zoneName", "Errands"}, {"ownerRecordName", "_00000000000000000000000000000000"}};
    EXPECT_EQ(post("zones/lookup", {{"zones", json::array({foreign})}}).at("zones")[0].at("serverErrorCode"),
              "ZONE_NOT_FOUND");
    EXPECT_EQ(
        post("changes/zone", {{"zones", json::array({{{"zoneID", foreign}}})}}).at("zones")[0].at("serverErrorCode"),
        "ZONE_NOT_FOUND");
    const json refused =
        post("records/modify", {{"zoneID", foreign}, {"operations", json::array({save("A1", "milk")})}}, 404);
    EXPECT_EQ(refused.at("serverErrorCode"), "ZONE_NOT_FOUND");
}

TEST_F(ServerZones, TheDatabaseFeedTellsOfEachZoneOnceAtItsLatestChange) {
    createZone("Errands");
    createZone("Other");
    const json all = post("changes/database", json::object());
    ASSERT_EQ(all.at("zones").size(), 2U);
    EXPECT_EQ(all.at("moreComing"), false);
    const json token{{"syncToken", all.at("syncToken")}};
    EXPECT_EQ(post("changes/database", token).at("zones"), json::array());

    modify(json::array({save("A1", "milk")}));
    modify(json::array({save("A2", "bread")}));
    zoneModify("delete", "Other");
    const json news = post("changes/database", token).at("zones");
    ASSERT_EQ(news.size(), 2U);
    EXPECT_EQ(news[0].at("zoneID").at("zoneName"), "Errands");
    EXPECT_EQ(news[0].at("syncToken"), changes().at("syncToken"));
    EXPECT_EQ(news[1].at("zoneID").at("zoneName"), "Other");
    EXPECT_EQ(news[1].at("deleted"), true);
    EXPECT_EQ(post("changes/database", json::object()).at("zones").size(), 1U)
        << "who reads from the beginning knows no zone that could have gone";
}

TEST_F(ServerZones, TheDatabaseFeedComesInPages) {
    for (const char* name : {"One", "Two", "Three"}) {
        createZone(name);
    }
    std::vector<std::string> names;
    json answer{{"moreComing", true}};
    json request{{"resultsLimit", 1}};
    while (answer.at("moreComing") == true) {
        answer = post("changes/database", request);
        ASSERT_EQ(answer.at("zones").size(), 1U);
        names.push_back(answer.at("zones")[0].at("zoneID").at("zoneName"));
        request["syncToken"] = answer.at("syncToken");
    }
    EXPECT_EQ(names, (std::vector<std::string>{"One", "Two", "Three"}));
}

TEST_F(ServerZones, TheOldDatabaseFeedHasAnotherNameForItsToken) {
    createZone();
    const json first = post("zones/changes", json::object());
    EXPECT_EQ(first.at("zones").size(), 1U);
    EXPECT_EQ(post("zones/changes", {{"metaSyncToken", first.at("metaSyncToken")}}).at("zones"), json::array());
}

TEST_F(ServerZones, AZoneTokenIsNoDatabaseToken) {
    createZone();
    const json zoneToken = changes().at("syncToken");
    EXPECT_EQ(post("changes/database", {{"syncToken", zoneToken}}, 400).at("serverErrorCode"), "BAD_REQUEST");
    const json databaseToken = post("changes/database", json::object()).at("syncToken");
    EXPECT_EQ(changes(databaseToken.get<std::string>()).at("serverErrorCode"), "BAD_REQUEST");
}

TEST_F(ServerZones, ATokenFromBeforeAnythingWasStoredIsGoodAfterwards) {
    const json first = post("changes/database", json::object());
    EXPECT_EQ(first.at("zones"), json::array());
    createZone();
    EXPECT_EQ(post("changes/database", {{"syncToken", first.at("syncToken")}}).at("zones").size(), 1U);
}

TEST_F(ServerZones, NamesThatAreNoneAreRefused) {
    for (const std::string& name : {std::string(), std::string("_mine"), std::string(256, 'x'), std::string("a\nb")}) {
        const json refused = post("zones/lookup", {{"zones", json::array({{{"zoneName", name}}})}}, 400);
        EXPECT_EQ(refused.at("serverErrorCode"), "BAD_REQUEST") << name;
    }
    createZone(std::string("\u00dcbrige Wege ") + std::string(240, 'x'));
}

TEST_F(ServerZones, EachContainerAndEnvironmentIsAWorldOfItsOwn) {
    createZone();
    Client other = client_;
    other.environment = "development";
    EXPECT_EQ(get(other, "zones/list").at("zones").size(), 1U);
    other.container = "iCloud.com.example.another";
    EXPECT_EQ(get(other, "zones/list").at("zones").size(), 1U);
}

}  // namespace
}  // namespace cloudd::testing

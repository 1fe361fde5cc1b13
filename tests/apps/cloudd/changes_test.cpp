/// \file
/// The feed of a zone's changes and the tokens by which it is read.

#include <algorithm>
#include <set>

#include "tests/apps/cloudd/server_fixture.hpp"

namespace cloudd::testing {
namespace {

class ServerChanges : public Server {
protected:
    ServerChanges() { createZone(); }

    static std::vector<std::string> names(const json& page) {
        std::vector<std::string> result;
        for (const json& record : page.at("records")) {
            result.push_back((record.at("deleted") == true ? "-" : "+") + record.at("recordName").get<std::string>());
        }
        return result;
    }
    static std::string tokenOf(const json& page) { return page.at("syncToken").get<std::string>(); }
    using Names = std::vector<std::string>;
};

TEST_F(ServerChanges, EachRecordIsListedOnceAtItsLatestChange) {
    modify(json::array({save("A1", "milk"), save("B2", "bread")}));
    modify(json::array({save("A1", "rolls")}));
    const json page = changes();
    EXPECT_EQ(names(page), (Names{"+B2", "+A1"}));
    EXPECT_EQ(page.at("records")[1].at("fields").at("note").at("value"), "rolls");
    EXPECT_EQ(page.at("moreComing"), false);
    EXPECT_EQ(page.at("zoneID").at("zoneType"), "REGULAR_CUSTOM_ZONE");
}

TEST_F(ServerChanges, AfterATokenComesWhatChangedSince) {
    modify(json::array({save("A1", "milk"), save("B2", "bread")}));
    const std::string token = tokenOf(changes());
    modify(json::array({save("C3", "tea"), remove("A1")}));
    EXPECT_EQ(names(changes(token)), (Names{"+C3", "-A1"}));
    EXPECT_EQ(names(changes(token)), (Names{"+C3", "-A1"})) << "a token may be used again";
}

TEST_F(ServerChanges, WhenNothingIsNewTheTokenStaysTheSame) {
    modify(json::array({save("A1", "milk")}));
    const std::string token = tokenOf(changes());
    EXPECT_EQ(tokenOf(changes(token)), token);
    EXPECT_EQ(changes(token).at("records"), json::array());
}

TEST_F(ServerChanges, WhoReadsFromTheBeginningHearsOfDeletedRecordsToo) {
    modify(json::array({save("A1", "milk"), save("B2", "bread")}));
    modify(json::array({remove("A1")}));
    clock_.advanceBy(std::chrono::hours(24 * 365 * 10));
    EXPECT_EQ(names(changes()), (Names{"+B2", "-A1"}));
    const json gone = changes().at("records")[1];
    EXPECT_FALSE(gone.contains("fields"));
    EXPECT_EQ(gone.at("recordChangeTag"), "3");
}

TEST_F(ServerChanges, AnEmptyTokenCountsAsNone) {
    modify(json::array({save("A1", "milk")}));
    const json answer =
        post("changes/zone", {{"zones", json::array({{{"zoneID", {{"zoneName", "Errands"}}}, {"syncToken", ""}}})}});
    EXPECT_EQ(names(answer.at("zones")[0]), (Names{"+A1"}));
}

TEST_F(ServerChanges, PagesOfAnySizeTogetherAreTheWholeFeed) {
    for (int i = 0; i < 5; ++i) {
        json operations = json::array();
        for (int j = 0; j < 100; ++j) {
            operations.push_back(save("R" + std::to_string(100 * i + j), "x"));
        }
        modify(operations);
    }
    for (const int limit : {1000, 200, 199, 7}) {
        std::set<std::string> seen;
        std::string token;
        json page;
        std::size_t pages = 0;
        do {
            page = changes(token, limit);
            ASSERT_LE(page.at("records").size(), static_cast<std::size_t>(std::min(limit, 200)));
            for (const std::string& name : names(page)) {
                EXPECT_TRUE(seen.insert(name).second) << name;
            }
            token = tokenOf(page);
            ++pages;
        } while (page.at("moreComing") == true);
        EXPECT_EQ(seen.size(), 500U);
        EXPECT_EQ(pages, static_cast<std::size_t>((500 + std::min(limit, 200) - 1) / std::min(limit, 200)));
    }
}

TEST_F(ServerChanges, EveryTokenOfThePastGivesAllThatCameAfterIt) {
    std::vector<std::string> tokens{tokenOf(changes())};
    for (int i = 0; i < 60; ++i) {
        const std::string name = "R" + std::to_string(i * 7 % 20);
        modify(json::array({i % 5 == 4 ? remove(name) : save(name, std::to_string(i))}));
        tokens.push_back(tokenOf(changes(tokens.back())));
    }
    const Names all = names(changes());
    for (const std::string& token : tokens) {
        const Names since = names(changes(token));
        ASSERT_LE(since.size(), all.size());
        EXPECT_TRUE(std::equal(since.rbegin(), since.rend(), all.rbegin()));
    }
    EXPECT_EQ(names(changes(tokens.front())), all);
    EXPECT_EQ(names(changes(tokens.back())), Names());
}

TEST_F(ServerChanges, TokensHoldOverARestart) {
    modify(json::array({save("A1", "milk")}));
    const std::string token = tokenOf(changes());
    modify(json::array({save("B2", "bread")}));
    start();
    EXPECT_EQ(names(changes(token)), (Names{"+B2"}));
}

TEST_F(ServerChanges, ATokenOfAZoneMadeAgainIsRefusedForThatZone) {
    modify(json::array({save("A1", "milk")}));
    const std::string token = tokenOf(changes());
    post("zones/modify",
         {{"operations",
           json::array({{{"operationType", "delete"}, {"zone", {{"zoneID", {{"zoneName", "Errands"}}}}}}})}});
    createZone();
    const json refused = changes(token);
    EXPECT_EQ(refused.at("serverErrorCode"), "BAD_REQUEST");
    EXPECT_EQ(refused.at("reason"), "Unknown sync continuation type");
    EXPECT_EQ(refused.at("zoneID").at("zoneName"), "Errands");
}

TEST_F(ServerChanges, WhatIsNoTokenIsRefusedForItsZoneAlone) {
    createZone("Other");
    modify(json::array({save("A1", "milk")}));
    const std::string token = tokenOf(changes());
    std::string other = token;
    other[10] = other[10] == 'A' ? 'B' : 'A';
    for (const std::string& wrong :
         {std::string("x"), token.substr(1), token + "A", other, std::string(1'000'000, 'A'), std::string(36, '!')}) {
        const json zones =
            post("changes/zone", {{"zones", json::array({{{"zoneID", {{"zoneName", "Errands"}}}, {"syncToken", wrong}},
                                                         {{"zoneID", {{"zoneName", "Other"}}}}})}})
                .at("zones");
        EXPECT_EQ(zones[0].at("serverErrorCode"), "BAD_REQUEST") << wrong.substr(0, 50);
        EXPECT_EQ(zones[1].at("moreComing"), false);
    }
}

TEST_F(ServerChanges, ATokenOfChangesThatTheServerDoesNotHaveIsRefused) {
    modify(json::array({save("A1", "milk")}));
    std::string token = tokenOf(changes());
    ASSERT_EQ(token.substr(token.size() - 2), "AB");
    token.back() = 'C';
    EXPECT_EQ(changes(token).at("serverErrorCode"), "BAD_REQUEST");
}

TEST_F(ServerChanges, AMissingZoneIsAnErrorOfItsItem) {
    const json zones =
        post("changes/zone",
             {{"zones", json::array({{{"zoneID", {{"zoneName", "Other"}}}}, {{"zoneID", {{"zoneName", "Errands"}}}}})}})
            .at("zones");
    EXPECT_EQ(zones[0].at("serverErrorCode"), "ZONE_NOT_FOUND");
    EXPECT_EQ(zones[1].at("records"), json::array());
}

TEST_F(ServerChanges, TheFeedOfOneZoneHasTheSameTokens) {
    modify(json::array({save("A1", "milk")}));
    const json first = post("records/changes", {{"zoneID", {{"zoneName", "Errands"}}}});
    EXPECT_EQ(names(first), (Names{"+A1"}));
    EXPECT_EQ(tokenOf(first), tokenOf(changes()));
    EXPECT_EQ(first.at("moreComing"), false);
    modify(json::array({save("B2", "bread")}));
    const json second = post("records/changes", {{"zoneID", {{"zoneName", "Errands"}}}, {"syncToken", tokenOf(first)}});
    EXPECT_EQ(names(second), (Names{"+B2"}));
}

TEST_F(ServerChanges, AFirstReadMaySkipHistoryWithTheTokenOfTheZonesList) {
    modify(json::array({save("A1", "milk")}));
    const std::string token = tokenOf(get("zones/list").at("zones")[1]);
    EXPECT_EQ(names(changes(token)), Names());
}

TEST_F(ServerChanges, OnlyWantedTypesComeButDeletedRecordsAlways) {
    modify(json::array({save("A1", "milk"), save("B2", "bread")}));
    modify(json::array({remove("B2")}));
    const json zone = post("changes/zone", {{"desiredRecordTypes", {"Other"}},
                                            {"zones", json::array({{{"zoneID", {{"zoneName", "Errands"}}}}})}})
                          .at("zones")[0];
    EXPECT_EQ(names(zone), (Names{"-B2"}));
    EXPECT_EQ(tokenOf(zone), tokenOf(changes()));
}

TEST_F(ServerChanges, ReadingBackwardsIsRefusedAndNotIgnored) {
    const json zone =
        post("changes/zone", {{"zones", json::array({{{"zoneID", {{"zoneName", "Errands"}}}, {"reverse", true}}})}})
            .at("zones")[0];
    EXPECT_EQ(zone.at("serverErrorCode"), "BAD_REQUEST");
}

TEST_F(ServerChanges, AnAnswerHoldsTwoHundredRecordsWhateverTheNumberOfZones) {
    createZone("Other");
    for (const char* zone : {"Errands", "Other"}) {
        json operations = json::array();
        for (int i = 0; i < 150; ++i) {
            operations.push_back(save("R" + std::to_string(i), "x"));
        }
        post("records/modify", {{"zoneID", {{"zoneName", zone}}}, {"operations", operations}});
    }
    const json zones =
        post("changes/zone",
             {{"zones", json::array({{{"zoneID", {{"zoneName", "Errands"}}}}, {{"zoneID", {{"zoneName", "Other"}}}}})}})
            .at("zones");
    EXPECT_EQ(zones[0].at("records").size(), 150U);
    EXPECT_EQ(zones[1].at("records").size(), 50U);
    EXPECT_EQ(zones[1].at("moreComing"), true);
}

TEST_F(ServerChanges, APageOfLargeRecordsEndsEarlyAndNothingIsLeftOut) {
    for (int i = 0; i < 7; ++i) {
        modify(json::array({save("R" + std::to_string(i), std::string(900'000, 'x'))}));
    }
    std::string token;
    std::set<std::string> seen;
    json page{{"moreComing", true}};
    while (page.at("moreComing") == true) {
        page = changes(token);
        EXPECT_LE(page.at("records").size(), 5U);
        for (const std::string& name : names(page)) {
            seen.insert(name);
        }
        token = tokenOf(page);
    }
    EXPECT_EQ(seen.size(), 7U);
}

}  // namespace
}  // namespace cloudd::testing

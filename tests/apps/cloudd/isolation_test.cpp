/// \file
/// Two users ask at random, and nothing of one is ever seen by the other.

#include <array>
#include <map>
#include <random>
#include <set>

#include "tests/apps/cloudd/server_fixture.hpp"

namespace cloudd::testing {
namespace {

/// One of the two users, with what must never reach the other.
struct Party {
    Client client;
    /// Part of every text that the user stores.
    std::string mark;
    /// Tokens and names that the user has seen.
    std::vector<std::string> seen;
    std::string user;
    std::map<std::string, std::string> records;
};

class ServerIsolation : public Server {
protected:
    ServerIsolation() {
        const DeviceTokens tokens = addUser(data_, "berta");
        parties_[0] = {.client = client_, .mark = "ANNASECRET", .seen = {}, .user = {}, .records = {}};
        parties_[1] = {
            .client = {tokens.api, tokens.web}, .mark = "BERTASECRET", .seen = {}, .user = {}, .records = {}};
        for (Party& party : parties_) {
            party.user = get(party.client, "users/current").at("userRecordName");
            createZone(party.client);
        }
    }

    std::size_t below(std::size_t bound) { return std::uniform_int_distribution<std::size_t>(0, bound - 1)(random_); }

    std::string anyToken() {
        const Party& party = parties_[below(2)];
        return party.seen.empty() ? "" : party.seen[below(party.seen.size())];
    }
    json anyZone() {
        json zone{{"zoneName", below(10) == 0 ? "Other" : "Errands"}};
        if (below(4) == 0) {
            zone["ownerRecordName"] = parties_[below(2)].user;
        }
        return zone;
    }
    static std::string nameOf(std::size_t number) { return "R" + std::to_string(number); }

    std::pair<std::string, json> anyRequest(const Party& party) {
        switch (below(12)) {
            case 0: {
                json entry{{"zoneID", anyZone()}};
                if (below(2) == 0) {
                    entry["syncToken"] = anyToken();
                }
                return {"changes/zone", {{"zones", json::array({entry})}}};
            }
            case 1:
                return {"changes/database", below(2) == 0 ? json::object() : json{{"syncToken", anyToken()}}};
            case 2:
                return {"records/lookup",
                        {{"zoneID", anyZone()}, {"records", json::array({{{"recordName", nameOf(below(40))}}})}}};
            case 3:
                return {"zones/lookup", {{"zones", json::array({anyZone()})}}};
            case 4:
                return {"records/modify",
                        {{"zoneID", anyZone()}, {"operations", json::array({remove(nameOf(below(40)))})}}};
            case 5:
                return {"subscriptions/modify",
                        {{"operations", json::array({{{"operationType", below(2) == 0 ? "create" : "delete"},
                                                      {"subscription",
                                                       {{"subscriptionType", "zone"},
                                                        {"subscriptionID", party.mark + std::to_string(below(3))},
                                                        {"zoneID", anyZone()}}}}})}}};
            case 6:
                return {"records/changes", {{"zoneID", anyZone()}, {"syncToken", anyToken()}}};
            case 7:
                return {"zones/changes", {{"metaSyncToken", anyToken()}}};
            case 8:
                return {below(2) == 0 ? "subscriptions/list" : "zones/list", nullptr};
            default:
                return {
                    "records/modify",
                    {{"zoneID", anyZone()},
                     {"operations", json::array({save(nameOf(below(40)), party.mark + std::to_string(below(1000)))})}}};
        }
    }

    void remember(Party& party, const json& answer) {
        for (const json& each : answer.value("zones", json::array())) {
            if (each.contains("syncToken")) {
                party.seen.push_back(each.at("syncToken"));
            }
        }
        for (const char* name : {"syncToken", "metaSyncToken"}) {
            if (answer.contains(name)) {
                party.seen.push_back(answer.at(name));
            }
        }
        if (party.seen.size() > 50) {
            party.seen.erase(party.seen.begin());
        }
    }

    std::mt19937 random_{20'261'122};
    std::array<Party, 2> parties_;
};

TEST_F(ServerIsolation, OfManyRandomRequestsNoneShowsOneUserAnythingOfTheOther) {
    std::size_t done = 0;
    std::set<int> statuses;
    for (int i = 0; i < CLOUDD_RANDOM_REQUESTS; ++i) {
        const std::size_t who = below(2);
        Party& party = parties_[who];
        const Party& other = parties_[1 - who];
        const auto [operation, body] = anyRequest(party);
        const Answer answer = body.is_null() ? send("GET", party.client.target(operation))
                                             : send("POST", party.client.target(operation), body.dump());
        statuses.insert(answer.status);
        ASSERT_EQ(answer.body.find(other.mark), std::string::npos) << operation << " " << body << answer.body;
        // A zone may be named by its owner in the request, and is named so in the error.
        if (body.dump().find(other.user) == std::string::npos) {
            ASSERT_EQ(answer.body.find(other.user), std::string::npos) << operation << " " << body << answer.body;
        }
        const std::string next = headerOf(answer, "X-Apple-CloudKit-Web-Auth-Token");
        ASSERT_FALSE(next.empty());
        party.client.web = next;
        remember(party, json::parse(answer.body));
        if (answer.status == 200 && operation == "records/modify") {
            ++done;
        }
    }
    EXPECT_GT(done, static_cast<std::size_t>(CLOUDD_RANDOM_REQUESTS / 5));
    EXPECT_EQ(statuses, (std::set<int>{200, 400, 404}));
}

}  // namespace
}  // namespace cloudd::testing

/// \file
/// Requests that nobody should send: one answer, and nothing changes.

#include "tests/apps/cloudd/server_fixture.hpp"

namespace cloudd::testing {
namespace {

class ServerBadRequests : public Server {
protected:
    std::string tokens() { return "?ckAPIToken=" + client_.api + "&ckWebAuthToken=" + client_.web; }
    int status(const std::string& method, const std::string& path) { return send(method, path + tokens()).status; }
};

TEST_F(ServerBadRequests, BodiesThatAreNoJsonObjectAreRefused) {
    createZone();
    const std::vector<std::string> bodies{
        "{",
        "[]",
        "null",
        "<html>",
        "{\"a\":1}}",
        "{\"a\":1,\"a\":2}",
        "{\"operations\":[{\"x\":{\"a\":1,\"a\":2}}]}",
        "{\"a\":1e400}",
        "{\"a\":\"\xff\"}",
        "{\"a\":\"\\ud800\"}",
        std::string("{\"a\":\0}", 7),
        std::string(100'000, '['),
        "{\"a\":" + std::string(100'000, '[') + std::string(100'000, ']') + "}",
        "{\"a\":" + std::string(32, '[') + std::string(32, ']') + "}",
    };
    for (const std::string& body : bodies) {
        const json answer = postText("records/modify", body, 400);
        EXPECT_EQ(answer.value("serverErrorCode", ""), "BAD_REQUEST") << body.substr(0, 50);
        EXPECT_FALSE(answer.value("uuid", "").empty());
    }
    EXPECT_EQ(changes().at("records"), json::array());
}

TEST_F(ServerBadRequests, DepthIsCountedOutsideOfTextsAlone) {
    postText("changes/database", "{\"a\":" + std::string(31, '[') + std::string(31, ']') + "}");
    postText("changes/database", R"({"a":"[[[[[[[[[[[[[[[[[[[[[[[[[[[[[[[[[[[[[[[[\"[[[[","b":"\\"})");
}

TEST_F(ServerBadRequests, AnEmptyBodyIsAnEmptyObjectAndUnknownNamesAreIgnored) {
    postText("changes/database", "");
    postText("changes/database", R"({"getCurrentSyncToken":true,"x":{"y":[]}})");
}

TEST_F(ServerBadRequests, UnknownPathsAreNotFoundAndKnownOnesTellTheirMethod) {
    for (const std::string& path :
         {std::string("/"), std::string("/database"), std::string("/database/2/c/e/private/zones/list"),
          std::string("/database/1/c/e/private/zones"), std::string("/database/1/c/e/secret/zones/list"),
          std::string("/database/1/c/e/private/zones/erase"), std::string("/device/1/c/e/private/zones/list"),
          std::string("/device/1/c/e/zones/list"), std::string("/database/1/c/e/private/tokens/create"),
          std::string("/database/1/c/e/private/zones/list/more"), std::string("/couriers")}) {
        const int found = status("GET", path);
        EXPECT_TRUE(found == 404 || found == 400) << path << " " << found;
        EXPECT_EQ(status("GET", path), path == "/" ? 400 : 404) << path;
    }
    for (const std::string method : {"POST", "PUT", "DELETE", "HEAD", "OPTIONS", "TRACE", "get", "BREW"}) {
        const Answer answer = send(method, client_.path("zones/list") + tokens());
        EXPECT_EQ(answer.status, 405) << method;
        EXPECT_EQ(headerOf(answer, "Allow"), "GET");
    }
    EXPECT_EQ(headerOf(send("GET", client_.path("records/modify") + tokens()), "Allow"), "POST");
    EXPECT_EQ(headerOf(send("POST", "/courier?tok=x"), "Allow"), "GET");
}

TEST_F(ServerBadRequests, OnlyThePrivateDatabaseIsServed) {
    for (const std::string database : {"public", "shared"}) {
        const Answer answer = send("GET", "/database/1/c/e/" + database + "/zones/list" + tokens());
        EXPECT_EQ(answer.status, 400);
        EXPECT_NE(answer.body.find("endpoint not applicable in the database type '" + database + "db'"),
                  std::string::npos);
    }
    EXPECT_EQ(send("GET", "/database/1/c/e/public/users/current" + tokens()).status, 200);
    const json caller = json::parse(send("GET", "/database/1/c/e/public/users/caller" + tokens()).body);
    EXPECT_EQ(caller.at("users")[0], get("users/current"));
}

TEST_F(ServerBadRequests, TargetsThatAreNoPlainPathAreRefused) {
    for (const std::string& path :
         {std::string("http://localhost:8420/sign-in"), std::string("*"), std::string("localhost:443"),
          std::string("/../sign-in"), std::string("/%2e%2e/sign-in"), std::string("/a/%2E./b"),
          std::string("//sign-in"), std::string("/sign-in/"), std::string("/sign-in%00"), std::string("/sign%2fin"),
          std::string("/sign-in%"), std::string("/sign-in%4"), std::string("/sign-in%zz"), std::string("/sign-in%ff"),
          std::string("/sign-in%0a"), std::string("/sign in"), std::string("/sign-in\x01"), std::string("/\u00fc"),
          std::string("")}) {
        EXPECT_EQ(send("GET", path).status, 400) << path;
    }
    EXPECT_EQ(send("GET", "/sign-in?a=%00").status, 400);
    EXPECT_EQ(send("GET", "/%73ign-in?a&b=&=c&a=2").status, 200);
    EXPECT_EQ(status("GET", "/database/1/" + std::string(256, 'c') + "/e/private/zones/list"), 400);
}

TEST_F(ServerBadRequests, ContainersWithStrangeNamesStayWhereTheyAre) {
    for (const std::string container : {"%2e%2e%2fusers", "a%2fb", "..;", "'; DROP TABLE zone; --", "%C3%BC"}) {
        std::string path = "/database/1/" + container + "/e/private/zones/list";
        const int answered = status("GET", path);
        EXPECT_TRUE(answered == 200 || answered == 400) << container;
    }
    Client odd = client_;
    odd.container = "'--%C3%BC";
    createZone(odd);
    client_.web = odd.web;
    EXPECT_EQ(get("zones/list").at("zones").size(), 1U);
    std::size_t files = 0;
    for (const auto& entry : std::filesystem::directory_iterator(data_ / "users")) {
        files += entry.path().extension() == ".sqlite" ? 1 : 0;
    }
    EXPECT_EQ(files, 1U);
}

TEST_F(ServerBadRequests, WrongTypesOfMembersAreRefused) {
    createZone();
    const std::vector<std::pair<std::string, json>> requests{
        {"zones/modify", {{"operations", 5}}},
        {"zones/modify", {{"operations", json::array({5})}}},
        {"zones/modify", {{"operations", json::array({{{"operationType", "create"}}})}}},
        {"zones/modify",
         {{"operations", json::array({{{"operationType", "rename"}, {"zone", {{"zoneID", {{"zoneName", "x"}}}}}}})}}},
        {"zones/lookup", {{"zones", json::array({{{"zoneName", 5}}})}}},
        {"zones/lookup", json::object()},
        {"changes/zone", json::object()},
        {"changes/zone", {{"zones", json::array({json::object()})}}},
        {"changes/zone", {{"zones", json::array({{{"zoneID", 5}}})}}},
        {"changes/database", {{"syncToken", 5}}},
        {"changes/database", {{"syncToken", "x"}}},
        {"changes/database", {{"resultsLimit", -1}}},
        {"changes/database", {{"resultsLimit", "many"}}},
        {"records/lookup", {{"records", json::array({json::object()})}}},
        {"records/lookup", {{"records", json::array()}, {"desiredKeys", 5}}},
        {"records/modify", {{"operations", json::array()}, {"atomic", "yes"}}},
        {"records/modify", {{"operations", json::array()}, {"zoneID", "Errands"}}},
        {"subscriptions/modify", {{"operations", json::array({{{"operationType", "create"}}})}}},
        {"subscriptions/lookup", {{"subscriptions", json::array({json::object()})}}},
        {"tokens/register", {{"apnsEnvironment", "production"}}},
        {"tokens/register", {{"apnsEnvironment", "production"}, {"apnsToken", 5}}},
    };
    for (const auto& [operation, body] : requests) {
        EXPECT_EQ(post(operation, body, 400).value("serverErrorCode", ""), "BAD_REQUEST") << operation << body;
    }
    EXPECT_EQ(get("zones/list").at("zones").size(), 2U);
}

TEST_F(ServerBadRequests, TwoHundredItemsAreTheMostOfEveryOperation) {
    json many = json::array();
    for (int i = 0; i < 201; ++i) {
        many.push_back(json::object());
    }
    for (const auto& [operation, member] :
         std::vector<std::pair<std::string, std::string>>{{"zones/modify", "operations"},
                                                          {"zones/lookup", "zones"},
                                                          {"changes/zone", "zones"},
                                                          {"records/lookup", "records"},
                                                          {"subscriptions/modify", "operations"},
                                                          {"subscriptions/lookup", "subscriptions"}}) {
        const json answer = post(operation, {{member, many}}, 400);
        EXPECT_NE(answer.at("reason").get<std::string>().find("more than 200"), std::string::npos) << operation;
    }
}

}  // namespace
}  // namespace cloudd::testing

/// \file
/// Who may ask: API tokens, web tokens and what follows them, limits for those who guess or ask too often.

#include <fstream>
#include <iterator>

#include "tests/apps/cloudd/server_fixture.hpp"

namespace cloudd::testing {
namespace {

class ServerTokens : public Server {
protected:
    Answer ask(const std::string& api, const std::string& web, const std::string& address = "192.0.2.1") {
        Client client{api, web};
        std::string target = client.path("users/current") + "?ckAPIToken=" + api;
        if (!web.empty()) {
            target += "&ckWebAuthToken=" + web;
        }
        return send("GET", target, "", address);
    }
    static std::string next(const Answer& answer) { return headerOf(answer, "X-Apple-CloudKit-Web-Auth-Token"); }
    static std::string code(const Answer& answer) {
        return json::parse(answer.body).value("serverErrorCode", std::string());
    }
};

TEST_F(ServerTokens, WithoutAnApiTokenOrWithAWrongOneNothingIsAnswered) {
    const std::string path = client_.path("users/current");
    const Answer none = send("GET", path);
    EXPECT_EQ(none.status, 401);
    EXPECT_EQ(code(none), "AUTHENTICATION_FAILED");
    const Answer wrong = ask(std::string(64, '0'), client_.web);
    EXPECT_EQ(wrong.status, 401);
    EXPECT_EQ(next(wrong), "");
    EXPECT_EQ(wrong.body.find(client_.web), std::string::npos);
}

TEST_F(ServerTokens, WithoutAWebTokenTheClientIsSentToSignIn) {
    for (const std::string& web : {std::string(), std::string(64, '0'), std::string("%2B%2F%3D")}) {
        const Answer answer = ask(client_.api, web);
        EXPECT_EQ(answer.status, 421);
        EXPECT_EQ(code(answer), "AUTHENTICATION_REQUIRED");
        EXPECT_EQ(json::parse(answer.body).at("redirectURL"), "http://localhost:8420/sign-in");
    }
    EXPECT_EQ(send("GET", "/sign-in").status, 200);
}

TEST_F(ServerTokens, EachAnswerBringsTheNextTokenAndErrorsDoToo) {
    const std::string first = client_.web;
    get("users/current");
    const std::string second = client_.web;
    EXPECT_NE(second, first);
    post("records/modify", {{"operations", 5}}, 400);
    EXPECT_NE(client_.web, second);
    EXPECT_EQ(ask(client_.api, client_.web).status, 200);
}

TEST_F(ServerTokens, ATokenWhoseSuccessorWasNeverUsedStaysGood) {
    const std::string first = client_.web;
    const std::string second = next(ask(client_.api, first));
    clock_.advanceBy(std::chrono::hours(1000));
    EXPECT_EQ(next(ask(client_.api, first)), second) << "answers that got lost or overtook each other sign nobody out";
    start();
    EXPECT_EQ(next(ask(client_.api, first)), second);
    EXPECT_EQ(ask(client_.api, second).status, 200);
}

TEST_F(ServerTokens, AfterItsSuccessorWasUsedATokenLivesForFiveMinutes) {
    const std::string first = client_.web;
    const std::string second = next(ask(client_.api, first));
    const std::string third = next(ask(client_.api, second));
    clock_.advanceBy(std::chrono::seconds(298));
    EXPECT_EQ(next(ask(client_.api, first)), second);
    clock_.advanceBy(std::chrono::seconds(1));
    EXPECT_EQ(ask(client_.api, first).status, 421);
    EXPECT_EQ(ask(client_.api, second).status, 200);
    EXPECT_EQ(ask(client_.api, third).status, 200);
}

TEST_F(ServerTokens, ATokenTwoGenerationsOldIsVoidAtOnce) {
    const std::string first = client_.web;
    const std::string second = next(ask(client_.api, first));
    const std::string third = next(ask(client_.api, second));
    EXPECT_EQ(ask(client_.api, third).status, 200);
    EXPECT_EQ(ask(client_.api, first).status, 421);
    EXPECT_EQ(ask(client_.api, second).status, 200);
}

TEST_F(ServerTokens, TokensGivenByHandStopTheOldOnesAtOnceAndThoseOfOtherDevicesStay) {
    const DeviceTokens phone = addDevice(data_, "anna", "phone");
    const std::string before = next(ask(client_.api, client_.web));
    auto accounts = Accounts::open(data_);
    const std::string id = *accounts.value().userId("anna").value();
    const DeviceTokens fresh = *accounts.value().rotate(id, "").value();
    EXPECT_EQ(ask(client_.api, client_.web).status, 401);
    EXPECT_EQ(ask(phone.api, client_.web).status, 421);
    EXPECT_EQ(ask(phone.api, before).status, 421);
    EXPECT_EQ(ask(phone.api, phone.web).status, 200);
    EXPECT_EQ(ask(fresh.api, fresh.web).status, 200);
    EXPECT_FALSE(accounts.value().rotate(id, "tablet").value());
}

TEST_F(ServerTokens, AUserWhoIsRemovedIsGoneWithTheNextRequest) {
    get("zones/list");
    auto accounts = Accounts::open(data_);
    const std::string id = *accounts.value().userId("anna").value();
    ASSERT_FALSE(accounts.value().removeUser(id));
    EXPECT_EQ(ask(client_.api, client_.web).status, 401);
}

TEST_F(ServerTokens, TheTokensOfTwoUsersDoNotMix) {
    const DeviceTokens other = addUser(data_, "berta");
    EXPECT_EQ(ask(other.api, client_.web).status, 421);
    EXPECT_EQ(ask(client_.api, other.web).status, 421);
    EXPECT_EQ(ask(other.api, other.web).status, 200);
}

TEST_F(ServerTokens, NoTokenIsInTheFiles) {
    const std::string api = client_.api;
    std::vector<std::string> shown{api, client_.web};
    for (int i = 0; i < 3; ++i) {
        get("users/current");
        shown.push_back(client_.web);
    }
    const json push = post("tokens/create", {{"apnsEnvironment", "production"}});
    shown.push_back(push.at("apnsToken"));
    handler_.reset();
    std::string everything;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(data_)) {
        if (entry.is_regular_file()) {
            std::ifstream file(entry.path(), std::ios::binary);
            everything.append(std::istreambuf_iterator<char>(file), {});
        }
    }
    ASSERT_GT(everything.size(), 10'000U);
    for (const std::string& token : shown) {
        EXPECT_EQ(everything.find(token), std::string::npos);
    }
}

TEST_F(ServerTokens, WhoGuessesHasToWaitTwiceAsLongEachTime) {
    for (int i = 0; i < 12; ++i) {
        EXPECT_EQ(ask("guess" + std::to_string(i), client_.web).status, 401);
    }
    const Answer braked = ask(client_.api, client_.web);
    EXPECT_EQ(braked.status, 429);
    EXPECT_EQ(code(braked), "THROTTLED");
    const double wait = json::parse(braked.body).at("retryAfter").get<double>();
    EXPECT_GT(wait, 0);
    EXPECT_LE(wait, 2);
    EXPECT_EQ(ask(client_.api, client_.web, "192.0.2.9").status, 200) << "from elsewhere";
    clock_.advanceBy(std::chrono::duration<double>(wait));
    EXPECT_EQ(ask(client_.api, client_.web).status, 200);
}

TEST_F(ServerTokens, NoWaitIsLongerThanFiveMinutesAndTenQuietOnesEndItAll) {
    double longest = 0;
    for (int i = 0; i < 40; ++i) {
        const Answer answer = ask(client_.api, "guess" + std::to_string(i));
        if (answer.status == 429) {
            longest = json::parse(answer.body).at("retryAfter").get<double>();
            clock_.advanceBy(std::chrono::duration<double>(longest));
        }
    }
    EXPECT_GT(longest, 250);
    EXPECT_LE(longest, 300);
    clock_.advanceBy(std::chrono::seconds(601));
    for (int i = 0; i < 10; ++i) {
        EXPECT_EQ(ask(client_.api, "other" + std::to_string(i)).status, 421);
    }
    EXPECT_EQ(ask(client_.api, client_.web).status, 200);
}

TEST_F(ServerTokens, GuessesAtAUserFromManyAddressesMakeThatUserWaitAndNoOther) {
    const DeviceTokens other = addUser(data_, "berta");
    for (int i = 0; i < 12; ++i) {
        EXPECT_EQ(ask(client_.api, "guess" + std::to_string(i), "198.51.100." + std::to_string(i)).status, 421);
    }
    const Answer braked = ask(client_.api, client_.web);
    EXPECT_EQ(braked.status, 429);
    EXPECT_GT(json::parse(braked.body).at("retryAfter").get<double>(), 0);
    EXPECT_EQ(ask(other.api, other.web).status, 200);
    clock_.advanceBy(std::chrono::seconds(2));
    EXPECT_EQ(ask(client_.api, client_.web).status, 200);
}

TEST_F(ServerTokens, WhoShowsOneVoidTokenAgainAndAgainHasToWaitAndNobodyBesides) {
    const DeviceTokens phone = addDevice(data_, "anna", "phone");
    const auto askTwenty = [&](const std::string& api, const std::string& web) {
        Answer answer;
        for (int i = 0; i < 20; ++i) {
            answer = ask(api, web);
        }
        return answer.status;
    };
    EXPECT_EQ(askTwenty(std::string(64, '0'), client_.web), 429);
    EXPECT_EQ(askTwenty(phone.api, std::string(64, '1')), 429);
    EXPECT_EQ(ask(phone.api, phone.web).status, 200);
    EXPECT_EQ(ask(client_.api, client_.web).status, 200);
}

TEST_F(ServerTokens, AUserMayAskThirtyTimesASecondOnAverage) {
    const auto askAtOnce = [&] {
        auto result = handler_->handle({"GET", client_.target("users/current"), "", "192.0.2.1", "http://localhost"});
        return std::get<Answer>(result);
    };
    int good = 0;
    Answer answer = askAtOnce();
    while (answer.status == 200 && good < 1000) {
        ++good;
        answer = askAtOnce();
    }
    EXPECT_EQ(good, 120);
    EXPECT_EQ(answer.status, 429);
    EXPECT_NE(next(answer), "");
    const double wait = json::parse(answer.body).at("retryAfter").get<double>();
    EXPECT_NEAR(wait, 1.0 / 30, 0.001);
    clock_.advanceBy(std::chrono::duration<double>(wait));
    EXPECT_EQ(askAtOnce().status, 200);
    EXPECT_EQ(askAtOnce().status, 429);
}

TEST_F(ServerTokens, AnAddressMayNotAskWithoutEndEither) {
    int answered = 0;
    const auto ask = [&](const std::string& address) {
        auto result = handler_->handle({"GET", "/nothing", "", address, "http://localhost"});
        return std::get<Answer>(result).status;
    };
    while (ask("198.51.100.7") == 404 && answered < 2000) {
        ++answered;
    }
    EXPECT_EQ(answered, 480);
    EXPECT_EQ(ask("198.51.100.7"), 429);
    EXPECT_EQ(ask("198.51.100.8"), 404);
}

TEST_F(ServerTokens, AClockThatIsPutBackLocksNobodyOut) {
    get("users/current");
    clock_.set(quendokit::Date(1'000'000));
    get("users/current");
    get("zones/list");
}

}  // namespace
}  // namespace cloudd::testing

/// \file
/// How a device hears of changes, answer by answer.

#include "adapters/cloudkit_web/courier.hpp"

#include <optional>

#include "tests/adapters/cloudkit_web/web_database_fixture.hpp"

namespace quendokit::testing {
namespace {

using namespace std::chrono_literals;

constexpr const char* address = "https://courier.example:443/aps?tok=secret&ttl=43200";

class CourierTest : public WebDatabase {
protected:
    void TearDown() override {
        courier.reset();
        WebDatabase::TearDown();
    }

    [[nodiscard]] std::string url() const {
        return transport->sent.empty() ? std::string() : transport->sent.front().request.url;
    }

    void answerWithAddress(const std::string& at = address) {
        transport->answer(200, R"({"apnsEnvironment":"production","apnsToken":"a1b2","webcourierURL":")" + at + "\"}");
    }

    /// Starts, and answers until the courier listens.
    void startListening() {
        courier->start();
        transport->run();
        answerWithAddress();
        transport->answer(200, "");
        ASSERT_EQ(url(), address);
        news = 0;
    }

    int news = 0;
    std::vector<Error> failures;
    std::optional<Courier> courier = std::optional<Courier>(
        std::in_place, session, [this] { ++news; }, [this](const Error& error) { failures.push_back(error); });
};

TEST_F(CourierTest, AsksForAnAddressRegistersItAndListens) {
    courier->start();
    EXPECT_TRUE(transport->sent.empty());
    transport->run();
    EXPECT_TRUE(url().starts_with("https://cloud.example/device/1/iCloud.net.example.app/production/tokens/create?"));
    EXPECT_EQ(question(), Json::parse(R"({"apnsEnvironment":"production"})"));
    answerWithAddress();
    EXPECT_TRUE(url().starts_with("https://cloud.example/device/1/iCloud.net.example.app/production/tokens/register?"));
    EXPECT_EQ(question(), Json::parse(R"({"apnsEnvironment":"production","apnsToken":"a1b2"})"));
    EXPECT_EQ(news, 0);
    transport->answer(200, "");
    EXPECT_EQ(url(), address);
    EXPECT_FALSE(transport->sent.front().request.body);
    // What changed before the service knew of this device.
    EXPECT_EQ(news, 1);
    EXPECT_TRUE(failures.empty());
}

TEST_F(CourierTest, TheServiceIsToldWhichInstallationThisIs) {
    WebAccount mine = account();
    mine.clientID = "6F9619FF-8B86-4D01-B42D-00CF4FC964FF";
    const auto named = WebSession::open(mine, transport, tokens).value();
    Courier other(named, [] {});
    other.start();
    transport->run();
    EXPECT_EQ(question()["clientId"], mine.clientID);
    EXPECT_NE(url().find("&clientId=" + mine.clientID), std::string::npos);
    answerWithAddress();
    EXPECT_EQ(question()["clientId"], mine.clientID);
}

TEST_F(CourierTest, DevicesAreLookedForWhereDocumentsPlaceThemToo) {
    for (const auto& [status, answer] :
         {std::pair(404, ""), std::pair(405, ""), std::pair(404, R"({"serverErrorCode":"NOT_FOUND"})")}) {
        courier->start();
        transport->run();
        transport->answer(status, answer);
        EXPECT_TRUE(url().starts_with("https://cloud.example/database/1/iCloud.net.example.app/production/tokens/"));
        answerWithAddress();
        EXPECT_TRUE(
            url().starts_with("https://cloud.example/database/1/iCloud.net.example.app/production/tokens/register?"));
        transport->answer(200, "{}");
        EXPECT_EQ(url(), address);
        courier->stop();
        transport->run();
    }
    EXPECT_TRUE(failures.empty());
}

TEST_F(CourierTest, EachPieceOfNewsIsToldAndTheNextIsWaitedFor) {
    startListening();
    transport->answer(200, R"({"aps":{"content-available":1},"ck":{"ce":2,"cid":"iCloud.net.example.app","nid":"1",
        "fet":{"sid":"Errands-1","zid":"Errands","zoid":"_4c1e","dbs":2}}})");
    EXPECT_EQ(news, 1);
    EXPECT_EQ(url(), address);
    // The same one for another subscription.
    transport->answer(200, R"({"ck":{"nid":"1"}})");
    EXPECT_EQ(news, 2);
    EXPECT_EQ(transport->sent.size(), 1U);
}

TEST_F(CourierTest, AnswersWithoutNewsAreFollowedByAPause) {
    startListening();
    for (const char* answer : {"", " \r\n", "{}", R"({"aps":{}})"}) {
        transport->answer(200, answer);
        EXPECT_TRUE(transport->sent.empty()) << answer;
        transport->advanceBy(249ms);
        EXPECT_TRUE(transport->sent.empty());
        transport->advanceBy(1ms);
        EXPECT_EQ(url(), address);
    }
    EXPECT_EQ(news, 0);
}

TEST_F(CourierTest, ABreakIsFollowedByAnotherTryAndByNews) {
    startListening();
    transport->answer(makeCKError(CKErrorCode::networkFailure, "broken off"));
    ASSERT_EQ(failures.size(), 1U);
    EXPECT_EQ(failures[0].description, "the cloud's courier at courier.example:443: broken off");
    EXPECT_GE(transport->untilNext(), 500ms);
    transport->advanceBy(1s);
    EXPECT_EQ(url(), address);
    EXPECT_EQ(news, 0);
    transport->answer(200, "");
    EXPECT_EQ(news, 1);
    transport->advanceBy(1s);
    transport->answer(200, "");
    EXPECT_EQ(news, 1);
}

TEST_F(CourierTest, ACourierThatFailsAgainAndAgainIsReplaced) {
    startListening();
    for (int i = 0; i < 3; ++i) {
        EXPECT_EQ(url(), address);
        transport->answer(i == 1 ? Result<HttpResponse>(HttpResponse{502, {}, "<html>"})
                                 : makeCKError(CKErrorCode::networkFailure, "broken off"));
        transport->advanceBy(5s);
    }
    EXPECT_NE(url().find("/tokens/create?"), std::string::npos);
    EXPECT_EQ(failures.size(), 3U);
}

TEST_F(CourierTest, ACourierThatRefusesIsReplacedAtOnce) {
    startListening();
    transport->answer(410, "");
    transport->advanceBy(1s);
    EXPECT_NE(url().find("/tokens/create?"), std::string::npos);
    ASSERT_EQ(failures.size(), 1U);
    EXPECT_EQ(failures[0].description.find("secret"), std::string::npos);
}

TEST_F(CourierTest, OddAnswersAreFailures) {
    startListening();
    for (const char* answer : {"<html>", "[]", "7", "{"}) {
        failures.clear();
        transport->answer(200, answer);
        EXPECT_EQ(failures.size(), 1U) << answer;
        courier->stop();
        startListening();
    }
    EXPECT_EQ(news, 0);
}

TEST_F(CourierTest, TheAddressIsRenewedBeforeItsTwelveHoursAreOver) {
    startListening();
    for (int minutes = 0; minutes < 11 * 60; minutes += 5) {
        ASSERT_EQ(url(), address) << minutes;
        transport->answer(200, "");
        transport->advanceBy(5min);
    }
    EXPECT_NE(url().find("/tokens/create?"), std::string::npos);
    answerWithAddress("https://courier.example/other");
    transport->answer(200, "");
    EXPECT_EQ(url(), "https://courier.example/other");
    EXPECT_EQ(transport->sent.size(), 1U);
    EXPECT_EQ(news, 1);
}

TEST_F(CourierTest, SilenceIsNotTrustedForEver) {
    startListening();
    transport->advanceBy(10min);
    EXPECT_EQ(transport->sent.size(), 1U);
    EXPECT_TRUE(failures.empty());
    transport->answer(200, "");
    EXPECT_EQ(news, 1);
}

TEST_F(CourierTest, WhatCannotBeConnectedIsTriedAgainLaterAndLater) {
    courier->start();
    transport->run();
    for (const auto most : {1s, 2s, 4s, 8s, 16s, 32s, 64s, 128s, 256s, 300s, 300s}) {
        transport->answer(makeCKError(CKErrorCode::networkUnavailable, "no network"));
        EXPECT_TRUE(transport->sent.empty());
        EXPECT_GE(transport->untilNext(), most / 2);
        EXPECT_LE(transport->untilNext(), most);
        transport->advanceBy(most);
        ASSERT_NE(url().find("/tokens/create?"), std::string::npos);
    }
    EXPECT_EQ(failures.size(), 11U);
}

TEST_F(CourierTest, WhoIsNotSignedInIsNotAskedEverySecond) {
    courier->start();
    transport->run();
    transport->answer(421, R"({"serverErrorCode":"AUTHENTICATION_REQUIRED","redirectURL":"https://secret"})");
    EXPECT_GE(transport->untilNext(), 150s);
    ASSERT_EQ(failures.size(), 1U);
    expectCode(failures[0], CKErrorCode::notAuthenticated);
}

TEST_F(CourierTest, TheServiceSaysWhenToTryAgain) {
    courier->start();
    transport->run();
    transport->answer(429, R"({"serverErrorCode":"THROTTLED","retryAfter":600})");
    EXPECT_EQ(transport->untilNext(), 600s);
}

TEST_F(CourierTest, AddressesThatAreNoneAreRefused) {
    for (const char* answer :
         {"", "{}", "[]", R"({"apnsToken":"a"})", R"({"apnsToken":7,"webcourierURL":"https://c.example"})",
          R"({"apnsToken":"","webcourierURL":"https://c.example"})",
          R"({"apnsToken":"a","webcourierURL":"http://c.example"})",
          R"({"apnsToken":"a","webcourierURL":"file:///etc/passwd"})",
          R"({"apnsToken":"a","webcourierURL":"https:///x"})", R"({"serverErrorCode":"BAD_REQUEST"})"}) {
        failures.clear();
        courier->start();
        transport->run();
        transport->answer(200, answer);
        EXPECT_EQ(failures.size(), 1U) << answer;
        EXPECT_TRUE(transport->sent.empty());
        courier->stop();
    }
}

TEST_F(CourierTest, AfterStopNothingIsCalledUntilItStartsAgain) {
    startListening();
    courier->stop();
    EXPECT_TRUE(transport->sent.empty());
    transport->advanceBy(24h);
    EXPECT_TRUE(transport->sent.empty());
    EXPECT_EQ(news, 0);
    courier->stop();
    startListening();
    courier->start();
    transport->run();
    EXPECT_EQ(transport->sent.size(), 1U);
}

TEST_F(CourierTest, AnAnswerThatComesAfterStopIsNoNews) {
    courier->start();
    transport->run();
    courier->stop();
    // The session's request cannot be taken back: it carries the person's token.
    answerWithAddress();
    EXPECT_TRUE(transport->sent.empty());
    EXPECT_EQ(news, 0);
}

TEST_F(CourierTest, MayStopOrGoInItsOwnCall) {
    std::optional<Courier> mine;
    int calls = 0;
    mine.emplace(session, [&] {
        ++calls;
        if (calls == 2) {
            mine.reset();
        }
    });
    mine->start();
    transport->run();
    answerWithAddress();
    transport->answer(200, "");
    transport->answer(200, R"({"ck":{}})");
    EXPECT_FALSE(mine);
    EXPECT_TRUE(transport->sent.empty());
    EXPECT_EQ(calls, 2);
}

}  // namespace
}  // namespace quendokit::testing

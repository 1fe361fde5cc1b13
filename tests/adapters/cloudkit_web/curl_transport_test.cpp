/// \file
/// Requests on real sockets.

#include "adapters/cloudkit_web/curl_transport.hpp"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <future>
#include <latch>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "adapters/cloudkit_web/web_cloud_database.hpp"
#include "quendokit/platform/ck_error.hpp"
#include "tests/support/local_http_server.hpp"

namespace quendokit::testing {
namespace {

using namespace std::chrono_literals;

CurlTransportOptions plainHttp() {
    CurlTransportOptions options;
    options.allowsPlainHttp = true;
    return options;
}

/// What `transport` answers to `request`.
Result<HttpResponse> answerTo(HttpTransport& transport, HttpRequest request) {
    std::promise<Result<HttpResponse>> answer;
    transport.send(std::move(request), [&](Result<HttpResponse> result) { answer.set_value(std::move(result)); });
    return answer.get_future().get();
}

void expectCode(const Result<HttpResponse>& result, CKErrorCode code) {
    ASSERT_FALSE(result);
    EXPECT_TRUE(isCKError(result.error(), code)) << result.error().code << ": " << result.error().description;
    EXPECT_EQ(result.error().description.find("secret"), std::string::npos) << result.error().description;
}

/// Waits until everything that was posted before has run.
void waitFor(HttpTransport& transport) {
    std::promise<void> done;
    transport.post([&] { done.set_value(); });
    done.get_future().get();
}

TEST(CurlTransport, CarriesRequestsAndAnswers) {
    LocalHttpServer server([](const ReceivedRequest& request) {
        return httpAnswer(request.body.empty() ? 404 : 200, request.line + "|" + request.body,
                          "X-Token: a b \r\nX-APPLE-Twice: 1\r\nX-Apple-Twice: 2\r\n");
    });
    CurlTransport transport(plainHttp());
    const auto posted = answerTo(transport, {server.url() + "/op?a=%2B", "{\"a\":1}"});
    ASSERT_TRUE(posted) << posted.error().description;
    EXPECT_EQ(posted.value().status, 200);
    EXPECT_EQ(posted.value().body, "POST /op?a=%2B HTTP/1.1|{\"a\":1}");
    EXPECT_EQ(posted.value().headers.at("x-token"), "a b");
    EXPECT_EQ(posted.value().headers.at("x-apple-twice"), "2");
    const auto got = answerTo(transport, {server.url() + "/op"});
    ASSERT_TRUE(got);
    EXPECT_EQ(got.value().status, 404);
    EXPECT_EQ(got.value().body, "GET /op HTTP/1.1|");
}

TEST(CurlTransport, RedirectsAreAnsweredAndNotFollowed) {
    LocalHttpServer server(
        [](const ReceivedRequest&) { return httpAnswer(307, "", "Location: /elsewhere?ckWebAuthToken=secret\r\n"); });
    CurlTransport transport(plainHttp());
    const auto answer = answerTo(transport, {server.url() + "/op"});
    ASSERT_TRUE(answer);
    EXPECT_EQ(answer.value().status, 307);
    EXPECT_EQ(server.requestCount(), 1);
}

TEST(CurlTransport, AnswersThatAreTooLargeAreBrokenOff) {
    LocalHttpServer server([](const ReceivedRequest& request) {
        const bool isExact = request.line.find("exact") != std::string::npos;
        return httpAnswer(200, std::string(isExact ? 10'000 : 10'001, 'x'));
    });
    CurlTransport transport(plainHttp());
    HttpRequest request{server.url() + "/secret"};
    request.largestAnswer = 10'000;
    expectCode(answerTo(transport, request), CKErrorCode::internalError);
    request.url += "/exact";
    EXPECT_TRUE(answerTo(transport, request));
}

TEST(CurlTransport, AHundredMegabytesAreBrokenOffUnlessSomebodyWantsThem) {
    const std::string huge(100'000'000, ' ');
    LocalHttpServer server([&](const ReceivedRequest& request) {
        return request.line.find("endless") == std::string::npos ? httpAnswer(200, huge)
                                                                 : "HTTP/1.1 200 x\r\nConnection: close\r\n\r\n" + huge;
    });
    CurlTransport transport(plainHttp());
    for (const char* path : {"/secret", "/endless/secret"}) {
        const auto answer = answerTo(transport, {server.url() + path});
        expectCode(answer, CKErrorCode::internalError);
        EXPECT_EQ(answer.error().description, "the answer is larger than 32 MB");
    }
}

TEST(CurlTransport, WhatCountsIsTheSizeAfterDecompression) {
    // 20,000 blanks.
    const std::string bomb(
        "\x1F\x8B\x08\x00\x00\x00\x00\x00\x02\x03\xED\xC1\x31\x01\x00\x00\x00\xC2\xA0\x2A\xEB\x9F\xD2\x1A\x1E\x40\x01"
        "\x00\x00\x00\x00\x00\x00\x00\x00\x00\x00\x00\x00\x00\x00\x00\x00\x00\x00\xF0\x60\x28\xC4\x08\x85\x20\x4E\x00"
        "\x00",
        55);
    LocalHttpServer server([&](const ReceivedRequest&) { return httpAnswer(200, bomb, "Content-Encoding: gzip\r\n"); });
    CurlTransport transport(plainHttp());
    HttpRequest request{server.url() + "/secret"};
    request.largestAnswer = 19'999;
    expectCode(answerTo(transport, request), CKErrorCode::internalError);
    request.largestAnswer = 20'000;
    const auto answer = answerTo(transport, request);
    ASSERT_TRUE(answer);
    EXPECT_EQ(answer.value().body, std::string(20'000, ' '));
}

TEST(CurlTransport, HeadersThatAreTooLargeAreBrokenOff) {
    LocalHttpServer server([](const ReceivedRequest&) {
        std::string headers;
        for (int i = 0; i < 1'000; ++i) {
            headers += "X-" + std::to_string(i) + ": " + std::string(80, 'x') + "\r\n";
        }
        return httpAnswer(200, "{}", headers);
    });
    CurlTransport transport(plainHttp());
    expectCode(answerTo(transport, {server.url() + "/secret"}), CKErrorCode::internalError);
}

TEST(CurlTransport, AnAnswerThatBreaksOffIsANetworkFailure) {
    LocalHttpServer server([](const ReceivedRequest& request) {
        return request.line.find("half") == std::string::npos
                   ? std::string()
                   : std::string("HTTP/1.1 200 x\r\nContent-Length: 10\r\nConnection: close\r\n\r\n{");
    });
    CurlTransport transport(plainHttp());
    expectCode(answerTo(transport, {server.url() + "/secret", "{}"}), CKErrorCode::networkFailure);
    expectCode(answerTo(transport, {server.url() + "/half/secret"}), CKErrorCode::networkFailure);
}

TEST(CurlTransport, NobodyThereIsAnUnavailableNetwork) {
    std::string gone;
    {
        const LocalHttpServer server([](const ReceivedRequest&) { return std::string(); });
        gone = server.url();
    }
    CurlTransport transport(plainHttp());
    expectCode(answerTo(transport, {gone + "/secret"}), CKErrorCode::networkUnavailable);
}

TEST(CurlTransport, PlainHTTPIsSpokenOnlyWhenAllowed) {
    LocalHttpServer server([](const ReceivedRequest&) { return httpAnswer(200, "{}"); });
    CurlTransport transport;
    expectCode(answerTo(transport, {server.url() + "/secret"}), CKErrorCode::badContainer);
    for (const char* url : {"file:///secret", "ftp://127.0.0.1/secret", "http://secret@127.0.0.1/", "secret", ""}) {
        SCOPED_TRACE(url);
        expectCode(answerTo(transport, {url}), CKErrorCode::badContainer);
    }
    EXPECT_EQ(server.requestCount(), 0);
}

TEST(CurlTransport, WhatTakesTooLongIsANetworkFailure) {
    std::latch over(1);
    LocalHttpServer server([&](const ReceivedRequest&) {
        over.wait();
        return std::string();
    });
    CurlTransport transport(plainHttp());
    HttpRequest request{server.url() + "/secret"};
    request.timeout = 150ms;
    const auto start = std::chrono::steady_clock::now();
    expectCode(answerTo(transport, request), CKErrorCode::networkFailure);
    const auto took = std::chrono::steady_clock::now() - start;
    EXPECT_GE(took, 140ms);
    EXPECT_LT(took, 10s);
    over.count_down();
}

TEST(CurlTransport, ACancelledRequestIsNotAnsweredAndHoldsNobodyUp) {
    std::latch over(1);
    LocalHttpServer server([&](const ReceivedRequest& request) {
        if (request.line.find("slow") != std::string::npos) {
            over.wait();
        }
        return httpAnswer(200, "{}");
    });
    CurlTransport transport(plainHttp());
    std::atomic<bool> isCalled = false;
    const auto slow = transport.send({server.url() + "/slow"}, [&](const auto&) { isCalled = true; });
    const auto never = transport.runAfter(1h, [&] { isCalled = true; });
    EXPECT_TRUE(answerTo(transport, {server.url() + "/other"}));
    transport.cancel(slow);
    transport.cancel(never);
    over.count_down();
    EXPECT_TRUE(answerTo(transport, {server.url() + "/other"}));
    waitFor(transport);
    EXPECT_FALSE(isCalled);
}

TEST(CurlTransport, TasksRunInTheOrderInWhichTheyWerePosted) {
    CurlTransport transport;
    std::vector<int> ran;
    for (int i = 0; i < 100; ++i) {
        transport.post([&, i] { ran.push_back(i); });
    }
    waitFor(transport);
    ASSERT_EQ(ran.size(), 100U);
    EXPECT_TRUE(std::is_sorted(ran.begin(), ran.end()));
}

TEST(CurlTransport, TimedTasksRunWhenTheirTimeHasCome) {
    CurlTransport transport;
    std::vector<int> ran;
    std::promise<void> done;
    const auto start = std::chrono::steady_clock::now();
    transport.runAfter(120ms, [&] { done.set_value(); });
    transport.runAfter(60ms, [&] { ran.push_back(60); });
    transport.runAfter(0ms, [&] { ran.push_back(0); });
    done.get_future().get();
    EXPECT_GE(std::chrono::steady_clock::now() - start, 120ms);
    EXPECT_EQ(ran, (std::vector<int>{0, 60}));
}

TEST(CurlTransport, NothingIsCalledAfterStop) {
    std::latch over(1);
    LocalHttpServer server([&](const ReceivedRequest&) {
        over.wait();
        return httpAnswer(200, "{}");
    });
    const auto held = std::make_shared<int>(0);
    std::atomic<int> calls = 0;
    CurlTransport transport(plainHttp());
    transport.send({server.url() + "/hangs"}, [&, held](const auto&) { ++calls; });
    transport.runAfter(1h, [&, held] { ++calls; });
    waitFor(transport);
    transport.stop();
    EXPECT_EQ(held.use_count(), 1);
    transport.stop();
    over.count_down();
    transport.post([&] { ++calls; });
    transport.send({server.url()}, [&](const auto&) { ++calls; });
    transport.runAfter(0ms, [&] { ++calls; });
    EXPECT_EQ(calls, 0);
}

TEST(CurlTransport, MayGoInItsLastCall) {
    LocalHttpServer server([](const ReceivedRequest&) { return httpAnswer(200, "{}"); });
    auto transport = std::make_shared<CurlTransport>(plainHttp());
    std::promise<void> done;
    HttpTransport& sender = *transport;
    sender.send({server.url()}, [keep = std::move(transport), &done](const auto&) mutable {
        keep.reset();
        done.set_value();
    });
    done.get_future().get();
}

class MemoryToken final : public WebTokenStore {
public:
    [[nodiscard]] std::optional<std::string> webToken() const override {
        const std::lock_guard lock(mutex_);
        return token_;
    }
    void keep(const std::string& token) override {
        const std::lock_guard lock(mutex_);
        token_ = token;
    }

private:
    mutable std::mutex mutex_;
    std::string token_ = "0";
};

TEST(CurlTransport, ADatabaseServesSeveralThreadsWithOneTokenAfterTheOther) {
    std::atomic<int> lastToken = 0;
    std::atomic<int> stale = 0;
    LocalHttpServer server([&](const ReceivedRequest& request) {
        const std::string expected = "ckWebAuthToken=" + std::to_string(lastToken) + " ";
        stale += request.line.find(expected) == std::string::npos ? 1 : 0;
        return httpAnswer(200, R"({"zones":[{"zoneID":{"zoneName":"Errands"}}]})",
                          "X-Apple-CloudKit-Web-Auth-Token: " + std::to_string(++lastToken) + "\r\n");
    });
    const auto transport = std::make_shared<CurlTransport>(plainHttp());
    WebAccount account;
    account.url = server.url();
    account.container = "iCloud.net.example.app";
    account.apiToken = "api";
    const auto session = WebSession::open(account, transport, std::make_shared<MemoryToken>());
    ASSERT_TRUE(session);
    constexpr int threads = 4;
    constexpr int each = 25;
    std::latch answered(threads * each);
    {
        WebCloudDatabase database(session.value());
        std::vector<std::thread> adders;
        for (int i = 0; i < threads; ++i) {
            adders.emplace_back([&] {
                for (int k = 0; k < each; ++k) {
                    auto operation =
                        std::make_shared<CKFetchRecordZonesOperation>(std::vector{CKRecordZoneID{"Errands"}});
                    operation->fetchRecordZonesCompletion = [&](const auto& zones, const auto& error) {
                        EXPECT_TRUE(zones && zones->size() == 1 && !error);
                        answered.count_down();
                    };
                    database.add(std::move(operation));
                }
            });
        }
        for (std::thread& adder : adders) {
            adder.join();
        }
    }
    answered.wait();
    transport->stop();
    EXPECT_EQ(stale, 0);
    EXPECT_EQ(lastToken, threads * each);
}

}  // namespace
}  // namespace quendokit::testing

/// \file
/// A courier on real sockets, stopped from another thread.

#include <atomic>
#include <latch>
#include <memory>
#include <optional>
#include <string>

#include <gtest/gtest.h>

#include "adapters/cloudkit_web/courier.hpp"
#include "adapters/cloudkit_web/curl_transport.hpp"
#include "testing/in_memory_user_defaults.hpp"
#include "tests/support/local_http_server.hpp"

namespace quendokit::testing {
namespace {

TEST(CourierThreads, StopReturnsWhenNothingIsCalledAnyMore) {
    std::string url;
    LocalHttpServer server([&](const ReceivedRequest& request) {
        if (request.line.find("tokens/create") != std::string::npos) {
            return httpAnswer(200, R"({"apnsToken":"a","webcourierURL":")" + url + R"(/courier"})");
        }
        return httpAnswer(200, request.line.find("/courier ") != std::string::npos ? R"({"ck":{}})" : "");
    });
    url = server.url();
    CurlTransportOptions options;
    options.allowsPlainHttp = true;
    const auto transport = std::make_shared<CurlTransport>(options);
    WebAccount account;
    account.url = url;
    account.container = "iCloud.net.example.app";
    account.apiToken = "api";
    const auto session = WebSession::open(
        account, transport, std::make_shared<SettingsWebTokenStore>(std::make_shared<InMemoryUserDefaults>()));
    ASSERT_TRUE(session);
    for (int round = 0; round < 20; ++round) {
        const auto heard = std::make_shared<std::latch>(5);
        std::atomic<bool> isOver = false;
        std::atomic<int> late = 0;
        int calls = 0;
        Courier courier(session.value(), [&, heard] {
            late += isOver ? 1 : 0;
            if (++calls <= 5) {
                heard->count_down();
            }
        });
        courier.start();
        heard->wait();
        courier.stop();
        isOver = true;
        const int callsAtStop = calls;
        // Behind everything that was on its way.
        std::latch passed(1);
        transport->post([&] { passed.count_down(); });
        passed.wait();
        EXPECT_EQ(late, 0);
        EXPECT_EQ(calls, callsAtStop);
    }
    transport->stop();
}

}  // namespace
}  // namespace quendokit::testing

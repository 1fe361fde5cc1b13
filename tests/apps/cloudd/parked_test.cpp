/// \file
/// Many clients at a time: parked ones, slow ones, idle ones, and one that is served all the same.

#include <algorithm>

#include <sys/resource.h>

#include "tests/apps/cloudd/live_server.hpp"

namespace cloudd::testing {
namespace {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

/// Loopback addresses enough for the limit of each.
std::uint32_t addressOf(std::size_t number) {
    return static_cast<std::uint32_t>(0x7F010001 + number / 50);
}

class ServerCrowd : public LiveServer {
protected:
    explicit ServerCrowd(Patience patience = {}, std::chrono::milliseconds parkTime = Dispatcher::usualParkTime)
        : LiveServer(patience, parkTime) {
        rlimit files{};
        getrlimit(RLIMIT_NOFILE, &files);
        files.rlim_cur = std::min<rlim_t>(files.rlim_max, 8'192);
        setrlimit(RLIMIT_NOFILE, &files);
    }

    json post(const std::string& operation, const json& body) {
        const RawAnswer answer = send(postRequest(client_.target(operation), body.dump()), 0x7F00FF02);
        EXPECT_EQ(answer.status, 200) << answer.body;
        return json::parse(answer.body);
    }
    void subscribe() {
        post("zones/modify",
             {{"operations",
               json::array({{{"operationType", "create"}, {"zone", {{"zoneID", {{"zoneName", "Errands"}}}}}}})}});
        post("subscriptions/modify", {{"operations", json::array({{{"operationType", "create"},
                                                                   {"subscription",
                                                                    {{"subscriptionType", "zone"},
                                                                     {"subscriptionID", "S"},
                                                                     {"zoneID", {{"zoneName", "Errands"}}}}}}})}});
    }
    void change(const std::string& note) {
        post(
            "records/modify",
            {{"zoneID", {{"zoneName", "Errands"}}},
             {"operations",
              json::array(
                  {{{"operationType", "forceUpdate"},
                    {"record",
                     {{"recordName", "A1"}, {"recordType", "Errand"}, {"fields", {{"note", {{"value", note}}}}}}}}})}});
    }
    /// Registered push tokens of other devices of the user, made past the network.
    std::vector<std::string> pushTokens(std::size_t count) {
        auto accounts = Accounts::open(data_);
        const std::string user = *accounts.value().userId("anna").value();
        CourierTokens couriers(accounts.value());
        const auto now = static_cast<std::int64_t>(clock_.now().timeIntervalSince1970());
        const Scope scope{client_.container, client_.environment};
        std::vector<std::string> tokens;
        for (std::size_t i = 0; i < count; ++i) {
            if (i % 16 == 0) {
                const DeviceTokens made = addDevice(data_, "anna", "device " + std::to_string(i));
                device_ = accounts.value().signIn(made.web, now).value()->device;
            }
            tokens.push_back(std::move(couriers.create(device_, scope, "", now)).value());
            EXPECT_TRUE(couriers.registerToken(device_, tokens.back(), "", now).value());
        }
        return tokens;
    }

private:
    Device device_;
};

class ServerParking : public ServerCrowd {};

TEST_F(ServerParking, AThousandParkedClientsAndSlowOnesKeepNobodyWaitingAndAllHearOfAChange) {
    subscribe();
    const std::vector<std::string> tokens = pushTokens(1'000);
    std::vector<RawClient> parked;
    for (std::size_t i = 0; i < tokens.size(); ++i) {
        parked.push_back(connect(addressOf(i)));
        ASSERT_TRUE(parked.back().isConnected());
        ASSERT_TRUE(parked.back().send(getRequest("/courier?tok=" + tokens[i])));
    }
    std::vector<RawClient> slow;
    for (int i = 0; i < 10; ++i) {
        slow.push_back(connect(0x7F020001));
        slow.back().send("GET /sign-in HTTP/1.1\r\nHo");
    }
    std::vector<Clock::duration> times;
    for (int i = 0; i < 100; ++i) {
        const auto start = Clock::now();
        expectService(0x7F00FF01);
        times.push_back(Clock::now() - start);
    }
    std::sort(times.begin(), times.end());
    EXPECT_LT(times[98], 250ms);

    change("milk");
    std::size_t told = 0;
    for (RawClient& client : parked) {
        const RawAnswer answer = client.receive();
        told += answer.status == 200 && answer.body.find("\"fet\"") != std::string::npos ? 1 : 0;
    }
    EXPECT_EQ(told, parked.size());
}

TEST_F(ServerParking, OneMoreThanAThousandIsAskedToComeBack) {
    const std::vector<std::string> tokens = pushTokens(1'001);
    std::vector<RawClient> parked;
    for (std::size_t i = 0; i < 1'000; ++i) {
        parked.push_back(connect(addressOf(i)));
        parked.back().send(getRequest("/courier?tok=" + tokens[i]));
    }
    // All of them have been read once this one, behind them, is answered.
    expectService();
    RawAnswer answer;
    for (int i = 0; i < 100 && answer.status == 0; ++i) {
        answer = send(getRequest("/courier?tok=" + tokens.back()), 0x7F00FF03);
    }
    EXPECT_EQ(answer.status, 503);
    EXPECT_EQ(json::parse(answer.body).at("retryAfter"), 5.0);
}

TEST_F(ServerParking, EndingAnswersParkedClientsFirst) {
    const std::vector<std::string> tokens = pushTokens(20);
    std::vector<RawClient> parked;
    for (std::size_t i = 0; i < tokens.size(); ++i) {
        parked.push_back(connect());
        parked.back().send(getRequest("/courier?tok=" + tokens[i]));
    }
    expectService();
    std::this_thread::sleep_for(200ms);
    const auto start = Clock::now();
    server_->stop();
    EXPECT_LT(Clock::now() - start, 5s);
    for (RawClient& client : parked) {
        const RawAnswer answer = client.receive();
        EXPECT_EQ(answer.status, 200);
        EXPECT_EQ(answer.body, "");
    }
}

TEST_F(ServerParking, AClientThatAsksAgainGivesUpItsFirstRequest) {
    subscribe();
    const std::string token = pushTokens(1).front();
    RawClient first = connect();
    first.send(getRequest("/courier?tok=" + token));
    std::this_thread::sleep_for(100ms);
    RawClient second = connect();
    second.send(getRequest("/courier?tok=" + token));
    EXPECT_EQ(first.receive().body, "");
    change("milk");
    EXPECT_NE(second.receive().body, "");
}

class ServerShortParking : public ServerCrowd {
protected:
    ServerShortParking() : ServerCrowd({}, 300ms) {}
};

TEST_F(ServerShortParking, WhoWaitsInVainGetsAnEmptyAnswerInTime) {
    const std::string token = pushTokens(1).front();
    const auto start = Clock::now();
    const RawAnswer answer = send(getRequest("/courier?tok=" + token));
    const auto waited = Clock::now() - start;
    EXPECT_EQ(answer.status, 200);
    EXPECT_EQ(answer.body, "");
    EXPECT_GE(waited, 300ms);
    EXPECT_LT(waited, 10s);
}

class ServerPatience : public ServerCrowd {
protected:
    ServerPatience()
        : ServerCrowd({.header = 500ms, .body = 1'500ms, .answer = 10s, .idle = 700ms, .bodyRate = 1'000}) {}

    /// How long the server bears with a client that sends `start`, then a byte every 20 ms.
    Clock::duration borne(const std::string& start) {
        RawClient client = connect();
        client.send(start);
        const auto begin = Clock::now();
        while (Clock::now() - begin < 20s && client.send("x")) {
            std::this_thread::sleep_for(20ms);
        }
        return Clock::now() - begin;
    }
};

TEST_F(ServerPatience, AByteNowAndThenBuysNoTime) {
    const auto header = borne("GET /sign-in HTTP/1.1\r\nHost: localhost\r\nX: ");
    EXPECT_GE(header, 450ms);
    EXPECT_LT(header, 10s);
    const auto body = borne("POST " + client_.target("zones/modify") +
                            " HTTP/1.1\r\nHost: localhost\r\nContent-Length: 100000\r\n\r\n");
    EXPECT_GE(body, 1'400ms);
    EXPECT_LT(body, 15s);
    expectService();
}

TEST_F(ServerPatience, AConnectionWithoutRequestsIsClosedInTheEnd) {
    RawClient silent = connect();
    const auto start = Clock::now();
    EXPECT_TRUE(silent.isClosed());
    EXPECT_GE(Clock::now() - start, 450ms);
    RawClient idle = connect();
    idle.send(getRequest("/sign-in"));
    EXPECT_EQ(idle.receive().status, 200);
    const auto answered = Clock::now();
    EXPECT_TRUE(idle.isClosed());
    EXPECT_GE(Clock::now() - answered, 600ms);
}

TEST_F(ServerPatience, TenThousandIdleSocketsGiveWayToAGoodClient) {
    // The server's ends of those that it has not closed yet, and the files of this program, need room, too.
    constexpr std::size_t wanted = 10'000;
    rlimit files{};
    getrlimit(RLIMIT_NOFILE, &files);
    if (files.rlim_max < wanted + 2 * mostConnections) {
        GTEST_SKIP() << "this system lets a program open " << files.rlim_max << " files only";
    }
    files.rlim_cur = files.rlim_max;
    setrlimit(RLIMIT_NOFILE, &files);
    std::vector<RawClient> idle;
    for (std::size_t i = 0; i < wanted; ++i) {
        idle.push_back(connect(addressOf(i)));
        ASSERT_TRUE(idle.back().isConnected()) << i;
    }
    std::vector<Clock::duration> times;
    for (int i = 0; i < 10; ++i) {
        const auto start = Clock::now();
        EXPECT_EQ(send(getRequest(client_.target("zones/list")), 0x7F00FF01).status, 200);
        times.push_back(Clock::now() - start);
    }
    // Who comes right behind them waits for as long as the server bears with them, and nobody else does.
    EXPECT_LT(*std::max_element(times.begin(), times.end()), 10s);
    EXPECT_LT(times.back(), 250ms);
}

}  // namespace
}  // namespace cloudd::testing

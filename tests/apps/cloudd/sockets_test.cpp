/// \file
/// Raw bytes against the server's socket: each is answered once or cut off, and the next client is served.

#include "tests/apps/cloudd/live_server.hpp"

namespace cloudd::testing {
namespace {

class ServerSockets : public LiveServer {
protected:
    std::string target() const { return client_.target("zones/list"); }
    std::string modifyTarget() const { return client_.target("zones/modify"); }

    static std::size_t answersIn(const std::string& bytes) {
        std::size_t count = 0;
        for (std::size_t at = bytes.find("HTTP/1.1 "); at != std::string::npos; at = bytes.find("HTTP/1.1 ", at + 1)) {
            ++count;
        }
        return count;
    }

    /// The bytes get one answer with that status, and the connection ends.
    void expectOneRefusal(const std::string& bytes, int status) {
        RawClient client = connect();
        client.send(bytes);
        client.finishSending();
        const std::string all = client.receiveAll();
        EXPECT_EQ(answersIn(all), 1U) << bytes.substr(0, 100) << "\n" << all;
        EXPECT_EQ(all.substr(0, 12), "HTTP/1.1 " + std::to_string(status)) << bytes.substr(0, 100);
        expectService();
    }
};

TEST_F(ServerSockets, AGoodRequestIsAnsweredAndTheConnectionMayBeUsedAgain) {
    RawClient client = connect();
    for (int i = 0; i < 3; ++i) {
        ASSERT_TRUE(client.send(getRequest(target())));
        const RawAnswer answer = client.receive();
        EXPECT_EQ(answer.status, 200);
        EXPECT_EQ(RawClient::headerOf(answer, "Content-Type"), "application/json; charset=UTF-8");
        EXPECT_EQ(RawClient::headerOf(answer, "Cache-Control"), "no-store");
        EXPECT_EQ(RawClient::headerOf(answer, "X-Apple-CloudKit-Web-Auth-Token").size(), 64U);
        EXPECT_TRUE(json::parse(answer.body).contains("zones"));
    }
}

TEST_F(ServerSockets, LinesThatAreNoRequestAreRefusedOrCutOff) {
    for (const std::string line : {"GARBAGE", "GET", "GET /", " / HTTP/1.1", "GET / HTTP/9.9", "GET / FTP/1.1",
                                   "GET / HTTP/1.1.1", "\x16\x03\x01\x02", "PRI * HTTP/2.0"}) {
        RawClient client = connect();
        client.send(line + "\r\nHost: localhost\r\n\r\n");
        client.finishSending();
        const std::string all = client.receiveAll();
        EXPECT_LE(answersIn(all), 1U) << line;
        EXPECT_EQ(all.find("HTTP/1.1 200"), std::string::npos) << line;
    }
    expectService();
}

TEST_F(ServerSockets, HeadersThatAreTooLargeAreRefused) {
    expectOneRefusal("GET /sign-in HTTP/1.1\r\nHost: localhost\r\nX: " + std::string(65'536, 'x') + "\r\n\r\n", 431);
    expectOneRefusal("GET /sign-in HTTP/1.1\r\nHost: localhost\r\nX: " + std::string(17'000, 'x') + "\r\n\r\n", 431);
    std::string many = "GET /sign-in HTTP/1.1\r\nHost: localhost\r\n";
    for (int i = 0; i < 1'000; ++i) {
        many += "X" + std::to_string(i) + ": y\r\n";
    }
    expectOneRefusal(many + "\r\n", 431);
    EXPECT_EQ(send("GET /sign-in HTTP/1.1\r\nHost: localhost\r\nX: " + std::string(15'000, 'x') + "\r\n\r\n").status,
              200);
    RawClient client = connect();
    client.send("GET /" + std::string(70'000, 'x') + " HTTP/1.1\r\nHost: localhost\r\n\r\n");
    client.finishSending();
    EXPECT_EQ(client.receiveAll().find("HTTP/1.1 200"), std::string::npos);
    expectService();
}

TEST_F(ServerSockets, NoSecondRequestCanBeHiddenInABody) {
    const std::string hidden = getRequest(target());
    const std::string start = "POST " + modifyTarget() + " HTTP/1.1\r\nHost: localhost\r\n";
    const std::string length = "Content-Length: " + std::to_string(5 + hidden.size()) + "\r\n";
    const std::string chunked = "Transfer-Encoding: chunked\r\n";
    for (const std::string& framing :
         {length + chunked, chunked + length, length + length, "Content-Length: 5\r\n" + length, chunked + chunked,
          std::string("Transfer-Encoding: gzip, chunked\r\n"), std::string("Transfer-Encoding: identity\r\n"),
          "Transfer-Encoding: xchunked\r\n" + length}) {
        expectOneRefusal(start + framing + "\r\n0\r\n\r\n" + hidden, 400);
    }
}

TEST_F(ServerSockets, LengthsThatAreNoneAreRefused) {
    const std::string start = "POST " + modifyTarget() + " HTTP/1.1\r\nHost: localhost\r\nContent-Length: ";
    for (const std::string length : {"-1", "0x10", "5 5", "1e3", "", "99999999999999999999999999", "+5"}) {
        RawClient client = connect();
        client.send(start + length + "\r\n\r\n{}");
        client.finishSending();
        const std::string all = client.receiveAll();
        EXPECT_EQ(all.find("HTTP/1.1 200"), std::string::npos) << length;
        EXPECT_TRUE(all.empty() || all.starts_with("HTTP/1.1 400") || all.starts_with("HTTP/1.1 413")) << length << "\n"
                                                                                                       << all;
    }
    expectService();
}

TEST_F(ServerSockets, ChunksThatAreNoneEndTheConnection) {
    const std::string start =
        "POST " + modifyTarget() + " HTTP/1.1\r\nHost: localhost\r\nTransfer-Encoding: chunked\r\n\r\n";
    for (const std::string chunk : {"FFFFFFFFFFFFFFFFFF\r\nx", "-5\r\nhello\r\n", "zz\r\n", "5\r\nhelloXX0\r\n\r\n"}) {
        RawClient client = connect();
        client.send(start + chunk);
        client.finishSending();
        const std::string all = client.receiveAll();
        EXPECT_EQ(all.find("HTTP/1.1 200"), std::string::npos) << chunk;
        EXPECT_LE(answersIn(all), 1U) << chunk;
    }
    RawClient good = connect();
    good.send(start + "10\r\n{\"operations\":[]\r\n1\r\n}\r\n0\r\n\r\n");
    EXPECT_EQ(good.receive().status, 200);
}

TEST_F(ServerSockets, ABodyMayHaveTwoMegabytesAndNotOneByteMore) {
    const std::string full = "{\"x\":\"" + std::string(mostBodyBytes - 8, 'x') + "\"}";
    ASSERT_EQ(full.size(), mostBodyBytes);
    EXPECT_EQ(send(postRequest(client_.target("changes/database"), full)).status, 200);

    // The announcement is enough: not a byte of the body is waited for.
    RawClient announced = connect();
    announced.send("POST " + modifyTarget() +
                   " HTTP/1.1\r\nHost: localhost\r\nContent-Length: " + std::to_string(mostBodyBytes + 1) + "\r\n\r\n");
    EXPECT_EQ(announced.receive().status, 413);
    EXPECT_TRUE(announced.isClosed());

    RawClient chunked = connect();
    chunked.send("POST " + modifyTarget() + " HTTP/1.1\r\nHost: localhost\r\nTransfer-Encoding: chunked\r\n\r\n");
    chunked.send("200001\r\n" + std::string(mostBodyBytes + 1, 'x') + "\r\n0\r\n\r\n");
    EXPECT_EQ(chunked.receive().status, 413);

    RawClient endless = connect();
    endless.send("POST " + modifyTarget() + " HTTP/1.1\r\nHost: localhost\r\nTransfer-Encoding: chunked\r\n\r\n");
    std::size_t sent = 0;
    while (sent < 100 * mostBodyBytes && endless.send("10000\r\n" + std::string(65'536, 'x') + "\r\n")) {
        sent += 65'536;
    }
    EXPECT_LT(sent, 10 * mostBodyBytes);
    expectService();
}

TEST_F(ServerSockets, AClientMayLeaveAtAnyByte) {
    const std::string request = postRequest(
        modifyTarget(), R"({"operations":[{"operationType":"create","zone":{"zoneID":{"zoneName":"Errands"}}}]})");
    for (std::size_t size = 0; size < request.size(); ++size) {
        RawClient client = connect();
        client.send(request.substr(0, size));
    }
    // From elsewhere: the server may still count connections that were closed a moment ago.
    const RawAnswer zones = send(getRequest(target()), 0x7F000B01);
    ASSERT_EQ(zones.status, 200);
    EXPECT_EQ(json::parse(zones.body).at("zones").size(), 1U) << "half a request does nothing";
    EXPECT_EQ(send(request, 0x7F000B01).status, 200);
}

TEST_F(ServerSockets, RequestsSentTogetherAreAnsweredInTheirOrder) {
    RawClient client = connect();
    client.send(getRequest("/sign-in") + getRequest("/nothing") +
                postRequest(client_.target("changes/database"), "{}") + getRequest("/sign-in"));
    EXPECT_EQ(client.receive().status, 200);
    EXPECT_EQ(client.receive().status, 404);
    EXPECT_EQ(client.receive().status, 200);
    EXPECT_EQ(client.receive().status, 200);
}

TEST_F(ServerSockets, StrangeTargetsAreRefusedAsTheyStand) {
    for (const std::string strange : {"/%2e%2e/sign-in", "/../sign-in", "/sign-in%00", "http://localhost/sign-in",
                                      "/database/1/%2e%2e%2f%2e%2e/e/private/zones/list", "//sign-in"}) {
        EXPECT_EQ(send(getRequest(strange)).status, 400) << strange;
    }
    EXPECT_EQ(send("BREW " + target() + " HTTP/1.1\r\nHost: localhost\r\n\r\n").status, 405);
}

TEST_F(ServerSockets, WithoutAHostOrWithTwoARequestIsRefused) {
    expectOneRefusal("GET /sign-in HTTP/1.1\r\nHost: a\r\nHost: b\r\n\r\n", 400);
    for (const std::string request : {"GET /sign-in HTTP/1.1\r\n\r\n", "GET /sign-in HTTP/1.1\r\nHost : a\r\n\r\n",
                                      "GET /sign-in HTTP/1.1\r\nHost: a\r\nContent-Length : 5\r\n\r\nhello",
                                      "GET /sign-in HTTP/1.1\r\nHost: a\r\nX\x01: b\r\n\r\n"}) {
        RawClient client = connect();
        client.send(request);
        client.finishSending();
        const std::string all = client.receiveAll();
        EXPECT_EQ(all.find("HTTP/1.1 200"), std::string::npos) << request << all;
    }
    expectService();
}

TEST_F(ServerSockets, TheCourierUrlNamesTheServerAsTheClientKnowsIt) {
    const std::string body = R"({"apnsEnvironment":"production"})";
    const auto url = [&](const std::string& host, const std::string& more = "") {
        const RawAnswer answer =
            send("POST " + client_.target("tokens/create") + " HTTP/1.1\r\nHost: " + host + "\r\n" + more +
                 "Content-Length: " + std::to_string(body.size()) + "\r\n\r\n" + body);
        EXPECT_EQ(answer.status, 200);
        const std::string found = json::parse(answer.body).at("webcourierURL").get<std::string>();
        return found.substr(0, found.find("/courier"));
    };
    EXPECT_EQ(url("cloud.example:8420"), "http://cloud.example:8420");
    EXPECT_EQ(url("[::1]:8420"), "http://[::1]:8420");
    EXPECT_EQ(url("evil\"/?#"), "http://127.0.0.1:" + std::to_string(server_->port()));
    EXPECT_EQ(url("cloud.example", "X-Forwarded-Proto: https\r\n"), "https://cloud.example");
}

TEST_F(ServerSockets, AnAddressHasSixtyFourConnectionsAndOthersHaveTheirs) {
    std::vector<RawClient> clients;
    for (int i = 0; i < 64; ++i) {
        clients.push_back(connect(0x7F000A01));
        clients.back().send("GET /sign-in HTTP/1.1\r\n");
    }
    RawClient another = connect(0x7F000A01);
    another.send(getRequest("/sign-in"));
    EXPECT_EQ(another.receive().status, 0);
    EXPECT_EQ(send(getRequest("/sign-in"), 0x7F000A02).status, 200);
    clients.front().send("Host: localhost\r\n\r\n");
    EXPECT_EQ(clients.front().receive().status, 200);
}

}  // namespace
}  // namespace cloudd::testing

#pragma once
/// \file
/// A server in this process, on a port of loopback.

#include <atomic>
#include <filesystem>
#include <memory>
#include <thread>

#include <gtest/gtest.h>

#include "adapters/event_loop/system_clock.hpp"
#include "apps/quendo-cloudd/dispatcher.hpp"
#include "apps/quendo-cloudd/http_server.hpp"
#include "tests/apps/cloudd/raw_client.hpp"
#include "tests/apps/cloudd/server_fixture.hpp"

namespace cloudd::testing {

class LiveServer : public ::testing::Test {
protected:
    explicit LiveServer(Patience patience = {}, std::chrono::milliseconds parkTime = Dispatcher::usualParkTime) {
        const DeviceTokens tokens = addUser(data_, "anna");
        client_ = {tokens.api, tokens.web};
        auto handler = RequestHandler::open(data_, clock_, [](const std::string&) {});
        handler_ = std::move(handler).value();
        dispatcher_ = std::make_unique<Dispatcher>(*handler_, parkTime);
        auto server =
            HttpServer::start(std::move(ListenSocket::open("127.0.0.1:0")).value(), {}, *dispatcher_, patience);
        server_ = std::move(server).value();
        watch_ = std::thread([this] {
            while (!ending_) {
                server_->endLateConnections();
                std::this_thread::sleep_for(std::chrono::milliseconds(10));
            }
        });
    }
    ~LiveServer() override {
        ending_ = true;
        watch_.join();
        server_->stop();
    }

    [[nodiscard]] RawClient connect(std::uint32_t from = 0x7F000001) const { return RawClient(server_->port(), from); }

    /// One request on a connection of its own.
    RawAnswer send(const std::string& bytes, std::uint32_t from = 0x7F000001) const {
        RawClient client = connect(from);
        client.send(bytes);
        return client.receive();
    }

    /// The server still does what it is for.
    void expectService(std::uint32_t from = 0x7F00FF01) const {
        EXPECT_EQ(send(getRequest(client_.target("zones/list")), from).status, 200);
    }

    quendokit::testing::TemporaryFolder folder_;
    const std::filesystem::path data_ = folder_.path() / "data";
    const quendokit::SystemClock clock_;
    Client client_;
    std::unique_ptr<RequestHandler> handler_;
    std::unique_ptr<Dispatcher> dispatcher_;
    std::unique_ptr<HttpServer> server_;

private:
    std::atomic<bool> ending_ = false;
    std::thread watch_;
};

}  // namespace cloudd::testing

#pragma once
/// \file
/// The server's request handler over a data folder of its own, with a clock that the test moves.

#include <filesystem>
#include <memory>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "apps/quendo-cloudd/data_folder.hpp"
#include "apps/quendo-cloudd/request_handler.hpp"
#include "testing/manual_clock.hpp"
#include "tests/support/temporary_folder.hpp"

namespace cloudd::testing {

using nlohmann::json;

/// A program on somebody's device: it shows the tokens that it has and keeps the one that comes with each answer.
struct Client {
    std::string api;
    std::string web;
    /// What it calls itself; it does not when empty.
    std::string id = {};
    std::string container = "iCloud.com.example.errands";
    std::string environment = "production";

    [[nodiscard]] std::string path(std::string_view operation) const {
        const bool isPush = operation.starts_with("tokens/");
        return (isPush ? "/device/1/" : "/database/1/") + container + "/" + environment + (isPush ? "/" : "/private/") +
               std::string(operation);
    }
    [[nodiscard]] std::string target(std::string_view operation) const {
        return path(operation) + "?ckAPIToken=" + api + "&ckWebAuthToken=" + web +
               (id.empty() ? "" : "&clientId=" + id);
    }
};

/// A new user's tokens, made as the command does.
inline DeviceTokens addUser(const std::filesystem::path& folder, const std::string& name) {
    EXPECT_FALSE(prepareDataFolder(folder, IfAbsent::make));
    auto accounts = Accounts::open(folder);
    const std::string id = randomHex(16);
    EXPECT_FALSE(UserStore::create(userFile(folder, id)));
    auto tokens = accounts.value().addUser(name, id);
    return *tokens.value();
}

inline DeviceTokens addDevice(const std::filesystem::path& folder, const std::string& name, const std::string& device) {
    auto accounts = Accounts::open(folder);
    auto id = accounts.value().userId(name);
    auto tokens = accounts.value().addDevice(*id.value(), device);
    return *tokens.value();
}

class Server : public ::testing::Test {
protected:
    Server() {
        const DeviceTokens tokens = addUser(data_, "anna");
        client_ = {tokens.api, tokens.web};
        start();
    }

    /// Also stands for a restart.
    void start(const char* fileSystem = defaultFileSystem) {
        handler_.reset();
        auto handler =
            RequestHandler::open(data_, clock_, [this](const std::string& line) { log_.push_back(line); }, fileSystem);
        ASSERT_TRUE(handler) << handler.error().description;
        handler_ = std::move(handler).value();
    }

    /// What a request is answered; it must not be parked. Each comes a second after the one before.
    Answer send(const std::string& method, const std::string& target, const std::string& body = "",
                const std::string& address = "192.0.2.1") {
        clock_.advanceBy(std::chrono::seconds(1));
        auto result = handler_->handle({method, target, body, address, "http://localhost:8420"});
        const auto* answer = std::get_if<Answer>(&result);
        EXPECT_NE(answer, nullptr) << target << " was parked";
        return answer == nullptr ? Answer() : *answer;
    }

    static std::string headerOf(const Answer& answer, const std::string& name) {
        for (const auto& [each, value] : answer.headers) {
            if (each == name) {
                return value;
            }
        }
        return "";
    }

    /// Sends a body to an operation and keeps the next token. The answer must have `status`.
    json post(Client& client, const std::string& operation, const json& body, int status = 200) {
        return exchange("POST", client, operation, body.dump(), status);
    }
    json post(const std::string& operation, const json& body, int status = 200) {
        return post(client_, operation, body, status);
    }
    json postText(const std::string& operation, const std::string& body, int status = 200) {
        return exchange("POST", client_, operation, body, status);
    }
    json get(Client& client, const std::string& operation, int status = 200) {
        return exchange("GET", client, operation, "", status);
    }
    json get(const std::string& operation, int status = 200) { return get(client_, operation, status); }

    /// Asks a courier URL: the notification, or null when the request is parked.
    json poll(const std::string& url) {
        const std::string target = url.substr(std::string("http://localhost:8420").size());
        auto result = handler_->handle({"GET", target, "", "192.0.2.2", "http://localhost:8420"});
        const auto* answer = std::get_if<Answer>(&result);
        return answer == nullptr ? json() : json::parse(answer->body);
    }

    void createZone(Client& client, const std::string& name = "Errands") {
        const json answer =
            post(client, "zones/modify",
                 {{"operations",
                   json::array({{{"operationType", "create"}, {"zone", {{"zoneID", {{"zoneName", name}}}}}}})}});
        EXPECT_FALSE(answer.at("zones").at(0).contains("serverErrorCode")) << answer;
    }
    void createZone(const std::string& name = "Errands") { createZone(client_, name); }

    static json save(const std::string& name, const std::string& note, const std::string& kind = "forceUpdate") {
        return {{"operationType", kind},
                {"record",
                 {{"recordName", name},
                  {"recordType", "Errand"},
                  {"fields", {{"note", {{"value", note}, {"type", "STRING"}}}}}}}};
    }
    static json remove(const std::string& name) {
        return {{"operationType", "forceDelete"}, {"record", {{"recordName", name}}}};
    }
    /// Carries out operations on the zone and answers the items.
    json modify(Client& client, const json& operations, bool atomic = true) {
        return post(client, "records/modify",
                    {{"zoneID", {{"zoneName", "Errands"}}}, {"atomic", atomic}, {"operations", operations}})
            .at("records");
    }
    json modify(const json& operations, bool atomic = true) { return modify(client_, operations, atomic); }

    /// The zone's part of an answer of changes/zone.
    json changes(Client& client, const std::string& token = "", int limit = 200) {
        json entry{{"zoneID", {{"zoneName", "Errands"}}}, {"resultsLimit", limit}};
        if (!token.empty()) {
            entry["syncToken"] = token;
        }
        return post(client, "changes/zone", {{"zones", json::array({entry})}}).at("zones").at(0);
    }
    json changes(const std::string& token = "", int limit = 200) { return changes(client_, token, limit); }

    quendokit::testing::TemporaryFolder folder_;
    const std::filesystem::path data_ = folder_.path() / "data";
    quendokit::testing::ManualClock clock_;
    std::vector<std::string> log_;
    std::unique_ptr<RequestHandler> handler_;
    Client client_;

private:
    json exchange(const std::string& method, Client& client, const std::string& operation, const std::string& body,
                  int status) {
        const Answer answer = send(method, client.target(operation), body);
        EXPECT_EQ(answer.status, status) << operation << " " << body.substr(0, 500) << "\n" << answer.body;
        if (std::string next = headerOf(answer, "X-Apple-CloudKit-Web-Auth-Token"); !next.empty()) {
            client.web = std::move(next);
        }
        return json::parse(answer.body, nullptr, false);
    }
};

}  // namespace cloudd::testing

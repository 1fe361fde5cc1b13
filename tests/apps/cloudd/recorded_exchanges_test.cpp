/// \file
/// Recorded requests: the server answers each as it is recorded, name by name and value by value, but for what a
/// service makes up itself.

#include <array>
#include <map>

#include "tests/apps/cloudd/server_fixture.hpp"
#include "tests/support/recorded_exchange.hpp"

namespace cloudd::testing {
namespace {

using quendokit::testing::RecordedExchange;
using quendokit::testing::recordedExchanges;

class ServerRecordedExchanges : public Server {
protected:
    /// Asks what is recorded, and holds the answer against the recorded one.
    void play(Client& client, const RecordedExchange& exchange) {
        SCOPED_TRACE(exchange.name);
        const std::string body = exchange.request.is_null() ? "" : inOurWords(exchange.request).dump();
        const Answer answer = send(exchange.method, client.target(exchange.operation), body);
        client.web = headerOf(answer, "X-Apple-CloudKit-Web-Auth-Token");
        EXPECT_EQ(client.web.size(), 64U) << "every answer brings the next token";
        EXPECT_EQ(headerOf(answer, "Content-Type"), "application/json; charset=UTF-8");
        EXPECT_EQ(answer.status, exchange.status);
        expectLike(exchange.answer, json::parse(answer.body, nullptr, false), "");
    }

    void beginAnew() {
        ours_.clear();
        theirs_.clear();
    }

    void expectLike(const json& recorded, const json& actual, const std::string& name) {
        if (isMadeUp(name)) {
            expectConsistent(recorded, actual, name);
            return;
        }
        ASSERT_EQ(recorded.is_structured(), actual.is_structured()) << name << ": " << actual;
        if (!recorded.is_structured()) {
            EXPECT_EQ(recorded, actual) << name;
            return;
        }
        EXPECT_EQ(recorded.size(), actual.size()) << name << ": " << recorded << "\n" << actual;
        if (recorded.is_array()) {
            for (std::size_t i = 0; i < std::min(recorded.size(), actual.size()); ++i) {
                expectLike(recorded[i], actual[i], name);
            }
            return;
        }
        for (const auto& [key, value] : recorded.items()) {
            EXPECT_TRUE(actual.contains(key)) << key << " is missing in " << actual;
            expectLike(value, actual.value(key, json()), key);
        }
    }

private:
    /// Values that are the service's own choice; only that they are texts, or numbers, is everybody's.
    static bool isMadeUp(const std::string& name) {
        static constexpr std::array names{"apnsToken", "ckuserid",        "deviceID", "metaSyncToken",
                                          "nid",       "ownerRecordName", "reason",   "recordChangeTag",
                                          "syncToken", "timestamp",       "uuid",     "userRecordName",
                                          "zoid",      "webcourierURL"};
        return std::find(names.begin(), names.end(), name) != names.end();
    }

    void expectConsistent(const json& recorded, const json& actual, const std::string& name) {
        EXPECT_EQ(recorded.type_name(), std::string(actual.type_name())) << name << ": " << actual;
        if (!recorded.is_string() || !actual.is_string()) {
            return;
        }
        EXPECT_NE(actual, "") << name;
        if (name == "uuid") {
            EXPECT_TRUE(uuids_.insert(actual).second) << "a second error has that uuid";
        } else if (name != "reason") {
            const auto [known, isNew] = ours_.emplace(recorded.get<std::string>(), actual.get<std::string>());
            EXPECT_EQ(known->second, actual.get<std::string>()) << name << " is not what it was as " << recorded;
            const auto theirs = theirs_.emplace(name + " " + actual.get<std::string>(), recorded.get<std::string>());
            EXPECT_EQ(theirs.first->second, recorded.get<std::string>()) << "one " << name << " for two";
        }
    }

    /// With this server's words for what a recorded one made up.
    [[nodiscard]] json inOurWords(const json& recorded) const {
        json result = recorded;
        if (recorded.is_string()) {
            const auto known = ours_.find(recorded.get<std::string>());
            return known == ours_.end() ? recorded : json(known->second);
        }
        if (recorded.is_structured()) {
            for (auto& each : result) {
                each = inOurWords(each);
            }
        }
        return result;
    }

    /// From what is recorded to what this server says, and back.
    std::map<std::string, std::string> ours_;
    std::map<std::string, std::string> theirs_;
    std::set<std::string> uuids_;
};

TEST_F(ServerRecordedExchanges, ZonesAreAnsweredAsRecorded) {
    for (const RecordedExchange& exchange : recordedExchanges("zones.json")) {
        if (exchange.isForServer) {
            play(client_, exchange);
        }
    }
}

TEST_F(ServerRecordedExchanges, RecordsChangesAndSubscriptionsAreAnsweredAsRecorded) {
    for (const char* file : {"records.json", "changes.json", "subscriptions.json"}) {
        SCOPED_TRACE(file);
        // In a container of their own.
        client_.container = file;
        beginAnew();
        createZone();
        for (const RecordedExchange& exchange : recordedExchanges(file)) {
            if (exchange.isForServer) {
                play(client_, exchange);
            }
        }
    }
}

TEST_F(ServerRecordedExchanges, ADeviceHearsOfAChangeAsRecorded) {
    createZone();
    const DeviceTokens tokens = addDevice(data_, "anna", "phone");
    Client phone{tokens.api, tokens.web};
    const auto exchanges = recordedExchanges("courier.json");
    ASSERT_EQ(exchanges.size(), 3U);
    const auto made = recordedExchanges("subscriptions.json");
    const auto subscription = std::find_if(made.begin(), made.end(), [](const RecordedExchange& each) {
        return each.operation == "subscriptions/modify";
    });
    ASSERT_NE(subscription, made.end());
    play(phone, *subscription);
    play(phone, exchanges[0]);
    const json token = post(phone, "tokens/create", exchanges[0].request);
    json registration = exchanges[1].request;
    registration["apnsToken"] = token.at("apnsToken");
    EXPECT_EQ(post(phone, "tokens/register", registration), exchanges[1].answer);
    play(phone, exchanges[1]);
    modify(json::array({save("A1", "milk")}));
    expectLike(exchanges[2].answer, poll(token.at("webcourierURL")), "");
}

}  // namespace
}  // namespace cloudd::testing

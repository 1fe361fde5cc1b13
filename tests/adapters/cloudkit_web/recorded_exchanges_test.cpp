/// \file
/// Recorded answers: each operation asks as it is recorded, and makes of the answer what is recorded.

#include <map>

#include "adapters/cloudkit_web/courier.hpp"
#include "adapters/cloudkit_web/record_json_internal.hpp"
#include "adapters/cloudkit_web/zone_json_internal.hpp"
#include "tests/adapters/cloudkit_web/web_database_fixture.hpp"
#include "tests/support/recorded_exchange.hpp"

namespace quendokit::testing {
namespace {

std::string nameOf(int code) {
    switch (static_cast<CKErrorCode>(code)) {
        case CKErrorCode::internalError:
            return "internalError";
        case CKErrorCode::partialFailure:
            return "partialFailure";
        case CKErrorCode::serviceUnavailable:
            return "serviceUnavailable";
        case CKErrorCode::requestRateLimited:
            return "requestRateLimited";
        case CKErrorCode::permissionFailure:
            return "permissionFailure";
        case CKErrorCode::unknownItem:
            return "unknownItem";
        case CKErrorCode::changeTokenExpired:
            return "changeTokenExpired";
        case CKErrorCode::batchRequestFailed:
            return "batchRequestFailed";
        case CKErrorCode::zoneBusy:
            return "zoneBusy";
        case CKErrorCode::zoneNotFound:
            return "zoneNotFound";
        default:
            return std::to_string(code);
    }
}

/// Adds the operation that asks so, and keeps what it hears.
class WebRecordedExchanges : public WebDatabase {
protected:
    void play(const RecordedExchange& exchange) {
        SCOPED_TRACE(exchange.name);
        heard = Json();
        ask(exchange);
        transport->run();
        ASSERT_EQ(transport->sent.size(), 1U);
        if (exchange.operation == "records/changes") {
            EXPECT_EQ(askedOperation(), "changes/zone");
            transport->answer(404, R"({"uuid":"6e1f","serverErrorCode":"NOT_FOUND",
                "reason":"could not find handler for endpoint"})");
            ASSERT_EQ(transport->sent.size(), 1U);
        }
        EXPECT_EQ(askedOperation(), exchange.operation);
        EXPECT_EQ(transport->sent.front().request.body.has_value(), exchange.method == "POST");
        EXPECT_EQ(question(), exchange.request);
        transport->answer(exchange.status, exchange.answer.dump());
        EXPECT_TRUE(transport->sent.empty());
        EXPECT_EQ(heard, exchange.heard);
        EXPECT_TRUE(skipped.empty());
    }

    Json heard;

private:
    void ask(const RecordedExchange& exchange) {
        const Json& request = exchange.request;
        if (exchange.operation == "zones/lookup") {
            lookUpZones(request);
        } else if (exchange.operation == "zones/modify") {
            modifyZones(request);
        } else if (exchange.operation == "records/modify") {
            modifyRecords(request);
        } else if (exchange.operation == "changes/zone") {
            readZone(request["zones"][0]);
        } else if (exchange.operation == "records/changes") {
            readZone(request);
        } else if (exchange.operation == "subscriptions/list") {
            listSubscriptions();
        } else if (exchange.operation == "subscriptions/lookup") {
            lookUpSubscription(request);
        } else if (exchange.operation == "subscriptions/modify") {
            modifySubscriptions(request);
        }
    }

    void hearError(const std::optional<Error>& error) {
        if (error) {
            EXPECT_EQ(error->domain, CKErrorDomain);
            heard["error"] = nameOf(error->code);
            if (error->retryAfter) {
                heard["retryAfter"] = *error->retryAfter;
            }
        }
    }

    void lookUpZones(const Json& request) {
        std::vector<CKRecordZoneID> zones;
        for (const Json& each : request["zones"]) {
            zones.push_back(*web::makeZoneID(each));
        }
        auto operation = std::make_shared<CKFetchRecordZonesOperation>(zones);
        operation->fetchRecordZonesCompletion = [this](const auto& found, const auto& error) {
            for (const auto& [zoneID, each] : found.value_or(CKFetchRecordZonesOperation::Zones())) {
                EXPECT_EQ(zoneID, each.zoneID);
                heard["zones"].push_back(zoneID.zoneName);
            }
            if (found && found->empty()) {
                heard["zones"] = Json::array();
            }
            hearError(error);
        };
        database->add(operation);
    }

    void modifyZones(const Json& request) {
        std::vector<CKRecordZone> toSave;
        std::vector<CKRecordZoneID> toDelete;
        for (const Json& each : request["operations"]) {
            const auto zoneID = *web::makeZoneID(each["zone"]["zoneID"]);
            if (each["operationType"] == "create") {
                toSave.push_back({zoneID});
            } else {
                toDelete.push_back(zoneID);
            }
        }
        auto operation = std::make_shared<CKModifyRecordZonesOperation>(toSave, toDelete);
        operation->modifyRecordZonesCompletion = [this](const auto& saved, const auto& deleted, const auto& error) {
            heard = {{"saved", Json::array()}, {"deleted", Json::array()}};
            for (const CKRecordZone& each : *saved) {
                heard["saved"].push_back(each.zoneID.zoneName);
            }
            for (const CKRecordZoneID& each : *deleted) {
                heard["deleted"].push_back(each.zoneName);
            }
            hearError(error);
        };
        database->add(operation);
    }

    void modifyRecords(const Json& request) {
        std::vector<CKRecord> toSave;
        std::vector<CKRecordID> toDelete;
        const auto zoneID = *web::makeZoneID(request["zoneID"]);
        auto policy = CKRecordSavePolicy::ifServerRecordUnchanged;
        for (const Json& each : request["operations"]) {
            const Json& record = each["record"];
            if (each["operationType"] == "forceDelete") {
                toDelete.push_back(*web::makeRecordID(record, zoneID));
            } else {
                toSave.push_back(*web::makeRecord(record, zoneID));
                policy = each["operationType"] == "forceUpdate" ? CKRecordSavePolicy::allKeys : policy;
            }
        }
        auto operation = std::make_shared<CKModifyRecordsOperation>(toSave, toDelete);
        operation->savePolicy = policy;
        operation->modifyRecordsCompletion = [this](const auto& saved, const auto& deleted, const auto& error) {
            if (saved && deleted) {
                heard = {{"saved", Json::object()}, {"deleted", Json::array()}};
                for (const CKRecord& each : *saved) {
                    heard["saved"][each.recordID().recordName] = each.recordChangeTag().value_or("");
                }
                for (const CKRecordID& each : *deleted) {
                    heard["deleted"].push_back(each.recordName);
                }
            }
            hearError(error);
        };
        database->add(operation);
    }

    void readZone(const Json& request) {
        const auto zoneID = *web::makeZoneID(request["zoneID"]);
        const bool isFirst = !request.contains("syncToken");
        auto operation = std::make_shared<CKFetchRecordChangesOperation>(
            zoneID, isFirst ? std::nullopt : std::optional(tokenOf(request["syncToken"].get<std::string>())));
        const auto records = std::make_shared<Json>(Json::object());
        const auto deleted = std::make_shared<Json>(Json::array());
        operation->recordChanged = [records](const CKRecord& record) {
            (*records)[record.recordID().recordName] = record.recordChangeTag().value_or("");
        };
        operation->recordWithIDWasDeleted = [deleted](const CKRecordID& id) { deleted->push_back(id.recordName); };
        const auto* itself = operation.get();
        operation->fetchRecordChangesCompletion = [this, records, deleted, itself](const auto& token, const auto&,
                                                                                   const auto& error) {
            if (token) {
                const auto* text = reinterpret_cast<const char*>(token->data().data());
                heard = {{"records", *records},
                         {"deleted", *deleted},
                         {"token", std::string(text, token->data().size())},
                         {"moreComing", itself->moreComing}};
            }
            hearError(error);
        };
        database->add(operation);
    }

    void listSubscriptions() {
        database->fetchAllSubscriptions([this](const auto& listed, const auto& error) {
            heard["subscriptions"] = Json::array();
            for (const CKSubscription& each : *listed) {
                heard["subscriptions"].push_back(each.subscriptionID);
            }
            hearError(error);
        });
    }

    void lookUpSubscription(const Json& request) {
        const std::string name = request["subscriptions"][0]["subscriptionID"];
        database->fetch(name, [this](const auto& found, const auto& error) {
            if (found) {
                heard["subscription"] = found->subscriptionID;
                heard["zone"] = found->zoneID.zoneName;
            }
            hearError(error);
        });
    }

    void modifySubscriptions(const Json& request) {
        std::vector<CKSubscription> toSave;
        std::vector<std::string> toDelete;
        for (const Json& each : request["operations"]) {
            if (each["operationType"] == "create") {
                toSave.push_back(*web::makeSubscription(each["subscription"]));
            } else {
                toDelete.push_back(each["subscription"]["subscriptionID"]);
            }
        }
        auto operation = std::make_shared<CKModifySubscriptionsOperation>(toSave, toDelete);
        operation->modifySubscriptionsCompletion = [this](const auto& saved, const auto& deleted, const auto& error) {
            heard = {{"saved", Json::array()}, {"deleted", *deleted}};
            for (const CKSubscription& each : *saved) {
                heard["saved"].push_back(each.subscriptionID);
            }
            hearError(error);
        };
        database->add(operation);
    }
};

TEST_F(WebRecordedExchanges, EachOperationAsksAndHearsAsRecorded) {
    std::size_t played = 0;
    for (const char* file : {"zones.json", "records.json", "changes.json", "subscriptions.json"}) {
        SCOPED_TRACE(file);
        for (const RecordedExchange& exchange : recordedExchanges(file)) {
            if (exchange.isForClient) {
                play(exchange);
                ++played;
            }
        }
    }
    EXPECT_GT(played, 40U);
}

TEST_F(WebRecordedExchanges, ACourierAsksAndHearsAsRecorded) {
    const auto exchanges = recordedExchanges("courier.json");
    ASSERT_EQ(exchanges.size(), 3U);
    WebAccount own = account();
    own.clientID = exchanges[0].request["clientId"];
    int news = 0;
    Courier courier(WebSession::open(own, transport, tokens).value(), [&news] { ++news; });
    courier.start();
    transport->run();
    for (const auto& exchange : {exchanges[0], exchanges[1]}) {
        SCOPED_TRACE(exchange.name);
        EXPECT_TRUE(transport->sent.front().request.url.starts_with(
            "https://cloud.example/device/1/iCloud.net.example.app/production/" + exchange.operation + "?"));
        EXPECT_EQ(question(), exchange.request);
        transport->answer(exchange.status, exchange.answer.dump());
    }
    EXPECT_EQ(transport->sent.front().request.url, exchanges[0].answer["webcourierURL"].get<std::string>());
    news = 0;
    transport->answer(exchanges[2].status, exchanges[2].answer.dump());
    EXPECT_EQ(news, 1);
}

}  // namespace
}  // namespace quendokit::testing

/// \file
/// Saving, deleting and looking up records.

#include <limits>

#include "tests/apps/cloudd/server_fixture.hpp"

namespace cloudd::testing {
namespace {

class ServerRecords : public Server {
protected:
    ServerRecords() { createZone(); }

    static json operation(const std::string& kind, const std::string& name, const json& fields, const json& more = {}) {
        json record{{"recordName", name}, {"recordType", "Errand"}, {"fields", fields}};
        if (!more.is_null()) {
            record.update(more);
        }
        return {{"operationType", kind}, {"record", record}};
    }
    json one(const json& operation) { return modify(json::array({operation})).at(0); }
    json lookUp(const std::string& name) {
        return post("records/lookup",
                    {{"zoneID", {{"zoneName", "Errands"}}}, {"records", json::array({{{"recordName", name}}})}})
            .at("records")
            .at(0);
    }
    /// The reason why a batch is refused as a whole.
    std::string refusal(const json& operations) {
        const json answer =
            post("records/modify", {{"zoneID", {{"zoneName", "Errands"}}}, {"operations", operations}}, 400);
        EXPECT_EQ(answer.value("serverErrorCode", ""), "BAD_REQUEST");
        return answer.value("reason", "");
    }
    /// The field after it was saved.
    json saved(const json& field) {
        return one(operation("forceReplace", "field", {{"it", field}})).at("fields").value("it", json());
    }
};

TEST_F(ServerRecords, ASavedRecordIsAnsweredWithAllThatTheServerAdds) {
    const std::string user = get("users/current").at("userRecordName").get<std::string>();
    clock_.set(quendokit::Date(1'700'000'000.25));
    const json record = one(operation("forceUpdate", "A1",
                                      {{"note", {{"value", "milk"}, {"type", "STRING"}}},
                                       {"done", {{"value", 0}, {"type", "INT64"}}},
                                       {"due", {{"value", 1'700'003'600'000}, {"type", "TIMESTAMP"}}}}));
    const json by{{"timestamp", 1'700'000'001'250}, {"userRecordName", user}, {"deviceID", "1"}};
    EXPECT_EQ(
        record,
        (json{{"recordName", "A1"},
              {"recordType", "Errand"},
              {"recordChangeTag", "1"},
              {"deleted", false},
              {"zoneID", {{"zoneName", "Errands"}, {"ownerRecordName", user}, {"zoneType", "REGULAR_CUSTOM_ZONE"}}},
              {"created", by},
              {"modified", by},
              {"fields",
               {{"note", {{"value", "milk"}, {"type", "STRING"}}},
                {"done", {{"value", 0}, {"type", "INT64"}}},
                {"due", {{"value", 1'700'003'600'000}, {"type", "TIMESTAMP"}}}}}}));
    EXPECT_EQ(lookUp("A1"), record);
}

TEST_F(ServerRecords, AForcedUpdateKeepsTheFieldsThatItDoesNotName) {
    one(operation("forceUpdate", "A1", {{"note", {{"value", "milk"}}}, {"shop", {{"value", "corner"}}}}));
    const json record = one(operation("forceUpdate", "A1", {{"note", {{"value", "bread"}}}}));
    EXPECT_EQ(record.at("fields").at("note").at("value"), "bread");
    EXPECT_EQ(record.at("fields").at("shop").at("value"), "corner");
    EXPECT_EQ(record.at("recordChangeTag"), "2");
}

TEST_F(ServerRecords, AForcedReplacementDropsTheFieldsThatItDoesNotName) {
    one(operation("forceUpdate", "A1", {{"note", {{"value", "milk"}}}, {"shop", {{"value", "corner"}}}}));
    const json record = one(operation("forceReplace", "A1", {{"note", {{"value", "bread"}}}}));
    EXPECT_EQ(record.at("fields").size(), 1U);
}

TEST_F(ServerRecords, CreatingARecordThatIsThereIsRefusedAndOneWithoutNameGetsOne) {
    EXPECT_EQ(one(operation("create", "A1", json::object())).at("recordName"), "A1");
    EXPECT_EQ(one(operation("create", "A1", json::object())).at("serverErrorCode"), "EXISTS");
    const json made =
        modify(json::array({{{"operationType", "create"}, {"record", {{"recordType", "Errand"}}}}})).at(0);
    EXPECT_EQ(made.at("recordName").get<std::string>().size(), 36U);
}

TEST_F(ServerRecords, AnUpdateNeedsTheTagOfTheNewestVersion) {
    const json first = one(operation("create", "A1", {{"note", {{"value", "milk"}}}}));
    const json tag{{"recordChangeTag", first.at("recordChangeTag")}};
    const json second = one(operation("update", "A1", {{"note", {{"value", "bread"}}}}, tag));
    EXPECT_EQ(second.at("fields").at("note").at("value"), "bread");
    const json stale = one(operation("update", "A1", {{"note", {{"value", "rolls"}}}}, tag));
    EXPECT_EQ(stale.at("serverErrorCode"), "CONFLICT");
    EXPECT_EQ(stale.at("recordName"), "A1");
    EXPECT_EQ(one(operation("replace", "A1", json::object(), tag)).at("serverErrorCode"), "CONFLICT");
    EXPECT_EQ(one(operation("delete", "A1", json::object(), tag)).at("serverErrorCode"), "CONFLICT");
    EXPECT_EQ(lookUp("A1"), second);
    EXPECT_EQ(one(operation("update", "B2", json::object(), tag)).at("serverErrorCode"), "NOT_FOUND");
    EXPECT_NE(refusal(json::array({operation("update", "A1", json::object())})).find("recordChangeTag"),
              std::string::npos);
    const json newest{{"recordChangeTag", second.at("recordChangeTag")}};
    EXPECT_EQ(one(operation("delete", "A1", json::object(), newest)).at("deleted"), true);
}

TEST_F(ServerRecords, DeletingByForceAlwaysWorksAndAMissingRecordLeavesNoTrace) {
    one(save("A1", "milk"));
    const json gone = one(remove("A1"));
    EXPECT_EQ(gone.at("deleted"), true);
    EXPECT_FALSE(gone.contains("fields"));
    EXPECT_EQ(lookUp("A1").at("serverErrorCode"), "NOT_FOUND");
    const std::string token = changes().at("syncToken").get<std::string>();
    EXPECT_EQ(one(remove("A1")), (json{{"recordName", "A1"}, {"deleted", true}}));
    EXPECT_EQ(one(remove("never")), (json{{"recordName", "never"}, {"deleted", true}}));
    EXPECT_EQ(changes(token).at("records"), json::array());
    EXPECT_EQ(changes(token).at("syncToken"), token);
}

TEST_F(ServerRecords, ARecordMadeAgainBeginsAnew) {
    one(operation("forceUpdate", "A1", {{"note", {{"value", "milk"}}}, {"shop", {{"value", "corner"}}}}));
    one(remove("A1"));
    const json again = one(save("A1", "bread"));
    EXPECT_EQ(again.at("fields").size(), 1U);
    EXPECT_EQ(again.at("created"), again.at("modified"));
    EXPECT_EQ(again.at("recordChangeTag"), "3");
}

TEST_F(ServerRecords, AnAtomicBatchIsDoneWholeOrNotAtAll) {
    one(save("A1", "milk"));
    const std::string token = changes().at("syncToken").get<std::string>();
    const json items = modify(json::array({save("B2", "bread"), save("A1", "rolls", "create"), save("C3", "tea")}));
    ASSERT_EQ(items.size(), 3U);
    EXPECT_EQ(items[0].at("serverErrorCode"), "ATOMIC_ERROR");
    EXPECT_EQ(items[1].at("serverErrorCode"), "EXISTS");
    EXPECT_EQ(items[2].at("serverErrorCode"), "ATOMIC_ERROR");
    EXPECT_EQ(items[2].at("recordName"), "C3");
    EXPECT_EQ(changes(token).at("records"), json::array());
    EXPECT_EQ(lookUp("A1").at("fields").at("note").at("value"), "milk");
}

TEST_F(ServerRecords, OfABatchThatIsNotAtomicEachItemStandsForItself) {
    one(save("A1", "milk"));
    const json items =
        modify(json::array({save("B2", "bread"), save("A1", "rolls", "create"), save("C3", "tea")}), false);
    EXPECT_EQ(items[0].at("fields").at("note").at("value"), "bread");
    EXPECT_EQ(items[1].at("serverErrorCode"), "EXISTS");
    EXPECT_EQ(items[2].at("recordName"), "C3");
    EXPECT_EQ(lookUp("C3").at("recordType"), "Errand");
}

TEST_F(ServerRecords, BatchesAreAtomicUnlessSaidOtherwiseAndNeverInTheDefaultZone) {
    one(save("A1", "milk"));
    const json operations = json::array({save("B2", "bread"), save("A1", "rolls", "create")});
    const json items =
        post("records/modify", {{"zoneID", {{"zoneName", "Errands"}}}, {"operations", operations}}).at("records");
    EXPECT_EQ(items[0].at("serverErrorCode"), "ATOMIC_ERROR");
    const json refused = post("records/modify", {{"atomic", true}, {"operations", operations}}, 400);
    EXPECT_EQ(refused.at("reason"), "atomic operations not supported in default zone");
    const json inDefaultZone = post("records/modify", {{"operations", operations}}).at("records");
    EXPECT_EQ(inDefaultZone[0].at("zoneID").at("zoneType"), "DEFAULT_ZONE");
    EXPECT_EQ(
        post("records/lookup", {{"records", json::array({{{"recordName", "B2"}}})}}).at("records")[0].at("recordName"),
        "B2");
    EXPECT_EQ(post("changes/zone", {{"zones", json::array({{{"zoneID", {{"zoneName", "_defaultZone"}}}}})}})
                  .at("zones")[0]
                  .at("serverErrorCode"),
              "BAD_REQUEST");
    EXPECT_EQ(post("changes/database", json::object()).at("zones").size(), 1U);
}

TEST_F(ServerRecords, AMissingZoneRefusesTheWholeRequest) {
    const json missing{{"zoneName", "Other"}};
    EXPECT_EQ(post("records/modify", {{"zoneID", missing}, {"operations", json::array({save("A1", "x")})}}, 404)
                  .at("serverErrorCode"),
              "ZONE_NOT_FOUND");
    EXPECT_EQ(post("records/lookup", {{"zoneID", missing}, {"records", json::array()}}, 404).at("serverErrorCode"),
              "ZONE_NOT_FOUND");
    EXPECT_EQ(post("records/changes", {{"zoneID", missing}}, 404).at("serverErrorCode"), "ZONE_NOT_FOUND");
}

TEST_F(ServerRecords, TwoHundredOperationsAreTakenAndOneMoreIsNot) {
    json operations = json::array();
    for (int i = 0; i < 200; ++i) {
        operations.push_back(save("R" + std::to_string(i), "x"));
    }
    EXPECT_EQ(modify(operations).size(), 200U);
    operations.push_back(save("R200", "x"));
    EXPECT_NE(refusal(operations).find("200"), std::string::npos);
    EXPECT_EQ(lookUp("R200").at("serverErrorCode"), "NOT_FOUND");
}

TEST_F(ServerRecords, OperationsThatCannotBeMeantRefuseTheRequest) {
    EXPECT_NE(refusal(json::array({save("A1", "x"), remove("A1")})).find("A1 comes twice"), std::string::npos);
    EXPECT_NE(refusal(json::array({save("A1", "x", "upsert")})).find("operationType"), std::string::npos);
    EXPECT_NE(refusal(json::array({{{"operationType", "forceUpdate"}}})).find("no record"), std::string::npos);
    json untyped = save("A1", "x");
    untyped["record"].erase("recordType");
    EXPECT_NE(refusal(json::array({untyped})).find("recordType"), std::string::npos);
    json elsewhere = save("A1", "x");
    elsewhere["record"]["zoneID"] = {{"zoneName", "Other"}};
    EXPECT_NE(refusal(json::array({elsewhere})).find("another zone"), std::string::npos);
    EXPECT_NE(refusal(json::object()).find("operations"), std::string::npos);
    EXPECT_NE(refusal(json::array({"text"})).find("operations"), std::string::npos);
}

TEST_F(ServerRecords, NamesThatAreNoneRefuseTheRequest) {
    for (const std::string& name :
         {std::string(), std::string("_mine"), std::string(256, 'x'), std::string("a\nb"), std::string("\u00fc")}) {
        EXPECT_NE(refusal(json::array({save(name, "x")})).find("recordName"), std::string::npos) << name;
    }
    EXPECT_EQ(one(save("../x", "a path is a name like any other")).at("recordName"), "../x");
    EXPECT_EQ(one(save(std::string(255, 'x'), "x")).at("recordType"), "Errand");
}

TEST_F(ServerRecords, ValuesComeBackAsTheyWereSent) {
    const std::vector<json> fields{
        {{"type", "STRING"}, {"value", "\u00fc\"\\\u0001 \U0001F600"}},
        {{"type", "STRING"}, {"value", ""}},
        {{"type", "INT64"}, {"value", std::numeric_limits<std::int64_t>::max()}},
        {{"type", "INT64"}, {"value", std::numeric_limits<std::int64_t>::min()}},
        {{"type", "DOUBLE"}, {"value", 0.1}},
        {{"type", "DOUBLE"}, {"value", 3}},
        {{"type", "TIMESTAMP"}, {"value", -1}},
        {{"type", "BYTES"}, {"value", "AAEC/w=="}},
        {{"type", "REFERENCE"}, {"value", {{"recordName", "B2"}, {"action", "NONE"}}}},
        {{"type", "STRING_LIST"}, {"value", {"a", "b"}}},
        {{"type", "INT64_LIST"}, {"value", {1, -2}}},
    };
    for (const json& field : fields) {
        EXPECT_EQ(saved(field), field);
    }
}

TEST_F(ServerRecords, AValueWithoutTypeHasTheOneThatItLooksLike) {
    EXPECT_EQ(saved({{"value", "x"}}).at("type"), "STRING");
    EXPECT_EQ(saved({{"value", 5}}).at("type"), "INT64");
    EXPECT_EQ(saved({{"value", 0.5}}).at("type"), "DOUBLE");
    EXPECT_EQ(saved({{"value", true}}), (json{{"type", "INT64"}, {"value", 1}}));
    EXPECT_EQ(saved({{"type", "INT64"}, {"value", false}}), (json{{"type", "INT64"}, {"value", 0}}));
    EXPECT_EQ(saved({{"type", "INT64"}, {"value", 2.0}}), (json{{"type", "INT64"}, {"value", 2}}));
    EXPECT_EQ(saved({{"value", {"a"}}}).at("type"), "STRING_LIST");
}

TEST_F(ServerRecords, AFieldSetToNothingIsGone) {
    for (const json& nothing :
         {json{{"value", nullptr}, {"type", "STRING"}}, json{{"value", nullptr}}, json::object()}) {
        one(operation("forceUpdate", "A1", {{"note", {{"value", "milk"}}}, {"shop", {{"value", "corner"}}}}));
        const json record = one(operation("forceUpdate", "A1", {{"note", nothing}}));
        EXPECT_FALSE(record.at("fields").contains("note")) << nothing;
        EXPECT_TRUE(record.at("fields").contains("shop"));
    }
}

TEST_F(ServerRecords, AValueThatIsNotOfItsTypeRefusesTheRequestAndNamesTheField) {
    const std::vector<json> fields{
        {{"type", "TIMESTAMP"}, {"value", 1'700'000'000'000.5}},
        {{"type", "TIMESTAMP"}, {"value", "now"}},
        {{"type", "TIMESTAMP"}, {"value", true}},
        {{"type", "INT64"}, {"value", 0.5}},
        {{"type", "INT64"}, {"value", 9'223'372'036'854'775'808ULL}},
        {{"type", "INT64"}, {"value", 1e300}},
        {{"type", "STRING"}, {"value", 1}},
        {{"type", "BYTES"}, {"value", "not base64"}},
        {{"type", "BYTES"}, {"value", "A==="}},
        {{"type", "DOUBLE"}, {"value", "0.5"}},
        {{"type", "REFERENCE"}, {"value", "B2"}},
        {{"type", "STRING_LIST"}, {"value", "a"}},
        {{"type", "STRING_LIST"}, {"value", {"a", 1}}},
        {{"type", "MOOD"}, {"value", "good"}},
        {{"type", "string"}, {"value", "x"}},
    };
    for (const json& field : fields) {
        const std::string reason = refusal(json::array({operation("forceUpdate", "A1", {{"it", field}})}));
        EXPECT_EQ(reason.rfind("Invalid value, expected type ", 0), 0U) << field << " " << reason;
        EXPECT_NE(reason.find("(field it)"), std::string::npos) << reason;
    }
    EXPECT_FALSE(refusal(json::array({operation("forceUpdate", "A1", {{"it", 5}})})).empty());
    EXPECT_FALSE(refusal(json::array({operation("forceUpdate", "A1", {{"it", {{"type", 5}, {"value", 5}}}})})).empty());
    EXPECT_FALSE(refusal(json::array({operation("forceUpdate", "A1", json::array())})).empty());
    EXPECT_EQ(lookUp("A1").at("serverErrorCode"), "NOT_FOUND");
}

TEST_F(ServerRecords, AFieldOfMomentsTakesNoNumberWithoutItsType) {
    one(operation("forceUpdate", "A1", {{"due", {{"value", 1'700'003'600'000}, {"type", "TIMESTAMP"}}}}));
    EXPECT_EQ(refusal(json::array({operation("forceUpdate", "B2", {{"due", {{"value", 1'700'003'600'000}}}})})),
              "Invalid value, expected type TIMESTAMP. (field due)");
    EXPECT_EQ(one(operation("forceUpdate", "B2", {{"count", {{"value", 5}}}})).at("fields").at("count").at("type"),
              "INT64");
}

TEST_F(ServerRecords, ARecordBeyondAMegabyteIsRefusedByItself) {
    const json items = modify(json::array({save("A1", std::string(1'000'001, 'x')), save("B2", "bread")}), false);
    EXPECT_EQ(items[0].at("serverErrorCode"), "BAD_REQUEST");
    EXPECT_EQ(items[0].at("recordName"), "A1");
    EXPECT_EQ(items[1].at("recordName"), "B2");
    EXPECT_FALSE(items[1].contains("serverErrorCode"));
}

TEST_F(ServerRecords, OnlyTheFieldsAndTheFormThatAreWantedAreAnswered) {
    one(operation("forceUpdate", "A1",
                  {{"note", {{"value", "milk"}}}, {"count", {{"value", 5}}}, {"weight", {{"value", 0.5}}}}));
    const auto fields = [&](const json& more) {
        json request{{"zoneID", {{"zoneName", "Errands"}}}, {"records", json::array({{{"recordName", "A1"}}})}};
        request.update(more);
        return post("records/lookup", request).at("records")[0].at("fields");
    };
    EXPECT_EQ(fields({{"desiredKeys", {"note", "nothing"}}}).size(), 1U);
    EXPECT_EQ(fields({{"desiredKeys", json::array()}}), json::object());
    const json asText = fields({{"numbersAsStrings", true}});
    EXPECT_EQ(asText.at("count").at("value"), "5");
    EXPECT_EQ(asText.at("weight").at("value"), "0.5");
    json entry = save("A1", "bread");
    entry["desiredKeys"] = {"count"};
    EXPECT_EQ(one(entry).at("fields").size(), 1U);
    const json page = post("changes/zone", {{"desiredKeys", {"weight"}},
                                            {"zones", json::array({{{"zoneID", {{"zoneName", "Errands"}}}}})}});
    EXPECT_EQ(page.at("zones")[0].at("records")[0].at("fields").size(), 1U);
}

TEST_F(ServerRecords, EachRecordNamesTheDeviceThatWroteIt) {
    const DeviceTokens tokens = addDevice(data_, "anna", "phone");
    Client phone{tokens.api, tokens.web};
    const json first = one(save("A1", "milk"));
    const json second = modify(phone, json::array({save("A1", "bread")})).at(0);
    EXPECT_EQ(second.at("created"), first.at("created"));
    EXPECT_NE(second.at("modified").at("deviceID"), first.at("modified").at("deviceID"));
    EXPECT_EQ(second.at("modified").at("userRecordName"), first.at("modified").at("userRecordName"));
}

TEST_F(ServerRecords, ARepeatedRequestDoesNoHarm) {
    const json operations = json::array({save("A1", "milk"), remove("B2")});
    modify(operations);
    const json again = modify(operations);
    EXPECT_EQ(again[0].at("fields").at("note").at("value"), "milk");
    EXPECT_EQ(changes().at("records").size(), 1U);
}

}  // namespace
}  // namespace cloudd::testing

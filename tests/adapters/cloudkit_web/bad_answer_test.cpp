/// \file
/// Answers that no service should give: each becomes one clear line or a record less, and nothing else happens.

#include <cstddef>
#include <optional>
#include <ostream>
#include <string>
#include <vector>

#include "tests/adapters/cloudkit_web/web_database_fixture.hpp"

namespace quendokit::testing {
namespace {

std::string repeated(const std::string& text, std::size_t count) {
    std::string whole;
    whole.reserve(text.size() * count);
    for (std::size_t i = 0; i < count; ++i) {
        whole += text;
    }
    return whole;
}

std::string nested(std::size_t depth) {
    return repeated("[", depth) + repeated("]", depth);
}

/// A page with these items.
std::string pageOf(const std::string& records) {
    return R"({"zones":[{"zoneID":{"zoneName":"Errands"},"syncToken":"new","moreComing":false,"records":[)" + records +
           "]}]}";
}

/// A page with one record whose fields are these.
std::string recordWith(const std::string& fields) {
    return pageOf(R"({"recordName":"A1","recordType":"Errand","fields":{)" + fields + "}}");
}

/// A page whose zone has these members beside its name.
std::string zoneWith(const std::string& members) {
    return R"({"zones":[{"zoneID":{"zoneName":"Errands"},)" + members + "}]}";
}

struct BadAnswer {
    std::string name;
    std::string body;
    /// The error; absent when the page is read.
    std::optional<CKErrorCode> error = {};
    /// What is told of a page that is read.
    std::size_t records = 0;
    std::size_t deleted = 0;
    std::size_t skipped = 0;
    int status = 200;

    friend void PrintTo(const BadAnswer& answer, std::ostream* stream) { *stream << answer.name; }
};

std::vector<BadAnswer> oddWholes() {
    using enum CKErrorCode;
    return {
        {"Empty", "", networkFailure},
        {"NoJson", "milk", networkFailure},
        {"CutOff", R"({"zones":[{"zoneID")", networkFailure},
        {"TwoDocuments", "{}{}", networkFailure},
        {"NotUtf8", "{\"zones\":\"\xFF\"}", networkFailure},
        {"Html", "<!DOCTYPE html><html><body>Sign in</body></html>", networkFailure},
        {"HtmlOfAnError", "<html>Bad gateway</html>", serviceUnavailable, 0, 0, 0, 502},
        {"Redirect", "", networkFailure, 0, 0, 0, 302},
        {"DeepLists", repeated("[", 100'000), internalError},
        {"DeepObjects", repeated(R"({"a":)", 100'000), internalError},
        {"AtTheDeepest", zoneWith(R"("syncToken":"n","records":[],"a":)" + nested(29))},
        {"OneDeeper", zoneWith(R"("syncToken":"n","records":[],"a":)" + nested(30)), internalError},
        {"BracketsInText", zoneWith(R"("syncToken":"n","records":[],"a":")" + repeated("[\\\"", 100) + '"')},
        {"AList", "[]", internalError},
        {"AText", R"("zones")", internalError},
        {"Null", "null", internalError},
        {"Nothing", "{}", internalError},
        {"NoList", R"({"zones":{}})", internalError},
        {"EmptyList", R"({"zones":[]})", internalError},
        {"ListOfTexts", R"({"zones":["Errands",null,1]})", internalError},
        {"OtherZone", R"({"zones":[{"zoneID":{"zoneName":"Other"},"syncToken":"n","records":[]}]})", internalError},
        {"ErrorWithoutCode", R"({"reason":"so it is"})", invalidArguments, 0, 0, 0, 400},
        {"ErrorInASuccess", R"({"serverErrorCode":"THROTTLED","retryAfter":3})", requestRateLimited},
        {"CodeOfAnotherKind", R"({"serverErrorCode":7})", serverRejectedRequest},
        {"UnknownCode", R"({"serverErrorCode":"MOON_IN_MARS"})", permissionFailure, 0, 0, 0, 403},
        {"HugeNumber", recordWith(R"("n":{"type":"DOUBLE","value":1e400})"), networkFailure},
    };
}

std::vector<BadAnswer> oddZones() {
    using enum CKErrorCode;
    return {
        {"NoRecords", zoneWith(R"("syncToken":"n")"), internalError},
        {"RecordsNull", zoneWith(R"("syncToken":"n","records":null)"), internalError},
        {"RecordsAnObject", zoneWith(R"("syncToken":"n","records":{})"), internalError},
        {"NoToken", zoneWith(R"("records":[])"), internalError},
        {"EmptyToken", zoneWith(R"("syncToken":"","records":[])"), internalError},
        {"TokenANumber", zoneWith(R"("syncToken":7,"records":[])"), internalError},
        {"HugeToken", zoneWith(R"("syncToken":")" + std::string(1'000'000, 'A') + R"(","records":[])"), internalError},
        {"TokenNotBase64", zoneWith(R"("syncToken":"\u00e9 !","records":[])")},
        {"MoreComingAText", zoneWith(R"("syncToken":"n","moreComing":"yes","records":[])"), internalError},
        {"MoreComingAbsent", zoneWith(R"("syncToken":"n","records":[])")},
        {"ZoneErrorWithoutReason", zoneWith(R"("serverErrorCode":"TRY_AGAIN_LATER")"), serviceUnavailable},
        {"ZoneErrorBesideRecords",
         zoneWith(R"("serverErrorCode":"INTERNAL_ERROR","syncToken":"n","records":[{"recordName":"A1"}])"),
         internalError},
    };
}

std::vector<BadAnswer> oddRecords() {
    return {
        {"RecordsOfNoKind", pageOf(R"(null,1,"A1",[],{},true)"), {}, 0, 0, 6},
        {"NoName", pageOf(R"({"recordType":"Errand"})"), {}, 0, 0, 1},
        {"NameANumber", pageOf(R"({"recordName":1,"recordType":"Errand"})"), {}, 0, 0, 1},
        {"NameEmpty",
         pageOf(R"({"recordName":"","recordType":"Errand"},{"recordName":"","deleted":true})"),
         {},
         0,
         0,
         2},
        {"NameTooLong",
         pageOf(R"({"recordName":")" + std::string(256, 'A') + R"(","recordType":"Errand"})"),
         {},
         0,
         0,
         1},
        {"NameWithALineFeed",
         pageOf(R"({"recordName":"A\n1","recordType":"E"},{"recordName":"A\n","deleted":true})"),
         {},
         0,
         0,
         2},
        {"NameLikeAPath", pageOf(R"({"recordName":"../x","recordType":"Errand"})"), {}, 1},
        {"NoType", pageOf(R"({"recordName":"A1","fields":{}})"), {}, 0, 0, 1},
        {"TypeNull", pageOf(R"({"recordName":"A1","recordType":null})"), {}, 0, 0, 1},
        {"UnknownType", pageOf(R"({"recordName":"A1","recordType":"Moon"})"), {}, 1},
        {"OtherZonesRecord",
         pageOf(R"({"recordName":"A1","recordType":"E","zoneID":{"zoneName":"Other"}})"),
         {},
         0,
         0,
         1},
        {"OtherZonesDeletion",
         pageOf(R"({"recordName":"A1","deleted":true,"zoneID":{"zoneName":"Other"}})"),
         {},
         0,
         0,
         1},
        {"DeletedAText", pageOf(R"({"recordName":"A1","recordType":"E","deleted":"yes"})"), {}, 0, 0, 1},
        {"AnErrorAmongRecords",
         pageOf(R"({"recordName":"A1","recordType":"E","serverErrorCode":"NOT_FOUND"})"),
         {},
         0,
         0,
         1},
        {"DeletedAndChanged",
         pageOf(R"({"recordName":"A1","deleted":true},{"recordName":"A1","recordType":"Errand"})"),
         {},
         1,
         1},
        {"FieldsAList", pageOf(R"({"recordName":"A1","recordType":"Errand","fields":[]})"), {}, 0, 0, 1},
        {"FieldsAbsent", pageOf(R"({"recordName":"A1","recordType":"Errand"})"), {}, 1},
        {"FieldsOdd", recordWith(R"("a":1,"b":null,"c":{"value":[]},"d":{"type":"MOON","value":1})"), {}, 1},
        {"KeyTwice", recordWith(R"("a":{"value":"1"},"a":{"value":"2"})"), {}, 1},
        {"GoodBesideBad",
         pageOf(R"(7,{"recordName":"A1","recordType":"Errand"},{"recordName":"B2","deleted":true})"),
         {},
         1,
         1,
         1},
    };
}

class WebDatabaseBadAnswer : public WebDatabase, public ::testing::WithParamInterface<BadAnswer> {};

TEST_P(WebDatabaseBadAnswer, IsALineOrARecordLess) {
    const auto operation = read();
    transport->answer(GetParam().status, GetParam().body);
    ASSERT_TRUE(page.isComplete);
    EXPECT_TRUE(operation->isFinished());
    EXPECT_EQ(page.records.size(), GetParam().records);
    EXPECT_EQ(page.deleted.size(), GetParam().deleted);
    EXPECT_EQ(skipped.size(), GetParam().skipped == 0 ? 0U : 1U);
    if (!skipped.empty()) {
        EXPECT_EQ(skipped.front().description,
                  "the cloud at cloud.example, changes/zone: " + std::to_string(GetParam().skipped) +
                      " records cannot be read by this version and are left out");
    }
    if (!GetParam().error) {
        EXPECT_FALSE(page.error) << page.error->description;
        EXPECT_TRUE(page.token);
        return;
    }
    expectCode(page.error, *GetParam().error);
    EXPECT_TRUE(page.error->description.starts_with("the cloud at cloud.example, changes/zone: "))
        << page.error->description;
    EXPECT_LT(page.error->description.size(), 400U);
    EXPECT_FALSE(page.token);
    EXPECT_FALSE(operation->moreComing);
}

const auto nameOfRow = [](const auto& info) { return info.param.name; };
INSTANTIATE_TEST_SUITE_P(Wholes, WebDatabaseBadAnswer, ::testing::ValuesIn(oddWholes()), nameOfRow);
INSTANTIATE_TEST_SUITE_P(Zones, WebDatabaseBadAnswer, ::testing::ValuesIn(oddZones()), nameOfRow);
INSTANTIATE_TEST_SUITE_P(Records, WebDatabaseBadAnswer, ::testing::ValuesIn(oddRecords()), nameOfRow);

class WebDatabaseOddLists : public WebDatabase, public ::testing::WithParamInterface<const char*> {};

TEST_P(WebDatabaseOddLists, IsAnErrorForWhoeverWantsAList) {
    std::vector<Error> errors;
    const auto hear = [&](const std::optional<Error>& error) {
        ASSERT_TRUE(error);
        errors.push_back(*error);
    };
    auto zones = std::make_shared<CKFetchRecordZonesOperation>(std::vector{zone});
    zones->fetchRecordZonesCompletion = [&](const auto& found, const auto& error) {
        EXPECT_TRUE(!found || found->empty());
        hear(error);
    };
    auto making = std::make_shared<CKModifyRecordZonesOperation>(std::vector{CKRecordZone{zone}}, std::nullopt);
    making->modifyRecordZonesCompletion = [&](const auto& made, const auto&, const auto& error) {
        EXPECT_TRUE(!made || made->empty());
        hear(error);
    };
    auto wipe = std::make_shared<CKModifySubscriptionsOperation>(std::nullopt, std::vector<std::string>{"old"});
    wipe->modifySubscriptionsCompletion = [&](const auto&, const auto& gone, const auto& error) {
        EXPECT_TRUE(!gone || gone->empty());
        hear(error);
    };
    auto upload = std::make_shared<CKModifyRecordsOperation>(std::nullopt, std::vector{CKRecordID{"A1", zone}});
    upload->modifyRecordsCompletion = [&](const auto&, const auto& gone, const auto& error) {
        EXPECT_TRUE(!gone || gone->empty());
        hear(error);
    };
    database->add(zones);
    database->add(making);
    database->add(wipe);
    database->add(upload);
    database->fetch("Errands-1", [&](const auto& found, const auto& error) {
        EXPECT_FALSE(found);
        hear(error);
    });
    database->save({zone, "Errands-1"}, [&](const auto& saved, const auto& error) {
        EXPECT_FALSE(saved);
        hear(error);
    });
    transport->run();
    for (int i = 0; i < 6; ++i) {
        transport->answer(200, GetParam());
    }
    EXPECT_EQ(errors.size(), 6U);
}

INSTANTIATE_TEST_SUITE_P(Each, WebDatabaseOddLists,
                         ::testing::Values("{}", "[]", "null", R"({"zones":null,"subscriptions":{},"records":1})",
                                           R"({"zones":[],"subscriptions":[],"records":[]})",
                                           R"({"zones":[7],"subscriptions":[7],"records":[7]})"));

TEST_F(WebDatabase, AnAbsentListOfSubscriptionsIsAnErrorAndNotNone) {
    for (const char* answer : {"{}", R"({"subscriptions":null})", R"({"subscriptions":{}})"}) {
        std::optional<std::vector<CKSubscription>> listed;
        std::optional<Error> failure;
        database->fetchAllSubscriptions([&](auto subscriptions, auto error) {
            listed = std::move(subscriptions);
            failure = std::move(error);
        });
        transport->run();
        transport->answer(200, answer);
        EXPECT_FALSE(listed);
        expectCode(failure, CKErrorCode::internalError);
    }
}

}  // namespace
}  // namespace quendokit::testing

/// \file
/// Pages with odd records on their way through the whole engine: which reminder is stored, that what was stored before
/// stays, and where the next download begins.

#include <algorithm>
#include <ostream>

#include "quendokit/platform/results.hpp"
#include "quendokit/store/quendokit_config.hpp"
#include "quendokit/store/reminder_controller.hpp"
#include "testing/in_memory_realm.hpp"
#include "tests/adapters/cloudkit_web/web_database_fixture.hpp"
#include "tests/support/sync_fixture.hpp"

namespace quendokit::testing {
namespace {

using Json = nlohmann::json;
using Texts = std::vector<std::string>;

/// What is stored before every page.
constexpr const char* before = "kept: bread at 1900000000 on -1";
constexpr const char* milk = "A1: milk at 1800000000.5 on -1";

Json goodRecord() {
    return Json::parse(R"({"recordName":"A1","recordType":"Reminder","recordChangeTag":"3f","deleted":false,"fields":{
        "title":{"value":"milk","type":"STRING"},"shown":{"value":0,"type":"INT64"},
        "internal_date":{"value":1800000000500,"type":"TIMESTAMP"},"internal_device":{"value":-1,"type":"INT64"}}})");
}

Json pageOf(const Json& records) {
    return {{"zones", Json::array({{{"zoneID", {{"zoneName", "Reminder Zone"}}},
                                    {"syncToken", "new"},
                                    {"moreComing", false},
                                    {"records", records}}})}};
}

/// A page with a good record, changed as `patch` says: null removes.
std::string withRecord(const char* patch) {
    Json record = goodRecord();
    record.merge_patch(Json::parse(patch));
    return pageOf(Json::array({record})).dump();
}

std::string withField(const std::string& name, const std::string& field) {
    return withRecord((R"({"fields":{")" + name + "\":" + field + "}}").c_str());
}

/// A page with `text` as it stands in the place of `good`, for what no library writes.
std::string withRaw(const std::string& good, const std::string& text) {
    std::string page = withRecord("{}");
    return page.replace(page.find(good), good.size(), text);
}

std::string withZone(const char* patch) {
    Json page = pageOf(Json::array({goodRecord()}));
    page["zones"][0].merge_patch(Json::parse(patch));
    return page.dump();
}

struct OddPage {
    std::string name;
    std::string body;
    /// What is stored beside what was.
    Texts stored = {};
    /// The token for the next download; empty for the beginning.
    std::string token = "new";
    int status = 200;

    friend void PrintTo(const OddPage& page, std::ostream* stream) { *stream << page.name; }
};

std::vector<OddPage> oddFields() {
    const auto shown = [](const char* value) { return withField("shown", value); };
    const auto date = [](const char* value) { return withField("internal_date", value); };
    const auto device = [](const char* value) { return withField("internal_device", value); };
    const auto title = [](const std::string& value) { return withField("title", value); };
    const std::string seen = std::string(milk) + " shown";
    return {
        {"Good", withRecord("{}"), {milk}},
        {"ShownZero", shown(R"({"value":0,"type":"INT64"})"), {milk}},
        {"ShownOne", shown(R"({"value":1,"type":"INT64"})"), {seen}},
        {"ShownTwo", shown(R"({"value":2,"type":"INT64"})"), {seen}},
        {"ShownWithAFraction", shown(R"({"value":1.0,"type":"DOUBLE"})"), {seen}},
        {"ShownFalse", shown(R"({"value":false})"), {milk}},
        {"ShownAText", shown(R"({"value":"1","type":"INT64"})")},
        {"ShownAPlainText", shown(R"({"value":"1","type":"STRING"})")},
        {"ShownNull", withRaw(R"("value":0)", R"("value":null)")},
        {"ShownMissing", shown("null")},
        {"DateWithAFraction",
         date(R"({"value":1800000000500.25,"type":"TIMESTAMP"})"),
         {"A1: milk at 1800000000.50025 on -1"}},
        {"DateAText", date(R"({"value":"2027-01-15","type":"TIMESTAMP"})")},
        {"DateNegative", date(R"({"value":-1500,"type":"TIMESTAMP"})"), {"A1: milk at -1.5 on -1"}},
        {"DateTooLarge", date(R"({"value":9223372036854775808,"type":"TIMESTAMP"})")},
        {"DateTooSmall", date(R"({"value":-9223372036854775808,"type":"TIMESTAMP"})")},
        {"DateBeyondDoubles", withRaw("1800000000500", "1e400"), {}, ""},
        {"DateWithoutType", date(R"({"type":null})")},
        {"DateANumber", date(R"({"type":"INT64"})")},
        {"DateMissing", date("null")},
        {"DeviceAText", device(R"({"value":"-1","type":"STRING"})")},
        {"DeviceUnknown", device(R"({"value":2})")},
        {"DeviceTooLarge", device(R"({"value":1099511627776})")},
        {"DeviceWithAFraction", device(R"({"value":-1.5,"type":"DOUBLE"})")},
        {"DeviceWithADate", device(R"({"value":1})")},
        {"DeviceMissing", device("null")},
        {"TitleANumber", title(R"({"value":1,"type":"INT64"})")},
        {"TitleBytes", title(R"({"value":"bWlsaw==","type":"BYTES"})")},
        {"TitleWithANul", title(R"({"value":"a\u0000b","type":"STRING"})")},
        {"TitleEmpty", title(R"({"value":"","type":"STRING"})"), {"A1:  at 1800000000.5 on -1"}},
        {"TitleOfAMegabyte",
         title(R"({"value":")" + std::string(1'000'000, 'x') + "\"}"),
         {"A1: " + std::string(1'000'000, 'x') + " at 1800000000.5 on -1"}},
        {"TitleMissing", title("null")},
    };
}

std::vector<OddPage> oddRecords() {
    const Json gone{{"recordName", "A1"}, {"deleted", true}};
    const Json other{{"recordName", "kept"}, {"deleted", true}, {"zoneID", {{"zoneName", "Other"}}}};
    const std::string bad = R"({"recordName":"B2","recordType":"Reminder","fields":{}},7,null)";
    std::string beside = withRecord("{}");
    beside.insert(beside.find(R"({"deleted":false)"), bad + ",");
    return {
        {"OfAnotherType", withRecord(R"({"recordType":"Errand","fields":null})")},
        {"OfNoType", withRecord(R"({"recordType":null})")},
        {"OfAnotherZone", withRecord(R"({"zoneID":{"zoneName":"Other"}})")},
        {"NameEmpty", withRecord(R"({"recordName":""})")},
        {"NameTooLong", withRecord((R"({"recordName":")" + std::string(256, 'x') + "\"}").c_str())},
        {"NameLikeAPath", withRecord(R"({"recordName":"../x"})"), {"../x: milk at 1800000000.5 on -1"}},
        {"NameWithALineFeed", withRecord(R"({"recordName":"A\n1"})")},
        {"FieldsAList", withRecord(R"({"fields":[]})")},
        {"DeletedThenChanged", pageOf(Json::array({gone, goodRecord()})).dump(), {milk}},
        {"ChangedThenDeleted", pageOf(Json::array({goodRecord(), gone})).dump()},
        {"DeletedInAnotherZone", pageOf(Json::array({other})).dump()},
        {"GoodBesideBad", beside, {milk}},
    };
}

std::vector<OddPage> oddPages() {
    const std::string good = withRecord("{}");
    std::string twice = good;
    twice.insert(twice.find(R"("syncToken")"), R"("syncToken":"first",)");
    return {
        {"Empty", "", {}, ""},
        {"CutOff", good.substr(0, good.size() - 3), {}, ""},
        {"Html", "<html><body>Sign in</body></html>", {}, ""},
        {"Redirect", "", {}, "", 302},
        {"BadGateway", "<html>Bad gateway</html>", {}, "", 502},
        {"NoCode", R"({"reason":"so it is"})", {}, "", 400},
        {"NoLists", "{}", {}, ""},
        {"NoRecords", withZone(R"({"records":null})"), {}, ""},
        {"TokenEmpty", withZone(R"({"syncToken":""})"), {}, ""},
        {"TokenNotBase64", withZone(R"({"syncToken":"é !"})"), {milk}, "é !"},
        {"TokenOfAMegabyte", withZone((R"({"syncToken":")" + std::string(1'000'000, 'A') + "\"}").c_str()), {}, ""},
        {"TokenTwice", twice, {milk}},
        {"TheSameTokenAndMoreComing", withZone(R"({"syncToken":"old","moreComing":true})"), {milk}, "old"},
    };
}

class EngineOverBadAnswers : public SyncFixture, public ::testing::WithParamInterface<OddPage> {
protected:
    EngineOverBadAnswers() : overWeb_(std::in_place, withWeb()) {
        ReminderItem bread = datedItem("kept", Date(1'900'000'000));
        bread.title = "bread";
        EXPECT_FALSE(realm->write([&] { realm->add(std::vector{bread}, true); }));
        make(SyncMethod::push);
        transport->run();
        transport->answer(200, R"({"zones":[{"zoneID":{"zoneName":"Reminder Zone"}}]})");
        controller = ReminderController::create(nullptr, realm, nullptr, manager);
        transport->run();
        // A subscription that is there, and the download that a new controller begins with.
        transport->answer(200, R"({"subscriptions":[{"subscriptionID":"Reminder Subscription",
            "zoneID":{"zoneName":"Reminder Zone"}}]})");
        Json first = pageOf(Json::array());
        first["zones"][0]["syncToken"] = "old";
        transport->answer(200, first.dump());
        mainQueue->runAll();
        EXPECT_TRUE(transport->sent.empty());
    }
    ~EngineOverBadAnswers() override {
        // A timer that still waits holds the manager, which holds the database.
        mainLoop->advanceBy(std::chrono::seconds(1));
        controller.reset();
        manager.reset();
        mainQueue->runAll();
        database.reset();
        overWeb_.reset();
        transport->drop();
    }

    [[nodiscard]] Texts stored() const {
        Texts texts;
        for (const ReminderItem& item : realm->objects<ReminderItem>().sorted("ID", false).toVector()) {
            std::string date = std::to_string(item._datetime.timeIntervalSince1970());
            date.erase(date.find_last_not_of('0') + 1);
            date.erase(date.find_last_not_of('.') + 1);
            texts.push_back(item.ID + ": " + item.title + " at " + date + " on " + std::to_string(item._device) +
                            (item.shown ? " shown" : "") + (item.pending ? " pending" : ""));
        }
        return texts;
    }

    /// The token that the next download asks with.
    [[nodiscard]] std::string nextToken() {
        manager->remoteSync();
        transport->run();
        const Json question = Json::parse(transport->sent.front().request.body.value());
        return question["zones"][0].value("syncToken", "");
    }

    static WebAccount account() {
        WebAccount account;
        account.url = "https://cloud.example";
        account.container = "iCloud.net.example.reminders";
        account.apiToken = "api-token";
        return account;
    }

    platform::Services withWeb() {
        platform::Services services = platform::services();
        services.containerProvider = std::make_shared<WebContainerProvider>(account().container, database);
        return services;
    }

    const std::shared_ptr<ScriptedTransport> transport = std::make_shared<ScriptedTransport>();
    const std::shared_ptr<InMemoryTokenStore> tokens = std::make_shared<InMemoryTokenStore>();
    std::shared_ptr<WebCloudDatabase> database =
        std::make_shared<WebCloudDatabase>(WebSession::open(account(), transport, tokens).value());
    const std::shared_ptr<InMemoryRealm> realm = InMemoryRealm::create(QuendoKitConfig());
    std::shared_ptr<ReminderController> controller;

private:
    std::optional<platform::ScopedInstall> overWeb_;
};

TEST_P(EngineOverBadAnswers, WhatIsGoodIsStoredAndWhatWasThereStays) {
    ASSERT_EQ(stored(), Texts{before});
    trace->clear();
    manager->remoteSync();
    transport->run();
    ASSERT_EQ(transport->sent.size(), 1U);
    transport->answer(GetParam().status, GetParam().body);
    EXPECT_TRUE(transport->sent.empty()) << "one page, one question";
    mainQueue->runAll();
    Texts expected = GetParam().stored;
    expected.emplace_back(before);
    std::sort(expected.begin(), expected.end());
    Texts found = stored();
    std::sort(found.begin(), found.end());
    EXPECT_EQ(found, expected);
    const Lines lines = taken();
    EXPECT_EQ(std::count(lines.begin(), lines.end(), "post quendokit.reminders.did-finish-remote-sync"), 1);
    EXPECT_EQ(std::count_if(lines.begin(), lines.end(), [](const auto& line) { return line.starts_with("NSLog "); }),
              GetParam().token.empty() ? 1 : 0);
    EXPECT_EQ(nextToken(), GetParam().token);
}

const auto nameOfRow = [](const auto& info) { return info.param.name; };
INSTANTIATE_TEST_SUITE_P(Fields, EngineOverBadAnswers, ::testing::ValuesIn(oddFields()), nameOfRow);
INSTANTIATE_TEST_SUITE_P(Records, EngineOverBadAnswers, ::testing::ValuesIn(oddRecords()), nameOfRow);
INSTANTIATE_TEST_SUITE_P(Pages, EngineOverBadAnswers, ::testing::ValuesIn(oddPages()), nameOfRow);

}  // namespace
}  // namespace quendokit::testing

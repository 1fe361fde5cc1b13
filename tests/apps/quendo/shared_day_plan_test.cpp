/// \file
/// One day plan in two homes.

#include <filesystem>
#include <fstream>

#include "apps/quendo/cloud/deferred_database.hpp"
#include "testing/in_memory_cloud_database.hpp"
#include "testing/manual_dispatch_queue.hpp"
#include "tests/apps/quendo/two_homes_fixture.hpp"

namespace quendo::testing {
namespace {

class SharedDayPlanTest : public TwoHomes {
protected:
    /// What the home's day plan says.
    json option(const std::string& name, const std::string& key) const { return answer(name, {"options"}).at(key); }
    void set(const std::string& name, const std::string& key, const std::string& value) const {
        answer(name, {"options", "set", key, value});
    }
};

TEST_F(SharedDayPlanTest, TravelsInBothDirections) {
    connectBoth();
    set("a", "evening", "19:30");
    set("a", "has-mac-app", "false");
    EXPECT_EQ(option("b", "evening"), 64'800) << "nothing comes before the sync";
    EXPECT_EQ(sync("b"), counts(0, 0, 0));
    EXPECT_EQ(option("b", "evening"), 70'200);
    EXPECT_EQ(option("b", "has-mac-app"), false) << "a boolean comes back a boolean";

    set("b", "first-workday", "sunday");
    sync("a");
    EXPECT_EQ(option("a", "first-workday"), 1);
    EXPECT_EQ(option("a", "evening"), 70'200);

    answer("a", {"options", "reset"});
    sync("b");
    EXPECT_EQ(answer("b", {"options"}), answer("a", {"options"}));
    EXPECT_EQ(option("b", "evening"), 64'800);
}

TEST_F(SharedDayPlanTest, ChangedWithoutAServerGoesWithTheNextSync) {
    connectBoth();
    server->stop();
    const ProgramResult result = run("a", {"--json", "options", "set", "later", "2h"});
    EXPECT_EQ(result.code, 0);
    EXPECT_EQ(json::parse(result.output, nullptr, false).at("later"), 7'200);
    EXPECT_THAT(result.errors, HasSubstr("goes to the other devices with the next sync"));
    EXPECT_EQ(result.errors.find('\n'), result.errors.size() - 1) << result.errors;
    server->start();
    // Meanwhile another one was changed elsewhere.
    set("b", "postpone", "5m");
    sync("a");
    sync("b");
    for (const std::string name : {"a", "b"}) {
        EXPECT_EQ(option(name, "later"), 7'200);
        EXPECT_EQ(option(name, "postpone"), 300);
    }
}

TEST_F(SharedDayPlanTest, MadeBeforeThereWasACloudIsShared) {
    set("a", "afternoon", "13:00");
    set("b", "afternoon", "14:00");
    set("b", "later", "1h");
    answer("a", connecting(tokens_.at("a")));
    sync("a");
    answer("b", connecting(tokens_.at("b")));
    sync("b");
    sync("a");
    EXPECT_EQ(option("b", "afternoon"), 46'800) << "what the cloud has counts";
    EXPECT_EQ(option("a", "later"), 3'600) << "and what it has not is added";
}

TEST_F(SharedDayPlanTest, WithAVoidTokenIsChangedHereAlone) {
    connectBoth();
    server->rotate("ann");
    const ProgramResult result = run("a", {"--json", "options", "set", "later", "2h"});
    EXPECT_EQ(result.code, 0);
    EXPECT_THAT(result.errors, HasSubstr("goes to the other devices with the next sync"));
    expectNoSecret(result.errors);
    EXPECT_EQ(option("a", "later"), 7'200);
}

TEST_F(SharedDayPlanTest, IsNotFetchedByCommandsThatOnlyRead) {
    connectBoth();
    set("a", "evening", "19:30");
    answer("b", {"presets"});
    answer("b", {"add", "Tea", "--preset", "this-evening"});
    EXPECT_EQ(option("b", "evening"), 64'800);
    server->stop();
    answer("b", {"presets"});
}

TEST_F(SharedDayPlanTest, ThatCouldNotBeWrittenWhenItCameIsTakenOverLater) {
    connectBoth();
    std::filesystem::copy_file(home("b") + "/settings.json", home("settings-before"));
    set("a", "evening", "19:30");
    sync("b");
    EXPECT_EQ(option("b", "evening"), 70'200);
    // As after a crash between the two files, or from a backup.
    std::filesystem::copy_file(home("settings-before"), home("b") + "/settings.json",
                               std::filesystem::copy_options::overwrite_existing);
    EXPECT_EQ(option("b", "evening"), 64'800);
    sync("b");
    EXPECT_EQ(option("b", "evening"), 70'200);
    sync("a");
    EXPECT_EQ(option("a", "evening"), 70'200);
}

TEST_F(SharedDayPlanTest, ThatIsUnsentSurvivesLeavingTheCloud) {
    connectBoth();
    set("a", "evening", "21:00");
    server->stop();
    EXPECT_EQ(run("a", {"options", "set", "evening", "22:00"}).code, 0);
    answer("a", {"cloud", "disconnect"});
    // Changed once more while there is no cloud.
    set("a", "evening", "22:30");
    server->start();
    answer("a", connecting(server->addDevice("ann", "a again")));
    sync("a");
    EXPECT_EQ(option("a", "evening"), 81'000);
    sync("b");
    EXPECT_EQ(option("b", "evening"), 81'000);
}

TEST_F(SharedDayPlanTest, WhatIsRemovedDoesNotComeBack) {
    connectBoth();
    set("a", "has-mac-app", "true");
    sync("b");
    set("a", "has-mac-app", "none");
    sync("b");
    EXPECT_EQ(option("b", "has-mac-app"), true) << "others keep what they have";
    set("b", "evening", "19:30");
    sync("a");
    EXPECT_EQ(option("a", "evening"), 70'200);
    EXPECT_TRUE(option("a", "has-mac-app").is_null());
}

TEST_F(SharedDayPlanTest, IsReadAnewFromAnotherCloud) {
    connectBoth();
    set("a", "evening", "19:30");
    ClouddProcess other(QUENDO_CLOUDD_PROGRAM);
    const auto tokens = other.addUser("ann");
    answer("a", {"cloud", "connect", other.url(), "--container", container, "--token-file", tokenFile(tokens)});
    sync("a");
    const auto more = other.addDevice("ann", "c");
    answer("c", {"cloud", "connect", other.url(), "--container", container, "--token-file", tokenFile(more)});
    sync("c");
    EXPECT_EQ(option("c", "evening"), 70'200) << "what only this device has goes to the new one";
}

TEST_F(SharedDayPlanTest, ThatWouldEndTheProgramIsLeftAside) {
    connectBoth();
    // As another program may write it: no day of the week, and under it a time that is good.
    json copy = {{"entries",
                  {{{"name", "cXVlbmRva2l0Lm9wdGlvbnMuZmlyc3Qtd29ya2RheQ=="},
                    {"kind", "integer"},
                    {"value", "0"},
                    {"unsent", true}},
                   {{"name", "cXVlbmRva2l0Lm9wdGlvbnMuZXZlbmluZw=="},
                    {"kind", "integer"},
                    {"value", "68400"},
                    {"unsent", true}}}}};
    std::ofstream(home("a") + "/shared-settings.json") << json{{"cloud.key-values", copy.dump()}};
    EXPECT_EQ(run("a", {"sync"}).code, 0);
    const ProgramResult result = run("b", {"sync"});
    EXPECT_EQ(result.code, 0) << result.errors;
    EXPECT_THAT(result.errors, HasSubstr("quendokit.options.first-workday holds 0"));
    EXPECT_EQ(option("b", "first-workday"), 2);
    EXPECT_EQ(option("b", "evening"), 68'400);
    // Whoever sets it again heals it everywhere.
    EXPECT_EQ(run("b", {"options", "set", "first-workday", "sunday"}).code, 0);
    EXPECT_EQ(run("a", {"sync"}).code, 0);
    EXPECT_EQ(option("a", "first-workday"), 1);
}

TEST_F(SharedDayPlanTest, WhoseCopyIsDamagedIsFetchedAnew) {
    connectBoth();
    set("a", "evening", "19:30");
    for (const std::string name : {"/shared-settings.json", "/shared-settings.json.backup"}) {
        std::ofstream(home("b") + name) << "{";
    }
    const ProgramResult result = run("b", {"sync"});
    EXPECT_EQ(result.code, 0);
    EXPECT_THAT(result.errors, HasSubstr("shared-settings.json"));
    EXPECT_EQ(option("b", "evening"), 70'200);
}

TEST(DeferredCloudDatabase, KeepsTheOrderAndAsksNobodyBefore) {
    using namespace quendokit;
    const auto queue = std::make_shared<quendokit::testing::ManualDispatchQueue>();
    const auto cloud = std::make_shared<quendokit::testing::InMemoryCloud>();
    const auto behind = quendokit::testing::InMemoryCloudDatabase::create(cloud, queue);
    DeferredCloudDatabase database;
    std::vector<std::string> answers;
    const auto question = [&](const std::string& name) {
        auto operation =
            std::make_shared<CKModifyRecordZonesOperation>(std::vector{CKRecordZone{{name}}}, std::nullopt);
        operation->modifyRecordZonesCompletion = [&answers, name](const auto&, const auto&, const auto& error) {
            answers.push_back(error ? error->description : name);
        };
        return operation;
    };
    database.add(question("one"));
    database.fetch("s", [&](const auto&, const auto&) { answers.emplace_back("fetch"); });
    database.fetchAllSubscriptions([&](const auto&, const auto&) { answers.emplace_back("all"); });
    EXPECT_EQ(queue->count(), 0U);
    database.open(behind);
    database.open(nullptr);
    database.save(CKSubscription{{"one"}, "s"}, [&](const auto&, const auto&) { answers.emplace_back("save"); });
    database.add(question("two"));
    queue->runAll();
    EXPECT_EQ(answers, (std::vector<std::string>{"one", "fetch", "all", "save", "two"}));
}

}  // namespace
}  // namespace quendo::testing

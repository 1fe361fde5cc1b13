/// \file
/// Two homes of one person and a server of their own, over real sockets.

#include <filesystem>
#include <fstream>
#include <sstream>

#include "tests/apps/quendo/two_homes_fixture.hpp"

namespace quendo::testing {
namespace {

TEST_F(TwoHomes, ShareAReminderFromItsAddingToItsEnd) {
    connectBoth();
    const std::string id = answer("a", {"add", "Call the bank", "--at", "2050-01-02 18:00"}).at("id");
    EXPECT_EQ(sync("a"), counts(1, 0, 0));
    EXPECT_EQ(sync("b"), counts(0, 1, 0));
    expectSame();

    answer("b", {"postpone", id, "--action", "short"});
    EXPECT_EQ(sync("b"), counts(1, 0, 0));
    EXPECT_EQ(sync("a"), counts(0, 1, 0));
    expectSame();
    EXPECT_THAT(answer("a", {"show", id}).at("condition").at("date"), HasSubstr("2050-01-02T18:20"));

    answer("a", {"edit", id, "--title", "Call the other bank"});
    EXPECT_EQ(sync("a"), counts(1, 0, 0));
    EXPECT_EQ(sync("b"), counts(0, 1, 0));
    expectSame();

    answer("b", {"seen", id});
    EXPECT_EQ(sync("b"), counts(1, 0, 0));
    EXPECT_EQ(sync("a"), counts(0, 1, 0));
    EXPECT_TRUE(answer("a", {"show", id}).at("shown"));

    answer("a", {"delete", id});
    EXPECT_EQ(answer("a", {"sync"}).at("uploaded"), json::array({id}));
    EXPECT_EQ(sync("b"), counts(0, 0, 1));
    EXPECT_EQ(reminders("a"), json::array());
    EXPECT_EQ(reminders("b"), json::array());
}

TEST_F(TwoHomes, SyncAgainDoesNothing) {
    connectBoth();
    answer("a", {"add", "At the Mac", "--mac"});
    EXPECT_EQ(sync("a"), counts(1, 0, 0));
    EXPECT_EQ(sync("a"), counts(0, 0, 0));
    const json status = answer("a", {"cloud", "status"});
    EXPECT_EQ(status.at("connected"), true);
    EXPECT_EQ(status.at("zone"), "Reminder Zone");
    EXPECT_EQ(status.at("unsent"), 0);
    EXPECT_TRUE(status.at("lastUpload").is_object());
    EXPECT_TRUE(status.at("lastDownload").is_object());
    EXPECT_TRUE(status.at("lastError").is_null());
}

TEST_F(TwoHomes, KeepWhatWasChangedWhileThereWasNoServer) {
    connectBoth();
    const std::string id = answer("a", {"add", "Tea", "--at", "2050-01-02 18:00"}).at("id");
    EXPECT_EQ(sync("a"), counts(1, 0, 0));
    EXPECT_EQ(sync("b"), counts(0, 1, 0));
    server->stop();
    answer("a", {"edit", id, "--title", "Green tea"});
    expectOneLine(run("a", {"sync", "--timeout", "1"}), 5, "not done within 1 seconds");
    EXPECT_EQ(answer("a", {"status"}).at("unsent"), 1);
    EXPECT_TRUE(answer("a", {"cloud", "status"}).at("lastError").is_string());
    server->start();
    EXPECT_EQ(sync("a"), counts(1, 0, 0));
    EXPECT_EQ(sync("b"), counts(0, 1, 0));
    EXPECT_EQ(answer("b", {"show", id}).at("title"), "Green tea");
    expectSame();
}

TEST_F(TwoHomes, SendMoreThanOneRequestHolds) {
    connectBoth();
    json all = json::array();
    for (int i = 0; i < 401; ++i) {
        all.push_back(
            {{"title", "Reminder " + std::to_string(i)}, {"condition", {{"type", "device"}, {"device", "mac"}}}});
    }
    std::ofstream(home("many.json")) << all;
    EXPECT_EQ(answer("a", {"import", home("many.json")}), (json{{"imported", 401}}));
    EXPECT_EQ(sync("a"), counts(401, 0, 0));
    EXPECT_EQ(sync("b"), counts(0, 401, 0));
    expectSame();
}

TEST_F(TwoHomes, SendMoreThanOneRequestHoldsWithTheirFirstSync) {
    json all = json::array();
    for (int i = 0; i < 450; ++i) {
        all.push_back({{"title", "Tea"}, {"condition", {{"type", "device"}, {"device", "mac"}}}});
    }
    std::ofstream(home("many.json")) << all;
    answer("a", {"import", home("many.json")});
    answer("a", connecting(tokens_.at("a")));
    EXPECT_EQ(sync("a"), counts(450, 0, 0)) << "each once, and no echo";
    EXPECT_EQ(sync("a"), counts(0, 0, 0));
    answer("b", connecting(tokens_.at("b")));
    EXPECT_EQ(sync("b"), counts(0, 450, 0));
    expectSame();
}

TEST_F(TwoHomes, SendEverythingToAServerThatWasMadeAnew) {
    connectBoth();
    const std::string id = answer("a", {"add", "Tea", "--mac"}).at("id");
    EXPECT_EQ(sync("a"), counts(1, 0, 0));
    answer("a", {"options", "set", "evening", "19:30"});
    server->loseEverything();
    answer("a", connecting(server->addUser("ann")));
    EXPECT_EQ(answer("a", {"sync"}).at("uploaded"), json::array({id}));
    EXPECT_EQ(sync("a"), counts(0, 0, 0));
    answer("c", connecting(server->addDevice("ann", "c")));
    EXPECT_EQ(sync("c"), counts(0, 1, 0));
    EXPECT_EQ(reminders("a"), reminders("c"));
    EXPECT_EQ(answer("c", {"options"}).at("evening"), 70'200);
}

TEST_F(TwoHomes, GetEverythingBackWhoseDatabaseIsGone) {
    connectBoth();
    answer("a", {"add", "Tea", "--mac"});
    EXPECT_EQ(sync("a"), counts(1, 0, 0));
    for (const char* suffix : {"", "-wal", "-shm"}) {
        std::filesystem::remove(home("a") + "/reminders.sqlite" + suffix);
    }
    EXPECT_EQ(sync("a"), counts(0, 1, 0));
}

TEST_F(TwoHomes, KeepWhatAServerWithAFullDiskDoesNotTake) {
    connectBoth();
    json all = json::array();
    for (int i = 0; i < 1'500; ++i) {
        all.push_back({{"title", std::string(300, 't')}, {"condition", {{"type", "device"}, {"device", "mac"}}}});
    }
    std::ofstream(home("many.json")) << all;
    answer("a", {"import", home("many.json")});
    server->restartOnADiskOf(400'000);
    expectOneLine(run("a", {"sync", "--timeout", "5"}), 5, "quendo: ");
    EXPECT_GT(answer("a", {"status"}).at("unsent"), 0);
    server->stop();
    server->start();
    sync("a");
    EXPECT_EQ(answer("a", {"status"}).at("unsent"), 0);
    sync("b");
    expectSame();
}

TEST_F(TwoHomes, SayThatTheFileOfTheirAccountIsDamaged) {
    connectBoth();
    const auto damage = [&] {
        for (const char* name : {"/cloud.json", "/cloud.json.backup"}) {
            std::ofstream(home("a") + name) << "{";
        }
    };
    for (const auto& words :
         std::vector<std::vector<std::string>>{{"sync"}, {"status"}, {"cloud", "status"}, {"cloud", "disconnect"}}) {
        damage();
        expectOneLine(run("a", words), 4, "cloud.json");
    }
    damage();
    const ProgramResult added = run("a", {"add", "Tea", "--mac"});
    EXPECT_EQ(added.code, 0);
    EXPECT_THAT(added.errors, HasSubstr("cloud.json"));
}

TEST_F(TwoHomes, AreNotConnectedWithAWrongToken) {
    ClouddProcess::Tokens wrong = tokens_.at("a");
    wrong.web.back() = wrong.web.back() == 'A' ? 'B' : 'A';
    const ProgramResult result = run("a", connecting(wrong));
    EXPECT_EQ(result.code, 5);
    expectOneLine(result, 5, server->url().substr(7));
    expectNoSecret(result.errors);
    EXPECT_EQ(answer("a", {"cloud", "status"}), (json{{"connected", false}}));
}

TEST_F(TwoHomes, SayThatATokenIsNoLongerGoodAndLoseNothing) {
    connectBoth();
    answer("a", {"add", "Tea", "--mac"});
    server->rotate("ann");
    const ProgramResult result = run("a", {"sync"});
    expectOneLine(result, 5, "quendo: ");
    expectNoSecret(result.errors);
    EXPECT_EQ(answer("a", {"status"}).at("unsent"), 1);
    EXPECT_EQ(sync("b"), counts(0, 0, 0)) << "another device stays signed in";
}

TEST_F(TwoHomes, NeedAnAccountToSync) {
    expectOneLine(run("a", {"sync"}), 1, "no cloud is connected");
    expectOneLine(run("a", {"cloud", "disconnect"}), 1, "no cloud is connected");
    EXPECT_EQ(answer("a", {"status"}), (json{{"daemon", nullptr},
                                             {"next", nullptr},
                                             {"unsent", 0},
                                             {"lastUpload", nullptr},
                                             {"lastDownload", nullptr},
                                             {"lastError", nullptr},
                                             {"notifications", nullptr}}));
}

TEST_F(TwoHomes, ForgetTheAccountAndKeepTheReminders) {
    connectBoth();
    answer("a", {"add", "Tea", "--mac"});
    EXPECT_EQ(sync("a"), counts(1, 0, 0));
    EXPECT_EQ(answer("a", {"cloud", "disconnect"}), (json{{"connected", false}}));
    EXPECT_EQ(reminders("a").size(), 1U);
    EXPECT_EQ(answer("a", {"cloud", "status"}), (json{{"connected", false}}));
    for (const auto& file : std::filesystem::recursive_directory_iterator(home("a"))) {
        std::ifstream stream(file.path());
        std::stringstream text;
        text << stream.rdbuf();
        EXPECT_THAT(text.str(), Not(HasSubstr("web-token"))) << file.path();
        expectNoSecret(text.str());
    }
    // Connected anew, it reads everything from the beginning.
    answer("a", connecting(server->addDevice("ann", "a again")));
    EXPECT_EQ(sync("a"), counts(0, 1, 0));
}

TEST_F(TwoHomes, TakeTheirRemindersToAnotherCloud) {
    connectBoth();
    const std::string id = answer("a", {"add", "Tea", "--mac"}).at("id");
    answer("a", {"delete", answer("a", {"add", "Gone", "--mac"}).at("id")});
    EXPECT_EQ(sync("a").at("uploaded"), 2);
    ClouddProcess other(QUENDO_CLOUDD_PROGRAM);
    const auto connect = [&](const std::string& name, const ClouddProcess::Tokens& tokens) {
        answer(name, {"cloud", "connect", other.url(), "--container", container, "--token-file", tokenFile(tokens)});
    };
    connect("c", other.addUser("ann"));
    const std::string there = answer("c", {"add", "Coffee", "--mac"}).at("id");
    sync("c");
    connect("a", other.addDevice("ann", "a"));
    EXPECT_EQ(answer("a", {"sync"}).at("uploaded"), json::array({id}));
    EXPECT_EQ(sync("a"), counts(0, 0, 0)) << "once is enough";
    EXPECT_EQ(sync("c"), counts(0, 1, 0));
    EXPECT_EQ(reminders("a"), reminders("c"));
    EXPECT_EQ(answer("a", {"show", there}).at("title"), "Coffee");
}

TEST_F(TwoHomes, LoseNothingThatArrivesOnAFullDisk) {
    connectBoth();
    json all = json::array();
    for (int i = 0; i < 2'000; ++i) {
        all.push_back({{"title", std::string(200, 't')}, {"condition", {{"type", "device"}, {"device", "mac"}}}});
    }
    std::ofstream(home("many.json")) << all;
    answer("a", {"import", home("many.json")});
    sync("a");
    // No file of this program may be larger than half a megabyte.
    const std::string line =
        "ulimit -f 1000; trap '' XFSZ; exec '" + std::string(QUENDO_PROGRAM) + "' --home '" + home("b") + "' sync";
    const auto begin = std::chrono::steady_clock::now();
    const ProgramResult full = quendokit::testing::runProgram({"bash", "-c", line});
    EXPECT_EQ(full.code, 1) << full.errors;
    EXPECT_EQ(full.output, "");
    EXPECT_EQ(full.errors.find('\n'), full.errors.size() - 1) << full.errors;
    EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(20)) << "it does not try for ever";
    sync("b");
    expectSame();
}

TEST_F(TwoHomes, GetEverythingBackAfterClear) {
    connectBoth();
    answer("a", {"add", "Tea", "--mac"});
    EXPECT_EQ(sync("a"), counts(1, 0, 0));
    EXPECT_EQ(answer("a", {"clear", "--yes"}), (json{{"removed", 1}}));
    EXPECT_EQ(reminders("a"), json::array());
    EXPECT_EQ(sync("a"), counts(0, 1, 0));
    EXPECT_EQ(reminders("a").size(), 1U);
}

TEST_F(TwoHomes, NeverShowATokenAndKeepTheAccountToThemselves) {
    connectBoth();
    answer("a", {"add", "Tea", "--mac"});
    std::string all;
    for (const auto& words :
         std::vector<std::vector<std::string>>{{"sync"},
                                               {"status"},
                                               {"cloud", "status"},
                                               {"doctor"},
                                               {"cloud", "connect", "nonsense", "--container", "x", "--api-token",
                                                tokens_.at("a").api, "--web-token", tokens_.at("a").web}}) {
        const ProgramResult result = run("a", words);
        all += result.output + result.errors;
    }
    std::ifstream log(home("a") + "/quendo.log");
    std::stringstream logged;
    logged << log.rdbuf();
    EXPECT_NE(logged.str(), "");
    expectNoSecret(all + logged.str());
    const auto mode = std::filesystem::status(home("a") + "/cloud.json").permissions();
    EXPECT_EQ(mode, std::filesystem::perms::owner_read | std::filesystem::perms::owner_write);
}

TEST_F(TwoHomes, AreExaminedByTheDoctorAndAskTheCloud) {
    const auto finding = [&] {
        const ProgramResult result = run("a", {"--json", "doctor"});
        for (const json& each : json::parse(result.output, nullptr, false)) {
            if (each.at("check") == "cloud") {
                EXPECT_EQ(result.code, each.at("ok") == true ? 0 : 1);
                return each;
            }
        }
        return json();
    };
    EXPECT_EQ(finding(), (json{{"check", "cloud"}, {"ok", true}, {"detail", "none is connected"}}));
    connectBoth();
    EXPECT_EQ(finding(), (json{{"check", "cloud"}, {"ok", true}, {"detail", server->url() + " answers"}}));
    EXPECT_EQ(sync("a"), counts(0, 0, 0)) << "the token that the doctor was given is kept";
    server->stop();
    EXPECT_EQ(finding().at("ok"), false);
    server->start();
    server->rotate("ann");
    EXPECT_EQ(finding().at("ok"), false);
    expectNoSecret(finding().dump());
}

TEST_F(TwoHomes, RefuseAccountsThatCannotBeMeant) {
    const auto& tokens = tokens_.at("a");
    const auto connect = [&](const std::string& url, std::vector<std::string> more) {
        more.insert(more.begin(), {"cloud", "connect", url});
        return run("a", more);
    };
    const std::string file = tokenFile(tokens);
    expectOneLine(connect("nonsense", {"--container", "c", "--token-file", file}), 2, "URL");
    expectOneLine(connect("http://cloud.example.org", {"--container", "c", "--token-file", file}), 2, "encryption");
    expectOneLine(connect(server->url(), {"--container", "c", "--token-file", file, "--environment", "moon"}), 2,
                  "development");
    expectOneLine(connect(server->url(), {"--token-file", file}), 2, "--container");
    expectOneLine(connect(server->url(), {"--container", "c"}), 2, "two tokens");
    expectOneLine(connect(server->url(), {"--container", "c", "--token-file", home("missing")}), 2, "missing");
    expectOneLine(connect(server->url(), {"--container", "c", "--token-file", file, "--web-token", "x"}), 2,
                  "exclude each other");
    std::ofstream(home("odd.json")) << "{\"api-token\": 1}";
    expectOneLine(connect(server->url(), {"--container", "c", "--token-file", home("odd.json")}), 2, "holds no tokens");
    expectOneLine(run("a", {"sync", "--timeout", "0"}), 2, "seconds");
    EXPECT_EQ(answer("a", {"cloud", "status"}), (json{{"connected", false}}));
}

}  // namespace
}  // namespace quendo::testing

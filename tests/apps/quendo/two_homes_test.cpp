/// \file
/// Two homes of one person and a server of their own, over real sockets.

#include <fstream>
#include <memory>
#include <sstream>

#include <gmock/gmock.h>

#include "tests/apps/quendo/program_fixture.hpp"
#include "tests/support/cloudd_process.hpp"

namespace quendo::testing {
namespace {

using nlohmann::json;
using quendokit::testing::ClouddProcess;
using quendokit::testing::TemporaryFolder;
using ::testing::HasSubstr;
using ::testing::Not;

class TwoHomes : public ::testing::Test {
protected:
    static constexpr const char* container = "iCloud.net.example.reminders";

    TwoHomes() {
        tokens_["a"] = server->addUser("ann");
        tokens_["b"] = server->addDevice("ann", "b");
    }

    [[nodiscard]] std::string home(const std::string& name) const { return (folder_.path() / name).string(); }
    [[nodiscard]] ProgramResult run(const std::string& name, std::vector<std::string> arguments) const {
        arguments.insert(arguments.begin(), {QUENDO_PROGRAM, "--home", home(name)});
        return quendokit::testing::runProgram(arguments, {{"TZ", "Europe/Berlin"}, {"LC_ALL", "C.UTF-8"}});
    }
    json answer(const std::string& name, std::vector<std::string> arguments) const {
        arguments.insert(arguments.begin(), "--json");
        const ProgramResult result = run(name, std::move(arguments));
        EXPECT_EQ(result.code, 0) << result.errors;
        EXPECT_EQ(result.errors, "");
        return json::parse(result.output, nullptr, false);
    }

    [[nodiscard]] std::string tokenFile(const ClouddProcess::Tokens& tokens) const {
        std::ofstream(home("tokens.json")) << json{{"api-token", tokens.api}, {"web-token", tokens.web}};
        return home("tokens.json");
    }
    [[nodiscard]] std::vector<std::string> connecting(const ClouddProcess::Tokens& tokens) const {
        return {"cloud", "connect", server->url(), "--container", container, "--token-file", tokenFile(tokens)};
    }
    void connectBoth() {
        for (const std::string name : {"a", "b"}) {
            EXPECT_EQ(answer(name, connecting(tokens_.at(name))),
                      (json{{"connected", true}, {"url", server->url()}, {"container", container}}));
            EXPECT_EQ(sync(name), counts(0, 0, 0));
        }
    }
    /// The answer of a sync, in which only the number of uploads counts.
    json sync(const std::string& name) const {
        json synced = answer(name, {"sync"});
        synced["uploaded"] = synced.at("uploaded").size();
        return synced;
    }
    static json counts(std::size_t uploaded, std::size_t received, std::size_t deleted) {
        return {{"uploaded", uploaded}, {"received", received}, {"deleted", deleted}};
    }
    /// What is stored there, without what only that device knows.
    json reminders(const std::string& name) const {
        json list = answer(name, {"list", "--deleted"});
        for (json& each : list) {
            each.erase("list");
        }
        return list;
    }
    void expectSame() const { EXPECT_EQ(reminders("a"), reminders("b")); }
    static void expectOneLine(const ProgramResult& result, int code, const std::string& words) {
        EXPECT_EQ(result.code, code);
        EXPECT_EQ(result.output, "");
        EXPECT_THAT(result.errors, HasSubstr(words));
        EXPECT_EQ(result.errors.find('\n'), result.errors.size() - 1) << result.errors;
    }
    /// No token of anybody stands in it.
    void expectNoSecret(const std::string& text) const {
        for (const auto& [name, tokens] : tokens_) {
            EXPECT_THAT(text, Not(HasSubstr(tokens.api)));
            EXPECT_THAT(text, Not(HasSubstr(tokens.web)));
        }
    }

    const TemporaryFolder folder_;
    std::unique_ptr<ClouddProcess> server = std::make_unique<ClouddProcess>(QUENDO_CLOUDD_PROGRAM);
    std::map<std::string, ClouddProcess::Tokens> tokens_;
};

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
    // Connected anew, it reads everything from the beginning.
    answer("a", connecting(server->addDevice("ann", "a again")));
    EXPECT_EQ(sync("a"), counts(0, 1, 0));
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

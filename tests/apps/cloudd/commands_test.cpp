/// \file
/// The program, run as a person runs it.

#include <algorithm>
#include <csignal>
#include <fstream>
#include <iterator>
#include <random>
#include <regex>
#include <set>
#include <sqlite3.h>
#include <sstream>
#include <thread>

#include <sys/stat.h>
#include <sys/wait.h>

#include "tests/apps/cloudd/program_fixture.hpp"

namespace cloudd::testing {
namespace {

class CloudProgram : public ServerProgram {};

TEST_F(CloudProgram, AUserIsAddedListedAndRemoved) {
    const json added = answer({"user", "add", "anna"});
    EXPECT_EQ(added.at("user"), "anna");
    EXPECT_EQ(added.at("api-token").get<std::string>().size(), 64U);
    EXPECT_EQ(added.at("web-token").get<std::string>().size(), 64U);
    EXPECT_NE(added.at("api-token"), added.at("web-token"));
    const json device = answer({"device", "add", "anna", "phone"});
    EXPECT_EQ(device.at("device"), "phone");
    EXPECT_NE(device.at("web-token"), added.at("web-token"));
    EXPECT_EQ(answer({"user", "list"}), json::array({{{"user", "anna"}, {"devices", {"phone"}}}}));
    EXPECT_EQ(run({"user", "list"}).output, "anna\n  phone\n");
    expectRefusal({"user", "add", "anna"}, 1, "already");
    expectRefusal({"device", "add", "anna", "phone"}, 1, "already");
    expectRefusal({"user", "remove", "anna"}, 2, "--yes");
    EXPECT_EQ(answer({"user", "remove", "anna", "--yes"}), (json{{"removed", "anna"}}));
    EXPECT_EQ(run({"user", "list"}).output, "No users.\n");
    EXPECT_TRUE(std::filesystem::is_empty(data_ / "users"));
    expectRefusal({"user", "remove", "anna", "--yes"}, 1, "no user \"anna\"");
    expectRefusal({"device", "add", "anna", "tablet"}, 1, "no user \"anna\"");
}

TEST_F(CloudProgram, RotatingPrintsNewTokens) {
    const json added = answer({"user", "add", "anna"});
    const json first = answer({"token", "rotate", "anna"});
    EXPECT_NE(first.at("web-token"), added.at("web-token"));
    EXPECT_NE(first.at("api-token"), added.at("api-token"));
    EXPECT_FALSE(first.contains("device"));
    expectRefusal({"token", "rotate", "anna", "phone"}, 1, "no device \"phone\"");
    answer({"device", "add", "anna", "phone"});
    EXPECT_EQ(answer({"token", "rotate", "anna", "phone"}).at("device"), "phone");
}

TEST_F(CloudProgram, ForAPersonTheAnswerIsASentence) {
    const ProgramResult result = run({"user", "add", "anna"});
    EXPECT_EQ(result.code, 0);
    EXPECT_EQ(result.output.find("The tokens for \"anna\", shown this once:\n  api-token  "), 0U);
}

TEST_F(CloudProgram, WrongUsageIsOneLine) {
    expectRefusal({}, 2, "no command");
    expectRefusal({"fly"}, 2, "no command \"fly\"");
    expectRefusal({"user"}, 2, "no command");
    expectRefusal({"user", "add"}, 2, "NAME");
    expectRefusal({"user", "add", "anna", "berta"}, 2, "berta");
    expectRefusal({"user", "add", ""}, 2, "is no name");
    expectRefusal({"user", "add", "a\nb"}, 2, "is no name");
    expectRefusal({"user", "add", std::string(65, 'x')}, 2, "is no name");
    expectRefusal({"user", "add", "\xff"}, 2, "is no name");
    expectRefusal({"serve", "--tls-cert", "x"}, 2, "--tls-key");
    expectRefusal({"serve", "--listen", "localhost"}, 2, "127.0.0.1:8420");
    expectRefusal({"serve", "--listen", "nowhere:1"}, 2, "--listen");
    expectRefusal({"serve", "--listen", "127.0.0.1:65536"}, 2, "--listen");
    expectRefusal({"serve", "--listen", "0.0.0.0:0"}, 2, "--insecure");
    expectRefusal({"serve", "--listen", "[::]:0"}, 2, "--insecure");
    expectRefusal({"serve", "--listen", "192.0.2.1:0", "--insecure"}, 1, "192.0.2.1:0");
    EXPECT_FALSE(std::filesystem::exists(data_));
    const ProgramResult noFolder = quendokit::testing::runProgram({QUENDO_CLOUDD, "user", "list"});
    EXPECT_EQ(noFolder.code, 2);
    EXPECT_NE(noFolder.errors.find("--data"), std::string::npos);
    EXPECT_EQ(run({"--help"}).code, 0);
    EXPECT_EQ(run({"--version"}).output.rfind("quendo-cloudd ", 0), 0U);
}

TEST_F(CloudProgram, TheManualNamesEachCommandAndOptionOfTheHelp) {
    std::ifstream file(QUENDO_CLOUDD_MANUAL);
    const std::string manual{std::istreambuf_iterator<char>(file), {}};
    std::set<std::string> helped;
    const std::regex option("--[a-z][a-z-]*");
    for (const std::vector<std::string>& command : {std::vector<std::string>{},
                                                    {"serve"},
                                                    {"user", "add"},
                                                    {"user", "list"},
                                                    {"user", "remove"},
                                                    {"device", "add"},
                                                    {"token", "rotate"},
                                                    {"backup"},
                                                    {"check"}}) {
        std::string name;
        for (const std::string& word : command) {
            name += (name.empty() ? "" : " ") + word;
        }
        EXPECT_NE(manual.find("\n*" + name), std::string::npos) << name;
        std::vector<std::string> words = command;
        words.emplace_back("--help");
        const std::string help = run(words).output;
        helped.insert(std::sregex_token_iterator(help.begin(), help.end(), option), std::sregex_token_iterator());
    }
    const std::set<std::string> told(std::sregex_token_iterator(manual.begin(), manual.end(), option),
                                     std::sregex_token_iterator());
    EXPECT_EQ(told, helped);
}

TEST_F(CloudProgram, AFolderThatIsNotThereIsNotMadeByLooking) {
    for (const std::vector<std::string>& command : {std::vector<std::string>{"user", "list"},
                                                    {"check"},
                                                    {"backup", (folder_.path() / "b").string()},
                                                    {"user", "remove", "x", "--yes"}}) {
        expectRefusal(command, 1, "No such file");
    }
    EXPECT_FALSE(std::filesystem::exists(data_));
    EXPECT_FALSE(std::filesystem::exists(folder_.path() / "b"));
}

TEST_F(CloudProgram, EverythingIsForItsOwnerAlone) {
    answer({"user", "add", "anna"});
    for (const auto& entry : std::filesystem::recursive_directory_iterator(folder_.path())) {
        struct stat status{};
        ASSERT_EQ(lstat(entry.path().c_str(), &status), 0);
        EXPECT_EQ(status.st_mode & 07777, entry.is_directory() ? 0700U : 0600U) << entry.path();
    }
    chmod((data_ / "token.key").c_str(), 0640);
    expectRefusal({"user", "list"}, 1, "others can read");
}

TEST_F(CloudProgram, DamageIsToldAndChangesNothing) {
    answer({"user", "add", "anna"});
    EXPECT_EQ(run({"check"}).code, 0);
    const std::filesystem::path file = std::filesystem::directory_iterator(data_ / "users")->path();
    std::ofstream(file, std::ios::in | std::ios::out).seekp(100) << std::string(200, 'x');
    const ProgramResult result = run({"--json", "check"});
    EXPECT_EQ(result.code, 4);
    const json findings = json::parse(result.output);
    EXPECT_EQ(findings[0].at("ok"), true);
    EXPECT_EQ(findings[1].at("ok"), false);
    EXPECT_NE(findings[1].at("detail").get<std::string>().find("damaged"), std::string::npos);
    expectRefusal({"backup", (folder_.path() / "b.tar").string()}, 4, "damaged");
    EXPECT_FALSE(std::filesystem::exists(folder_.path() / "b.tar"));
    std::filesystem::remove(file);
    EXPECT_EQ(run({"check"}).code, 4);
    std::ofstream(data_ / "accounts.sqlite") << std::string(4096, 'x');
    expectRefusal({"user", "list"}, 4, "accounts.sqlite");
    std::ofstream(data_ / "token.key") << "short";
    expectRefusal({"user", "list"}, 4, "token.key");
}

TEST_F(CloudProgram, AFileThatBelongsToNobodyIsToldOf) {
    answer({"user", "add", "anna"});
    std::ofstream(data_ / "users" / "0.sqlite") << "";
    const ProgramResult result = run({"check"});
    EXPECT_EQ(result.code, 1);
    EXPECT_NE(result.output.find("belongs to no user"), std::string::npos);
}

TEST_F(CloudProgram, AFileOfANewerVersionIsLeftAlone) {
    answer({"user", "add", "anna"});
    sqlite3* database = nullptr;
    sqlite3_open((data_ / "accounts.sqlite").c_str(), &database);
    sqlite3_exec(database, "PRAGMA user_version = 2", nullptr, nullptr, nullptr);
    sqlite3_close(database);
    expectRefusal({"user", "list"}, 4, "newer version");
}

TEST_F(CloudProgram, ABackupRestoredElsewhereIsTheSameServer) {
    const json anna = answer({"user", "add", "anna"});
    const std::filesystem::path archive = folder_.path() / "b.tar";
    EXPECT_EQ(answer({"backup", archive.string()}), (json{{"backup", archive.string()}}));
    expectRefusal({"backup", archive.string()}, 1, "already");
    struct stat status{};
    ASSERT_EQ(stat(archive.c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 07777, 0600U);
    std::filesystem::remove_all(data_);
    std::filesystem::create_directory(data_);
    const ProgramResult unpacked =
        quendokit::testing::runProgram({"tar", "-xf", archive.string(), "-C", data_.string()});
    EXPECT_EQ(unpacked.code, 0) << unpacked.errors;
    EXPECT_EQ(run({"check"}).code, 0);
    Running server(*this);
    EXPECT_EQ(server.get(anna, "zones/list").status, 200);
}

TEST_F(CloudProgram, ThePortFileHoldsTheNumberAloneWhileItServes) {
    answer({"user", "add", "anna"});
    {
        Running server(*this);
        std::ifstream file(portFile_);
        std::stringstream text;
        text << file.rdbuf();
        EXPECT_EQ(text.str(), std::to_string(server.port()));
        EXPECT_EQ(server.end(SIGTERM), 0);
    }
    EXPECT_FALSE(std::filesystem::exists(portFile_));
}

TEST_F(CloudProgram, OfTwoServersOnAFolderTheSecondEndsAtOnce) {
    Running server(*this);
    expectRefusal({"serve", "--listen", "127.0.0.1:0"}, 3, "another quendo-cloudd");
    expectRefusal({"--data", (folder_.path() / "other").string(), "serve", "--listen",
                   "127.0.0.1:" + std::to_string(server.port())},
                  1, "Address already in use");
    EXPECT_EQ(server.end(SIGINT), 0);
}

TEST_F(CloudProgram, ChangesOfUsersHoldWhileItServes) {
    Running server(*this);
    const json anna = answer({"user", "add", "anna"});
    EXPECT_EQ(server.get(anna, "zones/list").status, 200);
    const json rotated = answer({"token", "rotate", "anna"});
    EXPECT_EQ(server.get(anna, "zones/list").status, 401);
    EXPECT_EQ(server.get(rotated, "zones/list").status, 200);
    answer({"user", "remove", "anna", "--yes"});
    EXPECT_EQ(server.get(rotated, "zones/list").status, 401);
    EXPECT_TRUE(std::filesystem::is_empty(data_ / "users"));
}

TEST_F(CloudProgram, ABackupWhileServingIsWholeAndItsTokensAreRefused) {
    const json anna = answer({"user", "add", "anna"});
    Running server(*this);
    server.post(anna, "zones/modify",
                R"({"operations":[{"operationType":"create","zone":{"zoneID":{"zoneName":"Errands"}}}]})");
    std::atomic<bool> ending = false;
    std::thread writer([&] {
        for (int i = 0; !ending; ++i) {
            const std::string name = "R" + std::to_string(i);
            server.post(anna, "records/modify",
                        R"({"zoneID":{"zoneName":"Errands"},"operations":[)"
                        R"({"operationType":"forceUpdate","record":{"recordName":")" +
                            name + R"(a","recordType":"T"}},{"operationType":"forceUpdate","record":{"recordName":")" +
                            name + R"(b","recordType":"T"}}]})");
            std::this_thread::sleep_for(std::chrono::milliseconds(40));
        }
    });
    const std::string feed = R"({"zones":[{"zoneID":{"zoneName":"Errands"}}]})";
    const std::string token =
        json::parse(server.post(anna, "changes/zone", feed).body).at("zones")[0].at("syncToken").get<std::string>();
    std::this_thread::sleep_for(std::chrono::milliseconds(300));
    const std::filesystem::path archive = folder_.path() / "b.tar";
    answer({"backup", archive.string()});
    ending = true;
    writer.join();
    EXPECT_EQ(server.end(SIGTERM), 0);
    std::filesystem::remove_all(data_);
    std::filesystem::create_directory(data_);
    ASSERT_EQ(quendokit::testing::runProgram({"tar", "-xf", archive.string(), "-C", data_.string()}).code, 0);
    EXPECT_EQ(run({"check"}).code, 0);
    Running again(*this);
    const json records = json::parse(again.post(anna, "changes/zone", feed).body).at("zones")[0].at("records");
    EXPECT_GT(records.size(), 0U);
    EXPECT_EQ(records.size() % 2, 0U) << "a batch is in it whole or not at all";
    const json stale{{"zones", json::array({{{"zoneID", {{"zoneName", "Errands"}}}, {"syncToken", token}}})}};
    EXPECT_EQ(json::parse(again.post(anna, "changes/zone", stale.dump()).body).at("zones")[0].at("serverErrorCode"),
              "BAD_REQUEST");
}

TEST_F(CloudProgram, WhatWasAcknowledgedIsThereAfterAKillAtAnyMoment) {
    const json anna = answer({"user", "add", "anna"});
    std::set<std::string> acknowledged;
    std::mt19937 random(4711);
    for (int round = 0; round < 10; ++round) {
        Running server(*this);
        server.post(anna, "zones/modify",
                    R"({"operations":[{"operationType":"create","zone":{"zoneID":{"zoneName":"Errands"}}}]})");
        std::thread writer([&] {
            for (int i = 0; i < 100; ++i) {
                const std::string name = std::to_string(round) + "-" + std::to_string(i);
                const RawAnswer answer = server.post(anna, "records/modify",
                                                     R"({"zoneID":{"zoneName":"Errands"},"operations":[)"
                                                     R"({"operationType":"forceUpdate","record":{"recordName":")" +
                                                         name + R"(","recordType":"T"}}]})");
                if (answer.status != 200) {
                    return;
                }
                acknowledged.insert(name);
            }
        });
        std::this_thread::sleep_for(std::chrono::milliseconds(random() % 60));
        EXPECT_EQ(server.end(SIGKILL), 128 + SIGKILL);
        writer.join();
    }
    EXPECT_EQ(run({"check"}).code, 0);
    Running server(*this);
    std::set<std::string> stored;
    json zone{{"moreComing", true}};
    json entry{{"zoneID", {{"zoneName", "Errands"}}}};
    while (zone.at("moreComing") == true) {
        const json request{{"zones", json::array({entry})}};
        zone = json::parse(server.post(anna, "changes/zone", request.dump()).body).at("zones")[0];
        entry["syncToken"] = zone.at("syncToken");
        for (const json& record : zone.at("records")) {
            stored.insert(record.at("recordName"));
        }
    }
    EXPECT_FALSE(acknowledged.empty());
    EXPECT_TRUE(std::includes(stored.begin(), stored.end(), acknowledged.begin(), acknowledged.end()));
}

TEST_F(CloudProgram, NoTokenIsEverLogged) {
    const json anna = answer({"user", "add", "anna"});
    Running server(*this);
    const std::string api = anna.at("api-token");
    const std::string web = anna.at("web-token");
    const std::filesystem::path file = std::filesystem::directory_iterator(data_ / "users")->path();
    std::filesystem::rename(file, file.string() + ".away");
    EXPECT_EQ(server.get(anna, "zones/list").status, 500);
    EXPECT_EQ(server.get(anna, "zones/nothing").status, 404);
    server.end(SIGTERM);
    const std::string log = server.log();
    EXPECT_NE(log.find("serving http://127.0.0.1:"), std::string::npos) << log;
    EXPECT_NE(log.find(file.filename().string()), std::string::npos) << log;
    EXPECT_EQ(log.find(api), std::string::npos);
    EXPECT_EQ(log.find(web), std::string::npos);
}

TEST_F(CloudProgram, OverTlsItAnswersAndOlderProtocolsItDoesNotSpeak) {
    const json anna = answer({"user", "add", "anna"});
    const std::string certificate = (folder_.path() / "cert.pem").string();
    const std::string key = (folder_.path() / "key.pem").string();
    ASSERT_EQ(quendokit::testing::runProgram({"openssl", "req", "-x509", "-newkey", "ec", "-pkeyopt",
                                              "ec_paramgen_curve:P-256", "-nodes", "-keyout", key, "-out", certificate,
                                              "-days", "2", "-subj", "/CN=localhost"})
                  .code,
              0);
    chmod(key.c_str(), 0644);
    expectRefusal({"serve", "--listen", "127.0.0.1:0", "--tls-cert", certificate, "--tls-key", key}, 1,
                  "others can read");
    chmod(key.c_str(), 0600);
    expectRefusal({"serve", "--listen", "127.0.0.1:0", "--tls-cert", certificate, "--tls-key", "/nowhere"}, 1,
                  "/nowhere");
    expectRefusal({"serve", "--listen", "127.0.0.1:0", "--tls-cert", key, "--tls-key", key}, 1, "PEM");
    Running server(*this, {"--tls-cert", certificate, "--tls-key", key});
    const std::string address = "127.0.0.1:" + std::to_string(server.port());
    const std::string request = "GET " + Running::target(anna, "zones/list") +
                                " HTTP/1.1\r\nHost: localhost\r\n"
                                "Connection: close\r\n\r\n";
    const auto ask = [&](const std::string& protocol) {
        return quendokit::testing::runProgram({"sh", "-c",
                                               "printf '%s' \"$1\" | timeout 10 openssl s_client -quiet "
                                               "-verify_return_error -CAfile \"$2\" \"$3\" -connect \"$4\"",
                                               "sh", request, certificate, protocol, address});
    };
    EXPECT_EQ(ask("-tls1_2").output.find("HTTP/1.1 200"), 0U);
    EXPECT_EQ(ask("-tls1_3").output.find("HTTP/1.1 200"), 0U);
    EXPECT_EQ(ask("-tls1_1").output, "");
    EXPECT_EQ(server.end(SIGTERM), 0);
}

}  // namespace
}  // namespace cloudd::testing

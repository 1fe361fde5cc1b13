/// \file
/// What the commands do and answer.

#include <cctype>
#include <fstream>
#include <sstream>
#include <unistd.h>

#include <sys/stat.h>

#include "tests/apps/quendo/program_fixture.hpp"

namespace quendo::testing {
namespace {

using nlohmann::json;

TEST_F(QuendoProgram, AddAnswersTheStoredReminder) {
    const json added = answer({"add", "Call the bank", "--at", "2050-01-02 18:00"});
    EXPECT_EQ(added.size(), 7U);
    EXPECT_EQ(added["id"].get<std::string>().size(), 36U);
    EXPECT_EQ(added["title"], "Call the bank");
    EXPECT_EQ(added["shown"], false);
    EXPECT_EQ(added["condition"],
              json::parse(R"({"type": "dateTime", "date": "2050-01-02T18:00:00+01:00", "epoch": 2524755600})"));
    EXPECT_TRUE(added["condition"]["epoch"].is_number_integer());
    EXPECT_EQ(added["list"], "upcoming");
    EXPECT_EQ(added["pending"], true);
    EXPECT_EQ(added["deleted"], false);
}

TEST_F(QuendoProgram, AddForTheMacAnswersADeviceCondition) {
    const json added = answer({"add", "Print", "--mac"});
    EXPECT_EQ(added["condition"], json::parse(R"({"type": "device", "device": "mac"})"));
    EXPECT_EQ(added["list"], "mac");
}

TEST_F(QuendoProgram, AFractionOfASecondIsKept) {
    const json added = answer({"add", "x", "--at", "@2524755600.25"});
    EXPECT_EQ(added["condition"]["epoch"], 2524755600.25);
    EXPECT_EQ(added["condition"]["date"], "2050-01-02T18:00:00+01:00");
}

TEST_F(QuendoProgram, ListAnswersTheThreeListsInTheirOrder) {
    answer({"add", "later", "--at", "2050-01-03"});
    answer({"add", "sooner", "--at", "2050-01-02"});
    answer({"add", "b at the Mac", "--mac"});
    answer({"add", "a at the Mac", "--mac"});
    std::vector<std::string> titles;
    for (const auto& each : answer({"list"})) {
        titles.push_back(each["title"]);
    }
    EXPECT_EQ(titles, (std::vector<std::string>{"a at the Mac", "b at the Mac", "sooner", "later"}));
}

TEST_F(QuendoProgram, ListNarrowsToTheChosenListsAndNumber) {
    add("one");
    add("two");
    answer({"add", "three", "--mac"});
    EXPECT_EQ(answer({"list", "--mac"}).size(), 1U);
    EXPECT_EQ(answer({"list", "--upcoming"}).size(), 2U);
    EXPECT_EQ(answer({"list", "--passed"}).size(), 0U);
    EXPECT_EQ(answer({"list", "--mac", "--upcoming"}).size(), 3U);
    EXPECT_EQ(answer({"list", "--limit", "2"}).size(), 2U);
}

TEST_F(QuendoProgram, AReminderWhoseMomentHasGoneByIsPassed) {
    const std::string id = answer({"add", "soon", "--at", "+1s"}).at("id");
    // Another clock for the program, not a wait for the test's.
    environment_["LD_PRELOAD"] = QUENDO_FAKETIME;
    environment_["FAKETIME"] = "+60";
    environment_["FAKETIME_DONT_FAKE_MONOTONIC"] = "1";
    environment_["ASAN_OPTIONS"] = "verify_asan_link_order=0";
    const json passed = answer({"list", "--passed"});
    ASSERT_EQ(passed.size(), 1U);
    EXPECT_EQ(passed[0]["id"], id);
    EXPECT_EQ(passed[0]["list"], "passed");
}

TEST_F(QuendoProgram, ShowTakesTheBeginningOfAnIdentifierInAnyCase) {
    const std::string id = add("Call the bank");
    std::string lower = id.substr(0, 4);
    for (char& c : lower) {
        c = static_cast<char>(std::tolower(c));
    }
    EXPECT_EQ(answer({"show", lower})["id"], id);
    EXPECT_EQ(answer({"show", id})["id"], id);
}

TEST_F(QuendoProgram, DeletedRemindersAreShownAndListedOnRequestAlone) {
    const std::string id = add("Call the bank");
    EXPECT_EQ(answer({"delete", id.substr(0, 8)}), json::array({id}));
    EXPECT_EQ(answer({"list"}), json::array());
    const json deleted = answer({"list", "--deleted"});
    ASSERT_EQ(deleted.size(), 1U);
    EXPECT_EQ(deleted[0]["deleted"], true);
    EXPECT_EQ(deleted[0]["pending"], true);
    EXPECT_EQ(answer({"show", id})["deleted"], true);
    expectRefusal({"delete", id}, 1, "no reminder has the identifier");
}

TEST_F(QuendoProgram, DeletingSeveralDeletesAllOrNone) {
    const std::string one = add("one");
    const std::string two = add("two");
    expectRefusal({"delete", one, "unknown"}, 1, "\"unknown\"");
    EXPECT_EQ(answer({"list"}).size(), 2U);
    EXPECT_EQ(answer({"delete", one, two, one}), json::array({one, two}));
    EXPECT_EQ(answer({"list"}).size(), 0U);
}

TEST_F(QuendoProgram, AnAmbiguousBeginningIsRefused) {
    add("one");
    add("two");
    // The engine's identifiers are random: made alike by hand.
    ASSERT_EQ(quendokit::testing::runProgram(
                  {"sqlite3", database_.string(), "UPDATE ReminderItem SET ID = 'ABCD' || substr(ID, 5)"})
                  .code,
              0);
    expectRefusal({"show", "abcd"}, 1, "give more of it");
}

TEST_F(QuendoProgram, VersionSaysVersionAndSchema) {
    if (DaemonBeside::wanted) {
        GTEST_SKIP() << "a daemon makes the home";
    }
    EXPECT_EQ(answer({"version"}), json::parse(R"({"version": "0.1.0", "schema": 4})"));
    EXPECT_EQ(run({"version"}).output, "quendo 0.1.0 (schema 4)\n");
    EXPECT_FALSE(std::filesystem::exists(home_)) << "saying a version needs no folder";
}

TEST_F(QuendoProgram, PlainAnswersAreSentences) {
    const ProgramResult stored = run({"add", "Call the bank", "--at", "2050-01-02 18:00"});
    EXPECT_TRUE(stored.output.starts_with("Stored \"Call the bank\" for 2050-01-02 18:00 (")) << stored.output;
    const ProgramResult mac = run({"add", "Print", "--mac"});
    EXPECT_TRUE(mac.output.starts_with("Stored \"Print\" for your next arrival at your Mac (")) << mac.output;
    const std::string id = answer({"list", "--upcoming"})[0]["id"];
    EXPECT_EQ(run({"delete", id}).output, "Deleted \"Call the bank\".\n");
    const std::string macID = answer({"list"})[0]["id"];
    EXPECT_EQ(run({"list"}).output, "At your Mac\n  " + macID.substr(0, 8) + "  Print\n");
    answer({"delete", macID});
    EXPECT_EQ(run({"list"}).output, "No reminders.\n");
}

TEST_F(QuendoProgram, QuietPrintsNothingButErrors) {
    EXPECT_EQ(run({"--quiet", "add", "x", "--mac"}).output, "");
    EXPECT_EQ(answer({"list"}).size(), 1U);
    EXPECT_NE(run({"--quiet", "show", "unknown"}).errors, "");
}

TEST_F(QuendoProgram, WhatTheEnginePrintsGoesToTheLog) {
    if (DaemonBeside::wanted) {
        GTEST_SKIP() << "a daemon prints to its own standard error";
    }
    const std::string id = add("x");
    std::ostringstream log;
    log << std::ifstream(home_ / "quendo.log").rdbuf();
    EXPECT_EQ(log.str(), "🗃 [store] " + id + "\n");
}

TEST_F(QuendoProgram, EverythingIsForItsOwnerAlone) {
    add("x");
    EXPECT_EQ(std::filesystem::status(home_).permissions(), std::filesystem::perms::owner_all);
    for (const auto& entry : std::filesystem::directory_iterator(home_)) {
        EXPECT_EQ(entry.status().permissions(),
                  std::filesystem::perms::owner_read | std::filesystem::perms::owner_write)
            << entry.path();
    }
}

TEST_F(QuendoProgram, WithoutAHomeTheFilesLieWhereTheDesktopKeepsThem) {
    if (DaemonBeside::wanted) {
        GTEST_SKIP() << "a daemon keeps no log file";
    }
    environment_ = {{"HOME", folder_.path().string()}, {"XDG_STATE_HOME", (folder_.path() / "state").string()}};
    add("x");
    EXPECT_TRUE(std::filesystem::exists(folder_.path() / ".local/share/quendo/reminders.sqlite"));
    EXPECT_TRUE(std::filesystem::exists(folder_.path() / "state/quendo/quendo.log"));
}

TEST_F(QuendoProgram, TheOptionNamesTheHomeBeforeTheEnvironmentDoes) {
    if (DaemonBeside::wanted) {
        GTEST_SKIP() << "a daemon makes the home that the environment names";
    }
    const std::string other = (folder_.path() / "other").string();
    EXPECT_EQ(run({"--home", other, "add", "x", "--mac"}).code, 0);
    EXPECT_TRUE(std::filesystem::exists(other + "/reminders.sqlite"));
    EXPECT_FALSE(std::filesystem::exists(home_));
}

TEST_F(QuendoProgram, DoctorFindsNothingAmissInAFreshHomeAndMakesNothing) {
    if (DaemonBeside::wanted) {
        GTEST_SKIP() << "a daemon makes the home";
    }
    for (const auto& finding : answer({"doctor"})) {
        EXPECT_EQ(finding["ok"], true) << finding;
        EXPECT_EQ(finding.size(), 3U);
    }
    EXPECT_FALSE(std::filesystem::exists(home_));
    add("x");
    EXPECT_EQ(answer({"doctor"}).size(), 7U);
}

TEST_F(QuendoProgram, DoctorNamesATimeZoneThatIsNone) {
    environment_["TZ"] = "Nonsense/Zone";
    const ProgramResult result = run({"doctor"});
    EXPECT_EQ(result.code, 1);
    EXPECT_NE(result.output.find("TZ is \"Nonsense/Zone\", which is no zone"), std::string::npos) << result.output;
}

TEST_F(QuendoProgram, DoctorNamesAHomeThatCannotBeMade) {
    const auto closed = folder_.path() / "closed";
    std::filesystem::create_directory(closed);
    std::filesystem::permissions(closed, std::filesystem::perms::owner_read | std::filesystem::perms::owner_exec);
    const std::string line = "QUENDO_HOME='" + (closed / "home").string() + "' exec '" QUENDO_PROGRAM "' doctor";
    std::vector<std::string> words{"sh", "-c", line};
    if (geteuid() == 0) {
        words.insert(words.begin(), {"setpriv", "--bounding-set=-dac_override", "--inh-caps=-dac_override"});
    }
    const ProgramResult result = quendokit::testing::runProgram(words);
    EXPECT_EQ(result.code, 1) << result.errors;
    EXPECT_NE(result.output.find("closed/home cannot be made"), std::string::npos) << result.output;
}

TEST_F(QuendoProgram, DoctorNamesASymbolicLinkInTheLocksPlace) {
    add("x");
    std::filesystem::remove(home_ / "quendo.lock");
    std::filesystem::create_symlink("/nowhere", home_ / "quendo.lock");
    const ProgramResult result = run({"doctor"});
    EXPECT_EQ(result.code, 1);
    EXPECT_NE(result.output.find("quendo.lock is a symbolic link"), std::string::npos) << result.output;
}

TEST_F(QuendoProgram, APipeInTheLogsPlaceHoldsNothingUp) {
    add("x");
    std::filesystem::remove(home_ / "quendo.log");
    ASSERT_EQ(mkfifo((home_ / "quendo.log").c_str(), 0600), 0);
    add("y");
    EXPECT_EQ(answer({"list"}).size(), 2U);
}

TEST_F(QuendoProgram, DoctorNamesFilesThatAreOpenToOthers) {
    add("x");
    std::filesystem::permissions(database_, std::filesystem::perms::group_read, std::filesystem::perm_options::add);
    const ProgramResult result = run({"doctor"});
    EXPECT_EQ(result.code, 1);
    EXPECT_NE(result.output.find("chmod go= '" + database_.string() + "'"), std::string::npos) << result.output;
}

TEST_F(QuendoProgram, HelpSaysHowACommandIsWritten) {
    EXPECT_NE(run({"--help"}).output.find("Usage: quendo [OPTIONS] SUBCOMMAND"), std::string::npos);
    EXPECT_NE(run({"add", "--help"}).output.find("Usage: quendo add [OPTIONS] TITLE"), std::string::npos);
    const ProgramResult help = run({"options", "set", "--help"});
    EXPECT_EQ(help.code, 0);
    EXPECT_NE(help.output.find("Usage: quendo options set [OPTIONS] KEY VALUE"), std::string::npos) << help.output;
}

}  // namespace
}  // namespace quendo::testing

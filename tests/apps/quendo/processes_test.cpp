/// \file
/// Several programs at a time, and programs that are killed.

#include <chrono>
#include <fcntl.h>
#include <map>
#include <random>
#include <set>
#include <signal.h>
#include <sqlite3.h>
#include <thread>
#include <unistd.h>

#include <sys/file.h>
#include <sys/wait.h>

#include "hostkit/intent_journal.hpp"
#include "tests/apps/quendo/program_fixture.hpp"

namespace quendo::testing {
namespace {

class QuendoProcesses : public QuendoProgram {};

TEST_F(QuendoProcesses, AProgramWaitsFiveSecondsForTheLockAndGivesUp) {
    add("x");
    const int lock = open((home_ / "quendo.lock").c_str(), O_RDWR | O_CLOEXEC);
    ASSERT_EQ(flock(lock, LOCK_EX), 0);
    const auto start = std::chrono::steady_clock::now();
    expectRefusal({"list"}, 3, "another quendo is at work");
    const auto waited = std::chrono::steady_clock::now() - start;
    EXPECT_GE(waited, std::chrono::seconds(5));
    EXPECT_LT(waited, std::chrono::seconds(20));
    const ProgramResult doctor = run({"doctor"});
    EXPECT_EQ(doctor.code, 0) << doctor.output;
    EXPECT_NE(doctor.output.find("another quendo is at work"), std::string::npos);
    close(lock);
    EXPECT_EQ(answer({"list"}).size(), 1U);
}

TEST_F(QuendoProcesses, SettingsThatAnotherProgramHoldsAreWaitedForOnceAndStay) {
    const std::map<std::string, int> plan{{"afternoon", 46800}, {"evening", 72000}, {"later", 3600}, {"postpone", 600}};
    for (const auto& [key, seconds] : plan) {
        answer({"options", "set", key, std::to_string(seconds)});
    }
    const int lock = open((home_ / "settings.json.lock").c_str(), O_RDWR | O_CLOEXEC);
    ASSERT_EQ(flock(lock, LOCK_EX), 0);
    const auto start = std::chrono::steady_clock::now();
    // Of the four settings each would wait.
    expectRefusal({"options", "reset"}, 3, "another program is at work on the settings");
    const auto waited = std::chrono::steady_clock::now() - start;
    EXPECT_GE(waited, std::chrono::seconds(5));
    EXPECT_LT(waited, std::chrono::seconds(15));
    for (const auto& [key, seconds] : plan) {
        EXPECT_EQ(answer({"options"})[key], seconds) << "reading waits for nobody";
    }
    close(lock);
}

TEST_F(QuendoProcesses, ADatabaseThatAnotherProgramWritesIsWaitedFor) {
    add("x");
    // Holds SQLite's own lock for a second, as another program on the same file would.
    std::thread other([&] {
        static_cast<void>(quendokit::testing::runProgram(
            {"bash", "-c",
             "(echo 'BEGIN IMMEDIATE;'; sleep 1; echo 'COMMIT;') | sqlite3 '" + database_.string() + "'"}));
    });
    EXPECT_EQ(run({"add", "y", "--mac"}).code, 0);
    other.join();
    EXPECT_EQ(answer({"list"}).size(), 2U);
}

TEST_F(QuendoProcesses, NothingIsChangedWhileAnEarlierChangeCannotBeFinished) {
    const std::string id = add("Milk");
    {
        auto journal = quendokit::IntentJournal::open(home_ / "quendo.journal");
        ASSERT_TRUE(journal);
        ASSERT_FALSE(journal.value()->note(
            nlohmann::json{{"id", id}, {"title", "Oat milk"}, {"shown", false}, {"device", 1}}.dump()));
    }
    sqlite3* other = nullptr;
    ASSERT_EQ(sqlite3_open(database_.c_str(), &other), SQLITE_OK);
    ASSERT_EQ(sqlite3_exec(other, "BEGIN IMMEDIATE", nullptr, nullptr, nullptr), SQLITE_OK);
    expectRefusal({"delete", id}, 3, "an earlier change could not be finished");
    const ProgramResult list = run({"list"});
    EXPECT_EQ(list.code, 0);
    EXPECT_NE(list.output.find("Milk"), std::string::npos);
    expectOneLine(list.errors, "an earlier change could not be finished");
    sqlite3_close(other);
    EXPECT_EQ(answer({"list"})[0]["title"], "Oat milk");
    EXPECT_EQ(answer({"delete", id}).size(), 1U);
}

TEST_F(QuendoProcesses, TenAtATimeAreAllServed) {
    std::vector<std::thread> programs;
    for (int i = 0; i < 10; ++i) {
        programs.emplace_back([&, i] { EXPECT_EQ(run({"add", std::to_string(i), "--mac"}).code, 0); });
    }
    for (std::thread& program : programs) {
        program.join();
    }
    EXPECT_EQ(answer({"list"}).size(), 10U);
}

TEST_F(QuendoProcesses, AfterAKillAtAnyMomentEveryAcknowledgedReminderIsThere) {
    // Half of the kills come before the program is done, however fast this machine is.
    const auto start = std::chrono::steady_clock::now();
    ASSERT_EQ(run({"--quiet", "add", "first", "--mac"}).code, 0);
    const auto whole = std::chrono::duration_cast<std::chrono::microseconds>(std::chrono::steady_clock::now() - start);
    std::mt19937 random(4711);
    std::uniform_int_distribution<useconds_t> untilKill(0, static_cast<useconds_t>(2 * whole.count()));
    std::set<std::string> acknowledged;
    for (int i = 0; i < 100; ++i) {
        const pid_t child = fork();
        if (child == 0) {
            const std::string title = "kept " + std::to_string(i);
            const std::string home = "QUENDO_HOME=" + home_.string();
            const char* const arguments[] = {"quendo", "--quiet", "add", title.c_str(), "--mac", nullptr};
            const char* const environment[] = {home.c_str(), nullptr};
            execve(QUENDO_PROGRAM, const_cast<char* const*>(arguments), const_cast<char* const*>(environment));
            _exit(127);
        }
        usleep(untilKill(random));
        kill(child, SIGKILL);
        int status = 0;
        waitpid(child, &status, 0);
        if (WIFEXITED(status)) {
            ASSERT_EQ(WEXITSTATUS(status), 0);
            acknowledged.insert("kept " + std::to_string(i));
        }
    }
    EXPECT_GT(acknowledged.size(), 10U);
    for (const auto& each : answer({"list"})) {
        acknowledged.erase(each["title"]);
    }
    EXPECT_TRUE(acknowledged.empty()) << *acknowledged.begin() << " is lost";
    EXPECT_EQ(run({"doctor"}).code, 0);
}

}  // namespace
}  // namespace quendo::testing

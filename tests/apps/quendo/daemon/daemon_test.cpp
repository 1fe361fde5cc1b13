/// \file
/// The daemon as a process, and commands beside it.

#include <atomic>
#include <chrono>
#include <csignal>
#include <set>
#include <thread>
#include <vector>

#include <gmock/gmock.h>
#include <sys/socket.h>
#include <sys/stat.h>

#include "apps/quendo/daemon/local_socket.hpp"
#include "tests/apps/quendo/program_fixture.hpp"

namespace quendo::testing {
namespace {

using namespace std::chrono_literals;
using ::testing::HasSubstr;

class QuendoDaemon : public QuendoProgram {
protected:
    [[nodiscard]] std::filesystem::path socket() const { return home_ / "socket"; }
};

TEST_F(QuendoDaemon, ASecondOneSaysSoAtOnceAndEndsWithThree) {
    const DaemonProcess daemon(environment_);
    const auto start = std::chrono::steady_clock::now();
    expectRefusal({"daemon"}, 3, "a daemon answers there already");
    EXPECT_LT(std::chrono::steady_clock::now() - start, 4s);
    EXPECT_EQ(answer({"status"}).at("daemon"), "0.1.0") << "the first one stays";
}

TEST_F(QuendoDaemon, EndsCleanlyWhenItIsAskedToAndTakesItsSocketAlong) {
    for (const int signal : {SIGTERM, SIGINT}) {
        DaemonProcess daemon(environment_);
        add("x");
        EXPECT_TRUE(std::filesystem::is_socket(socket()));
        EXPECT_EQ(daemon.end(signal), 0) << daemon.lines();
        EXPECT_FALSE(std::filesystem::exists(socket()));
    }
    EXPECT_EQ(answer({"list"}).size(), 2U);
    EXPECT_TRUE(answer({"status"}).at("daemon").is_null());
}

TEST_F(QuendoDaemon, AfterAKillCommandsWorkByThemselvesAndTheNextOneTakesTheSocketOver) {
    DaemonProcess killed(environment_);
    add("first");
    EXPECT_EQ(killed.end(SIGKILL), 128 + SIGKILL);
    EXPECT_TRUE(std::filesystem::is_socket(socket())) << "left behind";
    add("second");
    const DaemonProcess next(environment_);
    EXPECT_EQ(answer({"status"}).at("daemon"), "0.1.0");
    EXPECT_EQ(answer({"list"}).size(), 2U);
}

TEST_F(QuendoDaemon, FilesAreForTheirOwnerAlone) {
    const DaemonProcess daemon(environment_);
    add("x");
    for (const auto& entry : std::filesystem::directory_iterator(home_)) {
        struct stat status{};
        ASSERT_EQ(stat(entry.path().c_str(), &status), 0);
        EXPECT_EQ(status.st_mode & 0777U, 0600U) << entry.path();
    }
    EXPECT_EQ(run({"doctor"}).code, 0);
}

TEST_F(QuendoDaemon, LiesInTheRuntimeFolderWithoutAHome) {
    environment_ = {{"HOME", folder_.path().string()}, {"XDG_RUNTIME_DIR", (folder_.path() / "run").string()}};
    const DaemonProcess daemon(environment_);
    EXPECT_TRUE(std::filesystem::is_socket(folder_.path() / "run/quendo/socket"));
    EXPECT_EQ(answer({"status"}).at("daemon"), "0.1.0");
}

TEST_F(QuendoDaemon, APathThatIsTooLongForASocketIsRefusedAndCommandsGoOn) {
    environment_["QUENDO_HOME"] = (folder_.path() / std::string(100, 'x')).string();
    expectRefusal({"daemon"}, 2, "at most 107 bytes");
    add("x");
}

TEST_F(QuendoDaemon, WhatTheEnginePrintsGoesToItsStandardError) {
    const DaemonProcess daemon(environment_);
    const std::string id = add("x");
    EXPECT_THAT(daemon.lines(), HasSubstr("[store] " + id));
    EXPECT_FALSE(std::filesystem::exists(home_ / "quendo.log"));
}

TEST_F(QuendoDaemon, SaysItIsAtWorkToTheDoctor) {
    const DaemonProcess daemon(environment_);
    const ProgramResult doctor = run({"doctor"});
    EXPECT_EQ(doctor.code, 0);
    EXPECT_THAT(doctor.output, HasSubstr("the daemon is at work"));
    EXPECT_THAT(run({"status"}).output, HasSubstr("Daemon: quendo 0.1.0"));
}

TEST_F(QuendoDaemon, WarningsAndLanguageAreTheClients) {
    const DaemonProcess daemon(environment_);
    add("unsent");
    const ProgramResult cleared = run({"clear", "--yes"});
    EXPECT_EQ(cleared.code, 0);
    expectOneLine(cleared.errors, "\"unsent\"");
    environment_["LC_ALL"] = "C.UTF-8";
    environment_["LANGUAGE"] = "de";
    EXPECT_THAT(run({"options"}).output, HasSubstr("Montag"));
    EXPECT_THAT(run({"presets"}).output, HasSubstr("Heute Abend"));
    EXPECT_THAT(run({"actions"}).output, HasSubstr("20 Minuten"));
    EXPECT_EQ(answer({"options", "set", "first-workday", "Dienstag"}).at("first-workday"), 3);
}

TEST_F(QuendoDaemon, GarbageDisturbsNobody) {
    const DaemonProcess daemon(environment_);
    for (int i = 0; i < 100; ++i) {
        auto connection = connectTo(socket(), 5s);
        ASSERT_TRUE(connection && connection.value().isOpen());
        const std::string garbage(static_cast<std::size_t>(i * 50), static_cast<char>(i));
        [[maybe_unused]] const auto sent =
            ::send(connection.value().number(), garbage.data(), garbage.size(), MSG_NOSIGNAL);
    }
    add("x");
    EXPECT_EQ(answer({"list"}).size(), 1U);
}

TEST_F(QuendoDaemon, TwentyProgramsAtATimeLoseNothing) {
    const DaemonProcess daemon(environment_);
    std::vector<std::thread> programs;
    for (int i = 0; i < 20; ++i) {
        programs.emplace_back([this, i] {
            for (int j = 0; j < 10; ++j) {
                EXPECT_EQ(run({"--quiet", "add", std::to_string(i * 10 + j), "--mac"}).code, 0);
            }
        });
    }
    for (std::thread& program : programs) {
        program.join();
    }
    std::set<std::string> titles;
    for (const auto& each : answer({"list"})) {
        titles.insert(each.at("title").get<std::string>());
    }
    EXPECT_EQ(titles.size(), 200U);
}

TEST_F(QuendoDaemon, AskedToEndInTheMiddleItLosesNothingThatItAcknowledged) {
    DaemonProcess daemon(environment_);
    std::vector<std::thread> programs;
    std::atomic<int> acknowledged = 0;
    for (int i = 0; i < 4; ++i) {
        programs.emplace_back([&] {
            for (int j = 0; j < 10; ++j) {
                const int code = run({"--quiet", "add", "x", "--mac"}).code;
                // One that came too late for the daemon, and too early for itself.
                EXPECT_TRUE(code == 0 || code == 3) << code;
                acknowledged += code == 0 ? 1 : 0;
            }
        });
    }
    while (acknowledged < 5) {
        std::this_thread::sleep_for(1ms);
    }
    EXPECT_EQ(daemon.end(SIGTERM), 0) << daemon.lines();
    for (std::thread& program : programs) {
        program.join();
    }
    EXPECT_GE(answer({"list"}).size(), static_cast<std::size_t>(acknowledged));
}

}  // namespace
}  // namespace quendo::testing

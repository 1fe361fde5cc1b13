#pragma once
/// \file
/// The program `quendo` over a home of its own.

#include <filesystem>
#include <map>
#include <string>
#include <unistd.h>
#include <utility>
#include <vector>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "tests/apps/quendo/daemon_process.hpp"
#include "tests/support/program.hpp"
#include "tests/support/temporary_folder.hpp"

namespace quendo::testing {

using quendokit::testing::ProgramResult;

/// The home lies in a temporary folder and does not exist yet; the clocks are those of Berlin. The same tests are run
/// once without a daemon and once beside one.
class QuendoProgram : public ::testing::Test {
protected:
    ~QuendoProgram() override { daemon_.stop(); }

    [[nodiscard]] ProgramResult run(std::vector<std::string> arguments) const {
        arguments.insert(arguments.begin(), QUENDO_PROGRAM);
        daemon_.beforeCommand(home_, environment_);
        ProgramResult result = quendokit::testing::runProgram(arguments, environment_);
        daemon_.afterCommand(home_);
        return result;
    }

    /// The document that a command answers; it must be done without a word on standard error.
    nlohmann::json answer(std::vector<std::string> arguments) const {
        arguments.insert(arguments.begin(), "--json");
        const ProgramResult result = run(arguments);
        EXPECT_EQ(result.code, 0) << result.errors;
        EXPECT_EQ(result.errors, "");
        return nlohmann::json::parse(result.output);
    }

    /// Adds a reminder for 2050 and answers its identifier.
    std::string add(const std::string& title) const {
        return answer({"add", title, "--at", "2050-01-02 18:00"}).at("id").get<std::string>();
    }

    /// Runs as a user whom the rights of files bind, even where that is root.
    [[nodiscard]] ProgramResult runUnprivileged(std::vector<std::string> arguments) const {
        if (geteuid() != 0) {
            return run(std::move(arguments));
        }
        // Nor is there a daemon, whom they would bind only once.
        daemon_.stop();
        // Another user might not be let into the folder that the program was built in.
        arguments.insert(arguments.begin(), {"setpriv", "--bounding-set=-dac_override,-dac_read_search",
                                             "--inh-caps=-dac_override,-dac_read_search", QUENDO_PROGRAM});
        return quendokit::testing::runProgram(arguments, environment_);
    }

    /// One line for a person, which holds `words`.
    static void expectOneLine(const std::string& errors, const std::string& words) {
        EXPECT_TRUE(errors.starts_with("quendo: ")) << errors;
        EXPECT_EQ(errors.find('\n'), errors.size() - 1) << errors;
        EXPECT_NE(errors.find(words), std::string::npos) << errors;
    }

    /// The command has ended with this code, without an answer, and with one line that holds `words`.
    static void expectRefused(const ProgramResult& result, int code, const std::string& words) {
        EXPECT_EQ(result.code, code) << result.errors;
        EXPECT_EQ(result.output, "");
        expectOneLine(result.errors, words);
    }
    void expectRefusal(const std::vector<std::string>& arguments, int code, const std::string& words) const {
        expectRefused(run(arguments), code, words);
    }

    /// Changes the database behind the program's back.
    void sql(const std::string& statement) const {
        daemon_.stop();
        const ProgramResult result = quendokit::testing::runProgram({"sqlite3", database_.string(), statement});
        EXPECT_EQ(result.code, 0) << result.errors;
    }

    /// Stops the program's clock at a time of Berlin, as "2026-11-18 10:15:00".
    void itIs(const std::string& time) {
        environment_["LD_PRELOAD"] = QUENDO_FAKETIME;
        environment_["FAKETIME"] = time;
        environment_["FAKETIME_DONT_FAKE_MONOTONIC"] = "1";
        environment_["ASAN_OPTIONS"] = "verify_asan_link_order=0";
    }

    mutable DaemonBeside daemon_;
    quendokit::testing::TemporaryFolder folder_;
    std::filesystem::path home_ = folder_.path() / "home";
    std::filesystem::path database_ = home_ / "reminders.sqlite";
    std::map<std::string, std::string> environment_{{"QUENDO_HOME", home_.string()}, {"TZ", "Europe/Berlin"}};
};

}  // namespace quendo::testing

#pragma once
/// \file
/// The program `quendo-cloudd` over a data folder of its own.

#include <atomic>
#include <csignal>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <sys/wait.h>

#include "tests/apps/cloudd/raw_client.hpp"
#include "tests/support/program.hpp"
#include "tests/support/temporary_folder.hpp"

namespace cloudd::testing {

using nlohmann::json;
using quendokit::testing::ProgramResult;

/// The data folder does not exist yet.
class ServerProgram : public ::testing::Test {
public:
    [[nodiscard]] ProgramResult run(std::vector<std::string> arguments) const {
        const bool namesFolder = !arguments.empty() && arguments.front() == "--data";
        if (!namesFolder) {
            arguments.insert(arguments.begin(), {"--data", data_.string()});
        }
        arguments.insert(arguments.begin(), QUENDO_CLOUDD);
        return quendokit::testing::runProgram(arguments);
    }

    /// The document that a command answers.
    json answer(std::vector<std::string> arguments) const {
        arguments.insert(arguments.begin(), "--json");
        const ProgramResult result = run(arguments);
        EXPECT_EQ(result.code, 0) << result.errors;
        EXPECT_EQ(result.errors, "");
        return json::parse(result.output);
    }

    /// The command has ended with this code, without an answer, and with one line that holds `words`.
    void expectRefusal(const std::vector<std::string>& arguments, int code, const std::string& words) const {
        const ProgramResult result = run(arguments);
        EXPECT_EQ(result.code, code) << result.errors;
        EXPECT_EQ(result.output, "");
        EXPECT_TRUE(result.errors.starts_with("quendo-cloudd: ")) << result.errors;
        EXPECT_EQ(result.errors.find('\n'), result.errors.size() - 1) << result.errors;
        EXPECT_NE(result.errors.find(words), std::string::npos) << result.errors;
    }

    quendokit::testing::TemporaryFolder folder_;
    const std::filesystem::path data_ = folder_.path() / "data";
    const std::filesystem::path portFile_ = folder_.path() / "port";
    const std::filesystem::path log_ = folder_.path() / "log";
};

/// A process that serves the fixture's folder, from its first port on.
class Running {
public:
    explicit Running(const ServerProgram& fixture, std::vector<std::string> more = {}) : log_(fixture.log_) {
        std::vector<std::string> words{QUENDO_CLOUDD, "--data",      fixture.data_.string(),    "serve", "--listen",
                                       "127.0.0.1:0", "--port-file", fixture.portFile_.string()};
        words.insert(words.end(), more.begin(), more.end());
        std::vector<char*> pointers;
        for (std::string& word : words) {
            pointers.push_back(word.data());
        }
        pointers.push_back(nullptr);
        // Of one that was killed.
        std::filesystem::remove(fixture.portFile_);
        child_ = fork();
        if (child_ == 0) {
            const int log = open(log_.c_str(), O_CREAT | O_APPEND | O_WRONLY, 0600);
            dup2(log, STDERR_FILENO);
            execv(pointers[0], pointers.data());
            _exit(127);
        }
        for (int i = 0; i < 3'000 && !std::filesystem::exists(fixture.portFile_); ++i) {
            std::this_thread::sleep_for(std::chrono::milliseconds(10));
        }
        std::ifstream(fixture.portFile_) >> port_;
        EXPECT_NE(port_, 0) << log();
    }
    Running(const Running&) = delete;
    Running& operator=(const Running&) = delete;
    ~Running() {
        if (child_ > 0) {
            end(SIGTERM);
        }
    }

    [[nodiscard]] std::uint16_t port() const noexcept { return port_; }

    /// Its exit code after a signal.
    int end(int signal) {
        kill(child_, signal);
        int status = 0;
        waitpid(child_, &status, 0);
        child_ = -1;
        return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    }

    [[nodiscard]] std::string log() const {
        std::ifstream file(log_);
        return {std::istreambuf_iterator<char>(file), {}};
    }

    /// `tokens` as a command printed them.
    static std::string target(const json& tokens, const std::string& operation) {
        return "/database/1/iCloud.x/production/private/" + operation +
               "?ckAPIToken=" + tokens.at("api-token").get<std::string>() +
               "&ckWebAuthToken=" + tokens.at("web-token").get<std::string>();
    }
    RawAnswer get(const json& tokens, const std::string& operation) const {
        return send(getRequest(target(tokens, operation)));
    }
    RawAnswer post(const json& tokens, const std::string& operation, const std::string& body) const {
        return send(postRequest(target(tokens, operation), body));
    }

private:
    [[nodiscard]] RawAnswer send(const std::string& bytes) const {
        RawClient client(port_);
        client.send(bytes);
        return client.receive();
    }

    const std::filesystem::path log_;
    pid_t child_ = -1;
    std::uint16_t port_ = 0;
};

}  // namespace cloudd::testing

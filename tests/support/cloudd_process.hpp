#pragma once
/// \file
/// `ClouddProcess`, a record server of a test.

#include <chrono>
#include <csignal>
#include <fstream>
#include <string>
#include <thread>
#include <unistd.h>
#include <utility>
#include <vector>

#include <nlohmann/json.hpp>
#include <sys/prctl.h>
#include <sys/wait.h>

#include "tests/support/program.hpp"
#include "tests/support/temporary_folder.hpp"

namespace quendokit::testing {

/// `quendo-cloudd`, which serves on a port and in a folder of its own until this goes.
class ClouddProcess {
public:
    /// What a device connects with. Plain value.
    struct Tokens {
        std::string api;
        std::string web;
    };

    explicit ClouddProcess(std::string program) : program_(std::move(program)) {
        const std::string portFile = (folder_.path() / "port").string();
        process_ = fork();
        if (process_ == 0) {
            // Also when the test is killed.
            prctl(PR_SET_PDEATHSIG, SIGKILL);
            execl(program_.c_str(), program_.c_str(), "serve", "--data", data().c_str(), "--listen", "127.0.0.1:0",
                  "--port-file", portFile.c_str(), static_cast<char*>(nullptr));
            _exit(127);
        }
        for (int i = 0; i < 1'000 && port_.empty(); ++i) {
            std::ifstream(portFile) >> port_;
            std::this_thread::sleep_for(std::chrono::milliseconds(10));
        }
    }
    ClouddProcess(const ClouddProcess&) = delete;
    ClouddProcess& operator=(const ClouddProcess&) = delete;
    ~ClouddProcess() {
        kill(process_, SIGTERM);
        waitpid(process_, nullptr, 0);
    }

    [[nodiscard]] std::string url() const { return "http://127.0.0.1:" + port_; }

    [[nodiscard]] Tokens addUser(const std::string& name) const { return tokens({"user", "add", name}); }
    [[nodiscard]] Tokens addDevice(const std::string& user, const std::string& device) const {
        return tokens({"device", "add", user, device});
    }

private:
    [[nodiscard]] std::string data() const { return (folder_.path() / "data").string(); }

    [[nodiscard]] Tokens tokens(std::vector<std::string> words) const {
        words.insert(words.begin(), {program_, "--data", data(), "--json"});
        const auto answer = nlohmann::json::parse(runProgram(words).output, nullptr, false);
        return answer.is_object() ? Tokens{answer.value("api-token", ""), answer.value("web-token", "")} : Tokens{};
    }

    const TemporaryFolder folder_;
    const std::string program_;
    pid_t process_ = -1;
    std::string port_;
};

}  // namespace quendokit::testing

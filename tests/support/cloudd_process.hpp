#pragma once
/// \file
/// `ClouddProcess`, a record server of a test.

#include <chrono>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <string>
#include <thread>
#include <unistd.h>
#include <utility>
#include <vector>

#include <nlohmann/json.hpp>
#include <sys/prctl.h>
#include <sys/resource.h>
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

    /// Serves at once.
    explicit ClouddProcess(std::string program) : program_(std::move(program)) { start(); }
    ClouddProcess(const ClouddProcess&) = delete;
    ClouddProcess& operator=(const ClouddProcess&) = delete;
    ~ClouddProcess() { stop(); }

    /// Serves again, at the same address as before.
    void start() {
        const std::string portFile = (folder_.path() / "port").string();
        std::filesystem::remove(portFile);
        const std::string address = "127.0.0.1:" + (port_.empty() ? std::string("0") : port_);
        process_ = fork();
        if (process_ == 0) {
            // Also when the test is killed.
            prctl(PR_SET_PDEATHSIG, SIGKILL);
            if (mostBytesOfAFile_ != RLIM_INFINITY) {
                signal(SIGXFSZ, SIG_IGN);
                const rlimit limit{mostBytesOfAFile_, mostBytesOfAFile_};
                setrlimit(RLIMIT_FSIZE, &limit);
            }
            execl(program_.c_str(), program_.c_str(), "serve", "--data", data().c_str(), "--listen", address.c_str(),
                  "--port-file", portFile.c_str(), static_cast<char*>(nullptr));
            _exit(127);
        }
        std::string port;
        for (int i = 0; i < 1'000 && port.empty(); ++i) {
            std::ifstream(portFile) >> port;
            std::this_thread::sleep_for(std::chrono::milliseconds(10));
        }
        port_ = port;
    }
    /// Serves again, on a disk that takes no file of more than `bytes`.
    void restartOnADiskOf(rlim_t bytes) {
        stop();
        mostBytesOfAFile_ = bytes;
        start();
        mostBytesOfAFile_ = RLIM_INFINITY;
    }
    /// Serves at the same address without anything that it held, users too.
    void loseEverything() {
        stop();
        std::filesystem::remove_all(data());
        start();
    }
    /// Asks it to end, and waits for that.
    void stop() {
        if (process_ > 0) {
            kill(process_, SIGTERM);
            waitpid(std::exchange(process_, -1), nullptr, 0);
        }
    }

    [[nodiscard]] std::string url() const { return "http://127.0.0.1:" + port_; }

    [[nodiscard]] Tokens addUser(const std::string& name) const { return tokens({"user", "add", name}); }
    [[nodiscard]] Tokens addDevice(const std::string& user, const std::string& device) const {
        return tokens({"device", "add", user, device});
    }
    /// Voids the tokens of the user's first device.
    void rotate(const std::string& user) const { static_cast<void>(tokens({"token", "rotate", user})); }

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
    rlim_t mostBytesOfAFile_ = RLIM_INFINITY;
};

}  // namespace quendokit::testing

#pragma once
/// \file
/// `DaemonProcess`, a daemon of a test.

#include <chrono>
#include <csignal>
#include <cstdint>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <memory>
#include <string>
#include <system_error>
#include <thread>
#include <unistd.h>
#include <utility>
#include <vector>

#include <gtest/gtest.h>
#include <sys/prctl.h>
#include <sys/wait.h>

#include "tests/support/temporary_folder.hpp"

namespace quendo::testing {

/// `quendo daemon` in a process of its own, until this goes.
class DaemonProcess {
public:
    using Environment = std::map<std::string, std::string>;

    /// Returns when it listens, or has ended.
    explicit DaemonProcess(Environment environment, std::vector<std::string> words = {})
        : environment_(std::move(environment)) {
        words.insert(words.begin(), {QUENDO_PROGRAM, "daemon"});
        std::vector<std::string> variables;
        for (const auto& [name, value] : environment_) {
            variables.push_back(name + "=" + value);
        }
        std::vector<char*> arguments = pointersTo(words);
        std::vector<char*> variablePointers = pointersTo(variables);
        const std::string lines = linesFile().string();
        process_ = fork();
        if (process_ == 0) {
            // Also when the test is killed.
            prctl(PR_SET_PDEATHSIG, SIGKILL);
            dup2(open("/dev/null", O_RDWR), STDOUT_FILENO);
            dup2(open(lines.c_str(), O_CREAT | O_WRONLY | O_APPEND, 0600), STDERR_FILENO);
            execve(arguments[0], arguments.data(), variablePointers.data());
            _exit(127);
        }
        for (int i = 0; i < 3'000 && !hasEnded() && this->lines().find("listening at") == std::string::npos; ++i) {
            std::this_thread::sleep_for(std::chrono::milliseconds(5));
        }
    }
    DaemonProcess(const DaemonProcess&) = delete;
    DaemonProcess& operator=(const DaemonProcess&) = delete;
    ~DaemonProcess() { end(SIGTERM); }

    /// Sends `signal` and waits for the end: the exit code, or 128 and the signal that ended it.
    int end(int signal) {
        if (process_ > 0) {
            kill(process_, signal);
            int status = 0;
            waitpid(std::exchange(process_, -1), &status, 0);
            code_ = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
        }
        return code_;
    }
    [[nodiscard]] bool hasEnded() {
        int status = 0;
        if (process_ > 0 && waitpid(process_, &status, WNOHANG) == process_) {
            process_ = -1;
            code_ = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
        }
        return process_ < 0;
    }

    [[nodiscard]] pid_t process() const { return process_; }
    [[nodiscard]] const Environment& environment() const { return environment_; }
    /// How often its threads have given the processor away.
    [[nodiscard]] std::uint64_t voluntarySwitches() const {
        std::uint64_t sum = 0;
        const std::filesystem::path tasks = "/proc/" + std::to_string(process_) + "/task";
        for (const auto& task : std::filesystem::directory_iterator(tasks)) {
            std::ifstream file(task.path() / "status");
            for (std::string word; file >> word;) {
                if (word == "voluntary_ctxt_switches:") {
                    std::uint64_t count = 0;
                    file >> count;
                    sum += count;
                }
            }
        }
        return sum;
    }
    /// What it has written to standard error so far.
    [[nodiscard]] std::string lines() const {
        std::ifstream file(linesFile());
        return {std::istreambuf_iterator<char>(file), {}};
    }

private:
    static std::vector<char*> pointersTo(std::vector<std::string>& texts) {
        std::vector<char*> pointers;
        for (std::string& text : texts) {
            pointers.push_back(text.data());
        }
        pointers.push_back(nullptr);
        return pointers;
    }
    [[nodiscard]] std::filesystem::path linesFile() const { return folder_.path() / "lines"; }

    const quendokit::testing::TemporaryFolder folder_;
    const Environment environment_;
    pid_t process_ = -1;
    int code_ = -1;
};

/// A daemon at the side of every command of a test, where `QUENDO_WITH_DAEMON` asks for it. Started anew for another
/// environment, and when files of the home have changed behind its back.
class DaemonBeside {
public:
#ifdef QUENDO_WITH_DAEMON
    static constexpr bool wanted = true;
#else
    static constexpr bool wanted = false;
#endif

    void beforeCommand(const std::filesystem::path& home, const DaemonProcess::Environment& environment) {
        const bool fits = daemon_ && daemon_->environment() == environment && files_ == filesOf(home);
        if (wanted && !fits) {
            stop();
            daemon_ = std::make_unique<DaemonProcess>(environment);
        }
    }
    void afterCommand(const std::filesystem::path& home) {
        if (wanted) {
            files_ = filesOf(home);
        }
    }
    /// Its end must be a clean one.
    void stop() {
        if (daemon_ && !daemon_->hasEnded()) {
            EXPECT_EQ(daemon_->end(SIGTERM), 0) << daemon_->lines();
        }
        daemon_ = nullptr;
    }

private:
    using Files = std::map<std::string, std::pair<std::uintmax_t, std::filesystem::file_time_type>>;

    static Files filesOf(const std::filesystem::path& home) {
        Files files;
        std::error_code unknown;
        for (const auto& entry : std::filesystem::recursive_directory_iterator(home, unknown)) {
            if (entry.is_regular_file(unknown) && entry.path().filename() != "reminders.sqlite-shm") {
                files[entry.path().string()] = {entry.file_size(unknown), entry.last_write_time(unknown)};
            }
        }
        return files;
    }

    std::unique_ptr<DaemonProcess> daemon_;
    Files files_;
};

}  // namespace quendo::testing

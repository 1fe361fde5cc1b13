#pragma once
/// \file
/// `BackgroundProgram`, a program that runs beside a test.

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <map>
#include <string>
#include <unistd.h>
#include <utility>
#include <vector>

#include <sys/prctl.h>
#include <sys/wait.h>

namespace quendokit::testing {

/// Runs until it is ended, or this goes. What it writes goes to a file.
class BackgroundProgram {
public:
    /// Starts `words` (the first is the program, or a name in PATH) with only `environment` besides PATH. Every
    /// descriptor of the test is closed in it but the standard ones and `kept`.
    BackgroundProgram(std::vector<std::string> words, const std::map<std::string, std::string>& environment,
                      const std::string& outputFile, int kept = -1) {
        std::vector<std::string> variables{std::string("PATH=") + std::getenv("PATH")};
        for (const auto& [name, value] : environment) {
            variables.push_back(name + "=" + value);
        }
        const auto arguments = pointersTo(words);
        const auto values = pointersTo(variables);
        process_ = fork();
        if (process_ == 0) {
            // Also when the test is killed.
            prctl(PR_SET_PDEATHSIG, SIGKILL);
            const int output = open(outputFile.c_str(), O_WRONLY | O_CREAT | O_APPEND, 0600);
            dup2(open("/dev/null", O_RDONLY), STDIN_FILENO);
            dup2(output, STDOUT_FILENO);
            dup2(output, STDERR_FILENO);
            for (int i = STDERR_FILENO + 1; i < 1'024; ++i) {
                if (i != kept) {
                    close(i);
                }
            }
            execvpe(arguments[0], arguments.data(), values.data());
            _exit(127);
        }
    }
    BackgroundProgram(const BackgroundProgram&) = delete;
    BackgroundProgram& operator=(const BackgroundProgram&) = delete;
    ~BackgroundProgram() { end(SIGKILL); }

    /// Sends `signal` and waits for the end that it brings.
    void end(int signal) {
        if (process_ > 0) {
            kill(process_, signal);
            kill(process_, SIGCONT);
            waitpid(std::exchange(process_, -1), nullptr, 0);
        }
    }

    /// Holds it, so that it answers nobody, or lets it go on. Returns when that is so.
    void hold() const {
        kill(process_, SIGSTOP);
        waitpid(process_, nullptr, WUNTRACED);
    }
    void goOn() const { kill(process_, SIGCONT); }

    /// Whether it has ended by itself.
    [[nodiscard]] bool hasEnded() {
        siginfo_t info{};
        return process_ <= 0 || (waitid(P_PID, static_cast<id_t>(process_), &info, WEXITED | WNOHANG | WNOWAIT) == 0 &&
                                 info.si_pid != 0);
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

    pid_t process_ = -1;
};

}  // namespace quendokit::testing

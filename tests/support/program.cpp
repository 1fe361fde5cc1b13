#include "tests/support/program.hpp"

#include <array>
#include <cstdlib>
#include <fcntl.h>
#include <poll.h>
#include <pty.h>
#include <termios.h>
#include <unistd.h>
#include <utility>

#include <sys/wait.h>

namespace quendokit::testing {
namespace {

std::vector<char*> pointersTo(std::vector<std::string>& texts) {
    std::vector<char*> pointers;
    for (std::string& text : texts) {
        pointers.push_back(text.data());
    }
    pointers.push_back(nullptr);
    return pointers;
}

/// What a child runs; made before the fork.
class Execution {
public:
    Execution(std::vector<std::string> words, const std::map<std::string, std::string>& environment)
        : words_(std::move(words)) {
        const char* path = std::getenv("PATH");
        variables_.push_back(std::string("PATH=") + (path != nullptr ? path : "/usr/bin:/bin"));
        for (const auto& [name, value] : environment) {
            variables_.push_back(name + "=" + value);
        }
        arguments_ = pointersTo(words_);
        environment_ = pointersTo(variables_);
    }

    [[noreturn]] void begin() const {
        execvpe(arguments_[0], arguments_.data(), environment_.data());
        _exit(127);
    }

private:
    std::vector<std::string> words_;
    std::vector<std::string> variables_;
    std::vector<char*> arguments_;
    std::vector<char*> environment_;
};

int exitCodeOf(pid_t child) {
    int status = 0;
    waitpid(child, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}

/// Reads both pipes to their ends.
void readAll(std::array<pollfd, 2> pipes, const std::array<std::string*, 2>& texts) {
    std::size_t open = pipes.size();
    while (open > 0) {
        poll(pipes.data(), pipes.size(), -1);
        for (std::size_t i = 0; i < pipes.size(); ++i) {
            if (pipes[i].fd < 0 || pipes[i].revents == 0) {
                continue;
            }
            char buffer[4096];
            const ssize_t size = read(pipes[i].fd, buffer, sizeof(buffer));
            if (size > 0) {
                texts[i]->append(buffer, static_cast<std::size_t>(size));
            } else {
                close(pipes[i].fd);
                pipes[i].fd = -1;
                --open;
            }
        }
    }
}

}  // namespace

ProgramResult runProgram(const std::vector<std::string>& words, const std::map<std::string, std::string>& environment) {
    const Execution execution(words, environment);
    int output[2];
    int errors[2];
    if (pipe2(output, O_CLOEXEC) != 0 || pipe2(errors, O_CLOEXEC) != 0) {
        std::abort();
    }
    const pid_t child = fork();
    if (child == 0) {
        const int nothing = open("/dev/null", O_RDONLY);
        dup2(nothing, STDIN_FILENO);
        dup2(output[1], STDOUT_FILENO);
        dup2(errors[1], STDERR_FILENO);
        execution.begin();
    }
    close(output[1]);
    close(errors[1]);
    ProgramResult result{};
    readAll({pollfd{output[0], POLLIN, 0}, pollfd{errors[0], POLLIN, 0}}, {&result.output, &result.errors});
    result.code = exitCodeOf(child);
    return result;
}

ProgramResult runProgramOnTerminal(const std::vector<std::string>& words,
                                   const std::map<std::string, std::string>& environment, unsigned short columns) {
    const Execution execution(words, environment);
    // Raw, so that what is read is what was written.
    termios settings{};
    cfmakeraw(&settings);
    const winsize size{24, columns, 0, 0};
    int terminal = -1;
    const pid_t child = forkpty(&terminal, nullptr, &settings, &size);
    if (child < 0) {
        std::abort();
    }
    if (child == 0) {
        execution.begin();
    }
    ProgramResult result{};
    char buffer[4096];
    // The read fails once the program, and with it the terminal, has gone.
    for (ssize_t length = 0; (length = read(terminal, buffer, sizeof(buffer))) > 0;) {
        result.output.append(buffer, static_cast<std::size_t>(length));
    }
    close(terminal);
    result.code = exitCodeOf(child);
    return result;
}

}  // namespace quendokit::testing

#include "tests/support/program.hpp"

#include <array>
#include <cstdlib>
#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

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
    std::vector<std::string> wordCopies = words;
    const char* path = std::getenv("PATH");
    std::vector<std::string> variables{std::string("PATH=") + (path != nullptr ? path : "/usr/bin:/bin")};
    for (const auto& [name, value] : environment) {
        variables.push_back(name + "=" + value);
    }
    const auto arguments = pointersTo(wordCopies);
    const auto environmentPointers = pointersTo(variables);
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
        execvpe(arguments[0], arguments.data(), environmentPointers.data());
        _exit(127);
    }
    close(output[1]);
    close(errors[1]);
    ProgramResult result{};
    readAll({pollfd{output[0], POLLIN, 0}, pollfd{errors[0], POLLIN, 0}}, {&result.output, &result.errors});
    int status = 0;
    waitpid(child, &status, 0);
    result.code = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    return result;
}

}  // namespace quendokit::testing

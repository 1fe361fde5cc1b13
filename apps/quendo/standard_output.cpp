#include "apps/quendo/standard_output.hpp"

#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <string>
#include <system_error>
#include <unistd.h>

namespace quendo {

void prepareStandardStreams() {
    int descriptor = 0;
    do {
        descriptor = open("/dev/null", O_RDWR);
    } while (descriptor >= 0 && descriptor <= STDERR_FILENO);
    if (descriptor >= 0) {
        close(descriptor);
    }
    std::signal(SIGPIPE, SIG_IGN);
    std::signal(SIGXFSZ, SIG_IGN);
}

std::optional<Failure> writeStandardOutput(std::string_view text) {
    while (!text.empty()) {
        const ssize_t written = write(STDOUT_FILENO, text.data(), text.size());
        if (written >= 0) {
            text.remove_prefix(static_cast<std::size_t>(written));
        } else if (errno == EPIPE) {
            return std::nullopt;
        } else if (errno != EINTR) {
            return Failure{ExitCode::notDone, "standard output: " + std::generic_category().message(errno) +
                                                  "; what was asked for is done, but the answer is lost"};
        }
    }
    return std::nullopt;
}

}  // namespace quendo

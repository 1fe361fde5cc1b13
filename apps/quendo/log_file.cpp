#include "apps/quendo/log_file.hpp"

#include <fcntl.h>
#include <string>
#include <system_error>
#include <unistd.h>

#include <sys/stat.h>

namespace quendo {
namespace {

constexpr mode_t ownerOnly = 0600;
constexpr off_t mostBytes = off_t{1} << 20;

}  // namespace

void LogFile::writeLine(std::string_view line) {
    const std::lock_guard guard(mutex_);
    // Not waiting: in the place of the log may be a pipe that nobody reads.
    const int descriptor =
        open(file_.c_str(), O_CREAT | O_WRONLY | O_APPEND | O_NOFOLLOW | O_CLOEXEC | O_NONBLOCK, ownerOnly);
    if (descriptor < 0) {
        return;
    }
    std::string text(line);
    text += '\n';
    // A log that cannot be written must not stop the work that it tells of.
    [[maybe_unused]] const ssize_t written = write(descriptor, text.data(), text.size());
    struct stat status{};
    const bool full = fstat(descriptor, &status) == 0 && status.st_size >= mostBytes;
    close(descriptor);
    if (full) {
        std::error_code ignored;
        std::filesystem::rename(file_, file_.string() + ".1", ignored);
    }
}

}  // namespace quendo

#include "apps/quendo/lock_file.hpp"

#include <cerrno>
#include <fcntl.h>
#include <string>
#include <system_error>
#include <thread>
#include <unistd.h>
#include <utility>

#include <sys/file.h>

namespace quendo {
namespace {

constexpr mode_t ownerOnly = 0600;
constexpr std::chrono::milliseconds betweenTries(10);

Failure fileFailure(const std::filesystem::path& file, int number) {
    return {ExitCode::notDone, file.string() + ": " + std::generic_category().message(number) +
                                   "; make the folder writable for you, or name another one with --home DIR"};
}

}  // namespace

Outcome<LockFile> LockFile::take(const std::filesystem::path& file, std::chrono::milliseconds patience) {
    const int descriptor = open(file.c_str(), O_CREAT | O_RDWR | O_NOFOLLOW | O_CLOEXEC, ownerOnly);
    if (descriptor < 0) {
        return fileFailure(file, errno);
    }
    LockFile lock(descriptor);
    const auto deadline = std::chrono::steady_clock::now() + patience;
    while (flock(descriptor, LOCK_EX | LOCK_NB) != 0) {
        if (errno != EWOULDBLOCK && errno != EINTR) {
            return fileFailure(file, errno);
        }
        if (std::chrono::steady_clock::now() >= deadline) {
            return Failure{ExitCode::locked,
                           file.string() + ": another quendo is at work on these reminders; try again when it is done"};
        }
        std::this_thread::sleep_for(betweenTries);
    }
    return lock;
}

bool LockFile::isHeld(const std::filesystem::path& file) {
    const int descriptor = open(file.c_str(), O_RDWR | O_NOFOLLOW | O_CLOEXEC);
    if (descriptor < 0) {
        return false;
    }
    const LockFile probe(descriptor);
    return flock(descriptor, LOCK_EX | LOCK_NB) != 0 && errno == EWOULDBLOCK;
}

LockFile::LockFile(LockFile&& other) noexcept : descriptor_(std::exchange(other.descriptor_, -1)) {}

LockFile::~LockFile() {
    if (descriptor_ >= 0) {
        close(descriptor_);
    }
}

}  // namespace quendo

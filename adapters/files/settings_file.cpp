#include <array>
#include <cerrno>
#include <fcntl.h>
#include <thread>
#include <unistd.h>
#include <utility>

#include <sys/file.h>

#include "adapters/files/files_error_internal.hpp"
#include "adapters/files/settings_document_internal.hpp"
#include "adapters/files/settings_file_internal.hpp"

namespace quendokit::files {
namespace {

constexpr mode_t ownerOnlyFile = 0600;
constexpr mode_t ownerOnlyFolder = 0700;
constexpr mode_t otherUsers = 0077;
constexpr std::chrono::milliseconds betweenTries(10);

// The files beside the settings. Stored format.
constexpr const char* backup = ".backup";
constexpr const char* lockFile = ".lock";
constexpr const char* newFile = ".new";
constexpr const char* newBackup = ".backup.new";

Error refusal(const std::filesystem::path& file, const std::string& why) {
    return makeFilesError(FileUserDefaultsErrorCode::notPermitted, file.string() + ": " + why);
}

}  // namespace

OpenFile::OpenFile(int descriptor, std::shared_ptr<FileOperations> operations)
    : descriptor_(descriptor), operations_(std::move(operations)) {}

OpenFile::OpenFile(OpenFile&& other) noexcept
    : descriptor_(std::exchange(other.descriptor_, -1)), operations_(std::move(other.operations_)) {}

OpenFile::~OpenFile() {
    if (descriptor_ >= 0) {
        operations_->close(descriptor_);
    }
}

SettingsFile::SettingsFile(std::filesystem::path file, std::shared_ptr<FileOperations> operations)
    : file_(std::move(file)), operations_(std::move(operations)) {}

std::filesystem::path SettingsFile::beside(const char* suffix) const {
    return file_.string() + suffix;
}

Result<std::optional<std::string>> SettingsFile::read(bool tighten) const {
    return readAt(file_, tighten);
}

Result<std::optional<std::string>> SettingsFile::readBackup() const {
    return readAt(beside(backup), false);
}

Result<std::optional<std::string>> SettingsFile::readAt(const std::filesystem::path& path, bool tighten) const {
    // A pipe of that name must not keep the program waiting.
    const int descriptor = operations_->open(path.c_str(), O_RDONLY | O_NOFOLLOW | O_CLOEXEC | O_NONBLOCK, 0);
    if (descriptor < 0) {
        if (errno == ENOENT) {
            return std::optional<std::string>();
        }
        return systemError(errno, path.string());
    }
    const OpenFile file(descriptor, operations_);
    struct stat status{};
    if (operations_->fstat(descriptor, &status) != 0) {
        return systemError(errno, path.string());
    }
    if (!S_ISREG(status.st_mode)) {
        return refusal(path, "this is no regular file; move it aside");
    }
    if (status.st_uid != geteuid()) {
        return refusal(path, "the file belongs to another user; make it yours or use another folder");
    }
    if (tighten && (status.st_mode & otherUsers) != 0) {
        // A disk that knows no modes, or may not be written, keeps its own.
        static_cast<void>(operations_->fchmod(descriptor, ownerOnlyFile));
    }
    std::string text;
    std::array<char, 16'384> buffer{};
    while (text.size() <= largestFile) {
        const ssize_t count = operations_->read(descriptor, buffer.data(), buffer.size());
        if (count == 0) {
            break;
        }
        if (count > 0) {
            text.append(buffer.data(), static_cast<std::size_t>(count));
        } else if (errno != EINTR) {
            return systemError(errno, path.string());
        }
    }
    return std::optional(std::move(text));
}

Result<OpenFile> SettingsFile::lock(std::chrono::milliseconds patience) const {
    if (auto failure = makeFolder(file_.parent_path())) {
        return *failure;
    }
    const auto path = beside(lockFile);
    const int descriptor = operations_->open(path.c_str(), O_CREAT | O_RDWR | O_NOFOLLOW | O_CLOEXEC, ownerOnlyFile);
    if (descriptor < 0) {
        return systemError(errno, path.string());
    }
    OpenFile lock(descriptor, operations_);
    // The process may mask its owner's rights, too; without them the next one could not open it.
    static_cast<void>(operations_->fchmod(descriptor, ownerOnlyFile));
    const auto deadline = std::chrono::steady_clock::now() + patience;
    while (operations_->flock(descriptor, LOCK_EX | LOCK_NB) != 0) {
        if (errno == EINTR) {
            continue;
        }
        if (errno != EWOULDBLOCK) {
            return systemError(errno, path.string());
        }
        if (std::chrono::steady_clock::now() >= deadline) {
            return makeFilesError(FileUserDefaultsErrorCode::locked,
                                  path.string() + ": another program is at work on the settings; end it or try again");
        }
        std::this_thread::sleep_for(betweenTries);
    }
    return lock;
}

std::optional<Error> SettingsFile::makeFolder(const std::filesystem::path& folder) const {
    struct stat status{};
    if (folder.empty() || operations_->lstat(folder.c_str(), &status) == 0) {
        return std::nullopt;
    }
    if (auto failure = makeFolder(folder.parent_path())) {
        return failure;
    }
    if (operations_->mkdir(folder.c_str(), ownerOnlyFolder) != 0 && errno != EEXIST) {
        return systemError(errno, folder.string());
    }
    return std::nullopt;
}

std::optional<Error> SettingsFile::replace(const std::string& text, const std::optional<std::string>& previous) const {
    auto failure = writeNew(beside(newFile), text, true);
    if (!failure && previous) {
        // Its content was durable before; it is only needed if the file is damaged later.
        failure = writeNew(beside(newBackup), *previous, false);
        if (!failure) {
            failure = rename(beside(newBackup), beside(backup));
        }
    }
    if (!failure) {
        failure = rename(beside(newFile), file_);
    }
    if (failure) {
        removeNew();
        return failure;
    }
    return syncFolder();
}

Result<std::filesystem::path> SettingsFile::replaceDamaged(const std::string& text) const {
    if (auto failure = writeNew(beside(newFile), text, true)) {
        removeNew();
        return *failure;
    }
    auto aside = moveAside();
    if (!aside) {
        removeNew();
        return aside;
    }
    auto failure = rename(beside(newFile), file_);
    if (!failure) {
        failure = syncFolder();
    }
    return failure ? Result<std::filesystem::path>(*failure) : std::move(aside);
}

Result<std::filesystem::path> SettingsFile::moveAside() const {
    for (int number = 1;; ++number) {
        const auto aside = beside((".damaged-" + std::to_string(number)).c_str());
        // A second name and not another one, so that a crash leaves no moment without a file.
        if (operations_->link(file_.c_str(), aside.c_str()) == 0) {
            return aside;
        }
        const int why = errno;
        struct stat status{};
        if (why == EEXIST || operations_->lstat(aside.c_str(), &status) == 0) {
            continue;
        }
        if (why != EPERM && why != ENOTSUP && why != ENOSYS) {
            return systemError(why, aside.string());
        }
        // Not every disk knows second names.
        if (auto failure = rename(file_, aside)) {
            return *failure;
        }
        return aside;
    }
}

void SettingsFile::removeNew() const {
    static_cast<void>(operations_->unlink(beside(newBackup).c_str()));
    static_cast<void>(operations_->unlink(beside(newFile).c_str()));
}

std::optional<Error> SettingsFile::writeNew(const std::filesystem::path& path, const std::string& text,
                                            bool durably) const {
    // What a crash has left there.
    if (operations_->unlink(path.c_str()) != 0 && errno != ENOENT) {
        return systemError(errno, path.string());
    }
    const int descriptor =
        operations_->open(path.c_str(), O_CREAT | O_EXCL | O_WRONLY | O_NOFOLLOW | O_CLOEXEC, ownerOnlyFile);
    if (descriptor < 0) {
        return systemError(errno, path.string());
    }
    const OpenFile file(descriptor, operations_);
    if (operations_->fchmod(descriptor, ownerOnlyFile) != 0) {
        return systemError(errno, path.string());
    }
    if (auto failure = writeAll(descriptor, text, path)) {
        return failure;
    }
    if (durably && operations_->fsync(descriptor) != 0) {
        return systemError(errno, path.string());
    }
    return std::nullopt;
}

std::optional<Error> SettingsFile::writeAll(int descriptor, const std::string& text,
                                            const std::filesystem::path& path) const {
    std::size_t written = 0;
    while (written < text.size()) {
        const ssize_t count = operations_->write(descriptor, text.data() + written, text.size() - written);
        if (count >= 0) {
            written += static_cast<std::size_t>(count);
        } else if (errno != EINTR) {
            return systemError(errno, path.string());
        }
    }
    return std::nullopt;
}

std::optional<Error> SettingsFile::rename(const std::filesystem::path& from, const std::filesystem::path& to) const {
    if (operations_->rename(from.c_str(), to.c_str()) != 0) {
        return systemError(errno, to.string());
    }
    return std::nullopt;
}

std::optional<Error> SettingsFile::syncFolder() const {
    const auto folder = file_.has_parent_path() ? file_.parent_path() : std::filesystem::path(".");
    const int descriptor = operations_->open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC, 0);
    if (descriptor < 0) {
        return systemError(errno, folder.string());
    }
    const OpenFile file(descriptor, operations_);
    if (operations_->fsync(descriptor) != 0) {
        return systemError(errno, folder.string());
    }
    return std::nullopt;
}

}  // namespace quendokit::files

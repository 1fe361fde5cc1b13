#include <cerrno>
#include <fcntl.h>
#include <string>
#include <unistd.h>

#include <sys/stat.h>

#include "adapters/sqlite/database_file_internal.hpp"
#include "adapters/sqlite/sqlite_error_internal.hpp"
#include "quendokit/platform/realm_error.hpp"

// An existing file is never opened here: closing any descriptor of it would end the locks that SQLite holds on it in
// this process.

namespace quendokit::sqlite {
namespace {

constexpr mode_t ownerOnlyFile = 0600;
constexpr mode_t ownerOnlyFolder = 0700;
constexpr mode_t otherUsers = 0077;

std::optional<Error> makeFolder(const std::filesystem::path& folder) {
    std::error_code unknown;
    if (folder.empty() || std::filesystem::is_directory(folder, unknown)) {
        return std::nullopt;
    }
    if (auto failure = makeFolder(folder.parent_path())) {
        return failure;
    }
    if (mkdir(folder.c_str(), ownerOnlyFolder) != 0 && errno != EEXIST) {
        return systemError(errno, folder.string());
    }
    return std::nullopt;
}

Error refusal(const std::filesystem::path& file, const std::string& why) {
    return makeRealmError(RealmErrorCode::notPermitted, file.string() + ": " + why);
}

}  // namespace

std::optional<Error> refuseForeignFile(const std::filesystem::path& file) {
    struct stat status{};
    if (lstat(file.c_str(), &status) != 0) {
        return errno == ENOENT ? std::nullopt : std::optional(systemError(errno, file.string()));
    }
    if (S_ISLNK(status.st_mode)) {
        return refusal(file, "the database is a symbolic link; put the file itself there");
    }
    if (!S_ISREG(status.st_mode)) {
        return refusal(file, "the database is no regular file; move it aside");
    }
    if (status.st_uid != geteuid()) {
        return refusal(file, "the database belongs to another user; make it yours or use another folder");
    }
    if (euidaccess(file.c_str(), R_OK | W_OK) != 0) {
        return systemError(errno, file.string());
    }
    return std::nullopt;
}

std::optional<Error> createFile(const std::filesystem::path& file) {
    const int descriptor = open(file.c_str(), O_CREAT | O_EXCL | O_RDWR | O_NOFOLLOW | O_CLOEXEC, ownerOnlyFile);
    if (descriptor < 0) {
        return systemError(errno, file.string());
    }
    close(descriptor);
    return std::nullopt;
}

std::optional<Error> prepareFile(const std::filesystem::path& file) {
    if (auto failure = makeFolder(file.parent_path())) {
        return failure;
    }
    struct stat status{};
    if (lstat(file.c_str(), &status) != 0 && errno == ENOENT) {
        auto failure = createFile(file);
        // Another process may have been faster; its file is as good.
        return lstat(file.c_str(), &status) == 0 ? std::nullopt : failure;
    }
    return refuseForeignFile(file);
}

std::optional<Error> closeToOthers(const std::filesystem::path& file) {
    struct stat status{};
    const bool isOpen = lstat(file.c_str(), &status) == 0 && (status.st_mode & otherUsers) != 0;
    if (isOpen && chmod(file.c_str(), ownerOnlyFile) != 0) {
        return systemError(errno, file.string());
    }
    return std::nullopt;
}

void syncFolder(const std::filesystem::path& folder) {
    const int descriptor = open(folder.empty() ? "." : folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (descriptor >= 0) {
        fsync(descriptor);
        close(descriptor);
    }
}

}  // namespace quendokit::sqlite

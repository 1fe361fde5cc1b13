#include "apps/quendo-cloudd/data_folder.hpp"

#include <cerrno>
#include <string>
#include <system_error>
#include <unistd.h>

#include <sys/stat.h>

namespace cloudd {
namespace {

using quendo::ExitCode;
using quendo::Failure;

Failure folderFailure(const std::filesystem::path& folder, int number) {
    return {ExitCode::notDone, folder.string() + ": " + std::generic_category().message(number) +
                                   "; make the folder usable for you, or name another one with --data DIR"};
}

std::optional<Failure> makeFolder(const std::filesystem::path& folder) {
    if (mkdir(folder.c_str(), 0700) != 0 && errno != EEXIST) {
        return folderFailure(folder, errno);
    }
    return std::nullopt;
}

}  // namespace

std::optional<Failure> prepareDataFolder(const std::filesystem::path& folder, IfAbsent ifAbsent) {
    struct stat status{};
    if (stat(folder.c_str(), &status) == 0) {
        if (!S_ISDIR(status.st_mode)) {
            return folderFailure(folder, ENOTDIR);
        }
    } else if (errno != ENOENT || ifAbsent == IfAbsent::refuse) {
        return folderFailure(folder, errno);
    } else if (auto failure = makeFolder(folder)) {
        return failure;
    }
    const std::filesystem::path users = folder / "users";
    if (auto failure = makeFolder(users)) {
        return failure;
    }
    giveToOwner(folder, users);
    return std::nullopt;
}

void giveToOwner(const std::filesystem::path& folder, const std::filesystem::path& file) {
    struct stat owner{};
    struct stat status{};
    if (geteuid() != 0 || stat(folder.c_str(), &owner) != 0 || lstat(file.c_str(), &status) != 0 ||
        owner.st_uid == status.st_uid) {
        return;
    }
    // The owner of the folder could do no worse by a failure than without this.
    static_cast<void>(lchown(file.c_str(), owner.st_uid, owner.st_gid) == 0);
}

}  // namespace cloudd

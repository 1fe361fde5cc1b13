#include "apps/quendo/make_folder.hpp"

#include <cerrno>
#include <string>
#include <system_error>

#include <sys/stat.h>

namespace quendo {

std::optional<Failure> makeFolder(const std::filesystem::path& folder) {
    constexpr mode_t ownerOnly = 0700;
    std::error_code unknown;
    if (folder.empty() || std::filesystem::is_directory(folder, unknown)) {
        return std::nullopt;
    }
    if (auto failure = makeFolder(folder.parent_path())) {
        return failure;
    }
    if (mkdir(folder.c_str(), ownerOnly) == 0) {
        return std::nullopt;
    }
    const int number = errno;
    if (number == EEXIST && std::filesystem::is_directory(folder, unknown)) {
        return std::nullopt;
    }
    const std::string why = number == EEXIST ? "it is no folder" : std::generic_category().message(number);
    return Failure{ExitCode::notDone,
                   folder.string() + ": the folder cannot be made (" + why + "); name another one with --home DIR"};
}

}  // namespace quendo

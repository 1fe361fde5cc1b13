#include "apps/quendo/folders.hpp"

#include <cerrno>
#include <cstdlib>
#include <system_error>

#include <sys/stat.h>

namespace quendo {

using quendokit::LinuxFolders;

namespace {

/// Absent when the variable is unset or empty.
std::optional<std::string> environment(const char* name) {
    const char* value = std::getenv(name);
    return value == nullptr || *value == '\0' ? std::nullopt : std::optional<std::string>(value);
}

}  // namespace

Outcome<Folders> findFolders(const std::optional<std::string>& home) {
    if (home && home->empty()) {
        return Failure{ExitCode::usage, "--home is empty; name a folder"};
    }
    if (const auto folder = home ? home : environment("QUENDO_HOME")) {
        return Folders{LinuxFolders::inOne(*folder), {}};
    }
    const auto folders = LinuxFolders::xdg("quendo");
    if (!folders) {
        return Failure{ExitCode::usage,
                       "there is no home folder to keep reminders in; set HOME, or name one with --home DIR"};
    }
    const auto runtime = environment("XDG_RUNTIME_DIR");
    // A relative one does not count.
    const bool hasRuntime = runtime && runtime->starts_with('/');
    return Folders{*folders, hasRuntime ? std::filesystem::path(*runtime) / "quendo" : std::filesystem::path()};
}

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

#include "apps/quendo/folders.hpp"

#include <cerrno>
#include <cstdlib>
#include <system_error>

#include <sys/stat.h>

namespace quendo {
namespace {

/// Absent when the variable is unset or empty.
std::optional<std::string> environment(const char* name) {
    const char* value = std::getenv(name);
    return value == nullptr || *value == '\0' ? std::nullopt : std::optional<std::string>(value);
}

/// An XDG folder; a relative one does not count, as the convention asks.
std::optional<std::filesystem::path> xdgFolder(const char* variable, const char* belowHome) {
    const auto named = environment(variable);
    if (named && named->starts_with('/')) {
        return std::filesystem::path(*named) / "quendo";
    }
    const auto home = environment("HOME");
    return home ? std::optional(std::filesystem::path(*home) / belowHome / "quendo") : std::nullopt;
}

}  // namespace

Outcome<Folders> findFolders(const std::optional<std::string>& home) {
    if (home && home->empty()) {
        return Failure{ExitCode::usage, "--home is empty; name a folder"};
    }
    if (const auto folder = home ? home : environment("QUENDO_HOME")) {
        return Folders{*folder, *folder, *folder};
    }
    const auto data = xdgFolder("XDG_DATA_HOME", ".local/share");
    const auto config = xdgFolder("XDG_CONFIG_HOME", ".config");
    const auto state = xdgFolder("XDG_STATE_HOME", ".local/state");
    if (!data || !config || !state) {
        return Failure{ExitCode::usage,
                       "there is no home folder to keep reminders in; set HOME, or name one with --home DIR"};
    }
    return Folders{*data, *config, *state};
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

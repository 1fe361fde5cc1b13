#include "apps/quendo/folders.hpp"

#include <cstdlib>

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

}  // namespace quendo

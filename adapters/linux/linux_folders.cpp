#include "adapters/linux/linux_folders.hpp"

#include <cstdlib>

namespace quendokit {
namespace {

/// The absolute path that a variable holds; absent for anything else, as the convention asks.
std::optional<std::filesystem::path> folderIn(const char* variable) {
    const char* const value = std::getenv(variable);
    if (value == nullptr || *value != '/') {
        return std::nullopt;
    }
    return std::filesystem::path(value);
}

std::optional<std::filesystem::path> baseFolder(const char* variable, const char* belowHome) {
    if (auto named = folderIn(variable)) {
        return named;
    }
    // A relative home is a mistake of the environment, but whose it is knows where it is.
    const char* const home = std::getenv("HOME");
    if (home == nullptr || *home == '\0') {
        return std::nullopt;
    }
    return std::filesystem::path(home) / belowHome;
}

}  // namespace

std::optional<LinuxFolders> LinuxFolders::xdg(std::string_view application) {
    const auto data = baseFolder("XDG_DATA_HOME", ".local/share");
    const auto config = baseFolder("XDG_CONFIG_HOME", ".config");
    const auto state = baseFolder("XDG_STATE_HOME", ".local/state");
    if (!data || !config || !state) {
        return std::nullopt;
    }
    return LinuxFolders{*data / application, *config / application, *state / application};
}

LinuxFolders LinuxFolders::inOne(const std::filesystem::path& folder) {
    return {folder, folder, folder};
}

}  // namespace quendokit

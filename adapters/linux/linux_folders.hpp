#pragma once
/// \file
/// `LinuxFolders`, where an application keeps its files.

#include <filesystem>
#include <optional>
#include <string_view>

#include "quendokit/platform/export.hpp"

namespace quendokit {

/// The folders of one application of one person. Plain value; making one makes no folder.
struct QUENDOKIT_EXPORT LinuxFolders {
    /// The folders called `application` in those of the XDG base directory convention: XDG_DATA_HOME, XDG_CONFIG_HOME
    /// and XDG_STATE_HOME, or .local/share, .config and .local/state below HOME; a relative one does not count. Absent
    /// when one is neither named nor below a HOME. Any thread, as long as no other thread changes the environment
    /// meanwhile.
    [[nodiscard]] static std::optional<LinuxFolders> xdg(std::string_view application);

    /// `folder` for everything.
    [[nodiscard]] static LinuxFolders inOne(const std::filesystem::path& folder);

    /// The reminders.
    std::filesystem::path data;
    /// The settings.
    std::filesystem::path config;
    /// What may be lost: logs, locks.
    std::filesystem::path state;

    /// The database of the reminders.
    [[nodiscard]] std::filesystem::path database() const { return data / "reminders.sqlite"; }
    /// The day plan and other settings.
    [[nodiscard]] std::filesystem::path settings() const { return config / "settings.json"; }
};

}  // namespace quendokit

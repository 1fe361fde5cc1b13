#pragma once
/// \file
/// Where the program keeps its files.

#include <filesystem>
#include <optional>
#include <string>

#include "adapters/linux/linux_folders.hpp"
#include "apps/quendo/failure.hpp"

namespace quendo {

/// The folders of one person's reminders; all the same one when a home was named.
struct Folders : quendokit::LinuxFolders {
    /// What is gone after the person has left; empty when that is the state folder.
    std::filesystem::path runtime = {};

    [[nodiscard]] std::filesystem::path lock() const { return state / "quendo.lock"; }
    [[nodiscard]] std::filesystem::path journal() const { return state / "quendo.journal"; }
    /// The account in the cloud, with its tokens.
    [[nodiscard]] std::filesystem::path account() const { return config / "cloud.json"; }
    /// The settings that all devices share, as the cloud has them.
    [[nodiscard]] std::filesystem::path sharedSettings() const { return state / "shared-settings.json"; }
    /// When the last sync was.
    [[nodiscard]] std::filesystem::path syncRecord() const { return state / "sync.json"; }
    [[nodiscard]] std::filesystem::path log() const { return state / "quendo.log"; }
    /// What rang, and what lies ahead.
    [[nodiscard]] std::filesystem::path ledger() const { return state / "rung.ledger"; }
    [[nodiscard]] std::filesystem::path armedList() const { return state / "armed.list"; }
    /// Where the daemon listens.
    [[nodiscard]] std::filesystem::path socket() const { return (runtime.empty() ? state : runtime) / "socket"; }
};

/// The folder `home`, else the one in QUENDO_HOME, else "quendo" in the XDG folders of the environment. Makes nothing.
[[nodiscard]] Outcome<Folders> findFolders(const std::optional<std::string>& home);

}  // namespace quendo

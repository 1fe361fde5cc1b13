#pragma once
/// \file
/// `installLinuxPlatform`: every service of the engine for a host on Linux.

#include <chrono>
#include <filesystem>
#include <functional>
#include <memory>
#include <string>

#include "adapters/cctz/local_calendar.hpp"
#include "adapters/event_loop/event_loop.hpp"
#include "adapters/files/file_user_defaults.hpp"
#include "adapters/linux/linux_folders.hpp"
#include "quendokit/platform/error.hpp"
#include "quendokit/platform/export.hpp"
#include "quendokit/platform/services.hpp"

namespace quendokit {

/// What a host says about itself. Plain value.
struct LinuxPlatformOptions {
    /// Where the database and the settings lie.
    LinuxFolders folders;
    /// The folder of the message catalogues, as /usr/share/locale; without those, every text is English.
    std::filesystem::path localeFolder;
    /// As `platform::Services` says.
    std::string AppIdentifier;
    std::string CloudContainerIdentifier;
    std::string organisationPrefix;
    /// How long a write waits for another process.
    std::chrono::milliseconds patience = std::chrono::seconds(5);
    /// Hears of what the database or the settings could not do, on the thread of the operation; it must not use them.
    /// May be empty.
    std::function<void(const Error&)> onFailure;
};

/// The services, and what of them a host works with. Shared freely.
struct LinuxPlatform {
    /// The loop of the thread that called; the host runs it there, its main thread.
    std::shared_ptr<EventLoop> mainLoop;
    /// To be told when the device's zone changes.
    std::shared_ptr<LocalCalendar> calendar;
    /// To be told when another process has changed the settings.
    std::shared_ptr<FileUserDefaults> userDefaults;
    /// A host may replace one before it installs them.
    platform::Services services;
};

/// Makes the services and installs nothing: SQLite, the settings file, the system's zone data and message catalogues,
/// ICU's names of the days, and an event loop on the standard library. The person's language is that of the process's
/// locale, which the host sets (`setlocale(LC_ALL, "")`) before it asks for a text. There is no cloud: what goes to the
/// key-value store stays there. Main thread, as long as no other thread changes the environment meanwhile.
[[nodiscard]] QUENDOKIT_EXPORT LinuxPlatform makeLinuxPlatform(LinuxPlatformOptions options);

/// The same, installed for the rest of the process. Fatal when services are installed already.
QUENDOKIT_EXPORT LinuxPlatform installLinuxPlatform(LinuxPlatformOptions options);

}  // namespace quendokit

#pragma once
/// \file
/// What the host installs before it uses the engine: one implementation of each platform interface, and its identity.

#include <functional>
#include <memory>
#include <string>

#include "quendokit/platform/clock.hpp"
#include "quendokit/platform/export.hpp"
#include "quendokit/platform/line_sink.hpp"

namespace quendokit {

class BundleProvider;
class Calendar;
class CKContainerProvider;
class DispatchQueue;
class Locale;
class NotificationCenter;
class NSUbiquitousKeyValueStore;
class RealmProvider;
class RunLoopProvider;
class UserDefaults;

namespace platform {

class World;

/// The services of one process. Every reference is shared with the engine for as long as it is installed. One that is
/// null is absent: its first use is fatal and names it.
struct Services {
    /// The wall clock.
    std::shared_ptr<Clock> clock;
    /// Local time.
    std::shared_ptr<const Calendar> calendar;
    /// The names of the days.
    std::shared_ptr<const Locale> locale;
    /// Finds the localised texts.
    std::shared_ptr<const BundleProvider> bundleProvider;
    /// The person's settings on this device.
    std::shared_ptr<UserDefaults> userDefaults;
    /// The person's settings on all devices.
    std::shared_ptr<NSUbiquitousKeyValueStore> ubiquitousKeyValueStore;
    /// News inside the process.
    std::shared_ptr<NotificationCenter> notificationCenter;
    /// Timers.
    std::shared_ptr<RunLoopProvider> runLoopProvider;
    /// The queue of the main thread.
    std::shared_ptr<DispatchQueue> mainQueue;
    /// Opens object databases.
    std::shared_ptr<RealmProvider> realmProvider;
    /// Finds the person's database in the cloud.
    std::shared_ptr<CKContainerProvider> containerProvider;
    /// The system's log.
    std::shared_ptr<LineSink> systemLog = makeStandardErrorSink();
    /// Where the engine prints its lines. A program whose own answer goes to standard output installs another one.
    std::shared_ptr<LineSink> standardOutput = makeStandardOutputSink();
    /// Absent when `makeUUID` shall draw random ones. Called on any thread.
    std::function<std::string()> uuidSource;

    /// The host application's identifier, as "net.example.reminders".
    std::string AppIdentifier;
    /// The cloud container that holds the person's private database.
    std::string CloudContainerIdentifier;
    /// The bundle of the engine's localised texts.
    std::string FrameworkBundleIdentifier;
    /// The host's organisation as a reversed domain, as "net.example".
    std::string organisationPrefix;
};

/// Makes `services` the process's own. Called once, before anything else of the engine; fatal when called again.
QUENDOKIT_EXPORT void install(Services services);

/// What is installed. Any thread. Fatal if nothing is.
[[nodiscard]] QUENDOKIT_EXPORT const Services& services();

/// The installed services one by one. Any thread. Fatal if absent.
[[nodiscard]] QUENDOKIT_EXPORT Clock& clock();
[[nodiscard]] QUENDOKIT_EXPORT RealmProvider& realmProvider();
[[nodiscard]] QUENDOKIT_EXPORT LineSink& standardOutput();

/// Installs services for its own lifetime and puts the earlier ones back afterwards: a fresh world for a test, or for
/// one of several devices in one process. What exists once per process (resolved words, the shared options) exists once
/// in each scope and ends with it. Scopes nest and end in the reverse order. No other thread may use the engine while
/// one begins or ends.
class QUENDOKIT_EXPORT ScopedInstall {
public:
    explicit ScopedInstall(Services services);
    ScopedInstall(const ScopedInstall&) = delete;
    ScopedInstall& operator=(const ScopedInstall&) = delete;
    ~ScopedInstall();

private:
    const std::unique_ptr<World> world_;
    World* const previous_;
};

}  // namespace platform
}  // namespace quendokit

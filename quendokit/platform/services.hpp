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

class RealmProvider;

namespace platform {

/// The services of one process. Every reference is shared with the engine for as long as it is installed. One that is
/// null is absent: its first use is fatal and names it.
struct Services {
    /// The wall clock.
    std::shared_ptr<Clock> clock;
    /// Opens object databases.
    std::shared_ptr<RealmProvider> realmProvider;
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
/// one of several devices in one process. Scopes nest and end in the reverse order. No other thread may use the engine
/// while one begins or ends.
class QUENDOKIT_EXPORT ScopedInstall {
public:
    explicit ScopedInstall(Services services);
    ScopedInstall(const ScopedInstall&) = delete;
    ScopedInstall& operator=(const ScopedInstall&) = delete;
    ~ScopedInstall();

private:
    const Services services_;
    const Services* const previous_;
};

}  // namespace platform
}  // namespace quendokit

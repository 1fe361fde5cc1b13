#pragma once
/// \file
/// `PrivateBus`, a message bus of a test, and `BusPeer`, somebody on it.

#include <memory>
#include <string>
#include <vector>

#include <sdbus-c++/sdbus-c++.h>

#include "tests/support/background_program.hpp"
#include "tests/support/temporary_folder.hpp"

namespace quendokit::testing {

/// A bus that knows only what the test puts on it. Anybody of this user may own every name.
class PrivateBus {
public:
    /// A service that the bus starts when it is asked for.
    struct Activatable {
        std::string name;
        std::string command;
    };

    /// Serves at once. What it starts gets `environment` besides its own.
    explicit PrivateBus(const std::vector<Activatable>& services = {},
                        const std::map<std::string, std::string>& environment = {});

    [[nodiscard]] std::string address() const;
    /// For what belongs to this bus; goes with it.
    [[nodiscard]] const std::filesystem::path& folder() const { return folder_.path(); }
    /// Ends it at once; all connections break.
    void kill() { daemon_->end(SIGKILL); }
    /// Keeps it from answering.
    void hold() const { daemon_->hold(); }
    void goOn() const { daemon_->goOn(); }

private:
    const TemporaryFolder folder_;
    std::unique_ptr<BackgroundProgram> daemon_;
};

/// A connection of the test's own, by which it asks, lies and waits. One thread at a time.
class BusPeer {
public:
    explicit BusPeer(const PrivateBus& bus)
        : connection_(sdbus::createSessionBusConnectionWithAddress(bus.address())) {}

    /// Calls and waits for the answer. Throws what the other side answers as an error.
    template <typename... Arguments>
    sdbus::MethodReply call(const std::string& destination, const std::string& path, const std::string& interface,
                            const std::string& member, const Arguments&... arguments) {
        const auto proxy = sdbus::createProxy(*connection_, destination, path);
        auto message = proxy->createMethodCall(interface, member);
        static_cast<void>((message << ... << arguments));
        return proxy->callMethod(message);
    }

    /// Sends a signal: to everybody, or to `destination` alone.
    template <typename... Arguments>
    void emit(const std::string& destination, const std::string& path, const std::string& interface,
              const std::string& member, const Arguments&... arguments) {
        auto object = sdbus::createObject(*connection_, path);
        auto signal = object->createSignal(interface, member);
        static_cast<void>((signal << ... << arguments));
        if (!destination.empty()) {
            signal.setDestination(destination);
        }
        object->emitSignal(signal);
        // The bus has taken the signal when it answers this.
        call("org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus", "GetId");
    }

    void own(const std::string& name) { connection_->requestName(name); }
    void disown(const std::string& name) { connection_->releaseName(name); }
    [[nodiscard]] std::string uniqueName() const { return connection_->getUniqueName(); }

    /// Waits until somebody owns `name`. False after half a minute.
    [[nodiscard]] bool waitForOwner(const std::string& name);
    /// Empty when there is none.
    [[nodiscard]] std::string ownerOf(const std::string& name);

private:
    std::unique_ptr<sdbus::IConnection> connection_;
};

}  // namespace quendokit::testing

#include "tests/support/private_bus.hpp"

#include <chrono>
#include <fstream>
#include <poll.h>
#include <stdexcept>

namespace quendokit::testing {

PrivateBus::PrivateBus(const std::vector<Activatable>& services,
                       const std::map<std::string, std::string>& environment) {
    const std::string here = folder().string();
    std::filesystem::create_directory(folder() / "services");
    for (const auto& [name, command] : services) {
        std::ofstream(folder() / "services" / (name + ".service"))
            << "[D-BUS Service]\nName=" << name << "\nExec=" << command << "\n";
    }
    std::ofstream(folder() / "bus.conf")
        << R"(<!DOCTYPE busconfig PUBLIC "-//freedesktop//DTD D-Bus Bus Configuration 1.0//EN"
 "http://www.freedesktop.org/standards/dbus/1.0/busconfig.dtd">
<busconfig>
  <type>session</type>
  <listen>unix:path=)"
        << here << R"(/bus</listen>
  <servicedir>)"
        << here << R"(/services</servicedir>
  <policy context="default">
    <allow send_destination="*" eavesdrop="true"/>
    <allow eavesdrop="true"/>
    <allow own="*"/>
  </policy>
</busconfig>
)";
    int ready[2];
    if (pipe(ready) != 0) {
        throw std::runtime_error("no pipe");
    }
    daemon_ = std::make_unique<BackgroundProgram>(
        std::vector<std::string>{"dbus-daemon", "--nofork", "--config-file=" + here + "/bus.conf",
                                 "--print-address=" + std::to_string(ready[1])},
        environment, here + "/bus.log", ready[1]);
    ::close(ready[1]);
    char line[256];
    const auto size = ::read(ready[0], line, sizeof(line));
    ::close(ready[0]);
    if (size <= 0) {
        throw std::runtime_error("dbus-daemon does not start; is the package dbus installed? scripts/setup --tests");
    }
}

std::string PrivateBus::address() const {
    return "unix:path=" + folder().string() + "/bus";
}

std::string BusPeer::ownerOf(const std::string& name) {
    try {
        std::string owner;
        auto reply =
            call("org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus", "GetNameOwner", name);
        reply >> owner;
        return owner;
    } catch (const sdbus::Error&) {
        return {};
    }
}

bool BusPeer::waitForOwner(const std::string& name) {
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(30);
    const auto match = connection_->addMatch(
        "type='signal',sender='org.freedesktop.DBus',"
        "member='NameOwnerChanged',arg0='" +
            name + "'",
        [](sdbus::Message&) {});
    while (ownerOf(name).empty()) {
        const auto left =
            std::chrono::duration_cast<std::chrono::milliseconds>(deadline - std::chrono::steady_clock::now());
        if (left.count() <= 0) {
            return false;
        }
        const auto data = connection_->getEventLoopPollData();
        pollfd watched{data.fd, data.events, 0};
        // A message may have been read already.
        poll(&watched, 1, connection_->processPendingRequest() ? 0 : static_cast<int>(left.count()));
    }
    return true;
}

}  // namespace quendokit::testing

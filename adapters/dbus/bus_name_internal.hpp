#pragma once
/// \file
/// `BusName`, who provides a service.

#include <functional>
#include <memory>
#include <string>

#include "adapters/dbus/bus_internal.hpp"

namespace quendokit::dbus {

/// The bus itself, as a service.
inline constexpr const char* busService = "org.freedesktop.DBus";
inline constexpr const char* busPath = "/org/freedesktop/DBus";
inline constexpr const char* propertiesInterface = "org.freedesktop.DBus.Properties";

/// A well-known name on a bus and the connection that owns it now. Signals reach a connection from anybody who sends
/// them there; only those of the owner count. Lives on the bus's thread.
class BusName : public std::enable_shared_from_this<BusName> {
public:
    BusName(std::shared_ptr<Bus> bus, std::string name) : bus_(std::move(bus)), name_(std::move(name)) {}

    /// Begins to watch. `known` is called once, when the bus has said who the owner is; `changed` at each change after
    /// that, with the owner before.
    void watch(std::function<void()> known, std::function<void(const std::string& before)> changed);

    /// The unique name of the owner. Empty when there is none.
    [[nodiscard]] const std::string& owner() const noexcept { return owner_; }
    [[nodiscard]] bool isOwner(const std::string& sender) const { return !owner_.empty() && sender == owner_; }
    [[nodiscard]] const std::string& name() const noexcept { return name_; }

    /// Calls `handler` for the signals of `interface` that the owner sends, from now on.
    void match(const std::string& interface, Bus::SignalHandler handler);

private:
    const std::shared_ptr<Bus> bus_;
    const std::string name_;
    std::string owner_;
    bool isKnown_ = false;
};

}  // namespace quendokit::dbus

#pragma once
/// \file
/// `NetworkWatch`, what NetworkManager tells of the way to the internet.

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>

#include "adapters/dbus/bus_internal.hpp"
#include "adapters/dbus/bus_name_internal.hpp"

namespace quendokit::dbus {

/// Lives on the bus's thread.
class NetworkWatch : public std::enable_shared_from_this<NetworkWatch> {
public:
    /// `isUp` is called when there is a way again; `settled` once, when the state at the beginning is known.
    NetworkWatch(std::shared_ptr<Bus> bus, std::function<void()> isUp, std::function<void()> settled);

    void start();

private:
    void readState();
    void settle();

    const std::shared_ptr<Bus> bus_;
    const std::function<void()> isUp_;
    std::function<void()> settled_;
    const std::shared_ptr<BusName> manager_;
    std::optional<std::uint32_t> state_;
};

}  // namespace quendokit::dbus

#pragma once
/// \file
/// `ScreenSaverWatch`, what the desktop's screen saver tells.

#include <cstddef>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "adapters/dbus/bus_internal.hpp"
#include "adapters/dbus/bus_name_internal.hpp"

namespace quendokit::dbus {

/// Listens to whichever of the known screen savers is there. Lives on the bus's thread.
class ScreenSaverWatch : public std::enable_shared_from_this<ScreenSaverWatch> {
public:
    struct Events {
        std::function<void()> unlocked;
        /// The bus name of the one that is there, empty for none; also at the beginning, and maybe without a change.
        std::function<void(const std::string&)> source;
    };

    ScreenSaverWatch(std::shared_ptr<Bus> bus, Events events);

    void start();

private:
    void didSignal(sdbus::Message& message);
    void tellSource();

    const std::shared_ptr<Bus> bus_;
    const Events events_;
    std::vector<std::shared_ptr<BusName>> names_;
    /// Of how many the owner is not known yet.
    std::size_t unknown_;
    std::optional<bool> isActive_;
};

}  // namespace quendokit::dbus

#include <algorithm>
#include <iterator>
#include <utility>

#include "adapters/dbus/screen_saver_watch_internal.hpp"

namespace quendokit::dbus {
namespace {

/// Each is the name of the service and of its interface. One desktop may have several.
constexpr const char* screenSavers[] = {"org.freedesktop.ScreenSaver", "org.gnome.ScreenSaver", "org.xfce.ScreenSaver",
                                        "org.mate.ScreenSaver"};

}  // namespace

ScreenSaverWatch::ScreenSaverWatch(std::shared_ptr<Bus> bus, Events events)
    : bus_(std::move(bus)), events_(std::move(events)), unknown_(std::size(screenSavers)) {
    for (const char* name : screenSavers) {
        names_.push_back(std::make_shared<BusName>(bus_, name));
    }
}

void ScreenSaverWatch::start() {
    const auto self = shared_from_this();
    for (const auto& name : names_) {
        name->match(name->name(), [self](sdbus::Message& message) { self->didSignal(message); });
        name->watch(
            [self] {
                if (--self->unknown_ == 0) {
                    self->tellSource();
                }
            },
            [self](const std::string&) { self->tellSource(); });
    }
}

void ScreenSaverWatch::didSignal(sdbus::Message& message) {
    if (message.getMemberName() != "ActiveChanged") {
        return;
    }
    const auto value = read<bool>(message);
    if (!value) {
        return;
    }
    const auto before = std::exchange(isActive_, std::get<0>(*value));
    if (!*isActive_ && before.value_or(true)) {
        events_.unlocked();
    }
}

void ScreenSaverWatch::tellSource() {
    const auto found =
        std::find_if(names_.begin(), names_.end(), [](const auto& name) { return !name->owner().empty(); });
    if (found == names_.end()) {
        // What comes next may begin in any state.
        isActive_.reset();
    }
    events_.source(found == names_.end() ? std::string() : (*found)->name());
}

}  // namespace quendokit::dbus

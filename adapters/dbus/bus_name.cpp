#include <utility>

#include "adapters/dbus/bus_name_internal.hpp"

namespace quendokit::dbus {

void BusName::watch(std::function<void()> known, std::function<void(const std::string& before)> changed) {
    // The rule first: of a change between the two the bus tells then, before or with its answer.
    bus_->match(
        "type='signal',sender='org.freedesktop.DBus',interface='org.freedesktop.DBus',"
        "member='NameOwnerChanged',arg0='" +
            name_ + "'",
        [self = shared_from_this(), changed = std::move(changed)](sdbus::Message& message) {
            if (message.getSender() != busService) {
                return;
            }
            const auto change = read<std::string, std::string, std::string>(message);
            if (!change || std::get<0>(*change) != self->name_) {
                return;
            }
            const std::string before = std::exchange(self->owner_, std::get<2>(*change));
            if (self->isKnown_ && before != self->owner_) {
                changed(before);
            }
        });
    const auto ask = [name = name_](sdbus::MethodCall& call) { call << name; };
    bus_->call({busService, busPath, busService, "GetNameOwner", ask},
               [self = shared_from_this(), known = std::move(known)](const Result<Bus::Reply>& answer) {
                   // A name without owner is answered with an error.
                   const auto owner = answer ? read<std::string>(*answer.value()) : std::nullopt;
                   self->owner_ = owner ? std::get<0>(*owner) : std::string();
                   self->isKnown_ = true;
                   known();
               });
}

void BusName::match(const std::string& interface, Bus::SignalHandler handler) {
    bus_->match("type='signal',sender='" + name_ + "',interface='" + interface + "'",
                [self = shared_from_this(), interface, handler = std::move(handler)](sdbus::Message& message) {
                    if (self->isOwner(message.getSender()) && message.getInterfaceName() == interface) {
                        handler(message);
                    }
                });
}

}  // namespace quendokit::dbus

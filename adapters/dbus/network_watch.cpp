#include <utility>

#include "adapters/dbus/network_watch_internal.hpp"

namespace quendokit::dbus {
namespace {

constexpr const char* networkManager = "org.freedesktop.NetworkManager";
constexpr const char* networkManagerPath = "/org/freedesktop/NetworkManager";

/// From this state on the internet can be reached.
constexpr std::uint32_t connectedGlobally = 70;

}  // namespace

NetworkWatch::NetworkWatch(std::shared_ptr<Bus> bus, std::function<void()> isUp, std::function<void()> settled)
    : bus_(std::move(bus)),
      isUp_(std::move(isUp)),
      settled_(std::move(settled)),
      manager_(std::make_shared<BusName>(bus_, networkManager)) {}

void NetworkWatch::start() {
    const auto self = shared_from_this();
    manager_->match(networkManager, [self](sdbus::Message& message) {
        if (message.getMemberName() != "StateChanged" || message.getPath() != networkManagerPath) {
            return;
        }
        const auto value = read<std::uint32_t>(message);
        if (!value) {
            return;
        }
        const auto before = std::exchange(self->state_, std::get<0>(*value));
        if (*self->state_ >= connectedGlobally && before.value_or(0) < connectedGlobally) {
            self->isUp_();
        }
    });
    manager_->watch(
        [self] {
            if (self->manager_->owner().empty()) {
                self->settle();
            } else {
                self->readState();
            }
        },
        // One that starts anew tells of every state that it passes through.
        [self](const std::string&) { self->state_.reset(); });
}

void NetworkWatch::readState() {
    bus_->call({manager_->owner(), networkManagerPath, propertiesInterface, "Get",
                [](sdbus::MethodCall& call) { call << networkManager << "State"; }},
               [self = shared_from_this()](const Result<Bus::Reply>& answer) {
                   const auto value = answer ? read<sdbus::Variant>(*answer.value()) : std::nullopt;
                   // A signal that came meanwhile is newer.
                   if (value && !self->state_) {
                       self->state_ = valueOf<std::uint32_t>(std::get<0>(*value));
                   }
                   self->settle();
               });
}

void NetworkWatch::settle() {
    if (settled_) {
        std::exchange(settled_, nullptr)();
    }
}

}  // namespace quendokit::dbus

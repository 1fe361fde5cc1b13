#include "adapters/dbus/desktop_notifications.hpp"

#include <algorithm>
#include <cstdint>
#include <future>
#include <map>
#include <utility>

#include "adapters/dbus/notification_handle_internal.hpp"
#include "adapters/dbus/notification_service_internal.hpp"
#include "adapters/dbus/notification_text_internal.hpp"
#include "adapters/dbus/outlet_internal.hpp"

namespace quendokit {
namespace {

// Beyond these nobody reads; some services grow slow.
constexpr std::size_t mostCharactersOfASummary = 200;
constexpr std::size_t mostCharactersOfABody = 2'000;
constexpr std::size_t mostCharactersOfAnAction = 100;
constexpr std::size_t mostCharactersOfAName = 100;

/// The service's own time-out, and none.
constexpr std::int32_t afterAWhile = -1;
constexpr std::int32_t never = 0;

std::uint8_t urgencyOf(DesktopNotification::Urgency urgency) {
    switch (urgency) {
        case DesktopNotification::Urgency::low:
            return 0;
        case DesktopNotification::Urgency::normal:
            return 1;
        case DesktopNotification::Urgency::critical:
            return 2;
    }
    return 1;
}

DesktopNotifications::CloseReason reasonOf(std::uint32_t number) {
    switch (number) {
        case 1:
            return DesktopNotifications::CloseReason::expired;
        case 2:
            return DesktopNotifications::CloseReason::dismissed;
        case 3:
            return DesktopNotifications::CloseReason::closed;
        default:
            return DesktopNotifications::CloseReason::undefined;
    }
}

bool isKey(const std::string& key) {
    return !key.empty() && key.size() <= DesktopNotifications::longestActionKey;
}

}  // namespace

/// All steps run on the bus's thread; other threads only post them.
class DesktopNotifications::State : public std::enable_shared_from_this<State> {
public:
    explicit State(Options options)
        : options_(std::move(options)),
          outlet_(options_.queue),
          bus_(std::make_shared<dbus::Bus>(dbus::Bus::Kind::session, options_.timeout)),
          service_(std::make_shared<dbus::NotificationService>(
              bus_, dbus::NotificationService::Events{[this] { outlet_.post(options_.events.serviceAppeared); },
                                                      [this] { outlet_.post(options_.events.serviceVanished); }})) {
        // The outlet alone keeps it.
        options_.queue.reset();
    }

    /// Returns why there is no connection.
    std::optional<Error> connect();
    void stop();
    void show(const DesktopNotification& notification, const Completion& completion);
    void close(const std::string& handle);
    [[nodiscard]] std::optional<dbus::NotificationAbilities> abilities() const { return service_->abilities(); }

private:
    void didOpen();
    void didSayWhichBus(const Result<dbus::Bus::Reply>& answer);
    void didInvoke(sdbus::Message& message);
    void didClose(sdbus::Message& message);
    void send(const DesktopNotification& notification, const dbus::NotificationAbilities& abilities,
              const Completion& completion);
    void write(sdbus::MethodCall& call, const DesktopNotification& notification,
               const dbus::NotificationAbilities& abilities) const;
    /// Of the present instance.
    [[nodiscard]] std::string handleOf(std::uint32_t number) const {
        return dbus::text({busId_, service_->name().owner(), number});
    }

    Options options_;
    dbus::Outlet outlet_;
    const std::shared_ptr<dbus::Bus> bus_;
    const std::shared_ptr<dbus::NotificationService> service_;
    std::promise<std::optional<Error>> connected_;
    std::promise<void> asked_;
    bool isConnected_ = false;
    std::string busId_;
};

std::optional<Error> DesktopNotifications::State::connect() {
    const auto deadline = std::chrono::steady_clock::now() + options_.timeout;
    auto connected = connected_.get_future();
    auto asked = asked_.get_future();
    bus_->start(
        [self = shared_from_this()](const std::optional<Error>& failure) {
            if (failure) {
                self->connected_.set_value(failure);
            } else {
                self->didOpen();
            }
        },
        [self = shared_from_this()] {
            // Who could not connect is told so by the answer to a call.
            if (self->isConnected_) {
                self->service_->didLoseBus();
                self->outlet_.post(self->options_.events.disconnected);
            }
        });
    if (connected.wait_until(deadline) != std::future_status::ready) {
        return dbus::makeDBusError(DBusErrorCode::noBus, "the session bus does not answer");
    }
    if (auto failure = connected.get()) {
        return failure;
    }
    // A service that is slow to answer is no hindrance.
    asked.wait_until(deadline);
    return std::nullopt;
}

void DesktopNotifications::State::stop() {
    outlet_.close();
    bus_->stop();
}

void DesktopNotifications::State::didOpen() {
    auto& name = service_->name();
    name.match(dbus::notificationsService, [self = shared_from_this()](sdbus::Message& message) {
        const std::string member = message.getMemberName();
        if (message.getPath() != dbus::notificationsPath) {
            return;
        }
        if (member == "ActionInvoked") {
            self->didInvoke(message);
        } else if (member == "NotificationClosed") {
            self->didClose(message);
        }
    });
    bus_->call({dbus::busService, dbus::busPath, dbus::busService, "GetId"},
               [self = shared_from_this()](const Result<dbus::Bus::Reply>& answer) { self->didSayWhichBus(answer); });
}

void DesktopNotifications::State::didSayWhichBus(const Result<dbus::Bus::Reply>& answer) {
    if (!answer) {
        connected_.set_value(answer.error());
        return;
    }
    const auto id = dbus::read<std::string>(*answer.value());
    if (!id) {
        connected_.set_value(dbus::makeDBusError(DBusErrorCode::refused, "the session bus does not say which it is"));
        return;
    }
    busId_ = std::get<0>(*id);
    service_->follow(
        [self = shared_from_this()] {
            self->isConnected_ = true;
            self->connected_.set_value(std::nullopt);
        },
        [self = shared_from_this()] { self->asked_.set_value(); });
}

void DesktopNotifications::State::didInvoke(sdbus::Message& message) {
    const auto values = dbus::read<std::uint32_t, std::string>(message);
    if (values && std::get<0>(*values) != 0 && isKey(std::get<1>(*values))) {
        outlet_.post(options_.events.invoked, handleOf(std::get<0>(*values)), std::get<1>(*values));
    }
}

void DesktopNotifications::State::didClose(sdbus::Message& message) {
    const auto values = dbus::read<std::uint32_t, std::uint32_t>(message);
    if (values && std::get<0>(*values) != 0) {
        outlet_.post(options_.events.closed, handleOf(std::get<0>(*values)), reasonOf(std::get<1>(*values)));
    }
}

void DesktopNotifications::State::show(const DesktopNotification& notification, const Completion& completion) {
    const bool isWellFormed =
        std::all_of(notification.actions.begin(), notification.actions.end(), [](const auto& action) {
            return isKey(action.key) && dbus::harmlessLine(action.key, longestActionKey) == action.key;
        });
    if (!isWellFormed) {
        outlet_.post(completion,
                     Result<std::string>(dbus::makeDBusError(
                         DBusErrorCode::invalidArgument, "a button's key must be 1 to 255 bytes of text in one line")));
        return;
    }
    bus_->post([self = shared_from_this(), notification, completion] {
        self->service_->use([self, notification, completion](const Result<dbus::NotificationAbilities>& abilities) {
            if (abilities) {
                self->send(notification, abilities.value(), completion);
            } else {
                self->outlet_.post(completion, Result<std::string>(abilities.error()));
            }
        });
    });
}

void DesktopNotifications::State::send(const DesktopNotification& notification,
                                       const dbus::NotificationAbilities& abilities, const Completion& completion) {
    // To the very instance that has said what it can do.
    const std::string owner = service_->name().owner();
    bus_->call({owner, dbus::notificationsPath, dbus::notificationsService, "Notify",
                [&](sdbus::MethodCall& call) { write(call, notification, abilities); }, options_.showTimeout},
               [self = shared_from_this(), owner, completion](const Result<dbus::Bus::Reply>& answer) {
                   if (!answer) {
                       self->outlet_.post(completion, Result<std::string>(answer.error()));
                       return;
                   }
                   const auto number = dbus::read<std::uint32_t>(*answer.value());
                   if (!number || std::get<0>(*number) == 0) {
                       self->outlet_.post(
                           completion,
                           Result<std::string>(dbus::makeDBusError(
                               DBusErrorCode::refused, "the notification service gives the notification no number")));
                       return;
                   }
                   self->outlet_.post(completion,
                                      Result<std::string>(dbus::text({self->busId_, owner, std::get<0>(*number)})));
               });
}

void DesktopNotifications::State::write(sdbus::MethodCall& call, const DesktopNotification& notification,
                                        const dbus::NotificationAbilities& abilities) const {
    const bool hasOtherBody = !abilities.drawsActions && !notification.bodyWithoutActions.empty();
    std::string body =
        dbus::harmlessLines(hasOtherBody ? notification.bodyWithoutActions : notification.body, mostCharactersOfABody);
    if (abilities.readsMarkup) {
        body = dbus::escapedMarkup(body);
    }
    std::vector<std::string> actions;
    if (abilities.drawsActions) {
        const bool opensAlready =
            std::any_of(notification.actions.begin(), notification.actions.end(),
                        [](const auto& action) { return action.key == DesktopNotifications::defaultAction; });
        if (!opensAlready) {
            actions = {defaultAction, dbus::harmlessLine(options_.openTitle, mostCharactersOfAnAction)};
        }
        for (const auto& action : notification.actions) {
            actions.push_back(action.key);
            actions.push_back(dbus::harmlessLine(action.title, mostCharactersOfAnAction));
        }
    }
    std::map<std::string, sdbus::Variant> hints;
    hints["urgency"] = sdbus::Variant(urgencyOf(notification.urgency));
    if (!options_.desktopEntry.empty()) {
        hints["desktop-entry"] = sdbus::Variant(dbus::harmlessLine(options_.desktopEntry, mostCharactersOfAName));
    }
    if (notification.category) {
        hints["category"] = sdbus::Variant(dbus::harmlessLine(*notification.category, mostCharactersOfAName));
    }
    const std::uint32_t replaced = 0;
    call << dbus::harmlessLine(options_.applicationName, mostCharactersOfAName) << replaced << options_.icon
         << dbus::harmlessLine(notification.summary, mostCharactersOfASummary) << body << actions << hints
         << (notification.persistent ? never : afterAWhile);
}

void DesktopNotifications::State::close(const std::string& handle) {
    bus_->post([self = shared_from_this(), handle] {
        const auto parts = dbus::handleIn(handle);
        if (!parts || parts->bus != self->busId_ || !self->service_->name().isOwner(parts->service)) {
            return;
        }
        self->bus_->call({parts->service, dbus::notificationsPath, dbus::notificationsService, "CloseNotification",
                          [&](sdbus::MethodCall& call) { call << parts->number; }},
                         // Services answer one that has gone with an error; either way it is not on the screen.
                         [](const auto&) {});
    });
}

Result<std::unique_ptr<DesktopNotifications>> DesktopNotifications::connect(Options options) {
    auto state = std::make_shared<State>(std::move(options));
    // Stops in its destructor.
    std::unique_ptr<DesktopNotifications> notifications(new DesktopNotifications(state));
    if (auto failure = state->connect()) {
        return *failure;
    }
    return notifications;
}

DesktopNotifications::DesktopNotifications(std::shared_ptr<State> state) : state_(std::move(state)) {}

DesktopNotifications::~DesktopNotifications() {
    state_->stop();
}

void DesktopNotifications::show(const DesktopNotification& notification, const Completion& completion) {
    state_->show(notification, completion);
}

void DesktopNotifications::close(const std::string& handle) {
    state_->close(handle);
}

bool DesktopNotifications::supportsActions() const {
    const auto abilities = state_->abilities();
    return abilities && abilities->drawsActions;
}

std::optional<DesktopNotifications::Service> DesktopNotifications::service() const {
    const auto abilities = state_->abilities();
    return abilities ? std::optional(abilities->words) : std::nullopt;
}

}  // namespace quendokit

#pragma once
/// \file
/// `NotificationService`, the desktop's notification service as it is now.

#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "adapters/dbus/bus_internal.hpp"
#include "adapters/dbus/bus_name_internal.hpp"
#include "adapters/dbus/desktop_notifications.hpp"

namespace quendokit::dbus {

inline constexpr const char* notificationsService = "org.freedesktop.Notifications";
inline constexpr const char* notificationsPath = "/org/freedesktop/Notifications";

/// What an instance of the service can do. Plain value.
struct NotificationAbilities {
    DesktopNotifications::Service words;
    bool drawsActions = false;
    bool readsMarkup = false;
};

/// Follows the service from one instance to the next, asks each for its abilities, and starts it when it is needed.
/// Lives on the bus's thread, `abilities` apart.
class NotificationService : public std::enable_shared_from_this<NotificationService> {
public:
    struct Events {
        std::function<void()> appeared;
        std::function<void()> vanished;
    };
    /// What an instance can do, or why there is none. The instance is `owner()`.
    using Ready = std::function<void(const Result<NotificationAbilities>&)>;

    NotificationService(std::shared_ptr<Bus> bus, Events events);

    /// Begins to follow. `known` is called when the bus has said whether there is a service, `asked` when one that
    /// there is has been asked too.
    void follow(std::function<void()> known, std::function<void()> asked);

    /// Calls `ready` as soon as an instance is there that can be used, starting one if need be, or when that has
    /// failed.
    void use(Ready ready);

    /// Forgets the instance: the bus has ended, and tells no more of it.
    void didLoseBus() { set(std::nullopt); }

    [[nodiscard]] BusName& name() { return *name_; }

    /// Of the present instance; absent while they are not known. Any thread.
    [[nodiscard]] std::optional<NotificationAbilities> abilities() const;

private:
    void didChangeOwner(const std::string& before);
    void ask();
    void askForWords(const std::string& owner, NotificationAbilities abilities);
    void didAsk(const std::string& owner, const Result<NotificationAbilities>& answer);
    void didAskFirst();
    void launch();
    void tellWaiting(const Result<NotificationAbilities>& answer);
    void set(std::optional<NotificationAbilities> abilities);

    const std::shared_ptr<Bus> bus_;
    const Events events_;
    const std::shared_ptr<BusName> name_;
    std::function<void()> asked_;
    bool isAsking_ = false;
    bool isLaunching_ = false;
    /// Whether the present instance came while this was following and the host does not know of it yet.
    bool isNew_ = false;
    std::vector<Ready> waiting_;

    mutable std::mutex mutex_;
    std::optional<NotificationAbilities> abilities_;
};

}  // namespace quendokit::dbus

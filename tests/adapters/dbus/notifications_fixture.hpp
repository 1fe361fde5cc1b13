#pragma once
/// \file
/// `NotificationsFixture`, a host that shows notifications on a bus of its own.

#include <chrono>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "adapters/dbus/dbus_error.hpp"
#include "adapters/dbus/desktop_notifications.hpp"
#include "adapters/event_loop/event_loop.hpp"
#include "tests/support/dbus_mock.hpp"
#include "tests/support/private_bus.hpp"
#include "tests/support/scoped_environment.hpp"

namespace quendokit::testing {

inline const std::string notifications = "org.freedesktop.Notifications";
inline const std::string notificationsObject = "/org/freedesktop/Notifications";
inline const std::string allAbilities = R"({"capabilities": "body body-markup actions"})";
inline const std::string noAbilities = R"({"capabilities": "body"})";

/// The bus is there from the beginning; a service and the connection come when the test asks for them. Events are kept
/// as lines.
class NotificationsFixture : public ::testing::Test {
protected:
    using Shown = Result<std::string>;

    explicit NotificationsFixture(const std::vector<PrivateBus::Activatable>& services = {})
        : bus(services), address_("DBUS_SESSION_BUS_ADDRESS", bus.address().c_str()), peer(bus) {}

    std::unique_ptr<DBusMock> startService(const std::string& parameters = allAbilities) {
        return std::make_unique<DBusMock>(bus, "notification_daemon", notifications, notificationsObject, parameters);
    }

    DesktopNotifications::Options options() {
        DesktopNotifications::Options made;
        made.applicationName = "Small Host";
        made.desktopEntry = "small-host";
        made.timeout = timeout;
        made.showTimeout = timeout;
        made.queue = loop;
        made.events.invoked = [this](const auto& handle, const auto& key) { told("invoked " + handle + " " + key); };
        made.events.closed = [this](const auto& handle, DesktopNotifications::CloseReason reason) {
            const char* words[] = {"expired", "dismissed", "closed", "undefined"};
            told("closed " + handle + " " + words[static_cast<int>(reason)]);
        };
        made.events.serviceAppeared = [this] { told("appeared"); };
        made.events.serviceVanished = [this] { told("vanished"); };
        made.events.disconnected = [this] { told("disconnected"); };
        return made;
    }

    void connect() {
        auto made = DesktopNotifications::connect(options());
        ASSERT_TRUE(made) << made.error().description;
        host = std::move(made).value();
    }

    /// What showing it answers in the end.
    Shown show(const DesktopNotification& notification) {
        std::optional<Shown> answer;
        host->show(notification, [&](const Shown& shown) { answer = shown; });
        if (!loop->runUntil([&] { return answer.has_value(); }, std::chrono::seconds(30))) {
            return Error{"test", 0, "no completion"};
        }
        return *answer;
    }
    Shown show(const std::string& summary) { return show(DesktopNotification{summary, "", "", {}, {}, {}, true}); }

    /// Whether so many events have come in the end.
    bool waitForEvents(std::size_t count) {
        return loop->runUntil([&] { return events.size() >= count; }, std::chrono::seconds(30));
    }

    /// Signals of the service itself.
    static void invoke(DBusMock& service, std::uint32_t number, const std::string& key) {
        service.emit(notificationsObject, notifications, "ActionInvoked", "us",
                     {sdbus::Variant(number), sdbus::Variant(key)});
    }
    static void closeBy(DBusMock& service, std::uint32_t number, std::uint32_t reason) {
        service.emit(notificationsObject, notifications, "NotificationClosed", "uu",
                     {sdbus::Variant(number), sdbus::Variant(reason)});
    }

    std::chrono::milliseconds timeout = std::chrono::seconds(20);
    PrivateBus bus;

private:
    const ScopedEnvironment address_;

protected:
    BusPeer peer;
    const std::shared_ptr<EventLoop> loop = std::make_shared<EventLoop>();
    std::vector<std::string> events;
    std::unique_ptr<DesktopNotifications> host;

private:
    void told(const std::string& event) { events.push_back(event); }
};

}  // namespace quendokit::testing

#pragma once
/// \file
/// `SessionFixture`, a host that listens to a session on two buses of its own.

#include <chrono>
#include <memory>
#include <string>
#include <unistd.h>
#include <vector>

#include <gtest/gtest.h>

#include "adapters/dbus/session_signals.hpp"
#include "adapters/event_loop/event_loop.hpp"
#include "tests/support/dbus_mock.hpp"
#include "tests/support/private_bus.hpp"
#include "tests/support/scoped_environment.hpp"

namespace quendokit::testing {

inline const std::string logind = "org.freedesktop.login1";
inline const std::string logindObject = "/org/freedesktop/login1";
inline const std::string logindManager = "org.freedesktop.login1.Manager";
inline const std::string logindSession = "org.freedesktop.login1.Session";
inline const std::string logindUser = "org.freedesktop.login1.User";
inline const std::string networkManager = "org.freedesktop.NetworkManager";
inline const std::string networkManagerObject = "/org/freedesktop/NetworkManager";

/// Both buses are there from the beginning; services and the listening come when the test asks for them.
class SessionFixture : public ::testing::Test {
protected:
    using Properties = std::map<std::string, sdbus::Variant>;

    SessionFixture()
        : systemAddress_("DBUS_SYSTEM_BUS_ADDRESS", systemBus.address().c_str()),
          sessionAddress_("DBUS_SESSION_BUS_ADDRESS", sessionBus.address().c_str()),
          noSession_("XDG_SESSION_ID", nullptr) {}

    /// With the sessions "mine", in which this user's desktop is, and "other" of another user.
    std::unique_ptr<DBusMock> startLogind() {
        auto mock = std::make_unique<DBusMock>(systemBus, "logind", logind, logindObject);
        addSession(*mock, "mine", getuid(), true);
        addSession(*mock, "other", getuid() + 1, false);
        setDesktop(*mock, "mine");
        // The template's own fails on the number.
        mock->addMethod(logindObject, logindManager, "GetUser", "u", "o",
                        "ret = dbus.ObjectPath(f'/org/freedesktop/login1/user/{args[0]}')");
        mock->addMethod(logindObject, logindManager, "GetSessionByPID", "u", "o",
                        "raise dbus.exceptions.DBusException('no session', "
                        "name='org.freedesktop.login1.NoSessionForPID')");
        return mock;
    }
    static void addSession(DBusMock& mock, const std::string& id, std::uint32_t user, bool isActive) {
        mock.peer().call(logind, logindObject, DBusMock::interface, "AddSession", id, std::string("seat0"), user,
                         std::string("user") + std::to_string(user), isActive);
    }
    static std::string pathOf(const std::string& session) { return logindObject + "/session/" + session; }
    static void setDesktop(DBusMock& mock, const std::string& session) {
        // Of a structure the mock can tell no change; nobody waits for it.
        mock.peer().call(logind, logindObject + "/user/" + std::to_string(getuid()), "org.freedesktop.DBus.Properties",
                         "Set", logindUser, std::string("Display"),
                         sdbus::Variant(sdbus::Struct<std::string, sdbus::ObjectPath>(
                             session, sdbus::ObjectPath(session.empty() ? "/" : pathOf(session)))));
    }
    static void startSession(DBusMock& mock, const std::string& session) {
        mock.emit(logindObject, logindManager, "SessionNew", "so",
                  {sdbus::Variant(session), sdbus::Variant(pathOf(session))});
    }
    static void lock(DBusMock& mock, const std::string& session) {
        mock.emit(pathOf(session), logindSession, "Lock", "", {});
    }
    static void unlock(DBusMock& mock, const std::string& session) {
        mock.emit(pathOf(session), logindSession, "Unlock", "", {});
    }
    static void hint(DBusMock& mock, const std::string& session, bool isLocked) {
        mock.update(pathOf(session), logindSession, {{"LockedHint", sdbus::Variant(isLocked)}});
    }
    static void activate(DBusMock& mock, const std::string& session, bool isActive) {
        mock.update(pathOf(session), logindSession, {{"Active", sdbus::Variant(isActive)}});
    }
    static void sleep(DBusMock& mock, bool begins) {
        mock.emit(logindObject, logindManager, "PrepareForSleep", "b", {sdbus::Variant(begins)});
    }

    void listen(std::chrono::milliseconds timeout = std::chrono::seconds(20)) {
        SessionSignals::Options options;
        options.timeout = timeout;
        options.queue = loop;
        options.events.unlocked = [this] { events.emplace_back("unlocked"); };
        options.events.becameActive = [this] { events.emplace_back("active"); };
        options.events.goingToSleep = [this] { events.emplace_back("sleep"); };
        options.events.resumed = [this] { events.emplace_back("resumed"); };
        options.events.networkUp = [this] { events.emplace_back("network"); };
        host = SessionSignals::start(options);
    }

    /// Whether so many events have come in the end.
    bool waitForEvents(std::size_t count) {
        return loop->runUntil([&] { return events.size() >= count; }, std::chrono::seconds(20));
    }
    /// Whether these come and nothing between them; the last is that of a sleep, after which logind was asked for it.
    void expectOnly(DBusMock& mock, std::vector<std::string> expected) {
        sleep(mock, true);
        expected.emplace_back("sleep");
        ASSERT_TRUE(waitForEvents(expected.size()));
        EXPECT_EQ(events, expected);
    }
    /// Whether the source has become this one; looked at whenever something has happened on the buses.
    bool waitForSource(const std::string& source) {
        for (int i = 0; i < 30'000 && host->source() != source; ++i) {
            static_cast<void>(loop->runUntil([] { return false; }, std::chrono::milliseconds(1)));
        }
        return host->source() == source;
    }

    PrivateBus systemBus;
    PrivateBus sessionBus;

private:
    const ScopedEnvironment systemAddress_;
    const ScopedEnvironment sessionAddress_;
    const ScopedEnvironment noSession_;

protected:
    const std::shared_ptr<EventLoop> loop = std::make_shared<EventLoop>();
    std::vector<std::string> events;
    std::unique_ptr<SessionSignals> host;
};

}  // namespace quendokit::testing

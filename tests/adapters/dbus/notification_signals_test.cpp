#include <gmock/gmock.h>

#include "tests/adapters/dbus/notifications_fixture.hpp"

namespace quendokit::testing {
namespace {

using ::testing::ElementsAre;

class ASignalOfTheService : public NotificationsFixture {
protected:
    void SetUp() override {
        service = startService();
        connect();
        const auto shown = show("shown");
        ASSERT_TRUE(shown);
        handle = shown.value();
        instance = handle.substr(0, handle.rfind(' ') + 1);
    }

    /// Whether nothing was told until now but this, which the service says last.
    void expectOnly(std::vector<std::string> expected) {
        invoke(*service, 1, "last");
        expected.push_back("invoked " + handle + " last");
        ASSERT_TRUE(waitForEvents(expected.size()));
        EXPECT_EQ(events, expected);
    }

    std::unique_ptr<DBusMock> service;
    std::string handle;
    std::string instance;
};

TEST_F(ASignalOfTheService, TellsWhichButtonWasPressed) {
    invoke(*service, 1, "later");
    expectOnly({"invoked " + handle + " later"});
}

TEST_F(ASignalOfTheService, IsToldTwiceWhenItComesTwice) {
    invoke(*service, 1, "later");
    invoke(*service, 1, "later");
    expectOnly({"invoked " + handle + " later", "invoked " + handle + " later"});
}

TEST_F(ASignalOfTheService, KeepsTheCaseOfItsKey) {
    invoke(*service, 1, "LATER");
    expectOnly({"invoked " + handle + " LATER"});
}

TEST_F(ASignalOfTheService, AboutAnUnknownNumberHasAnotherHandle) {
    invoke(*service, 4'000'000'000, "later");
    expectOnly({"invoked " + instance + "4000000000 later"});
}

TEST_F(ASignalOfTheService, WithoutAKeyOrWithoutANumberIsNotTold) {
    invoke(*service, 1, "");
    invoke(*service, 0, "later");
    closeBy(*service, 0, 2);
    expectOnly({});
}

TEST_F(ASignalOfTheService, WithAMegabyteForAKeyIsNotTold) {
    invoke(*service, 1, std::string(1 << 20, 'k'));
    invoke(*service, 1, std::string(256, 'k'));
    invoke(*service, 1, std::string(255, 'k'));
    expectOnly({"invoked " + handle + " " + std::string(255, 'k')});
}

TEST_F(ASignalOfTheService, OfAnotherFormIsNotTold) {
    service->emit(notificationsObject, notifications, "ActionInvoked", "su",
                  {sdbus::Variant("later"), sdbus::Variant(1U)});
    service->emit(notificationsObject, notifications, "ActionInvoked", "u", {sdbus::Variant(1U)});
    service->emit(notificationsObject, notifications, "ActionInvoked", "", {});
    service->emit(notificationsObject, notifications, "NotificationClosed", "u", {sdbus::Variant(1U)});
    service->emit(notificationsObject, notifications, "ActivationToken", "us",
                  {sdbus::Variant(1U), sdbus::Variant("x")});
    service->emit(notificationsObject, "org.example.Other", "ActionInvoked", "us",
                  {sdbus::Variant(1U), sdbus::Variant("later")});
    expectOnly({});
}

TEST_F(ASignalOfTheService, TellsHowANotificationEnded) {
    for (const std::uint32_t reason : {1U, 2U, 3U, 4U, 0U, 4'294'967'295U}) {
        closeBy(*service, 1, reason);
    }
    expectOnly({"closed " + handle + " expired", "closed " + handle + " dismissed", "closed " + handle + " closed",
                "closed " + handle + " undefined", "closed " + handle + " undefined",
                "closed " + handle + " undefined"});
}

TEST_F(ASignalOfTheService, FromAnotherBusNameIsNotTold) {
    std::string own;
    // Told to everybody, and to the host alone, which no rule of the bus keeps away from it.
    std::vector<std::string> names;
    auto reply = peer.call("org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus", "ListNames");
    reply >> names;
    for (const std::string& destination : names) {
        if (destination.starts_with(':') && destination != peer.uniqueName()) {
            peer.emit(destination, notificationsObject, notifications, "ActionInvoked", std::uint32_t{1},
                      std::string("later"));
            peer.emit(destination, notificationsObject, notifications, "NotificationClosed", std::uint32_t{1},
                      std::uint32_t{2});
        }
    }
    peer.emit("", notificationsObject, notifications, "ActionInvoked", std::uint32_t{1}, std::string("later"));
    expectOnly({});
}

TEST_F(ASignalOfTheService, HasTheSameHandleForTheNextProcessOfTheHost) {
    host.reset();
    connect();
    closeBy(*service, 1, 2);
    expectOnly({"closed " + handle + " dismissed"});
}

TEST_F(ASignalOfTheService, AfterItsRestartHasAnotherHandleForTheSameNumber) {
    service->kill();
    ASSERT_TRUE(waitForEvents(1));
    service = startService();
    ASSERT_TRUE(waitForEvents(2));
    EXPECT_THAT(events, ElementsAre("vanished", "appeared"));

    const auto again = show("shown again");
    ASSERT_TRUE(again);
    EXPECT_TRUE(again.value().ends_with(" 1"));
    EXPECT_NE(again.value(), handle);
    // The old handle closes nothing of the new instance.
    host->close(handle);
    const std::string before = std::exchange(handle, again.value());
    invoke(*service, 1, "later");
    expectOnly({"vanished", "appeared", "invoked " + handle + " later"});
    EXPECT_TRUE(service->calls(notificationsObject, "CloseNotification").empty());
}

TEST_F(ASignalOfTheService, IsNotToldOnceTheHostHasLetGo) {
    invoke(*service, 1, "later");
    // It waits in the queue, or comes too late for that.
    host.reset();
    EXPECT_FALSE(loop->runUntil([&] { return !events.empty(); }, std::chrono::nanoseconds(0)));
}

}  // namespace
}  // namespace quendokit::testing

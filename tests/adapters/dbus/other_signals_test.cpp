// What is heard without logind, and of the network.

#include <gmock/gmock.h>

#include "tests/adapters/dbus/session_fixture.hpp"

namespace quendokit::testing {
namespace {

using namespace std::chrono_literals;
using ::testing::ElementsAre;

const std::string xfceSaver = "org.xfce.ScreenSaver";
const std::string gnomeSaver = "org.gnome.ScreenSaver";

class AScreenSaver : public SessionFixture {
protected:
    static void tell(BusPeer& saver, const std::string& interface, bool isActive) {
        saver.emit("", "/org/some/ScreenSaver", interface, "ActiveChanged", isActive);
    }

    BusPeer saver{sessionBus};
};

TEST_F(AScreenSaver, TellsOfArrivalsWhereThereIsNoLogind) {
    saver.own(xfceSaver);
    listen();
    EXPECT_EQ(host->source(), xfceSaver);
    tell(saver, xfceSaver, true);
    tell(saver, xfceSaver, false);
    tell(saver, xfceSaver, false);
    tell(saver, xfceSaver, true);
    tell(saver, xfceSaver, false);
    ASSERT_TRUE(waitForEvents(2));
    EXPECT_THAT(events, ElementsAre("unlocked", "unlocked"));
}

TEST_F(AScreenSaver, TellsOfArrivalsWhereThereIsNoSystemBus) {
    const ScopedEnvironment nowhere("DBUS_SYSTEM_BUS_ADDRESS", "unix:path=/nonexistent/bus");
    saver.own(xfceSaver);
    listen();
    EXPECT_EQ(host->source(), xfceSaver);
    tell(saver, xfceSaver, false);
    ASSERT_TRUE(waitForEvents(1));
}

TEST_F(AScreenSaver, OfTwoNamesTellsOnce) {
    saver.own(xfceSaver);
    saver.own(gnomeSaver);
    listen();
    for (const bool isActive : {true, false, true, false}) {
        tell(saver, xfceSaver, isActive);
        tell(saver, gnomeSaver, isActive);
    }
    tell(saver, gnomeSaver, true);
    tell(saver, gnomeSaver, false);
    ASSERT_TRUE(waitForEvents(3));
    EXPECT_THAT(events, ElementsAre("unlocked", "unlocked", "unlocked"));
}

TEST_F(AScreenSaver, ThatComesLaterIsHeardAndOneThatGoesIsNotNamed) {
    listen();
    EXPECT_EQ(host->source(), "none");
    saver.own(gnomeSaver);
    tell(saver, gnomeSaver, false);
    ASSERT_TRUE(waitForEvents(1));
    EXPECT_EQ(host->source(), gnomeSaver);
    saver.disown(gnomeSaver);
    EXPECT_TRUE(waitForSource("none"));
}

TEST_F(AScreenSaver, IsNotHeardFromAnotherBusName) {
    saver.own(xfceSaver);
    listen();
    BusPeer liar(sessionBus);
    tell(liar, xfceSaver, false);
    tell(liar, gnomeSaver, false);
    liar.own(gnomeSaver);
    tell(liar, xfceSaver, false);
    saver.emit("", "/org/some/ScreenSaver", xfceSaver, "ActiveChanged", std::string("no truth"));
    saver.emit("", "/org/some/ScreenSaver", xfceSaver, "Lock");
    tell(saver, xfceSaver, false);
    ASSERT_TRUE(waitForEvents(1));
    EXPECT_THAT(events, ElementsAre("unlocked"));
}

TEST_F(AScreenSaver, IsHeardWhenLogindGoesAndNotWhenItIsBack) {
    saver.own(xfceSaver);
    auto manager = startLogind();
    listen();
    EXPECT_EQ(host->source(), "logind");
    manager->kill();
    ASSERT_TRUE(waitForSource(xfceSaver));
    tell(saver, xfceSaver, false);
    ASSERT_TRUE(waitForEvents(1));

    manager = startLogind();
    ASSERT_TRUE(waitForSource("logind"));
    tell(saver, xfceSaver, true);
    tell(saver, xfceSaver, false);
    sleep(*manager, true);
    ASSERT_TRUE(waitForEvents(2));
    EXPECT_THAT(events, ElementsAre("unlocked", "sleep"));
}

TEST_F(AScreenSaver, IsGoneWithTheSessionBus) {
    saver.own(xfceSaver);
    listen();
    sessionBus.kill();
    EXPECT_TRUE(waitForSource("none"));
}

TEST_F(AScreenSaver, IsHeardWhenTheSystemBusGoes) {
    saver.own(xfceSaver);
    const auto manager = startLogind();
    listen();
    systemBus.kill();
    ASSERT_TRUE(waitForSource(xfceSaver));
    tell(saver, xfceSaver, false);
    ASSERT_TRUE(waitForEvents(1));
}

TEST_F(AScreenSaver, IsMissedOnNoBusAtAll) {
    const ScopedEnvironment nowhere("DBUS_SYSTEM_BUS_ADDRESS", "unix:path=/nonexistent/bus");
    const ScopedEnvironment nowhereElse("DBUS_SESSION_BUS_ADDRESS", "unix:path=/nonexistent/bus");
    listen();
    EXPECT_EQ(host->source(), "none");
}

class ANetwork : public SessionFixture {
protected:
    std::unique_ptr<DBusMock> startManager(std::uint32_t state) {
        auto mock = DBusMock::empty(systemBus, networkManager, networkManagerObject, networkManager);
        mock->peer().call(networkManager, networkManagerObject, DBusMock::interface, "AddProperty", networkManager,
                          std::string("State"), sdbus::Variant(state));
        return mock;
    }
    static void tell(DBusMock& mock, std::uint32_t state) {
        mock.emit(networkManagerObject, networkManager, "StateChanged", "u", {sdbus::Variant(state)});
    }
};

TEST_F(ANetwork, IsUpOnceWhenTheInternetIsReached) {
    const auto mock = startManager(20);
    const auto manager = startLogind();
    listen();
    for (const std::uint32_t state : {40U, 60U, 70U, 70U, 20U, 70U}) {
        tell(*mock, state);
    }
    expectOnly(*manager, {"network", "network"});
}

TEST_F(ANetwork, ThatIsUpAtTheBeginningIsNoNews) {
    const auto mock = startManager(70);
    const auto manager = startLogind();
    listen();
    tell(*mock, 70);
    tell(*mock, 20);
    tell(*mock, 70);
    expectOnly(*manager, {"network"});
}

TEST_F(ANetwork, WhoseManagerComesLaterIsHeardOf) {
    listen();
    EXPECT_EQ(host->source(), "none");
    auto mock = startManager(20);
    tell(*mock, 70);
    ASSERT_TRUE(waitForEvents(1));
    mock->kill();
    mock = startManager(20);
    tell(*mock, 70);
    ASSERT_TRUE(waitForEvents(2));
}

}  // namespace
}  // namespace quendokit::testing

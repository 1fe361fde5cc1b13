#include <gmock/gmock.h>

#include "tests/adapters/dbus/session_fixture.hpp"

namespace quendokit::testing {
namespace {

using namespace std::chrono_literals;
using ::testing::ElementsAre;

class ASession : public SessionFixture {
protected:
    void SetUp() override { manager = startLogind(); }

    std::unique_ptr<DBusMock> manager;
};

TEST_F(ASession, IsHeardOfThroughLogind) {
    listen();
    EXPECT_EQ(host->source(), "logind");
    unlock(*manager, "mine");
    expectOnly(*manager, {"unlocked"});
}

TEST_F(ASession, IsUnlockedOnceHoweverThatIsAnnounced) {
    listen();
    lock(*manager, "mine");
    hint(*manager, "mine", true);
    unlock(*manager, "mine");
    hint(*manager, "mine", false);
    hint(*manager, "mine", true);
    hint(*manager, "mine", false);
    unlock(*manager, "mine");
    expectOnly(*manager, {"unlocked", "unlocked"});
}

TEST_F(ASession, ThatIsLockedAtTheBeginningIsHeardOfWhenItIsUnlocked) {
    hint(*manager, "mine", true);
    listen();
    hint(*manager, "mine", false);
    expectOnly(*manager, {"unlocked"});
}

TEST_F(ASession, OfSomebodyElseIsNotHeardOf) {
    listen();
    unlock(*manager, "other");
    hint(*manager, "other", true);
    hint(*manager, "other", false);
    activate(*manager, "other", true);
    startSession(*manager, "other");
    expectOnly(*manager, {});
}

TEST_F(ASession, BecomesActiveWhenItComesBack) {
    listen();
    activate(*manager, "mine", true);
    activate(*manager, "mine", false);
    activate(*manager, "mine", true);
    expectOnly(*manager, {"active"});
}

TEST_F(ASession, ThatComesBackLockedIsHeardOfWhenItIsUnlocked) {
    listen();
    hint(*manager, "mine", true);
    activate(*manager, "mine", false);
    activate(*manager, "mine", true);
    hint(*manager, "mine", false);
    expectOnly(*manager, {"unlocked"});
}

TEST_F(ASession, IsReadAgainWhenAChangeComesWithoutItsValue) {
    hint(*manager, "mine", true);
    listen();
    // Setting it would tell the value.
    manager->addMethod(pathOf("mine"), "org.freedesktop.DBus.Properties", "GetAll", "s", "a{sv}",
                       "ret = {'LockedHint': False, 'Active': True}");
    manager->emit(pathOf("mine"), "org.freedesktop.DBus.Properties", "PropertiesChanged", "sa{sv}as",
                  {sdbus::Variant(logindSession), sdbus::Variant(Properties()),
                   sdbus::Variant(std::vector<std::string>{"LockedHint"})});
    ASSERT_TRUE(waitForEvents(1));
    EXPECT_THAT(events, ElementsAre("unlocked"));
}

TEST_F(ASession, OfTheProcessGoesBeforeThatOfTheDesktop) {
    addSession(*manager, "third", getuid(), true);
    manager->addMethod(logindObject, logindManager, "GetSessionByPID", "u", "o",
                       "ret = dbus.ObjectPath('" + pathOf("third") + "') if args[0] == 0 else None");
    listen();
    unlock(*manager, "mine");
    activate(*manager, "third", false);
    activate(*manager, "third", true);
    expectOnly(*manager, {"active"});
}

TEST_F(ASession, OfTheEnvironmentGoesBeforeAll) {
    addSession(*manager, "third", getuid(), true);
    const ScopedEnvironment third("XDG_SESSION_ID", "third");
    listen();
    unlock(*manager, "mine");
    activate(*manager, "third", false);
    activate(*manager, "third", true);
    expectOnly(*manager, {"active"});
}

TEST_F(ASession, ThatTheEnvironmentNamesWronglyIsSoughtElsewhere) {
    manager->addMethod(logindObject, logindManager, "GetSession", "s", "o",
                       "raise dbus.exceptions.DBusException('no', name='org.freedesktop.login1.NoSuchSession')");
    const ScopedEnvironment gone("XDG_SESSION_ID", "gone");
    listen();
    unlock(*manager, "mine");
    expectOnly(*manager, {"unlocked"});
}

TEST_F(ASession, ThatBeginsLaterIsAnArrival) {
    setDesktop(*manager, "");
    listen();
    EXPECT_EQ(host->source(), "logind");
    unlock(*manager, "mine");
    setDesktop(*manager, "mine");
    startSession(*manager, "mine");
    ASSERT_TRUE(waitForEvents(1));
    unlock(*manager, "mine");
    expectOnly(*manager, {"active", "unlocked"});
}

TEST_F(ASession, ThatEndsMakesRoomForAnother) {
    listen();
    addSession(*manager, "third", getuid(), false);
    setDesktop(*manager, "third");
    manager->emit(logindObject, logindManager, "SessionRemoved", "so",
                  {sdbus::Variant("mine"), sdbus::Variant(pathOf("mine"))});
    activate(*manager, "third", true);
    ASSERT_TRUE(waitForEvents(1));
    EXPECT_THAT(events, ElementsAre("active"));
}

TEST_F(ASession, SleepsAndWakesOnceEach) {
    listen();
    sleep(*manager, true);
    sleep(*manager, true);
    sleep(*manager, false);
    sleep(*manager, false);
    expectOnly(*manager, {"sleep", "resumed"});
}

TEST_F(ASession, IsNotHeardOfFromAnotherBusName) {
    listen();
    BusPeer liar(systemBus);
    std::vector<std::string> names;
    auto reply = liar.call("org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus", "ListNames");
    reply >> names;
    names.emplace_back("");
    for (const std::string& name : names) {
        if (name.empty() || (name.starts_with(':') && name != liar.uniqueName())) {
            liar.emit(name, pathOf("mine"), logindSession, "Unlock");
            liar.emit(name, logindObject, logindManager, "PrepareForSleep", false);
            liar.emit(name, networkManagerObject, networkManager, "StateChanged", std::uint32_t{70});
        }
    }
    expectOnly(*manager, {});
}

TEST_F(ASession, OutlivesARestartOfLogind) {
    listen();
    manager->kill();
    ASSERT_TRUE(waitForSource("none"));
    manager = startLogind();
    ASSERT_TRUE(waitForSource("logind"));
    // Its sessions were made after its name; the host may have looked before.
    startSession(*manager, "mine");
    lock(*manager, "mine");
    sleep(*manager, true);
    ASSERT_TRUE(waitForEvents(1));
    unlock(*manager, "mine");
    ASSERT_TRUE(loop->runUntil([&] { return !events.empty() && events.back() == "unlocked"; }, 30s));
}

TEST_F(ASession, OnABusThatNeverAnswersKeepsTheHostNoLongerThanTheTimeOut) {
    systemBus.hold();
    const auto before = std::chrono::steady_clock::now();
    listen(200ms);
    EXPECT_GE(std::chrono::steady_clock::now() - before, 200ms);
    EXPECT_LT(std::chrono::steady_clock::now() - before, 10s);
    host.reset();
    EXPECT_LT(std::chrono::steady_clock::now() - before, 10s);
    systemBus.goOn();
}

TEST_F(ASession, IsNotHeardOfOnceTheHostHasLetGo) {
    listen();
    unlock(*manager, "mine");
    host.reset();
    EXPECT_FALSE(loop->runUntil([&] { return !events.empty(); }, 0ns));
}

}  // namespace
}  // namespace quendokit::testing

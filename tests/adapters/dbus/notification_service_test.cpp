#include <ctime>

#include <gmock/gmock.h>

#include "tests/adapters/dbus/notifications_fixture.hpp"

namespace quendokit::testing {
namespace {

using namespace std::chrono_literals;
using ::testing::ElementsAre;
using ::testing::HasSubstr;

class ANotificationService : public NotificationsFixture {};

TEST_F(ANotificationService, ThatIsNotThereFailsEachNotification) {
    connect();
    EXPECT_FALSE(host->service());
    EXPECT_FALSE(host->supportsActions());
    const auto shown = show("for nobody");
    ASSERT_FALSE(shown);
    EXPECT_TRUE(isDBusError(shown.error(), DBusErrorCode::noService)) << shown.error().description;
}

TEST_F(ANotificationService, ThatComesLaterIsToldAndUsed) {
    connect();
    const auto service = startService();
    ASSERT_TRUE(waitForEvents(1));
    EXPECT_THAT(events, ElementsAre("appeared"));
    EXPECT_TRUE(host->supportsActions());
    EXPECT_TRUE(show("for somebody"));
}

TEST_F(ANotificationService, IsAskedAgainWhenAnotherOneTakesItsPlace) {
    auto service = startService();
    connect();
    EXPECT_TRUE(host->supportsActions());
    service->kill();
    ASSERT_TRUE(waitForEvents(1));
    EXPECT_FALSE(host->supportsActions());
    EXPECT_FALSE(host->service());
    service = startService(noAbilities);
    ASSERT_TRUE(waitForEvents(2));
    EXPECT_THAT(events, ElementsAre("vanished", "appeared"));
    EXPECT_FALSE(host->supportsActions());
    EXPECT_TRUE(host->service());
}

TEST_F(ANotificationService, ThatNeverAnswersIsGivenUp) {
    const auto service = startService();
    service->hold();
    timeout = 100ms;
    // It is no hindrance to the connection.
    connect();
    EXPECT_FALSE(host->service());
    const auto shown = show("for nobody");
    ASSERT_FALSE(shown);
    EXPECT_TRUE(isDBusError(shown.error(), DBusErrorCode::noAnswer)) << shown.error().description;

    // It is asked again when there is something to show.
    service->goOn();
    timeout = 20s;
    host.reset();
    connect();
    EXPECT_TRUE(show("for somebody"));
}

TEST_F(ANotificationService, ThatStopsAnsweringFailsTheNotification) {
    const auto service = startService();
    timeout = 500ms;
    connect();
    ASSERT_TRUE(show("for somebody"));
    service->hold();
    const auto before = std::chrono::steady_clock::now();
    const auto shown = show("for nobody");
    ASSERT_FALSE(shown);
    EXPECT_TRUE(isDBusError(shown.error(), DBusErrorCode::noAnswer)) << shown.error().description;
    const auto took = std::chrono::steady_clock::now() - before;
    EXPECT_GE(took, 500ms);
    EXPECT_LT(took, 15s);
    service->goOn();
}

TEST_F(ANotificationService, ThatDiesOverANotificationFailsIt) {
    const auto service = startService();
    connect();
    service->hold();
    std::optional<Shown> answer;
    host->show({"for nobody", "", "", {}, {}, {}, true}, [&](const Shown& shown) { answer = shown; });
    service->kill();
    ASSERT_TRUE(loop->runUntil([&] { return answer.has_value(); }, 30s));
    ASSERT_FALSE(*answer);
}

TEST_F(ANotificationService, ThatRefusesFailsTheNotification) {
    const auto service = startService();
    connect();
    service->addMethod(notificationsObject, notifications, "Notify", "susssasa{sv}i", "u",
                       "raise dbus.exceptions.DBusException('full', name='org.example.Full')");
    const auto shown = show("too many");
    ASSERT_FALSE(shown);
    EXPECT_TRUE(isDBusError(shown.error(), DBusErrorCode::refused));
    EXPECT_THAT(shown.error().description, HasSubstr("full"));
}

TEST_F(ANotificationService, ThatGivesNoNumberFailsTheNotification) {
    const auto service = startService();
    connect();
    service->addMethod(notificationsObject, notifications, "Notify", "susssasa{sv}i", "u", "ret = 0");
    EXPECT_FALSE(show("without a number"));
    service->addMethod(notificationsObject, notifications, "Notify", "susssasa{sv}i", "s", "ret = 'one'");
    EXPECT_FALSE(show("with a word for a number"));
}

TEST_F(ANotificationService, ThatDoesNotSayWhoItIsIsUsedAllTheSame) {
    auto service = DBusMock::empty(bus, notifications, notificationsObject, notifications);
    service->addMethod(notificationsObject, notifications, "GetCapabilities", "", "as", "ret = ['actions']");
    service->addMethod(notificationsObject, notifications, "Notify", "susssasa{sv}i", "u", "ret = 7");
    connect();
    EXPECT_TRUE(host->supportsActions());
    const auto shown = show("for somebody");
    ASSERT_TRUE(shown) << shown.error().description;
    EXPECT_TRUE(shown.value().ends_with(" 7"));
}

TEST_F(ANotificationService, OnABusThatIsMissingIsAnError) {
    const ScopedEnvironment nowhere("DBUS_SESSION_BUS_ADDRESS", "unix:path=/nonexistent/bus");
    const auto made = DesktopNotifications::connect(options());
    ASSERT_FALSE(made);
    EXPECT_TRUE(isDBusError(made.error(), DBusErrorCode::noBus));
    EXPECT_THAT(made.error().description, HasSubstr("session bus"));
}

TEST_F(ANotificationService, OnABusOfNoAddressIsAnError) {
    const ScopedEnvironment nonsense("DBUS_SESSION_BUS_ADDRESS", "nonsense");
    EXPECT_FALSE(DesktopNotifications::connect(options()));
}

TEST_F(ANotificationService, OnABusThatDoesNotAnswerIsAnErrorInTime) {
    bus.hold();
    timeout = 200ms;
    const auto before = std::chrono::steady_clock::now();
    const auto made = DesktopNotifications::connect(options());
    const auto took = std::chrono::steady_clock::now() - before;
    bus.goOn();
    ASSERT_FALSE(made);
    EXPECT_TRUE(isDBusError(made.error(), DBusErrorCode::noBus));
    EXPECT_GE(took, 200ms);
    EXPECT_LT(took, 10s);
}

TEST_F(ANotificationService, OnABusThatDiesTellsOnceAndFailsWhatComesAfter) {
    const auto service = startService();
    connect();
    service->hold();
    std::optional<Shown> underWay;
    host->show({"under way", "", "", {}, {}, {}, true}, [&](const Shown& shown) { underWay = shown; });
    bus.kill();
    ASSERT_TRUE(loop->runUntil([&] { return underWay.has_value() && !events.empty(); }, 30s));
    EXPECT_FALSE(*underWay);

    host->close("a b 1");
    const auto shown = show("too late");
    ASSERT_FALSE(shown);
    EXPECT_TRUE(isDBusError(shown.error(), DBusErrorCode::disconnected)) << shown.error().description;
    EXPECT_EQ(std::count(events.begin(), events.end(), "disconnected"), 1);
    EXPECT_FALSE(host->supportsActions());
}

TEST_F(ANotificationService, OnABusThatHasDiedKeepsNoProcessorBusy) {
    connect();
    bus.kill();
    ASSERT_TRUE(waitForEvents(1));
    const std::clock_t before = std::clock();
    EXPECT_FALSE(loop->runUntil([&] { return events.size() > 1; }, 500ms));
    EXPECT_LT(std::clock() - before, CLOCKS_PER_SEC / 10);
}

class AServiceThatTheBusStarts : public NotificationsFixture {
protected:
    AServiceThatTheBusStarts()
        : NotificationsFixture(
              {{notifications, DBusMock::python + " -m dbusmock --session --template notification_daemon"}}) {}
};

TEST_F(AServiceThatTheBusStarts, IsStartedByTheFirstNotificationAlone) {
    connect();
    EXPECT_FALSE(host->service());
    EXPECT_EQ(peer.ownerOf(notifications), "");
    std::optional<Shown> first;
    std::optional<Shown> second;
    host->show({"first", "", "", {}, {}, {}, true}, [&](const Shown& shown) { first = shown; });
    host->show({"second", "", "", {}, {}, {}, true}, [&](const Shown& shown) { second = shown; });
    ASSERT_TRUE(loop->runUntil([&] { return first && second; }, 30s));
    ASSERT_TRUE(*first) << first->error().description;
    ASSERT_TRUE(*second);
    EXPECT_TRUE(first->value().ends_with(" 1"));
    EXPECT_TRUE(second->value().ends_with(" 2"));
    EXPECT_THAT(events, ElementsAre("appeared"));
}

}  // namespace
}  // namespace quendokit::testing

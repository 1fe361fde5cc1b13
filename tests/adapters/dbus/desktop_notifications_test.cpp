#include <gmock/gmock.h>

#include "tests/adapters/dbus/notifications_fixture.hpp"

namespace quendokit::testing {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::StartsWith;
using Urgency = DesktopNotification::Urgency;

class ADesktopNotification : public NotificationsFixture {
protected:
    /// What the service was last told.
    struct Notify {
        std::string application, icon, summary, body;
        std::uint32_t replaced;
        std::vector<std::string> actions;
        std::map<std::string, sdbus::Variant> hints;
        std::int32_t expires;
    };
    static Notify lastNotify(DBusMock& service) {
        const auto calls = service.calls(notificationsObject, "Notify");
        if (calls.empty()) {
            ADD_FAILURE() << "nothing was shown";
            return {};
        }
        const auto& last = calls.back();
        Notify notify{last[0].get<std::string>(),
                      last[2].get<std::string>(),
                      last[3].get<std::string>(),
                      last[4].get<std::string>(),
                      last[1].get<std::uint32_t>(),
                      {},
                      {},
                      last[7].get<std::int32_t>()};
        notify.actions = last[5].get<std::vector<std::string>>();
        notify.hints = last[6].get<std::map<std::string, sdbus::Variant>>();
        return notify;
    }
};

const DesktopNotification bank{
    "Call the bank",   "About the card",        "",  {{"later", "3 hours"}, {"evening", "Evening"}},
    Urgency::critical, "x-small-host.reminder", true};

TEST_F(ADesktopNotification, ReachesTheServiceWithItsButtonsAndHints) {
    const auto service = startService();
    connect();
    ASSERT_TRUE(show(bank));

    const auto notify = lastNotify(*service);
    EXPECT_EQ(notify.application, "Small Host");
    EXPECT_EQ(notify.icon, "");
    EXPECT_EQ(notify.replaced, 0U);
    EXPECT_EQ(notify.summary, "Call the bank");
    EXPECT_EQ(notify.body, "About the card");
    EXPECT_THAT(notify.actions, ElementsAre("default", "Open", "later", "3 hours", "evening", "Evening"));
    EXPECT_EQ(notify.hints.at("urgency").get<std::uint8_t>(), 2);
    EXPECT_EQ(notify.hints.at("desktop-entry").get<std::string>(), "small-host");
    EXPECT_EQ(notify.hints.at("category").get<std::string>(), "x-small-host.reminder");
    EXPECT_EQ(notify.expires, 0);
}

TEST_F(ADesktopNotification, OnlyThePersistentOneStaysUntilThePersonActs) {
    const auto service = startService();
    connect();
    DesktopNotification passing = bank;
    passing.persistent = false;
    ASSERT_TRUE(show(passing));
    EXPECT_EQ(lastNotify(*service).expires, -1);
}

TEST_F(ADesktopNotification, HasNoButtonsAndItsOtherBodyWhereTheServiceDrawsNone) {
    const auto service = startService(noAbilities);
    connect();
    EXPECT_FALSE(host->supportsActions());
    DesktopNotification worded = bank;
    worded.bodyWithoutActions = "About the card. quendo postpone …";
    ASSERT_TRUE(show(worded));
    EXPECT_THAT(lastNotify(*service).actions, IsEmpty());
    EXPECT_EQ(lastNotify(*service).body, "About the card. quendo postpone …");

    ASSERT_TRUE(show(bank));
    EXPECT_EQ(lastNotify(*service).body, "About the card");
}

TEST_F(ADesktopNotification, KeepsItsOwnWayOfOpening) {
    const auto service = startService();
    connect();
    DesktopNotification opening = bank;
    opening.actions = {{DesktopNotifications::defaultAction, "Show it"}};
    ASSERT_TRUE(show(opening));
    EXPECT_THAT(lastNotify(*service).actions, ElementsAre("default", "Show it"));
}

TEST_F(ADesktopNotification, HasItsBodyEscapedOnlyWhereTheServiceReadsMarkup) {
    DesktopNotification marked = bank;
    marked.summary = "<b>&</b>";
    marked.body = "<b>\"a\" & 'b'</b>";
    {
        const auto service = startService();
        connect();
        ASSERT_TRUE(show(marked));
        EXPECT_EQ(lastNotify(*service).body, "&lt;b&gt;&quot;a&quot; &amp; &#39;b&#39;&lt;/b&gt;");
        EXPECT_EQ(lastNotify(*service).summary, "<b>&</b>");
    }
    ASSERT_TRUE(waitForEvents(1));
    const auto plainService = startService(R"({"capabilities": "body actions"})");
    ASSERT_TRUE(waitForEvents(2));
    ASSERT_TRUE(show(marked));
    EXPECT_EQ(lastNotify(*plainService).body, "<b>\"a\" & 'b'</b>");
}

TEST_F(ADesktopNotification, IsMadeHarmless) {
    const auto service = startService();
    connect();
    DesktopNotification odd = bank;
    odd.summary = std::string("a\0b\x1B[31m\n", 9) + "\u202Ec\xFF";
    odd.body = "one\r\ntwo\u2066\u2028three\xC3";
    odd.actions = {{"later", "3\nhours\u202E"}};
    ASSERT_TRUE(show(odd));
    EXPECT_EQ(lastNotify(*service).summary, "a b [31m c\uFFFD");
    EXPECT_EQ(lastNotify(*service).body, "one \ntwo\nthree\uFFFD");
    EXPECT_EQ(lastNotify(*service).actions.at(3), "3 hours");
}

TEST_F(ADesktopNotification, OfAMegabyteIsCutAtAWholeCharacter) {
    const auto service = startService();
    connect();
    DesktopNotification huge = bank;
    huge.summary.clear();
    for (int i = 0; i < 350'000; ++i) {
        huge.summary += "€";
    }
    huge.body = std::string(1 << 20, '&');
    ASSERT_TRUE(show(huge));
    EXPECT_EQ(lastNotify(*service).summary.size(), 3U * 200U);
    EXPECT_TRUE(lastNotify(*service).summary.ends_with("€…"));
    EXPECT_EQ(lastNotify(*service).body.size(), 5U * 1'999U + 3U);
}

TEST_F(ADesktopNotification, WithAKeyThatIsNoneIsRefused) {
    const auto service = startService();
    connect();
    for (const std::string& key : {std::string(), std::string(256, 'k'), std::string("\xFF"), std::string("a\nb")}) {
        DesktopNotification wrong = bank;
        wrong.actions = {{key, "Title"}};
        const auto shown = show(wrong);
        ASSERT_FALSE(shown);
        EXPECT_TRUE(isDBusError(shown.error(), DBusErrorCode::invalidArgument));
    }
    EXPECT_THAT(service->calls(notificationsObject, "Notify"), IsEmpty());
}

TEST_F(ADesktopNotification, IsNamedByBusServiceAndNumber) {
    const auto service = startService();
    connect();
    const auto first = show("first");
    const auto second = show("second");
    ASSERT_TRUE(first && second);

    std::string id;
    auto reply = peer.call("org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus", "GetId");
    reply >> id;
    const std::string instance = id + " " + peer.ownerOf(notifications) + " ";
    EXPECT_EQ(first.value(), instance + "1");
    EXPECT_EQ(second.value(), instance + "2");
}

TEST_F(ADesktopNotification, IsTakenAwayByItsHandle) {
    const auto service = startService();
    connect();
    const auto shown = show("gone soon");
    ASSERT_TRUE(shown);
    host->close(shown.value());
    // The mock's own word for it is that of a notification that has expired.
    ASSERT_TRUE(waitForEvents(1));
    EXPECT_THAT(events, ElementsAre("closed " + shown.value() + " expired"));
}

TEST_F(ADesktopNotification, IsNotTakenAwayByWhatIsNotItsHandle) {
    const auto service = startService();
    connect();
    const auto shown = show("stays");
    const auto other = show("goes");
    ASSERT_TRUE(shown && other);
    const std::string& handle = shown.value();
    const std::string instance = handle.substr(0, handle.rfind(' ') + 1);
    for (const std::string& wrong :
         {std::string(), std::string("1"), std::string("no handle at all"), "0" + handle, handle + " ", handle + "\n",
          instance + "+1", instance + "01", instance + "0", instance + "4294967297", instance,
          handle.substr(0, handle.find(' ')) + " :9.9 1",
          handle.substr(0, handle.find(' ')) + " " + notifications + " 1", std::string(1 << 20, ' ')}) {
        host->close(wrong);
    }
    host->close(other.value());
    ASSERT_TRUE(waitForEvents(1));
    EXPECT_THAT(events, ElementsAre("closed " + other.value() + " expired"));
    EXPECT_EQ(service->calls(notificationsObject, "CloseNotification").size(), 1U);
}

TEST_F(ADesktopNotification, IsAskedForFromNobodyButTheService) {
    const auto service = startService();
    auto other = DBusMock::empty(bus, "org.example.Other", notificationsObject, notifications);
    other->addMethod(notificationsObject, notifications, "CloseNotification", "u", "", "");
    connect();
    const auto shown = show("stays");
    ASSERT_TRUE(shown);
    const std::string& handle = shown.value();
    host->close(handle.substr(0, handle.find(' ')) + " " + other->peer().ownerOf("org.example.Other") + " 1");
    host->close(handle);
    ASSERT_TRUE(waitForEvents(1));
    EXPECT_THAT(other->calls(notificationsObject, "CloseNotification"), IsEmpty());
}

TEST_F(ADesktopNotification, KnowsTheServiceThatWillShowIt) {
    const auto service = startService();
    connect();
    EXPECT_TRUE(host->supportsActions());
    ASSERT_TRUE(host->service());
    EXPECT_EQ(host->service()->name, "mock-notify");
    EXPECT_EQ(host->service()->vendor, "test vendor");
    EXPECT_EQ(host->service()->version, "1.0");
}

}  // namespace
}  // namespace quendokit::testing

/// \file
/// The daemon at a real desktop, and another home of the same person.

#include <cmath>
#include <cstdlib>
#include <ctime>
#include <memory>
#include <string>

#include "tests/apps/quendo/daemon/mock_screen.hpp"
#include "tests/apps/quendo/two_homes_fixture.hpp"
#include "tests/support/desktop_session.hpp"

namespace quendo::testing {
namespace {

using quendokit::testing::DesktopSession;
using quendokit::testing::PrivateBus;

constexpr double twentyMinutes = 1'200;

/// Home "a" has a daemon; both are connected to the server.
class DaemonOfTwoHomes : public TwoHomes {
protected:
    ~DaemonOfTwoHomes() override {
        if (daemon) {
            EXPECT_EQ(daemon->end(SIGTERM), 0) << daemon->lines();
        }
    }

    void start(DaemonProcess::Environment environment) {
        connectBoth();
        environment["QUENDO_HOME"] = home("a");
        environment["TZ"] = "Europe/Berlin";
        daemon = std::make_unique<DaemonProcess>(environment);
    }
    json addSoon(const std::string& title) const { return answer("a", {"add", title, "--at", "+3s"}); }
    static double momentOf(const json& reminder) { return reminder.at("condition").value("epoch", 0.0); }
    /// Whether a home knows the reminder at that moment in the end; the second one asks the server for it, which keeps
    /// milliseconds.
    [[nodiscard]] bool waitForMoment(const std::string& name, const std::string& id, double moment) const {
        return waitUntil([&] {
            if (name == "b") {
                static_cast<void>(run(name, {"sync"}));
            }
            const auto shown = json::parse(run(name, {"--json", "show", id}).output, nullptr, false);
            return shown.is_object() && std::abs(momentOf(shown) - moment) < 0.002;
        });
    }

    std::unique_ptr<DaemonProcess> daemon;
};

class ADaemonAtARealDesktop : public DaemonOfTwoHomes {
protected:
    void SetUp() override { start(desktop.environment()); }

    [[nodiscard]] bool waitUntilSeen(const std::string& id) const {
        return waitUntil([&] { return answer("a", {"show", id}).at("shown") == true; });
    }
    /// Keeps what is on the screen where somebody has asked for it.
    void keepScreenshot(const std::string& name) const {
        if (const char* folder = std::getenv("QUENDOKIT_SCREENSHOTS")) {
            desktop.takeScreenshot(std::string(folder) + "/" + name + ".png");
        }
    }

    const DesktopSession desktop;
};

TEST_F(ADaemonAtARealDesktop, PostponesByItsButtonsForEveryHome) {
    const json reminder = addSoon("Call the bank");
    const std::string id = reminder.at("id");
    // Opening it is the first button, ours come after.
    ASSERT_TRUE(desktop.waitForButtons(4));
    EXPECT_GE(static_cast<double>(std::time(nullptr)) + 1, momentOf(reminder));
    keepScreenshot("daemon");
    EXPECT_TRUE(waitForMoment("b", id, momentOf(reminder)));
    ASSERT_TRUE(desktop.clickButton(1));
    EXPECT_TRUE(waitForMoment("a", id, momentOf(reminder) + twentyMinutes)) << daemon->lines();
    EXPECT_TRUE(desktop.waitForNotifications(0));
    EXPECT_TRUE(waitForMoment("b", id, momentOf(reminder) + twentyMinutes));
}

TEST_F(ADaemonAtARealDesktop, MarksSeenWhatIsClickedAway) {
    const std::string id = addSoon("Call the bank").at("id");
    ASSERT_TRUE(desktop.waitForButtons(4));
    EXPECT_EQ(answer("a", {"show", id}).at("shown"), false);
    ASSERT_TRUE(desktop.dismissNotification(0));
    EXPECT_TRUE(waitUntilSeen(id)) << daemon->lines();
    EXPECT_TRUE(desktop.waitForNotifications(0));
}

TEST_F(ADaemonAtARealDesktop, MarksSeenWhatIsOpened) {
    const std::string id = addSoon("Call the bank").at("id");
    ASSERT_TRUE(desktop.waitForButtons(4));
    ASSERT_TRUE(desktop.clickButton(0));
    EXPECT_TRUE(waitUntilSeen(id)) << daemon->lines();
    EXPECT_TRUE(desktop.waitForNotifications(0));
}

TEST_F(ADaemonAtARealDesktop, TakesAwayWhatWasSeenElsewhere) {
    const json reminder = addSoon("Call the bank");
    ASSERT_TRUE(waitForMoment("b", reminder.at("id"), momentOf(reminder)));
    ASSERT_TRUE(desktop.waitForNotifications(1));
    answer("b", {"seen", reminder.at("id")});
    answer("b", {"sync"});
    EXPECT_TRUE(desktop.waitForNotifications(0)) << daemon->lines();
    EXPECT_TRUE(waitUntilSeen(reminder.at("id")));
}

class WhatHappensInTheOtherHome : public DaemonOfTwoHomes, public ::testing::WithParamInterface<const char*> {
protected:
    /// The command that does it.
    static std::vector<std::string> commandFor(const std::string& id) {
        const std::string name = GetParam();
        return name == "postpone" ? std::vector<std::string>{name, id, "--at", "+1h"}
                                  : std::vector<std::string>{name, id};
    }

    const PrivateBus bus;
};

TEST_P(WhatHappensInTheOtherHome, TakesTheNotificationAwayHere) {
    MockScreen screen(bus);
    start({{"DBUS_SESSION_BUS_ADDRESS", bus.address()}, {"DBUS_SYSTEM_BUS_ADDRESS", "unix:path=/nowhere/bus"}});
    const json reminder = addSoon("Call the bank");
    ASSERT_TRUE(waitForMoment("b", reminder.at("id"), momentOf(reminder)));
    ASSERT_TRUE(screen.waitForNotices(1)) << daemon->lines();
    EXPECT_EQ(screen.closed(), 0U);
    answer("b", commandFor(reminder.at("id")));
    answer("b", {"sync"});
    EXPECT_TRUE(screen.waitForClosed(1)) << daemon->lines();
    EXPECT_EQ(screen.notices().size(), 1U);
}

INSTANTIATE_TEST_SUITE_P(Each, WhatHappensInTheOtherHome, ::testing::Values("seen", "postpone", "delete"),
                         [](const auto& info) { return std::string(info.param); });

}  // namespace
}  // namespace quendo::testing

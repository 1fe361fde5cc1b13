// A person at a desktop: what is on the screen is clicked on.

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include <gmock/gmock.h>

#include "adapters/dbus/desktop_notifications.hpp"
#include "adapters/event_loop/event_loop.hpp"
#include "tests/support/desktop_session.hpp"
#include "tests/support/scoped_environment.hpp"

namespace quendokit::testing {
namespace {

using namespace std::chrono_literals;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

class ARealDesktop : public ::testing::Test {
protected:
    void SetUp() override {
        DesktopNotifications::Options options;
        options.applicationName = "Small Host";
        options.queue = loop;
        options.timeout = 20s;
        options.events.invoked = [this](const auto& handle, const auto& key) {
            events.push_back(name(handle) + " invoked " + key);
        };
        options.events.closed = [this](const auto& handle, DesktopNotifications::CloseReason reason) {
            const char* words[] = {"expired", "dismissed", "closed", "undefined"};
            events.push_back(name(handle) + " " + words[static_cast<int>(reason)]);
        };
        auto made = DesktopNotifications::connect(std::move(options));
        ASSERT_TRUE(made) << made.error().description;
        host = std::move(made).value();
    }

    /// Shows one with three buttons, and waits for its handle.
    void show(const std::string& summary) {
        DesktopNotification notification;
        notification.summary = summary;
        notification.body = "<b>About</b> the card";
        notification.actions = {{"short", "10 minutes"}, {"later", "3 hours"}, {"evening", "Evening"}};
        std::optional<Result<std::string>> answer;
        host->show(notification, [&](const Result<std::string>& shown) { answer = shown; });
        ASSERT_TRUE(loop->runUntil([&] { return answer.has_value(); }, 60s));
        ASSERT_TRUE(*answer) << answer->error().description;
        handles.emplace_back(answer->value(), summary);
    }
    bool waitForEvents(std::size_t count) {
        return loop->runUntil([&] { return events.size() >= count; }, 30s);
    }
    /// Keeps what is on the screen where somebody has asked for it.
    void keepScreenshot(const std::string& name) const {
        if (const char* folder = std::getenv("QUENDOKIT_SCREENSHOTS")) {
            desktop.takeScreenshot(std::string(folder) + "/" + name + ".png");
        }
    }
    [[nodiscard]] const std::string& handleOf(const std::string& summary) const {
        return std::find_if(handles.begin(), handles.end(), [&](const auto& each) { return each.second == summary; })
            ->first;
    }
    [[nodiscard]] std::string name(const std::string& handle) const {
        const auto found =
            std::find_if(handles.begin(), handles.end(), [&](const auto& each) { return each.first == handle; });
        return found == handles.end() ? handle : found->second;
    }

    const DesktopSession desktop;
    const ScopedEnvironment address{"DBUS_SESSION_BUS_ADDRESS", desktop.bus().address().c_str()};
    const std::shared_ptr<EventLoop> loop = std::make_shared<EventLoop>();
    std::vector<std::pair<std::string, std::string>> handles;
    std::vector<std::string> events;
    std::unique_ptr<DesktopNotifications> host;
};

TEST_F(ARealDesktop, TellsWhichOfThreeButtonsWasPressed) {
    show("bank");
    ASSERT_TRUE(host->supportsActions());
    ASSERT_TRUE(host->service());
    EXPECT_EQ(host->service()->name, "Xfce Notify Daemon");
    // The way of opening it is the first.
    ASSERT_TRUE(desktop.waitForButtons(4));
    keepScreenshot("buttons");
    EXPECT_THAT(events, IsEmpty());

    ASSERT_TRUE(desktop.clickButton(2));
    ASSERT_TRUE(waitForEvents(2));
    EXPECT_THAT(events, ElementsAre("bank invoked later", "bank dismissed"));
    EXPECT_TRUE(desktop.waitForNotifications(0));
}

TEST_F(ARealDesktop, TellsThatANotificationWasClickedAway) {
    show("bank");
    ASSERT_TRUE(desktop.waitForNotifications(1));
    ASSERT_TRUE(desktop.dismissNotification(0));
    ASSERT_TRUE(waitForEvents(1));
    EXPECT_THAT(events, ElementsAre("bank dismissed"));
    EXPECT_TRUE(desktop.waitForNotifications(0));
}

TEST_F(ARealDesktop, TellsThatANotificationWasOpened) {
    show("bank");
    ASSERT_TRUE(desktop.waitForButtons(4));
    ASSERT_TRUE(desktop.clickButton(0));
    ASSERT_TRUE(waitForEvents(2));
    EXPECT_THAT(events, ElementsAre("bank invoked default", "bank dismissed"));
}

TEST_F(ARealDesktop, TakesAwayTheOneOfTwoThatIsClosed) {
    show("bank");
    show("dentist");
    ASSERT_TRUE(desktop.waitForNotifications(2));
    ASSERT_TRUE(desktop.waitForButtons(8));
    keepScreenshot("two");
    host->close(handleOf("bank"));
    ASSERT_TRUE(waitForEvents(1));
    EXPECT_THAT(events, ElementsAre("bank closed"));
    ASSERT_TRUE(desktop.waitForButtons(4));
    ASSERT_TRUE(desktop.clickButton(3));
    ASSERT_TRUE(waitForEvents(3));
    EXPECT_THAT(events, ElementsAre("bank closed", "dentist invoked evening", "dentist dismissed"));
}

TEST_F(ARealDesktop, TellsThePressedButtonToTheNextProcessOfTheHost) {
    show("bank");
    ASSERT_TRUE(desktop.waitForButtons(4));
    host.reset();
    ASSERT_NO_FATAL_FAILURE(SetUp());
    ASSERT_TRUE(desktop.clickButton(1));
    ASSERT_TRUE(waitForEvents(2));
    EXPECT_THAT(events, ElementsAre("bank invoked short", "bank dismissed"));
}

}  // namespace
}  // namespace quendokit::testing

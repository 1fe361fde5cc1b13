/// \file
/// What the daemon shows, and what it makes of what a person, or a stranger, does with that.

#include <chrono>
#include <csignal>
#include <ctime>
#include <fstream>
#include <string>
#include <vector>

#include "tests/apps/quendo/daemon/desk_fixture.hpp"

namespace quendo::testing {
namespace {

using quendokit::testing::BusPeer;
using quendokit::testing::noAbilities;
using quendokit::testing::notifications;
using quendokit::testing::notificationsObject;
using ::testing::AllOf;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::Not;
using ::testing::SizeIs;
using ::testing::StartsWith;
using ::testing::UnorderedElementsAre;

constexpr double twentyMinutes = 1'200;

class QuendoNotification : public DaemonAtADesk {
protected:
    /// Starts the daemon, and waits until a reminder is on the screen as number 1.
    nlohmann::json showFirst(MockScreen& screen) {
        start();
        nlohmann::json reminder = addSoon("Call the bank");
        EXPECT_TRUE(screen.waitForNotices(1)) << daemon->lines();
        return reminder;
    }
};

TEST_F(QuendoNotification, IsShownAtItsMomentWithItsThreeButtons) {
    MockScreen screen(sessionBus);
    start();
    const auto reminder = addSoon("Call the bank");
    ASSERT_TRUE(screen.waitForNotices(1));
    EXPECT_GE(static_cast<double>(std::time(nullptr)) + 1, momentOf(reminder));
    const auto notice = screen.notices().front();
    EXPECT_EQ(notice.summary, "Call the bank");
    EXPECT_EQ(notice.body, "");
    ASSERT_THAT(notice.actions, SizeIs(8)) << "a key and a title each";
    EXPECT_EQ(notice.actions[0], "default");
    EXPECT_EQ(notice.actions[2], shortButton);
    EXPECT_EQ(notice.actions[4], laterButton);
    EXPECT_THAT(notice.actions[6], StartsWith("quendo.postpone.action."));
    EXPECT_EQ(show(reminder.at("id")).at("shown"), false) << "nobody has looked yet";
    expectNothingElseIsShown(screen);
}

TEST_F(QuendoNotification, OfWhatFellDueWhileTheDaemonWasOffIsShownOnceAsMissed) {
    MockScreen screen(sessionBus);
    startAndStop("3h", {"add", "known before", "--at", "+1h"});
    answerIn(asOf("2h"), {"add", "stored meanwhile", "--at", "+30m"});
    EXPECT_THAT(screen.notices(), SizeIs(0));
    start();
    ASSERT_TRUE(screen.waitForNotices(2));
    EXPECT_THAT(screen.summaries(), ElementsAre("known before", "stored meanwhile"));
    for (const auto& notice : screen.notices()) {
        EXPECT_THAT(notice.body, StartsWith("Missed: it was for "));
        EXPECT_THAT(notice.actions, SizeIs(8));
    }
    restart();
    expectNothingElseIsShown(screen);
}

TEST_F(QuendoNotification, IsAnsweredAlsoByADaemonThatWasStartedSince) {
    MockScreen screen(sessionBus);
    const auto reminder = showFirst(screen);
    restart();
    screen.press(1, shortButton);
    EXPECT_TRUE(waitUntilLater(reminder, twentyMinutes)) << daemon->lines();
    EXPECT_TRUE(screen.waitForClosed(1));
}

TEST_F(QuendoNotification, IsAnsweredAfterTheDaemonWasKilled) {
    MockScreen screen(sessionBus);
    const auto reminder = showFirst(screen);
    EXPECT_EQ(daemon->end(SIGKILL), 128 + SIGKILL);
    start();
    // Whether its showing was still recorded is nobody's to say; then the next one is on its way by now.
    answer({"add", "At the Mac", "--mac"});
    restart();
    ASSERT_TRUE(waitUntil([&] { return screen.summaries().back() == "At the Mac"; }));
    const auto shown = screen.notices().size() - 1;
    EXPECT_LE(shown, 2U);
    screen.press(static_cast<std::uint32_t>(shown), shortButton);
    EXPECT_TRUE(waitUntilLater(reminder, twentyMinutes)) << daemon->lines();
}

TEST_F(QuendoNotification, ThatNobodyCouldRecordAsShownIsShownOnceMoreAndAnswered) {
    MockScreen screen(sessionBus);
    start();
    screen.onNotify("import os, signal\nos.kill(" + std::to_string(daemon->process()) + ", signal.SIGKILL)\nret = 1");
    const auto reminder = addSoon("Call the bank");
    ASSERT_TRUE(waitUntil([&] { return daemon->hasEnded(); }));
    screen.onNotify("ret = 2");
    start();
    ASSERT_TRUE(screen.waitForNotices(2));
    EXPECT_THAT(screen.summaries(), ElementsAre("Call the bank", "Call the bank"));
    restart();
    screen.press(2, shortButton);
    EXPECT_TRUE(waitUntilLater(reminder, twentyMinutes)) << daemon->lines();
    screen.onNotify("ret = 3");
    expectNothingElseIsShown(screen);
}

TEST_F(QuendoNotification, OfAServiceWithoutButtonsHoldsTheirCommands) {
    MockScreen screen(sessionBus, noAbilities);
    const auto reminder = showFirst(screen);
    const std::string id = reminder.at("id");
    const auto notice = screen.notices().front();
    EXPECT_THAT(notice.actions, SizeIs(0));
    const std::string command = "quendo postpone " + id + " --action short";
    EXPECT_THAT(notice.body, AllOf(HasSubstr(command), HasSubstr("--action later")));
    // As a person would type it.
    EXPECT_EQ(run({"postpone", id, "--action", "short"}).code, 0);
    EXPECT_TRUE(waitUntilLater(reminder, twentyMinutes));
    EXPECT_TRUE(screen.waitForClosed(1)) << "it has another time";
}

TEST_F(QuendoNotification, WaitsForAServiceAndTheStatusSaysSo) {
    start();
    EXPECT_TRUE(answer({"status"}).at("notifications").is_null());
    addSoon("Call the bank");
    ASSERT_TRUE(waitForLine("there is no notification service"));
    EXPECT_TRUE(answer({"status"}).at("notifications").is_null());
    const std::string status = run({"status"}).output;
    EXPECT_THAT(status, AllOf(HasSubstr("Notifications: none are shown"),
                              HasSubstr("Problem: there is no notification service")));
    const std::size_t failures = linesWith("org.freedesktop.Notifications");
    EXPECT_EQ(failures, 1U) << daemon->lines();
    for (int i = 0; i < 5; ++i) {
        answer({"list"});
    }

    MockScreen screen(sessionBus);
    ASSERT_TRUE(screen.waitForNotices(1));
    EXPECT_EQ(answer({"status"}).at("notifications"), "mock-notify 1.0");
    EXPECT_THAT(run({"status"}).output, Not(HasSubstr("Problem")));
    EXPECT_EQ(linesWith("org.freedesktop.Notifications"), failures) << "nobody needs it once a command";
    EXPECT_THAT(screen.summaries(), ElementsAre("Call the bank"));
    expectNothingElseIsShown(screen);
    // What has shown the last one may be started again when it is needed.
    screen.kill();
    ASSERT_TRUE(waitUntil([&] { return answer({"status"}).at("notifications").is_null(); }));
    EXPECT_THAT(run({"status"}).output, Not(HasSubstr("Problem")));
}

TEST_F(QuendoNotification, OfAServiceThatEndedIsShownByTheNextOneOnlyIfItNeverWas) {
    MockScreen first(sessionBus);
    showFirst(first);
    first.kill();
    addSoon("Water the plants");
    ASSERT_TRUE(waitForLine("no reminder is shown"));
    MockScreen second(sessionBus);
    ASSERT_TRUE(second.waitForNotices(1));
    EXPECT_THAT(second.summaries(), ElementsAre("Water the plants"));
    expectNothingElseIsShown(second);
}

TEST_F(QuendoNotification, IsSeenByWhoDismissesOrOpensIt) {
    MockScreen screen(sessionBus);
    const std::string dismissed = showFirst(screen).at("id");
    screen.dismiss(1);
    EXPECT_TRUE(waitUntilSeen(dismissed));
    const std::string opened = addSoon("Water the plants").at("id");
    ASSERT_TRUE(screen.waitForNotices(2));
    screen.press(2, "default");
    EXPECT_TRUE(waitUntilSeen(opened));
}

TEST_F(QuendoNotification, GoesWhenACommandMarksItsReminderSeen) {
    MockScreen screen(sessionBus);
    const std::string id = showFirst(screen).at("id");
    answer({"seen", id});
    EXPECT_TRUE(screen.waitForClosed(1));
}

TEST_F(QuendoNotification, OfManyThatWereMissedIsOneWithoutButtons) {
    MockScreen screen(sessionBus);
    startAndStop("3h", {"list"});
    nlohmann::json many = nlohmann::json::array();
    for (int i = 0; i < 11; ++i) {
        many.push_back({{"title", "Reminder " + std::to_string(i)},
                        {"condition", {{"type", "dateTime"}, {"epoch", std::time(nullptr) - 3'600 + i}}}});
    }
    const auto file = sessionBus.folder() / "many.json";
    std::ofstream(file) << many;
    answer({"import", file.string()});
    start();
    ASSERT_TRUE(screen.waitForNotices(1));
    const auto notice = screen.notices().front();
    EXPECT_EQ(notice.summary, "11 reminders were missed");
    EXPECT_THAT(notice.body,
                AllOf(StartsWith("Reminder 0\n"), HasSubstr("and 6 more\n"), HasSubstr("quendo list --passed")));
    EXPECT_THAT(notice.actions, SizeIs(2)) << "opening it";
    restart();
    screen.press(1, "default");
    screen.press(1, shortButton);
    ASSERT_TRUE(waitForLine("is ignored"));
    expectNothingElseIsShown(screen);
}

TEST_F(QuendoNotification, IsMovedByNothingButItsOwnButtons) {
    MockScreen screen(sessionBus);
    const auto reminder = showFirst(screen);
    const std::string id = reminder.at("id");
    screen.press(1, "");
    screen.press(1, "QUENDO.POSTPONE.ACTION.SHORT");
    screen.press(1, "quendo.postpone.action.");
    screen.press(1, std::string(1'000'000, 'x'));
    screen.press(77, shortButton);
    BusPeer stranger(sessionBus);
    stranger.emit("", notificationsObject, notifications, "ActionInvoked", std::uint32_t{1}, shortButton);
    stranger.emit("", notificationsObject, notifications, "NotificationClosed", std::uint32_t{1}, std::uint32_t{2});
    // What came before is over when the daemon does this.
    const auto other = addSoon("Water the plants");
    ASSERT_TRUE(screen.waitForNotices(2));
    screen.press(2, laterButton);
    ASSERT_TRUE(waitUntil([&] { return momentOf(show(other.at("id"))) > momentOf(other); }));
    EXPECT_EQ(momentOf(show(id)), momentOf(reminder));
    EXPECT_EQ(show(id).at("shown"), false);
    EXPECT_EQ(linesWith("a press of an unknown button is ignored"), 2U);
    EXPECT_EQ(linesWith("a press on an unknown notification is ignored"), 1U);
    EXPECT_LT(daemon->lines().size(), 100'000U);
    // It can still be pressed.
    screen.press(1, shortButton);
    EXPECT_TRUE(waitUntilLater(reminder, twentyMinutes));
}

TEST_F(QuendoNotification, IsAnsweredOnceHoweverOftenItIsPressed) {
    MockScreen screen(sessionBus);
    const auto reminder = showFirst(screen);
    screen.press(1, shortButton);
    screen.press(1, shortButton);
    screen.press(1, laterButton);
    ASSERT_TRUE(waitUntil([&] { return linesWith("is ignored") >= 2; }));
    EXPECT_TRUE(waitUntilLater(reminder, twentyMinutes));
    EXPECT_EQ(linesWith("a second press on a notification is ignored"), 2U);
}

TEST_F(QuendoNotification, OfADeletedReminderGoesAndIsNotAnswered) {
    MockScreen screen(sessionBus);
    const std::string id = showFirst(screen).at("id");
    answer({"delete", id});
    ASSERT_TRUE(screen.waitForClosed(1));
    screen.press(1, shortButton);
    ASSERT_TRUE(waitForLine("is ignored"));
    EXPECT_EQ(linesWith("is ignored"), 1U);
    EXPECT_EQ(answer({"list"}), nlohmann::json::array());
    EXPECT_EQ(show(id).at("deleted"), true);
}

}  // namespace
}  // namespace quendo::testing

/// \file
/// When the person comes, when there is no bus to show anything on, and when nothing happens at all.

#include <chrono>
#include <csignal>
#include <ctime>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "tests/apps/quendo/daemon/desk_fixture.hpp"

namespace quendo::testing {
namespace {

using namespace std::chrono_literals;
using ::testing::AllOf;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::SizeIs;

/// How long a daemon without anything to do is watched.
constexpr auto idleTime = 60s;

class QuendoArrival : public DaemonAtADesk {
protected:
    std::string addDevice(const std::string& title) { return answer({"add", title, "--mac"}).at("id"); }
};

TEST_F(QuendoArrival, AtTheLoginShowsWhatWaitsAtTheComputerAndMarksItSeen) {
    MockScreen screen(sessionBus);
    const std::string id = addDevice("Water the plants");
    start();
    ASSERT_TRUE(screen.waitForNotices(1));
    EXPECT_THAT(screen.summaries(), ElementsAre("Water the plants"));
    EXPECT_THAT(screen.notices().front().actions, SizeIs(8));
    EXPECT_TRUE(waitUntilSeen(id));
    restart();
    expectNothingElseIsShown(screen);
}

TEST_F(QuendoArrival, AtTheUnlockingShowsWhatWaitsAtTheComputer) {
    MockScreen screen(sessionBus);
    const auto logind = startLogind();
    start();
    const std::string id = addDevice("Water the plants");
    EXPECT_EQ(show(id).at("shown"), false) << "who stores it is there already";
    lock(*logind, "mine");
    unlock(*logind, "mine");
    ASSERT_TRUE(screen.waitForNotices(1));
    EXPECT_THAT(screen.summaries(), ElementsAre("Water the plants"));
    EXPECT_TRUE(waitUntilSeen(id));
    unlock(*logind, "mine");
    expectNothingElseIsShown(screen);
}

TEST_F(QuendoArrival, AtTheResumingShowsWhatWaitsAtTheComputer) {
    MockScreen screen(sessionBus);
    const auto logind = startLogind();
    start();
    const std::string id = addDevice("Water the plants");
    sleep(*logind, true);
    sleep(*logind, false);
    ASSERT_TRUE(screen.waitForNotices(1));
    EXPECT_THAT(screen.summaries(), ElementsAre("Water the plants"));
    EXPECT_TRUE(waitUntilSeen(id));
}

TEST_F(QuendoArrival, BackFromAnotherPersonsSessionShowsWhatWaitsAtTheComputer) {
    MockScreen screen(sessionBus);
    const auto logind = startLogind();
    start();
    const std::string id = addDevice("Water the plants");
    activate(*logind, "mine", false);
    activate(*logind, "mine", true);
    ASSERT_TRUE(screen.waitForNotices(1));
    EXPECT_TRUE(waitUntilSeen(id));
}

TEST_F(QuendoArrival, OfAButtonPostponesWhatWaitedAtTheComputer) {
    MockScreen screen(sessionBus);
    const std::string id = addDevice("Water the plants");
    start();
    ASSERT_TRUE(screen.waitForNotices(1));
    screen.press(1, shortButton);
    ASSERT_TRUE(waitUntil([&] { return show(id).at("condition").at("type") == "dateTime"; })) << daemon->lines();
    EXPECT_NEAR(momentOf(show(id)), static_cast<double>(std::time(nullptr)) + 1'200, 60);
}

TEST_F(QuendoArrival, WithoutABusIsNoHindranceAndTheStatusSaysSo) {
    environment["DBUS_SESSION_BUS_ADDRESS"] = "unix:path=/nowhere/bus";
    environment["DBUS_SYSTEM_BUS_ADDRESS"] = "unix:path=/nowhere/system-bus";
    start();
    EXPECT_EQ(linesWith("no notification can be shown"), 1U);
    const std::string id = addSoon("Call the bank").at("id");
    ASSERT_TRUE(waitUntil([&] { return show(id).at("list") == "passed"; }));
    const auto status = answer({"status"});
    EXPECT_TRUE(status.at("daemon").is_string());
    EXPECT_TRUE(status.at("notifications").is_null());
    EXPECT_THAT(run({"status"}).output,
                AllOf(HasSubstr("none are shown"), HasSubstr("Problem: there is no notification service")));
    answer({"postpone", id, "--action", "short"});
    answer({"delete", id});
}

TEST_F(QuendoArrival, OfATroubleIsToldToTheLogAndNotToWhoeverAsks) {
    MockScreen screen(sessionBus);
    start();
    sessionBus.kill();
    ASSERT_TRUE(waitForLine("the session bus has ended"));
    EXPECT_EQ(linesWith("no reminder is shown"), 0U) << "nobody has asked";
    // Looked after now, and without a word on standard error.
    EXPECT_TRUE(answer({"status"}).at("notifications").is_null());
    EXPECT_EQ(linesWith("no reminder is shown"), 1U);
}

TEST_F(QuendoArrival, OfTheBusesEndDisturbsNoCommandAndTheNextDaemonShowsWhatWasDue) {
    MockScreen screen(sessionBus);
    start();
    sessionBus.kill();
    ASSERT_TRUE(waitForLine("the session bus has ended"));
    const std::string id = addSoon("Call the bank").at("id");
    ASSERT_TRUE(waitUntil([&] { return show(id).at("list") == "passed"; }));
    EXPECT_TRUE(answer({"status"}).at("notifications").is_null());
    EXPECT_THAT(run({"status"}).output, HasSubstr("Problem: there is no notification service"));
    EXPECT_FALSE(daemon->hasEnded());

    quendokit::testing::PrivateBus nextBus;
    MockScreen nextScreen(nextBus);
    environment["DBUS_SESSION_BUS_ADDRESS"] = nextBus.address();
    restart();
    ASSERT_TRUE(nextScreen.waitForNotices(1));
    EXPECT_THAT(nextScreen.summaries(), ElementsAre("Call the bank"));
}

TEST_F(QuendoArrival, OfNothingLetsEveryDaemonSleepThroughAndThrough) {
    MockScreen screen(sessionBus);
    const auto logind = startLogind();
    const auto startAnother = [this](const std::string& home, const std::string& bus) {
        environment["QUENDO_HOME"] += home;
        environment["DBUS_SESSION_BUS_ADDRESS"] = bus;
        start();
        answer({"add", "Tomorrow", "--at", "+1d"});
        return std::move(daemon);
    };
    const auto beforeTheReminder = startAnother("", sessionBus.address());

    const auto withoutABus = startAnother("-without-bus", "unix:path=/nowhere/bus");

    const quendokit::testing::PrivateBus emptyBus;
    daemon = startAnother("-unshown", emptyBus.address());
    addSoon("for nobody");
    ASSERT_TRUE(waitForLine("no reminder is shown"));
    const auto withAnUnshownReminder = std::move(daemon);

    quendokit::testing::PrivateBus deadBus;
    daemon = startAnother("-dead-bus", deadBus.address());
    deadBus.kill();
    ASSERT_TRUE(waitForLine("the session bus has ended"));
    const auto afterTheBusesEnd = std::move(daemon);

    const auto switches = [&] {
        return std::vector{beforeTheReminder->voluntarySwitches(), withoutABus->voluntarySwitches(),
                           withAnUnshownReminder->voluntarySwitches(), afterTheBusesEnd->voluntarySwitches()};
    };
    auto before = switches();
    ASSERT_TRUE(waitUntil([&] {
        std::this_thread::sleep_for(500ms);
        return std::exchange(before, switches()) == before;
    }));
    std::this_thread::sleep_for(idleTime);
    EXPECT_EQ(switches(), before);
    for (const auto& each :
         {beforeTheReminder.get(), withoutABus.get(), withAnUnshownReminder.get(), afterTheBusesEnd.get()}) {
        EXPECT_EQ(each->end(SIGTERM), 0) << each->lines();
    }
}

}  // namespace
}  // namespace quendo::testing

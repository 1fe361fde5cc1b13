/// \file
/// What the buttons do.

#include <cctype>

#include "adapters/cctz/local_calendar.hpp"
#include "adapters/cctz/local_time_zone.hpp"
#include "hostkit/reminder_alarms.hpp"
#include "tests/hostkit/alarms_fixture.hpp"

namespace quendokit::testing {
namespace {

class AlarmButtons : public AlarmsFixture {
protected:
    /// "a" rings at 10:01:00, and it is 10:02:00.
    void ring() {
        begin();
        put({datedItem("a", moment)});
        passTo(start + 120);
        ASSERT_EQ(rung(), Lines{"a"});
    }
    void press(const std::string& action = shortButton) {
        presenter->press(handle(), action);
        turn();
    }
    void expectUntouched() const {
        EXPECT_EQ(dateOf("a"), moment);
        EXPECT_EQ(reports.size(), 1U);
        reportsAreShort();
    }
    void reportsAreShort() const {
        for (const std::string& line : reports) {
            EXPECT_LT(line.size(), 200U);
            EXPECT_EQ(line.find('\n'), std::string::npos);
        }
    }

    const Date moment = start + 60;
};

TEST_F(AlarmButtons, EachPostponesAsItsPresetSays) {
    const std::vector<std::pair<std::string, Date>> buttons{{"short", moment + 1'200},
                                                            {"later", moment + 10'800},
                                                            {"morning", onDay(Day::thursday, hours(9))},
                                                            {"afternoon", onDay(Day::wednesday, hours(12))},
                                                            {"evening", onDay(Day::wednesday, hours(18))}};
    for (const auto& [name, expected] : buttons) {
        SCOPED_TRACE(name);
        itIs(start);
        ring();
        press("quendo.postpone.action." + name);
        EXPECT_EQ(dateOf("a"), expected);
        EXPECT_TRUE(stored("a")->pending);
        EXPECT_EQ(timer, expected);
        EXPECT_EQ(stateOf("a", moment), FiredEntry::State::acted);
        EXPECT_EQ(onScreen(), Lines());
        passTo(expected + 10);
        EXPECT_EQ(rung(), (Lines{"a", "a"}));
        end();
        EXPECT_FALSE(realm->write([&] { realm->deleteAll(); }));
        std::filesystem::remove(ledgerFile);
        std::filesystem::remove(armedFile);
        screen->history.clear();
        screen->shown.clear();
    }
}

TEST_F(AlarmButtons, ALatePressIsReckonedFromNow) {
    ring();
    sleepTo(start + 7'200);
    press();
    EXPECT_EQ(dateOf("a"), start + 7'200 + 1'200);
}

TEST_F(AlarmButtons, ALatePressIsReckonedFromTheMomentWhenThatIsSwitchedOff) {
    options.reckonsLateButtons = false;
    ring();
    sleepTo(start + 7'200);
    press();
    EXPECT_EQ(dateOf("a"), moment + 1'200);
}

TEST_F(AlarmButtons, ADeviceReminderIsPostponedFromNow) {
    begin();
    put({macItem("a")});
    alarms->arrived();
    turn();
    itIs(start + 60);
    press();
    EXPECT_EQ(dateOf("a"), start + 60 + 1'200);
    EXPECT_EQ(stateOf("a", std::nullopt), FiredEntry::State::acted);
    passTo(start + 3'600);
    EXPECT_EQ(rung(), (Lines{"a", "a"}));
}

TEST_F(AlarmButtons, WorkAfterARestart) {
    ring();
    restart();
    press();
    EXPECT_EQ(dateOf("a"), moment + 1'200);
    EXPECT_EQ(rung(), Lines{"a"});
}

TEST_F(AlarmButtons, PressedBeforeTheStartAreAnsweredByIt) {
    ring();
    end();
    make();
    press();
    EXPECT_EQ(dateOf("a"), moment);
    alarms->start();
    turn();
    EXPECT_EQ(dateOf("a"), moment + 1'200);
}

TEST_F(AlarmButtons, PressedTwiceCountOnce) {
    ring();
    press();
    itIs(start + 180);
    press("quendo.postpone.action.later");
    EXPECT_EQ(dateOf("a"), moment + 1'200);
    EXPECT_EQ(reports.size(), 1U);
    restart();
    press("quendo.postpone.action.later");
    EXPECT_EQ(dateOf("a"), moment + 1'200);
    EXPECT_EQ(reports.size(), 2U);
}

TEST_F(AlarmButtons, PressedTwiceBeforeTheFirstIsStoredCountOnce) {
    ring();
    std::vector<std::function<void()>> changes;
    perform = [&](const std::vector<std::string>& ids, std::function<void()> change) {
        EXPECT_EQ(ids, Lines{"a"});
        changes.push_back(std::move(change));
    };
    press();
    press("quendo.postpone.action.later");
    wake();
    ASSERT_EQ(changes.size(), 1U);
    changes.front()();
    EXPECT_EQ(dateOf("a"), moment + 1'200);
}

TEST_F(AlarmButtons, OfADeletedReminderAreIgnored) {
    options.closesOutdated = false;
    ring();
    remove("a");
    press();
    EXPECT_TRUE(stored("a")->deleted);
    expectUntouched();
}

TEST_F(AlarmButtons, OfAReminderThatIsGoneAreIgnored) {
    options.closesOutdated = false;
    ring();
    EXPECT_FALSE(realm->write([&] { realm->deleteAll(); }));
    press();
    EXPECT_FALSE(stored("a"));
    EXPECT_EQ(reports.size(), 1U);
}

TEST_F(AlarmButtons, OfARetimedReminderAreIgnored) {
    options.closesOutdated = false;
    ring();
    put({datedItem("a", start + 9'000)});
    press();
    EXPECT_EQ(dateOf("a"), start + 9'000);
    put({macItem("a")});
    press();
    EXPECT_FALSE(stored("a")->datetime());
}

TEST_F(AlarmButtons, OfAReminderDeletedBeforeThePostponeIsStoredDoNothing) {
    ring();
    std::function<void()> change;
    perform = [&](const std::vector<std::string>&, std::function<void()> given) { change = std::move(given); };
    press();
    remove("a");
    change();
    EXPECT_EQ(dateOf("a"), moment);
    EXPECT_TRUE(stored("a")->deleted);
    EXPECT_EQ(stateOf("a", moment), FiredEntry::State::acted);
}

TEST_F(AlarmButtons, ThatDoNotExistAreIgnored) {
    ring();
    std::string upper = shortButton;
    upper[0] = static_cast<char>(std::toupper(upper[0]));
    for (const std::string& action : {std::string(), upper, std::string(shortButton) + " ", std::string("default"),
                                      std::string("quendo.postpone.category.morning"), std::string(1'000'000, 'x'),
                                      std::string(shortButton) + std::string(1, '\0'), std::string("\xff\n")}) {
        reports.clear();
        press(action);
        expectUntouched();
    }
    press();
    EXPECT_EQ(dateOf("a"), moment + 1'200);
}

TEST_F(AlarmButtons, OfUnknownNotificationsAreIgnored) {
    ring();
    for (const std::string& other : {std::string(), handle() + "0", std::string("screen"), std::string("\n"),
                                     std::string(1'000'000, '1'), std::string("SCREEN 1")}) {
        reports.clear();
        presenter->press(other, shortButton);
        presenter->open(other);
        presenter->dismiss(other, true);
        turn();
        expectUntouched();
    }
}

TEST_F(AlarmButtons, OfASummaryAreIgnored) {
    begin();
    put({datedItem("a", moment)});
    sleepTo(start + days(3));
    ASSERT_EQ(notice().kind, NoticeKind::summary);
    press();
    expectUntouched();
}

TEST_F(AlarmButtons, CountEvenWhenTheServiceTellsOfTheClosingFirst) {
    ring();
    presenter->dismiss(handle(), true);
    press();
    EXPECT_EQ(dateOf("a"), moment + 1'200);
    press("quendo.postpone.action.later");
    EXPECT_EQ(dateOf("a"), moment + 1'200);
}

TEST_F(AlarmButtons, OfWhatWasClosedByAnEarlierProcessAreIgnored) {
    ring();
    presenter->dismiss(handle(), true);
    restart();
    press();
    expectUntouched();
}

TEST_F(AlarmButtons, WhosePostponeCannotBeStoredAreTriedAtTheNextCheck) {
    ring();
    realm->failWrites(2, FailAt::commit, makeRealmError(RealmErrorCode::full, "no room is left"));
    press();
    EXPECT_EQ(dateOf("a"), moment);
    EXPECT_EQ(stateOf("a", moment), FiredEntry::State::pressed);
    // The engine's hints after the failed write do not keep the machine busy.
    EXPECT_EQ(mainQueue->count(), 0U);
    itIs(start + 180);
    wake();
    EXPECT_EQ(dateOf("a"), moment);
    itIs(start + 240);
    wake();
    EXPECT_EQ(dateOf("a"), moment + 1'200);
    EXPECT_EQ(rung(), Lines{"a"});
}

TEST_F(AlarmButtons, OfANameThatTheServiceGivesAgainMeanTheLatest) {
    ring();
    screen->shown.clear();
    screen->lastNumber = 0;
    put({datedItem("b", start + 180)});
    passTo(start + 200);
    ASSERT_EQ(handle(1), handle(0));
    press();
    EXPECT_EQ(dateOf("a"), moment);
    EXPECT_EQ(dateOf("b"), start + 180 + 1'200);
    restart();
    EXPECT_EQ(ledger->shownAs(handle()).size(), 1U);
}

/// Berlin, in winter and in summer time.
class AlarmsInBerlin : public AlarmsFixture {
private:
    static platform::Services services() {
        platform::Services services = platform::services();
        services.calendar = std::make_shared<LocalCalendar>(LocalTimeZone::make("Europe/Berlin"));
        return services;
    }
    const platform::ScopedInstall installed_{services()};
};

TEST_F(AlarmsInBerlin, RingOnceInTheHourThatComesTwiceAndPostponeToTheMorningOnTheWall) {
    // 02:30 of 2026-10-25, in winter time.
    const Date secondHalfPastTwo(1'792'891'800);
    itIs(secondHalfPastTwo - 3'700);
    begin();
    put({datedItem("first", secondHalfPastTwo - 3'600), datedItem("second", secondHalfPastTwo)});
    passTo(secondHalfPastTwo - 1'800);
    wake();
    EXPECT_EQ(rung(), Lines{"first"});
    passTo(secondHalfPastTwo + 10);
    EXPECT_EQ(rung(), (Lines{"first", "second"}));
    presenter->press(handle(1), "quendo.postpone.action.morning");
    turn();
    // 09:00 of that Sunday: its morning is that of a workday, as it is one 86,400 seconds later.
    const Date morning(1'792'915'200);
    EXPECT_EQ(dateOf("second"), morning);
    passTo(morning + 100);
    EXPECT_EQ(rung().size(), 3U);
    EXPECT_EQ(notice(2).category, NotificationCategory(NotificationCategory::Morning));
}

TEST_F(AlarmsInBerlin, RingInTimeOverTheHourThatIsSkipped) {
    // 01:59:50 of 2026-03-29; ten seconds later it is 03:00.
    const Date before(1'774'745'990);
    itIs(before);
    begin();
    put({datedItem("a", before + 20), datedItem("b", before + 3'600)});
    passTo(before + 30);
    wake();
    EXPECT_EQ(rung(), Lines{"a"});
    EXPECT_EQ(timer, before + 3'600);
    passTo(before + 3'700);
    EXPECT_EQ(rung(), (Lines{"a", "b"}));
}

}  // namespace
}  // namespace quendokit::testing

/// \file
/// What rings, and when.

#include "quendokit/options/options.hpp"
#include "tests/hostkit/alarms_fixture.hpp"

namespace quendokit::testing {
namespace {

using Alarms = AlarmsFixture;

TEST_F(Alarms, AReminderRingsOnceRightAfterItsMoment) {
    begin();
    put({datedItem("a", start + 60)});
    EXPECT_EQ(timer, start + 60);
    passTo(start + 60);
    EXPECT_EQ(rung(), Lines());
    passTo(start + 3'600);
    EXPECT_EQ(rung(), Lines{"a"});
    EXPECT_EQ(notice().kind, NoticeKind::reminder);
    EXPECT_EQ(notice().id, "a");
    EXPECT_EQ(notice().occurrence, start + 60);
    EXPECT_FALSE(notice().isMissed);
    EXPECT_EQ(notice().category, NotificationCategory(NotificationCategory::Afternoon));
    EXPECT_EQ(timer, std::nullopt);
    EXPECT_EQ(stateOf("a", start + 60), FiredEntry::State::posted);
    wake();
    EXPECT_EQ(rung().size(), 1U);
}

TEST_F(Alarms, OneThatIsDueAtThisVeryInstantRingsJustAfterIt) {
    begin();
    put({datedItem("a", start + 60)});
    itIs(start + 60);
    alarms->timeReached();
    turn();
    EXPECT_EQ(rung(), Lines());
    ASSERT_TRUE(timer);
    EXPECT_GT(*timer, start + 60);
    EXPECT_LT(*timer, start + 61);
    passTo(start + 61);
    EXPECT_EQ(rung(), Lines{"a"});
}

TEST_F(Alarms, ATimerThatFiresEarlyIsSetAgain) {
    begin();
    put({datedItem("a", start + 60)});
    itIs(start + 59);
    timer.reset();
    alarms->timeReached();
    EXPECT_EQ(timer, start + 60);
}

TEST_F(Alarms, TheTimerIsSetWhenTheNextMomentChangesAndAfterTheClockDoes) {
    begin();
    put({datedItem("a", start + 60)});
    const int before = timerSets;
    put({datedItem("b", start + 90)});
    EXPECT_EQ(timerSets, before);
    put({datedItem("c", start + 30)});
    EXPECT_EQ(timer, start + 30);
    remove("c");
    EXPECT_EQ(timer, start + 60);
    EXPECT_EQ(timerSets, before + 2);
    wake();
    EXPECT_EQ(timerSets, before + 3);
    remove("a");
    remove("b");
    EXPECT_EQ(timer, std::nullopt);
}

TEST_F(Alarms, ManyHintsOfTheEngineMakeOneCheck) {
    begin();
    turn();
    for (int i = 0; i < 100; ++i) {
        controller->store(ReminderStruct("t", ReminderCondition::dateTime(start + 60 + i)));
    }
    EXPECT_EQ(mainQueue->count(), 1U);
    turn();
    EXPECT_EQ(timer, start + 60);
}

TEST_F(Alarms, TheClockIsReadOnceACheck) {
    begin();
    put({datedItem("a", start + 60), datedItem("b", start + 70)});
    const auto before = clock->readCount();
    alarms->storeChanged();
    EXPECT_EQ(clock->readCount(), before + 1);
}

TEST_F(Alarms, WhatWasDueWhileTheMachineWasOffRingsAsMissed) {
    begin();
    put({datedItem("a", start + 60), datedItem("b", start + 3'590), datedItem("c", start + 7'200)});
    end();
    itIs(start + 3'600);
    begin();
    EXPECT_EQ(rung(), (Lines{"a", "b"}));
    EXPECT_TRUE(notice(0).isMissed);
    EXPECT_FALSE(notice(1).isMissed);
    EXPECT_EQ(timer, start + 7'200);
}

TEST_F(Alarms, AMinuteLateIsNotMissedYet) {
    begin();
    put({datedItem("a", start + 60), datedItem("b", Date(start.timeIntervalSince1970() + 59.9))});
    sleepTo(start + 120);
    EXPECT_FALSE(notice(1).isMissed);
    EXPECT_TRUE(notice(0).isMissed);
}

TEST_F(Alarms, WhatWasDueWhileTheMachineSleptRingsAtTheResume) {
    begin();
    put({datedItem("a", start + 60)});
    sleepTo(start + 7'200);
    EXPECT_EQ(rung(), Lines{"a"});
}

TEST_F(Alarms, WithoutCatchingUpOnlyWhatIsJustOverRings) {
    options.catchesUp = false;
    begin();
    put({datedItem("a", start + 60), datedItem("b", start + 590)});
    sleepTo(start + 600);
    EXPECT_EQ(rung(), Lines{"b"});
}

TEST_F(Alarms, AClockThatGoesBackAndForwardRingsNothingTwice) {
    for (const std::int64_t jump : {std::int64_t{3'600}, std::int64_t{365} * 86'400}) {
        SCOPED_TRACE(jump);
        screen->history.clear();
        const std::string id = "a" + std::to_string(jump);
        begin();
        put({datedItem(id, clock->now() + 60)});
        const Date moment = clock->now() + 60;
        passTo(moment + 10);
        EXPECT_EQ(rung(), Lines{id});
        sleepTo(moment - jump);
        EXPECT_EQ(timer, std::nullopt);
        restart();
        sleepTo(moment + 20);
        restart();
        EXPECT_EQ(rung(), Lines{id});
        end();
    }
}

TEST_F(Alarms, AClockThatGoesBackRingsWhatLiesAheadAgainInItsTime) {
    begin();
    put({datedItem("a", start + 7'200)});
    sleepTo(start - 3'600);
    EXPECT_EQ(timer, start + 7'200);
    passTo(start + 7'300);
    EXPECT_EQ(rung(), Lines{"a"});
}

TEST_F(Alarms, AClockThatGoesForwardCatchesUp) {
    begin();
    put({datedItem("a", start + 60), datedItem("b", start + days(300))});
    sleepTo(start + days(365));
    EXPECT_EQ(rung(), Lines{"2: a b"});
    sleepTo(start);
    passTo(start + days(366));
    EXPECT_EQ(rung().size(), 1U);
}

TEST_F(Alarms, AnotherTimeZoneMovesNoMoment) {
    begin();
    put({datedItem("a", start + 7'200)});
    calendar->setSecondsEast(-18'000);
    wake();
    EXPECT_EQ(timer, start + 7'200);
    passTo(start + 7'300);
    EXPECT_EQ(rung(), Lines{"a"});
}

TEST_F(Alarms, ADeletedReminderDoesNotRing) {
    begin();
    put({datedItem("soft", start + 60), datedItem("hard", start + 61), datedItem("kept", start + 62)});
    // The process has not heard of it when the timer fires.
    EXPECT_FALSE(realm->write([&] {
        realm->set<ReminderItem>("soft", {{"deleted", true}});
        realm->delete_(*stored("hard"));
    }));
    passTo(start + 120);
    EXPECT_EQ(rung(), Lines{"kept"});
}

TEST_F(Alarms, ARetimedReminderRingsAtItsNewMomentAlone) {
    begin();
    put({datedItem("a", start + 60)});
    put({datedItem("a", start + 600)});
    passTo(start + 599);
    EXPECT_EQ(rung(), Lines());
    passTo(start + 700);
    EXPECT_EQ(rung(), Lines{"a"});
    put({datedItem("a", start + 900)});
    passTo(start + 1'000);
    EXPECT_EQ(rung(), (Lines{"a", "a"}));
}

TEST_F(Alarms, AnEchoThatMovesAMomentByLessThanAMillisecondChangesNothing) {
    begin();
    const Date exact(start.timeIntervalSince1970() + 60.000'9);
    const Date echo(start.timeIntervalSince1970() + 60.000'0);
    put({datedItem("a", exact)});
    passTo(start + 61);
    put({datedItem("a", echo)});
    EXPECT_EQ(onScreen(), Lines{"a"});
    restart();
    EXPECT_EQ(rung(), Lines{"a"});
    presenter->press(handle(), shortButton);
    turn();
    EXPECT_GT(dateOf("a"), start + 600);
}

TEST_F(Alarms, AnEchoWhileTheMachineIsOffChangesNothing) {
    begin();
    put({datedItem("a", Date(start.timeIntervalSince1970() + 60.000'9))});
    end();
    itIs(start + 600);
    put({shownItem("a", start + 60)});
    begin();
    EXPECT_EQ(rung(), Lines());
    put({datedItem("b", Date(start.timeIntervalSince1970() + 660.000'9))});
    end();
    itIs(start + days(2));
    put({datedItem("b", start + 660)});
    begin();
    EXPECT_EQ(rung(), Lines{"1: b"});
}

TEST_F(Alarms, WhatWasSeenElsewhereSinceDoesNotRing) {
    begin();
    put({datedItem("a", start + 60), datedItem("b", start + 60)});
    end();
    itIs(start + 600);
    put({shownItem("a", start + 60)});
    begin();
    EXPECT_EQ(rung(), Lines{"b"});
}

TEST_F(Alarms, WhatWasShownAndThenPostponedRingsAgain) {
    begin();
    put({shownItem("a", start + 60)});
    passTo(start + 120);
    EXPECT_EQ(rung(), Lines{"a"});
}

TEST_F(Alarms, AFirstSyncWithALongHistoryRingsNothing) {
    put({datedItem("before the start", start - 3'600)});
    begin();
    std::vector<ReminderItem> history;
    for (int i = 0; i < 1'000; ++i) {
        history.push_back(datedItem("seen or not " + std::to_string(i), start - 60 - i * 7'200));
    }
    put(history);
    wake();
    restart();
    EXPECT_EQ(rung(), Lines());
}

TEST_F(Alarms, WhatIsKnownOnlyAfterItsMomentRingsForADay) {
    begin();
    sleepTo(start + days(3));
    put({datedItem("recent", start + days(3) - 3'600), datedItem("old", start + days(1)),
         shownItem("seen", start + days(3) - 3'600)});
    EXPECT_EQ(rung(), Lines{"recent"});
    EXPECT_TRUE(notice().isMissed);
}

TEST_F(Alarms, WhatIsKnownOnlyAfterItsMomentDoesNotRingWhenSwitchedOff) {
    options.ringsLateArrivals = false;
    begin();
    sleepTo(start + 3'600);
    put({datedItem("late", start + 60)});
    EXPECT_EQ(rung(), Lines());
}

TEST_F(Alarms, WhatTheCommandLineStoresOrPostponesWhileTheProcessIsAwayRings) {
    begin();
    end();
    itIs(start + days(2));
    ReminderItem postponed = shownItem("postponed", start + 7'200);
    postponed.pending = true;
    postponed.completionDate = postponed._datetime;
    put({datedItem("stored", start + 3'600), postponed, shownItem("seen", start + 7'200)});
    begin();
    EXPECT_EQ(rung(), Lines{"2: stored postponed"});
}

TEST_F(Alarms, AControllerMayBeReplaced) {
    begin();
    put({datedItem("a", start + 60)});
    controller = ReminderController::create(nullptr, realm);
    alarms->setController(controller);
    passTo(start + 120);
    EXPECT_EQ(rung(), Lines{"a"});
}

TEST_F(Alarms, AFailedWriteOfTheEngineDisarmsNothing) {
    begin();
    put({datedItem("a", start + 60)});
    realm->failWrites(1, FailAt::commit, makeRealmError(RealmErrorCode::full, "no room is left"));
    controller->delete_(*controller->reminder("a"));
    turn();
    passTo(start + 120);
    EXPECT_EQ(rung(), Lines{"a"});
}

TEST_F(Alarms, ADayPlanWhoseTimesCoincideEndsNothing) {
    begin();
    Options::setAfternoon(Options::Evening());
    Options::setWorkdayMorning(Options::Evening());
    Options::setWeekendMorning(Options::Evening());
    put({datedItem("a", start + 60)});
    passTo(start + 120);
    EXPECT_EQ(notice().category, NotificationCategory(NotificationCategory::Morning));
}

TEST_F(Alarms, LooksAtNothingOfItsOwnAccord) {
    begin();
    passTo(start + days(30));
    EXPECT_EQ(mainLoop->timerCount(), 0U);
    EXPECT_EQ(mainQueue->count(), 0U);
    EXPECT_EQ(timer, std::nullopt);
}

TEST_F(Alarms, TheLastCheckIsWrittenWhenItHasMovedByMoreThanAMinute) {
    begin();
    const auto before = ledger->syncCount();
    sleepTo(start + 60);
    EXPECT_EQ(ledger->syncCount(), before);
    sleepTo(start + 61);
    EXPECT_EQ(ledger->syncCount(), before + 1);
    EXPECT_EQ(ledger->lastCheck(), start + 61);
    sleepTo(start);
    EXPECT_EQ(ledger->lastCheck(), start);
}

}  // namespace
}  // namespace quendokit::testing

/// \file
/// What stands on the screen, and for how long.

#include "tests/hostkit/alarms_fixture.hpp"
#include "tests/support/full_disk.hpp"

namespace quendokit::testing {
namespace {

using AlarmScreen = AlarmsFixture;

std::vector<ReminderItem> manyItems(std::size_t count, Date from) {
    std::vector<ReminderItem> items;
    for (std::size_t i = 0; i < count; ++i) {
        const std::string number = std::to_string(i);
        items.push_back(datedItem(std::string(4 - number.size(), '0') + number, from + static_cast<int>(i)));
    }
    return items;
}

TEST_F(AlarmScreen, TenAtOnceAreShownOneByOneElevenAreASummary) {
    begin();
    put(manyItems(10, start + 60));
    sleepTo(start + 120);
    EXPECT_EQ(rung().size(), 10U);
    screen->history.clear();
    put(manyItems(11, start + 180));
    sleepTo(start + 240);
    EXPECT_EQ(rung(), Lines{"11: 0000 0001 0002 0003 0004"});
    EXPECT_EQ(notice().kind, NoticeKind::summary);
    EXPECT_EQ(notice().occurrence, std::nullopt);
    EXPECT_EQ(notice().id, "");
}

TEST_F(AlarmScreen, AThousandAtOnceAreOneSummaryAndOneWaitForTheDisk) {
    answersByHand = true;
    begin();
    put(manyItems(1'000, start + 60));
    itIs(start + 1'800);
    const auto before = ledger->syncCount();
    alarms->timeReached();
    EXPECT_EQ(ledger->syncCount(), before + 1);
    EXPECT_EQ(ledger->in(FiredEntry::State::due).size(), 1'000U);
    EXPECT_TRUE(presenter->answerNext());
    EXPECT_EQ(ledger->syncCount(), before + 2);
    EXPECT_EQ(ledger->in(FiredEntry::State::posted).size(), 1'000U);
    EXPECT_EQ(rung(), Lines{"1000: 0000 0001 0002 0003 0004"});
    restart();
    EXPECT_EQ(rung().size(), 1U);
}

TEST_F(AlarmScreen, WithoutSummariesEachIsShown) {
    options.summarises = false;
    begin();
    put(manyItems(20, start + 60));
    sleepTo(start + days(2));
    EXPECT_EQ(rung().size(), 20U);
}

TEST_F(AlarmScreen, WhatIsOlderThanADayIsOneSummaryBesideTheOthers) {
    begin();
    put({datedItem("old", start + 60), datedItem("older", start + 30), datedItem("young", start + days(1) + 3'600)});
    sleepTo(start + days(1) + 7'200);
    EXPECT_EQ(rung(), (Lines{"2: older old", "young"}));
}

TEST_F(AlarmScreen, ASummaryIsClosedWithTheLastOfWhatItSpeaksOf) {
    begin();
    put({datedItem("a", start + 60), datedItem("b", start + 61)});
    sleepTo(start + days(2));
    remove("a");
    EXPECT_EQ(onScreen(), Lines{"2: a b"});
    remove("b");
    EXPECT_EQ(onScreen(), Lines());
    EXPECT_EQ(screen->closed.size(), 1U);
}

TEST_F(AlarmScreen, ReadingASummaryMarksNothingSeen) {
    begin();
    put({datedItem("a", start + 60), datedItem("b", start + 61)});
    sleepTo(start + days(2));
    presenter->open(handle());
    presenter->dismiss(handle(), true);
    turn();
    EXPECT_FALSE(isSeen("a"));
    EXPECT_EQ(stateOf("a", start + 60), FiredEntry::State::acted);
    wake();
    EXPECT_EQ(rung().size(), 1U);
}

TEST_F(AlarmScreen, WithoutAServiceItRingsWhenThereIsOne) {
    begin();
    presenter->setAbsent(true);
    put({datedItem("a", start + 60)});
    passTo(start + 120);
    EXPECT_EQ(rung(), Lines());
    EXPECT_EQ(failures, Lines{"there is no notification service"});
    EXPECT_EQ(stateOf("a", start + 60), FiredEntry::State::due);
    EXPECT_EQ(mainQueue->count(), 0U);
    presenter->setAbsent(false);
    turn();
    EXPECT_EQ(rung(), Lines{"a"});
    presenter->setAbsent(false);
    turn();
    EXPECT_EQ(rung(), Lines{"a"});
}

TEST_F(AlarmScreen, WhatCouldNotBeShownIsTriedAtTheNextCheck) {
    begin();
    presenter->failNext(2, Error{"Screen", 7, "not now"});
    put({datedItem("a", start + 60)});
    passTo(start + 120);
    wake();
    EXPECT_EQ(rung(), Lines());
    EXPECT_EQ(failures, (Lines{"not now", "not now"}));
    wake();
    EXPECT_EQ(rung(), Lines{"a"});
    EXPECT_FALSE(ledger->find("a", start + 60)->handle.empty());
}

TEST_F(AlarmScreen, AServiceThatFailsIsAskedAgainEverLaterAndNotForEver) {
    begin();
    Error busy{"Screen", 7, "not now"};
    busy.retryAfter = 1;
    presenter->failNext(1'000, busy);
    put({datedItem("a", start + 60)});
    passTo(start + 61);
    passTo(start + 68);
    EXPECT_EQ(failures.size(), 4U) << "at its time, and after 1, 2 and 4 seconds";
    passTo(start + 86'400);
    EXPECT_EQ(failures.size(), 12U);
    EXPECT_FALSE(timer) << "nothing wakes the machine up for what cannot be done";
    presenter->failNext(0, busy);
    wake();
    EXPECT_EQ(rung(), Lines{"a"});
}

TEST_F(AlarmScreen, AServiceThatFailedOnceShowsItASecondLater) {
    begin();
    Error busy{"Screen", 7, "not now"};
    busy.retryAfter = 1;
    presenter->failNext(1, busy);
    put({datedItem("a", start + 60), datedItem("b", start + 3'600)});
    passTo(start + 63);
    EXPECT_EQ(rung(), Lines{"a"});
    EXPECT_EQ(timer, start + 3'600);
}

TEST_F(AlarmScreen, WhatCouldNotBeShownAndIsDeletedRetimedOrSeenMeanwhileIsNot) {
    begin();
    presenter->setAbsent(true);
    put({datedItem("deleted", start + 60), datedItem("moved", start + 60), datedItem("seen", start + 60),
         datedItem("kept", start + 60)});
    passTo(start + 120);
    remove("deleted");
    put({datedItem("moved", start + 600), shownItem("seen", start + 60)});
    presenter->setAbsent(false);
    turn();
    EXPECT_EQ(rung(), Lines{"kept"});
    EXPECT_EQ(stateOf("deleted", start + 60), FiredEntry::State::acted);
    EXPECT_EQ(stateOf("moved", start + 60), FiredEntry::State::acted);
}

TEST_F(AlarmScreen, OneOnItsWayIsNotShownAgain) {
    answersByHand = true;
    begin();
    put({datedItem("a", start + 60)});
    passTo(start + 120);
    wake();
    wake();
    EXPECT_EQ(presenter->waitingCount(), 1U);
    EXPECT_EQ(rung(), Lines{"a"});
}

TEST_F(AlarmScreen, OneThatIsDeletedOnItsWayIsClosedWhenItStandsThere) {
    answersByHand = true;
    begin();
    put({datedItem("a", start + 60)});
    passTo(start + 120);
    remove("a");
    EXPECT_EQ(onScreen(), Lines{"a"});
    presenter->answerNext();
    EXPECT_EQ(onScreen(), Lines());
}

TEST_F(AlarmScreen, WhatIsDeletedRetimedOrSeenElsewhereIsClosed) {
    begin();
    put({datedItem("deleted", start + 60), datedItem("gone", start + 60), datedItem("moved", start + 60),
         datedItem("seen", start + 60), shownItem("seen before", start + 60), datedItem("kept", start + 60)});
    passTo(start + 120);
    EXPECT_EQ(onScreen().size(), 6U);
    remove("deleted");
    put({datedItem("moved", start + 600), shownItem("seen", start + 60)});
    EXPECT_FALSE(realm->write([&] { realm->delete_(*stored("gone")); }));
    alarms->storeChanged();
    EXPECT_THAT(onScreen(), ::testing::UnorderedElementsAre("seen before", "kept"));
    EXPECT_EQ(stateOf("seen", start + 60), FiredEntry::State::acted);
}

TEST_F(AlarmScreen, WhatIsOutdatedStaysWhenThatIsSwitchedOff) {
    options.closesOutdated = false;
    begin();
    put({datedItem("a", start + 60)});
    passTo(start + 120);
    remove("a");
    EXPECT_EQ(onScreen(), Lines{"a"});
}

TEST_F(AlarmScreen, WhatBecameOutdatedWhileTheProcessWasAwayIsClosedAtItsStart) {
    begin();
    put({datedItem("a", start + 60)});
    passTo(start + 120);
    end();
    remove("a");
    begin();
    EXPECT_EQ(onScreen(), Lines());
}

TEST_F(AlarmScreen, OpeningOrClosingMarksSeen) {
    begin();
    put({datedItem("opened", start + 60), datedItem("closed", start + 61), datedItem("expired", start + 62)});
    passTo(start + 120);
    presenter->open(handle(0));
    presenter->dismiss(handle(1), true);
    presenter->dismiss(handle(2), false);
    turn();
    EXPECT_TRUE(isSeen("opened"));
    EXPECT_TRUE(isSeen("closed"));
    EXPECT_TRUE(stored("closed")->pending);
    EXPECT_FALSE(isSeen("expired"));
    for (int i = 0; i < 3; ++i) {
        EXPECT_EQ(ledger->shownAs(handle(static_cast<std::size_t>(i))).front().state, FiredEntry::State::acted);
    }
    EXPECT_EQ(rung().size(), 3U);
}

TEST_F(AlarmScreen, WhatIsMarkedSeenIsReadRightBefore) {
    begin();
    put({datedItem("a", start + 60), datedItem("deleted", start + 61), datedItem("moved", start + 62)});
    passTo(start + 120);
    std::vector<std::function<void()>> changes;
    perform = [&](const std::vector<std::string>&, std::function<void()> change) {
        changes.push_back(std::move(change));
    };
    for (std::size_t i = 0; i < 3; ++i) {
        presenter->dismiss(handle(i), true);
    }
    EXPECT_EQ(changes.size(), 3U);
    ReminderItem renamed = datedItem("a", start + 60);
    renamed.title = "new title";
    ReminderItem deleted = datedItem("deleted", start + 61);
    deleted.deleted = true;
    EXPECT_FALSE(
        realm->write([&] { realm->add(std::vector{renamed, deleted, datedItem("moved", start + 600)}, true); }));
    for (const auto& change : changes) {
        change();
    }
    EXPECT_EQ(stored("a")->title, "new title");
    EXPECT_TRUE(isSeen("a"));
    EXPECT_TRUE(stored("deleted")->deleted);
    EXPECT_FALSE(isSeen("deleted"));
    EXPECT_FALSE(isSeen("moved"));
}

TEST_F(AlarmScreen, ADeviceReminderIsShownAtTheArrivalAndMarkedSeen) {
    begin();
    ReminderItem deleted = macItem("deleted");
    deleted.deleted = true;
    put({macItem("a"), macItem("seen", true), deleted, deviceItem("nowhere", 7, false)});
    wake();
    EXPECT_EQ(rung(), Lines());
    alarms->arrived();
    EXPECT_FALSE(isSeen("a"));
    turn();
    EXPECT_EQ(rung(), Lines{"a"});
    EXPECT_EQ(notice().kind, NoticeKind::deviceReminder);
    EXPECT_EQ(notice().occurrence, std::nullopt);
    EXPECT_FALSE(notice().isMissed);
    EXPECT_TRUE(isSeen("a"));
    alarms->arrived();
    wake();
    EXPECT_EQ(rung(), Lines{"a"});
    EXPECT_EQ(onScreen(), Lines{"a"});
}

TEST_F(AlarmScreen, ADeviceReminderThatCouldNotBeMarkedSeenIsMarkedAtTheNextArrival) {
    begin();
    put({macItem("a")});
    realm->failWrites(1, FailAt::commit, makeRealmError(RealmErrorCode::full, "no room is left"));
    alarms->arrived();
    turn();
    EXPECT_FALSE(isSeen("a"));
    restart();
    alarms->arrived();
    turn();
    EXPECT_TRUE(isSeen("a"));
    EXPECT_EQ(rung(), Lines{"a"});
}

TEST_F(AlarmScreen, ADeviceReminderThatWaitsAnewIsShownAnew) {
    begin();
    put({macItem("a")});
    alarms->arrived();
    turn();
    put({macItem("a")});
    alarms->arrived();
    turn();
    EXPECT_EQ(rung(), (Lines{"a", "a"}));
    EXPECT_EQ(onScreen(), Lines{"a"});
    EXPECT_TRUE(isSeen("a"));
}

TEST_F(AlarmScreen, AnArrivalBeforeTheStartCounts) {
    put({macItem("a")});
    make();
    alarms->arrived();
    EXPECT_EQ(rung(), Lines());
    alarms->start();
    turn();
    EXPECT_EQ(rung(), Lines{"a"});
}

TEST_F(AlarmScreen, AFullDiskKeepsNothingFromRinging) {
    begin();
    put({datedItem("a", start + 60), datedItem("b", start + 600)});
    {
        const FullDisk full;
        passTo(start + 120);
        EXPECT_EQ(rung(), Lines{"a"});
        EXPECT_FALSE(failures.empty());
        wake();
        EXPECT_EQ(rung(), Lines{"a"});
    }
    failures.clear();
    passTo(start + 700);
    EXPECT_EQ(rung(), (Lines{"a", "b"}));
    EXPECT_EQ(failures, Lines());
    // What could not be written then was written since.
    restart();
    EXPECT_EQ(rung(), (Lines{"a", "b"}));
}

TEST_F(AlarmScreen, WhatRingsOverAFullDiskRingsAgainAfterACrashAtMost) {
    begin();
    put({datedItem("a", start + 60)});
    {
        const FullDisk full;
        passTo(start + 120);
        EXPECT_EQ(rung(), Lines{"a"});
        end();
    }
    begin();
    EXPECT_EQ(rung(), (Lines{"a", "a"}));
}

}  // namespace
}  // namespace quendokit::testing

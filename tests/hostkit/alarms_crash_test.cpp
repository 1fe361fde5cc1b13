/// \file
/// A process that ends between two steps.

#include "tests/hostkit/alarms_fixture.hpp"

namespace quendokit::testing {
namespace {

class AlarmCrashes : public AlarmsFixture {
protected:
    /// "a" is armed for 10:01:00.
    void armOne() {
        begin();
        put({datedItem("a", moment)});
    }

    const Date moment = start + 60;
};

TEST_F(AlarmCrashes, BeforeWhatIsDueIsNotedLoseNothing) {
    armOne();
    end();
    itIs(start + 120);
    begin();
    EXPECT_EQ(rung(), Lines{"a"});
}

TEST_F(AlarmCrashes, BetweenTheLedgerAndTheScreenShowAtTheNextStart) {
    armOne();
    itIs(start + 120);
    presenter->setAbsent(true);
    alarms->timeReached();
    restart();
    EXPECT_EQ(rung(), Lines{"a"});
    restart();
    EXPECT_EQ(rung(), Lines{"a"});
}

TEST_F(AlarmCrashes, BetweenTheScreenAndTheLedgerShowAgainAndOnceOnly) {
    answersByHand = true;
    armOne();
    itIs(start + 120);
    alarms->timeReached();
    answersByHand = false;
    restart();
    EXPECT_EQ(rung(), (Lines{"a", "a"}));
    restart();
    EXPECT_EQ(rung(), (Lines{"a", "a"}));
}

TEST_F(AlarmCrashes, OfWhatWasDueShowNothingThatIsDeletedMeanwhile) {
    answersByHand = true;
    armOne();
    itIs(start + 120);
    presenter->setAbsent(true);
    alarms->timeReached();
    end();
    remove("a");
    answersByHand = false;
    begin();
    EXPECT_EQ(rung(), Lines());
    EXPECT_EQ(stateOf("a", moment), FiredEntry::State::acted);
}

TEST_F(AlarmCrashes, AfterTheLedgerKnowsOfTheScreenShowNothingAgain) {
    armOne();
    passTo(start + 120);
    restart();
    EXPECT_EQ(rung(), Lines{"a"});
    EXPECT_EQ(stateOf("a", moment), FiredEntry::State::posted);
}

TEST_F(AlarmCrashes, BetweenAPressAndTheStoreFinishThePress) {
    armOne();
    passTo(start + 120);
    perform = [](const std::vector<std::string>&, const std::function<void()>&) {};
    presenter->press(handle(), shortButton);
    EXPECT_EQ(dateOf("a"), moment);
    perform = nullptr;
    restart();
    EXPECT_EQ(dateOf("a"), moment + 1'200);
    EXPECT_EQ(stateOf("a", moment), FiredEntry::State::acted);
    EXPECT_EQ(timer, moment + 1'200);
}

TEST_F(AlarmCrashes, BetweenAPressAndTheStoreFinishItFromNowWhenItIsOver) {
    armOne();
    passTo(start + 120);
    perform = [](const std::vector<std::string>&, const std::function<void()>&) {};
    presenter->press(handle(), shortButton);
    end();
    perform = nullptr;
    itIs(start + 7'200);
    begin();
    EXPECT_EQ(dateOf("a"), start + 7'200 + 1'200);
    EXPECT_EQ(rung(), Lines{"a"});
}

TEST_F(AlarmCrashes, BetweenAPressAndTheStoreOfADeviceReminderKeepWhenItWasPressed) {
    begin();
    put({macItem("a")});
    alarms->arrived();
    turn();
    perform = [](const std::vector<std::string>&, const std::function<void()>&) {};
    presenter->press(handle(), shortButton);
    end();
    perform = nullptr;
    itIs(start + 600);
    begin();
    EXPECT_EQ(dateOf("a"), start + 1'200);
}

TEST_F(AlarmCrashes, BetweenAPressAndTheStoreUndoNoNewerChange) {
    armOne();
    passTo(start + 120);
    perform = [](const std::vector<std::string>&, const std::function<void()>&) {};
    presenter->press(handle(), shortButton);
    end();
    perform = nullptr;
    put({datedItem("a", start + 9'000)});
    begin();
    EXPECT_EQ(dateOf("a"), start + 9'000);
    EXPECT_EQ(stateOf("a", moment), FiredEntry::State::acted);
}

TEST_F(AlarmCrashes, BetweenTheStoreAndTheLedgerPostponeOnce) {
    armOne();
    passTo(start + 120);
    std::function<void()> finish;
    perform = [&](const std::vector<std::string>&, std::function<void()> change) { finish = std::move(change); };
    presenter->press(handle(), shortButton);
    perform = nullptr;
    // The ledger as it was then, and the store as it was after.
    const auto noted = folder.path() / "noted";
    std::filesystem::copy_file(ledgerFile, noted);
    finish();
    end();
    std::filesystem::rename(noted, ledgerFile);
    itIs(start + 600);
    begin();
    EXPECT_EQ(dateOf("a"), moment + 1'200);
    EXPECT_EQ(stateOf("a", moment), FiredEntry::State::acted);
    passTo(start + 3'600);
    EXPECT_EQ(rung(), (Lines{"a", "a"}));
}

TEST_F(AlarmCrashes, BetweenTheStoreAndTheLedgerOfASeenReminderEndWell) {
    armOne();
    passTo(start + 120);
    const auto noted = folder.path() / "noted";
    std::filesystem::copy_file(ledgerFile, noted);
    presenter->open(handle());
    turn();
    end();
    std::filesystem::rename(noted, ledgerFile);
    begin();
    EXPECT_EQ(rung(), Lines{"a"});
    EXPECT_EQ(onScreen(), Lines());
    EXPECT_EQ(stateOf("a", moment), FiredEntry::State::acted);
}

TEST_F(AlarmCrashes, ThatLoseTheArmedListStillRingWhatIsRecent) {
    armOne();
    end();
    std::filesystem::remove(armedFile);
    itIs(start + 3'600);
    begin();
    EXPECT_EQ(rung(), Lines{"a"});
}

TEST_F(AlarmCrashes, ThatDamageTheArmedListSayItOnceAndKeepItAside) {
    armOne();
    end();
    std::filesystem::resize_file(armedFile, std::filesystem::file_size(armedFile) - 3);
    itIs(start + 3'600);
    begin();
    EXPECT_EQ(rung(), Lines{"a"});
    EXPECT_EQ(reports.size(), 1U);
    EXPECT_TRUE(std::filesystem::exists(folder.path() / "armed.damaged"));
    restart();
    EXPECT_EQ(reports.size(), 1U);
}

TEST_F(AlarmCrashes, ThatLoseTheLedgerRingAtMostWhatIsOnTheArmedList) {
    armOne();
    passTo(start + 120);
    put({datedItem("b", start + 600)});
    end();
    std::filesystem::remove(ledgerFile);
    itIs(start + 700);
    begin();
    EXPECT_EQ(rung(), (Lines{"a", "b"}));
}

}  // namespace
}  // namespace quendokit::testing

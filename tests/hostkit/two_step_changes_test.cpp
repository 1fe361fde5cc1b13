#include "hostkit/two_step_changes.hpp"

#include <functional>

#include "hostkit/intent_journal.hpp"
#include "tests/support/store_fixture.hpp"
#include "tests/support/temporary_folder.hpp"

namespace quendokit::testing {
namespace {

namespace fs = std::filesystem;

class TwoSteps : public StoreFixture {
protected:
    static ReminderCondition at(Date date) { return ReminderCondition::dateTime(date); }
    static ReminderCondition atMac() { return ReminderCondition::device(DeviceType::mac); }
    static ReminderItem unsent(ReminderItem item) {
        item.pending = true;
        return item;
    }

    [[nodiscard]] std::shared_ptr<IntentJournal> open() const {
        auto journal = IntentJournal::open(file_);
        EXPECT_TRUE(journal) << journal.error().description;
        return std::move(journal).value();
    }
    [[nodiscard]] TwoStepChanges changes() const { return {controller, open()}; }

    void expectNothingLeft() const { EXPECT_TRUE(open()->leftovers().empty()); }

    /// Plays `change` once as a whole. Then, for each number of its steps, over the same beginning: the process ends
    /// after so many, and the next one finishes the change. All must end alike.
    void playEveryCrash(const std::vector<ReminderItem>& beginning, const std::function<void(TwoStepChanges&)>& change,
                        const std::vector<std::function<void()>>& steps) {
        put(beginning);
        const fs::path noted = folder_.path() / "noted";
        delegate->onRemove([&] { fs::copy_file(file_, noted, fs::copy_options::overwrite_existing); });
        TwoStepChanges whole = changes();
        change(whole);
        delegate->onRemove(nullptr);
        const Lines expected = storedTexts();
        for (std::size_t count = 0; count <= steps.size(); ++count) {
            SCOPED_TRACE(count);
            ASSERT_FALSE(realm->write([&] { realm->deleteAll(); }));
            put(beginning);
            for (std::size_t i = 0; i < count; ++i) {
                steps[i]();
            }
            fs::copy_file(noted, file_, fs::copy_options::overwrite_existing);
            const auto error = changes().finishLeftovers();
            EXPECT_FALSE(error) << error->description;
            EXPECT_EQ(storedTexts(), expected);
            expectNothingLeft();
        }
    }

    TemporaryFolder folder_;
    fs::path file_ = folder_.path() / "intents";
};

using EditingInTwoSteps = TwoSteps;

TEST_P(EditingInTwoSteps, StoresAndMakesItCountAsChanged) {
    put({datedItem("a", after(60)), datedItem("kept", after(60))});
    EXPECT_FALSE(changes().edit(ReminderStruct("a", "new title", false, at(after(600)))));
    ReminderItem expected = unsent(datedItem("a", after(600)));
    expected.title = "new title";
    EXPECT_EQ(storedTexts(), (Lines{text(expected), text(datedItem("kept", after(60)))}));
    expectNothingLeft();
}

TEST_P(EditingInTwoSteps, KeepsShownAsGiven) {
    put({macItem("a", true)});
    EXPECT_FALSE(changes().edit(ReminderStruct("a", "a", false, atMac())));
    EXPECT_EQ(ids(lists().macReminders), Lines{"a"});
    EXPECT_FALSE(changes().edit(ReminderStruct("a", "a", true, atMac())));
    EXPECT_EQ(ids(lists().remainingReminders), Lines{"a"});
}

TEST_P(EditingInTwoSteps, LeavesADeletedReminderDeleted) {
    ReminderItem gone = datedItem("a", after(60));
    gone.deleted = true;
    put({gone});
    EXPECT_FALSE(changes().edit(ReminderStruct("a", "back?", false, at(after(600)))));
    EXPECT_EQ(storedTexts(), Lines{text(gone)});
    EXPECT_TRUE(scheduler->scheduled().empty());
}

TEST_P(EditingInTwoSteps, IsFinishedAfterACrashAtAnyStep) {
    const ReminderStruct edited("a", "line\nfeed, \"quotes\", 🗃", false, at(after(600.125)));
    playEveryCrash({datedItem("a", after(60)), macItem("other")},
                   [&](TwoStepChanges& two) { EXPECT_FALSE(two.edit(edited)); },
                   {[&] { controller->store(edited); }, [&] { controller->postpone(edited, edited.condition()); }});
}

TEST_P(EditingInTwoSteps, ToTheMacIsFinishedAfterACrashAtAnyStep) {
    const ReminderStruct edited("a", "a", true, atMac());
    playEveryCrash({datedItem("a", after(60))}, [&](TwoStepChanges& two) { EXPECT_FALSE(two.edit(edited)); },
                   {[&] { controller->store(edited); }, [&] { controller->postpone(edited, edited.condition()); }});
}

TEST_P(EditingInTwoSteps, ThatCannotBeginChangesNothingNowOrLater) {
    put({datedItem("a", after(60))});
    const Lines before = storedTexts();
    for (const FailAt failAt : {FailAt::begin, FailAt::commit}) {
        realm->failNextWrite(failAt);
        const auto error = changes().edit(ReminderStruct("a", "new", false, at(after(600))));
        ASSERT_TRUE(error);
        EXPECT_EQ(error->code, static_cast<int>(TwoStepChanges::ErrorCode::notDone));
        EXPECT_EQ(storedTexts(), before);
        expectNothingLeft();
    }
}

TEST_P(EditingInTwoSteps, WhoseSecondStepFailsIsFinishedByTheNextStart) {
    put({datedItem("a", after(60))});
    delegate->onRemove([&] { realm->failNextWrite(FailAt::begin); });
    const auto error = changes().edit(ReminderStruct("a", "new", false, at(after(600))));
    ASSERT_TRUE(error);
    EXPECT_EQ(error->code, static_cast<int>(TwoStepChanges::ErrorCode::halfDone));
    EXPECT_FALSE(stored()[0].pending);
    delegate->onRemove(nullptr);
    EXPECT_FALSE(changes().finishLeftovers());
    EXPECT_TRUE(stored()[0].pending);
    EXPECT_EQ(stored()[0].title, "new");
    expectNothingLeft();
}

TEST_P(EditingInTwoSteps, WhoseSecondStepFailsIsFinishedBeforeTheNextEdit) {
    put({datedItem("a", after(60)), datedItem("b", after(60))});
    TwoStepChanges two = changes();
    delegate->onRemove([&] { realm->failNextWrite(FailAt::begin); });
    EXPECT_TRUE(two.edit(ReminderStruct("a", "first", false, at(after(600)))));
    delegate->onRemove(nullptr);
    EXPECT_FALSE(two.edit(ReminderStruct("b", "second", false, at(after(600)))));
    EXPECT_EQ(ids(controller->remindersToUpload().value()), (Lines{"a", "b"}));
    expectNothingLeft();
}

TEST_P(EditingInTwoSteps, WhoseSecondStepFailsUndoesNoNewerChangeOnceItIsFinished) {
    put({datedItem("a", after(60)), datedItem("b", after(60))});
    TwoStepChanges two = changes();
    const auto editHalf = [&](const char* id) {
        delegate->onRemove([&] { realm->failNextWrite(FailAt::begin); });
        EXPECT_TRUE(two.edit(ReminderStruct(id, "new", false, at(after(600)))));
        delegate->onRemove(nullptr);
    };
    editHalf("a");
    EXPECT_FALSE(two.finishLeftovers());
    controller->postpone(*controller->reminder("a"), at(after(900)));
    editHalf("b");
    EXPECT_FALSE(two.finishLeftovers());
    EXPECT_FALSE(changes().finishLeftovers());
    EXPECT_EQ(controller->reminder("a")->condition(), at(after(900)));
    EXPECT_TRUE(stored()[1].pending);
}

TEST_P(EditingInTwoSteps, WaitsForAnEarlierChangeThatCannotBeFinished) {
    put({datedItem("a", after(60)), datedItem("b", after(60))});
    TwoStepChanges two = changes();
    delegate->onRemove([&] { realm->failNextWrite(FailAt::begin); });
    EXPECT_TRUE(two.edit(ReminderStruct("a", "first", false, at(after(600)))));
    EXPECT_TRUE(two.edit(ReminderStruct("b", "second", false, at(after(600)))));
    EXPECT_EQ(stored()[1].title, "b");
    EXPECT_EQ(open()->leftovers().size(), 1U);
}

TEST_P(EditingInTwoSteps, WithoutAJournalTakesTheSameSteps) {
    put({datedItem("a", after(60))});
    TwoStepChanges unprotected(controller, nullptr);
    EXPECT_FALSE(unprotected.finishLeftovers());
    EXPECT_FALSE(unprotected.edit(ReminderStruct("a", "new", false, at(after(600)))));
    EXPECT_EQ(stored()[0].title, "new");
    EXPECT_TRUE(stored()[0].pending);
}

TEST_P(EditingInTwoSteps, WithoutAnIdIsFatal) {
    EXPECT_DEATH(static_cast<void>(changes().edit(ReminderStruct("no id", atMac()))), "");
}

using ReplacingInTwoSteps = TwoSteps;

TEST_P(ReplacingInTwoSteps, StoresANewReminderAndDeletesTheOldOne) {
    put({macItem("old", true)});
    auto id = changes().replace("old", ReminderStruct("t", atMac()));
    ASSERT_TRUE(id);
    EXPECT_EQ(id.value(), "fresh-1");
    EXPECT_EQ(ids(lists(false).macReminders), Lines{"fresh-1"});
    EXPECT_EQ(ids(controller->remindersToUpload().value()), Lines{"fresh-1"});
    EXPECT_EQ(ids(controller->remindersToDelete().value()), Lines{"old"});
    expectNothingLeft();
}

TEST_P(ReplacingInTwoSteps, IsFinishedAfterACrashAtAnyStepWithoutASecondNewReminder) {
    const ReminderStruct successor("fresh-1", "t", false, atMac());
    const ReminderItem old = macItem("old", true);
    playEveryCrash({old}, [&](TwoStepChanges& two) { EXPECT_TRUE(two.replace("old", successor)); },
                   {[&] { controller->store(successor); }, [&] { controller->postpone(successor, atMac()); },
                    [&] { controller->delete_(reminderOf(old)); }});
}

TEST_P(ReplacingInTwoSteps, WhatIsGoneStoresTheNewReminderAlone) {
    EXPECT_TRUE(changes().replace("unknown", ReminderStruct("t", atMac())));
    EXPECT_EQ(ids(controller->reminders(true)), Lines{"fresh-1"});
    expectNothingLeft();
}

TEST_P(ReplacingInTwoSteps, ThatCannotBeginChangesNothingNowOrLater) {
    put({macItem("old", true)});
    const Lines before = storedTexts();
    realm->failNextWrite(FailAt::commit);
    EXPECT_FALSE(changes().replace("old", ReminderStruct("t", atMac())));
    EXPECT_EQ(storedTexts(), before);
    expectNothingLeft();
}

using Leftovers = TwoSteps;

TEST_P(Leftovers, OfAnotherKindAreForgotten) {
    put({datedItem("a", after(60))});
    const Lines before = storedTexts();
    const auto journal = open();
    for (const char* line :
         {"", "not JSON", "[]", "{}", R"({"id":"a","title":"t","shown":false})",
          R"({"id":"a","title":"t","shown":1,"device":1})", R"({"id":"a","title":"t","shown":false,"device":7})",
          R"({"id":3,"title":"t","shown":false,"device":1})",
          R"({"id":"a","title":"t","shown":false,"date":"soon"})"}) {
        EXPECT_FALSE(journal->note(line));
    }
    EXPECT_FALSE(changes().finishLeftovers());
    EXPECT_EQ(storedTexts(), before);
    expectNothingLeft();
}

TEST_P(Leftovers, ThatCannotBeFinishedStay) {
    put({datedItem("a", after(60))});
    EXPECT_FALSE(open()->note(R"({"id":"a","title":"new","shown":false,"date":1795302600})"));
    realm->failNextWrite(FailAt::begin);
    EXPECT_TRUE(changes().finishLeftovers());
    EXPECT_EQ(stored()[0].title, "a");
    EXPECT_FALSE(changes().finishLeftovers());
    EXPECT_EQ(stored()[0].title, "new");
}

INSTANTIATE_TEST_SUITE_P(Databases, EditingInTwoSteps, ::testing::ValuesIn(realmImplementations()), realmName);
INSTANTIATE_TEST_SUITE_P(Databases, ReplacingInTwoSteps, ::testing::ValuesIn(realmImplementations()), realmName);
INSTANTIATE_TEST_SUITE_P(Databases, Leftovers, ::testing::ValuesIn(realmImplementations()), realmName);

}  // namespace
}  // namespace quendokit::testing

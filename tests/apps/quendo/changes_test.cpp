/// \file
/// The commands that change what is stored: edit, postpone, seen, clear; and stats, which counts it.

#include "hostkit/intent_journal.hpp"
#include "tests/apps/quendo/program_fixture.hpp"

namespace quendo::testing {
namespace {

using nlohmann::json;
using Words = std::vector<std::string>;

/// It is Wednesday, 10:15:00, unless a test says otherwise.
class QuendoChanges : public QuendoProgram {
protected:
    QuendoChanges() { itIs("2026-11-18 10:15:00"); }

    /// Adds a reminder for a time of that week and answers its identifier.
    std::string addAt(const std::string& title, const std::string& when) const {
        return answer({"add", title, "--at", when}).at("id").get<std::string>();
    }
    std::string addAtMac(const std::string& title) const {
        return answer({"add", title, "--mac"}).at("id").get<std::string>();
    }

    /// The cloud has confirmed everything.
    void confirmAll() const { sql("UPDATE ReminderItem SET pending = 0"); }

    static std::string dateOf(const json& reminder) { return reminder.at("condition").at("date"); }

    [[nodiscard]] json only(const Words& words) const {
        const json answered = answer(words);
        EXPECT_EQ(answered.size(), 1U);
        return answered.at(0);
    }
};

TEST_F(QuendoChanges, EditTakesATitleAndKeepsTheRest) {
    const std::string id = addAt("Milk", "2026-11-18 18:00");
    confirmAll();
    const json edited = answer({"edit", id.substr(0, 8), "--title", "Oat milk"});
    EXPECT_EQ(edited["title"], "Oat milk");
    EXPECT_EQ(dateOf(edited), "2026-11-18T18:00:00+01:00");
    EXPECT_EQ(edited["id"], id);
    EXPECT_EQ(answer({"list"}).size(), 1U);
}

TEST_F(QuendoChanges, AnEditCountsAsUnsentSoThatItTravels) {
    const std::string id = addAt("Milk", "2026-11-18 18:00");
    confirmAll();
    EXPECT_EQ(answer({"show", id})["pending"], false);
    EXPECT_EQ(answer({"edit", id, "--title", "Oat milk"})["pending"], true);
    EXPECT_EQ(answer({"show", id})["pending"], true);
}

TEST_F(QuendoChanges, EditTakesAMomentAPresetOrTheMac) {
    const std::string id = addAt("Milk", "2026-11-18 18:00");
    EXPECT_EQ(dateOf(answer({"edit", id, "--at", "2026-11-20"})).substr(0, 10), "2026-11-20");
    EXPECT_EQ(dateOf(answer({"edit", id, "--preset", "later"})), "2026-11-18T13:15:00+01:00");
    EXPECT_EQ(answer({"edit", id, "--mac"})["list"], "mac");
    EXPECT_EQ(answer({"edit", id, "--at", "18:00", "--title", "Both"})["title"], "Both");
}

TEST_F(QuendoChanges, AnEditedConditionWasNotShownYetAndANewTitleKeepsWhatWas) {
    const std::string id = addAtMac("Print");
    answer({"seen", id});
    EXPECT_EQ(answer({"edit", id, "--title", "Print it"})["list"], "passed");
    const json again = answer({"edit", id, "--mac"});
    EXPECT_EQ(again["shown"], false);
    EXPECT_EQ(again["list"], "mac");
}

TEST_F(QuendoChanges, EditRefusesWhatCannotBeMeant) {
    const std::string id = addAt("Milk", "2026-11-18 18:00");
    expectRefusal({"edit", id}, 2, "nothing to change");
    expectRefusal({"edit", id, "--title", " "}, 2, "the title is empty");
    expectRefusal({"edit", id, "--at", "2026-11-17"}, 2, "is not to come");
    expectRefusal({"edit", id, "--mac", "--preset", "later"}, 2, "exclude each other");
    expectRefusal({"edit", id, "--preset", "pick-a-date"}, 2, "--at");
    expectRefusal({"edit", "unknown", "--title", "x"}, 1, "no reminder has the identifier");
    expectRefusal({"edit"}, 2, "ID");
    answer({"delete", id});
    expectRefusal({"edit", id, "--title", "x"}, 1, "no reminder has the identifier");
}

TEST_F(QuendoChanges, AnEditThatACrashLeftHalfDoneIsFinishedByTheNextCommand) {
    const std::string id = addAt("Milk", "2026-11-18 18:00");
    confirmAll();
    {
        auto journal = quendokit::IntentJournal::open(home_ / "quendo.journal");
        ASSERT_TRUE(journal);
        ASSERT_FALSE(
            journal.value()->note(json{{"id", id}, {"title", "Oat milk"}, {"shown", false}, {"device", 1}}.dump()));
    }
    const json finished = only({"list"});
    EXPECT_EQ(finished["title"], "Oat milk");
    EXPECT_EQ(finished["list"], "mac");
    EXPECT_EQ(finished["pending"], true);
    EXPECT_EQ(std::filesystem::file_size(home_ / "quendo.journal"), 0U);
}

TEST_F(QuendoChanges, PostponeByAButtonReckonsFromTheRemindersOwnMoment) {
    const std::string id = addAt("Milk", "2026-11-18 18:00");
    EXPECT_EQ(dateOf(only({"postpone", id, "--action", "short"})), "2026-11-18T18:20:00+01:00");
    EXPECT_EQ(dateOf(only({"postpone", id, "--action", "later"})), "2026-11-18T21:20:00+01:00");
    EXPECT_EQ(dateOf(only({"postpone", id, "--action", "morning"})), "2026-11-19T09:00:00+01:00");
    EXPECT_EQ(dateOf(only({"postpone", id, "--action", "afternoon"})), "2026-11-19T12:00:00+01:00");
    EXPECT_EQ(dateOf(only({"postpone", id, "--action", "evening"})), "2026-11-19T18:00:00+01:00");
}

TEST_F(QuendoChanges, PostponeByAPresetDateOrToTheMac) {
    const std::string id = addAt("Milk", "2026-11-18 18:00");
    EXPECT_EQ(dateOf(only({"postpone", id, "--preset", "tomorrow-evening"})), "2026-11-19T18:00:00+01:00");
    EXPECT_EQ(dateOf(only({"postpone", id, "--at", "+1h"})), "2026-11-18T11:15:00+01:00");
    const json atMac = only({"postpone", id, "--mac"});
    EXPECT_EQ(atMac["list"], "mac");
    EXPECT_EQ(atMac["id"], id);
    EXPECT_EQ(only({"postpone", id, "--preset", "on-my-mac"})["list"], "mac");
}

TEST_F(QuendoChanges, APostponeThatWouldGiveThePastIsTakenAgainFromNow) {
    const std::string id = addAt("Milk", "2026-11-18 11:00");
    itIs("2026-11-20 13:00:00");
    EXPECT_EQ(dateOf(only({"postpone", id, "--action", "short"})), "2026-11-20T13:20:00+01:00");
}

TEST_F(QuendoChanges, ADeviceReminderIsPostponedFromNow) {
    const std::string id = addAtMac("Print");
    EXPECT_EQ(dateOf(only({"postpone", id, "--action", "short"})), "2026-11-18T10:35:00+01:00");
}

TEST_F(QuendoChanges, AShownReminderPostponedToTheMacBecomesANewOne) {
    const std::string id = addAtMac("Print");
    confirmAll();
    answer({"seen"});
    const json successor = only({"postpone", id, "--mac"});
    EXPECT_NE(successor["id"], id);
    EXPECT_EQ(successor["title"], "Print");
    EXPECT_EQ(successor["list"], "mac");
    EXPECT_EQ(successor["shown"], false);
    EXPECT_EQ(successor["pending"], true);
    EXPECT_EQ(only({"list"})["id"], successor["id"]);
    EXPECT_EQ(answer({"show", id})["deleted"], true);
}

TEST_F(QuendoChanges, PostponeTakesSeveralOrAllThatHavePassed) {
    const std::string first = addAt("first", "2026-11-18 11:00");
    const std::string second = addAt("second", "2026-11-18 11:30");
    const std::string third = addAt("third", "2026-11-18 18:00");
    EXPECT_EQ(answer({"postpone", third, first, third, "--at", "2026-11-18 12:00"}).size(), 2U);
    itIs("2026-11-18 14:00:00");
    const json all = answer({"postpone", "--all-passed", "--action", "evening"});
    ASSERT_EQ(all.size(), 3U);
    for (const json& each : all) {
        EXPECT_EQ(dateOf(each), "2026-11-18T18:00:00+01:00");
        EXPECT_EQ(each["list"], "upcoming");
    }
    expectRefusal({"postpone", "--all-passed", "--action", "evening"}, 1, "no reminder has passed");
    EXPECT_EQ(answer({"show", second})["list"], "upcoming");
}

TEST_F(QuendoChanges, PostponeRefusesWhatCannotBeMeant) {
    const std::string id = addAt("Milk", "2026-11-18 18:00");
    expectRefusal({"postpone", id}, 2, "no new time is given");
    expectRefusal({"postpone", "--mac"}, 2, "no reminder is named");
    expectRefusal({"postpone", id, "--all-passed", "--mac"}, 2, "exclude each other");
    expectRefusal({"postpone", id, "--mac", "--action", "short"}, 2, "exclude each other");
    expectRefusal({"postpone", id, "--at", "+1h", "--preset", "0"}, 2, "exclude each other");
    expectRefusal({"postpone", id, "--action", "noon"}, 2, "no action \"noon\"");
    expectRefusal({"postpone", id, "--action", "Short"}, 2, "no action \"Short\"");
    expectRefusal({"postpone", id, "--action", ""}, 2, "no action \"\"");
    expectRefusal({"postpone", id, "--at", "10:15:00 yesterday"}, 2, "");
    expectRefusal({"postpone", id, "--at", "2026-11-18 10:15:00"}, 2, "is not to come");
    EXPECT_EQ(dateOf(only({"list"})), "2026-11-18T18:00:00+01:00");
}

TEST_F(QuendoChanges, PostponeChangesNothingWhenOneIdentifierIsUnknown) {
    const std::string id = addAt("Milk", "2026-11-18 18:00");
    expectRefusal({"postpone", id, "unknown", "--mac"}, 1, "no reminder has the identifier");
    EXPECT_EQ(dateOf(only({"list"})), "2026-11-18T18:00:00+01:00");
}

TEST_F(QuendoChanges, SeenMarksTheUnseenDeviceReminders) {
    const std::string mac = addAtMac("Print");
    addAt("Milk", "2026-11-18 18:00");
    EXPECT_EQ(answer({"seen"}), json{mac});
    EXPECT_EQ(answer({"seen"}), json::array());
    EXPECT_EQ(answer({"show", mac})["list"], "passed");
    EXPECT_EQ(run({"seen"}).output, "No reminder waits at the Mac.\n");
}

TEST_F(QuendoChanges, SeenTakesIdentifiersAndNothingNewerIsReplaced) {
    const std::string id = addAt("Milk", "2026-11-18 18:00");
    const std::string kept = addAtMac("Print");
    confirmAll();
    sql("UPDATE ReminderItem SET title = 'Oat milk' WHERE ID = '" + id + "'");
    EXPECT_EQ(answer({"seen", id.substr(0, 6)}), json{id});
    const json seen = answer({"show", id});
    EXPECT_EQ(seen["title"], "Oat milk");
    EXPECT_EQ(seen["shown"], true);
    EXPECT_EQ(seen["pending"], true);
    EXPECT_EQ(answer({"show", kept})["shown"], false);
}

TEST_F(QuendoChanges, SeenTwiceChangesNothingTheSecondTime) {
    const std::string id = addAtMac("Print");
    answer({"seen", id});
    confirmAll();
    EXPECT_EQ(answer({"seen", id, id}), json{id});
    EXPECT_EQ(answer({"show", id})["pending"], false);
}

TEST_F(QuendoChanges, SeenFindsNoDeletedReminder) {
    const std::string id = addAtMac("Print");
    answer({"delete", id});
    expectRefusal({"seen", id}, 1, "no reminder has the identifier");
    EXPECT_EQ(answer({"seen"}), json::array());
}

TEST_F(QuendoChanges, StatsCountsWhatIsToComeAndWhatPassed) {
    EXPECT_EQ(answer({"stats"}), (json{{"pending", 0}, {"passed", 0}}));
    addAt("Milk", "2026-11-18 11:00");
    addAt("Bread", "2026-11-18 18:00");
    addAtMac("Print");
    answer({"delete", addAt("gone", "2026-11-18 18:00")});
    itIs("2026-11-18 12:00:00");
    EXPECT_EQ(answer({"stats"}), (json{{"pending", 2}, {"passed", 1}}));
    EXPECT_EQ(run({"stats"}).output, "2 to come, 1 passed.\n");
}

TEST_F(QuendoChanges, ClearNeedsAYes) {
    addAt("Milk", "2026-11-18 18:00");
    expectRefusal({"clear"}, 2, "--yes");
    EXPECT_EQ(answer({"list"}).size(), 1U);
}

TEST_F(QuendoChanges, ClearRemovesEverythingAndNamesWhatNoCloudHas) {
    addAt("sent", "2026-11-18 18:00");
    confirmAll();
    addAt("un\x1b[31msent", "2026-11-18 18:00");
    answer({"delete", addAt("gone", "2026-11-18 18:00")});
    const auto result = run({"--json", "clear", "--yes"});
    EXPECT_EQ(result.code, 0);
    EXPECT_EQ(json::parse(result.output), (json{{"removed", 2}}));
    EXPECT_EQ(result.errors, "quendo: changes that no cloud has are lost: \"un\\u001B[31msent\", \"gone\"\n");
    EXPECT_EQ(answer({"list", "--deleted"}), json::array());
    EXPECT_EQ(answer({"clear", "--yes"}), (json{{"removed", 0}}));
}

TEST_F(QuendoChanges, EachTellsAPersonWhatIsStoredNow) {
    const std::string id = addAt("Milk", "2026-11-18 18:00");
    const std::string brief = " (" + id.substr(0, 8) + ").\n";
    EXPECT_EQ(run({"edit", id, "--title", "Oat"}).output, "Changed to \"Oat\" for 2026-11-18 18:00" + brief);
    EXPECT_EQ(run({"postpone", id, "--action", "short"}).output, "Postponed \"Oat\" to 2026-11-18 18:20" + brief);
    EXPECT_EQ(run({"postpone", id, "--mac"}).output, "Postponed \"Oat\" to your next arrival at your Mac" + brief);
    EXPECT_EQ(run({"seen"}).output, "Seen \"Oat\".\n");
    EXPECT_EQ(run({"--quiet", "clear", "--yes"}).output, "");
}

}  // namespace
}  // namespace quendo::testing

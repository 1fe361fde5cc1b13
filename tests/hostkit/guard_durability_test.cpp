/// \file
/// What arrives together at a guarded database shares one wait for the disk, and the token comes behind it.

#include <algorithm>

#include "quendokit/store/quendokit_config.hpp"
#include "quendokit/store/reminder_controller.hpp"
#include "testing/in_memory_realm.hpp"
#include "tests/support/guarded_fixture.hpp"
#include "tests/support/tracing_realm.hpp"

namespace quendokit::testing {
namespace {

class GuardDurability : public GuardedFixture {
protected:
    /// A guard that knows the database, with a page on its way.
    void guardDownload(CloudGuardOptions options = {}) {
        guardManager(std::move(options));
        realm = std::make_shared<TracingRealm>(InMemoryRealmProvider().open(QuendoKitConfig()).value(), trace);
        database->setRealm(realm);
        controller = ReminderController::create(nullptr, realm, nullptr, manager);
        manager->remoteSync();
        mainQueue->runAll();
        taken();
    }
    /// Only what is committed, and when it is made durable.
    Lines committed() {
        Lines lines = taken();
        std::erase_if(lines, [](const std::string& line) {
            return line != "commit" && line != "change" && line.find("durab") == std::string::npos;
        });
        return lines;
    }

    std::shared_ptr<TracingRealm> realm;
    std::shared_ptr<ReminderController> controller;
};

TEST_F(GuardDurability, APageIsMadeDurableAtItsEndAndBeforeItsToken) {
    guardDownload();
    answerDownloadWithoutMain({{record("a"), record("b")}, token("T1")});
    while (gate->durableToken() != token("T1")) {
        ASSERT_TRUE(mainQueue->runNext());
    }
    EXPECT_EQ(committed(), (Lines{"defer durability", "commit", "commit", "make durable"}));
    mainQueue->runAll();
    EXPECT_EQ(committed(), Lines{"make durable"}) << "for what has no token";
}

TEST_F(GuardDurability, OneRecordAloneWaitsForItself) {
    guardDownload();
    answerDownload({{record("a")}, token("T1")});
    const Lines lines = committed();
    EXPECT_EQ(std::count(lines.begin(), lines.end(), "defer durability"), 0);
    EXPECT_EQ(std::count(lines.begin(), lines.end(), "commit"), 1);
}

TEST_F(GuardDurability, WithoutItsSwitchEveryWriteWaits) {
    CloudGuardOptions options;
    options.sharesCommits = false;
    guardDownload(options);
    answerDownload({{record("a"), record("b")}, token("T1")});
    const Lines lines = committed();
    EXPECT_EQ(std::count(lines.begin(), lines.end(), "defer durability"), 0);
    EXPECT_EQ(std::count(lines.begin(), lines.end(), "commit"), 2);
}

TEST_F(GuardDurability, AChangeOfTheHostsIsDurableByItself) {
    guardDownload();
    answerDownloadWithoutMain({{record("a"), record("b")}, token("T1")});
    while (committed() != Lines{"commit"}) {
        ASSERT_TRUE(mainQueue->runNext());
    }
    database->perform({"c"}, [this] { trace->add("change"); });
    EXPECT_EQ(committed(), (Lines{"make durable", "change"}));
}

/// A device whose database takes nothing for a while.
class GuardOnAFullDisk : public GuardDurability {
protected:
    /// Two pages are announced; what came of them cannot be stored. Answers the lines since.
    Lines failToStore() {
        answerDownloadWithoutMain({{record("a"), record("b")}, token("T1"), true});
        // Within the turn of the records.
        mainQueue->runNext();
        database->writeFailed();
        mainQueue->runAll();
        return downloads();
    }
    Lines downloads() {
        Lines lines = taken();
        std::erase_if(lines, [](const std::string& line) { return !line.starts_with("download"); });
        return lines;
    }
};

TEST_F(GuardOnAFullDisk, APageThatCannotBeStoredIsNotReadAgainAndAgainAtOnce) {
    guardDownload();
    EXPECT_EQ(failToStore(), Lines{"download from T0"}) << "the first time at once";
    for (const auto wait : {std::chrono::seconds(1), std::chrono::seconds(2), std::chrono::seconds(4)}) {
        SCOPED_TRACE(wait.count());
        EXPECT_EQ(failToStore(), Lines{});
        mainLoop->advanceBy(wait - std::chrono::milliseconds(1));
        mainQueue->runAll();
        EXPECT_EQ(downloads(), Lines{});
        mainLoop->advanceBy(std::chrono::milliseconds(1));
        mainQueue->runAll();
        EXPECT_EQ(downloads(), Lines{"download from T0"});
    }
}

TEST_F(GuardOnAFullDisk, AfterAPageThatWasStoredTheNextFailureIsAFirstOne) {
    guardDownload();
    EXPECT_EQ(failToStore(), Lines{"download from T0"});
    answerDownload({{record("a")}, token("T1"), true});
    taken();
    EXPECT_EQ(failToStore().size(), 1U);
}

TEST_F(GuardOnAFullDisk, ANetworkThatIsBackOrAPersonWhoAsksEndsTheWait) {
    guardDownload();
    failToStore();
    EXPECT_EQ(failToStore(), Lines{});
    database->retryNow();
    mainQueue->runAll();
    EXPECT_EQ(downloads(), Lines{"download from T0"});
}

}  // namespace
}  // namespace quendokit::testing

/// \file
/// Moving to another cloud: what an earlier one had confirmed is sent again.

#include "hostkit/cloud_move.hpp"

#include "quendokit/platform/results.hpp"
#include "quendokit/store/quendokit_config.hpp"
#include "quendokit/store/reminder_controller.hpp"
#include "testing/in_memory_realm.hpp"
#include "tests/support/guarded_fixture.hpp"

namespace quendokit::testing {
namespace {

class CloudMove : public GuardedFixture {
protected:
    /// A guarded manager with a controller on `items`; nothing is under way.
    void begin(const std::vector<ReminderItem>& items) {
        guardManager();
        controller = ReminderController::create(nullptr, realm, nullptr, manager);
        mainQueue->runAll();
        answerDownload({{}, token("T1")});
        EXPECT_FALSE(realm->write([&] { realm->add(items, true); }));
        taken();
    }
    [[nodiscard]] std::vector<ReminderItem> stored() const {
        return realm->objects<ReminderItem>().sorted("ID", true).toVector();
    }
    [[nodiscard]] Texts unsentIDs() const {
        Texts ids;
        for (const ReminderItem& item : stored()) {
            if (item.pending) {
                ids.push_back(item.ID);
            }
        }
        return ids;
    }
    void resend(const std::set<std::string>& except = {}) {
        resendEverything(controller, database, except,
                         [this](bool everything) { trace->add(everything ? "all of it" : "not all of it"); });
    }
    static ReminderItem dated(const std::string& id, double seconds) { return datedItem(id, Date(seconds)); }

    static constexpr double future = 1'795'400'000;
    static constexpr double past = 1'795'000'000;
    const std::shared_ptr<InMemoryRealm> realm = InMemoryRealm::create(QuendoKitConfig());
    std::shared_ptr<ReminderController> controller;
};

TEST_F(CloudMove, WhateverIsInAListIsSentAgainAsItIs) {
    ReminderItem deleted = dated("deleted", future);
    deleted.deleted = true;
    deleted.pending = true;
    begin({dated("future", future), dated("past", past), macItem("mac", false), macItem("seen", true), deleted});
    resend();
    EXPECT_EQ(Lines({taken().back()}), Lines{"all of it"});
    EXPECT_EQ(unsentIDs(), (Texts{"deleted", "future", "mac", "past", "seen"}));
    pass(std::chrono::seconds(1));
    EXPECT_EQ(taken(), Lines{"upload mac future past seen delete deleted"});
    const auto upload = cloud->take<CKModifyRecordsOperation>();
    ASSERT_TRUE(upload);
    EXPECT_EQ(upload->recordsToSave->at(1), makeCKRecord(dated("future", future), zoneID));
    EXPECT_EQ(upload->recordsToSave->at(3), makeCKRecord(macItem("seen", true), zoneID));
}

TEST_F(CloudMove, WhatTheOtherCloudHoldsIsNotSentAgain) {
    begin({dated("here", future), dated("there", future)});
    resend({"there"});
    EXPECT_EQ(unsentIDs(), Texts{"here"});
}

TEST_F(CloudMove, WhatIsUnsentAnywayIsNotWrittenOnceMore) {
    ReminderItem unsent = dated("unsent", future);
    unsent.pending = true;
    begin({unsent});
    const auto commits = realm->commitCount();
    resend();
    EXPECT_EQ(realm->commitCount(), commits);
    EXPECT_EQ(taken(), Lines{"all of it"});
}

TEST_F(CloudMove, AFailedWriteIsToldAndStopsNoOther) {
    begin({dated("a", future), dated("b", future + 1)});
    realm->failWrites(1, FailAt::commit, {"Realm", 1, "The disk is full."});
    resend();
    EXPECT_EQ(Lines({taken().back()}), Lines{"not all of it"});
    EXPECT_EQ(unsentIDs(), Texts{"b"});
}

TEST_F(CloudMove, WhatTheCloudJustSaidOfAReminderComesFirst) {
    begin({dated("a", future), dated("b", future)});
    manager->remoteSync();
    mainQueue->runAll();
    answerDownloadWithoutMain({{idOf("a")}, token("T2")});
    mainQueue->runNext();  // the page; the deletion is queued behind it
    taken();
    resend();
    EXPECT_EQ(taken(), Lines{});
    mainQueue->runAll();
    EXPECT_EQ(unsentIDs(), Texts{"b"});
    EXPECT_EQ(stored().size(), 1U);
}

TEST_F(CloudMove, WithoutAGuardItIsDoneAtOnce) {
    begin({dated("a", future)});
    resendEverything(controller, nullptr, {});
    EXPECT_EQ(unsentIDs(), Texts{"a"});
}

class Identity : public ::testing::Test {
protected:
    [[nodiscard]] CloudIdentity identity() const { return {defaults, "token"}; }
    void keepToken() { defaults->set("token", std::vector<std::byte>(3)); }
    [[nodiscard]] bool hasToken() const { return defaults->object("token").has_value(); }

    const std::shared_ptr<InMemoryUserDefaults> defaults = std::make_shared<InMemoryUserDefaults>();
};

TEST_F(Identity, TheFirstCloudIsAnotherUntilTheMoveIsOver) {
    EXPECT_TRUE(identity().isAnother("one"));
    // A crash on the way leaves a token behind.
    keepToken();
    EXPECT_TRUE(identity().isAnother("one"));
    EXPECT_FALSE(hasToken());
    keepToken();
    identity().setMoved("one");
    EXPECT_FALSE(identity().isAnother("one"));
    EXPECT_TRUE(hasToken());
}

TEST_F(Identity, AnotherCloudIsAnotherAndItsTokenGoes) {
    keepToken();
    identity().setMoved("one");
    EXPECT_TRUE(identity().isAnother("two"));
    EXPECT_FALSE(hasToken());
    // Whoever turns back on the way has moved, too.
    EXPECT_TRUE(identity().isAnother("one"));
}

TEST_F(Identity, ATokenOfAnEarlierVersionIsTakenForOneOfThisCloud) {
    keepToken();
    EXPECT_FALSE(identity().isAnother("one"));
    EXPECT_TRUE(hasToken());
    EXPECT_TRUE(identity().isAnother("two"));
}

TEST_F(Identity, WhatIsForgottenIsAnother) {
    keepToken();
    identity().setMoved("one");
    identity().forget();
    EXPECT_FALSE(hasToken());
    EXPECT_TRUE(identity().isAnother("one"));
}

}  // namespace
}  // namespace quendokit::testing

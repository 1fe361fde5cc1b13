/// \file
/// The change token becomes durable behind what it stands for, and is dropped when that could not be written.

#include "tests/support/guarded_fixture.hpp"

namespace quendokit::testing {
namespace {

class Gate : public GuardedFixture {
protected:
    static PropertyValue valueOf(const CKServerChangeToken& token) { return NSKeyedArchiver::archivedData(token); }
    void set(const std::string& text) { gate->set(tokenKey, valueOf(token(text))); }
    [[nodiscard]] bool isSet(const std::string& text) const {
        return gate->object(tokenKey) == std::optional(valueOf(token(text)));
    }
    /// The engine asks for a page.
    void download() {
        manager->remoteSync();
        mainQueue->runAll();
    }
};

TEST_F(Gate, ATokenIsAnsweredAtOnceAndDurableBehindWhatWasQueued) {
    guard();
    std::optional<CKServerChangeToken> before = token("other");
    mainQueue->async([&] { before = gate->durableToken(); });
    set("T1");
    EXPECT_TRUE(isSet("T1"));
    EXPECT_FALSE(gate->durableToken());
    mainQueue->runAll();
    EXPECT_FALSE(before);
    EXPECT_EQ(gate->durableToken(), token("T1"));
    EXPECT_TRUE(isSet("T1"));
}

TEST_F(Gate, OnlyTheLastTokenBecomesDurable) {
    guard();
    set("T1");
    mainQueue->async([] {});
    set("T2");
    EXPECT_TRUE(mainQueue->runNext());
    EXPECT_FALSE(gate->durableToken());
    mainQueue->runAll();
    EXPECT_EQ(gate->durableToken(), token("T2"));
}

TEST_F(Gate, ATokenWaitsUntilWhatItStandsForIsDurable) {
    guard();
    bool isGood = true;
    gate->setSettle([&] {
        EXPECT_FALSE(gate->durableToken());
        return isGood;
    });
    set("T1");
    mainQueue->runAll();
    EXPECT_EQ(gate->durableToken(), token("T1"));
    isGood = false;
    gate->setSettle([] { return false; });
    set("T2");
    mainQueue->runAll();
    EXPECT_EQ(gate->durableToken(), token("T1"));
    EXPECT_TRUE(isSet("T1"));
}

TEST_F(Gate, RemovingGoesThroughAtOnce) {
    guard();
    set("T1");
    mainQueue->runAll();
    set("T2");
    gate->remove(tokenKey);
    EXPECT_FALSE(gate->object(tokenKey));
    EXPECT_FALSE(defaults->object(tokenKey));
    mainQueue->runAll();
    EXPECT_FALSE(gate->object(tokenKey));
}

TEST_F(Gate, AFailedWriteDropsWhatIsNotDurable) {
    guard();
    set("T1");
    mainQueue->runAll();
    set("T2");
    gate->writeFailed();
    EXPECT_TRUE(isSet("T1"));
    mainQueue->runAll();
    EXPECT_EQ(gate->durableToken(), token("T1"));
    gate->writeFailed();
    EXPECT_EQ(gate->durableToken(), token("T1"));
}

TEST_F(Gate, OtherSettingsPassAsTheyAre) {
    guard();
    gate->set("other", std::string("text"));
    EXPECT_EQ(defaults->object("other"), std::optional<PropertyValue>(std::string("text")));
    EXPECT_EQ(gate->object("other"), defaults->object("other"));
    gate->remove("other");
    EXPECT_FALSE(defaults->object("other"));
}

TEST_F(Gate, WhatIsNoTokenIsNone) {
    guard();
    defaults->set(tokenKey, std::string("text"));
    EXPECT_FALSE(gate->durableToken());
    defaults->set(tokenKey, std::vector<std::byte>(3));
    EXPECT_FALSE(gate->durableToken());
}

TEST_F(Gate, WhatStillWaitsAtItsEndIsForgotten) {
    guard();
    const auto own = TokenGate::create(defaults, "mine", mainQueue);
    auto other = TokenGate::create(defaults, "mine", mainQueue);
    other->set("mine", valueOf(token("T1")));
    other.reset();
    mainQueue->runAll();
    EXPECT_FALSE(own->durableToken());
}

/// Settings that tell of a failure while they are written.
class FullSettings final : public UserDefaults {
public:
    [[nodiscard]] std::optional<PropertyValue> object(std::string_view) const override { return std::nullopt; }
    void set(std::string_view, PropertyValue) override { onFailure(); }
    void remove(std::string_view) override {}
    std::function<void()> onFailure;
};

TEST_F(Gate, SettingsThatCannotBeWrittenMayTellSoAtOnce) {
    guard();
    const auto full = std::make_shared<FullSettings>();
    const auto own = TokenGate::create(full, "mine", mainQueue);
    int told = 0;
    full->onFailure = [&] {
        ++told;
        own->writeFailed();
    };
    own->set("mine", valueOf(token("T1")));
    mainQueue->runAll();
    EXPECT_EQ(told, 1);
    EXPECT_FALSE(own->object("mine"));
}

TEST_F(Gate, AFailedWriteLetsADownloadOnItsWayBeginAnew) {
    guardManager();
    download();
    answerDownloadWithoutMain({{record("a")}, token("T1"), true});
    EXPECT_TRUE(mainQueue->runNext());  // the engine has the page; what it stores of it is queued
    taken();
    EXPECT_TRUE(mainQueue->runNext());
    EXPECT_TRUE(mainQueue->runNext());
    mainQueue->runAll();
    EXPECT_EQ(taken(), Lines{"download from T1"});
    database->writeFailed();  // T1 is durable
    answerDownload({{record("b")}, token("T2")});
    EXPECT_EQ(taken(), Lines{"download from T1"});
    answerDownload({{record("b")}, token("T2")});
    EXPECT_EQ(gate->durableToken(), token("T2"));
}

TEST_F(Gate, ADownloadThatWasJustAskedForWithTheDroppedTokenBeginsWithTheDurableOne) {
    guardManager();
    download();
    answerDownloadWithoutMain({{record("a")}, token("T1"), true});
    EXPECT_TRUE(mainQueue->runNext());
    taken();
    // Page 1 cannot be written; the engine has asked for page 2 already.
    database->writeFailed();
    mainQueue->runAll();
    EXPECT_EQ(taken(), Lines{"download from T0"});
    answerDownload({{record("a")}, token("T1")});
    EXPECT_EQ(gate->durableToken(), token("T1"));
}

TEST_F(Gate, ADownloadThatWaitsWithTheDroppedTokenBeginsWithTheDurableOne) {
    guardManager();
    add(fetchOf("busy"));
    gate->set(tokenKey, NSKeyedArchiver::archivedData(token("T1")));
    manager->remoteSync();
    database->perform({}, [] {});  // takes it in
    database->writeFailed();
    mainQueue->runAll();
    taken();
    answerFetch();
    EXPECT_EQ(taken(), (Lines{"answer to busy:", "download from T0"}));
}

TEST_F(Gate, AReplacedDownloadDoesNotBringTheDroppedTokenBack) {
    guardManager();
    add(fetchOf("busy"));
    download();
    gate->set(tokenKey, NSKeyedArchiver::archivedData(token("T1")));
    manager->remoteSync();  // made with T1, not taken in
    database->writeFailed();
    mainQueue->runAll();
    EXPECT_EQ(gate->durableToken(), token("T0"));
    EXPECT_TRUE(isSet("T0"));
    answerFetch();
    EXPECT_EQ(Lines({taken().back()}), Lines{"download from T0"});
}

TEST_F(Gate, ANewlyFailedDownloadIsTriedAgainWithTheDurableToken) {
    guardManager();
    download();
    defaults->remove(tokenKey);
    database->writeFailed();
    answerDownload({{}, std::nullopt, false, offline()});
    pass(std::chrono::seconds(1));
    EXPECT_EQ(taken(), (Lines{"download from T0", "download from the beginning"}));
    // Begun anew, it is current.
    answerDownload({{}, token("T5")});
    EXPECT_EQ(gate->durableToken(), token("T5"));
}

TEST_F(Gate, UploadsAndRequestsGoOnAfterAFailedWrite) {
    guardManager();
    add(uploadOf("1", {"a"}));
    database->add(fetchOf("2"));
    database->writeFailed();
    confirmUpload();
    answerFetch();
    EXPECT_EQ(taken(), (Lines{"upload a delete", "answer to 1: a", "fetch zones Reminder Zone", "answer to 2:"}));
}

TEST_F(Gate, WithoutAGateAFailedWriteChangesNothing) {
    guardManager();
    database->setTokenGate(nullptr);
    download();
    database->writeFailed();
    answerDownload({{}, token("T1")});
    EXPECT_EQ(gate->durableToken(), token("T1"));
    EXPECT_EQ(database->waitingCount() + database->runningCount(), 0U);
}

}  // namespace
}  // namespace quendokit::testing

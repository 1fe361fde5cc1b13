/// \file
/// A guarded database uploads before it downloads, and what is unsent here is not overwritten from elsewhere.

#include "tests/support/guarded_fixture.hpp"

namespace quendokit::testing {
namespace {

class GuardShield : public GuardedFixture {
protected:
    /// The engine asks for a page, and the guard for what comes before it.
    void download() {
        manager->remoteSync();
        mainQueue->runAll();
    }
    /// The names that the engine got, "-NAME" for deletions.
    Texts received() {
        Texts names;
        for (const std::string& line : taken()) {
            if (line.starts_with("store ")) {
                names.push_back(line.substr(6));
            } else if (line.starts_with("delete ")) {
                names.push_back("-" + line.substr(7));
            }
        }
        return names;
    }
};

TEST_F(GuardShield, WhatIsUnsentGoesUpBeforeADownload) {
    guardManager();
    setUnsent({"a"}, {"b"});
    download();
    EXPECT_EQ(taken(), Lines{"upload a delete b"});
    setUnsent({});
    confirmUpload();
    EXPECT_EQ(taken(), (Lines{"🌤 Uploaded: a", "🌤 Uploaded: b", "did sync a b",
                              "post quendokit.reminders.did-finish-local-sync", "download from T0"}));
}

TEST_F(GuardShield, OnceADownloadWhateverBecomesOfIt) {
    guardManager();
    setUnsent({"a"});
    download();
    failUpload(failure(CKErrorCode::quotaExceeded));
    EXPECT_EQ(taken(), (Lines{"upload a delete", "💥 Failed 25.", "download from T0"}));
    answerDownload({{}, token("T1")});
    taken();
    download();
    EXPECT_EQ(taken(), Lines{"upload a delete"});
}

TEST_F(GuardShield, AnUploadThatWaitsAlreadyIsTheOneAndComesFirst) {
    guardManager();
    setUnsent({"a"});
    add(fetchOf("busy"));
    download();
    add(uploadOf("mine", {"a"}));
    taken();
    answerFetch();
    EXPECT_EQ(taken(), (Lines{"answer to busy:", "upload a delete"}));
    confirmUpload();
    EXPECT_EQ(taken(), (Lines{"answer to mine: a", "download from T0"}));
}

TEST_F(GuardShield, AnUploadThatWaitsForOthersIsNotTheOne) {
    guardManager();
    const auto blocked = uploadOf("blocked", {"a"});
    blocked->addDependency(fetchOf("never"));
    add(blocked);
    setUnsent({"b"});
    download();
    EXPECT_EQ(taken(), Lines{"upload b delete"});
}

TEST_F(GuardShield, AnOwnDeletionDoesNotComeBack) {
    guardManager();
    setUnsent({}, {"a", "b"});
    download();
    setUnsent({});
    confirmUpload();
    taken();
    answerDownload({{idOf("a"), record("b"), idOf("c")}, token("T1")});
    EXPECT_EQ(received(), (Texts{"b", "-c"})) << "another device has stored \"b\" anew";
    // Whatever comes of it later is of others.
    download();
    answerDownload({{idOf("a"), idOf("b")}, token("T2")});
    EXPECT_EQ(received(), (Texts{"-a", "-b"}));
}

TEST_F(GuardShield, WithNothingUnsentADownloadGoesAtOnce) {
    guardManager();
    download();
    EXPECT_EQ(taken(), Lines{"download from T0"});
}

TEST_F(GuardShield, WithoutAManagerADownloadGoesAtOnce) {
    guard();
    add(downloadOf("1", token("T1")));
    EXPECT_EQ(taken(), Lines{"download from T1"});
}

TEST_F(GuardShield, WhatCannotBeMadeARecordHoldsNoDownloadUp) {
    guardManager();
    setUnsent({std::string(300, 'x')});
    // Nothing can be sent, which is posted; who hears of it changes something.
    static_cast<void>(center->addObserver(ReminderSync::Notification::DidFinishLocalSync, [this](const auto&) {
        for (int i = 0; i < 100; ++i) {
            database->add(fetchOf("late"));
        }
        database->perform({"a"}, [] {});
    }));
    download();
    EXPECT_EQ(taken(), (Lines{"post quendokit.reminders.did-finish-local-sync", "download from T0"}));
    EXPECT_EQ(database->waitingCount(), 100U);
}

TEST_F(GuardShield, WithoutThatProtectionTheDownloadGoesFirst) {
    CloudGuardOptions options;
    options.uploadsFirst = false;
    guardManager(options);
    setUnsent({"a"});
    download();
    EXPECT_EQ(taken(), Lines{"download from T0"});
}

TEST_F(GuardShield, AChangeFromElsewhereOfWhatIsUnsentHereIsDropped) {
    CloudGuardOptions options;
    options.uploadsFirst = false;
    guardManager(options);
    download();
    setUnsent({"a"}, {"b"});
    answerDownload({{record("a"), record("b"), idOf("a"), idOf("b"), record("c"), idOf("d")}, token("T1")});
    EXPECT_EQ(received(), (Texts{"c", "-d"}));
    EXPECT_EQ(gate->durableToken(), token("T1"));
}

/// One whose change the server does not take.
class GuardShieldRefused : public GuardShield {
protected:
    void refuse(const CloudGuardOptions& options = {}) {
        guardManager(options);
        CloudGuardEvents events;
        events.reports = [this](const std::string& line) { trace->add(line); };
        database->setEvents(events);
        setUnsent({"a"});
        add(manager->localSyncOp());
        failUpload(failure(CKErrorCode::invalidArguments));
        taken();
    }
    void setText(const std::string& text) { store->toUpload->front().title = text; }
};

TEST_F(GuardShieldRefused, GivesWayToAChangeFromElsewhere) {
    refuse();
    download();
    answerDownload({{record("a", "a2", "elsewhere")}, token("T1")});
    const Lines lines = taken();
    EXPECT_EQ(std::count(lines.begin(), lines.end(), "store a"), 1);
    EXPECT_EQ(
        lines.back(),
        "The reminder \"a\", which cannot be sent to the cloud, was changed on another device: that version takes "
        "its place");
    // It is nothing special any more.
    add(manager->localSyncOp());
    EXPECT_EQ(taken(), Lines{"upload a delete"});
}

TEST_F(GuardShieldRefused, GivesWayToADeletionFromElsewhere) {
    refuse();
    download();
    answerDownload({{idOf("a")}, token("T1")});
    const Lines lines = taken();
    EXPECT_EQ(std::count(lines.begin(), lines.end(), "delete a"), 1);
    EXPECT_EQ(
        lines.back(),
        "The reminder \"a\", which cannot be sent to the cloud, was deleted on another device: it is deleted here, "
        "too");
}

TEST_F(GuardShieldRefused, DoesNotGiveWayOnceItSaysSomethingElse) {
    CloudGuardOptions options;
    options.uploadsFirst = false;
    refuse(options);
    setText("changed");
    download();
    answerDownload({{record("a", "a2", "elsewhere")}, token("T1")});
    EXPECT_EQ(received(), Texts{});
}

TEST_F(GuardShieldRefused, DoesNotGiveWayToAReadFromTheBeginning) {
    refuse();
    defaults->remove(tokenKey);
    download();
    answerDownload({{record("a", "a1", "before")}, token("T1"), true});
    EXPECT_EQ(received(), Texts{});
    answerDownload({{record("a", "a1", "before")}, token("T2")});
    EXPECT_EQ(received(), Texts{});
    // That read is over: what comes now is new.
    download();
    answerDownload({{record("a", "a2", "elsewhere")}, token("T3")});
    EXPECT_EQ(received(), Texts{"a"});
}

TEST_F(GuardShieldRefused, KeepsOutItsOwnEarlierVersion) {
    guardManager();
    setUnsent({"a"});
    setText("before");
    add(manager->localSyncOp());
    confirmUpload("1");
    setText("refused");
    add(manager->localSyncOp());
    failUpload(failure(CKErrorCode::invalidArguments));
    download();
    answerDownload({{record("a", "a1", "before")}, token("T1")});
    EXPECT_EQ(received(), Texts{});
    add(manager->localSyncOp());
    EXPECT_EQ(received(), Texts{});
    EXPECT_EQ(cloud->operationCount(), 0U);
}

TEST_F(GuardShield, WithoutTheShieldItComesThrough) {
    CloudGuardOptions options;
    options.uploadsFirst = false;
    options.shieldsUnsent = false;
    guardManager(options);
    download();
    setUnsent({"a"}, {"b"});
    answerDownload({{record("a"), idOf("b")}, token("T1")});
    EXPECT_EQ(received(), (Texts{"a", "-b"}));
}

TEST_F(GuardShield, AStoreThatCannotSayShieldsNothing) {
    guardManager();
    download();
    store->toUpload = std::nullopt;
    store->toDelete = std::nullopt;
    answerDownload({{record("a")}, token("T1")});
    EXPECT_EQ(received(), Texts{"a"});
}

TEST_F(GuardShield, WhatThisProcessUploadedItselfIsNotGivenBack) {
    guardManager();
    add(uploadOf("mine", {"a", "b", "c"}));
    confirmUpload("1");
    download();
    answerDownload({{record("a", "a1"), record("b", "b2"), idOf("c"), record("d", "d1")}, token("T1")});
    EXPECT_EQ(received(), (Texts{"b", "-c", "d"}));
}

TEST_F(GuardShield, WhatWasSeenOnceIsForgottenSoThatTheBooksDoNotGrow) {
    guardManager();
    add(uploadOf("mine", {"a"}));
    confirmUpload("1");
    download();
    answerDownload({{record("a", "a1")}, token("T1")});
    EXPECT_EQ(received(), Texts{});
    download();
    answerDownload({{record("a", "a1")}, token("T2")});
    EXPECT_EQ(received(), Texts{"a"});
}

TEST_F(GuardShield, AReadFromTheBeginningGivesBackAllOfIt) {
    guardManager();
    add(uploadOf("mine", {"a"}));
    confirmUpload("1");
    taken();
    defaults->remove(tokenKey);
    download();
    EXPECT_EQ(taken(), Lines{"download from the beginning"});
    answerDownload({{record("a", "a1")}, token("T1")});
    EXPECT_EQ(received(), Texts{"a"});
}

TEST_F(GuardShield, ARecordWithoutATagIsNobodysEcho) {
    guardManager();
    add(uploadOf("mine", {"a"}));
    const auto upload = cloud->take<CKModifyRecordsOperation>();
    upload->modifyRecordsCompletion(upload->recordsToSave, std::nullopt, std::nullopt);
    mainQueue->runAll();
    download();
    answerDownload({{record("a")}, token("T1")});
    EXPECT_EQ(received(), Texts{"a"});
}

TEST_F(GuardShield, ADeletionThatWasConfirmedForgetsTheTagOfWhatWasThere) {
    guardManager();
    add(uploadOf("mine", {"a"}));
    confirmUpload("1");
    add(uploadOf("deletion", {}, {"a"}));
    confirmUpload();
    download();
    answerDownload({{record("a", "a1")}, token("T1")});
    EXPECT_EQ(received(), Texts{"a"});
}

TEST_F(GuardShield, AnEmptyPageOfDroppedChangesStillHasAnother) {
    CloudGuardOptions options;
    options.uploadsFirst = false;
    guardManager(options);
    setUnsent({"a"});
    download();
    answerDownload({{record("a")}, token("T1"), true});
    EXPECT_EQ(taken(), (Lines{"download from T0", "download from T1"}));
}

}  // namespace
}  // namespace quendokit::testing

/// \file
/// Races between a completion on the cloud's thread and the main thread, each played in both orders. Some orders lose a
/// change: nothing guards against them here, and what is left then is written down as it is.

#include "tests/support/synced_controller_fixture.hpp"

namespace quendokit::testing {
namespace {

class Races : public SyncedControllerFixture {
protected:
    static constexpr const char* uploaded = "🌤 Uploaded: a";
    static constexpr const char* received = "☁️ Received: a";
    static constexpr const char* gone = "☁️ Deleted: a";
    static constexpr const char* storing = "🗃 [store] a";

    static ReminderItem older() { return datedItem("a", Date(1'795'400'000)); }
    static ReminderItem newer() { return datedItem("a", Date(1'795'500'000)); }

    /// The main thread gives the reminder the condition of `newer`.
    void change() {
        controller->postpone(makeReminderStruct(older()).value(), ReminderCondition::dateTime(newer()._datetime));
    }
    void remove() { controller->delete_(makeReminderStruct(older()).value()); }

    /// A second passes in which the changes so far ask for an upload of nothing.
    void expectNothingIsUploaded() {
        passASecond();
        EXPECT_EQ(taken(), Lines{finishedLocal});
    }
    void expectUploaded(const Lines& line) {
        passASecond();
        EXPECT_EQ(taken(), line);
    }
    [[nodiscard]] bool hasToken() const { return defaults->object(tokenKey).has_value(); }
    /// What the next download asks for. It is taken out.
    [[nodiscard]] Lines nextDownload() {
        manager->remoteSync();
        static_cast<void>(cloud->take<CKFetchRecordChangesOperation>());
        return taken();
    }
};

// A confirmation and a change of the same record

TEST_F(Races, AChangeAfterTheConfirmationWasNotedGoesUpNext) {
    begin();
    put({unsent(older())});
    confirm(upload());
    runCloud();
    runMain();
    EXPECT_EQ(taken(), (Lines{uploaded, finishedLocal}));
    EXPECT_EQ(stored(), textsOf({older()}));
    change();
    EXPECT_EQ(stored(), textsOf({unsent(newer())}));
    expectUploaded({"upload a delete"});
}

TEST_F(Races, AChangeBeforeTheConfirmationCountsAsSentAndStaysHere) {
    begin();
    put({unsent(older())});
    confirm(upload());
    change();
    runCloud();
    runMain();
    EXPECT_EQ(taken(), (Lines{uploaded, finishedLocal}));
    EXPECT_EQ(stored(), textsOf({newer()}));
    expectNothingIsUploaded();
}

TEST_F(Races, AChangeBetweenTheConfirmationAndItsTurnCountsAsSentToo) {
    begin();
    put({unsent(older())});
    confirm(upload());
    runCloud();
    change();
    runMain();
    EXPECT_EQ(stored(), textsOf({newer()}));
    taken();
    expectNothingIsUploaded();
}

TEST_F(Races, AChangeThatCountedAsSentIsOverwrittenByItsOwnOlderEcho) {
    begin();
    put({unsent(older())});
    confirm(upload());
    change();
    runCloud();
    runMain();
    const auto page = download();
    sendChanged(page, older());
    endPage(page, "T1");
    runCloud();
    runMain();
    EXPECT_EQ(taken(), (Lines{received, finishedRemote, storing}));
    EXPECT_EQ(stored(), textsOf({older()}));
}

TEST_F(Races, AChangeBeforeOrAfterAFailedUploadGoesUpNext) {
    begin();
    put({unsent(older())});
    const Upload first = upload();
    refuse(first);
    change();
    runCloud();
    EXPECT_EQ(taken(), Lines{"💥 Refused."});
    expectUploaded({"upload a delete"});
    refuse(cloud->take<CKModifyRecordsOperation>());
    runCloud();
    runMain();
    change();
    EXPECT_EQ(stored(), textsOf({unsent(newer())}));
    taken();
    expectUploaded({"upload a delete"});
}

// A confirmation and a deletion of the same record

TEST_F(Races, ADeletionAfterTheConfirmationWasNotedGoesUpNext) {
    begin();
    put({unsent(older())});
    confirm(upload());
    runCloud();
    runMain();
    remove();
    EXPECT_EQ(stored(), textsOf({deleted(older())}));
    taken();
    expectUploaded({"upload delete a"});
    confirm(cloud->take<CKModifyRecordsOperation>());
    runCloud();
    EXPECT_EQ(stored(), textsOf({deleted(older())}));
    runMain();
    EXPECT_EQ(stored(), Lines{});
    EXPECT_EQ(taken(), (Lines{uploaded, finishedLocal}));
}

TEST_F(Races, ADeletionBeforeTheConfirmationOfTheSaveIsNeverSent) {
    begin();
    put({unsent(older())});
    confirm(upload());
    remove();
    runCloud();
    EXPECT_EQ(stored(), textsOf({deleted(older())}));
    runMain();
    EXPECT_EQ(taken(), (Lines{uploaded, finishedLocal}));
    EXPECT_EQ(stored(), Lines{});
    expectNothingIsUploaded();
}

TEST_F(Races, ADeletionBetweenTheConfirmationAndItsTurnIsNeverSentEither) {
    begin();
    put({unsent(older())});
    confirm(upload());
    runCloud();
    remove();
    runMain();
    EXPECT_EQ(stored(), Lines{});
    taken();
    expectNothingIsUploaded();
}

// A completion and the end of controller and manager

TEST_F(Races, AConfirmationAfterTheControllerIsGoneIsNotNoted) {
    begin();
    put({unsent(older())});
    confirm(upload());
    controller.reset();
    runCloud();
    EXPECT_EQ(mainQueue->count(), 0U);
    EXPECT_EQ(taken(), (Lines{uploaded, finishedLocal}));
    EXPECT_EQ(stored(), textsOf({unsent(older())}));
}

TEST_F(Races, AConfirmationBeforeTheControllerGoesIsNotedAllTheSame) {
    begin();
    put({unsent(older())});
    confirm(upload());
    runCloud();
    const std::weak_ptr<ReminderController> weak = controller;
    controller.reset();
    manager.reset();
    EXPECT_FALSE(weak.expired());
    runMain();
    EXPECT_TRUE(weak.expired());
    EXPECT_EQ(stored(), textsOf({older()}));
}

TEST_F(Races, AConfirmationAfterTheManagerIsGoneIsNotNotedThoughItsStoreLives) {
    begin();
    put({unsent(older())});
    confirm(upload());
    const auto other = ReminderSyncManager::create("this device", SyncMethod::push);
    controller = ReminderController::create(nullptr, realm, nullptr, other);
    manager.reset();
    taken();
    runCloud();
    EXPECT_EQ(mainQueue->count(), 0U);
    EXPECT_EQ(taken(), (Lines{uploaded, finishedLocal}));
    EXPECT_EQ(stored(), textsOf({unsent(older())}));
}

TEST_F(Races, APageAfterTheControllerIsGoneIsLostThoughItsTokenIsKept) {
    begin();
    const auto page = download();
    sendChanged(page, older());
    endPage(page, "T1");
    controller.reset();
    runCloud();
    EXPECT_EQ(mainQueue->count(), 0U);
    EXPECT_EQ(taken(), (Lines{received, finishedRemote}));
    EXPECT_EQ(stored(), Lines{});
    EXPECT_EQ(nextDownload(), Lines{"download from T1"});
}

TEST_F(Races, APageBeforeTheControllerGoesIsStored) {
    begin();
    const auto page = download();
    sendChanged(page, older());
    endPage(page, "T1");
    runCloud();
    controller.reset();
    runMain();
    EXPECT_EQ(taken(), (Lines{received, finishedRemote, storing}));
    EXPECT_EQ(stored(), textsOf({older()}));
}

TEST_F(Races, APageAfterTheManagerIsGoneLeavesNoToken) {
    begin();
    const auto page = download();
    sendChanged(page, older());
    endPage(page, "T1");
    controller.reset();
    manager.reset();
    runCloud();
    EXPECT_EQ(taken(), (Lines{received, finishedRemote}));
    EXPECT_FALSE(hasToken());
    EXPECT_EQ(stored(), Lines{});
}

// What was fetched and a change of the same record

TEST_F(Races, AChangeAfterTheFetchedRecordWasStoredGoesUp) {
    begin();
    put({older()});
    sendChanged(download(), older());
    runCloud();
    runMain();
    change();
    EXPECT_EQ(taken(), (Lines{received, storing}));
    EXPECT_EQ(stored(), textsOf({unsent(newer())}));
    expectUploaded({"upload a delete"});
}

TEST_F(Races, AChangeBetweenTheFetchAndItsTurnIsOverwrittenAndNeverSent) {
    begin();
    put({older()});
    sendChanged(download(), older());
    runCloud();
    change();
    EXPECT_EQ(stored(), textsOf({unsent(newer())}));
    runMain();
    EXPECT_EQ(taken(), (Lines{received, storing}));
    EXPECT_EQ(stored(), textsOf({older()}));
    expectNothingIsUploaded();
}

TEST_F(Races, AChangeBeforeTheFetchIsOverwrittenAndNeverSentToo) {
    begin();
    put({older()});
    const auto page = download();
    change();
    sendChanged(page, older());
    runCloud();
    runMain();
    EXPECT_EQ(stored(), textsOf({older()}));
    taken();
    expectNothingIsUploaded();
}

TEST_F(Races, ADeletionWinsOverAFetchedRecordOnEitherSideOfItsTurn) {
    for (const bool deletionFirst : {true, false}) {
        begin();
        put({older()});
        sendChanged(download(), newer());
        runCloud();
        if (deletionFirst) {
            remove();
            runMain();
            EXPECT_EQ(stored(), textsOf({deleted(older())}));
            EXPECT_EQ(taken(), Lines{received});
        } else {
            runMain();
            remove();
            EXPECT_EQ(stored(), textsOf({deleted(newer())}));
            EXPECT_EQ(taken(), (Lines{received, storing}));
        }
        expectUploaded({"upload delete a"});
        confirm(takeUpload());
        runCloud();
        runMain();
        EXPECT_EQ(stored(), Lines{});
    }
}

TEST_F(Races, AChangeAfterTheFetchedDeletionWasDoneFindsNothing) {
    begin();
    put({older()});
    sendDeleted(download(), "a");
    runCloud();
    runMain();
    change();
    passASecond();
    EXPECT_EQ(taken(), Lines{gone});
    EXPECT_EQ(stored(), Lines{});
}

TEST_F(Races, AChangeBeforeTheTurnOfAFetchedDeletionGoesWithTheRecord) {
    begin();
    put({older()});
    sendDeleted(download(), "a");
    runCloud();
    change();
    runMain();
    EXPECT_EQ(taken(), Lines{gone});
    EXPECT_EQ(stored(), Lines{});
    expectNothingIsUploaded();
}

TEST_F(Races, ADeletionHereAndThereIsOneWhicheverComesFirst) {
    begin();
    put({older()});
    sendDeleted(download(), "a");
    runCloud();
    remove();
    runMain();
    EXPECT_EQ(stored(), Lines{});
    taken();
    expectNothingIsUploaded();

    put({older()});
    sendDeleted(download(), "a");
    runCloud();
    runMain();
    remove();
    EXPECT_EQ(stored(), Lines{});
    taken();
    passASecond();
    EXPECT_EQ(taken(), Lines{});
}

// The token and the turns of the page that it ends

TEST_F(Races, TheTokenIsKeptBeforeThePageIsInTheDatabaseAndWhatIsLostThenNeverComesAgain) {
    begin();
    const auto page = download();
    sendChanged(page, older());
    endPage(page, "T1");
    runCloud();
    EXPECT_EQ(taken(), (Lines{received, finishedRemote}));
    EXPECT_TRUE(hasToken());
    EXPECT_EQ(stored(), Lines{});
    realm->failWrites(1, FailAt::commit, error("The disk is full."));
    runMain();
    EXPECT_EQ(stored(), Lines{});
    taken();
    EXPECT_EQ(nextDownload(), Lines{"download from T1"});
}

TEST_F(Races, TurnsBeforeTheEndOfThePageStoreItWithoutATokenAndItMayComeTwice) {
    begin();
    const auto first = download();
    sendChanged(first, older());
    runCloud();
    runMain();
    EXPECT_EQ(stored(), textsOf({older()}));
    EXPECT_FALSE(hasToken());
    failPage(first);
    runCloud();
    EXPECT_EQ(taken(), (Lines{received, storing, "NSLog Offline.", finishedRemote}));
    EXPECT_EQ(nextDownload(), Lines{"download from the beginning"});
    const auto again = download();
    sendChanged(again, older());
    endPage(again, "T1");
    runCloud();
    runMain();
    EXPECT_EQ(stored(), textsOf({older()}));
    EXPECT_EQ(taken(), (Lines{received, finishedRemote, storing}));
}

// Downloads that overlap, as a poll and one that a push asked for

TEST_F(Races, OfTwoDownloadsInTheirOrderTheNewerOneStands) {
    begin();
    const auto poll = download();
    const auto pushed = download();
    sendChanged(poll, older());
    endPage(poll, "T1");
    sendChanged(pushed, newer());
    endPage(pushed, "T2");
    runCloud();
    runMain();
    EXPECT_EQ(taken(), (Lines{received, finishedRemote, received, finishedRemote, storing, storing}));
    EXPECT_EQ(stored(), textsOf({newer()}));
    EXPECT_EQ(nextDownload(), Lines{"download from T2"});
}

TEST_F(Races, OfTwoDownloadsTheWrongWayRoundTheOlderOneStandsUnderItsOlderToken) {
    begin();
    const auto poll = download();
    const auto pushed = download();
    sendChanged(pushed, newer());
    endPage(pushed, "T2");
    sendChanged(poll, older());
    endPage(poll, "T1");
    runCloud();
    runMain();
    EXPECT_EQ(stored(), textsOf({older()}));
    taken();
    EXPECT_EQ(nextDownload(), Lines{"download from T1"});
}

TEST_F(Races, OfTwoDownloadsThatMixAnOlderRecordMayStandUnderTheNewerToken) {
    begin();
    const auto poll = download();
    const auto pushed = download();
    sendChanged(pushed, newer());
    sendChanged(poll, older());
    endPage(poll, "T1");
    endPage(pushed, "T2");
    runCloud();
    runMain();
    EXPECT_EQ(stored(), textsOf({older()}));
    taken();
    EXPECT_EQ(nextDownload(), Lines{"download from T2"});
}

TEST_F(Races, OfAFailingAndAnEndingDownloadTheLastToEndDecidesOnTheToken) {
    begin();
    auto failing = download();
    auto ending = download();
    endPage(ending, "T1");
    failPage(failing);
    runCloud();
    EXPECT_EQ(taken(), (Lines{finishedRemote, "NSLog Offline.", finishedRemote}));
    EXPECT_EQ(nextDownload(), Lines{"download from the beginning"});

    failing = download();
    ending = download();
    failPage(failing);
    endPage(ending, "T1");
    runCloud();
    EXPECT_EQ(taken(), (Lines{"NSLog Offline.", finishedRemote, finishedRemote}));
    EXPECT_EQ(nextDownload(), Lines{"download from T1"});
}

// Uploads that overlap

TEST_F(Races, TwoUploadsOfAChangedRecordMayBeConfirmedInEitherOrder) {
    for (const bool inOrder : {true, false}) {
        begin();
        put({unsent(older())});
        const Upload first = upload();
        change();
        passASecond();
        EXPECT_EQ(taken(), Lines{"upload a delete"});
        const Upload second = takeUpload();
        EXPECT_EQ(second->recordsToSave->front(), makeCKRecord(newer(), zoneID));
        confirm(inOrder ? first : second);
        confirm(inOrder ? second : first);
        runCloud();
        EXPECT_EQ(stored(), textsOf({unsent(newer())}));
        runMain();
        EXPECT_EQ(taken(), (Lines{uploaded, finishedLocal, uploaded, finishedLocal}));
        EXPECT_EQ(stored(), textsOf({newer()}));
    }
}

TEST_F(Races, AConfirmedOlderUploadHidesThatTheNewerOneFailedInEitherOrder) {
    for (const bool inOrder : {true, false}) {
        begin();
        put({unsent(older())});
        const Upload first = upload();
        change();
        passASecond();
        const Upload second = takeUpload();
        if (inOrder) {
            confirm(first);
            refuse(second);
        } else {
            refuse(second);
            confirm(first);
        }
        runCloud();
        runMain();
        EXPECT_EQ(taken(), inOrder ? (Lines{uploaded, finishedLocal, "💥 Refused."})
                                   : (Lines{"💥 Refused.", uploaded, finishedLocal}));
        EXPECT_EQ(stored(), textsOf({newer()}));
        EXPECT_EQ(manager->localSyncOp(), nullptr);
        taken();
    }
}

TEST_F(Races, AnUploadOfARecordAndOneOfItsDeletionEndWithoutItInEitherOrder) {
    for (const bool inOrder : {true, false}) {
        begin();
        put({unsent(older())});
        const Upload save = upload();
        remove();
        passASecond();
        EXPECT_EQ(taken(), Lines{"upload delete a"});
        const Upload deletion = takeUpload();
        confirm(inOrder ? save : deletion);
        runCloud();
        runMain();
        EXPECT_EQ(stored(), Lines{});
        confirm(inOrder ? deletion : save);
        runCloud();
        runMain();
        EXPECT_EQ(stored(), Lines{});
        EXPECT_EQ(taken(), (Lines{uploaded, finishedLocal, uploaded, finishedLocal}));
    }
}

}  // namespace
}  // namespace quendokit::testing

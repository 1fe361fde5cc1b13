/// \file
/// Uploads that were asked for while an earlier one was on its way: what that one brought is not sent again.

#include "tests/support/guarded_fixture.hpp"

namespace quendokit::testing {
namespace {

class GuardDuplicate : public GuardedFixture {
protected:
    void listen() {
        CloudGuardEvents events;
        events.confirmed = [this](const Texts& names) {
            std::string line = "confirmed";
            for (const std::string& name : names) {
                line += " " + name;
            }
            trace->add(line);
        };
        events.uploadEnded = [this](const std::optional<Error>& error) { trace->add(error ? "failed" : "ended"); };
        database->setEvents(events);
    }
    std::shared_ptr<CKModifyRecordsOperation> uploadSaying(const std::string& name, const std::string& text,
                                                           const Texts& more = {}) {
        std::vector<CKRecord> records{record("a", "", text)};
        for (const std::string& each : more) {
            records.push_back(record(each));
        }
        return tracing(name, std::make_shared<CKModifyRecordsOperation>(records, std::nullopt));
    }
    /// How often the engine's upload reached the cloud.
    std::size_t uploads() {
        const Lines lines = taken();
        return static_cast<std::size_t>(
            std::count_if(lines.begin(), lines.end(), [](const auto& line) { return line.starts_with("upload "); }));
    }
};

TEST_F(GuardDuplicate, WhatTheSlowOneBroughtCountsAsSavedAndIsToldOfOnce) {
    guard();
    listen();
    add(uploadOf("1", {"a"}, {"c"}));
    add(uploadOf("2", {"a"}, {"c"}));
    confirmUpload();
    EXPECT_EQ(taken(), (Lines{"upload a delete c", "confirmed a c", "answer to 1: a -c", "ended", "answer to 2: a -c",
                              "ended"}));
    EXPECT_TRUE(database->isIdle());
}

TEST_F(GuardDuplicate, TheRestOfTheLaterOneIsSent) {
    guard();
    listen();
    add(uploadOf("1", {"a", "b"}));
    add(uploadOf("2", {"a", "c"}, {"d"}));
    confirmUpload();
    EXPECT_EQ(Lines({taken().back()}), Lines{"upload c delete d"});
    confirmUpload();
    EXPECT_EQ(taken(), (Lines{"confirmed c d", "answer to 2: a c -d", "ended"}));
}

TEST_F(GuardDuplicate, ALaterVersionIsSent) {
    guard();
    add(uploadSaying("1", "tea"));
    add(uploadSaying("2", "coffee"));
    confirmUpload();
    EXPECT_EQ(taken(), (Lines{"upload a delete", "answer to 1: a", "upload a delete"}));
}

TEST_F(GuardDuplicate, AVersionThatIsTheSameAgainIsSentBehindAnotherOne) {
    guard();
    add(uploadSaying("1", "tea"));
    add(uploadSaying("2", "coffee", {"b"}));
    add(uploadSaying("3", "tea", {"c"}));
    confirmUpload();
    confirmUpload();
    taken();
    const auto last = cloud->take<CKModifyRecordsOperation>();
    ASSERT_TRUE(last);
    EXPECT_EQ(last->recordsToSave, (std::vector{record("a", "", "tea"), record("c")}));
}

TEST_F(GuardDuplicate, ItIsSentAlsoBehindOneOfWhichNobodyKnowsWhetherTheServerDidIt) {
    guard();
    add(uploadSaying("1", "tea"));
    add(uploadSaying("2", "coffee", {"b"}));
    add(uploadSaying("3", "tea", {"c"}));
    confirmUpload();
    failUpload(failure(CKErrorCode::quotaExceeded));
    EXPECT_EQ(taken(), (Lines{"upload a delete", "answer to 1: a", "upload a b delete", "answer to 2: Failed 25.",
                              "upload a c delete"}));
}

TEST_F(GuardDuplicate, TheEngineAskingTwiceDuringASlowUploadSendsOnce) {
    guardManager();
    setUnsent({"a"});
    manager->requireSync();
    pass(std::chrono::seconds(1));
    manager->requireSync();
    pass(std::chrono::seconds(1));
    EXPECT_EQ(database->waitingCount(), 1U);
    confirmUpload();
    EXPECT_EQ(uploads(), 1U);
    EXPECT_TRUE(database->isIdle());
}

TEST_F(GuardDuplicate, ADeletionIsSentAfterASaveAndASaveAfterADeletion) {
    guard();
    add(uploadOf("1", {"a"}, {"b"}));
    add(uploadOf("2", {"b"}, {"a"}));
    confirmUpload();
    EXPECT_EQ(taken(), (Lines{"upload a delete b", "answer to 1: a -b", "upload b delete a"}));
}

TEST_F(GuardDuplicate, WhatTheServerSaysInOtherWordsIsTheSameAllTheSame) {
    guard();
    add(uploadOf("1", {"a"}));
    add(uploadOf("2", {"a"}));
    const auto upload = cloud->take<CKModifyRecordsOperation>();
    std::vector<CKRecord> saved{upload->recordsToSave->front()};
    saved.front().setObject("shown", CKNumber(0.0));
    upload->modifyRecordsCompletion(saved, std::nullopt, std::nullopt);
    mainQueue->runAll();
    EXPECT_EQ(taken(), (Lines{"upload a delete", "answer to 1: a", "answer to 2: a"}));
}

TEST_F(GuardDuplicate, WhatTheServerDidNotConfirmIsSentAgain) {
    guard();
    add(uploadOf("1", {"a", "b"}, {"c"}));
    add(uploadOf("2", {"a", "b"}, {"c"}));
    const auto upload = cloud->take<CKModifyRecordsOperation>();
    upload->modifyRecordsCompletion(std::vector{record("b")}, std::nullopt, std::nullopt);
    mainQueue->runAll();
    EXPECT_EQ(taken(), (Lines{"upload a b delete c", "answer to 1: b", "upload a delete c"}));
}

TEST_F(GuardDuplicate, AfterAFailureEverythingIsSentAgain) {
    guard();
    add(uploadOf("1", {"a"}));
    add(uploadOf("2", {"a"}));
    failUpload(failure(CKErrorCode::quotaExceeded));
    EXPECT_EQ(taken(), (Lines{"upload a delete", "answer to 1: Failed 25.", "upload a delete"}));
}

TEST_F(GuardDuplicate, OneThatWasMadeBeforeTheEngineHeardIsADuplicateToo) {
    guard();
    add(uploadOf("1", {"a"}));
    confirmUploadWithoutMain();
    mainQueue->runNext();  // the answer; what the engine queued for its books still waits
    database->add(uploadOf("2", {"a"}));
    mainQueue->runAll();
    EXPECT_EQ(taken(), (Lines{"upload a delete", "answer to 1: a", "answer to 2: a"}));
}

TEST_F(GuardDuplicate, OneThatWasMadeAfterwardsIsMeant) {
    guard();
    add(uploadOf("1", {"a"}));
    confirmUpload();
    add(uploadOf("2", {"a"}));
    EXPECT_EQ(taken(), (Lines{"upload a delete", "answer to 1: a", "upload a delete"}));
}

TEST_F(GuardDuplicate, OneThatWasMadeAfterwardsIsMeantAlsoWhileOthersWait) {
    guard();
    add(fetchOf("busy"));
    const auto second = fetchOf("busy again");
    add(uploadOf("1", {"a"}));
    add(second);
    add(uploadOf("2", {"b"}));
    answerFetch();
    confirmUpload();
    taken();
    add(uploadOf("3", {"a"}));
    answerFetch();
    confirmUpload();
    EXPECT_EQ(taken(), (Lines{"answer to busy again:", "upload b delete", "answer to 2: b", "upload a delete"}));
}

TEST_F(GuardDuplicate, WhatCameFromElsewhereMeanwhileIsReplacedAsAsked) {
    CloudGuardOptions options;
    options.uploadsFirst = false;
    guard(options);
    add(uploadOf("1", {"a", "b"}));
    add(downloadOf("2", token("T1")));
    add(uploadOf("3", {"a", "b"}));
    confirmUpload();
    answerDownload({{record("a", "elsewhere")}, token("T2")});
    EXPECT_EQ(taken(), (Lines{"upload a b delete", "answer to 1: a b", "download from T1", "answer to 2: a",
                              "upload a delete"}));
}

TEST_F(GuardDuplicate, WhatMayNotReplaceJustAnythingIsSent) {
    guard();
    add(uploadOf("1", {"a"}));
    const auto careful = uploadOf("2", {"a"});
    careful->savePolicy = CKRecordSavePolicy::ifServerRecordUnchanged;
    add(careful);
    confirmUpload();
    EXPECT_EQ(uploads(), 2U);
}

TEST_F(GuardDuplicate, WhereSeveralMayBeOnTheirWayEachIsSent) {
    CloudGuardOptions options = unguarded();
    options.waitsForNetwork = true;
    guard(options);
    add(uploadOf("1", {"a"}));
    add(fetchOf("2"));
    answerFetch(offline());
    add(uploadOf("3", {"a"}));
    confirmUpload();
    pass(std::chrono::seconds(1));
    EXPECT_EQ(uploads(), 2U);
}

TEST_F(GuardDuplicate, AChangeOfTheHostDuringTheUploadGoesUp) {
    guard();
    add(uploadSaying("1", "tea"));
    add(uploadSaying("2", "tea"));
    database->perform({"a"}, [] {});
    add(uploadSaying("3", "coffee"));
    confirmUpload();
    EXPECT_EQ(uploads(), 2U);
    confirmUpload();
    EXPECT_EQ(taken(), Lines{"answer to 3: a"});
}

}  // namespace
}  // namespace quendokit::testing

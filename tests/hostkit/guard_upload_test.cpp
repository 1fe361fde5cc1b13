/// \file
/// How a guarded database sends an upload: in parts, without what the cloud refuses.

#include "tests/support/guarded_fixture.hpp"

namespace quendokit::testing {
namespace {

class GuardUpload : public GuardedFixture {
protected:
    void begin(CloudGuardOptions options = {}) {
        guard(std::move(options));
        CloudGuardEvents events;
        events.reports = [this](const std::string& line) { trace->add("report " + line); };
        events.uploadEnded = [this](const std::optional<Error>& error) {
            trace->add("ended" + (error ? " " + error->description : std::string()));
        };
        database->setEvents(events);
    }
    static CloudGuardOptions requestsOf(std::size_t count) {
        CloudGuardOptions options;
        options.itemsPerRequest = count;
        return options;
    }
    std::shared_ptr<CKModifyRecordsOperation> uploadOfRecords(const std::vector<CKRecord>& records) {
        return tracing("1", std::make_shared<CKModifyRecordsOperation>(records, std::nullopt));
    }
    /// A server that refuses every request with one of `bad` in it, until the upload is over; answers how many it got.
    std::size_t serve(const std::set<std::string>& bad, CKErrorCode code = CKErrorCode::partialFailure) {
        std::size_t count = 0;
        while (const auto request = cloud->take<CKModifyRecordsOperation>()) {
            ++count;
            bool refused = false;
            for (const CKRecord& each : *request->recordsToSave) {
                refused = refused || bad.contains(each.recordID().recordName);
            }
            for (const CKRecordID& each : *request->recordIDsToDelete) {
                refused = refused || bad.contains(each.recordName);
            }
            if (refused) {
                request->modifyRecordsCompletion(std::nullopt, std::nullopt, failure(code));
            } else {
                request->modifyRecordsCompletion(request->recordsToSave, request->recordIDsToDelete, std::nullopt);
            }
            mainQueue->runAll();
        }
        return count;
    }
    static std::string refused(const std::string& name, const std::string& why = "Failed 2.") {
        return "report The reminder \"" + name + "\" cannot be sent to the cloud and waits until it is changed: " + why;
    }
};

TEST_F(GuardUpload, GoesInRequestsOfSoManyItemsDeletionsFirstAndIsAnsweredOnce) {
    begin(requestsOf(2));
    add(uploadOf("1", {"a", "b"}, {"c", "d", "e"}));
    confirmUpload();
    confirmUpload();
    EXPECT_EQ(taken(), (Lines{"upload delete c d", "upload a delete e", "upload b delete"}));
    confirmUpload();
    EXPECT_EQ(taken(), (Lines{"answer to 1: a b -c -d -e", "ended"}));
}

TEST_F(GuardUpload, TwoHundredItemsAreOneRequest) {
    begin();
    Texts names;
    for (int i = 0; i < 401; ++i) {
        names.push_back(std::to_string(i));
    }
    add(uploadOf("1", names));
    std::vector<std::size_t> sizes;
    while (const auto request = cloud->take<CKModifyRecordsOperation>()) {
        sizes.push_back(request->recordsToSave->size());
        request->modifyRecordsCompletion(request->recordsToSave, std::nullopt, std::nullopt);
        mainQueue->runAll();
    }
    EXPECT_EQ(sizes, (std::vector<std::size_t>{200, 200, 1}));
}

TEST_F(GuardUpload, AMegabyteIsOneRequestAndALargerRecordGoesAlone) {
    begin();
    const auto large = [&](const std::string& name, std::size_t size) {
        return record(name, "", std::string(size, 'x'));
    };
    add(uploadOfRecords({large("a", 499'000), large("b", 499'000), large("c", 499'000), large("d", 2'000'000),
                         large("e", 10), large("f", 10)}));
    EXPECT_EQ(serve({}), 4U);
    EXPECT_EQ(taken(), (Lines{"upload a b delete", "upload c delete", "upload d delete", "upload e f delete",
                              "answer to 1: a b c d e f", "ended"}));
}

TEST_F(GuardUpload, ARequestMayBeExactlyFull) {
    CloudGuardOptions options;
    options.bytesPerRequest = 402;  // two deletions of names with one letter
    begin(options);
    add(uploadOf("1", {}, {"a", "b", "c"}));
    EXPECT_EQ(serve({}), 2U);
    EXPECT_EQ(Lines({taken().front()}), Lines{"upload delete a b"});
    options.bytesPerRequest = 401;
    begin(options);
    add(uploadOf("2", {}, {"a", "b", "c"}));
    EXPECT_EQ(serve({}), 3U);
}

TEST_F(GuardUpload, TextAndBytesCountNumbersHardly) {
    CloudGuardOptions options;
    options.bytesPerRequest = 2'000;
    begin(options);
    CKRecord bytes = record("bytes");
    bytes.setObject("data", std::vector<std::byte>(1'200));
    CKRecord number = record("number");
    number.setObject("number", CKNumber(std::int64_t(1)));
    add(uploadOfRecords({record("a"), number, bytes, record("b")}));
    EXPECT_EQ(serve({}), 3U);
    EXPECT_EQ(taken(), (Lines{"upload a number delete", "upload bytes delete", "upload b delete",
                              "answer to 1: a number bytes b", "ended"}));
}

TEST_F(GuardUpload, WithoutThatProtectionItGoesAsItIs) {
    CloudGuardOptions options = requestsOf(1);
    options.splitsUploads = false;
    begin(options);
    add(uploadOf("1", {"a", "b"}, {"c"}));
    EXPECT_EQ(taken(), Lines{"upload a b delete c"});
    failUpload(failure(CKErrorCode::partialFailure));
    EXPECT_EQ(taken(), (Lines{"answer to 1: Failed 2.", "ended Failed 2."}));
}

TEST_F(GuardUpload, WithNoProtectionAbsentListsStayAbsentAndTextIsNotLookedAt) {
    begin(unguarded());
    const auto upload = uploadOfRecords({record("a", "", "zero\0byte" + std::string(1, '\0')), record("a")});
    upload->savePolicy = CKRecordSavePolicy::changedKeys;
    upload->clientChangeTokenData = std::vector<std::byte>(3);
    add(upload);
    const auto request = cloud->take<CKModifyRecordsOperation>();
    ASSERT_TRUE(request);
    EXPECT_EQ(request->recordsToSave, upload->recordsToSave);
    EXPECT_FALSE(request->recordIDsToDelete);
    EXPECT_EQ(request->savePolicy, CKRecordSavePolicy::changedKeys);
    EXPECT_EQ(request->clientChangeTokenData, upload->clientChangeTokenData);
}

TEST_F(GuardUpload, OneRefusedRecordHoldsUpNoOther) {
    for (const auto code :
         {CKErrorCode::partialFailure, CKErrorCode::invalidArguments, CKErrorCode::serverRejectedRequest,
          CKErrorCode::batchRequestFailed, CKErrorCode::serverRecordChanged, CKErrorCode::limitExceeded}) {
        SCOPED_TRACE(static_cast<int>(code));
        begin();
        add(uploadOf("1", {"a", "b", "bad", "c", "d"}, {"e"}));
        EXPECT_LE(serve({"bad"}, code), 7U);
        const Lines lines = taken();
        ASSERT_GE(lines.size(), 3U);
        const Lines end(lines.end() - 3, lines.end());
        const std::string why = "Failed " + std::to_string(static_cast<int>(code)) + ".";
        EXPECT_EQ(end, (Lines{refused("bad", why), "answer to 1: a b c d -e", "ended"}));
    }
}

TEST_F(GuardUpload, WhatMayNotReplaceJustAnythingGoesWholeOrNotAtAll) {
    begin(requestsOf(1));
    const auto upload = uploadOf("1", {"a", "b"});
    upload->savePolicy = CKRecordSavePolicy::ifServerRecordUnchanged;
    add(upload);
    failUpload(failure(CKErrorCode::serverRecordChanged));
    EXPECT_EQ(taken(), (Lines{"upload a b delete", "answer to 1: Failed 14.", "ended Failed 14."}));
}

TEST_F(GuardUpload, ARefusedRecordWaitsUntilItChanges) {
    begin();
    add(uploadOf("1", {"bad"}));
    serve({"bad"});
    taken();
    add(uploadOf("2", {"a", "bad"}));
    serve({"bad"});
    EXPECT_EQ(taken(), (Lines{"upload a delete", "answer to 2: a", "ended"}));
    add(uploadOf("3", {"bad"}));
    EXPECT_EQ(taken(), (Lines{"answer to 3:", "ended"}));
    add(uploadOfRecords({record("bad", "", "changed")}));
    serve({});
    EXPECT_EQ(taken(), (Lines{"upload bad delete", "answer to 1: bad", "ended"}));
    // What was refused once may be taken by now.
    add(uploadOf("4", {"bad"}));
    EXPECT_EQ(taken(), Lines{"upload bad delete"});
}

TEST_F(GuardUpload, ARefusedRecordThatChangedAndIsRefusedAgainWaitsAgain) {
    begin();
    add(uploadOf("1", {"bad"}));
    serve({"bad"});
    add(uploadOfRecords({record("bad", "", "changed")}));
    serve({"bad"});
    taken();
    add(uploadOfRecords({record("bad", "", "changed")}));
    EXPECT_EQ(taken(), (Lines{"answer to 1:", "ended"}));
}

TEST_F(GuardUpload, ARefusedDeletionIsReportedAndTriedAgain) {
    begin();
    add(uploadOf("1", {"a"}, {"bad", "b"}));
    serve({"bad"});
    const Lines lines = taken();
    EXPECT_EQ(std::count(lines.begin(), lines.end(),
                         "report The deletion of \"bad\" is not taken by the cloud and will be tried again: Failed 2."),
              1);
    EXPECT_EQ(std::count(lines.begin(), lines.end(), "answer to 1: a -b"), 1);
    add(uploadOf("2", {}, {"bad"}));
    EXPECT_EQ(taken(), Lines{"upload delete bad"});
}

TEST_F(GuardUpload, EveryRecordRefusedIsAnUploadOfNothing) {
    begin();
    Texts names;
    std::set<std::string> bad;
    for (int i = 0; i < 9; ++i) {
        names.push_back(std::to_string(i));
        bad.insert(names.back());
    }
    add(uploadOf("1", names));
    EXPECT_EQ(serve(bad), 17U);  // a binary tree with nine leaves
    const Lines lines = taken();
    EXPECT_EQ(std::count_if(lines.begin(), lines.end(), [](const auto& each) { return each.starts_with("report"); }),
              9);
    EXPECT_EQ(std::count(lines.begin(), lines.end(), "answer to 1:"), 1);
}

TEST_F(GuardUpload, AnErrorOfTheWholeConfirmsWhatWasTakenAndEndsWithIt) {
    begin(requestsOf(1));
    add(uploadOf("1", {"a", "b", "c"}));
    confirmUpload();
    failUpload(failure(CKErrorCode::quotaExceeded));
    EXPECT_EQ(taken(), (Lines{"upload a delete", "upload b delete", "answer to 1: a", "ended Failed 25."}));
}

TEST_F(GuardUpload, AnErrorOfTheWholeWithNothingTakenIsTheAnswer) {
    begin(requestsOf(1));
    add(uploadOf("1", {"a", "b"}));
    failUpload(failure(CKErrorCode::quotaExceeded));
    EXPECT_EQ(taken(), (Lines{"upload a delete", "answer to 1: Failed 25.", "ended Failed 25."}));
    EXPECT_EQ(cloud->operationCount(), 0U);
}

TEST_F(GuardUpload, WhatComesNextToAnErrorDoesNotCountAsTaken) {
    begin();
    add(uploadOf("1", {"a", "b"}, {"c"}));
    const auto request = cloud->take<CKModifyRecordsOperation>();
    request->modifyRecordsCompletion(request->recordsToSave, request->recordIDsToDelete,
                                     failure(CKErrorCode::quotaExceeded));
    mainQueue->runAll();
    EXPECT_EQ(taken(), (Lines{"upload a b delete c", "answer to 1: Failed 25.", "ended Failed 25."}));
}

TEST_F(GuardUpload, AfterAWaitItGoesOnWhereItWas) {
    begin(requestsOf(1));
    add(uploadOf("1", {"a", "b"}));
    confirmUpload();
    failUpload(offline());
    pass(std::chrono::seconds(1));
    confirmUpload();
    EXPECT_EQ(taken(), (Lines{"upload a delete", "upload b delete", "upload b delete", "answer to 1: a b", "ended"}));
}

TEST_F(GuardUpload, ANameThatComesTwiceGoesOnceADeletionRatherThanASave) {
    begin();
    add(uploadOf("1", {"a", "a", "b"}, {"b", "b"}));
    EXPECT_EQ(taken(), Lines{"upload a delete b"});
}

TEST_F(GuardUpload, TextThatTheServiceDoesNotTakeIsNotSent) {
    using namespace std::string_literals;
    const Texts bad{"a\0b"s,
                    "\0"s,
                    "\x80"s,
                    "a\xbf"s,
                    "\xc0\x80"s,
                    "\xc1\xbf"s,
                    "\xe0\x9f\xbf"s,
                    "\xed\xa0\x80"s,
                    "\xed\xbf\xbf"s,
                    "\xf0\x8f\xbf\xbf"s,
                    "\xf4\x90\x80\x80"s,
                    "\xf5\x80\x80\x80"s,
                    "\xff"s,
                    "\xc2"s,
                    "\xe2\x82"s,
                    "\xf0\x9f\x98"s,
                    "\xc2\x41"s,
                    "\xe2\x82\x41"s,
                    "\xc3\xc3"s,
                    "\xf0\x9f\x98\xc0"s};
    begin();
    for (const std::string& each : bad) {
        SCOPED_TRACE(::testing::PrintToString(each));
        add(uploadOfRecords({record("bad", "", each)}));
        EXPECT_EQ(taken(),
                  (Lines{refused("bad", "its text is not UTF-8, or has a zero byte in it"), "answer to 1:", "ended"}));
    }
    const Texts good{"",
                     "tea",
                     "\x7f",
                     "\xc2\x80",
                     "\xdf\xbf",
                     "\xe0\xa0\x80",
                     "\xed\x9f\xbf",
                     "\xee\x80\x80",
                     "\xef\xbf\xbf",
                     "\xf0\x90\x80\x80",
                     "\xf4\x8f\xbf\xbf",
                     "☕ schön"};
    for (const std::string& each : good) {
        SCOPED_TRACE(::testing::PrintToString(each));
        add(uploadOfRecords({record("good", "", each)}));
        EXPECT_EQ(serve({}), 1U);
        taken();
    }
}

TEST_F(GuardUpload, BadTextGoesWithoutThatProtectionAndIsFoundWithoutSplitting) {
    CloudGuardOptions options;
    options.checksText = false;
    begin(options);
    add(uploadOfRecords({record("bad", "", "\xff")}));
    EXPECT_EQ(taken(), Lines{"upload bad delete"});
    CloudGuardOptions other;
    other.splitsUploads = false;
    begin(other);
    add(uploadOfRecords({record("bad", "", "\xff"), record("a")}));
    EXPECT_EQ(Lines({taken().front()}), Lines{"upload a delete"});
}

TEST_F(GuardUpload, AReportComesInALaterTurn) {
    begin();
    CloudGuardEvents events;
    bool changed = false;
    events.reports = [&](const std::string&) { database->perform({"bad"}, [&] { changed = true; }); };
    database->setEvents(events);
    database->add(uploadOfRecords({record("bad", "", "\xff"), record("a")}));
    mainQueue->runNext();
    EXPECT_FALSE(changed);
    mainQueue->runAll();
    EXPECT_TRUE(changed);
    // It is in the upload, which therefore was taken back.
    EXPECT_EQ(taken(), (Lines{"upload a delete", "answer to 1: A reminder in it has changed meanwhile."}));
}

}  // namespace
}  // namespace quendokit::testing

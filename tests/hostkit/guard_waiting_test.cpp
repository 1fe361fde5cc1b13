/// \file
/// How a guarded database waits for the network, and what it does not wait for.

#include <cmath>
#include <limits>

#include "tests/support/guarded_fixture.hpp"

namespace quendokit::testing {
namespace {

using namespace std::chrono_literals;

class GuardWaiting : public GuardedFixture {
protected:
    void listen() {
        CloudGuardEvents events;
        events.waits = [this](const Error& error, std::chrono::nanoseconds time) {
            waits.push_back(std::chrono::duration<double>(time).count());
            lastError = error.description;
        };
        database->setEvents(events);
    }
    /// How long it waits after `count` failures.
    void failTimes(std::size_t count, const Error& error) {
        for (std::size_t i = 0; i < count; ++i) {
            failUpload(error);
            if (i + 1 < count) {
                pass(86'400s);
            }
        }
    }

    std::vector<double> waits;
    std::string lastError;
};

TEST_F(GuardWaiting, WhatPassesIsTriedAgainAfterASecondAndNobodyHearsOfIt) {
    for (const auto code : {CKErrorCode::networkUnavailable, CKErrorCode::networkFailure,
                            CKErrorCode::serviceUnavailable, CKErrorCode::requestRateLimited, CKErrorCode::zoneBusy}) {
        SCOPED_TRACE(static_cast<int>(code));
        guard();
        add(uploadOf("1", {"a"}));
        failUpload(failure(code));
        EXPECT_EQ(taken(), Lines{"upload a delete"});
        ASSERT_TRUE(database->waitsBecause());
        EXPECT_TRUE(isCKError(*database->waitsBecause(), code));
        EXPECT_EQ(database->waitingCount(), 1U);
        pass(999ms);
        EXPECT_EQ(taken(), Lines{});
        pass(1ms);
        EXPECT_EQ(taken(), Lines{"upload a delete"});
        EXPECT_FALSE(database->waitsBecause());
        confirmUpload();
        EXPECT_EQ(taken(), Lines{"answer to 1: a"});
    }
}

TEST_F(GuardWaiting, WhatDoesNotPassIsAnsweredAtOnce) {
    for (const auto code : {CKErrorCode::notAuthenticated, CKErrorCode::permissionFailure, CKErrorCode::badContainer,
                            CKErrorCode::changeTokenExpired, CKErrorCode::quotaExceeded, CKErrorCode::zoneNotFound,
                            CKErrorCode::unknownItem, CKErrorCode::operationCancelled}) {
        SCOPED_TRACE(static_cast<int>(code));
        guard();
        add(fetchOf("1"));
        answerFetch(failure(code));
        EXPECT_EQ(taken(), (Lines{"fetch zones Reminder Zone",
                                  "answer to 1: Failed " + std::to_string(static_cast<int>(code)) + "."}));
        EXPECT_FALSE(database->waitsBecause());
    }
    guard();
    add(fetchOf("2"));
    Error foreign = offline();
    foreign.domain = "Another";
    answerFetch(foreign);
    EXPECT_FALSE(database->waitsBecause());
}

TEST_F(GuardWaiting, AServerThatFailsTwiceOverOneRequestHoldsNothingUp) {
    guard();
    add(fetchOf("1"));
    add(fetchOf("2"));
    answerFetch(failure(CKErrorCode::internalError));
    EXPECT_EQ(taken(), Lines{"fetch zones Reminder Zone"});
    pass(1s);
    answerFetch(failure(CKErrorCode::internalError));
    EXPECT_EQ(taken(), (Lines{"fetch zones Reminder Zone", "answer to 1: Failed 1.", "fetch zones Reminder Zone"}));
    EXPECT_FALSE(database->waitsBecause());
}

TEST_F(GuardWaiting, AFailureOfTheNetworkInBetweenGivesTheServerAnotherTry) {
    guard();
    add(fetchOf("1"));
    answerFetch(failure(CKErrorCode::internalError));
    pass(1s);
    answerFetch(offline());
    pass(2s);
    answerFetch(failure(CKErrorCode::internalError));
    EXPECT_TRUE(database->waitsBecause());
}

TEST_F(GuardWaiting, EachRequestOfAnUploadHasASecondTry) {
    CloudGuardOptions options;
    options.itemsPerRequest = 1;
    guard(options);
    add(uploadOf("1", {"a", "b"}));
    failUpload(failure(CKErrorCode::internalError));
    pass(1s);
    confirmUpload();
    failUpload(failure(CKErrorCode::internalError));
    EXPECT_TRUE(database->waitsBecause());
    pass(1s);
    confirmUpload();
    EXPECT_EQ(Lines({taken().back()}), Lines{"answer to 1: a b"});
}

TEST_F(GuardWaiting, EachFailureDoublesTheWaitUpToFiveMinutes) {
    guard();
    listen();
    add(uploadOf("1", {"a"}));
    failTimes(40, offline());
    ASSERT_EQ(waits.size(), 40U);
    EXPECT_EQ(std::vector<double>(waits.begin(), waits.begin() + 10),
              (std::vector<double>{1, 2, 4, 8, 16, 32, 64, 128, 256, 300}));
    EXPECT_EQ(waits.back(), 300);
    EXPECT_EQ(lastError, "Failed 3.");
    EXPECT_EQ(mainLoop->timerCount(), 1U);
}

TEST_F(GuardWaiting, AnAnswerBeginsTheCountAnew) {
    guard();
    listen();
    add(uploadOf("1", {"a"}));
    failTimes(3, offline());
    pass(4s);
    confirmUpload();
    add(uploadOf("2", {"a"}));
    failUpload(offline());
    EXPECT_EQ(waits, (std::vector<double>{1, 2, 4, 1}));
}

TEST_F(GuardWaiting, JitterTakesUpToHalfOfAWaitAway) {
    CloudGuardOptions options;
    double jitter = 0.5;
    options.jitter = [&] { return jitter; };
    guard(options);
    listen();
    add(uploadOf("1", {"a"}));
    failUpload(offline());
    jitter = 0.999;
    pass(1s);
    failUpload(offline());
    ASSERT_EQ(waits.size(), 2U);
    EXPECT_DOUBLE_EQ(waits[0], 0.75);
    EXPECT_NEAR(waits[1], 1.001, 1e-6);
}

TEST_F(GuardWaiting, WithoutJitterOfTheTestsItIsRandomWithinTheSameBounds) {
    GuardedContainerProvider provider(containers, {});
    database = provider.database("iCloud.net.example.reminders");
    listen();
    add(uploadOf("1", {"a"}));
    for (int i = 0; i < 12; ++i) {
        failUpload(offline());
        database->retryNow();
        mainQueue->runAll();
    }
    bool differ = false;
    for (const double wait : waits) {
        EXPECT_GE(wait, 0.5);
        EXPECT_LE(wait, 1);
        differ = differ || wait != waits.front();
    }
    EXPECT_TRUE(differ);
}

TEST_F(GuardWaiting, TheServerSaysHowLong) {
    guard();
    listen();
    add(uploadOf("1", {"a"}));
    failUpload(failure(CKErrorCode::requestRateLimited, 37.5));
    pass(37'499ms);
    EXPECT_TRUE(database->waitsBecause());
    pass(1ms);
    EXPECT_FALSE(database->waitsBecause());
    failUpload(failure(CKErrorCode::requestRateLimited, 0.1));  // less than the second wait
    EXPECT_EQ(waits, (std::vector<double>{37.5, 2}));
}

TEST_F(GuardWaiting, WhatNoServerCanMeanIsBounded) {
    const double inf = std::numeric_limits<double>::infinity();
    const std::vector<std::pair<double, double>> rows{
        {1e300, 86'400}, {inf, 86'400}, {-inf, 1}, {-5, 1}, {std::nan(""), 1}};
    for (const auto& [asked, waited] : rows) {
        SCOPED_TRACE(asked);
        guard();
        listen();
        waits.clear();
        add(uploadOf("1", {"a"}));
        failUpload(failure(CKErrorCode::serviceUnavailable, asked));
        EXPECT_EQ(waits, std::vector<double>{waited});
        database->retryNow();
        mainQueue->runAll();
        confirmUpload();
    }
}

TEST_F(GuardWaiting, NothingElseIsTriedMeanwhile) {
    guard();
    add(uploadOf("1", {"a"}));
    failUpload(offline());
    taken();
    add(fetchOf("2"));
    EXPECT_EQ(taken(), Lines{});
    pass(1s);
    EXPECT_EQ(taken(), Lines{"upload a delete"});
}

TEST_F(GuardWaiting, WithANetworkAgainItIsTriedAtOnceAndOnce) {
    guard();
    listen();
    database->retryNow();
    add(uploadOf("1", {"a"}));
    failTimes(3, offline());
    taken();
    database->retryNow();
    mainQueue->runAll();
    EXPECT_EQ(taken(), Lines{"upload a delete"});
    EXPECT_FALSE(database->waitsBecause());
    EXPECT_EQ(mainLoop->timerCount(), 0U);
    pass(10s);
    EXPECT_EQ(taken(), Lines{});
    database->retryNow();
    mainQueue->runAll();
    EXPECT_EQ(taken(), Lines{});
    failUpload(offline());
    EXPECT_EQ(waits.back(), 1);
}

TEST_F(GuardWaiting, AListenerMayAskForItAtOnce) {
    guard();
    CloudGuardEvents events;
    events.waits = [this](const Error&, std::chrono::nanoseconds) {
        database->setEvents({});
        database->retryNow();
    };
    database->setEvents(events);
    add(uploadOf("1", {"a"}));
    failUpload(offline());
    EXPECT_EQ(taken(), (Lines{"upload a delete", "upload a delete"}));
    confirmUpload();
    EXPECT_EQ(taken(), Lines{"answer to 1: a"});
}

TEST_F(GuardWaiting, ADownloadThatIsTriedAgainKeepsItsToken) {
    guardManager();
    manager->remoteSync();
    mainQueue->runAll();
    answerDownload({{record("half")}, std::nullopt, false, offline()});
    EXPECT_EQ(taken(), Lines{"download from T0"});
    pass(1s);
    answerDownload({{record("a")}, token("T1")});
    EXPECT_EQ(taken(), (Lines{"download from T0", "store a", "☁️ Received: a",
                              "post quendokit.reminders.did-finish-remote-sync"}));
    EXPECT_EQ(gate->durableToken(), token("T1"));
}

TEST_F(GuardWaiting, WithoutWaitingAFailedDownloadErasesTheToken) {
    CloudGuardOptions options;
    options.waitsForNetwork = false;
    guardManager(options);
    manager->remoteSync();
    mainQueue->runAll();
    answerDownload({{}, std::nullopt, false, offline()});
    EXPECT_FALSE(gate->durableToken());
    EXPECT_FALSE(database->waitsBecause());
    manager->remoteSync();
    mainQueue->runAll();
    EXPECT_EQ(taken(), (Lines{"download from T0", "NSLog Failed 3.", "post quendokit.reminders.did-finish-remote-sync",
                              "download from the beginning"}));
}

TEST_F(GuardWaiting, TheWaitEndsWithTheGuard) {
    guard();
    add(uploadOf("1", {"a"}));
    failUpload(offline());
    EXPECT_EQ(mainLoop->timerCount(), 1U);
    endGuard();
    EXPECT_EQ(mainLoop->timerCount(), 0U);
    pass(1s);
    EXPECT_EQ(taken(), Lines{"upload a delete"});
}

}  // namespace
}  // namespace quendokit::testing

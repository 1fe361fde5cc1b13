#include "hostkit/host_health.hpp"

#include <gtest/gtest.h>

#include "quendokit/model/date_operations.hpp"

namespace quendokit::testing {
namespace {

class Health : public ::testing::Test {
protected:
    static HostFacts good(Date now) { return {.isMirrored = true, .isZoneKnown = true, .lastDownload = now}; }

    HostHealth health;
    const Date start = Date(1'795'302'000);
};

TEST_F(Health, OfAHostThatDoesAllItShouldIsGood) {
    for (int i = 0; i < 100; ++i) {
        EXPECT_TRUE(health.update(good(start + i * 600), start + i * 600).lines.empty());
    }
}

TEST_F(Health, TellsOfUnsentChangesAfterAQuarterOfAnHourOnce) {
    HostFacts facts = good(start);
    facts.unsentCount = 3;
    EXPECT_TRUE(health.update(facts, start).lines.empty());
    EXPECT_TRUE(health.update(facts, start + 899).lines.empty());
    auto state = health.update(facts, start + 900);
    ASSERT_EQ(state.lines.size(), 1U);
    EXPECT_TRUE(state.lines.front().starts_with("3 changes have not reached the cloud"));
    EXPECT_EQ(state.newLines, state.lines);
    facts.unsentCount = 1;
    state = health.update(facts, start + 950);
    EXPECT_TRUE(state.lines.front().starts_with("1 change has not reached the cloud"));
    EXPECT_TRUE(state.newLines.empty());
}

TEST_F(Health, TellsAgainOfWhatWasMendedAndWentWrongAnew) {
    HostFacts facts = good(start);
    facts.unsentCount = 1;
    static_cast<void>(health.update(facts, start));
    EXPECT_EQ(health.update(facts, start + 900).newLines.size(), 1U);
    facts.unsentCount = 0;
    EXPECT_TRUE(health.update(facts, start + 901).lines.empty());
    facts.unsentCount = 1;
    EXPECT_TRUE(health.update(facts, start + 902).lines.empty());
    EXPECT_TRUE(health.update(facts, start + 1'801).lines.empty());
    EXPECT_EQ(health.update(facts, start + 1'802).newLines.size(), 1U);
}

TEST_F(Health, TellsOfAnUnknownZone) {
    HostFacts facts = good(start);
    facts.isZoneKnown = false;
    EXPECT_TRUE(health.update(facts, start).lines.empty());
    EXPECT_EQ(health.update(facts, start + 900).newLines.size(), 1U);
}

TEST_F(Health, TellsOfMissingDownloadsAfterAnHour) {
    HostFacts facts = good(start);
    EXPECT_TRUE(health.update(facts, start).lines.empty());
    EXPECT_TRUE(health.update(facts, start + 3'599).lines.empty());
    EXPECT_EQ(health.update(facts, start + 3'600).lines.size(), 1U);
    facts.lastDownload = start + 3'700;
    EXPECT_TRUE(health.update(facts, start + 3'700).lines.empty());
    EXPECT_EQ(health.update(facts, start + 7'300).newLines.size(), 1U);
}

TEST_F(Health, ADownloadOfAnEarlierRunOrOfBeforeASleepSaysNothingYet) {
    HostFacts facts = good(start - 86'400);
    EXPECT_TRUE(health.update(facts, start).lines.empty());
    EXPECT_TRUE(health.update(facts, start + 3'599).lines.empty());
    health.resumed();
    EXPECT_TRUE(health.update(facts, start + 80'000).lines.empty());
    EXPECT_EQ(health.update(facts, start + 83'600).lines.size(), 1U);
}

TEST_F(Health, CountsFromTheBeginningWhenNothingWasEverDownloaded) {
    HostFacts facts = good(start);
    facts.lastDownload.reset();
    EXPECT_TRUE(health.update(facts, start).lines.empty());
    EXPECT_TRUE(health.update(facts, start + 3'599).lines.empty());
    EXPECT_EQ(health.update(facts, start + 3'600).lines.size(), 1U);
}

TEST_F(Health, TellsOfAFailedWriteAndOfAMissingServiceAtOnce) {
    HostFacts facts;
    facts.hasWriteFailed = true;
    facts.isPresenterReachable = false;
    const auto state = health.update(facts, start);
    EXPECT_EQ(state.newLines.size(), 2U);
    EXPECT_NE(state.lines[0].find("disk"), std::string::npos);
    EXPECT_NE(state.lines[1].find("notification service"), std::string::npos);
    facts.hasWriteFailed = false;
    const auto later = health.update(facts, start + 1);
    EXPECT_EQ(later.lines.size(), 1U);
    EXPECT_TRUE(later.newLines.empty());
}

TEST_F(Health, WithoutACloudNothingOfItIsWrong) {
    HostFacts facts;
    facts.unsentCount = 10;
    EXPECT_TRUE(health.update(facts, start).lines.empty());
    EXPECT_TRUE(health.update(facts, start + 86'400).lines.empty());
}

TEST_F(Health, AClockThatIsSetBackBeginsTheWaitAnew) {
    HostFacts facts = good(start);
    facts.unsentCount = 1;
    static_cast<void>(health.update(facts, start));
    EXPECT_TRUE(health.update(facts, start - 3'600).lines.empty());
    EXPECT_EQ(health.update(facts, start - 2'700).newLines.size(), 1U);
}

}  // namespace
}  // namespace quendokit::testing

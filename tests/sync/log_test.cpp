#include "quendokit/sync/log_internal.hpp"
#include "tests/support/sync_fixture.hpp"

namespace quendokit::testing {
namespace {

using SyncLog = SyncFixture;

TEST_F(SyncLog, GoesToTheHostsHookAndThenNotToStandardOutput) {
    Lines lines;
    setLogFunc([&](const LogMessage& message) { lines.push_back(message()); });
    make(SyncMethod::polling);
    answerZone(true);
    EXPECT_EQ(lines, Lines{"☁️ Reminder zone retrieved"});
    EXPECT_EQ(taken(), Lines{"fetch zones Reminder Zone"});
}

TEST_F(SyncLog, AHookThatReadsNothingChangesNothing) {
    int messages = 0;
    setLogFunc([&](const LogMessage&) { ++messages; });
    make(SyncMethod::polling);
    answerZone(false, error("Offline."));
    EXPECT_EQ(messages, 2);
}

TEST_F(SyncLog, ATextThatNobodyReadsIsNotMade) {
    int made = 0;
    const LogMessage message = [&] { return std::to_string(++made); };
    setLogFunc([](const LogMessage&) {});
    Log(message);
    EXPECT_EQ(made, 0);
    setLogFunc({});
    Log(message);
    EXPECT_EQ(taken(), Lines{"1"});
}

}  // namespace
}  // namespace quendokit::testing

#include <gtest/gtest.h>

#include "adapters/dbus/lock_state_internal.hpp"

namespace quendokit::dbus {
namespace {

TEST(LockState, TellsOneUnlockingHoweverItIsAnnounced) {
    LockState state;
    state.didSignalLock();
    EXPECT_FALSE(state.didHint(true));
    EXPECT_TRUE(state.didSignalUnlock());
    EXPECT_FALSE(state.didHint(false));

    EXPECT_FALSE(state.didHint(true));
    EXPECT_TRUE(state.didHint(false));
    EXPECT_FALSE(state.didSignalUnlock());
}

TEST(LockState, TellsEachUnlockingWhereOnlySignalsCome) {
    LockState state;
    EXPECT_TRUE(state.didSignalUnlock());
    EXPECT_TRUE(state.didSignalUnlock());
    state.didSignalLock();
    EXPECT_TRUE(state.didSignalUnlock());
}

TEST(LockState, TellsTheUnlockingOfASessionThatWasLockedAtTheBeginning) {
    LockState state;
    state.begin(true);
    EXPECT_TRUE(state.didHint(false));
    EXPECT_FALSE(state.didSignalUnlock());
}

TEST(LockState, TellsNothingOfASessionThatStaysOpen) {
    LockState state;
    EXPECT_FALSE(state.didHint(false));
    EXPECT_FALSE(state.didHint(false));
}

}  // namespace
}  // namespace quendokit::dbus

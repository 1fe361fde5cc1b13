#include "quendokit/platform/fatal_error.hpp"

#include <csignal>
#include <cstdlib>

#include <gtest/gtest.h>

namespace quendokit {
namespace {

TEST(FatalErrorDeathTest, WritesOneLineToStandardErrorAndAborts) {
    EXPECT_DEATH(fatalError("the day plan contradicts itself"), "^Fatal error: the day plan contradicts itself\n$");
    // Sanitizers leave abort() alone.
    EXPECT_EXIT(fatalError("x"), ::testing::KilledBySignal(SIGABRT), "Fatal error: x");
}

TEST(FatalErrorDeathTest, WritesMessagesThatAreNoFormats) {
    EXPECT_DEATH(fatalError("100 %s %n"), "Fatal error: 100 %s %n\n");
    EXPECT_DEATH(fatalError(std::string_view("cut off", 3)), "Fatal error: cut\n");
    EXPECT_DEATH(fatalError(""), "Fatal error: \n");
}

}  // namespace
}  // namespace quendokit

#include "quendokit/model/time_units.hpp"

#include <cstdint>
#include <limits>

#include <gtest/gtest.h>

namespace quendokit {
namespace {

constexpr auto most = std::numeric_limits<std::int64_t>::max();
constexpr auto least = std::numeric_limits<std::int64_t>::min();
constexpr auto infinity = std::numeric_limits<double>::infinity();
constexpr auto nan = std::numeric_limits<double>::quiet_NaN();

TEST(TimeUnits, WholeNumbersAreMultiplied) {
    EXPECT_EQ(seconds(17), 17);
    EXPECT_EQ(minutes(90), 5'400);
    EXPECT_EQ(hours(3), 10'800);
    EXPECT_EQ(days(2), 172'800);
    EXPECT_EQ(minutes(-1), -60);
    EXPECT_EQ(hours(-1), -3'600);
    EXPECT_EQ(days(-1), -86'400);
    EXPECT_EQ(days(0), 0);
}

TEST(TimeUnits, TheSingularIsThePlural) {
    EXPECT_EQ(second(1), 1);
    EXPECT_EQ(minute(1), 60);
    EXPECT_EQ(hour(1), 3'600);
    EXPECT_EQ(day(1), 86'400);
    EXPECT_EQ(minute(1.5), 90);
    EXPECT_EQ(hour(1.5), 5'400);
    EXPECT_EQ(day(1.5), 129'600);
}

TEST(TimeUnits, FractionsCountInWholeSixtiethsOfTheUnit) {
    EXPECT_EQ(hours(1.5), 5'400);
    EXPECT_EQ(minutes(0.5), 30);
    EXPECT_EQ(minutes(-1.5), -90);
    EXPECT_EQ(minutes(0.999), 59);
    EXPECT_EQ(hours(0.01), 0);
    EXPECT_EQ(hours(0.02), 60);
    EXPECT_EQ(hours(-0.02), -60);
    EXPECT_EQ(days(0.01), 0);
    EXPECT_EQ(days(0.5), 43'200);
    EXPECT_EQ(days(0.02), 1'440);
}

TEST(TimeUnits, AreKnownToTheCompiler) {
    static_assert(hours(9) == 32'400);
    static_assert(hours(1.5) == 5'400);
}

TEST(TimeUnits, ReachToTheEndsOf64Bits) {
    EXPECT_EQ(seconds(most), most);
    EXPECT_EQ(seconds(least), least);
    EXPECT_EQ(minutes(most / 60), most / 60 * 60);
    EXPECT_EQ(minutes(least / 60), least / 60 * 60);
    EXPECT_EQ(hours(most / 3'600), most / 3'600 * 3'600);
    EXPECT_EQ(days(most / 86'400), most / 86'400 * 86'400);
    EXPECT_EQ(days(least / 86'400), least / 86'400 * 86'400);
}

template <typename Number>
void expectFatal(Number number) {
    EXPECT_DEATH(static_cast<void>(minutes(number)), "Fatal error: .* 64 bits");
    EXPECT_DEATH(static_cast<void>(hours(number)), "Fatal error: .* 64 bits");
    EXPECT_DEATH(static_cast<void>(days(number)), "Fatal error: .* 64 bits");
}

TEST(TimeUnitsDeathTest, AnOverflowIsFatal) {
    EXPECT_DEATH(static_cast<void>(seconds(std::uint64_t{most} + 1)), "does not fit 64 bits");
    EXPECT_DEATH(static_cast<void>(minutes(most / 60 + 1)), "does not fit 64 bits");
    EXPECT_DEATH(static_cast<void>(minutes(least / 60 - 1)), "does not fit 64 bits");
    EXPECT_DEATH(static_cast<void>(hours(most / 3'600 + 1)), "does not fit 64 bits");
    EXPECT_DEATH(static_cast<void>(hours(least / 3'600 - 1)), "does not fit 64 bits");
    EXPECT_DEATH(static_cast<void>(days(most / 86'400 + 1)), "does not fit 64 bits");
    EXPECT_DEATH(static_cast<void>(days(least / 86'400 - 1)), "does not fit 64 bits");
    expectFatal(most);
    expectFatal(least);
}

TEST(TimeUnitsDeathTest, ANumberThatIsNoneIsFatal) {
    expectFatal(nan);
    expectFatal(infinity);
    expectFatal(-infinity);
}

TEST(TimeUnitsDeathTest, AFractionBeyond64BitsIsFatal) {
    expectFatal(1e18);
    expectFatal(-1e18);
    // Sixty times this is 2^63 exactly, the first number that does not fit.
    EXPECT_DEATH(static_cast<void>(minutes(153'722'867'280'912'930.133)), "64 bits");
    EXPECT_EQ(minutes(153'722'867'280'912'900.0), 9'223'372'036'854'773'760);
    // Its negative is the least that does.
    EXPECT_EQ(minutes(-153'722'867'280'912'930.133), least);
    // The sixtieths fit, the seconds do not.
    EXPECT_DEATH(static_cast<void>(hours(1e16)), "does not fit 64 bits");
    EXPECT_DEATH(static_cast<void>(days(1e15)), "does not fit 64 bits");
}

TEST(CheckedArithmetic, AddsAndSubtractsUpToTheEnds) {
    EXPECT_EQ(checkedAdd(most, least), -1);
    EXPECT_EQ(checkedAdd(most - 1, 1), most);
    EXPECT_EQ(checkedAdd(least + 1, -1), least);
    EXPECT_EQ(checkedSubtract(least + 1, 1), least);
    EXPECT_EQ(checkedSubtract(most - 1, -1), most);
}

TEST(CheckedArithmeticDeathTest, TrapsBeyondTheEnds) {
    EXPECT_DEATH(static_cast<void>(checkedAdd(most, 1)), "an addition of whole seconds does not fit 64 bits");
    EXPECT_DEATH(static_cast<void>(checkedAdd(least, -1)), "an addition");
    EXPECT_DEATH(static_cast<void>(checkedSubtract(least, 1)), "a subtraction of whole seconds does not fit 64 bits");
    EXPECT_DEATH(static_cast<void>(checkedSubtract(most, -1)), "a subtraction");
}

}  // namespace
}  // namespace quendokit

#include "quendokit/platform/date.hpp"

#include <cmath>
#include <limits>

#include <gtest/gtest.h>

namespace quendokit {
namespace {

TEST(Date, IsEightBytesAndNeverRounded) {
    static_assert(sizeof(Date) == 8);
    for (const double seconds :
         {0.0, 0.1, -1.5, 1'795'302'000.123456, 1e300, std::numeric_limits<double>::denorm_min()}) {
        EXPECT_EQ(Date(seconds).timeIntervalSince1970(), seconds);
    }
}

TEST(Date, ComparesExactly) {
    const double moment = 1'795'302'000;
    EXPECT_EQ(Date(moment), Date(moment));
    EXPECT_NE(Date(moment), Date(std::nextafter(moment, 0)));
    EXPECT_LT(Date(moment), Date(std::nextafter(moment, 1e300)));
    EXPECT_GT(Date(-1), Date(-2));
    EXPECT_EQ(Date(0.0), Date(-0.0));
}

TEST(Date, NaNIsUnordered) {
    const Date nan(std::nan(""));
    EXPECT_FALSE(nan == nan);
    EXPECT_FALSE(nan < Date(0));
    EXPECT_FALSE(nan > Date(0));
}

}  // namespace
}  // namespace quendokit

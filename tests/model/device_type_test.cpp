#include "quendokit/model/device_type.hpp"

#include <limits>
#include <unordered_set>

#include <gtest/gtest.h>

namespace quendokit {
namespace {

TEST(DeviceType, TheMacIsOne) {
    EXPECT_EQ(DeviceType(DeviceType::mac).rawValue(), 1);
    EXPECT_EQ(DeviceType::fromRawValue(1), DeviceType(DeviceType::mac));
}

TEST(DeviceType, EveryOtherRawValueIsAbsent) {
    using Limits = std::numeric_limits<std::int64_t>;
    for (const std::int64_t rawValue :
         {std::int64_t{0}, std::int64_t{-1}, std::int64_t{2}, std::int64_t{-2}, std::int64_t{1} << 32,
          (std::int64_t{1} << 32) + 1, std::int64_t{1} << 40, Limits::min(), Limits::max()}) {
        EXPECT_EQ(DeviceType::fromRawValue(rawValue), std::nullopt) << rawValue;
    }
}

TEST(DeviceType, ComparesAndHashesByCase) {
    const DeviceType one = DeviceType::mac;
    const DeviceType other = DeviceType::mac;
    EXPECT_TRUE(one == other);
    EXPECT_EQ((std::unordered_set<DeviceType>{one, other}.size()), 1U);
}

static_assert(DeviceType::fromRawValue(1).has_value() && !DeviceType::fromRawValue(2).has_value());

}  // namespace
}  // namespace quendokit

#include "quendokit/platform/uuid.hpp"

#include <set>
#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "quendokit/platform/services.hpp"

namespace quendokit {
namespace {

TEST(MakeUUID, HasTheFormOfARandomUUIDInUpperCase) {
    const platform::ScopedInstall scope({});
    for (int i = 0; i < 1000; ++i) {
        const std::string uuid = makeUUID();
        ASSERT_EQ(uuid.size(), 36U);
        for (std::size_t k = 0; k < uuid.size(); ++k) {
            const bool dash = k == 8 || k == 13 || k == 18 || k == 23;
            ASSERT_NE(std::string_view(dash ? "-" : "0123456789ABCDEF").find(uuid[k]), std::string_view::npos) << uuid;
        }
        ASSERT_EQ(uuid[14], '4') << "the version, in " << uuid;
        ASSERT_NE(std::string_view("89AB").find(uuid[19]), std::string_view::npos) << "the variant, in " << uuid;
    }
}

TEST(MakeUUID, EveryOtherDigitVariesAndNoTwoAreAlike) {
    const platform::ScopedInstall scope({});
    std::set<std::string> uuids;
    std::vector<std::set<char>> seen(36);
    for (int i = 0; i < 1000; ++i) {
        const std::string uuid = makeUUID();
        uuids.insert(uuid);
        for (std::size_t k = 0; k < uuid.size(); ++k) {
            seen[k].insert(uuid[k]);
        }
    }
    EXPECT_EQ(uuids.size(), 1000U);
    for (std::size_t k = 0; k < seen.size(); ++k) {
        const bool fixed = k == 8 || k == 13 || k == 14 || k == 18 || k == 23;
        EXPECT_EQ(seen[k].size(), fixed ? 1U : k == 19 ? 4U : 16U) << "character " << k;
    }
}

TEST(MakeUUID, ComesFromTheInstalledSource) {
    int calls = 0;
    platform::Services services;
    services.uuidSource = [&calls] { return "id " + std::to_string(++calls); };
    const platform::ScopedInstall scope(services);
    EXPECT_EQ(makeUUID(), "id 1");
    EXPECT_EQ(makeUUID(), "id 2");
}

TEST(MakeUUIDDeathTest, IsFatalBeforeInstalling) {
    EXPECT_DEATH(static_cast<void>(makeUUID()), "used before platform::install");
}

}  // namespace
}  // namespace quendokit

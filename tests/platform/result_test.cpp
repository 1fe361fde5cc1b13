#include <memory>
#include <string>

#include <gtest/gtest.h>

#include "quendokit/platform/error.hpp"
#include "quendokit/platform/realm_error.hpp"

namespace quendokit {
namespace {

TEST(Result, HoldsAValue) {
    Result<std::string> result = std::string("value");
    EXPECT_TRUE(result);
    EXPECT_TRUE(result.hasValue());
    EXPECT_EQ(result.value(), "value");
    result.value() += "!";
    EXPECT_EQ(result.value(), "value!");
}

TEST(Result, OrTheErrorThatCameInstead) {
    const Result<std::string> result = Error{"Realm", 5, "no room: free some"};
    EXPECT_FALSE(result);
    EXPECT_FALSE(result.hasValue());
    EXPECT_EQ(result.error().domain, "Realm");
    EXPECT_EQ(result.error().code, 5);
    EXPECT_EQ(result.error().description, "no room: free some");
}

TEST(Result, GivesAwayAValueThatCannotBeCopied) {
    Result<std::unique_ptr<int>> result = std::make_unique<int>(7);
    const std::unique_ptr<int> taken = std::move(result).value();
    EXPECT_EQ(*taken, 7);
}

TEST(Result, HoldsAValueThatIsFalse) {
    const Result<int> zero = 0;
    EXPECT_TRUE(zero);
    EXPECT_EQ(zero.value(), 0);
}

TEST(RealmError, IsKnownByDomainAndCode) {
    const Error full = makeRealmError(RealmErrorCode::full, "no room");
    EXPECT_EQ(full.domain, "Realm");
    EXPECT_EQ(full.description, "no room");
    EXPECT_TRUE(isRealmError(full, RealmErrorCode::full));
    EXPECT_FALSE(isRealmError(full, RealmErrorCode::locked));
    EXPECT_FALSE(isRealmError({"Files", full.code, ""}, RealmErrorCode::full));
}

}  // namespace
}  // namespace quendokit

#include <memory>

#include <gtest/gtest.h>

#include "quendokit/platform/realm.hpp"
#include "quendokit/platform/services.hpp"
#include "testing/in_memory_realm.hpp"

namespace quendokit {
namespace {

class RefusingProvider final : public RealmProvider {
public:
    Result<std::shared_ptr<Realm>> open(const Realm::Configuration& configuration) override {
        version = configuration.schemaVersion;
        return makeRealmError(RealmErrorCode::newerVersion, "the file is newer: install the newer program");
    }
    std::uint64_t version = 0;
};

TEST(RealmOpen, AsksTheInstalledProvider) {
    platform::Services services;
    services.realmProvider = std::make_shared<testing::InMemoryRealmProvider>();
    const platform::ScopedInstall scope(services);
    auto first = Realm::open({});
    auto second = Realm::open({});
    ASSERT_TRUE(first && second);
    EXPECT_EQ(first.value(), second.value()) << "one file is one database";
}

TEST(RealmOpen, HandsTheProvidersErrorOn) {
    const auto provider = std::make_shared<RefusingProvider>();
    platform::Services services;
    services.realmProvider = provider;
    const platform::ScopedInstall scope(services);
    Realm::Configuration configuration;
    configuration.schemaVersion = 4;
    const auto opened = Realm::open(configuration);
    ASSERT_FALSE(opened);
    EXPECT_TRUE(isRealmError(opened.error(), RealmErrorCode::newerVersion));
    EXPECT_EQ(provider->version, 4U);
}

}  // namespace
}  // namespace quendokit

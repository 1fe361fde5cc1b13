/// \file
/// The settings in memory, by their conformance suites, and what tests ask of them besides.

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "tests/support/settings_factories.hpp"

namespace quendokit::testing {

INSTANTIATE_TEST_SUITE_P(InMemory, UserDefaultsConformance,
                         ::testing::Values(UserDefaultsImplementation{
                             "InMemory", [] { return std::make_unique<InMemoryUserDefaultsFactory>(); }}));
INSTANTIATE_TEST_SUITE_P(InMemory, UbiquitousKeyValueStoreConformance,
                         ::testing::Values(UbiquitousKeyValueStoreImplementation{
                             "InMemory", [] { return std::make_unique<InMemoryUbiquitousStoreFactory>(); }}));

namespace {

TEST(InMemoryUserDefaults, CountsWhatTheEngineDoesAndNotWhatATestLooksAt) {
    InMemoryUserDefaults defaults({{"old", true}});
    EXPECT_EQ(defaults.writeCount(), 0U);
    defaults.set("k", std::int64_t{1});
    defaults.set("k", std::int64_t{1});
    defaults.remove("absent");
    EXPECT_EQ(defaults.writeCount(), 3U);

    EXPECT_TRUE(defaults.object("k"));
    EXPECT_FALSE(defaults.object("absent"));
    EXPECT_TRUE(defaults.contains("k"));
    EXPECT_EQ(defaults.integer("k"), 1);
    EXPECT_EQ(defaults.keys(), (std::vector<std::string>{"k", "old"}));
    EXPECT_EQ(defaults.values(), (InMemoryUserDefaults::Values{{"k", std::int64_t{1}}, {"old", true}}));
    EXPECT_EQ(defaults.readCount(), 2U);
    EXPECT_EQ(defaults.writeCount(), 3U);
}

TEST(InMemoryUserDefaults, AnswersAValueOfItsOwnKindOnly) {
    const std::vector<std::byte> bytes{std::byte{1}};
    const InMemoryUserDefaults defaults(
        {{"integer", std::int64_t{1}}, {"number", 1.0}, {"boolean", true}, {"text", "1"}, {"bytes", bytes}});
    for (const std::string& key : defaults.keys()) {
        EXPECT_EQ(defaults.integer(key), key == "integer" ? std::optional<std::int64_t>(1) : std::nullopt) << key;
        EXPECT_EQ(defaults.number(key), key == "number" ? std::optional(1.0) : std::nullopt) << key;
        EXPECT_EQ(defaults.boolean(key), key == "boolean" ? std::optional(true) : std::nullopt) << key;
        EXPECT_EQ(defaults.text(key), key == "text" ? std::optional<std::string>("1") : std::nullopt) << key;
        EXPECT_EQ(defaults.bytes(key), key == "bytes" ? std::optional(bytes) : std::nullopt) << key;
    }
    EXPECT_EQ(defaults.integer("absent"), std::nullopt);
    EXPECT_FALSE(defaults.contains("absent"));
}

/// Keeps the last notification.
class LastPost final : public NotificationCenter {
public:
    [[nodiscard]] Observer addObserver(std::string_view /*name*/, Handler /*handler*/) override { return Observer{}; }
    void removeObserver(Observer /*observer*/) override {}
    void post(const Notification& notification) override {
        last = notification;
        ++count;
    }

    Notification last;
    int count = 0;
};

TEST(InMemoryUbiquitousStore, AnArrivalIsNoWriteAndIsPostedWithItsReason) {
    InMemoryUbiquitousStore store({{"gone", true}});
    LastPost center;
    store.arrive({{"k", std::int64_t{43'200}}, {"gone", std::nullopt}}, NSUbiquitousKeyValueStoreAccountChange, center);
    EXPECT_EQ(store.values(), (InMemoryUbiquitousStore::Values{{"k", std::int64_t{43'200}}}));
    EXPECT_EQ(store.writeCount(), 0U);
    EXPECT_EQ(center.count, 1);
    EXPECT_EQ(center.last.name, NSUbiquitousKeyValueStoreDidChangeExternallyNotification);
    EXPECT_EQ(center.last.userInfo,
              (Notification::UserInfo{{"NSUbiquitousKeyValueStoreChangeReasonKey", std::int64_t{3}}}));
}

TEST(InMemoryUbiquitousStore, SynchronizingIsCountedAndAnswersWhatItWasTold) {
    InMemoryUbiquitousStore store;
    EXPECT_TRUE(store.synchronize());
    store.setSynchronizeAnswer(false);
    EXPECT_FALSE(store.synchronize());
    EXPECT_EQ(store.synchronizeCount(), 2U);
}

}  // namespace
}  // namespace quendokit::testing

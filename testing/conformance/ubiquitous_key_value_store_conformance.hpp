#pragma once
/// \file
/// The conformance suite of `NSUbiquitousKeyValueStore`. It asserts only what the interface's comments promise.
///
/// Include it in one source file of a test program, and name your implementation there:
///
///     namespace quendokit::testing {
///     INSTANTIATE_TEST_SUITE_P(MyStore, UbiquitousKeyValueStoreConformance,
///         ::testing::Values(UbiquitousKeyValueStoreImplementation{
///             "MyStore", [] { return std::make_unique<MyUbiquitousKeyValueStoreFactory>(); }}));
///     }

#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <ostream>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "quendokit/platform/notification_center.hpp"
#include "quendokit/platform/services.hpp"
#include "quendokit/platform/ubiquitous_key_value_store.hpp"
#include "testing/conformance/property_checks.hpp"

namespace quendokit::testing {

/// Makes the stores of one test. Lives as long as the test, outlives the store it made, and clears up behind it. One
/// thread.
class UbiquitousKeyValueStoreFactory {
public:
    UbiquitousKeyValueStoreFactory() = default;
    UbiquitousKeyValueStoreFactory(const UbiquitousKeyValueStoreFactory&) = delete;
    UbiquitousKeyValueStoreFactory& operator=(const UbiquitousKeyValueStoreFactory&) = delete;
    virtual ~UbiquitousKeyValueStoreFactory() = default;

    /// An empty store, of a person whose cloud is empty. It posts to the installed notification centre. Never null.
    [[nodiscard]] virtual std::shared_ptr<NSUbiquitousKeyValueStore> make() = 0;

    /// Lets `value` arrive under `key` (absent: lets the key go) from another device, and returns when that was posted.
    /// Answers false when this cannot be played; the tests of it are then skipped, and say so.
    [[nodiscard]] virtual bool arrive(const std::string& /*key*/, const std::optional<PropertyValue>& /*value*/) {
        return false;
    }
};

/// One implementation of `NSUbiquitousKeyValueStore`, the parameter of the suite.
struct UbiquitousKeyValueStoreImplementation {
    /// Part of the names of its tests: letters and digits.
    std::string name;
    /// Called once a test, with a notification centre installed.
    std::function<std::unique_ptr<UbiquitousKeyValueStoreFactory>()> makeFactory;

    friend void PrintTo(const UbiquitousKeyValueStoreImplementation& implementation, std::ostream* stream) {
        *stream << implementation.name;
    }
};

/// An empty store for each test, and what was posted.
class UbiquitousKeyValueStoreConformance : public ::testing::TestWithParam<UbiquitousKeyValueStoreImplementation> {
protected:
    /// Keeps what is posted, and runs `onPost` meanwhile. Knows no observers.
    class PostRecorder final : public NotificationCenter {
    public:
        [[nodiscard]] Observer addObserver(std::string_view /*name*/, Handler /*handler*/) override {
            return Observer{};
        }
        void removeObserver(Observer /*observer*/) override {}
        void post(const Notification& notification) override {
            {
                const std::lock_guard lock(mutex_);
                posted_.push_back(notification);
            }
            if (onPost) {
                onPost();
            }
        }

        [[nodiscard]] std::vector<Notification> posted() const {
            const std::lock_guard lock(mutex_);
            return posted_;
        }

        std::function<void()> onPost;

    private:
        mutable std::mutex mutex_;
        std::vector<Notification> posted_;
    };

    UbiquitousKeyValueStoreConformance() : installed_(services(center)), factory(GetParam().makeFactory()) {}

    void SetUp() override {
        store = factory->make();
        ASSERT_TRUE(store);
    }

    void TearDown() override { store.reset(); }

    const std::shared_ptr<PostRecorder> center = std::make_shared<PostRecorder>();

private:
    static platform::Services services(std::shared_ptr<NotificationCenter> center) {
        platform::Services services;
        services.notificationCenter = std::move(center);
        return services;
    }

    platform::ScopedInstall installed_;

protected:
    const std::unique_ptr<UbiquitousKeyValueStoreFactory> factory;
    std::shared_ptr<NSUbiquitousKeyValueStore> store;
};

TEST_P(UbiquitousKeyValueStoreConformance, AValueReadsAsItWasSet) {
    checkAValueReadsAsItWasSet(*store);
}

TEST_P(UbiquitousKeyValueStoreConformance, KindsStayApart) {
    checkKindsStayApart(*store);
}

TEST_P(UbiquitousKeyValueStoreConformance, KeysStayApart) {
    checkKeysStayApart(*store);
}

TEST_P(UbiquitousKeyValueStoreConformance, ARemovedKeyIsAbsentUntilItIsSetAgain) {
    checkRemoving(*store);
}

TEST_P(UbiquitousKeyValueStoreConformance, SeveralThreadsLoseNothing) {
    checkSeveralThreads(*store);
}

TEST_P(UbiquitousKeyValueStoreConformance, SynchronizingKeepsWhatIsThere) {
    store->set("set", std::int64_t{1});
    store->set("removed", std::int64_t{2});
    store->remove("removed");
    static_cast<void>(store->synchronize());
    expectHolds(*store, "set", std::int64_t{1});
    EXPECT_FALSE(store->object("removed"));
}

TEST_P(UbiquitousKeyValueStoreConformance, AChangeMadeHereIsNoNews) {
    store->set("k", std::int64_t{1});
    store->set("k", std::int64_t{2});
    store->remove("k");
    EXPECT_TRUE(center->posted().empty());
}

TEST_P(UbiquitousKeyValueStoreConformance, WhatComesFromOutsideIsThereWhenItIsPosted) {
    store->set("replaced", "here");
    store->set("untouched", true);
    std::optional<PropertyValue> seen;
    center->onPost = [&] { seen = store->object("replaced"); };
    if (!factory->arrive("replaced", std::int64_t{64'800})) {
        GTEST_SKIP() << "no change from outside can be played";
    }
    EXPECT_EQ(seen, PropertyValue(std::int64_t{64'800}));
    expectHolds(*store, "untouched", true);
    EXPECT_TRUE(factory->arrive("replaced", std::nullopt));
    EXPECT_EQ(seen, std::nullopt);
    expectHolds(*store, "untouched", true);
}

TEST_P(UbiquitousKeyValueStoreConformance, NewsSayWhyTheyCome) {
    if (!factory->arrive("k", 1.5)) {
        GTEST_SKIP() << "no change from outside can be played";
    }
    const auto posted = center->posted();
    ASSERT_EQ(posted.size(), 1U);
    EXPECT_EQ(posted[0].name, NSUbiquitousKeyValueStoreDidChangeExternallyNotification);
    ASSERT_TRUE(posted[0].userInfo);
    const auto reason = posted[0].userInfo->find(NSUbiquitousKeyValueStoreChangeReasonKey);
    ASSERT_NE(reason, posted[0].userInfo->end());
    EXPECT_EQ(reason->second, PropertyValue(NSUbiquitousKeyValueStoreServerChange));
}

}  // namespace quendokit::testing

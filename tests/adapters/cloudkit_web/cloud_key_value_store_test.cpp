/// \file
/// Settings that two devices share, over a cloud in memory.

#include "adapters/cloudkit_web/cloud_key_value_store.hpp"

#include <limits>
#include <string>
#include <vector>

#include "adapters/cloudkit_web/key_value_copy_internal.hpp"
#include "adapters/cloudkit_web/key_value_text_internal.hpp"
#include "quendokit/platform/ck_error.hpp"
#include "testing/conformance/ubiquitous_key_value_store_conformance.hpp"
#include "testing/in_memory_cloud_database.hpp"
#include "testing/in_memory_user_defaults.hpp"
#include "testing/manual_dispatch_queue.hpp"

namespace quendokit::testing {
namespace {

/// One device.
struct SharedSettings {
    SharedSettings(const std::shared_ptr<InMemoryCloud>& cloud, const std::shared_ptr<ManualDispatchQueue>& queue)
        : database(InMemoryCloudDatabase::create(cloud, queue)) {}

    /// Begins anew, as the next run of the program does.
    void restart() {
        store = std::make_shared<CloudKeyValueStore>(database, settings, [this] {
            ++passes;
            if (const auto error = store->lastError()) {
                failures.push_back(*error);
            }
        });
    }

    /// The passes that have ended, and why the early ones did.
    int passes = 0;
    std::vector<Error> failures;
    std::shared_ptr<InMemoryCloudDatabase> database;
    std::shared_ptr<InMemoryUserDefaults> settings = std::make_shared<InMemoryUserDefaults>();
    std::shared_ptr<CloudKeyValueStore> store;
};

class CloudKeyValueFactory final : public UbiquitousKeyValueStoreFactory {
public:
    // What is queued keeps the databases.
    ~CloudKeyValueFactory() override { queue_->runAll(); }

    [[nodiscard]] std::shared_ptr<NSUbiquitousKeyValueStore> make() override {
        here_.restart();
        there_.restart();
        return here_.store;
    }
    [[nodiscard]] bool arrive(const std::string& key, const std::optional<PropertyValue>& value) override {
        here_.store->synchronize();
        queue_->runAll();
        there_.store->synchronize();
        queue_->runAll();
        if (value) {
            there_.store->set(key, *value);
        } else {
            there_.store->remove(key);
        }
        queue_->runAll();
        here_.store->synchronize();
        queue_->runAll();
        return true;
    }

private:
    const std::shared_ptr<InMemoryCloud> cloud_ = std::make_shared<InMemoryCloud>();
    const std::shared_ptr<ManualDispatchQueue> queue_ = std::make_shared<ManualDispatchQueue>();
    SharedSettings here_{cloud_, queue_};
    SharedSettings there_{cloud_, queue_};
};

class SharedSettingsTest : public ::testing::Test {
protected:
    /// Counts what is posted.
    class Counter final : public NotificationCenter {
    public:
        [[nodiscard]] Observer addObserver(std::string_view, Handler) override { return Observer{}; }
        void removeObserver(Observer) override {}
        void post(const Notification& notification) override {
            reasons.push_back(
                std::get<std::int64_t>(notification.userInfo->find(NSUbiquitousKeyValueStoreChangeReasonKey)->second));
        }
        std::vector<std::int64_t> reasons;
    };

    static platform::Services services(std::shared_ptr<NotificationCenter> center) {
        platform::Services services;
        services.notificationCenter = std::move(center);
        return services;
    }

    SharedSettingsTest() {
        here.restart();
        there.restart();
    }

    void TearDown() override { queue->runAll(); }

    void synchronizeBoth() {
        for (SharedSettings* device : {&here, &there, &here}) {
            device->store->synchronize();
            queue->runAll();
        }
    }

    const std::shared_ptr<Counter> center = std::make_shared<Counter>();
    platform::ScopedInstall installed{services(center)};
    const std::shared_ptr<InMemoryCloud> cloud = std::make_shared<InMemoryCloud>();
    const std::shared_ptr<ManualDispatchQueue> queue = std::make_shared<ManualDispatchQueue>();
    SharedSettings here{cloud, queue};
    SharedSettings there{cloud, queue};
};

TEST_F(SharedSettingsTest, EveryValueReachesTheOtherDeviceInItsKind) {
    const auto values = plainPropertyValues();
    for (std::size_t i = 0; i < values.size(); ++i) {
        here.store->set("value." + std::to_string(i), values[i]);
    }
    synchronizeBoth();
    for (std::size_t i = 0; i < values.size(); ++i) {
        SCOPED_TRACE(i);
        expectHolds(*there.store, "value." + std::to_string(i), values[i]);
    }
    EXPECT_EQ(center->reasons, std::vector{NSUbiquitousKeyValueStoreInitialSyncChange});
}

TEST_F(SharedSettingsTest, KeysStayApartOnTheOtherDevice) {
    std::vector<std::string> keys = keysAtTheEdge();
    std::erase_if(keys, [](const std::string& key) { return key.size() > 186; });
    for (const std::string& key : keys) {
        here.store->set(key, key + "!");
    }
    here.store->set(std::string(186, 'k'), 1.5);
    here.store->set(std::string(187, 'k'), 2.5);
    synchronizeBoth();
    for (const std::string& key : keys) {
        expectHolds(*there.store, key, key + "!");
    }
    expectHolds(*there.store, std::string(186, 'k'), 1.5);
    EXPECT_FALSE(there.store->object(std::string(187, 'k')));
    expectHolds(*here.store, std::string(187, 'k'), 2.5);
    EXPECT_TRUE(here.failures.empty());
}

TEST_F(SharedSettingsTest, RemovedKeysGoEverywhere) {
    here.store->set("k", true);
    synchronizeBoth();
    there.store->remove("k");
    queue->runAll();
    synchronizeBoth();
    EXPECT_FALSE(here.store->object("k"));
    EXPECT_EQ(center->reasons.back(), NSUbiquitousKeyValueStoreServerChange);
}

TEST_F(SharedSettingsTest, WhatIsUnsentSurvivesARestartAndIsSentThen) {
    here.database->setFaults([] { return RequestFault{false, makeCKError(CKErrorCode::networkUnavailable, "off")}; });
    here.store->set("k", std::int64_t{1});
    here.store->set("gone", true);
    here.store->remove("gone");
    queue->runAll();
    EXPECT_FALSE(here.failures.empty());
    here.database = InMemoryCloudDatabase::create(cloud, queue);
    here.restart();
    expectHolds(*here.store, "k", std::int64_t{1});
    synchronizeBoth();
    expectHolds(*there.store, "k", std::int64_t{1});
    EXPECT_FALSE(there.store->object("gone"));
}

TEST_F(SharedSettingsTest, AChangeDuringAnUploadGoesUpToo) {
    here.store->set("k", std::int64_t{1});
    // The server has it, and the answer is under way.
    while (cloud->records(CKRecordZoneID{std::string(keyValueZoneName)}).empty()) {
        ASSERT_TRUE(queue->runNext());
    }
    here.store->set("k", std::int64_t{2});
    queue->runAll();
    there.store->synchronize();
    queue->runAll();
    expectHolds(*there.store, "k", std::int64_t{2});
}

TEST_F(SharedSettingsTest, AnUnsentChangeIsNotOverwritten) {
    here.store->set("k", std::int64_t{0});
    synchronizeBoth();
    there.store->set("k", std::int64_t{1});
    queue->runAll();
    // Changed while the pass is fetching.
    here.store->synchronize();
    static_cast<void>(queue->runNext());
    here.store->set("k", std::int64_t{2});
    queue->runAll();
    // It went up behind the pass.
    there.store->synchronize();
    queue->runAll();
    expectHolds(*here.store, "k", std::int64_t{2});
    expectHolds(*there.store, "k", std::int64_t{2});
}

TEST_F(SharedSettingsTest, WhatIsThereAlreadyAsksNobody) {
    here.store->set("k", true);
    queue->runAll();
    here.store->set("k", true);
    here.store->remove("never there");
    EXPECT_EQ(queue->count(), 0U);
    EXPECT_TRUE(center->reasons.empty());
}

TEST_F(SharedSettingsTest, ADeviceThatLeavesKeepsWhatIsUnsentAlone) {
    here.store->set("sent", true);
    queue->runAll();
    here.database->setFaults([] { return RequestFault{false, makeCKError(CKErrorCode::networkUnavailable, "off")}; });
    here.store->set("unsent", true);
    queue->runAll();
    here.store->leaveCloud();
    EXPECT_FALSE(here.store->object("sent"));
    here.database = InMemoryCloudDatabase::create(std::make_shared<InMemoryCloud>(), queue);
    here.restart();
    EXPECT_FALSE(here.store->object("sent"));
    expectHolds(*here.store, "unsent", true);
    here.store->synchronize();
    queue->runAll();
    EXPECT_EQ(here.failures.size(), 1U) << "the one from before; the token of the other cloud is forgotten";
}

TEST_F(SharedSettingsTest, TellsWhenAPassHasEndedAndNoneFollows) {
    EXPECT_TRUE(here.store->isIdle());
    here.store->set("k", true);
    EXPECT_FALSE(here.store->isIdle());
    // It goes with a pass of its own, right behind the first.
    here.store->set("l", true);
    while (here.passes == 0) {
        EXPECT_FALSE(here.store->isIdle());
        ASSERT_TRUE(queue->runNext());
    }
    EXPECT_TRUE(here.store->isIdle());
    EXPECT_EQ(cloud->records(CKRecordZoneID{std::string(keyValueZoneName)}).size(), 2U);
    queue->runAll();
    EXPECT_EQ(here.passes, 1);
    EXPECT_TRUE(here.failures.empty());
}

TEST_F(SharedSettingsTest, ACopyThatIsDamagedIsFetchedAnew) {
    here.store->set("k", true);
    synchronizeBoth();
    for (const char* damaged : {"", "{", "[]", "{}", R"({"token":"AAAA","entries":[{"name":"!"}]})",
                                R"({"token":"AAAA","entries":[{"name":"aw==","kind":"moon","value":"1"}]})"}) {
        there.settings->set(keyValueCopyKey, damaged);
        there.restart();
        there.store->synchronize();
        queue->runAll();
        expectHolds(*there.store, "k", true);
        EXPECT_TRUE(there.failures.empty());
    }
}

TEST_F(SharedSettingsTest, AnExpiredTokenIsNoFailure) {
    here.store->set("k", true);
    synchronizeBoth();
    web::KeyValueCopy copy = web::parseCopy(std::get<std::string>(*there.settings->object(keyValueCopyKey)));
    copy.token = CKServerChangeToken({std::byte{1}});
    copy.entries.clear();
    there.settings->set(keyValueCopyKey, web::renderCopy(copy));
    there.restart();
    there.store->synchronize();
    queue->runAll();
    expectHolds(*there.store, "k", true);
    EXPECT_TRUE(there.failures.empty());
}

TEST(KeyValueText, EveryValueTravelsBothWays) {
    auto values = plainPropertyValues();
    for (PropertyValue& value : awkwardPropertyValues()) {
        values.push_back(std::move(value));
    }
    for (const PropertyValue& value : values) {
        const web::KeyValueText text = web::textOf(value);
        const auto read = web::propertyOf(text);
        EXPECT_TRUE(read && isSame(*read, value)) << text.kind;
    }
}

TEST(KeyValueText, OddTextsAreNoValues) {
    for (const auto& [kind, content] :
         std::vector<std::pair<std::string, std::string>>{{"integer", "1.0"},
                                                          {"integer", ""},
                                                          {"integer", "9223372036854775808"},
                                                          {"integer", " 1"},
                                                          {"number", "one"},
                                                          {"boolean", "1"},
                                                          {"boolean", "True"},
                                                          {"data", "no base64"},
                                                          {"text64", "!"},
                                                          {"moon", "1"},
                                                          {"", ""}}) {
        EXPECT_FALSE(web::propertyOf({kind, content})) << kind << " " << content;
    }
}

TEST(KeyValueText, NamesOfOtherRecordsAreNoKeys) {
    for (const char* name : {"", "key", "key-!", "A1", "Key-AA=="}) {
        EXPECT_FALSE(web::keyOf(name)) << name;
    }
    EXPECT_EQ(web::keyOf("key-"), "");
}

}  // namespace

INSTANTIATE_TEST_SUITE_P(Cloud, UbiquitousKeyValueStoreConformance,
                         ::testing::Values(UbiquitousKeyValueStoreImplementation{
                             "Cloud", [] { return std::make_unique<CloudKeyValueFactory>(); }}),
                         ::testing::PrintToStringParamName());

}  // namespace quendokit::testing

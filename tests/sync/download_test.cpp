#include <functional>

#include "quendokit/sync/reminder_record.hpp"
#include "tests/support/sync_fixture.hpp"

namespace quendokit::testing {
namespace {

/// Answers nothing, and calls back when it is given an operation.
class LookingDatabase final : public CKDatabase {
public:
    void add(std::shared_ptr<CKDatabaseOperation>) override {
        if (onAdd) {
            onAdd();
        }
    }
    void fetch(const std::string&, SubscriptionCompletion) override {}
    void save(const CKSubscription&, SubscriptionCompletion) override {}
    void fetchAllSubscriptions(SubscriptionsCompletion) override {}

    std::function<void()> onAdd;
};

class Downloading : public SyncFixture {
protected:
    static constexpr const char* didFinish = "post quendokit.reminders.did-finish-remote-sync";

    Downloading() {
        make(SyncMethod::push);
        manager->setReminderStore(store);
        take();
        trace->clear();
    }

    std::shared_ptr<CKFetchRecordChangesOperation> take() {
        auto operation = cloud->take<CKFetchRecordChangesOperation>();
        EXPECT_TRUE(operation);
        return operation;
    }
    /// Starts one and takes it out. The trace is empty.
    std::shared_ptr<CKFetchRecordChangesOperation> download() {
        manager->remoteSync();
        trace->clear();
        return take();
    }

    [[nodiscard]] CKRecord record(const ReminderItem& item) const { return makeCKRecord(item, zoneID).value(); }
    [[nodiscard]] bool hasToken() const { return defaults->object(tokenKey).has_value(); }
};

TEST_F(Downloading, BeginsWhenAStoreIsSetWhateverStoreThereWas) {
    manager->setReminderStore(store);
    EXPECT_EQ(taken(), Lines{"download from the beginning"});
    manager->setReminderStore(nullptr);
    EXPECT_EQ(taken(), Lines{});
    EXPECT_EQ(manager->reminderStore(), nullptr);
}

TEST_F(Downloading, BeginsOnlyWhenTheStoreIsThereForACloudThatIsQuick) {
    const auto looking = std::make_shared<LookingDatabase>();
    platform::Services services = platform::services();
    services.containerProvider = std::make_shared<OneCloudDatabase>(looking);
    const platform::ScopedInstall installed(std::move(services));
    const auto quick = ReminderSyncManager::create("this device");
    std::shared_ptr<ReminderStore> seen;
    looking->onAdd = [&] { seen = quick->reminderStore(); };
    quick->setReminderStore(store);
    EXPECT_EQ(seen, store);
}

TEST_F(Downloading, HoldsTheStoreWeakly) {
    auto other = std::make_shared<RecordingReminderStore>(trace);
    manager->setReminderStore(other);
    EXPECT_EQ(manager->reminderStore(), other);
    other.reset();
    EXPECT_EQ(manager->reminderStore(), nullptr);
}

TEST_F(Downloading, IsOfTheManagersZone) {
    EXPECT_EQ(download()->recordZoneID, zoneID);
}

TEST_F(Downloading, StoresWhatItCanReadAndLogsIt) {
    const auto page = download();
    page->recordChanged(record(datedItem("a", Date(-5.5))));
    page->recordChanged(record(macItem("b", true)));
    EXPECT_EQ(taken(), (Lines{"store a", "☁️ Received: a", "store b", "☁️ Received: b"}));
    EXPECT_EQ(texts(store->stored), (Lines{"a: \"a\" at -5.5", "b: \"b\" shown at the Mac"}));
}

TEST_F(Downloading, PassesOverWhatItCannotReadWithoutAWord) {
    const auto page = download();
    page->recordChanged(record(deviceItem("two", 2, false)));
    page->recordChanged(CKRecord::make("Reminder", {"empty", zoneID}).value());
    EXPECT_EQ(taken(), Lines{});
}

TEST_F(Downloading, DeletesAndLogsIt) {
    download()->recordWithIDWasDeleted({"a", zoneID});
    EXPECT_EQ(taken(), (Lines{"delete a", "☁️ Deleted: a"}));
}

TEST_F(Downloading, WithoutAStoreOrManagerStillLogs) {
    const auto page = download();
    manager->setReminderStore(nullptr);
    page->recordChanged(record(macItem("a")));
    page->recordWithIDWasDeleted({"b", zoneID});
    EXPECT_EQ(taken(), (Lines{"☁️ Received: a", "☁️ Deleted: b"}));
    manager.reset();
    page->recordChanged(record(macItem("a")));
    page->recordWithIDWasDeleted({"b", zoneID});
    EXPECT_EQ(taken(), (Lines{"☁️ Received: a", "☁️ Deleted: b"}));
    page->fetchRecordChangesCompletion(token("T1"), std::nullopt, std::nullopt);
    EXPECT_EQ(taken(), Lines{didFinish});
    EXPECT_FALSE(hasToken());
}

TEST_F(Downloading, TheLastPageKeepsTheTokenAndPosts) {
    download()->fetchRecordChangesCompletion(token("T1"), std::nullopt, std::nullopt);
    EXPECT_EQ(taken(), Lines{didFinish});
    manager->remoteSync();
    EXPECT_EQ(taken(), Lines{"download from T1"});
}

TEST_F(Downloading, APageWithMoreComingStartsTheNextWithItsTokenAndPostsNothing) {
    const auto first = download();
    first->moreComing = true;
    first->fetchRecordChangesCompletion(token("T1"), std::nullopt, std::nullopt);
    EXPECT_EQ(taken(), Lines{"download from T1"});
    take()->fetchRecordChangesCompletion(token("T2"), std::nullopt, std::nullopt);
    EXPECT_EQ(taken(), Lines{didFinish});
    manager->remoteSync();
    EXPECT_EQ(taken(), Lines{"download from T2"});
}

TEST_F(Downloading, MoreComingWithoutATokenBeginsAgainEachTimeAndPostsNothing) {
    auto page = download();
    for (int round = 0; round < 3; ++round) {
        ASSERT_TRUE(page);
        page->moreComing = true;
        page->fetchRecordChangesCompletion(std::nullopt, std::nullopt, std::nullopt);
        EXPECT_EQ(taken(), Lines{"download from the beginning"});
        EXPECT_FALSE(hasToken());
        page = take();
    }
}

TEST_F(Downloading, MoreComingWithTheSameTokenAsksForTheSamePageEachTimeAndPostsNothing) {
    auto page = download();
    for (int round = 0; round < 3; ++round) {
        ASSERT_TRUE(page);
        page->moreComing = true;
        page->fetchRecordChangesCompletion(token("T1"), std::nullopt, std::nullopt);
        EXPECT_EQ(taken(), Lines{"download from T1"});
        page = take();
    }
}

TEST_F(Downloading, MoreComingForNoManagerIsTheEnd) {
    const auto page = download();
    page->moreComing = true;
    manager.reset();
    page->fetchRecordChangesCompletion(token("T1"), std::nullopt, std::nullopt);
    EXPECT_EQ(taken(), Lines{});
}

TEST_F(Downloading, WithoutATokenForgetsTheKeptOne) {
    download()->fetchRecordChangesCompletion(token("T1"), std::nullopt, std::nullopt);
    EXPECT_TRUE(hasToken());
    download()->fetchRecordChangesCompletion(std::nullopt, std::nullopt, std::nullopt);
    EXPECT_FALSE(hasToken());
}

TEST_F(Downloading, AnErrorGoesToTheSystemsLogAsItStandsAndForgetsTheToken) {
    download()->fetchRecordChangesCompletion(token("T1"), std::nullopt, std::nullopt);
    const auto page = download();
    page->moreComing = true;
    page->fetchRecordChangesCompletion(token("T2"), std::nullopt, error("100 %s %n of it"));
    EXPECT_EQ(taken(), (Lines{"NSLog 100 %s %n of it", didFinish}));
    EXPECT_FALSE(hasToken());
    manager->remoteSync();
    EXPECT_EQ(taken(), Lines{"download from the beginning"});
}

TEST_F(Downloading, PostsWhenTheTokenIsKeptAndBeforeAnErrorForgetsIt) {
    std::vector<bool> hadToken;
    const auto observer = center->addObserver(ReminderSync::Notification::DidFinishRemoteSync,
                                              [&](const Notification&) { hadToken.push_back(hasToken()); });
    download()->fetchRecordChangesCompletion(token("T1"), std::nullopt, std::nullopt);
    download()->fetchRecordChangesCompletion(std::nullopt, std::nullopt, error("Offline."));
    center->removeObserver(observer);
    EXPECT_EQ(hadToken, (std::vector{true, true}));
    EXPECT_FALSE(hasToken());
}

TEST_F(Downloading, AnErrorAfterTheManagerIsGoneKeepsTheToken) {
    download()->fetchRecordChangesCompletion(token("T1"), std::nullopt, std::nullopt);
    const auto page = download();
    manager.reset();
    page->fetchRecordChangesCompletion(std::nullopt, std::nullopt, error("Gone."));
    EXPECT_EQ(taken(), (Lines{"NSLog Gone.", didFinish}));
    EXPECT_TRUE(hasToken());
}

TEST_F(Downloading, ASettingThatIsNoTokenCountsAsNone) {
    for (const PropertyValue& odd : std::vector<PropertyValue>{
             std::string("T1"), std::int64_t{1}, std::vector<std::byte>(), std::vector(40, std::byte{'x'})}) {
        defaults->set(tokenKey, odd);
        manager->remoteSync();
        EXPECT_EQ(taken(), Lines{"download from the beginning"});
    }
}

TEST_F(Downloading, AnEmptyTokenIsATokenToo) {
    download()->fetchRecordChangesCompletion(token(""), std::nullopt, std::nullopt);
    EXPECT_TRUE(download()->previousServerChangeToken);
}

TEST_F(Downloading, ATokenOfAMegabyteSurvivesTheSettings) {
    std::string text(1'048'576, '\0');
    for (std::size_t i = 0; i < text.size(); ++i) {
        text[i] = static_cast<char>(i % 251);
    }
    download()->fetchRecordChangesCompletion(token(text), std::nullopt, std::nullopt);
    make(SyncMethod::push);
    // Two megabytes of differences would help nobody.
    EXPECT_TRUE(download()->previousServerChangeToken == token(text));
}

TEST_F(Downloading, IsNotKeptByItself) {
    auto page = download();
    const std::weak_ptr<CKDatabaseOperation> weak = page;
    page.reset();
    EXPECT_TRUE(weak.expired());
}

}  // namespace
}  // namespace quendokit::testing

#include <cmath>

#include "tests/support/store_fixture.hpp"

namespace quendokit::testing {
namespace {

class ListingReminders : public StoreFixture {
protected:
    /// "mac: a b | upcoming: c | passed: d"
    [[nodiscard]] std::string listed(bool includingDeleted = true) const {
        const ReminderItems items = lists(includingDeleted);
        const auto join = [](const std::vector<ReminderItem>& list) {
            std::string line;
            for (const ReminderItem& item : list) {
                line += " " + item.ID;
            }
            return line;
        };
        return "mac:" + join(items.macReminders) + " | upcoming:" + join(items.upcomingReminders) +
               " | passed:" + join(items.remainingReminders);
    }
};

TEST_P(ListingReminders, AnEmptyDatabaseHasNone) {
    EXPECT_EQ(listed(), "mac: | upcoming: | passed:");
    EXPECT_TRUE(controller->reminders(false).empty());
    EXPECT_TRUE(controller->reminders(true).empty());
    EXPECT_FALSE(controller->hasReminders());
}

TEST_P(ListingReminders, ADeviceReminderIsMacUntilShownAndPassedFromThenOn) {
    put({macItem("seen", true), macItem("waiting")});
    EXPECT_EQ(listed(), "mac: waiting | upcoming: | passed: seen");
}

TEST_P(ListingReminders, ADatedReminderIsUpcomingUntilItsMomentAndPassedAfterwards) {
    put({datedItem("x", after(0.5))});
    EXPECT_EQ(listed(), "mac: | upcoming: x | passed:");
    clock->set(after(0.75));
    EXPECT_EQ(listed(), "mac: | upcoming: | passed: x");
}

TEST_P(ListingReminders, ADatedReminderDueAtThisInstantIsInNoList) {
    put({datedItem("due", now)});
    EXPECT_EQ(listed(), "mac: | upcoming: | passed:");
    EXPECT_TRUE(controller->reminders(true).empty());
    EXPECT_FALSE(controller->hasReminders());
    EXPECT_EQ(stored().size(), 1U);
}

TEST_P(ListingReminders, TheSmallestStepAroundThisInstantDecides) {
    const double instant = now.timeIntervalSince1970();
    put({datedItem("after", Date(std::nextafter(instant, 1e300))), datedItem("at", now),
         datedItem("before", Date(std::nextafter(instant, 0)))});
    EXPECT_EQ(listed(), "mac: | upcoming: after | passed: before");
}

TEST_P(ListingReminders, ShownDoesNotMoveADatedReminder) {
    ReminderItem upcoming = datedItem("upcoming", after(60));
    ReminderItem passed = datedItem("passed", after(-60));
    ReminderItem due = datedItem("due", now);
    upcoming.shown = passed.shown = due.shown = true;
    put({upcoming, passed, due});
    EXPECT_EQ(listed(), "mac: | upcoming: upcoming | passed: passed");
}

TEST_P(ListingReminders, OtherDeviceValuesAreInNoListUntilShown) {
    for (const std::int64_t device : {0LL, 2LL, -2LL, 1LL << 40, (1LL << 32) + 1, (1LL << 32) - 1}) {
        SCOPED_TRACE(device);
        ReminderItem dated = datedItem("dated", after(60));
        dated._device = device;
        ReminderItem passed = datedItem("passed", after(-60));
        passed._device = device;
        put({dated, passed, deviceItem("unseen", device, false)});
        EXPECT_EQ(listed(), "mac: | upcoming: | passed:");

        dated.shown = true;
        dated.completionDate = Date(10);
        put({dated, deviceItem("unseen", device, true), passed});
        EXPECT_EQ(listed(), "mac: | upcoming: | passed: dated unseen");
        // Only the one that has a date converts.
        EXPECT_EQ(texts(controller->reminders(true)), Lines{"dated: \"dated\" shown at 1795302060.25"});
    }
}

TEST_P(ListingReminders, AReminderForTheMacGoesByItsDeviceEvenWithADate) {
    ReminderItem waiting = datedItem("waiting", after(60));
    waiting._device = 1;
    ReminderItem due = datedItem("due", now);
    due._device = 1;
    put({waiting, due});
    EXPECT_EQ(listed(), "mac: due waiting | upcoming: | passed:");
    EXPECT_EQ(controller->reminders(true)[1].condition().date(), after(60));
}

TEST_P(ListingReminders, MacRemindersAreOrderedByTitleThenId) {
    ReminderItem a = macItem("1");
    ReminderItem b = macItem("2");
    ReminderItem c = macItem("4");
    ReminderItem d = macItem("3");
    ReminderItem e = macItem("5");
    a.title = "b";
    b.title = "\xC3\xA4";
    c.title = "B";
    d.title = "B";
    e.title = "";
    put({a, b, c, d, e});
    EXPECT_EQ(listed(), "mac: 5 3 4 1 2 | upcoming: | passed:");
}

TEST_P(ListingReminders, UpcomingOnesAreOrderedByMomentThenId) {
    ReminderItem first = datedItem("z", after(0.001));
    first.completionDate = Date(1e13);
    first.title = "z";
    put({datedItem("c", after(60)), datedItem("a", after(60)), datedItem("b", after(30)), first,
         datedItem("d", Date(1e12))});
    EXPECT_EQ(listed(), "mac: | upcoming: z b a c d | passed:");
}

TEST_P(ListingReminders, PassedOnesAreOrderedByCompletionNewestFirstAndThenById) {
    ReminderItem late = datedItem("late", after(-1000));
    late.completionDate = after(-1);
    put({datedItem("a", after(-60)), datedItem("b", after(-60)), late, macItem("c", true, after(-60)),
         macItem("d", true, after(5)), datedItem("old", Date(-1e9))});
    // Newest first is the exact reverse of oldest first, also among equal ones.
    EXPECT_EQ(listed(), "mac: | upcoming: | passed: d late c b a old");
}

TEST_P(ListingReminders, DeletedOnesAreIncludedOnlyWhenAskedFor) {
    std::vector<ReminderItem> items;
    for (const bool deleted : {false, true}) {
        for (ReminderItem item : {macItem("mac"), macItem("seen", true, Date(5)), datedItem("upcoming", after(60)),
                                  datedItem("passed", after(-60))}) {
            item.ID += deleted ? "-deleted" : "-kept";
            item.deleted = deleted;
            items.push_back(item);
        }
    }
    put(items);
    EXPECT_EQ(listed(false), "mac: mac-kept | upcoming: upcoming-kept | passed: passed-kept seen-kept");
    EXPECT_EQ(listed(true),
              "mac: mac-deleted mac-kept | upcoming: upcoming-deleted upcoming-kept | "
              "passed: passed-kept passed-deleted seen-kept seen-deleted");
}

TEST_P(ListingReminders, RemindersAreTheThreeListsInTheirOrder) {
    put({datedItem("a-passed", after(-60)), datedItem("b-upcoming", after(60)), macItem("c-mac")});
    EXPECT_EQ(texts(controller->reminders(false)),
              (Lines{"c-mac: \"c-mac\" at the Mac", "b-upcoming: \"b-upcoming\" at 1795302060.25",
                     "a-passed: \"a-passed\" at 1795301940.25"}));
}

TEST_P(ListingReminders, RecordsThatDoNotConvertAreListedAsRecordsOnly) {
    put({datedItem("epoch", Date(0)), deviceItem("odd", 2, true), datedItem("passed", after(-60))});
    EXPECT_EQ(listed(), "mac: | upcoming: | passed: passed odd epoch");
    EXPECT_EQ(ids(controller->reminders(true)), Lines{"passed"});
    clock->set(Date(-5));
    EXPECT_EQ(listed(), "mac: | upcoming: epoch passed | passed: odd");
    EXPECT_EQ(ids(controller->reminders(true)), Lines{"passed"});
}

TEST_P(ListingReminders, OneListingReadsTheClockOnce) {
    put({datedItem("a", after(60)), datedItem("b", after(-60)), macItem("c")});
    const auto reads = [&](const auto& call) {
        const std::size_t before = clock->readCount();
        call();
        return clock->readCount() - before;
    };
    EXPECT_EQ(reads([&] { static_cast<void>(lists(true)); }), 1U);
    EXPECT_EQ(reads([&] { static_cast<void>(controller->reminders(false)); }), 1U);
    EXPECT_EQ(reads([&] { static_cast<void>(controller->hasReminders()); }), 1U);
    EXPECT_EQ(reads([&] { static_cast<void>(controller->reminder("a")); }), 1U);
}

TEST_P(ListingReminders, OneListingSeesOneStateOfTheDatabase) {
    put({datedItem("a", after(60)), datedItem("b", after(-60)), macItem("c")});
    // Inside a read, a write of the same realm is refused.
    int refused = 0;
    realm->onQuery([&] {
        const auto failure = realm->write([] {});
        refused += failure && isRealmError(*failure, RealmErrorCode::nested) ? 1 : 0;
    });
    static_cast<void>(controller->reminders(true));
    EXPECT_EQ(refused, 3);
    static_cast<void>(lists());
    EXPECT_EQ(refused, 6);
    static_cast<void>(controller->hasReminders());
    EXPECT_GE(refused, 7);
}

TEST_P(ListingReminders, AnotherProcessWritingBetweenTwoListsChangesNothingInThisListing) {
    put({macItem("x")});
    const auto second = factory->openSecond(QuendoKitConfig());
    if (!second) {
        GTEST_SKIP() << "only one realm of this implementation can use the same data";
    }
    int queries = 0;
    realm->onQuery([&] {
        if (++queries == 2) {
            EXPECT_FALSE(second->write([&] { second->add(macItem("x", true), true); }));
        }
    });
    EXPECT_EQ(listed(), "mac: x | upcoming: | passed:");
    realm->onQuery(nullptr);
    EXPECT_EQ(listed(), "mac: | upcoming: | passed: x");
}

using HasReminders = ListingReminders;

TEST_P(HasReminders, IsTrueForOneInAnyList) {
    for (const ReminderItem& item :
         {macItem("x"), macItem("x", true), datedItem("x", after(60)), datedItem("x", after(-60))}) {
        put({item});
        EXPECT_TRUE(controller->hasReminders()) << text(item);
    }
}

TEST_P(HasReminders, IsFalseWhenAllAreDeleted) {
    ReminderItem mac = macItem("a");
    ReminderItem dated = datedItem("b", after(60));
    mac.deleted = dated.deleted = true;
    put({mac, dated});
    EXPECT_FALSE(controller->hasReminders());
}

TEST_P(HasReminders, IsFalseWhenNoRecordConvertsOrIsListed) {
    put({datedItem("epoch", Date(0)), deviceItem("odd", 2, true), deviceItem("unseen", 2, false),
         datedItem("due", now)});
    EXPECT_FALSE(controller->hasReminders());
    put({datedItem("zz-last", Date(5))});
    EXPECT_TRUE(controller->hasReminders()) << "goes on after records that do not convert";
}

INSTANTIATE_TEST_SUITE_P(Databases, ListingReminders, ::testing::ValuesIn(realmImplementations()), realmName);
INSTANTIATE_TEST_SUITE_P(Databases, HasReminders, ::testing::ValuesIn(realmImplementations()), realmName);

}  // namespace
}  // namespace quendokit::testing

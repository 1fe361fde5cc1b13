#include <algorithm>
#include <array>
#include <cmath>
#include <optional>

#include "tests/support/property.hpp"
#include "tests/support/store_fixture.hpp"

namespace quendokit::testing {
namespace {

class LookingUpAReminder : public StoreFixture {
protected:
    /// What is found for an id as a record and as a reminder: "-" for nothing.
    [[nodiscard]] std::string foundItem(std::string_view id) const {
        const auto item = Internal::reminderItem(*controller, id);
        return item ? text(*item) : "-";
    }
    [[nodiscard]] std::string found(std::string_view id) const {
        const auto reminder = controller->reminder(id);
        return reminder ? text(*reminder) : "-";
    }

    /// The same by reading all of the three lists.
    [[nodiscard]] std::string scannedItem(std::string_view id) const {
        const ReminderItems items = lists(true);
        for (const auto* list : {&items.macReminders, &items.upcomingReminders, &items.remainingReminders}) {
            for (const ReminderItem& item : *list) {
                if (item.ID == id) {
                    return text(item);
                }
            }
        }
        return "-";
    }
    [[nodiscard]] std::string scanned(std::string_view id) const {
        for (const ReminderStruct& reminder : controller->reminders(true)) {
            if (reminder.id() == id) {
                return text(reminder);
            }
        }
        return "-";
    }
};

TEST_P(LookingUpAReminder, FindsOneInEachList) {
    put({macItem("mac"), datedItem("upcoming", after(60)), datedItem("passed", after(-60)), macItem("seen", true)});
    EXPECT_EQ(found("mac"), "mac: \"mac\" at the Mac");
    EXPECT_EQ(found("upcoming"), "upcoming: \"upcoming\" at 1795302060.25");
    EXPECT_EQ(found("passed"), "passed: \"passed\" at 1795301940.25");
    EXPECT_EQ(found("seen"), "seen: \"seen\" shown at the Mac");
    for (const std::string id : {"mac", "upcoming", "passed", "seen"}) {
        EXPECT_EQ(foundItem(id), scannedItem(id));
    }
}

TEST_P(LookingUpAReminder, FindsNothingForAnUnknownId) {
    EXPECT_EQ(found("x"), "-");
    put({macItem("x")});
    for (const std::string id : {"", "X", "x ", "xx"}) {
        EXPECT_EQ(found(id), "-");
        EXPECT_EQ(foundItem(id), "-");
    }
    EXPECT_EQ(found(std::string_view("x\0", 2)), "-");
}

TEST_P(LookingUpAReminder, FindsOneThatIsSoftDeleted) {
    ReminderItem item = datedItem("gone", after(60));
    item.deleted = true;
    put({item});
    EXPECT_EQ(found("gone"), "gone: \"gone\" at 1795302060.25");
    EXPECT_EQ(foundItem("gone"), text(item));
}

TEST_P(LookingUpAReminder, DoesNotFindOneThatIsDueAtThisInstant) {
    put({datedItem("due", now)});
    EXPECT_EQ(found("due"), "-");
    EXPECT_EQ(foundItem("due"), "-");
    clock->set(Date(std::nextafter(now.timeIntervalSince1970(), 1e300)));
    EXPECT_NE(found("due"), "-");
    clock->set(Date(std::nextafter(now.timeIntervalSince1970(), 0)));
    EXPECT_NE(found("due"), "-");
}

TEST_P(LookingUpAReminder, FindsARecordThatDoesNotConvertAsARecordOnly) {
    put({datedItem("epoch", Date(0)), deviceItem("odd", 2, true)});
    for (const std::string id : {"epoch", "odd"}) {
        EXPECT_EQ(found(id), "-");
        EXPECT_NE(foundItem(id), "-");
    }
}

TEST_P(LookingUpAReminder, DoesNotFindAnUnshownOneOfAnotherDevice) {
    put({deviceItem("odd", 2, false)});
    EXPECT_EQ(found("odd"), "-");
    EXPECT_EQ(foundItem("odd"), "-");
}

TEST_P(LookingUpAReminder, AsksOneQueryHoweverManyThereAre) {
    std::vector<ReminderItem> items;
    for (int i = 0; i < 100; ++i) {
        items.push_back(datedItem(std::to_string(i), after(i + 1)));
    }
    put(items);
    const std::size_t before = realm->queryCount();
    EXPECT_NE(found("57"), "-");
    EXPECT_EQ(realm->queryCount() - before, 1U);
}

/// Draws one of a few values.
template <typename T, std::size_t count>
T oneOf(const std::array<T, count>& values) {
    return values[*rc::gen::inRange<std::size_t>(0, count)];
}

/// Whether one of the records has this id.
bool holds(const std::vector<ReminderItem>& list, const std::string& id) {
    return std::any_of(list.begin(), list.end(), [&id](const ReminderItem& item) { return item.ID == id; });
}

/// The rule of the three lists once more, for one record.
bool isListed(const ReminderItem& item, Date instant) {
    const bool mac = item._device == 1 && !item.shown;
    const bool upcoming = item._device == -1 && item._datetime > instant;
    const bool remaining = (item.shown && item._device != -1) || (item._datetime < instant && item._device == -1);
    return mac || upcoming || remaining;
}

TEST_P(LookingUpAReminder, AnswersWhatAScanOfTheListsAnswers) {
    const double instant = now.timeIntervalSince1970();
    const std::array<double, 8> moments{
        0,           std::nextafter(instant, 0), instant, std::nextafter(instant, 1e300),
        instant - 1, instant + 86'400,           -1,      1e300};
    const std::array<std::int64_t, 7> devices{-1, 1, 0, 2, -2, 1LL << 40, -1};
    const std::array<double, 5> instants{instant, instant, 0, -5, 2e300};
    const auto drawItem = [&](const std::string& id) {
        ReminderItem item = datedItem(id, Date(oneOf(moments)));
        item._device = oneOf(devices);
        item.completionDate = Date(oneOf(moments));
        item.title = oneOf(std::array<std::string, 3>{"", "a", "b"});
        item.shown = *rc::gen::arbitrary<bool>();
        item.deleted = *rc::gen::arbitrary<bool>();
        item.pending = *rc::gen::arbitrary<bool>();
        return item;
    };

    checkProperty(1000, [&] {
        const int count = *rc::gen::inRange(0, 12);
        std::vector<ReminderItem> items;
        for (int i = 0; i < count; ++i) {
            items.push_back(drawItem(std::to_string(i)));
        }
        clock->set(Date(oneOf(instants)));
        RC_ASSERT(!realm->write([&] {
            realm->deleteAll();
            realm->add(items, true);
        }));

        std::size_t listed = 0;
        for (const ReminderItem& item : items) {
            RC_LOG() << text(item) << " at " << text(clock->now()) << "\n";
            RC_ASSERT(foundItem(item.ID) == scannedItem(item.ID));
            RC_ASSERT(found(item.ID) == scanned(item.ID));
            RC_ASSERT((foundItem(item.ID) != "-") == isListed(item, clock->now()));
            listed += isListed(item, clock->now()) ? 1 : 0;
        }
        RC_ASSERT(found("unknown") == "-");
        const ReminderItems all = lists(true);
        for (const ReminderItem& item : items) {
            const auto list = listOf(item, clock->now());
            RC_ASSERT(holds(all.macReminders, item.ID) == (list == ReminderList::mac));
            RC_ASSERT(holds(all.upcomingReminders, item.ID) == (list == ReminderList::upcoming));
            RC_ASSERT(holds(all.remainingReminders, item.ID) == (list == ReminderList::remaining));
        }
        RC_ASSERT(all.macReminders.size() + all.upcomingReminders.size() + all.remainingReminders.size() == listed);
        RC_ASSERT(controller->hasReminders() == !controller->reminders(false).empty());
    });
}

TEST_P(LookingUpAReminder, TheDatedOnesAfterAnEarlierInstantAreThoseOfTheUpcomingListThen) {
    ReminderItem deleted = datedItem("deleted", after(60));
    deleted.deleted = true;
    put({datedItem("later", after(60)), datedItem("passed", after(-60)), datedItem("now", now),
         datedItem("at the instant", after(-90)), datedItem("older", after(-91)), macItem("mac"), deleted});
    EXPECT_EQ(ids(Internal::datedReminders(*controller, after(-90))), (Lines{"passed", "now", "later"}));
}

TEST_P(LookingUpAReminder, ARecordInNoListIsStillStored) {
    ReminderItem deleted = datedItem("deleted", now);
    deleted.deleted = true;
    put({datedItem("now", now), deleted});
    EXPECT_FALSE(Internal::reminderItem(*controller, "now"));
    EXPECT_EQ(text(Internal::storedReminder(*controller, "now").value()), text(datedItem("now", now)));
    EXPECT_TRUE(Internal::storedReminder(*controller, "deleted"));
    EXPECT_FALSE(Internal::storedReminder(*controller, "unknown"));
}

INSTANTIATE_TEST_SUITE_P(Databases, LookingUpAReminder, ::testing::ValuesIn(realmImplementations()), realmName);

}  // namespace
}  // namespace quendokit::testing

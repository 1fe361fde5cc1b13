#include "quendokit/store/reminder_item.hpp"

#include <memory>
#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "quendokit/platform/row.hpp"
#include "quendokit/platform/services.hpp"
#include "testing/manual_clock.hpp"
#include "tests/support/reminder_items.hpp"

namespace quendokit::testing {
namespace {

const Date now(1'795'302'000.5);
const ReminderCondition tomorrow = ReminderCondition::dateTime(Date(1'795'388'400.25));
const ReminderCondition atMac = ReminderCondition::device(DeviceType::mac);

class ReminderItemTest : public ::testing::Test {
protected:
    ReminderItemTest() : installed_(makeServices()) {}

private:
    static platform::Services makeServices() {
        platform::Services services;
        services.clock = std::make_shared<ManualClock>(now);
        services.uuidSource = [count = 0]() mutable { return "fresh-" + std::to_string(++count); };
        return services;
    }

    const platform::ScopedInstall installed_;
};

TEST_F(ReminderItemTest, ANewOneGetsAFreshIdAndIsPending) {
    const ReminderItem item("Milk", tomorrow, std::nullopt, false);
    EXPECT_EQ(item.ID, "fresh-1");
    EXPECT_TRUE(item.pending);
    EXPECT_EQ(ReminderItem("Milk", tomorrow, std::nullopt, false).ID, "fresh-2");
}

TEST_F(ReminderItemTest, OneWithAnIdKeepsItAndIsNotPending) {
    const ReminderItem item("Milk", tomorrow, "given", false);
    EXPECT_EQ(item.ID, "given");
    EXPECT_FALSE(item.pending);
}

TEST_F(ReminderItemTest, AnEmptyIdIsAnId) {
    const ReminderItem item("Milk", tomorrow, "", false);
    EXPECT_EQ(item.ID, "");
    EXPECT_FALSE(item.pending);
}

TEST_F(ReminderItemTest, ADatedOneHoldsItsMoment) {
    const ReminderItem item("Milk", tomorrow, std::nullopt, false);
    EXPECT_EQ(text(item), "fresh-1: \"Milk\" pending, device -1, datetime 1795388400.25, completed 1795388400.25");
    EXPECT_EQ(item.datetime(), tomorrow.date());
}

TEST_F(ReminderItemTest, AnOneForTheMacHoldsNoMomentAndIsCompletedNow) {
    const ReminderItem item("Milk", atMac, std::nullopt, false);
    EXPECT_EQ(text(item), "fresh-1: \"Milk\" pending, device 1, datetime 0, completed 1795302000.5");
    EXPECT_EQ(item.datetime(), std::nullopt);
}

TEST_F(ReminderItemTest, ShownIsTakenOverAndNothingIsDeleted) {
    for (const bool shown : {false, true}) {
        const ReminderItem item("Milk", tomorrow, "id", shown);
        EXPECT_EQ(item.shown, shown);
        EXPECT_FALSE(item.deleted);
    }
}

TEST_F(ReminderItemTest, TheRecordOfAReminderTakesAllItsFields) {
    EXPECT_EQ(text(ReminderItem(ReminderStruct("id", "Milk", true, tomorrow))),
              "id: \"Milk\" shown, device -1, datetime 1795388400.25, completed 1795388400.25");
    EXPECT_EQ(text(ReminderItem(ReminderStruct("Milk", atMac))),
              "fresh-1: \"Milk\" pending, device 1, datetime 0, completed 1795302000.5");
}

TEST_F(ReminderItemTest, TheSentinelForNoDateIsTheEpoch) {
    EXPECT_EQ(ReminderDefaults::NoDate.timeIntervalSince1970(), 0);
    EXPECT_EQ(ReminderItem::noDevice, -1);
}

TEST_F(ReminderItemTest, ADateOfExactlyTheEpochReadsBackAsNone) {
    ReminderItem item = datedItem("id", Date(0));
    EXPECT_EQ(item.datetime(), std::nullopt);
    EXPECT_FALSE(makeReminderStruct(item));
    item._device = 1;
    ASSERT_TRUE(makeReminderStruct(item));
    EXPECT_EQ(makeReminderStruct(item)->condition().deviceType(), DeviceType(DeviceType::mac));
}

TEST_F(ReminderItemTest, ADateNextToTheEpochIsADate) {
    for (const double seconds : {-1.0, 1.0, 4.9e-324, -4.9e-324, 0.001}) {
        EXPECT_EQ(datedItem("id", Date(seconds)).datetime(), Date(seconds));
    }
}

TEST_F(ReminderItemTest, ARealDateConvertsWhateverTheDeviceSays) {
    for (const std::int64_t device : {-1LL, 1LL, 0LL, 2LL, -2LL, 1LL << 40}) {
        ReminderItem item = datedItem("id", Date(5.5));
        item._device = device;
        item.shown = true;
        item.title = "Milk";
        const auto reminder = makeReminderStruct(item);
        ASSERT_TRUE(reminder) << device;
        EXPECT_EQ(text(*reminder), "id: \"Milk\" shown at 5.5");
    }
}

TEST_F(ReminderItemTest, WithoutADateOnlyTheMacConverts) {
    const auto reminder = makeReminderStruct(deviceItem("id", 1, false));
    ASSERT_TRUE(reminder);
    EXPECT_EQ(text(*reminder), "id: \"id\" at the Mac");
    for (const std::int64_t device : {-1LL, 0LL, 2LL, -2LL, 1LL << 40, (1LL << 32) + 1}) {
        EXPECT_FALSE(makeReminderStruct(deviceItem("id", device, false))) << device;
        EXPECT_FALSE(makeReminderStruct(deviceItem("id", device, true))) << device;
    }
}

TEST_F(ReminderItemTest, AReminderAlwaysHasItsRecordsId) {
    EXPECT_EQ(makeReminderStruct(datedItem("", Date(5)))->id(), "");
}

TEST_F(ReminderItemTest, NamesItsKeyAndWhatIsNotPersisted) {
    EXPECT_EQ(ReminderItem::primaryKey(), "ID");
    EXPECT_EQ(ReminderItem::ignoredProperties(), (std::vector<std::string>{"device", "condition", "datetime"}));
    EXPECT_EQ(datedItem("key", Date(1)).primaryKeyValue(), "key");
}

TEST_F(ReminderItemTest, ItsSchemaIsTheStoredFormat) {
    const ObjectSchema& schema = ReminderItem::schema();
    EXPECT_EQ(schema.className, "ReminderItem");
    EXPECT_EQ(schema.primaryKey, "ID");
    EXPECT_EQ(schema.ignoredProperties, ReminderItem::ignoredProperties());

    std::vector<std::pair<std::string, PropertyType>> properties;
    for (const Property& property : schema.properties) {
        properties.emplace_back(property.name, property.type);
    }
    using enum PropertyType;
    EXPECT_EQ(properties, (decltype(properties){{"ID", PropertyType::text},
                                                {"title", PropertyType::text},
                                                {"deleted", boolean},
                                                {"shown", boolean},
                                                {"completionDate", date},
                                                {"pending", boolean},
                                                {"_device", integer},
                                                {"_datetime", date}}));
}

TEST_F(ReminderItemTest, ItsSchemaHoldsTheDefaults) {
    const auto defaultOf = [](std::string_view name) {
        const ObjectSchema& schema = ReminderItem::schema();
        return schema.properties[schema.checkedIndexOf(name)].defaultValue;
    };
    const auto valueOf = [&](std::string_view name) { return std::get<Value>(defaultOf(name).value()); };
    EXPECT_FALSE(defaultOf("ID")) << "every record is given its key";
    EXPECT_EQ(valueOf("title"), Value(""));
    EXPECT_EQ(valueOf("deleted"), Value(false));
    EXPECT_EQ(valueOf("shown"), Value(false));
    EXPECT_TRUE(std::holds_alternative<CurrentInstant>(defaultOf("completionDate").value()));
    EXPECT_EQ(valueOf("pending"), Value(true));
    EXPECT_EQ(valueOf("_device"), Value(std::int64_t{-1}));
    EXPECT_EQ(valueOf("_datetime"), Value(Date(0)));
}

TEST_F(ReminderItemTest, TravelsThroughARowUnchanged) {
    ReminderItem item("Milk", tomorrow, "id", true);
    item.deleted = true;
    item.completionDate = Date(-0.1);
    item._device = 1LL << 40;
    for (const bool flag : {false, true}) {
        item.deleted = flag;
        item.shown = !flag;
        item.pending = flag;
        ValueRow row(ReminderItem::schema().properties.size());
        item.writeTo(row);
        EXPECT_EQ(text(ReminderItem::fromRow(row)), text(item));
    }
}

TEST_F(ReminderItemTest, ReadingARowReadsNoClock) {
    const auto clock = std::make_shared<ManualClock>();
    platform::Services services;
    services.clock = clock;
    const platform::ScopedInstall scope(std::move(services));
    ValueRow row(ReminderItem::schema().properties.size());
    macItem("id").writeTo(row);
    static_cast<void>(ReminderItem::fromRow(row));
    EXPECT_EQ(clock->readCount(), 0U);
}

TEST_F(ReminderItemTest, OrdersByEachProperty) {
    ReminderItem low = datedItem("a", Date(1));
    low.deleted = low.shown = low.pending = false;
    low.completionDate = Date(2);
    low._device = -1;
    ReminderItem high = datedItem("b", Date(3));
    high.deleted = high.shown = high.pending = true;
    high.completionDate = Date(4);
    high._device = 1;
    for (std::size_t property = 0; property < ReminderItem::schema().properties.size(); ++property) {
        EXPECT_TRUE(low.precedes(high, property)) << property;
        EXPECT_FALSE(high.precedes(low, property)) << property;
        EXPECT_FALSE(low.precedes(low, property)) << property;
    }
}

}  // namespace
}  // namespace quendokit::testing

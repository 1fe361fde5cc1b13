/// \file
/// Odd values in the rows of a file, put there by another program.

#include <cmath>
#include <string>

#include <gtest/gtest.h>

#include "quendokit/store/reminder_controller_internal.hpp"
#include "tests/support/sqlite_world.hpp"

namespace quendokit::testing {
namespace {

class SQLiteRows : public ::testing::Test {
protected:
    /// A file with one row; `values` are those of the columns in order.
    void makeRow(const std::string& values) {
        ASSERT_TRUE(world_.open());
        ASSERT_TRUE(runSQL(world_.file,
                           "PRAGMA ignore_check_constraints = ON; INSERT INTO ReminderItem VALUES (" + values + ")"))
            << values;
    }

    [[nodiscard]] ReminderItem onlyItem() const {
        return world_.open().value()->objects<ReminderItem>().toVector().at(0);
    }

    [[nodiscard]] ReminderItems lists() const {
        const auto controller = ReminderController::create(nullptr, world_.open().value());
        return ReminderControllerInternal::reminderItems(*controller, true);
    }

    SQLiteWorld world_;
    platform::ScopedInstall installed_{world_.services()};
};

TEST_F(SQLiteRows, ABooleanThatIsNeitherIsDamage) {
    for (const char* values :
         {"'a', 'x', 2, 0, 1.0, 1, -1, 1.0", "'a', 'x', 0, -1, 1.0, 1, -1, 1.0", "'a', 'x', 0, 0, 1.0, 7, -1, 1.0"}) {
        makeRow(values);
        auto realm = world_.open();
        ASSERT_FALSE(realm) << values;
        EXPECT_TRUE(isRealmError(realm.error(), RealmErrorCode::damaged));
        EXPECT_NE(realm.error().description.find("CHECK constraint failed in ReminderItem"), std::string::npos);
        std::filesystem::remove(world_.file);
    }
}

TEST_F(SQLiteRows, AMissingOrDoubleIdentifierCannotBeStored) {
    makeRow("'a', 'x', 0, 0, 1.0, 1, -1, 1.0");
    EXPECT_FALSE(runSQL(world_.file, "INSERT INTO ReminderItem VALUES ('a', 'x', 0, 0, 1.0, 1, -1, 1.0)"));
    EXPECT_FALSE(runSQL(world_.file, "INSERT INTO ReminderItem VALUES (NULL, 'x', 0, 0, 1.0, 1, -1, 1.0)"));
    EXPECT_FALSE(runSQL(world_.file, "INSERT INTO ReminderItem VALUES ('b', 'x', 0, 0, 1.0, 1, 'mac', 1.0)"));
}

TEST_F(SQLiteRows, IdentifiersAndTitlesMayBeAnyText) {
    makeRow("'', '', 0, 0, 1.0, 1, -1, 1.0");
    EXPECT_EQ(onlyItem().ID, "");
    std::filesystem::remove(world_.file);

    makeRow("CAST(x'61006200' AS TEXT), CAST(x'FF00FE' AS TEXT), 0, 0, 1.0, 1, -1, 1.0");
    EXPECT_EQ(onlyItem().ID, std::string("a\0b\0", 4));
    EXPECT_EQ(onlyItem().title, std::string("\xFF\0\xFE", 3));
    std::filesystem::remove(world_.file);

    makeRow("hex(zeroblob(5000000)), hex(zeroblob(5000000)), 0, 0, 1.0, 1, -1, 1.0");
    EXPECT_EQ(onlyItem().ID.size(), 10'000'000U);
    EXPECT_EQ(onlyItem().title.size(), 10'000'000U);
}

TEST_F(SQLiteRows, ADateThatIsNoNumberCannotBeStored) {
    makeRow("'a', 'x', 0, 0, 1.0, 1, -1, 1.0");
    EXPECT_FALSE(runSQL(world_.file, "UPDATE ReminderItem SET _datetime = 9e999 - 9e999"));
}

TEST_F(SQLiteRows, EndlessAndHugeDatesAreSortedIntoTheLists) {
    for (const char* date : {"9e999", "9223372036854775808.0"}) {
        makeRow("'a', 'x', 0, 0, 1.0, 1, -1, " + std::string(date));
        EXPECT_EQ(lists().upcomingReminders.size(), 1U) << date;
        std::filesystem::remove(world_.file);
    }
    for (const char* date : {"-9e999", "-9223372036854775808.0"}) {
        makeRow("'a', 'x', 0, 0, 1.0, 1, -1, " + std::string(date));
        EXPECT_EQ(lists().remainingReminders.size(), 1U) << date;
        std::filesystem::remove(world_.file);
    }
}

TEST_F(SQLiteRows, ADeviceThatDoesNotExistIsInNoListUntilItIsShown) {
    for (const char* device : {"0", "2", "-2", "1099511627776"}) {
        makeRow("'a', 'x', 0, 0, 1.0, 1, " + std::string(device) + ", 1.0");
        const auto hidden = lists();
        EXPECT_TRUE(hidden.macReminders.empty() && hidden.upcomingReminders.empty() &&
                    hidden.remainingReminders.empty());
        ASSERT_TRUE(runSQL(world_.file, "UPDATE ReminderItem SET shown = 1"));
        EXPECT_EQ(lists().remainingReminders.size(), 1U) << device;
        std::filesystem::remove(world_.file);
    }
}

}  // namespace
}  // namespace quendokit::testing

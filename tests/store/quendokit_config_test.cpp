#include "quendokit/store/quendokit_config.hpp"

#include <map>
#include <memory>
#include <set>
#include <string>

#include <gtest/gtest.h>

#include "quendokit/platform/services.hpp"
#include "quendokit/store/reminder_item.hpp"
#include "testing/manual_clock.hpp"

namespace quendokit::testing {
namespace {

TEST(QuendoKitConfig, IsThePlatformsDefaultButForVersionMigrationAndClass) {
    const RealmConfiguration configuration = QuendoKitConfig();
    EXPECT_EQ(configuration.fileURL, std::nullopt);
    EXPECT_EQ(configuration.schemaVersion, 4U);
    EXPECT_TRUE(configuration.migrationBlock);
    ASSERT_EQ(configuration.objectSchemas.size(), 1U);
    EXPECT_EQ(configuration.objectSchemas[0].className, ReminderItem::schema().className);
}

TEST(QuendoKitConfig, IsMadeAnewByEachCall) {
    RealmConfiguration changed = QuendoKitConfig();
    changed.schemaVersion = 99;
    changed.objectSchemas.clear();
    changed.fileURL = "/elsewhere";
    EXPECT_EQ(QuendoKitConfig().schemaVersion, 4U);
    EXPECT_EQ(QuendoKitConfig().objectSchemas.size(), 1U);
    EXPECT_EQ(QuendoKitConfig().fileURL, std::nullopt);
}

/// Two objects that remember what was set.
class RecordingMigration final : public Migration {
public:
    using Values = std::map<std::string, Value>;

    void enumerateObjects(std::string_view className, const Visitor& visitor) override {
        EXPECT_EQ(className, "ReminderItem");
        for (Object& object : objects) {
            visitor(Object(), object);
        }
    }

    struct Object final : MigrationObject {
        [[nodiscard]] std::optional<Value> value(std::string_view) const override { return std::nullopt; }
        void set(std::string_view property, Value value) override {
            values.insert_or_assign(std::string(property), std::move(value));
        }
        Values values;
    };
    std::vector<Object> objects = std::vector<Object>(2);
};

class SchemaMigrationSteps : public ::testing::Test {
protected:
    SchemaMigrationSteps() : installed_(makeServices()) {}

    /// What the migration sets on every record of a file of that version.
    [[nodiscard]] static RecordingMigration::Values changesFrom(std::uint64_t oldSchemaVersion) {
        RecordingMigration migration;
        QuendoKitConfig().migrationBlock(migration, oldSchemaVersion);
        EXPECT_EQ(migration.objects[0].values, migration.objects[1].values);
        return migration.objects[0].values;
    }

    const std::shared_ptr<ManualClock> clock = std::make_shared<ManualClock>(Date(1'795'302'000.5));

private:
    platform::Services makeServices() const {
        platform::Services services;
        services.clock = clock;
        return services;
    }
    const platform::ScopedInstall installed_;
};

TEST_F(SchemaMigrationSteps, EachStepAlsoRunsForAllOlderVersions) {
    using Values = RecordingMigration::Values;
    const Value now = Date(1'795'302'000.5);
    EXPECT_EQ(changesFrom(0), (Values{{"deleted", false}, {"shown", false}, {"completionDate", now}}));
    EXPECT_EQ(changesFrom(1), (Values{{"shown", false}, {"completionDate", now}}));
    EXPECT_EQ(changesFrom(2), (Values{{"completionDate", now}}));
    EXPECT_EQ(changesFrom(3), (Values{{"completionDate", now}}));
}

TEST_F(SchemaMigrationSteps, NothingIsSetFromVersionFourOn) {
    EXPECT_TRUE(changesFrom(4).empty());
    EXPECT_TRUE(changesFrom(5).empty());
}

TEST_F(SchemaMigrationSteps, AllRecordsGetTheSameInstant) {
    static_cast<void>(changesFrom(0));
    EXPECT_EQ(clock->readCount(), 1U);
}

}  // namespace
}  // namespace quendokit::testing

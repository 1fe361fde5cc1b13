#include "quendokit/options/migrate.hpp"

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "tests/support/device_fixture.hpp"

namespace quendokit::testing {
namespace {

using Lines = std::vector<std::string>;
using Version = std::array<std::int64_t, 3>;

class MigrateTest : public DeviceFixture {
protected:
    static constexpr std::string_view key = "net.example.quendokit.last-run-version";

    /// The versions that the closure was told.
    std::vector<Version> migrate(const std::string& toVersion) {
        std::vector<Version> told;
        Migrate(toVersion, *defaults, [&](std::int64_t major, std::int64_t minor, std::int64_t patch) {
            // The version is saved last of all.
            EXPECT_EQ(defaults->text(key), before);
            told.push_back({major, minor, patch});
        });
        EXPECT_EQ(defaults->text(key), toVersion);
        return told;
    }

    std::vector<Version> migrate(const std::string& from, const std::string& toVersion) {
        before = from;
        defaults->set(key, from);
        return migrate(toVersion);
    }

    std::optional<std::string> before;
};

TEST_F(MigrateTest, TheFirstRunMigratesNothingAndIsRemembered) {
    EXPECT_EQ(migrate("2.1"), std::vector<Version>());
    EXPECT_EQ(output->lines(),
              (Lines{"💻 No previous version – no migration", "💻 Saving the latest version info: 2.1"}));
    EXPECT_EQ(defaults->keys(), Lines{std::string(key)});
}

TEST_F(MigrateTest, TheSameVersionMigratesNothingAndReplacesItsText) {
    EXPECT_EQ(migrate("2.1", "2.1.0"), std::vector<Version>());
    EXPECT_EQ(output->lines(),
              (Lines{"💻 Same version (2.1.0) – no migration necessary", "💻 Saving the latest version info: 2.1.0"}));
}

TEST_F(MigrateTest, AnotherVersionIsToldWhichRanBefore) {
    EXPECT_EQ(migrate("1.9.3", "2.0"), (std::vector<Version>{{1, 9, 3}}));
    EXPECT_EQ(output->lines(), (Lines{"💻 Executing migration", "💻 Saving the latest version info: 2.0"}));
}

TEST_F(MigrateTest, EachStepIsSaidBeforeItIsTaken) {
    class WatchedDefaults final : public UserDefaults {
    public:
        explicit WatchedDefaults(const RecordingLineSink& output) : output_(output) {}
        [[nodiscard]] std::optional<PropertyValue> object(std::string_view) const override {
            return std::string("1.0");
        }
        void set(std::string_view, PropertyValue) override { linesAtSet = output_.lines(); }
        void remove(std::string_view) override { ADD_FAILURE() << "the version was removed"; }
        Lines linesAtSet;

    private:
        const RecordingLineSink& output_;
    };
    WatchedDefaults watched(*output);
    Lines linesAtMigration;
    Migrate("2.0", watched, [&](std::int64_t, std::int64_t, std::int64_t) { linesAtMigration = output->lines(); });
    EXPECT_EQ(linesAtMigration, Lines{"💻 Executing migration"});
    EXPECT_EQ(watched.linesAtSet, (Lines{"💻 Executing migration", "💻 Saving the latest version info: 2.0"}));
}

TEST_F(MigrateTest, AnOlderVersionIsAnotherOneToo) {
    EXPECT_EQ(migrate("2.0", "1.9"), (std::vector<Version>{{2, 0, 0}}));
}

TEST_F(MigrateTest, OneDifferentNumberMakesAnotherVersion) {
    EXPECT_EQ(migrate("1.2.3", "2.2.3").size(), 1U);
    EXPECT_EQ(migrate("1.2.3", "1.3.3").size(), 1U);
    EXPECT_EQ(migrate("1.2.3", "1.2.4").size(), 1U);
    EXPECT_EQ(migrate("1.2.3", "1.2.3").size(), 0U);
}

TEST_F(MigrateTest, AFourthNumberIsNotLookedAt) {
    EXPECT_EQ(migrate("1.2.3.4", "1.2.3"), std::vector<Version>());
    EXPECT_EQ(migrate("1.2.3", "1.2.3.4.5"), std::vector<Version>());
}

TEST_F(MigrateTest, WhatIsNoNumberCountsAsZero) {
    EXPECT_EQ(migrate("beta", "1.0"), (std::vector<Version>{{0, 0, 0}}));
    EXPECT_EQ(migrate("abc", "0.0.0"), std::vector<Version>());
    EXPECT_EQ(migrate("1..2", "9"), (std::vector<Version>{{1, 0, 2}}));
    EXPECT_EQ(migrate("", "9"), (std::vector<Version>{{0, 0, 0}}));
    EXPECT_EQ(migrate("...", "9"), (std::vector<Version>{{0, 0, 0}}));
    EXPECT_EQ(migrate(".5", "9"), (std::vector<Version>{{0, 5, 0}}));
    EXPECT_EQ(migrate("1.2-beta.3", "9"), (std::vector<Version>{{1, 0, 3}}));
    EXPECT_EQ(migrate(" 1.2 .3", "9"), (std::vector<Version>{{0, 0, 3}}));
    EXPECT_EQ(migrate("0x10.1e3.٣", "9"), (std::vector<Version>{{0, 0, 0}}));
    EXPECT_EQ(migrate("v1.2", "9"), (std::vector<Version>{{0, 2, 0}}));
}

TEST_F(MigrateTest, ANumberMayHaveOneSignAndLeadingZeros) {
    EXPECT_EQ(migrate("+1.-2.007", "9"), (std::vector<Version>{{1, -2, 7}}));
    EXPECT_EQ(migrate("+.-.+-3", "9"), (std::vector<Version>{{0, 0, 0}}));
    EXPECT_EQ(migrate("++1.--2.-+3", "9"), (std::vector<Version>{{0, 0, 0}}));
}

TEST_F(MigrateTest, ANumberThatDoesNotFitCountsAsZero) {
    EXPECT_EQ(migrate("9223372036854775807.-9223372036854775808.9223372036854775808", "9"),
              (std::vector<Version>{{INT64_MAX, INT64_MIN, 0}}));
}

TEST_F(MigrateTest, TheTextIsSavedAndPrintedAsItWasGiven) {
    EXPECT_EQ(migrate("1", " 1.x – "), (std::vector<Version>{{1, 0, 0}}));
    EXPECT_EQ(output->lines().back(), "💻 Saving the latest version info:  1.x – ");
}

TEST_F(MigrateTest, AStoredValueThatIsNoTextIsNoVersion) {
    defaults->set(key, std::int64_t{2});
    EXPECT_EQ(migrate("2.0"), std::vector<Version>());
    EXPECT_EQ(output->lines().front(), "💻 No previous version – no migration");
}

TEST_F(MigrateTest, OnlyTheGivenSettingsAreUsed) {
    InMemoryUserDefaults others;
    Migrate("2.1", others, {});
    EXPECT_EQ(others.text(key), "2.1");
    EXPECT_EQ(others.writeCount(), 1U);
    EXPECT_EQ(defaults->readCount(), 0U);
}

}  // namespace
}  // namespace quendokit::testing

#pragma once
/// \file
/// Conformance of `Realm`: the migration of objects of an older schema version.

#include <map>

#include "testing/conformance/realm_conformance_fixture.hpp"

namespace quendokit::testing {

/// Two specimens from before `flag`, `_moment` and `made`, when there still was a `legacy`.
inline OldObjects oldSpecimens(std::uint64_t version) {
    const auto old = [](const std::string& key, std::int64_t order) {
        return std::map<std::string, Value>{{"key", Value(key)},
                                            {"label", Value("label of " + key)},
                                            {"order", Value(order)},
                                            {"legacy", Value(Date(0.5))}};
    };
    return {.schemaVersion = version, .className = "Specimen", .objects = {old("a", -1), old("b", 1LL << 40)}};
}

TEST_P(RealmConformance, OldObjectsGetTheDefaultsOfNewProperties) {
    realm = factory->make(configuration(), oldSpecimens(2));
    EXPECT_EQ(all(), (std::vector{Specimen{"a", "label of a", true, -1, Date(86'400.5), clock->now()},
                                  Specimen{"b", "label of b", true, 1LL << 40, Date(86'400.5), clock->now()}}));
    write([&] { realm->set<Specimen>("a", {{"flag", false}}); });
    EXPECT_EQ(keysWhere("flag = true"), Keys{"b"});
}

TEST_P(RealmConformance, TheMigrationBlockSeesOldAndNewObjects) {
    RealmConfiguration watched = configuration();
    int runs = 0;
    Keys visited;
    watched.migrationBlock = [&](Migration& migration, std::uint64_t oldSchemaVersion) {
        ++runs;
        EXPECT_EQ(oldSchemaVersion, 1U);
        migration.enumerateObjects("Specimen", [&](const MigrationObject& oldObject, MigrationObject& newObject) {
            visited.push_back(std::get<std::string>(oldObject.value("key").value()));
            const std::string& key = visited.back();
            EXPECT_EQ(oldObject.value("label"), Value("label of " + key));
            EXPECT_EQ(oldObject.value("legacy"), Value(Date(0.5)));
            EXPECT_EQ(oldObject.value("flag"), std::nullopt);
            EXPECT_EQ(oldObject.value("made"), std::nullopt);

            EXPECT_EQ(newObject.value("key"), Value(key));
            EXPECT_EQ(newObject.value("label"), Value("label of " + key));
            EXPECT_EQ(newObject.value("order"), oldObject.value("order"));
            EXPECT_EQ(newObject.value("flag"), Value(true));
            EXPECT_EQ(newObject.value("_moment"), Value(Date(86'400.5)));
            EXPECT_EQ(newObject.value("made"), Value(clock->now()));
            EXPECT_EQ(newObject.value("legacy"), std::nullopt);
        });
    };
    realm = factory->make(watched, oldSpecimens(1));
    EXPECT_EQ(runs, 1);
    std::sort(visited.begin(), visited.end());
    EXPECT_EQ(visited, (Keys{"a", "b"}));
}

TEST_P(RealmConformance, WhatTheMigrationBlockSetsIsStored) {
    RealmConfiguration changing = configuration();
    changing.migrationBlock = [](Migration& migration, std::uint64_t) {
        migration.enumerateObjects("Specimen", [](const MigrationObject& oldObject, MigrationObject& newObject) {
            if (oldObject.value("key") == Value(std::string("a"))) {
                newObject.set("flag", false);
                newObject.set("label", std::string("a\0b", 3));
                newObject.set("order", std::int64_t{5});
                newObject.set("made", Date(0.125));
                EXPECT_EQ(newObject.value("order"), Value(std::int64_t{5}));
            }
        });
    };
    realm = factory->make(changing, oldSpecimens(0));
    const std::vector expected{Specimen{"a", std::string("a\0b", 3), false, 5, Date(86'400.5), Date(0.125)},
                               Specimen{"b", "label of b", true, 1LL << 40, Date(86'400.5), clock->now()}};
    EXPECT_EQ(all(), expected);

    realm.reset();
    realm = factory->reopen(configuration());
    if (realm) {
        EXPECT_EQ(all(), expected);
    }
}

TEST_P(RealmConformance, EachVersionIsMigratedWithoutABlockToo) {
    for (std::uint64_t version = 0; version < schemaVersion; ++version) {
        realm = factory->make(configuration(), oldSpecimens(version));
        EXPECT_EQ(all().size(), 2U);
    }
}

TEST_P(RealmConformance, AMigrationOfNoObjectsTellsTheVersionAndVisitsNone) {
    RealmConfiguration watched = configuration();
    std::optional<std::uint64_t> version;
    int visits = 0;
    watched.migrationBlock = [&](Migration& migration, std::uint64_t oldSchemaVersion) {
        version = oldSchemaVersion;
        migration.enumerateObjects("Specimen", [&](const MigrationObject&, MigrationObject&) { ++visits; });
    };
    OldObjects none = oldSpecimens(0);
    none.objects.clear();
    realm = factory->make(watched, none);
    EXPECT_EQ(version, 0U);
    EXPECT_EQ(visits, 0);
    EXPECT_TRUE(all().empty());
}

TEST_P(RealmConformance, ANewDatabaseIsNotMigrated) {
    RealmConfiguration watched = configuration();
    bool ran = false;
    watched.migrationBlock = [&ran](Migration&, std::uint64_t) { ran = true; };
    realm = factory->make(watched);
    EXPECT_FALSE(ran);
}

TEST_P(RealmConformance, TenThousandOldObjects) {
    OldObjects old = oldSpecimens(2);
    const auto pattern = old.objects.front();
    old.objects.clear();
    for (int i = 0; i < 10'000; ++i) {
        old.objects.push_back(pattern);
        old.objects.back()["key"] = Value(std::to_string(i));
    }
    RealmConfiguration changing = configuration();
    changing.migrationBlock = [](Migration& migration, std::uint64_t) {
        migration.enumerateObjects(
            "Specimen", [](const MigrationObject&, MigrationObject& newObject) { newObject.set("flag", false); });
    };
    realm = factory->make(changing, old);
    EXPECT_EQ(realm->objects<Specimen>().filter("flag = false AND order = -1").count(), 10'000U);
}

}  // namespace quendokit::testing

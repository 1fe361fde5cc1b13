#pragma once
/// \file
/// Conformance of `Realm`: mistakes of the program, which end it.

#include <limits>

#include "testing/conformance/realm_conformance_fixture.hpp"
#include "testing/conformance/realm_migration_conformance.hpp"

namespace quendokit::testing {

TEST_P(RealmConformance, AChangeOutsideAWriteIsFatal) {
    store({{"k"}});
    EXPECT_DEATH(realm->add(Specimen{"x"}, true), "Fatal error: ");
    EXPECT_DEATH(realm->add(Specimen{"x"}, false), "Fatal error: ");
    EXPECT_DEATH(realm->add(std::vector<Specimen>{{"x"}}, true), "Fatal error: ");
    EXPECT_DEATH(realm->set<Specimen>("k", {{"flag", false}}), "Fatal error: ");
    EXPECT_DEATH(realm->set<Specimen>("missing", {{"flag", false}}), "Fatal error: ");
    EXPECT_DEATH(realm->delete_(Specimen{"k"}), "Fatal error: ");
    EXPECT_DEATH(realm->delete_(Specimen{"missing"}), "Fatal error: ");
    EXPECT_DEATH(realm->deleteAll(), "Fatal error: ");
}

TEST_P(RealmConformance, AChangeInsideAReadIsFatal) {
    EXPECT_DEATH(realm->read([&] { realm->add(Specimen{"x"}, true); }), "Fatal error: ");
    EXPECT_DEATH(realm->read([&] { realm->deleteAll(); }), "Fatal error: ");
}

TEST_P(RealmConformance, AChangeAfterAWriteHasEndedIsFatal) {
    write([&] { realm->add(Specimen{"k"}, true); });
    EXPECT_DEATH(realm->delete_(Specimen{"k"}), "Fatal error: ");
    EXPECT_TRUE(realm->write(
        [&] { realm->add(Specimen{.key = "bad", .made = Date(std::numeric_limits<double>::quiet_NaN())}, true); }));
    EXPECT_DEATH(realm->delete_(Specimen{"k"}), "Fatal error: ");
}

TEST_P(RealmConformance, SettingAnUnknownPropertyIsFatal) {
    store({{"k"}});
    EXPECT_DEATH(write([&] { realm->set<Specimen>("k", {{"colour", true}}); }), "Fatal error: ");
    EXPECT_DEATH(write([&] { realm->set<Specimen>("k", {{"Flag", true}}); }), "Fatal error: ");
}

TEST_P(RealmConformance, SettingAPropertyOfAnotherTypeIsFatal) {
    store({{"k"}});
    EXPECT_DEATH(write([&] { realm->set<Specimen>("k", {{"flag", std::int64_t{1}}}); }), "Fatal error: ");
    EXPECT_DEATH(write([&] { realm->set<Specimen>("k", {{"order", true}}); }), "Fatal error: ");
    EXPECT_DEATH(write([&] { realm->set<Specimen>("k", {{"_moment", std::int64_t{1}}}); }), "Fatal error: ");
    EXPECT_DEATH(write([&] { realm->set<Specimen>("k", {{"label", Date(1)}}); }), "Fatal error: ");
}

TEST_P(RealmConformance, AskingByAWrongFormatIsFatal) {
    for (const std::string format : {"", "order", "order =", "order = 1 AND", "(order = 1", "order = 1)", "colour = 1",
                                     "flag = 1", "order = true", "flag < true", "order <= 1", "label = 'a'"}) {
        SCOPED_TRACE(format);
        const auto wrong = realm->objects<Specimen>().filter(format);
        EXPECT_DEATH(static_cast<void>(wrong.count()), "Fatal error: predicate");
        EXPECT_DEATH(static_cast<void>(wrong.toVector()), "Fatal error: predicate");
    }
}

TEST_P(RealmConformance, AskingByAWrongArgumentIsFatal) {
    const auto specimens = realm->objects<Specimen>();
    const double nan = std::numeric_limits<double>::quiet_NaN();
    for (const auto& wrong :
         {specimens.filter("order = %@", true), specimens.filter("flag = %@", 1), specimens.filter("_moment > %@", 1),
          specimens.filter("label = %@", 1), specimens.filter("order = %@", "1"),
          specimens.filter("_moment > %@", Date(nan)), specimens.filter("order = %@"),
          specimens.filter("order = %@", 1, 2), specimens.filter("order = 1", 1)}) {
        EXPECT_DEATH(static_cast<void>(wrong.count()), "Fatal error: predicate");
        EXPECT_DEATH(wrong.forEach([](const Specimen&) { return true; }), "Fatal error: predicate");
    }
}

TEST_P(RealmConformance, AskingForAnUnknownOrderIsFatal) {
    store({{"a"}, {"b"}});
    EXPECT_DEATH(static_cast<void>(realm->objects<Specimen>().sorted("colour", true).toVector()), "Fatal error: ");
}

TEST_P(RealmConformance, MigratingAnUnknownClassIsFatal) {
    RealmConfiguration wrong = configuration();
    wrong.migrationBlock = [](Migration& migration, std::uint64_t) {
        migration.enumerateObjects("Unknown", [](const MigrationObject&, MigrationObject&) {});
    };
    EXPECT_DEATH(static_cast<void>(factory->make(wrong, oldSpecimens(1))), "Fatal error: ");
}

TEST_P(RealmConformance, SettingAWrongPropertyInAMigrationIsFatal) {
    const auto setting = [](std::string property, Value value) {
        RealmConfiguration wrong = configuration();
        wrong.migrationBlock = [=](Migration& migration, std::uint64_t) {
            migration.enumerateObjects("Specimen", [&](const MigrationObject&, MigrationObject& newObject) {
                newObject.set(property, value);
            });
        };
        return wrong;
    };
    EXPECT_DEATH(static_cast<void>(factory->make(setting("colour", true), oldSpecimens(1))), "Fatal error: ");
    EXPECT_DEATH(static_cast<void>(factory->make(setting("legacy", Date(1)), oldSpecimens(1))), "Fatal error: ");
    EXPECT_DEATH(static_cast<void>(factory->make(setting("flag", std::int64_t{1}), oldSpecimens(1))), "Fatal error: ");
}

}  // namespace quendokit::testing

#pragma once
/// \file
/// Conformance of `Realm`: what outlives it, and two of them on the same data.

#include <limits>

#include "testing/conformance/realm_conformance_fixture.hpp"

namespace quendokit::testing {

TEST_P(RealmConformance, WhatWasWrittenOutlivesTheRealm) {
    const Specimen kept{"kept", "set", false, std::numeric_limits<std::int64_t>::min(), Date(0.1), Date(-1e300)};
    store({{"kept", "added", false, kept.order, kept._moment, kept.made}, {"removed"}});
    write([&] { realm->set<Specimen>("kept", {{"label", std::string("set")}}); });
    write([&] { realm->delete_(Specimen{"removed"}); });
    EXPECT_TRUE(realm->write([&] {
        realm->add(Specimen{"failed"}, true);
        realm->add(Specimen{"kept"}, false);
    }));

    realm.reset();
    realm = factory->reopen(configuration());
    if (!realm) {
        GTEST_SKIP() << "nothing outlives a realm of this implementation";
    }
    EXPECT_EQ(all(), std::vector{kept});
    write([&] { realm->add(Specimen{"later"}, true); });
    EXPECT_EQ(all().size(), 2U);
}

TEST_P(RealmConformance, OpeningAgainRunsNoMigration) {
    store({{"k"}});
    realm.reset();
    RealmConfiguration watched = configuration();
    bool ran = false;
    watched.migrationBlock = [&ran](Migration&, std::uint64_t) { ran = true; };
    realm = factory->reopen(watched);
    if (!realm) {
        GTEST_SKIP() << "nothing outlives a realm of this implementation";
    }
    EXPECT_FALSE(ran);
    EXPECT_EQ(all().size(), 1U);
}

TEST_P(RealmConformance, EachOfTwoRealmsSeesWhatTheOtherCommitted) {
    store({{"k", "first"}});
    const auto second = factory->openSecond(configuration());
    if (!second) {
        GTEST_SKIP() << "only one realm of this implementation can use the same data";
    }
    EXPECT_EQ(all(*second), (std::vector{Specimen{"k", "first"}}));

    write(*second, [&] { second->set<Specimen>("k", {{"label", std::string("second")}}); });
    EXPECT_EQ(all(), (std::vector{Specimen{"k", "second"}}));

    write([&] { realm->delete_(Specimen{"k"}); });
    EXPECT_TRUE(all(*second).empty());
    write(*second, [&] { second->add(Specimen{"k", "again"}, false); });
    EXPECT_EQ(all(), (std::vector{Specimen{"k", "again"}}));
    EXPECT_TRUE(realm->write([&] { realm->add(Specimen{"k"}, false); }));
}

TEST_P(RealmConformance, AReadKeepsToOneStateWhileAnotherRealmWrites) {
    store({{"a", "old"}});
    const auto second = factory->openSecond(configuration());
    if (!second) {
        GTEST_SKIP() << "only one realm of this implementation can use the same data";
    }
    realm->read([&] {
        EXPECT_EQ(all().size(), 1U);
        write(*second, [&] {
            second->add(Specimen{"b"}, true);
            second->set<Specimen>("a", {{"label", std::string("new")}});
        });
        EXPECT_EQ(all(), (std::vector{Specimen{"a", "old"}}));
        EXPECT_EQ(realm->objects<Specimen>().count(), 1U);
        realm->read([&] { EXPECT_EQ(all().size(), 1U); });
        EXPECT_EQ(all().size(), 1U);
    });
    EXPECT_EQ(all(), (std::vector{Specimen{"a", "new"}, Specimen{"b"}}));
}

TEST_P(RealmConformance, AnotherRealmSeesAWriteOnlyAsAWhole) {
    store({{"a", "old"}});
    const auto second = factory->openSecond(configuration());
    if (!second) {
        GTEST_SKIP() << "only one realm of this implementation can use the same data";
    }
    write([&] {
        realm->add(Specimen{"b"}, true);
        realm->set<Specimen>("a", {{"label", std::string("new")}});
        EXPECT_EQ(all(*second), (std::vector{Specimen{"a", "old"}}));
    });
    EXPECT_EQ(all(*second), (std::vector{Specimen{"a", "new"}, Specimen{"b"}}));

    EXPECT_TRUE(realm->write([&] {
        realm->deleteAll();
        realm->add(Specimen{.key = "bad", .made = Date(std::numeric_limits<double>::quiet_NaN())}, true);
    }));
    EXPECT_EQ(all(*second).size(), 2U);
}

}  // namespace quendokit::testing

#pragma once
/// \file
/// Conformance of `Realm`: transactions, their failures and their nesting.

#include <limits>

#include "testing/conformance/realm_conformance_fixture.hpp"

namespace quendokit::testing {

TEST_P(RealmConformance, WritesWhoseDurabilityIsDeferredAreThereAllTheSame) {
    realm->deferDurability();
    store({{"k", "one"}});
    store({{"l", "two"}});
    EXPECT_EQ(find("k")->label, "one");
    EXPECT_FALSE(realm->makeDurable());
    EXPECT_EQ(all().size(), 2U);
    // Inside a write it is nothing that could be done.
    write([&] {
        realm->add(Specimen{"m"}, true);
        realm->deferDurability();
        EXPECT_FALSE(realm->makeDurable());
    });
    EXPECT_EQ(all().size(), 3U);
}

TEST_P(RealmConformance, AWriteWithoutChangesSucceeds) {
    bool ran = false;
    write([&] { ran = true; });
    EXPECT_TRUE(ran);
    EXPECT_TRUE(all().empty());
}

TEST_P(RealmConformance, AWriteRunsItsChangesOnce) {
    int runs = 0;
    write([&] {
        ++runs;
        realm->add(Specimen{"k"}, false);
    });
    EXPECT_EQ(runs, 1);
}

TEST_P(RealmConformance, AWriteThatCannotBeginRunsNothing) {
    store({{"k", "old"}});
    if (!factory->failNextWrite(FailAt::begin)) {
        GTEST_SKIP() << "this implementation offers no way to let a write fail";
    }
    bool ran = false;
    const auto failure = realm->write([&] {
        ran = true;
        realm->add(Specimen{"k", "new"}, true);
    });
    ASSERT_TRUE(failure);
    EXPECT_FALSE(failure->description.empty());
    EXPECT_FALSE(ran);
    EXPECT_EQ(all(), (std::vector{Specimen{"k", "old"}}));

    write([&] { realm->add(Specimen{"k", "new"}, true); });
    EXPECT_EQ(all(), (std::vector{Specimen{"k", "new"}}));
}

TEST_P(RealmConformance, AWriteThatCannotCommitLeavesNothing) {
    store({{"changed", "old"}, {"removed"}});
    if (!factory->failNextWrite(FailAt::commit)) {
        GTEST_SKIP() << "this implementation offers no way to let a write fail";
    }
    int runs = 0;
    const auto failure = realm->write([&] {
        ++runs;
        realm->add(Specimen{"added"}, true);
        realm->set<Specimen>("changed", {{"label", std::string("new")}});
        realm->delete_(Specimen{"removed"});
    });
    ASSERT_TRUE(failure);
    EXPECT_FALSE(failure->description.empty());
    EXPECT_EQ(runs, 1);
    EXPECT_EQ(all(), (std::vector{Specimen{"changed", "old"}, Specimen{"removed"}}));

    write([&] { realm->add(Specimen{"added"}, false); });
    EXPECT_EQ(all().size(), 3U);
}

TEST_P(RealmConformance, AfterAFailedChangeTheRestOfTheWriteIsIdle) {
    store({{"changed", "old"}, {"removed"}});
    bool ranOn = false;
    const auto failure = realm->write([&] {
        realm->set<Specimen>("changed", {{"order", std::int64_t{1}}});
        realm->add(Specimen{.key = "bad", ._moment = Date(std::numeric_limits<double>::quiet_NaN())}, true);
        realm->add(Specimen{"added"}, true);
        realm->set<Specimen>("changed", {{"label", std::string("new")}});
        realm->delete_(Specimen{"removed"});
        realm->deleteAll();
        realm->add(Specimen{"last"}, true);
        EXPECT_FALSE(find("added"));
        EXPECT_FALSE(find("last"));
        ranOn = true;
    });
    ASSERT_TRUE(failure);
    EXPECT_TRUE(isRealmError(*failure, RealmErrorCode::invalidValue)) << failure->description;
    EXPECT_TRUE(ranOn);
    EXPECT_EQ(all(), (std::vector{Specimen{"changed", "old"}, Specimen{"removed"}}));

    write([&] { realm->add(Specimen{"added"}, true); });
    EXPECT_EQ(all().size(), 3U);
}

TEST_P(RealmConformance, AWriteInsideAWriteFailsAndTouchesNeither) {
    bool innerRan = false;
    write([&] {
        realm->add(Specimen{"outer"}, true);
        const auto failure = realm->write([&] {
            innerRan = true;
            realm->add(Specimen{"inner"}, true);
        });
        EXPECT_TRUE(failure && isRealmError(*failure, RealmErrorCode::nested));
        realm->add(Specimen{"after"}, true);
    });
    EXPECT_FALSE(innerRan);
    EXPECT_EQ(all(), (std::vector{Specimen{"after"}, Specimen{"outer"}}));
}

TEST_P(RealmConformance, AWriteInsideAReadFailsAndTouchesNeither) {
    store({{"a"}});
    bool writeRan = false;
    bool readRanOn = false;
    realm->read([&] {
        EXPECT_EQ(all().size(), 1U);
        const auto failure = realm->write([&] {
            writeRan = true;
            realm->add(Specimen{"b"}, true);
        });
        EXPECT_TRUE(failure && isRealmError(*failure, RealmErrorCode::nested));
        EXPECT_EQ(all().size(), 1U);
        readRanOn = true;
    });
    EXPECT_FALSE(writeRan);
    EXPECT_TRUE(readRanOn);
    EXPECT_EQ(all(), std::vector{Specimen{"a"}});
    write([&] { realm->add(Specimen{"b"}, true); });
    EXPECT_EQ(all().size(), 2U);
}

TEST_P(RealmConformance, AWriteInsideAReadInsideAWriteIsNestedToo) {
    write([&] {
        realm->add(Specimen{"outer"}, true);
        realm->read([&] {
            const auto failure = realm->write([&] { realm->add(Specimen{"inner"}, true); });
            EXPECT_TRUE(failure && isRealmError(*failure, RealmErrorCode::nested));
        });
    });
    EXPECT_EQ(all(), std::vector{Specimen{"outer"}});
}

TEST_P(RealmConformance, ANestedWriteDoesNotHealAFailedOne) {
    const auto failure = realm->write([&] {
        realm->add(Specimen{.key = "bad", .made = Date(std::numeric_limits<double>::infinity())}, true);
        EXPECT_TRUE(realm->write([] {}));
        realm->add(Specimen{"added"}, true);
    });
    ASSERT_TRUE(failure);
    EXPECT_TRUE(isRealmError(*failure, RealmErrorCode::invalidValue)) << failure->description;
    EXPECT_TRUE(all().empty());
}

TEST_P(RealmConformance, QueriesInsideAWriteSeeItsChanges) {
    store({{"a"}});
    write([&] {
        realm->add(Specimen{"b"}, true);
        EXPECT_EQ(sortedKeys(realm->objects<Specimen>()), (Keys{"a", "b"}));
        realm->delete_(Specimen{"a"});
        EXPECT_EQ(realm->objects<Specimen>().count(), 1U);
        realm->set<Specimen>("b", {{"order", std::int64_t{41}}});
        EXPECT_EQ(keysWhere("order = 41"), Keys{"b"});
    });
}

TEST_P(RealmConformance, AReadInsideAWriteJustRuns) {
    int runs = 0;
    write([&] {
        realm->add(Specimen{"a"}, true);
        realm->read([&] {
            ++runs;
            EXPECT_EQ(all().size(), 1U);
        });
        realm->add(Specimen{"b"}, true);
    });
    EXPECT_EQ(runs, 1);
    EXPECT_EQ(all().size(), 2U);
}

TEST_P(RealmConformance, AReadInsideAReadJustRuns) {
    store({{"a"}});
    int runs = 0;
    realm->read([&] {
        realm->read([&] {
            ++runs;
            EXPECT_EQ(all().size(), 1U);
        });
        EXPECT_EQ(all().size(), 1U);
        // The outer read has not ended with the inner one.
        EXPECT_TRUE(realm->write([] {}));
    });
    EXPECT_EQ(runs, 1);
    write([&] { realm->add(Specimen{"b"}, true); });
}

TEST_P(RealmConformance, TenThousandObjectsInOneWrite) {
    constexpr int objectCount = 10'000;
    write([&] {
        for (int i = 0; i < objectCount; ++i) {
            realm->add(Specimen{.key = "k" + std::to_string(i), .flag = i % 2 == 0, .order = i}, true);
        }
    });
    EXPECT_EQ(realm->objects<Specimen>().count(), 10'000U);
    EXPECT_EQ(realm->objects<Specimen>().filter("flag = true").count(), 5'000U);
    const auto newest = realm->objects<Specimen>().sorted("order", false).toVector();
    ASSERT_EQ(newest.size(), 10'000U);
    for (int i = 0; i < objectCount; ++i) {
        ASSERT_EQ(newest[static_cast<std::size_t>(i)].order, objectCount - 1 - i);
    }
    write([&] { realm->deleteAll(); });
    EXPECT_EQ(realm->objects<Specimen>().count(), 0U);
}

}  // namespace quendokit::testing

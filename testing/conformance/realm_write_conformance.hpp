#pragma once
/// \file
/// Conformance of `Realm`: `add`, `set`, `delete_` and `deleteAll`.

#include "testing/conformance/realm_conformance_fixture.hpp"

namespace quendokit::testing {

TEST_P(RealmConformance, ANewDatabaseIsEmpty) {
    EXPECT_TRUE(all().empty());
    EXPECT_EQ(realm->objects<ReminderItem>().count(), 0U);
}

TEST_P(RealmConformance, AnAddedObjectReadsBackAsItWas) {
    const Specimen specimen{"k", "a label", false, -12, Date(1'795'302'000.125), Date(-3)};
    write([&] { realm->add(specimen, true); });
    EXPECT_EQ(all(), std::vector{specimen});
}

TEST_P(RealmConformance, AReminderReadsBackAsItWas) {
    ReminderItem item("Milk", ReminderCondition::dateTime(Date(1'795'302'000.75)), std::nullopt, true);
    item.deleted = true;
    item.pending = false;
    item._device = 1LL << 40;
    item.completionDate = Date(-0.5);
    write([&] { realm->add(item, true); });

    const auto items = realm->objects<ReminderItem>().toVector();
    ASSERT_EQ(items.size(), 1U);
    EXPECT_EQ(items[0].ID, item.ID);
    EXPECT_EQ(items[0].title, "Milk");
    EXPECT_TRUE(items[0].deleted);
    EXPECT_TRUE(items[0].shown);
    EXPECT_EQ(items[0].completionDate, Date(-0.5));
    EXPECT_FALSE(items[0].pending);
    EXPECT_EQ(items[0]._device, 1LL << 40);
    EXPECT_EQ(items[0]._datetime, Date(1'795'302'000.75));
}

TEST_P(RealmConformance, ObjectsReadAreDetached) {
    store({{"k", "stored"}});
    auto specimens = all();
    specimens[0].label = "changed";
    EXPECT_EQ(find("k")->label, "stored");
}

TEST_P(RealmConformance, AddWithUpdateReplacesEveryProperty) {
    store({{"k", "old", true, 1, Date(1), Date(2)}, {"other"}});
    const Specimen replacement{"k", "new", false, 2, Date(3), Date(4)};
    write([&] { realm->add(replacement, true); });
    EXPECT_EQ(all(), (std::vector{replacement, Specimen{"other"}}));
}

TEST_P(RealmConformance, AddWithoutUpdateStoresANewKey) {
    write([&] { realm->add(Specimen{"k"}, false); });
    EXPECT_EQ(all(), std::vector{Specimen{"k"}});
}

TEST_P(RealmConformance, AddWithoutUpdateOfAStoredKeyFailsTheWholeWrite) {
    store({{"k", "old"}, {"other"}});
    const auto failure = realm->write([&] {
        realm->set<Specimen>("other", {{"label", std::string("changed")}});
        realm->add(Specimen{"k", "new"}, false);
        realm->add(Specimen{"later"}, true);
    });
    EXPECT_TRUE(failure);
    EXPECT_EQ(all(), (std::vector{Specimen{"k", "old"}, Specimen{"other"}}));
}

TEST_P(RealmConformance, AddWithoutUpdateSeesKeysOfItsOwnWrite) {
    EXPECT_TRUE(realm->write([&] {
        realm->add(Specimen{"k", "first"}, false);
        realm->add(Specimen{"k", "second"}, false);
    }));
    EXPECT_TRUE(all().empty());
}

TEST_P(RealmConformance, AddWithoutUpdateTakesAKeyThatTheSameWriteFreed) {
    store({{"k", "old"}});
    write([&] {
        realm->delete_(Specimen{"k"});
        realm->add(Specimen{"k", "new"}, false);
    });
    EXPECT_EQ(all(), (std::vector{Specimen{"k", "new"}}));
}

TEST_P(RealmConformance, AddTakesASequence) {
    const std::vector<Specimen> sequence{{"a"}, {"b", "first"}, {"b", "second"}};
    write([&] { realm->add(sequence, true); });
    EXPECT_EQ(all(), (std::vector{Specimen{"a"}, Specimen{"b", "second"}}));
    write([&] { realm->add(std::vector<Specimen>(), true); });
    EXPECT_EQ(all().size(), 2U);
}

TEST_P(RealmConformance, SetChangesOnlyTheNamedProperties) {
    const Specimen before{"k", "label", true, 5, Date(6), Date(7)};
    store({before, {"other", "label", true, 5, Date(6), Date(7)}});

    write([&] { realm->set<Specimen>("k", {{"order", std::int64_t{50}}}); });
    Specimen expected = before;
    expected.order = 50;
    EXPECT_EQ(find("k"), expected);

    write(
        [&] { realm->set<Specimen>("k", {{"label", std::string("new")}, {"flag", false}, {"_moment", Date(60.5)}}); });
    expected.label = "new";
    expected.flag = false;
    expected._moment = Date(60.5);
    EXPECT_EQ(find("k"), expected);
    EXPECT_EQ(find("other"), (Specimen{"other", "label", true, 5, Date(6), Date(7)}));
}

TEST_P(RealmConformance, SetOfNoPropertyChangesNothing) {
    store({{"k", "label"}});
    write([&] { realm->set<Specimen>("k", {}); });
    EXPECT_EQ(all(), (std::vector{Specimen{"k", "label"}}));
}

TEST_P(RealmConformance, SetOfAMissingObjectNeitherCreatesNorFails) {
    store({{"k"}});
    write([&] {
        realm->set<Specimen>("missing", {{"flag", false}, {"order", std::int64_t{1}}});
        realm->set<Specimen>("k", {{"label", std::string("changed")}});
    });
    EXPECT_EQ(all(), (std::vector{Specimen{"k", "changed"}}));
}

TEST_P(RealmConformance, SetDoesNotRecreateWhatTheSameWriteDeleted) {
    store({{"k"}});
    write([&] {
        realm->delete_(Specimen{"k"});
        realm->set<Specimen>("k", {{"flag", false}});
    });
    EXPECT_TRUE(all().empty());
}

TEST_P(RealmConformance, TheLastOfSeveralChangesOfOneObjectCounts) {
    write([&] {
        realm->add(Specimen{"k", "first", true, 1}, true);
        realm->set<Specimen>("k", {{"label", std::string("second")}});
        realm->set<Specimen>("k", {{"order", std::int64_t{2}}, {"label", std::string("third")}});
    });
    EXPECT_EQ(all(), (std::vector{Specimen{"k", "third", true, 2}}));

    write([&] {
        realm->set<Specimen>("k", {{"flag", false}});
        realm->add(Specimen{"k", "replaced"}, true);
        realm->set<Specimen>("k", {{"order", std::int64_t{3}}});
    });
    EXPECT_EQ(all(), (std::vector{Specimen{"k", "replaced", true, 3}}));
}

TEST_P(RealmConformance, DeleteGoesByThePrimaryKeyAlone) {
    store({{"a", "stored"}, {"b"}});
    write([&] { realm->delete_(Specimen{"a", "another label", false, 99}); });
    EXPECT_EQ(all(), std::vector{Specimen{"b"}});
}

TEST_P(RealmConformance, DeleteOfAMissingObjectDoesNothing) {
    store({{"a"}});
    write([&] { realm->delete_(Specimen{"missing"}); });
    write([&] {
        realm->delete_(Specimen{"a"});
        realm->delete_(Specimen{"a"});
    });
    EXPECT_TRUE(all().empty());
}

TEST_P(RealmConformance, DeleteAllRemovesEveryObjectOfEveryClass) {
    store({{"a"}, {"b"}});
    write([&] { realm->add(ReminderItem("r", ReminderCondition::dateTime(Date(9)), std::nullopt, false), true); });
    write([&] {
        realm->add(Specimen{"c"}, true);
        realm->deleteAll();
        realm->add(Specimen{"d"}, true);
    });
    EXPECT_EQ(all(), std::vector{Specimen{"d"}});
    EXPECT_EQ(realm->objects<ReminderItem>().count(), 0U);
}

TEST_P(RealmConformance, ClassesKeepTheirKeysApart) {
    store({{"same"}});
    write([&] { realm->add(ReminderItem("r", ReminderCondition::dateTime(Date(9)), "same", false), false); });
    EXPECT_EQ(all().size(), 1U);
    write([&] { realm->delete_(Specimen{"same"}); });
    EXPECT_TRUE(all().empty());
    EXPECT_EQ(realm->objects<ReminderItem>().count(), 1U);
}

}  // namespace quendokit::testing

#pragma once
/// \file
/// Conformance of `Realm`: the orders of queries.

#include <random>

#include "testing/conformance/realm_conformance_fixture.hpp"

namespace quendokit::testing {

TEST_P(RealmConformance, AscendingOrderKeepsEqualOnesInTheOrderOfTheirKeys) {
    store({{.key = "d", .order = 1}, {.key = "b", .order = 2}, {.key = "c", .order = 1}, {.key = "a", .order = 2}});
    EXPECT_EQ(keys(realm->objects<Specimen>().sorted("order", true)), (Keys{"c", "d", "a", "b"}));
}

TEST_P(RealmConformance, DescendingOrderIsExactlyTheReverse) {
    store({{.key = "d", .order = 1}, {.key = "b", .order = 2}, {.key = "c", .order = 1}, {.key = "a", .order = 2}});
    EXPECT_EQ(keys(realm->objects<Specimen>().sorted("order", false)), (Keys{"b", "a", "d", "c"}));
}

TEST_P(RealmConformance, TextsOrderByTheirBytes) {
    using std::string_literals::operator""s;
    const std::vector<std::string> ascending{"",     "\0"s, "\0\0"s, "\1"s, "A",        "Z",    "a",
                                             "a\0"s, "a\1", "a ",    "ab",  "\xC3\xA4", "\xFF", "\xFF\xFF"};
    std::vector<Specimen> specimens;
    for (const std::string& text : ascending) {
        specimens.insert(specimens.begin(), {text, text});
    }
    store(specimens);
    Keys reversed(ascending.rbegin(), ascending.rend());
    for (const std::string property : {"label", "key"}) {
        EXPECT_EQ(keys(realm->objects<Specimen>().sorted(property, true)), ascending);
        EXPECT_EQ(keys(realm->objects<Specimen>().sorted(property, false)), reversed);
    }
}

TEST_P(RealmConformance, FalseComesBeforeTrue) {
    store({{.key = "a", .flag = true}, {.key = "b", .flag = false}, {.key = "c", .flag = true}});
    EXPECT_EQ(keys(realm->objects<Specimen>().sorted("flag", true)), (Keys{"b", "a", "c"}));
    EXPECT_EQ(keys(realm->objects<Specimen>().sorted("flag", false)), (Keys{"c", "a", "b"}));
}

TEST_P(RealmConformance, TheLastOrderCounts) {
    store({{.key = "a", .order = 2}, {.key = "b", .order = 1}});
    const auto byOrder = realm->objects<Specimen>().sorted("key", true).sorted("order", true);
    EXPECT_EQ(keys(byOrder), (Keys{"b", "a"}));
    EXPECT_EQ(keys(byOrder.sorted("order", false)), (Keys{"a", "b"}));
    EXPECT_EQ(keys(byOrder), (Keys{"b", "a"})) << "sorted changed what it was called on";
}

TEST_P(RealmConformance, UnsortedFindsTheSameObjects) {
    store({{.key = "a", .order = 2}, {.key = "b", .order = 1}, {.key = "c", .order = 1}});
    EXPECT_EQ(sortedKeys(realm->objects<Specimen>().filter("order = 1").sorted("key", false).unsorted()),
              (Keys{"b", "c"}));
}

TEST_P(RealmConformance, RowsComeInOrderWhenTheDatabaseSaysSo) {
    store({{.key = "c", .order = 1}, {.key = "a", .order = 2}, {.key = "b", .order = 1}});
    Query query{.schema = &Specimen::schema(), .filters = {}, .order = QueryOrder{"order", true}};
    Keys visited;
    const bool ordered = realm->answersInOrder(query);
    realm->visitRows(query, [&](const Row& row) {
        visited.emplace_back(row.text(0));
        return true;
    });
    if (!ordered) {
        std::sort(visited.begin(), visited.end());
    }
    EXPECT_EQ(visited, ordered ? (Keys{"b", "c", "a"}) : (Keys{"a", "b", "c"}));

    int visits = 0;
    realm->visitRows(query, [&](const Row&) { return ++visits < 2; });
    EXPECT_EQ(visits, 2);
}

TEST_P(RealmConformance, EveryPropertyOrdersBothWays) {
    std::mt19937 random(1'795'302'000);
    const auto draw = [&random](int count) { return static_cast<int>(random() % static_cast<unsigned>(count)); };
    std::vector<Specimen> specimens;
    for (int i = 0; i < 300; ++i) {
        specimens.push_back({"k" + std::to_string(draw(1'000'000)), std::string(static_cast<std::size_t>(draw(4)), 'x'),
                             draw(2) == 1, draw(5) - 2, Date(draw(7) * 0.25 - 1), Date(draw(3) - 1)});
    }
    store(specimens);
    specimens = all();  // without those that were replaced

    const ObjectSchema& schema = Specimen::schema();
    for (std::size_t property = 0; property < schema.properties.size(); ++property) {
        const std::string& name = schema.properties[property].name;
        SCOPED_TRACE(name);
        std::vector<Specimen> expected = specimens;
        std::sort(expected.begin(), expected.end(), [&](const Specimen& a, const Specimen& b) {
            return a.precedes(b, property) || (!b.precedes(a, property) && a.key < b.key);
        });
        EXPECT_EQ(realm->objects<Specimen>().sorted(name, true).toVector(), expected);

        std::erase_if(expected, [](const Specimen& each) { return !(each.flag && each.order != -1); });
        const auto some = realm->objects<Specimen>().filter("flag = %@ AND order != %@", true, -1);
        EXPECT_EQ(some.sorted(name, true).toVector(), expected);
        std::reverse(expected.begin(), expected.end());
        EXPECT_EQ(some.sorted(name, false).toVector(), expected);
    }
}

}  // namespace quendokit::testing

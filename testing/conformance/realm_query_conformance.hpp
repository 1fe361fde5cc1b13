#pragma once
/// \file
/// Conformance of `Realm`: which objects a query finds.

#include <functional>
#include <random>

#include "testing/conformance/realm_conformance_fixture.hpp"

namespace quendokit::testing {

TEST_P(RealmConformance, QueriesWhoseTextsRunIntoTheirArgumentsAreToldApart) {
    store({{.key = "a", .order = 6}, {.key = "b", .order = 15}, {.key = "c", .order = 52}});
    const auto all = realm->objects<Specimen>();
    EXPECT_EQ(sortedKeys(all.filter("order != %@ AND order > 5", 15)), (Keys{"a", "c"}));
    EXPECT_EQ(sortedKeys(all.filter("order != %@ AND order > 51", 5)), (Keys{"c"}));
}

TEST_P(RealmConformance, IntegersCompareByEachOperator) {
    store({{.key = "a", .order = -3}, {.key = "b", .order = 0}, {.key = "c", .order = 7}});
    EXPECT_EQ(keysWhere("order = 0"), Keys{"b"});
    EXPECT_EQ(keysWhere("order == -3"), Keys{"a"});
    EXPECT_EQ(keysWhere("order != 0"), (Keys{"a", "c"}));
    EXPECT_EQ(keysWhere("order < 0"), Keys{"a"});
    EXPECT_EQ(keysWhere("order > 0"), Keys{"c"});
    EXPECT_EQ(keysWhere("order = %@", 7), Keys{"c"});
    EXPECT_EQ(keysWhere("order == %@", 7), Keys{"c"});
    EXPECT_EQ(keysWhere("order != %@", 7), (Keys{"a", "b"}));
    EXPECT_EQ(keysWhere("order < %@", 7), (Keys{"a", "b"}));
    EXPECT_EQ(keysWhere("order > %@", -3), (Keys{"b", "c"}));
}

TEST_P(RealmConformance, BooleansCompareByEqualityOnly) {
    store({{.key = "no", .flag = false}, {.key = "yes", .flag = true}});
    EXPECT_EQ(keysWhere("flag = true"), Keys{"yes"});
    EXPECT_EQ(keysWhere("flag == false"), Keys{"no"});
    EXPECT_EQ(keysWhere("flag != true"), Keys{"no"});
    EXPECT_EQ(keysWhere("flag = %@", true), Keys{"yes"});
    EXPECT_EQ(keysWhere("flag == %@", false), Keys{"no"});
    EXPECT_EQ(keysWhere("flag != %@", false), Keys{"yes"});
}

TEST_P(RealmConformance, DatesCompareByEachOperator) {
    store({{.key = "a", ._moment = Date(-1.5)}, {.key = "b", ._moment = Date(0)}, {.key = "c", ._moment = Date(0.25)}});
    EXPECT_EQ(keysWhere("_moment = %@", Date(0)), Keys{"b"});
    EXPECT_EQ(keysWhere("_moment == %@", Date(0.25)), Keys{"c"});
    EXPECT_EQ(keysWhere("_moment != %@", Date(0.25)), (Keys{"a", "b"}));
    EXPECT_EQ(keysWhere("_moment < %@", Date(0)), Keys{"a"});
    EXPECT_EQ(keysWhere("_moment > %@", Date(-1.5)), (Keys{"b", "c"}));
}

TEST_P(RealmConformance, TextsCompareByTheirBytes) {
    store({{"a", ""}, {"b", "A"}, {"c", "a"}, {"d", "ab"}, {"e", "\xC3\xA4"}});
    EXPECT_EQ(keysWhere("label = %@", "a"), Keys{"c"});
    EXPECT_EQ(keysWhere("label == %@", ""), Keys{"a"});
    EXPECT_EQ(keysWhere("label != %@", "a"), (Keys{"a", "b", "d", "e"}));
    EXPECT_EQ(keysWhere("label < %@", "a"), (Keys{"a", "b"}));
    EXPECT_EQ(keysWhere("label > %@", "a"), (Keys{"d", "e"}));
    EXPECT_EQ(keysWhere("label > %@", "zzz"), Keys{"e"});
    EXPECT_EQ(keysWhere("key > %@", "c"), (Keys{"d", "e"}));
}

TEST_P(RealmConformance, ArgumentsOfEveryKindBind) {
    store({{"k", "text", true, 5, Date(2.5)}});
    const std::string text = "text";
    EXPECT_EQ(keysWhere("label = %@", "text"), Keys{"k"});
    EXPECT_EQ(keysWhere("label = %@", text), Keys{"k"});
    EXPECT_EQ(keysWhere("label = %@", std::string_view(text)), Keys{"k"});
    EXPECT_EQ(keysWhere("order = %@", 5), Keys{"k"});
    EXPECT_EQ(keysWhere("order = %@", std::int64_t{5}), Keys{"k"});
    EXPECT_EQ(keysWhere("flag = %@", true), Keys{"k"});
    EXPECT_EQ(keysWhere("_moment = %@", Date(2.5)), Keys{"k"});
    EXPECT_EQ(keysWhere("label = %@ AND order = %@ AND flag = %@ AND _moment = %@", text, 5, true, Date(2.5)),
              Keys{"k"});
    EXPECT_EQ(keysWhere("order > %@ AND order < %@", 4, 6), Keys{"k"});
    EXPECT_EQ(keysWhere("order > %@ AND order < %@", 6, 4), Keys{});
}

TEST_P(RealmConformance, ArgumentsAreValuesAndNeverPartOfTheQuery) {
    const std::vector<std::string> hostile{
        "'",       "''",    "\"",   "' OR '1'='1", "\\",  "%@",      "true", "NULL", "%",
        "_",       "?1",    ":a",   "--",          "/*",  "*/ OR 1", ")",    "a\nb", "x'); DROP TABLE Specimen; --",
        "key = 1", "x'00'", "0x41", "1",           "1.0", "@label"};
    std::vector<Specimen> specimens;
    for (const std::string& text : hostile) {
        specimens.push_back({text, text});
    }
    store(specimens);
    for (const std::string& text : hostile) {
        EXPECT_EQ(keysWhere("label = %@", text), Keys{text});
        EXPECT_EQ(keysWhere("key = %@", text), Keys{text});
    }
    write([&] { realm->set<Specimen>(hostile[3], {{"label", hostile[17]}}); });
    EXPECT_EQ(keysWhere("label = %@", hostile[17]), (Keys{hostile[3], hostile[17]}));
    write([&] { realm->delete_(Specimen{hostile[17]}); });
    EXPECT_EQ(realm->objects<Specimen>().count(), hostile.size() - 1);
}

TEST_P(RealmConformance, FiltersNarrowEachOther) {
    store({{.key = "a", .flag = true, .order = 1}, {.key = "b", .flag = false, .order = 1}, {.key = "c", .order = 2}});
    const auto ones = realm->objects<Specimen>().filter("order = %@", 1);
    EXPECT_EQ(sortedKeys(ones), (Keys{"a", "b"}));
    EXPECT_EQ(sortedKeys(ones.filter("flag = %@", true)), Keys{"a"});
    EXPECT_EQ(sortedKeys(ones), (Keys{"a", "b"})) << "filter changed what it was called on";
    EXPECT_EQ(sortedKeys(ones.filter("flag = true OR order = 2")), Keys{"a"});
    EXPECT_EQ(ones.filter("order = 2").count(), 0U);
    EXPECT_EQ(keys(realm->objects<Specimen>().filter("order > 0").sorted("key", false).filter("flag = %@", true)),
              (Keys{"c", "a"}));
}

TEST_P(RealmConformance, AQueryIsAskedAnewEachTime) {
    const auto ones = realm->objects<Specimen>().filter("order = 1");
    EXPECT_EQ(ones.count(), 0U);
    store({{.key = "a", .order = 1}});
    EXPECT_EQ(ones.count(), 1U);
    EXPECT_EQ(keys(ones), Keys{"a"});
    write([&] { realm->set<Specimen>("a", {{"order", std::int64_t{2}}}); });
    EXPECT_EQ(ones.count(), 0U);
}

TEST_P(RealmConformance, CountAnswersHowManyThereAre) {
    EXPECT_EQ(realm->objects<Specimen>().count(), 0U);
    store({{.key = "a", .order = 1}, {.key = "b", .order = 1}, {.key = "c", .order = 2}});
    EXPECT_EQ(realm->objects<Specimen>().count(), 3U);
    EXPECT_EQ(realm->objects<Specimen>().filter("order = 1").count(), 2U);
    EXPECT_EQ(realm->objects<Specimen>().filter("order = 1").sorted("label", false).count(), 2U);
}

TEST_P(RealmConformance, ForEachStopsWhenTheVisitorSaysSo) {
    store({{"a"}, {"b"}, {"c"}, {"d"}});
    for (const bool ordered : {false, true}) {
        const auto specimens = realm->objects<Specimen>();
        const auto query = ordered ? specimens.sorted("key", false) : specimens;
        Keys visited;
        query.forEach([&](const Specimen& specimen) {
            visited.push_back(specimen.key);
            return visited.size() < 2;
        });
        EXPECT_EQ(visited.size(), 2U);
        if (ordered) {
            EXPECT_EQ(visited, (Keys{"d", "c"}));
        }
        int visits = 0;
        query.forEach([&](const Specimen&) { return ++visits > 0; });
        EXPECT_EQ(visits, 4);
    }
    // A query that was left early hinders no write.
    write([&] { realm->deleteAll(); });
}

TEST_P(RealmConformance, QueriesNestInsideAForEach) {
    store({{.key = "a", .order = 1}, {.key = "b", .order = 1}, {.key = "c", .order = 2}});
    Keys pairs;
    const auto specimens = realm->objects<Specimen>();
    specimens.forEach([&](const Specimen& outer) {
        // The same query and others, one of them left early.
        specimens.forEach([&](const Specimen&) { return false; });
        specimens.filter("order = %@", outer.order).forEach([&](const Specimen& inner) {
            EXPECT_EQ(specimens.count(), 3U);
            pairs.push_back(outer.key + inner.key);
            return true;
        });
        return true;
    });
    std::sort(pairs.begin(), pairs.end());
    EXPECT_EQ(pairs, (Keys{"aa", "ab", "ba", "bb", "cc"}));
}

TEST_P(RealmConformance, EveryPredicateFindsWhatItSays) {
    // Few different values, so that each predicate is true for some and false for others, by every index there is.
    std::mt19937 random(20'261'121);
    const auto draw = [&random](int count) { return static_cast<int>(random() % static_cast<unsigned>(count)); };
    const std::vector<std::string> labels{"", "a", "b", "unnamed"};
    std::vector<Specimen> specimens;
    for (int i = 0; i < 400; ++i) {
        specimens.push_back({"k" + std::to_string(1000 + i), labels[static_cast<std::size_t>(draw(4))], draw(2) == 1,
                             draw(4) - 2, Date(draw(5) * 0.5 - 1), Date(draw(3))});
    }
    store(specimens);

    struct Case {
        std::string format;
        Results<Specimen> results;
        std::function<bool(const Specimen&)> expected;
    };
    const auto base = realm->objects<Specimen>();
    const auto query = [&base](const std::string& format, std::function<bool(const Specimen&)> expected,
                               const auto&... arguments) {
        return Case{format, base.filter(format, arguments...), std::move(expected)};
    };
    using S = const Specimen&;
    const std::vector<Case> cases{
        query("flag != true", [](S s) { return !s.flag; }),
        query(
            "order = %@ AND flag = false", [](S s) { return s.order == 1 && !s.flag; }, 1),
        query(
            "order = %@ AND _moment > %@", [](S s) { return s.order == -1 && s._moment > Date(0); }, -1, Date(0)),
        query(
            "(flag = true AND order != %@) OR (_moment < %@ AND order = %@)",
            [](S s) { return (s.flag && s.order != -1) || (s._moment < Date(0.5) && s.order == -1); }, -1, Date(0.5),
            -1),
        query("flag = true AND order != -1", [](S s) { return s.flag && s.order != -1; }),
        query(
            "order != -1 AND flag = true AND label = %@", [](S s) { return s.flag && s.order != -1 && s.label == "a"; },
            "a"),
        query(
            "flag = true OR order = 1 AND label = %@", [](S s) { return s.flag || (s.order == 1 && s.label == "b"); },
            "b"),
        query(
            "(flag = true OR order = 1) AND label = %@", [](S s) { return (s.flag || s.order == 1) && s.label == "b"; },
            "b"),
        query("NOT flag = true AND order = 1", [](S s) { return !s.flag && s.order == 1; }),
        query("NOT (flag = true AND order = 1)", [](S s) { return !(s.flag && s.order == 1); }),
        query("not not order > 0", [](S s) { return s.order > 0; }),
        query("order = 1 || order = -2 && flag == true", [](S s) { return s.order == 1 || (s.order == -2 && s.flag); }),
        query("order = 0 or order = 1 Or order = -1", [](S s) { return s.order >= -1; }),
        query(
            "label > %@ And made < %@", [](S s) { return s.label > "a" && s.made < Date(2); }, "a", Date(2)),
        query("order < 0 AND order > 0", [](S) { return false; }),
        query("order < 0 OR NOT order < 0", [](S) { return true; }),
        query("((((order = 1))))", [](S s) { return s.order == 1; }),
    };
    for (const Case& each : cases) {
        SCOPED_TRACE(each.format);
        Keys expected;
        for (const Specimen& specimen : specimens) {
            if (each.expected(specimen)) {
                expected.push_back(specimen.key);
            }
        }
        EXPECT_EQ(sortedKeys(each.results), expected);
        EXPECT_EQ(each.results.count(), expected.size());
        // Orders that indices offer, and orders that they do not, find the same.
        EXPECT_EQ(sortedKeys(each.results.sorted("label", true)), expected);
        EXPECT_EQ(sortedKeys(each.results.sorted("order", false)), expected);
        EXPECT_EQ(sortedKeys(each.results.sorted("made", true)), expected);
    }
}

}  // namespace quendokit::testing

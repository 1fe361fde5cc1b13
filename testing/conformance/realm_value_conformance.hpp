#pragma once
/// \file
/// Conformance of `Realm`: values at the edges of their types.

#include <cmath>
#include <limits>

#include "testing/conformance/realm_conformance_fixture.hpp"

namespace quendokit::testing {

/// Texts that a careless database shortens, recodes or confuses.
inline std::vector<std::string> textsAtTheEdge() {
    using std::string_literals::operator""s;
    std::string everyByte;
    for (int byte = 0; byte < 256; ++byte) {
        everyByte += static_cast<char>(byte);
    }
    return {"",
            " ",
            "\0"s,
            "\0\0"s,
            "a",
            "a\0"s,
            "a\0b"s,
            "A",
            "a ",
            "1",
            "01",
            "1.0",
            "\xC3\xA4"s,
            "a\xCC\x88"s,
            "\xFF\xFE",
            "\xC3",
            "\r\n",
            "\n",
            "\xF0\x9F\x97\x83 store",
            "NULL",
            everyByte,
            std::string(300, '\0')};
}

TEST_P(RealmConformance, TextsKeepEveryByte) {
    const auto texts = textsAtTheEdge();
    std::vector<Specimen> specimens;
    for (const std::string& text : texts) {
        specimens.push_back({text, text});
    }
    store(specimens);
    EXPECT_EQ(realm->objects<Specimen>().count(), texts.size());
    for (const std::string& text : texts) {
        EXPECT_EQ(find(text), (Specimen{text, text}));
        EXPECT_EQ(keysWhere("label = %@", text), Keys{text});
    }
}

TEST_P(RealmConformance, TextsKeepEveryByteWhenSet) {
    store({{"k"}});
    for (const std::string& text : textsAtTheEdge()) {
        write([&] { realm->set<Specimen>("k", {{"label", text}}); });
        EXPECT_EQ(find("k"), (Specimen{"k", text}));
    }
}

TEST_P(RealmConformance, AnyTextIsAKeyToChangeAndDeleteBy) {
    const auto texts = textsAtTheEdge();
    for (const std::string& text : texts) {
        write([&] { realm->add(Specimen{text, "first"}, false); });
    }
    for (const std::string& text : texts) {
        EXPECT_TRUE(realm->write([&] { realm->add(Specimen{text}, false); }));
        write([&] { realm->set<Specimen>(text, {{"label", text}}); });
        EXPECT_EQ(find(text), (Specimen{text, text}));
    }
    std::size_t left = texts.size();
    for (const std::string& text : texts) {
        write([&] { realm->delete_(Specimen{text}); });
        EXPECT_FALSE(find(text));
        EXPECT_EQ(realm->objects<Specimen>().count(), --left);
    }
}

TEST_P(RealmConformance, TextsOfAMegabyte) {
    std::string large(1'000'000, 'x');
    large[500'000] = '\0';
    large.back() = '\xFF';
    store({{"k", large}, {large, "short"}});
    EXPECT_EQ(find("k")->label, large);
    EXPECT_EQ(find(large)->label, "short");
    EXPECT_EQ(keysWhere("label = %@", large), Keys{"k"});
    write([&] { realm->delete_(Specimen{large}); });
    EXPECT_EQ(realm->objects<Specimen>().count(), 1U);
}

TEST_P(RealmConformance, IntegersKeepAll64Bits) {
    using Limits = std::numeric_limits<std::int64_t>;
    const std::vector<std::int64_t> ascending{
        Limits::min(), Limits::min() + 1, -(1LL << 53) - 1, -(1LL << 53),      -1,           0, 1,
        1LL << 40,     1LL << 53,         (1LL << 53) + 1,  Limits::max() - 1, Limits::max()};
    for (std::size_t i = 0; i < ascending.size(); ++i) {
        store({{.key = std::to_string(100 - i), .order = ascending[i]}});
    }
    const auto found = realm->objects<Specimen>().sorted("order", true).toVector();
    ASSERT_EQ(found.size(), ascending.size());
    for (std::size_t i = 0; i < ascending.size(); ++i) {
        EXPECT_EQ(found[i].order, ascending[i]);
        EXPECT_EQ(realm->objects<Specimen>().filter("order = %@", ascending[i]).count(), 1U);
        EXPECT_EQ(realm->objects<Specimen>().filter("order < %@", ascending[i]).count(), i);
    }
    EXPECT_EQ(realm->objects<Specimen>().filter("order = 9223372036854775807").count(), 1U);
    EXPECT_EQ(realm->objects<Specimen>().filter("order = -9223372036854775808").count(), 1U);
    write([&] { realm->set<Specimen>("100", {{"order", Limits::max()}}); });
    EXPECT_EQ(realm->objects<Specimen>().filter("order = %@", Limits::max()).count(), 2U);
}

/// Dates that a careless database rounds, in ascending order.
inline std::vector<Date> datesAtTheEdge() {
    using Limits = std::numeric_limits<double>;
    const double now = 1'795'302'000;
    return {Date(Limits::lowest()),
            Date(-1e300),
            Date(-9'223'372'036'854'775'808.0),
            Date(-62'135'596'800),
            Date(-1.5),
            Date(-0.1),
            Date(-Limits::denorm_min()),
            Date(0),
            Date(Limits::denorm_min()),
            Date(0.1),
            Date(1.0 / 3),
            Date(std::nextafter(now, 0)),
            Date(now),
            Date(std::nextafter(now, 1e300)),
            Date(now + 0.1),
            Date(253'402'300'800),
            Date(9'007'199'254'740'993.0),
            Date(9'223'372'036'854'775'808.0),
            Date(1e300),
            Date(Limits::max())};
}

TEST_P(RealmConformance, DatesAreNeverRounded) {
    const auto dates = datesAtTheEdge();
    for (std::size_t i = 0; i < dates.size(); ++i) {
        store({{.key = std::to_string(100 - i), .order = static_cast<std::int64_t>(i), ._moment = dates[i]}});
    }
    const auto found = realm->objects<Specimen>().sorted("_moment", true).toVector();
    ASSERT_EQ(found.size(), dates.size());
    for (std::size_t i = 0; i < dates.size(); ++i) {
        SCOPED_TRACE(dates[i].timeIntervalSince1970());
        EXPECT_EQ(found[i]._moment, dates[i]);
        EXPECT_EQ(found[i].order, static_cast<std::int64_t>(i));
        EXPECT_EQ(realm->objects<Specimen>().filter("_moment = %@", dates[i]).count(), 1U);
        EXPECT_EQ(realm->objects<Specimen>().filter("_moment < %@", dates[i]).count(), i);
        EXPECT_EQ(realm->objects<Specimen>().filter("_moment > %@", dates[i]).count(), dates.size() - 1 - i);
    }
}

TEST_P(RealmConformance, DatesAreNeverRoundedWhenSet) {
    store({{"k"}});
    for (const Date date : datesAtTheEdge()) {
        write([&] { realm->set<Specimen>("k", {{"_moment", date}}); });
        EXPECT_EQ(find("k")->_moment, date);
    }
}

TEST_P(RealmConformance, NegativeZeroIsTheEpoch) {
    store({{.key = "k", ._moment = Date(-0.0)}});
    EXPECT_EQ(find("k")->_moment, Date(0));
    EXPECT_EQ(keysWhere("_moment = %@", Date(0)), Keys{"k"});
    EXPECT_EQ(keysWhere("_moment = %@", Date(-0.0)), Keys{"k"});
    EXPECT_EQ(keysWhere("_moment < %@", Date(0)), Keys{});
}

TEST_P(RealmConformance, InfiniteDatesCompareAsArguments) {
    const double infinity = std::numeric_limits<double>::infinity();
    store({{.key = "k", ._moment = Date(std::numeric_limits<double>::max())}});
    EXPECT_EQ(keysWhere("_moment < %@", Date(infinity)), Keys{"k"});
    EXPECT_EQ(keysWhere("_moment > %@", Date(infinity)), Keys{});
    EXPECT_EQ(keysWhere("_moment > %@", Date(-infinity)), Keys{"k"});
    EXPECT_EQ(keysWhere("_moment != %@", Date(-infinity)), Keys{"k"});
}

TEST_P(RealmConformance, ADateThatIsNotFiniteFailsTheWholeWrite) {
    using Limits = std::numeric_limits<double>;
    store({{"k", "old"}});
    for (const double notFinite :
         {Limits::quiet_NaN(), -Limits::quiet_NaN(), Limits::infinity(), -Limits::infinity()}) {
        const auto added = realm->write([&] {
            realm->add(Specimen{"before"}, true);
            realm->add(Specimen{.key = "bad", .made = Date(notFinite)}, true);
        });
        EXPECT_TRUE(added && isRealmError(*added, RealmErrorCode::invalidValue));
        const auto replaced = realm->write([&] { realm->add(Specimen{.key = "k", ._moment = Date(notFinite)}, true); });
        EXPECT_TRUE(replaced && isRealmError(*replaced, RealmErrorCode::invalidValue));
        const auto set = realm->write([&] {
            realm->set<Specimen>("k", {{"label", std::string("new")}, {"_moment", Date(notFinite)}});
            realm->add(Specimen{"after"}, true);
        });
        EXPECT_TRUE(set && isRealmError(*set, RealmErrorCode::invalidValue));
        EXPECT_EQ(all(), (std::vector{Specimen{"k", "old"}}));
    }
}

TEST_P(RealmConformance, ADateThatIsNotFiniteFailsTheWriteForAMissingObjectToo) {
    const auto set = realm->write(
        [&] { realm->set<Specimen>("missing", {{"_moment", Date(std::numeric_limits<double>::infinity())}}); });
    EXPECT_TRUE(set && isRealmError(*set, RealmErrorCode::invalidValue));
    EXPECT_TRUE(all().empty());
}

}  // namespace quendokit::testing

#pragma once
/// \file
/// What every store of settings must do, asked of any type with `object`, `set` and `remove`.

#include <bit>
#include <cmath>
#include <cstdint>
#include <limits>
#include <ostream>
#include <string>
#include <string_view>
#include <thread>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "quendokit/platform/property_value.hpp"

namespace quendokit::testing {

/// Keys that a careless store mixes up, splits at dots or cannot write down.
[[nodiscard]] inline std::vector<std::string> keysAtTheEdge() {
    return {"",
            " ",
            "a",
            "A",
            "a.b",
            "a.b.c",
            "a/b",
            "~0",
            "quendokit.options.evening",
            "ключ",
            "\xE6\x97\xA5\xE6\x9C\xAC",
            "quote\"d",
            "back\\slash",
            "line\nfeed",
            "\x01\x1F\x7F",
            std::string("nul\0inside", 10),
            std::string("nul\0", 4),
            std::string(1'000, 'k')};
}

/// Values of every kind that a careless store rounds, shortens or takes for another kind. Every JSON, XML or SQL can
/// hold them.
[[nodiscard]] inline std::vector<PropertyValue> plainPropertyValues() {
    using Integers = std::numeric_limits<std::int64_t>;
    using Numbers = std::numeric_limits<double>;
    std::vector<PropertyValue> values = {true,
                                         false,
                                         "",
                                         "1",
                                         "1.0",
                                         "true",
                                         "null",
                                         "with \"quotes\", \\ and /",
                                         "line\r\nfeed\ttab",
                                         "\xE2\x8F\xB0 caf\xC3\xA9 \xF0\x9F\x97\x93",
                                         std::string("nul\0inside", 10),
                                         std::vector<std::byte>(),
                                         std::vector<std::byte>{std::byte{0}},
                                         std::vector<std::byte>{std::byte{0xFF}, std::byte{0}},
                                         std::vector<std::byte>{std::byte{'1'}, std::byte{0x80}, std::byte{'\n'}}};
    for (const std::int64_t integer :
         {Integers::min(), Integers::min() + 1, std::int64_t{-9'007'199'254'740'993}, std::int64_t{-1}, std::int64_t{0},
          std::int64_t{1}, std::int64_t{86'400}, std::int64_t{2'147'483'648}, std::int64_t{9'007'199'254'740'993},
          Integers::max() - 1, Integers::max()}) {
        values.emplace_back(integer);
    }
    for (const double number :
         {Numbers::lowest(), -1.5, -Numbers::denorm_min(), -0.0, 0.0, Numbers::denorm_min(), 0.1, 1.0, 1.0 / 3,
          43'200.0, 9'007'199'254'740'992.0, 1'795'302'000.25, 1e300, Numbers::max()}) {
        values.emplace_back(number);
    }
    std::vector<std::byte> allBytes;
    for (int i = 0; i < 64'000; ++i) {
        allBytes.push_back(static_cast<std::byte>(i));
    }
    values.emplace_back(std::string(64'000, 'x'));
    values.emplace_back(std::move(allBytes));
    return values;
}

/// Values that a process keeps, and that an implementation may be unable to write down.
[[nodiscard]] inline std::vector<PropertyValue> awkwardPropertyValues() {
    using Numbers = std::numeric_limits<double>;
    return {Numbers::infinity(), -Numbers::infinity(), Numbers::quiet_NaN(), "\xFF not UTF-8 \xC3",
            std::string("\xED\xA0\x80")};
}

/// Equal in kind and content, numbers bit by bit.
[[nodiscard]] inline bool isSame(const PropertyValue& one, const PropertyValue& other) {
    const double* number = std::get_if<double>(&one);
    const double* otherNumber = std::get_if<double>(&other);
    if (number != nullptr && otherNumber != nullptr) {
        return std::bit_cast<std::uint64_t>(*number) == std::bit_cast<std::uint64_t>(*otherNumber) ||
               (std::isnan(*number) && std::isnan(*otherNumber));
    }
    return one == other;
}

/// What stands under `key` is `expected`, in kind and content.
template <typename Store>
void expectHolds(const Store& store, std::string_view key, const PropertyValue& expected) {
    const auto found = store.object(key);
    ASSERT_TRUE(found) << "nothing stands under \"" << key << '"';
    EXPECT_TRUE(isSame(*found, expected)) << "under \"" << key << "\" stands a value of kind " << found->index()
                                          << " in place of one of kind " << expected.index();
}

template <typename Store>
void checkAValueReadsAsItWasSet(Store& store) {
    auto values = plainPropertyValues();
    for (PropertyValue& value : awkwardPropertyValues()) {
        values.push_back(std::move(value));
    }
    for (std::size_t i = 0; i < values.size(); ++i) {
        SCOPED_TRACE("value number " + std::to_string(i));
        store.set("replaced again and again", values[i]);
        expectHolds(store, "replaced again and again", values[i]);
        store.set("value." + std::to_string(i), values[i]);
    }
    for (std::size_t i = 0; i < values.size(); ++i) {
        SCOPED_TRACE("value number " + std::to_string(i));
        expectHolds(store, "value." + std::to_string(i), values[i]);
    }
}

template <typename Store>
void checkKindsStayApart(Store& store) {
    const std::vector<PropertyValue> ones = {std::int64_t{1}, 1.0, true,  "1", std::vector<std::byte>{std::byte{1}},
                                             std::int64_t{0}, 0.0, false, "",  std::vector<std::byte>()};
    for (const PropertyValue& before : ones) {
        for (const PropertyValue& after : ones) {
            store.set("k", before);
            expectHolds(store, "k", before);
            store.set("k", after);
            expectHolds(store, "k", after);
        }
    }
}

template <typename Store>
void checkKeysStayApart(Store& store) {
    const auto keys = keysAtTheEdge();
    for (std::size_t i = 0; i < keys.size(); ++i) {
        EXPECT_FALSE(store.object(keys[i])) << keys[i];
        store.set(keys[i], static_cast<std::int64_t>(i));
    }
    for (std::size_t i = 0; i < keys.size(); ++i) {
        expectHolds(store, keys[i], static_cast<std::int64_t>(i));
    }
    for (std::size_t i = 0; i < keys.size(); ++i) {
        store.remove(keys[i]);
        EXPECT_FALSE(store.object(keys[i])) << keys[i];
        for (std::size_t left = i + 1; left < keys.size(); ++left) {
            expectHolds(store, keys[left], static_cast<std::int64_t>(left));
        }
    }
}

template <typename Store>
void checkRemoving(Store& store) {
    store.remove("never set");
    EXPECT_FALSE(store.object("never set"));
    store.set("k", "first");
    store.remove("k");
    EXPECT_FALSE(store.object("k"));
    store.remove("k");
    EXPECT_FALSE(store.object("k"));
    store.set("k", "second");
    expectHolds(store, "k", "second");
}

/// Each thread writes keys of its own and all of them one key in common, whose value is always read whole.
template <typename Store>
void checkSeveralThreads(Store& store) {
    constexpr int threads = 4;
    constexpr int rounds = 25;
    const auto wholeText = [](int thread) { return std::string(200, static_cast<char>('a' + thread)); };
    const auto isWhole = [](const std::string& text) {
        return text.size() == 200 && text.find_first_not_of(text.front()) == std::string::npos;
    };
    store.set("common", wholeText(0));
    std::vector<std::thread> running;
    for (int thread = 0; thread < threads; ++thread) {
        running.emplace_back([&store, &wholeText, &isWhole, thread] {
            const std::string own = "own." + std::to_string(thread);
            for (std::int64_t round = 0; round < rounds; ++round) {
                store.set(own, round);
                expectHolds(store, own, round);
                store.set("common", wholeText(thread));
                const auto common = store.object("common");
                EXPECT_TRUE(common && isWhole(std::get<std::string>(*common)));
                store.set("passing." + own, round);
                store.remove("passing." + own);
                EXPECT_FALSE(store.object("passing." + own));
            }
        });
    }
    for (std::thread& each : running) {
        each.join();
    }
    for (int thread = 0; thread < threads; ++thread) {
        expectHolds(store, "own." + std::to_string(thread), std::int64_t{rounds - 1});
    }
}

}  // namespace quendokit::testing

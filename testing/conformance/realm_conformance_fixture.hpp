#pragma once
/// \file
/// The fixture of the conformance suite of `Realm`.

#include <algorithm>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "quendokit/platform/results.hpp"
#include "quendokit/platform/services.hpp"
#include "quendokit/store/reminder_item.hpp"
#include "testing/conformance/realm_factory.hpp"
#include "testing/conformance/specimen.hpp"
#include "testing/manual_clock.hpp"
#include "testing/recording_line_sink.hpp"

namespace quendokit::testing {

/// An empty database of `Specimen` and `ReminderItem` for each test, in a world whose clock stands still.
class RealmConformance : public ::testing::TestWithParam<RealmImplementation> {
protected:
    static constexpr std::uint64_t schemaVersion = 3;

    RealmConformance() : installed_(services(clock)), factory(GetParam().makeFactory()) {}

    void SetUp() override {
        realm = factory->make(configuration());
        ASSERT_TRUE(realm);
    }

    void TearDown() override { realm.reset(); }

    static RealmConfiguration configuration() {
        return {.fileURL = std::nullopt,
                .schemaVersion = schemaVersion,
                .migrationBlock = nullptr,
                .objectSchemas = {Specimen::schema(), ReminderItem::schema()}};
    }

    /// A write that has to succeed.
    void write(const std::function<void()>& changes) { write(*realm, changes); }
    static void write(Realm& realm, const std::function<void()>& changes) {
        const auto failure = realm.write(changes);
        EXPECT_FALSE(failure) << failure->description;
    }

    /// Stores specimens in a write that has to succeed.
    void store(const std::vector<Specimen>& specimens) {
        write([&] { realm->add(specimens, true); });
    }

    [[nodiscard]] std::vector<Specimen> all() const { return all(*realm); }
    /// Everything stored, ordered by the key.
    [[nodiscard]] static std::vector<Specimen> all(const Realm& realm) {
        return realm.objects<Specimen>().sorted("key", true).toVector();
    }

    /// What is stored under `key`.
    [[nodiscard]] std::optional<Specimen> find(std::string_view key) const {
        const auto found = realm->objects<Specimen>().filter("key = %@", key).toVector();
        EXPECT_LE(found.size(), 1U);
        return found.empty() ? std::nullopt : std::optional(found.front());
    }

    /// The keys in the order in which the query answers.
    [[nodiscard]] static std::vector<std::string> keys(const Results<Specimen>& results) {
        std::vector<std::string> keys;
        for (const Specimen& specimen : results.toVector()) {
            keys.push_back(specimen.key);
        }
        return keys;
    }

    /// The keys in ascending order, for queries without an order.
    [[nodiscard]] static std::vector<std::string> sortedKeys(const Results<Specimen>& results) {
        std::vector<std::string> unordered = keys(results);
        std::sort(unordered.begin(), unordered.end());
        return unordered;
    }

    /// The keys, in ascending order, of the specimens that meet a predicate.
    template <typename... Arguments>
    [[nodiscard]] std::vector<std::string> keysWhere(std::string_view format, const Arguments&... arguments) const {
        return sortedKeys(realm->objects<Specimen>().filter(format, arguments...));
    }

    using Keys = std::vector<std::string>;

    const std::shared_ptr<ManualClock> clock = std::make_shared<ManualClock>();

private:
    static platform::Services services(std::shared_ptr<Clock> clock) {
        platform::Services services;
        services.clock = std::move(clock);
        services.standardOutput = std::make_shared<RecordingLineSink>();
        return services;
    }

    const platform::ScopedInstall installed_;

protected:
    const std::unique_ptr<RealmFactory> factory;
    std::shared_ptr<Realm> realm;
};

/// Without an INSTANTIATE_TEST_SUITE_P, including the suite runs nothing.
GTEST_ALLOW_UNINSTANTIATED_PARAMETERIZED_TEST(RealmConformance);

}  // namespace quendokit::testing

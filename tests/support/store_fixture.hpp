#pragma once
/// \file
/// `StoreFixture`: a reminder controller over any database, with everything around it recorded.

#include <memory>
#include <string>
#include <utility>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "quendokit/platform/results.hpp"
#include "quendokit/platform/services.hpp"
#include "quendokit/store/quendokit_config.hpp"
#include "quendokit/store/reminder_controller_internal.hpp"
#include "testing/manual_clock.hpp"
#include "testing/manual_dispatch_queue.hpp"
#include "testing/recording_delegate.hpp"
#include "testing/recording_line_sink.hpp"
#include "testing/recording_scheduler.hpp"
#include "tests/support/realm_implementations.hpp"
#include "tests/support/reminder_items.hpp"
#include "tests/support/tracing_realm.hpp"

namespace quendokit::testing {

/// An empty database, and a controller whose scheduler, delegate and database tell one trace. The clock stands at
/// `now`; fresh ids are "fresh-1", "fresh-2" and so on; the main queue runs when told.
class StoreFixture : public ::testing::TestWithParam<RealmImplementation> {
protected:
    using Internal = ReminderControllerInternal;
    using Lines = std::vector<std::string>;

    static constexpr Date now = Date(1'795'302'000.25);

    StoreFixture() : installed_(makeServices()), factory(GetParam().makeFactory()) {}

    void SetUp() override {
        const auto database = factory->make(QuendoKitConfig());
        ASSERT_TRUE(database);
        realm = std::make_shared<TracingRealm>(database, trace);
        controller = ReminderController::create(scheduler, realm, delegate);
    }

    void TearDown() override {
        controller.reset();
        realm.reset();
    }

    [[nodiscard]] static Date after(double seconds) { return Date(now.timeIntervalSince1970() + seconds); }

    /// Puts records into the database behind the controller's back, untraced.
    void put(const std::vector<ReminderItem>& items) {
        const auto failure = realm->write([&] { realm->add(items, true); });
        EXPECT_FALSE(failure) << failure->description;
        trace->clear();
    }

    /// Everything stored, ordered by id.
    [[nodiscard]] std::vector<ReminderItem> stored() const {
        return realm->objects<ReminderItem>().sorted("ID", true).toVector();
    }
    [[nodiscard]] Lines storedTexts() const {
        Lines lines;
        for (const ReminderItem& item : stored()) {
            lines.push_back(text(item));
        }
        return lines;
    }

    /// The reminder that a record holds, which must convert.
    [[nodiscard]] static ReminderStruct reminderOf(const ReminderItem& item) {
        return makeReminderStruct(item).value();
    }

    [[nodiscard]] ReminderItems lists(bool includingDeleted = true) const {
        return Internal::reminderItems(*controller, includingDeleted);
    }

    const std::shared_ptr<Trace> trace = std::make_shared<Trace>();
    const std::shared_ptr<ManualClock> clock = std::make_shared<ManualClock>(now);
    const std::shared_ptr<ManualDispatchQueue> mainQueue = std::make_shared<ManualDispatchQueue>();
    const std::shared_ptr<RecordingLineSink> output = std::make_shared<RecordingLineSink>(trace);
    std::shared_ptr<RecordingScheduler> scheduler = std::make_shared<RecordingScheduler>(trace);
    std::shared_ptr<RecordingDelegate> delegate = std::make_shared<RecordingDelegate>(trace);

private:
    platform::Services makeServices() {
        platform::Services services;
        services.clock = clock;
        services.mainQueue = mainQueue;
        services.standardOutput = output;
        services.uuidSource = [count = 0]() mutable { return "fresh-" + std::to_string(++count); };
        return services;
    }

    const platform::ScopedInstall installed_;

protected:
    const std::unique_ptr<RealmFactory> factory;
    std::shared_ptr<TracingRealm> realm;
    std::shared_ptr<ReminderController> controller;
};

}  // namespace quendokit::testing

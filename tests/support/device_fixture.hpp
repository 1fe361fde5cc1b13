#pragma once
/// \file
/// `DeviceFixture`: a device whose time, settings, texts and cloud are in the test's hand.

#include <cstdint>
#include <memory>
#include <optional>
#include <utility>

#include <gtest/gtest.h>

#include "quendokit/model/date_operations.hpp"
#include "quendokit/model/day.hpp"
#include "quendokit/platform/services.hpp"
#include "testing/fixed_locale.hpp"
#include "testing/in_memory_bundle.hpp"
#include "testing/in_memory_ubiquitous_store.hpp"
#include "testing/in_memory_user_defaults.hpp"
#include "testing/manual_calendar.hpp"
#include "testing/manual_clock.hpp"
#include "testing/manual_dispatch_queue.hpp"
#include "testing/manual_run_loop.hpp"
#include "testing/manual_run_loop_provider.hpp"
#include "testing/recording_line_sink.hpp"
#include "testing/recording_notification_center.hpp"

namespace quendokit::testing {

/// Every service but the database, installed anew for each test. It is 00:00:00 on Saturday 2026-11-21, in UTC.
class DeviceFixture : public ::testing::Test {
protected:
    /// 2026-11-21 00:00:00 UTC, a Saturday.
    static constexpr std::int64_t saturday = 1'795'219'200;

    DeviceFixture() : installed_(std::in_place, makeServices()) {}

    /// The time of day on a day of that week: `onDay(Day::sunday, hours(9))` is 09:00:00 of 2026-11-15, `saturday` ends
    /// the week.
    [[nodiscard]] static Date onDay(Day day, std::int64_t time) {
        return Date(static_cast<double>(saturday + days(day.rawValue() - 7) + time));
    }
    /// The same a week later.
    [[nodiscard]] static Date nextWeekOn(Day day, std::int64_t time) { return onDay(day, time) + days(7); }

    /// Turns the clock to a moment.
    void itIs(Date now) { clock->set(now); }

    /// Ends the installation, with everything that exists once per process.
    void uninstall() { installed_.reset(); }
    /// Begins another one on the same services: the next run of the program.
    void installAgain() {
        installed_.reset();
        installed_.emplace(makeServices());
    }

    const std::shared_ptr<ManualClock> clock = std::make_shared<ManualClock>(Date(saturday));
    const std::shared_ptr<ManualCalendar> calendar = std::make_shared<ManualCalendar>();
    const std::shared_ptr<FixedLocale> locale = std::make_shared<FixedLocale>();
    const std::shared_ptr<InMemoryBundle> bundle = std::make_shared<InMemoryBundle>();
    const std::shared_ptr<InMemoryUserDefaults> defaults = std::make_shared<InMemoryUserDefaults>();
    const std::shared_ptr<InMemoryUbiquitousStore> cloud = std::make_shared<InMemoryUbiquitousStore>();
    const std::shared_ptr<RecordingNotificationCenter> center = std::make_shared<RecordingNotificationCenter>();
    const std::shared_ptr<ManualRunLoop> mainLoop = std::make_shared<ManualRunLoop>(clock);
    const std::shared_ptr<ManualRunLoopProvider> loops = std::make_shared<ManualRunLoopProvider>(mainLoop);
    const std::shared_ptr<ManualDispatchQueue> mainQueue = std::make_shared<ManualDispatchQueue>();
    const std::shared_ptr<RecordingLineSink> output = std::make_shared<RecordingLineSink>();

private:
    [[nodiscard]] platform::Services makeServices() const {
        platform::Services services;
        services.clock = clock;
        services.calendar = calendar;
        services.locale = locale;
        services.bundleProvider = std::make_shared<InMemoryBundleProvider>(
            InMemoryBundleProvider::Bundles{{"net.example.quendokit", bundle}});
        services.userDefaults = defaults;
        services.ubiquitousKeyValueStore = cloud;
        services.notificationCenter = center;
        services.runLoopProvider = loops;
        services.mainQueue = mainQueue;
        services.standardOutput = output;
        services.FrameworkBundleIdentifier = "net.example.quendokit";
        services.organisationPrefix = "net.example";
        return services;
    }

    std::optional<platform::ScopedInstall> installed_;
};

}  // namespace quendokit::testing

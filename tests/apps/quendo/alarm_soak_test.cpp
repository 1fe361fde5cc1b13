/// \file
/// Hundreds of reminders over the kernel's timer, the real database and the real ledger.

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "adapters/event_loop/event_loop.hpp"
#include "adapters/linux/linux_platform.hpp"
#include "adapters/linux/wall_clock_alarm.hpp"
#include "hostkit/queueing_scheduler.hpp"
#include "hostkit/reminder_alarms.hpp"
#include "quendokit/platform/clock.hpp"
#include "quendokit/platform/realm.hpp"
#include "quendokit/store/quendokit_config.hpp"
#include "quendokit/store/reminder_controller.hpp"
#include "tests/support/temporary_folder.hpp"

namespace quendo::testing {
namespace {

using namespace quendokit;

/// Notes when each reminder was to be shown, and shows it at once.
class PunctualPresenter final : public ReminderPresenter {
public:
    void show(const ReminderNotice& notice, Done done) override {
        const double late = platform::clock().now().timeIntervalSince1970() -
                            notice.occurrence.value_or(Date(0)).timeIntervalSince1970();
        lateness[notice.title].push_back(late);
        platform::services().mainQueue->async(
            [done = std::move(done), handle = std::to_string(++shown)] { done(handle); });
    }
    void close(const std::string&) override {}
    void setEvents(ReminderPresenterEvents) override {}

    std::map<std::string, std::vector<double>> lateness;
    int shown = 0;
};

TEST(AlarmSoak, EveryReminderOfFiveHundredRingsOnceAndInTime) {
    constexpr int count = 500;
    constexpr double first = 4;
    constexpr double apart = 0.03;
    quendokit::testing::TemporaryFolder folder;
    LinuxPlatformOptions options;
    options.folders = LinuxFolders::inOne(folder.path());
    const LinuxPlatform linuxPlatform = makeLinuxPlatform(options);
    const platform::ScopedInstall services(linuxPlatform.services);
    const auto realm = Realm::open(QuendoKitConfig()).value();

    std::shared_ptr<ReminderAlarms> alarms;
    WallClockEvents events;
    events.reached = [&] { alarms->timeReached(); };
    events.clockChanged = [&] { alarms->clockChanged(); };
    const auto clock = WallClockAlarm::create(linuxPlatform.mainLoop, std::move(events)).value();
    const auto scheduler = QueueingScheduler::create([&] { alarms->storeChanged(); });
    const auto presenter = std::make_shared<PunctualPresenter>();
    ReminderAlarmsParts parts;
    parts.controller = ReminderController::create(scheduler, realm);
    parts.ledger = FiredLedger::open(folder.path() / "ledger", platform::clock().now()).value();
    parts.armedList = std::make_shared<ArmedListFile>(folder.path() / "armed");
    parts.presenter = presenter;
    parts.armAt = [&](std::optional<Date> moment) { clock->set(moment); };
    parts.perform = [](const auto&, const std::function<void()>& change) { change(); };
    const auto controller = parts.controller;
    ReminderAlarmsOptions rings;
    // On a machine that is busy with other things many may come late together; each is awaited by itself.
    rings.summarises = false;
    alarms = ReminderAlarms::create(std::move(parts), rings);
    alarms->start();

    const double begin = platform::clock().now().timeIntervalSince1970() + first;
    std::vector<ReminderStruct> reminders;
    for (int i = 0; i < count; ++i) {
        reminders.emplace_back(std::to_string(i), ReminderCondition::dateTime(Date(begin + i * apart)));
    }
    controller->store(reminders);
    ASSERT_TRUE(
        linuxPlatform.mainLoop->runUntil([&] { return presenter->lateness.size() == count; }, std::chrono::minutes(2)));
    // Whatever would ring a second time does so now.
    static_cast<void>(linuxPlatform.mainLoop->runUntil([] { return false; }, std::chrono::seconds(1)));

    std::vector<double> all;
    for (const auto& [title, times] : presenter->lateness) {
        EXPECT_EQ(times.size(), 1U) << title << " rang more than once";
        EXPECT_GE(times.front(), 0) << title << " rang before its time";
        all.push_back(times.front());
    }
    std::sort(all.begin(), all.end());
    std::printf("%d alarms: half of them within %.1f ms, 99 of 100 within %.1f ms, the latest after %.1f ms\n", count,
                all[count / 2] * 1e3, all[count * 99 / 100] * 1e3, all.back() * 1e3);
    linuxPlatform.mainLoop->end();
}

}  // namespace
}  // namespace quendo::testing

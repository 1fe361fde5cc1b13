#pragma once
/// \file
/// `AlarmsFixture`: alarms whose process, machine and person are in the test's hand.

#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "hostkit/queueing_scheduler.hpp"
#include "hostkit/reminder_alarms.hpp"
#include "quendokit/platform/realm_error.hpp"
#include "quendokit/platform/results.hpp"
#include "quendokit/store/quendokit_config.hpp"
#include "quendokit/store/reminder_controller_internal.hpp"
#include "testing/in_memory_realm.hpp"
#include "testing/recording_presenter.hpp"
#include "tests/support/device_fixture.hpp"
#include "tests/support/reminder_items.hpp"
#include "tests/support/temporary_folder.hpp"

namespace quendokit::testing {

inline constexpr const char* shortButton = "quendo.postpone.action.short";

/// A machine on Wednesday at 10:00:00 UTC, with the day plan that everyone begins with. Database, files and screen
/// outlive the process, which runs from `begin()` to `end()`.
class AlarmsFixture : public DeviceFixture {
protected:
    using Lines = std::vector<std::string>;

    AlarmsFixture() { itIs(start); }
    ~AlarmsFixture() override { end(); }

    /// The process starts.
    void begin() {
        make();
        alarms->start();
        turn();
    }
    /// Makes everything but does not start it.
    void make() {
        const auto report = [this](const std::string& line) { reports.push_back(line); };
        presenter = std::make_shared<RecordingPresenter>(answersByHand ? nullptr : mainQueue, screen);
        auto opened = FiredLedger::open(ledgerFile, clock->now(), report);
        ASSERT_TRUE(opened) << opened.error().description;
        ledger = std::move(opened).value();
        armedList = std::make_shared<ArmedListFile>(armedFile, report);
        const auto scheduler = QueueingScheduler::create([this] {
            if (alarms) {
                alarms->storeChanged();
            }
        });
        controller = ReminderController::create(scheduler, realm);
        ReminderAlarmsEvents events;
        events.failed = [this](const Error& error) { failures.push_back(error.description); };
        events.reports = report;
        alarms = ReminderAlarms::create({controller, ledger, armedList, presenter,
                                         [this](std::optional<Date> moment) {
                                             timer = moment;
                                             ++timerSets;
                                         },
                                         [this](std::vector<std::string> ids, std::function<void()> change) {
                                             if (perform) {
                                                 perform(std::move(ids), std::move(change));
                                             } else {
                                                 change();
                                             }
                                         }},
                                        options, events);
    }
    /// The process ends, without a word: by a kill, or with the machine.
    void end() {
        alarms.reset();
        controller.reset();
        ledger.reset();
        armedList.reset();
        presenter.reset();
        // What was queued goes with it.
        timer.reset();
        while (mainQueue->runNext()) {
        }
    }
    void restart() {
        end();
        begin();
    }
    void turn() { mainQueue->runAll(); }

    /// The machine is awake until `moment`: its timer fires when it is due.
    void passTo(Date moment) {
        while (timer && *timer < moment) {
            itIs(std::max(clock->now(), Date(timer->timeIntervalSince1970() + 0.01)));
            timer.reset();
            alarms->timeReached();
            turn();
        }
        itIs(moment);
    }
    /// It sleeps until `moment`, and wakes up.
    void sleepTo(Date moment) {
        itIs(moment);
        wake();
    }
    void wake() {
        alarms->clockChanged();
        turn();
    }

    /// What is stored behind the back of a process that does not run, or by one that has ended.
    void put(const std::vector<ReminderItem>& items) {
        const auto failure = realm->write([&] { realm->add(items, true); });
        EXPECT_FALSE(failure) << failure->description;
        if (alarms) {
            alarms->storeChanged();
            turn();
        }
    }
    void remove(const std::string& id) {
        EXPECT_FALSE(realm->write([&] { realm->set<ReminderItem>(id, {{"deleted", true}}); }));
        if (alarms) {
            alarms->storeChanged();
            turn();
        }
    }
    [[nodiscard]] static ReminderItem shownItem(const std::string& id, Date moment) {
        ReminderItem item = datedItem(id, moment);
        item.shown = true;
        item.completionDate = moment + 5;
        return item;
    }

    [[nodiscard]] std::optional<ReminderItem> stored(const std::string& id) const {
        return ReminderControllerInternal::storedReminder(*controller, id);
    }
    [[nodiscard]] Date dateOf(const std::string& id) const { return stored(id)->_datetime; }
    [[nodiscard]] bool isSeen(const std::string& id) const { return stored(id)->shown; }
    [[nodiscard]] FiredEntry::State stateOf(const std::string& id, std::optional<Date> occurrence) const {
        const FiredEntry* const entry = ledger->find(id, occurrence);
        EXPECT_NE(entry, nullptr);
        return entry != nullptr ? entry->state : FiredEntry::State::acted;
    }

    /// The titles of all that was ever shown, in that order; a summary is "N: first, second".
    [[nodiscard]] Lines rung() const { return titlesOf(screen->history); }
    [[nodiscard]] Lines onScreen() const { return titlesOf(screen->shown); }
    [[nodiscard]] const std::string& handle(std::size_t index = 0) const { return screen->history.at(index).handle; }
    [[nodiscard]] const ReminderNotice& notice(std::size_t index = 0) const { return screen->history.at(index).notice; }

    static Lines titlesOf(const std::vector<RecordedScreen::Shown>& shown) {
        Lines titles;
        for (const auto& [handle, notice] : shown) {
            std::string text = notice.title;
            if (notice.kind == NoticeKind::summary) {
                text = std::to_string(notice.count) + ":";
                for (const std::string& title : notice.titles) {
                    text += " " + title;
                }
            }
            titles.push_back(text);
        }
        return titles;
    }

    const Date start = onDay(Day::wednesday, hours(10));
    /// In memory where there is such a place: it waits for the disk without one.
    const TemporaryFolder folder{std::filesystem::exists("/dev/shm") ? "/dev/shm"
                                                                     : std::filesystem::temp_directory_path()};
    const std::filesystem::path ledgerFile = folder.path() / "ledger";
    const std::filesystem::path armedFile = folder.path() / "armed";
    const std::shared_ptr<InMemoryRealm> realm = InMemoryRealm::create(QuendoKitConfig());
    const std::shared_ptr<RecordedScreen> screen = std::make_shared<RecordedScreen>();

    ReminderAlarmsOptions options;
    bool answersByHand = false;
    std::function<void(std::vector<std::string>, std::function<void()>)> perform;

    std::shared_ptr<RecordingPresenter> presenter;
    std::shared_ptr<FiredLedger> ledger;
    std::shared_ptr<ArmedListFile> armedList;
    std::shared_ptr<ReminderController> controller;
    std::shared_ptr<ReminderAlarms> alarms;
    /// What the timer stands at, and how often it was set.
    std::optional<Date> timer;
    int timerSets = 0;
    Lines failures;
    Lines reports;
};

}  // namespace quendokit::testing

#include <chrono>
#include <cstdint>
#include <functional>
#include <limits>
#include <memory>
#include <optional>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "quendokit/options/option_keys.hpp"
#include "quendokit/options/options.hpp"
#include "quendokit/platform/timer.hpp"
#include "tests/support/device_fixture.hpp"

namespace quendokit::testing {
namespace {

using namespace std::chrono_literals;

constexpr auto changedExternally = NSUbiquitousKeyValueStoreDidChangeExternallyNotification;

class OptionsMirroring : public DeviceFixture {
protected:
    using Changes = InMemoryUbiquitousStore::Changes;

    /// The shared options exist from now on.
    static void touch() { static_cast<void>(Options::Evening()); }
};

TEST_F(OptionsMirroring, TheFirstUseRegistersForChangesAndThenSynchronisesOnce) {
    EXPECT_EQ(center->observerCount(changedExternally), 0U);
    EXPECT_EQ(cloud->synchronizeCount(), 0U);
    touch();
    Options::setEvening(1);
    static_cast<void>(Options::syncObserver());
    EXPECT_EQ(center->observerCount(changedExternally), 1U);
    EXPECT_EQ(cloud->synchronizeCount(), 1U);
    uninstall();
    EXPECT_EQ(center->observerCount(changedExternally), 0U);
}

TEST_F(OptionsMirroring, WhatArrivesWhileTheFirstUseSynchronisesIsCopied) {
    class EagerStore final : public NSUbiquitousKeyValueStore {
    public:
        [[nodiscard]] std::optional<PropertyValue> object(std::string_view key) const override {
            return key == OptionKeys::Later ? std::optional<PropertyValue>(std::int64_t{60}) : std::nullopt;
        }
        void set(std::string_view, PropertyValue) override {}
        void remove(std::string_view) override {}
        bool synchronize() override {
            NotificationCenter::defaultCenter().post(
                {std::string(changedExternally),
                 Notification::UserInfo{{std::string(NSUbiquitousKeyValueStoreChangeReasonKey),
                                         NSUbiquitousKeyValueStoreInitialSyncChange}}});
            return true;
        }
    };
    platform::Services services = platform::services();
    services.ubiquitousKeyValueStore = std::make_shared<EagerStore>();
    const platform::ScopedInstall scope(services);
    EXPECT_EQ(Options::Later(), 60);
}

TEST_F(OptionsMirroring, AStoreThatCannotSynchroniseMakesNoDifference) {
    cloud->setSynchronizeAnswer(false);
    Options::setLater(60);
    mainLoop->advanceBy(3s);
    EXPECT_EQ(cloud->integer(OptionKeys::Later), 60);
}

TEST_F(OptionsMirroring, ThreeWritesOneSecondApartPushOnceThreeSecondsAfterTheThird) {
    Options::setEvening(64'800);
    mainLoop->advanceBy(1s);
    Options::setEvening(68'400);
    mainLoop->advanceBy(1s);
    Options::setEvening(72'000);

    mainLoop->advanceBy(2'999'999'999ns);
    EXPECT_EQ(cloud->writeCount(), 0U);
    mainLoop->advanceBy(1ns);
    EXPECT_EQ(cloud->integer(OptionKeys::Evening), 72'000);
    EXPECT_EQ(cloud->writeCount(), 1U);
    mainLoop->advanceBy(1h);
    EXPECT_EQ(cloud->writeCount(), 1U);
}

TEST_F(OptionsMirroring, EveryKindOfWriteArmsTheTimer) {
    const std::vector<void (*)()> writes{
        [] { Options::setFirstWorkday(Day::tuesday); },
        [] { Options::setFirstWeekend(Day::friday); },
        [] { Options::setWorkdayMorning(1); },
        [] { Options::setWeekendMorning(2); },
        [] { Options::setAfternoon(3); },
        [] { Options::setEvening(4); },
        [] { Options::setLater(5); },
        [] { Options::setPostpone(6); },
        [] { Options::setHasMacApp(true); },
        [] { Options::setHasMacApp(std::nullopt); },
        [] { Options::reset(); },
    };
    for (const auto write : writes) {
        write();
        EXPECT_EQ(mainLoop->timerCount(), 1U);
        EXPECT_EQ(mainLoop->timeUntilNextTimer(), 3s);
        mainLoop->advanceBy(3s);
        EXPECT_EQ(mainLoop->timerCount(), 0U);
    }
}

/// Keeps the timers that it is given and fires none.
class KeepingLoops final : public RunLoopProvider, public RunLoop {
public:
    ~KeepingLoops() override {
        // The last one keeps its target.
        for (const auto& timer : timers) {
            timer->invalidate();
        }
    }
    [[nodiscard]] RunLoop& main() override { return *this; }
    [[nodiscard]] RunLoop& current() override { return *this; }
    void add(std::shared_ptr<Timer> timer, RunLoopMode) override {
        onAdd();
        timers.push_back(std::move(timer));
    }
    std::vector<std::shared_ptr<Timer>> timers;
    std::function<void()> onAdd = [] {};
};

class OptionsTimers : public OptionsMirroring {
protected:
    OptionsTimers() {
        platform::Services services = platform::services();
        services.runLoopProvider = keeping;
        scope_.emplace(std::move(services));
    }

    const std::shared_ptr<KeepingLoops> keeping = std::make_shared<KeepingLoops>();

private:
    std::optional<platform::ScopedInstall> scope_;
};

TEST_F(OptionsTimers, AreRestartedEightTimesByReset) {
    Options::reset();

    ASSERT_EQ(keeping->timers.size(), 8U);
    for (const auto& timer : keeping->timers) {
        EXPECT_EQ(timer->timeInterval(), 3s);
        EXPECT_FALSE(timer->repeats());
        EXPECT_EQ(timer->isValid(), timer == keeping->timers.back());
    }
}

TEST_F(OptionsTimers, AreArmedAfterTheWriteAndWhenTheEarlierOneHasEnded) {
    std::vector<std::optional<PropertyValue>> written;
    keeping->onAdd = [&] {
        written.push_back(defaults->object(OptionKeys::Evening));
        written.push_back(defaults->object(OptionKeys::MacAppPurchased));
        EXPECT_FALSE(!keeping->timers.empty() && keeping->timers.back()->isValid());
    };
    Options::setEvening(72'000);
    Options::setHasMacApp(true);
    Options::setHasMacApp(std::nullopt);
    const std::optional<PropertyValue> evening = std::int64_t{72'000};
    EXPECT_EQ(written,
              (std::vector<std::optional<PropertyValue>>{evening, std::nullopt, evening, true, evening, std::nullopt}));
}

TEST_F(OptionsTimers, AreLetGoOfAfterThePush) {
    Options::setEvening(72'000);
    const std::weak_ptr<Timer> timer = keeping->timers.back();
    keeping->timers.back()->fire();
    EXPECT_EQ(cloud->integer(OptionKeys::Evening), 72'000);
    keeping->timers.clear();
    EXPECT_TRUE(timer.expired());
}

TEST_F(OptionsTimers, OfAWriteThatThePushItselfCausesEndsWithThePush) {
    class WritingStore final : public NSUbiquitousKeyValueStore {
    public:
        [[nodiscard]] std::optional<PropertyValue> object(std::string_view) const override { return std::nullopt; }
        void set(std::string_view, PropertyValue) override { Options::setLater(60); }
        void remove(std::string_view) override {}
        bool synchronize() override { return true; }
    };
    platform::Services services = platform::services();
    services.ubiquitousKeyValueStore = std::make_shared<WritingStore>();
    const platform::ScopedInstall scope(services);
    Options::setEvening(72'000);
    const auto first = keeping->timers.back();
    first->fire();
    EXPECT_GT(keeping->timers.size(), 1U);
    EXPECT_FALSE(keeping->timers.back()->isValid());
}

TEST_F(OptionsMirroring, ReadingArmsNoTimer) {
    touch();
    static_cast<void>(Options::Weekend());
    static_cast<void>(Options::NextMorning());
    EXPECT_EQ(mainLoop->timerCount(), 0U);
}

TEST_F(OptionsMirroring, TheTimerWaitsInTheLoopOfTheThreadThatWrites) {
    const auto other = std::make_shared<ManualRunLoop>();
    {
        const ManualRunLoopProvider::ScopedCurrent scope(*loops, other);
        Options::setEvening(72'000);
    }
    EXPECT_EQ(mainLoop->timerCount(), 0U);
    EXPECT_EQ(other->timerCount(), 1U);
    other->advanceBy(3s);
    EXPECT_EQ(cloud->integer(OptionKeys::Evening), 72'000);
}

TEST_F(OptionsMirroring, APushCopiesEverySettingThatIsThereAndNoOther) {
    defaults->set("another.key", std::int64_t{1});
    defaults->set(OptionKeys::Evening, std::string("as it stands"));
    Options::setFirstWorkday(Day::tuesday);
    Options::setHasMacApp(false);
    mainLoop->advanceBy(3s);
    const InMemoryProperties::Values expected{
        {"quendokit.options.evening", std::string("as it stands")},
        {"quendokit.options.first-workday", std::int64_t{3}},
        {"quendokit.options.has-mac-app", false},
    };
    EXPECT_EQ(cloud->values(), expected);
    EXPECT_EQ(cloud->synchronizeCount(), 1U);
}

TEST_F(OptionsMirroring, ASettingRemovedHereStaysInTheCloudAndComesBack) {
    Options::setHasMacApp(true);
    mainLoop->advanceBy(3s);
    Options::setHasMacApp(std::nullopt);
    mainLoop->advanceBy(3s);
    EXPECT_EQ(cloud->boolean(OptionKeys::MacAppPurchased), true);
    EXPECT_FALSE(Options::HasMacApp());
    cloud->arrive({});
    EXPECT_EQ(Options::HasMacApp(), true);
}

TEST_F(OptionsMirroring, AnArrivalChangesWhatTheCloudHoldsAndTellsTheObserverOnceOnTheMainQueue) {
    Options::setEvening(70'000);
    mainLoop->advanceBy(3s);
    const std::size_t writes = defaults->writeCount();
    cloud->remove(OptionKeys::Evening);
    int told = 0;
    Options::setSyncObserver([&told] { ++told; });

    cloud->arrive({{"quendokit.options.later", std::int64_t{60}}}, NSUbiquitousKeyValueStoreServerChange);

    EXPECT_EQ(Options::Later(), 60);
    EXPECT_EQ(Options::Evening(), 70'000);
    EXPECT_EQ(defaults->writeCount(), writes + 1);
    EXPECT_EQ(told, 0);
    EXPECT_EQ(mainQueue->runAll(), 1U);
    EXPECT_EQ(told, 1);
}

TEST_F(OptionsMirroring, AnArrivalCopiesAllSettingsOfTheCloudWhateverChanged) {
    touch();
    Changes changes;
    std::int64_t value = 1;
    for (const std::string_view key : OptionKeys::All) {
        changes[std::string(key)] = value++;
    }
    changes["another.key"] = std::int64_t{1};
    cloud->arrive(changes, NSUbiquitousKeyValueStoreInitialSyncChange);
    EXPECT_EQ(defaults->keys().size(), OptionKeys::All.size());
    EXPECT_EQ(defaults->integer(OptionKeys::FirstWorkday), 1);
    EXPECT_EQ(defaults->integer(OptionKeys::MacAppPurchased), 9);
}

TEST_F(OptionsMirroring, WhatArrivesIsNotPushedBack) {
    touch();
    cloud->arrive({{"quendokit.options.later", std::int64_t{60}}});
    mainQueue->runAll();
    EXPECT_EQ(mainLoop->timerCount(), 0U);
    mainLoop->advanceBy(1h);
    EXPECT_EQ(cloud->writeCount(), 0U);
}

TEST_F(OptionsMirroring, APendingPushSendsWhatHasArrivedMeanwhile) {
    Options::setLater(30);
    mainLoop->advanceBy(2s);
    cloud->arrive({{"quendokit.options.later", std::int64_t{60}}});
    EXPECT_EQ(Options::Later(), 60);
    mainLoop->advanceBy(1s);
    EXPECT_EQ(cloud->integer(OptionKeys::Later), 60);
    EXPECT_EQ(cloud->writeCount(), 1U);
}

TEST_F(OptionsMirroring, OtherReasonsChangeNothingAndTellNobody) {
    touch();
    Options::setSyncObserver([] { FAIL() << "the observer was told"; });
    for (const std::int64_t reason :
         {std::int64_t{2}, std::int64_t{3}, std::int64_t{4}, std::int64_t{-1}, std::numeric_limits<std::int64_t>::max(),
          std::numeric_limits<std::int64_t>::min()}) {
        cloud->arrive({{"quendokit.options.later", std::int64_t{60}}}, reason);
    }
    EXPECT_EQ(defaults->writeCount(), 0U);
    EXPECT_EQ(mainQueue->count(), 0U);
}

TEST_F(OptionsMirroring, ANotificationWithoutAReasonChangesNothing) {
    touch();
    cloud->set(OptionKeys::Later, std::int64_t{60});
    const std::string name(changedExternally);
    const std::string reason(NSUbiquitousKeyValueStoreChangeReasonKey);
    center->post({name, std::nullopt});
    center->post({name, Notification::UserInfo{}});
    center->post({name, Notification::UserInfo{{reason, 0.0}}});
    center->post({name, Notification::UserInfo{{reason, std::string("0")}}});
    center->post({name, Notification::UserInfo{{reason, false}}});
    center->post({name, Notification::UserInfo{{"another", std::int64_t{0}}}});
    EXPECT_EQ(defaults->writeCount(), 0U);
    EXPECT_EQ(mainQueue->count(), 0U);
    center->post({name, Notification::UserInfo{{reason, std::int64_t{0}}}});
    EXPECT_EQ(Options::Later(), 60);
}

TEST_F(OptionsMirroring, AnArrivalOnAnotherThreadIsCopiedThereAndToldOnTheMainQueue) {
    touch();
    int told = 0;
    Options::setSyncObserver([&told] { ++told; });
    std::thread([this] { cloud->arrive({{"quendokit.options.later", std::int64_t{60}}}); }).join();
    EXPECT_EQ(Options::Later(), 60);
    EXPECT_EQ(told, 0);
    mainQueue->runAll();
    EXPECT_EQ(told, 1);
}

TEST_F(OptionsMirroring, EachArrivalTellsTheObserverThatIsSetWhenItsTurnComes) {
    touch();
    std::vector<std::string> told;
    Options::setSyncObserver([&told] { told.emplace_back("first"); });
    cloud->arrive({});
    cloud->arrive({});
    mainQueue->runNext();
    Options::setSyncObserver([&told] { told.emplace_back("second"); });
    ASSERT_TRUE(Options::syncObserver());
    mainQueue->runNext();
    Options::setSyncObserver({});
    EXPECT_FALSE(Options::syncObserver());
    cloud->arrive({});
    mainQueue->runAll();
    EXPECT_EQ(told, (std::vector<std::string>{"first", "second"}));
}

TEST_F(OptionsMirroring, AnObserverThatIsSetAfterAnArrivalIsToldOfItToo) {
    touch();
    cloud->arrive({});
    int told = 0;
    Options::setSyncObserver([&told] { ++told; });
    mainQueue->runAll();
    EXPECT_EQ(told, 1);
}

TEST_F(OptionsMirroring, AnObserverMaySetAnother) {
    touch();
    int told = 0;
    Options::setSyncObserver([&told] {
        Options::setSyncObserver({});
        ++told;
    });
    cloud->arrive({});
    mainQueue->runAll();
    EXPECT_EQ(told, 1);
}

TEST_F(OptionsMirroring, TheTaskForTheObserverDoesNotKeepTheOptions) {
    touch();
    Options::setSyncObserver([] { FAIL() << "the observer of an earlier process was told"; });
    cloud->arrive({});
    uninstall();
    EXPECT_EQ(mainQueue->runAll(), 1U);
}

TEST_F(OptionsMirroring, TheNextProcessStartsWithoutObserverAndTimer) {
    Options::setSyncObserver([] {});
    Options::setLater(60);
    installAgain();
    EXPECT_FALSE(Options::syncObserver());
    EXPECT_EQ(Options::Later(), 60);
}

}  // namespace
}  // namespace quendokit::testing

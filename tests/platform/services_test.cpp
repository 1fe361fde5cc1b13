#include "quendokit/platform/services.hpp"

#include <cstdlib>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "quendokit/platform/calendar.hpp"
#include "quendokit/platform/dispatch_queue.hpp"
#include "quendokit/platform/locale.hpp"
#include "quendokit/platform/notification_center.hpp"
#include "quendokit/platform/realm.hpp"
#include "quendokit/platform/run_loop.hpp"
#include "quendokit/platform/ubiquitous_key_value_store.hpp"
#include "quendokit/platform/user_defaults.hpp"
#include "quendokit/platform/world_internal.hpp"
#include "testing/in_memory_realm.hpp"
#include "testing/manual_clock.hpp"
#include "testing/recording_line_sink.hpp"

namespace quendokit::platform {
namespace {

Services servicesAt(double seconds) {
    Services services;
    services.clock = std::make_shared<testing::ManualClock>(Date(seconds));
    services.realmProvider = std::make_shared<testing::InMemoryRealmProvider>();
    services.standardOutput = std::make_shared<testing::RecordingLineSink>();
    services.AppIdentifier = "net.example.reminders";
    return services;
}

/// Says when it ends, and whether services are installed then.
struct Ending {
    Ending(std::string name, std::vector<std::string>& ended) : name(std::move(name)), ended(ended) {}
    Ending(const Ending&) = delete;
    Ending& operator=(const Ending&) = delete;
    ~Ending() { ended.push_back(name + (services().clock ? " with services" : " without")); }

    std::string name;
    std::vector<std::string>& ended;
};

TEST(ServicesDeathTest, UseBeforeInstallingIsFatalAndSaysSo) {
    const std::string message = "Fatal error: the engine was used before platform::install";
    EXPECT_DEATH(static_cast<void>(services()), message);
    EXPECT_DEATH(static_cast<void>(clock()), message);
    EXPECT_DEATH(static_cast<void>(realmProvider()), message);
    EXPECT_DEATH(static_cast<void>(standardOutput()), message);
}

TEST(ServicesDeathTest, InstallingTwiceIsFatal) {
    EXPECT_DEATH(
        {
            install(servicesAt(1));
            install(servicesAt(2));
        },
        "Fatal error: platform::install was called twice");
}

TEST(ServicesDeathTest, InstallingInsideAScopeIsFatal) {
    EXPECT_DEATH(
        {
            const ScopedInstall scope(servicesAt(1));
            install(servicesAt(2));
        },
        "platform::install was called twice");
}

TEST(ServicesDeathTest, TheFirstUseOfAMissingServiceNamesIt) {
    Services none;
    none.standardOutput = nullptr;
    const ScopedInstall scope(none);
    EXPECT_DEATH(static_cast<void>(clock()), "no clock is installed: set Services::clock before platform::install");
    EXPECT_DEATH(static_cast<void>(realmProvider()), "no realmProvider is installed");
    EXPECT_DEATH(static_cast<void>(Realm::open({})), "no realmProvider is installed");
    EXPECT_DEATH(static_cast<void>(standardOutput()), "no standardOutput is installed");
    EXPECT_DEATH(static_cast<void>(Calendar::current()), "no calendar is installed");
    EXPECT_DEATH(static_cast<void>(Locale::current()), "no locale is installed");
    EXPECT_DEATH(static_cast<void>(UserDefaults::standard()), "no userDefaults is installed");
    EXPECT_DEATH(static_cast<void>(NSUbiquitousKeyValueStore::defaultStore()),
                 "no ubiquitousKeyValueStore is installed");
    EXPECT_DEATH(static_cast<void>(NotificationCenter::defaultCenter()), "no notificationCenter is installed");
    EXPECT_DEATH(static_cast<void>(RunLoop::main()), "no runLoopProvider is installed");
    EXPECT_DEATH(static_cast<void>(RunLoop::current()), "no runLoopProvider is installed");
    EXPECT_DEATH(static_cast<void>(DispatchQueue::main()), "no mainQueue is installed");
}

TEST(OncePerProcess, IsMadeOnFirstUseAndGoneInReverseOrderBeforeTheServicesAre) {
    static const OncePerProcess<Ending> first;
    static const OncePerProcess<Ending> second;
    std::vector<std::string> ended;
    for (int process = 0; process < 2; ++process) {
        int made = 0;
        ended.clear();
        {
            const ScopedInstall scope(servicesAt(process));
            const auto make = [&](const char* name) {
                return [&, name] {
                    ++made;
                    return std::make_shared<Ending>(name, ended);
                };
            };
            EXPECT_EQ(made, 0);
            EXPECT_EQ(second.get(make("second")).name, "second");
            EXPECT_EQ(first.get(make("first")).name, "first");
            EXPECT_EQ(&first.get(make("first again")), &first.get(make("first again")));
            EXPECT_EQ(made, 2);
        }
        EXPECT_EQ(ended, (std::vector<std::string>{"first with services", "second with services"}));
    }
}

TEST(ServicesDeathTest, WhatIsInstalledStaysForTheRestOfTheProcess) {
    // In a process of its own, because nothing takes an installation back.
    EXPECT_EXIT(
        {
            install(servicesAt(5));
            const bool seen = clock().now() == Date(5) && services().AppIdentifier == "net.example.reminders";
            std::exit(seen ? 0 : 1);
        },
        ::testing::ExitedWithCode(0), "");
}

TEST(ScopedInstall, GivesAFreshWorldAndPutsTheEarlierOneBack) {
    const ScopedInstall outer(servicesAt(1));
    EXPECT_EQ(clock().now(), Date(1));
    {
        const ScopedInstall inner(servicesAt(2));
        EXPECT_EQ(clock().now(), Date(2));
        {
            const ScopedInstall innermost(servicesAt(3));
            EXPECT_EQ(clock().now(), Date(3));
        }
        EXPECT_EQ(clock().now(), Date(2));
    }
    EXPECT_EQ(clock().now(), Date(1));
}

TEST(ServicesDeathTest, AfterTheLastScopeNothingIsInstalled) {
    {
        const ScopedInstall scope(servicesAt(1));
    }
    EXPECT_DEATH(static_cast<void>(services()), "used before platform::install");
}

TEST(ScopedInstall, SharesTheServicesForItsLifetimeOnly) {
    auto watched = std::make_shared<testing::ManualClock>();
    const std::weak_ptr<testing::ManualClock> weak = watched;
    {
        Services services;
        services.clock = std::move(watched);
        const ScopedInstall scope(std::move(services));
        EXPECT_FALSE(weak.expired());
    }
    EXPECT_TRUE(weak.expired());
}

TEST(Services, StandardOutputIsTheProcessesOwnByDefault) {
    Services services;
    services.clock = std::make_shared<testing::ManualClock>();
    const ScopedInstall scope(std::move(services));
    ::testing::internal::CaptureStdout();
    standardOutput().writeLine("line");
    EXPECT_EQ(::testing::internal::GetCapturedStdout(), "line\n");
}

}  // namespace
}  // namespace quendokit::platform

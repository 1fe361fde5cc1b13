#include "quendokit/platform/services.hpp"

#include <cstdlib>
#include <memory>

#include <gtest/gtest.h>

#include "quendokit/platform/realm.hpp"
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

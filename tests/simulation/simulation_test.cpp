#include <gtest/gtest.h>

#include "tests/simulation/seeded_options.hpp"
#include "tests/simulation/simulated_world.hpp"

namespace quendokit::simulation {
namespace {

SimulationOptions withAllFaults(std::uint64_t seed) {
    SimulationOptions options;
    options.seed = seed;
    options.offlineSpells = true;
    options.lostRequests = true;
    options.crashes = true;
    options.expiredTokens = true;
    options.wanderingUploads = true;
    return options;
}

/// What is true of every run, whatever gets lost.
void expectSound(const SimulationOptions& options, const SimulationResult& result) {
    SCOPED_TRACE(describe(options) + ": " + describe(result));
    EXPECT_GT(result.reminders, 0U);
    EXPECT_EQ(result.unexplained, 0U);
    EXPECT_EQ(result.pending, 0U);
    EXPECT_EQ(result.findings.namedTwice, 0U);
}

TEST(Simulation, RunsTheSameWayASecondTime) {
    for (std::uint64_t seed = 1; seed <= 4; ++seed) {
        SimulationOptions options = withAllFaults(seed);
        options.days = 0.25;
        EXPECT_EQ(simulate(options).hash, simulate(options).hash) << describe(options);
    }
}

TEST(Simulation, RunsAnotherWayWithAnotherSeed) {
    SimulationOptions options = withAllFaults(1);
    options.days = 0.1;
    const std::uint64_t first = simulate(options).hash;
    options.seed = 2;
    EXPECT_NE(simulate(options).hash, first);
}

TEST(Simulation, LosesNothingWithoutFaultsAndHurry) {
    SimulationResult total;
    for (std::uint64_t seed = 1; seed <= 4; ++seed) {
        SimulationOptions options;
        options.seed = seed;
        options.bursts = false;
        const SimulationResult result = simulate(options);
        expectSound(options, result);
        EXPECT_EQ(result.wrong + result.ghosts, 0U) << describe(options);
        add(total, result);
    }
    EXPECT_GT(total.reminders, 100U);
}

TEST(Simulation, LosesSomethingByHurryAlone) {
    SimulationResult total;
    for (std::uint64_t seed = 1; seed <= 3; ++seed) {
        SimulationOptions options;
        options.seed = seed;
        options.actionsPerDay = 2'000;
        options.days = 0.05;
        const SimulationResult result = simulate(options);
        expectSound(options, result);
        add(total, result);
    }
    EXPECT_GT(total.wrong + total.ghosts, 0U) << describe(total);
}

TEST(Simulation, ShowsEveryWayInWhichChangesGetLost) {
    SimulationResult total;
    for (std::uint64_t seed = 1; seed <= 8; ++seed) {
        SimulationOptions options = withAllFaults(seed);
        options.actionsPerDay = 200;
        options.days = 0.5;
        const SimulationResult result = simulate(options);
        expectSound(options, result);
        add(total, result);
    }
    std::printf("%.0f device-days: %s\n", total.deviceDays, describe(total).c_str());
    for (std::size_t i = 0; i < hazardNames.size(); ++i) {
        EXPECT_GT(total.lostBy.at(i), 0U) << hazardNames.at(i);
    }
}

TEST(Simulation, AServerThatRemembersDeletionsLeavesNoGhostOfThatKind) {
    SimulationResult total;
    for (std::uint64_t seed = 1; seed <= 3; ++seed) {
        SimulationOptions options = withAllFaults(seed);
        options.crashes = false;
        options.replaysDeletions = true;
        options.bursts = false;
        const SimulationResult result = simulate(options);
        expectSound(options, result);
        add(total, result);
    }
    EXPECT_EQ(total.ghosts, 0U) << describe(total);
}

TEST(Simulation, ProtectedDevicesLoseNothing) {
    SimulationResult total;
    for (std::uint64_t seed = 1; seed <= 6; ++seed) {
        SimulationOptions options = withAllFaults(seed);
        options.actionsPerDay = 200;
        options.days = 0.3;
        options.replaysDeletions = true;
        options.protections.emplace();
        const SimulationResult result = simulate(options);
        expectSound(options, result);
        EXPECT_EQ(result.wrong + result.ghosts, 0U) << describe(options) << ": " << describe(result);
        add(total, result);
    }
    std::printf("%.0f device-days: %s\n", total.deviceDays, describe(total).c_str());
    EXPECT_GT(total.crashes, 20U);
}

TEST(Simulation, ProtectedDevicesLoseNothingThroughFailedWrites) {
    SimulationResult total;
    for (std::uint64_t seed = 21; seed <= 26; ++seed) {
        SimulationOptions options = withAllFaults(seed);
        options.failingWrites = true;
        options.actionsPerDay = 200;
        options.days = 0.2;
        options.replaysDeletions = true;
        options.protections.emplace();
        const SimulationResult result = simulate(options);
        expectSound(options, result);
        EXPECT_EQ(result.wrong + result.ghosts, 0U) << describe(options) << ": " << describe(result);
        add(total, result);
    }
    std::printf("%.0f device-days: %s\n", total.deviceDays, describe(total).c_str());
}

TEST(Simulation, LosesThroughFailedWritesWhatTheGuardDoesNotHearOf) {
    SimulationResult total;
    for (std::uint64_t seed = 21; seed <= 26; ++seed) {
        SimulationOptions options;
        options.seed = seed;
        options.failingWrites = true;
        options.actionsPerDay = 200;
        options.days = 0.1;
        options.protections.emplace();
        options.protections->tellsOfFailedWrites = false;
        add(total, simulate(options));
    }
    EXPECT_GT(total.wrong + total.ghosts, 0U) << describe(total);
}

/// One crash at every event of a small world, one after the other: none of it is left to chance.
SimulationResult crashAtEveryEvent(SimulationOptions options) {
    options.seed = 11;
    options.devices = 2;
    options.days = 0.0006;
    options.actionsPerDay = 12'000;
    const std::size_t events = simulate(options).events;
    SimulationResult total;
    for (std::size_t event = 1; event <= events; ++event) {
        options.crashAtEvent = event;
        const SimulationResult result = simulate(options);
        expectSound(options, result);
        add(total, result);
    }
    return total;
}

TEST(Simulation, PlainDevicesExplainWhatACrashAtAnyEventLoses) {
    EXPECT_GT(crashAtEveryEvent({}).crashes, 50U);
}

TEST(Simulation, ProtectedDevicesLoseNothingByACrashAtAnyEvent) {
    SimulationOptions options;
    options.replaysDeletions = true;
    options.protections.emplace();
    options.restsFor = 330;
    const SimulationResult total = crashAtEveryEvent(options);
    EXPECT_GT(total.crashes, 50U);
    EXPECT_EQ(total.wrong + total.ghosts, 0U) << describe(total);
}

/// A world in which a crash between two writes, or during what follows a crash, can be tried everywhere.
SimulationOptions smallProtectedWorld() {
    SimulationOptions options;
    options.seed = 11;
    options.devices = 2;
    options.days = 0.0005;
    options.actionsPerDay = 12'000;
    options.replaysDeletions = true;
    options.protections.emplace();
    options.journals = true;
    options.restsFor = 330;
    return options;
}

/// One crash behind every write, one after the other.
SimulationResult crashBehindEveryWrite(SimulationOptions options) {
    const std::size_t writes = simulate(options).writes;
    SimulationResult total;
    for (options.crashAtWrite = 1; options.crashAtWrite <= writes; ++options.crashAtWrite) {
        add(total, simulate(options));
    }
    EXPECT_EQ(total.crashes, writes);
    EXPECT_EQ(total.pending, 0U);
    return total;
}

TEST(Simulation, ProtectedDevicesLoseNothingByACrashBehindAnyWrite) {
    const SimulationResult total = crashBehindEveryWrite(smallProtectedWorld());
    EXPECT_GT(total.crashes, 20U);
    EXPECT_EQ(total.wrong + total.ghosts, 0U) << describe(total);
}

TEST(Simulation, ACrashBetweenTheTwoWritesOfAnEditLosesItWithoutAJournal) {
    SimulationOptions options = smallProtectedWorld();
    options.journals = false;
    const SimulationResult total = crashBehindEveryWrite(options);
    EXPECT_GT(total.wrong, 0U) << describe(total);
}

TEST(Simulation, ProtectedDevicesLoseNothingByASecondCrashWhileTheyRecover) {
    SimulationOptions options = smallProtectedWorld();
    options.days = 0.00025;
    const std::size_t writes = simulate(options).writes;
    EXPECT_GT(writes, 5U);
    SimulationResult total;
    for (options.crashAtWrite = 1; options.crashAtWrite <= writes; ++options.crashAtWrite) {
        for (options.crashAgainAt = 1; options.crashAgainAt <= 12; ++options.crashAgainAt) {
            const SimulationResult result = simulate(options);
            expectSound(options, result);
            EXPECT_EQ(result.crashes, 2U) << describe(options);
            add(total, result);
        }
    }
    EXPECT_EQ(total.wrong + total.ghosts, 0U) << describe(total);
}

}  // namespace
}  // namespace quendokit::simulation

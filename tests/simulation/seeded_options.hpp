#pragma once
/// \file
/// What each seed's run is like, and runs taken together.

#include "tests/simulation/random.hpp"
#include "tests/simulation/simulated_world.hpp"

namespace quendokit::simulation {

/// Two or three devices in most runs; half of the runs have some of the faults only.
[[nodiscard]] inline SimulationOptions optionsOf(std::uint64_t seed) {
    Random random(seed ^ 0x5eed5eedU);
    SimulationOptions options;
    options.seed = seed;
    options.devices = random.chance(0.8) ? 2 + random.below(2) : 1 + random.below(8);
    const bool all = random.chance(0.5);
    options.offlineSpells = all || random.chance(0.5);
    options.lostRequests = all || random.chance(0.5);
    options.crashes = all || random.chance(0.5);
    options.expiredTokens = all || random.chance(0.5);
    options.wanderingUploads = all || random.chance(0.5);
    return options;
}

inline void add(SimulationResult& total, const SimulationResult& result) {
    total.events += result.events;
    total.crashes += result.crashes;
    total.deviceDays += result.deviceDays;
    total.reminders += result.reminders;
    total.wrong += result.wrong;
    total.ghosts += result.ghosts;
    total.unexplained += result.unexplained;
    total.pending += result.pending;
    total.findings.namedTwice += result.findings.namedTwice;
    for (const auto& [hazard, count] : result.findings.count) {
        total.findings.count[hazard] += count;
    }
    for (std::size_t i = 0; i < total.lostBy.size(); ++i) {
        total.lostBy.at(i) += result.lostBy.at(i);
    }
}

}  // namespace quendokit::simulation

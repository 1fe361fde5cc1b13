#pragma once
/// \file
/// `simulate`, some days in the life of several devices, drawn from a seed.

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "tests/simulation/hazard.hpp"
#include "tests/simulation/simulated_device.hpp"

namespace quendokit::simulation {

/// What a run is like. The same options give the same run.
struct SimulationOptions {
    std::uint64_t seed = 1;
    std::size_t devices = 3;
    double days = 1;
    /// How often a person does something with a device, in each of those days.
    double actionsPerDay = 40;
    /// Whether half of that follows something else within seconds; if not, a minute passes at least.
    bool bursts = true;
    /// Which faults there are.
    bool offlineSpells = false;
    bool lostRequests = false;
    bool crashes = false;
    bool expiredTokens = false;
    bool failingWrites = false;
    /// Uploads overtake each other on their way, and some arrive twice.
    bool wanderingUploads = false;
    /// The device whose event it would be crashes instead of the event of that number; 0: none does.
    std::size_t crashAtEvent = 0;
    /// The process that does the write of that number ends right behind it, inside whatever it is doing; 0: none does.
    std::size_t crashAtWrite = 0;
    /// A process that crashed at an event or a write starts again after two seconds and crashes once more at its event
    /// of that number; 0: it does not.
    std::size_t crashAgainAt = 0;
    /// Whether the hosts note changes of two steps in a journal, in files.
    bool journals = false;
    /// How long they are left alone at the end, in seconds: until they have looked round, which is every five minutes.
    double restsFor = 700;
    /// Whether the server tells of deletions from the beginning.
    bool replaysDeletions = false;
    /// What hosts put around the engine; absent: nothing.
    std::optional<Protections> protections = {};
    /// Keeps the lines, for a person to read.
    bool keepsLog = false;
};

/// What came of it. A reminder is changed by one device only, so that each deviation is a loss and no conflict.
struct SimulationResult {
    std::uint64_t hash = 0;
    std::size_t events = 0;
    std::size_t crashes = 0;
    /// How many writes there were before the rest.
    std::size_t writes = 0;
    double deviceDays = 0;
    std::size_t reminders = 0;
    /// Reminders that are missing somewhere, or that say something other than the person said last.
    std::size_t wrong = 0;
    /// Deleted ones that are alive somewhere.
    std::size_t ghosts = 0;
    /// Of those, the ones of which nothing was seen of how they got lost.
    std::size_t unexplained = 0;
    /// What is still to be sent anywhere.
    std::size_t pending = 0;
    Findings findings;
    /// Wrong reminders and ghosts in which a hazard was seen.
    std::array<std::size_t, hazardNames.size()> lostBy{};
    std::vector<std::string> log;
};

[[nodiscard]] SimulationResult simulate(const SimulationOptions& options);

/// In one line.
[[nodiscard]] std::string describe(const SimulationOptions& options);
[[nodiscard]] std::string describe(const SimulationResult& result);

}  // namespace quendokit::simulation

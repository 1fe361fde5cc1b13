#pragma once
/// \file
/// `Person`, who uses several devices, and remembers what was said to each.

#include <cstddef>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "quendokit/model/reminder_struct.hpp"
#include "tests/simulation/random.hpp"
#include "tests/simulation/simulated_device.hpp"

namespace quendokit::simulation {

/// What the person said last of a reminder.
struct Expectation {
    std::size_t owner = 0;
    ReminderStruct reminder;
    bool deleted = false;
};

/// Does something with a device now and then. Changes a reminder only where it was made.
class Person {
public:
    Person(Random& random, std::size_t devices, bool bursts)
        : random_(random), bursts_(bursts), lastTouched_(devices) {}

    /// One action on a device that runs.
    void act(SimulatedDevice& device, std::size_t index);

    /// How long until the next one on that device: some seconds in half of the cases, if there are bursts.
    [[nodiscard]] std::chrono::nanoseconds untilNextAction(double actionsPerDay);

    [[nodiscard]] const std::map<std::string, Expectation>& expectations() const noexcept { return expectations_; }

private:
    void create(SimulatedDevice& device, std::size_t index);
    void change(SimulatedDevice& device, const std::string& id);
    /// A reminder that was made here and lives: often the one that was touched last.
    [[nodiscard]] std::optional<std::string> choose(std::size_t index);

    Random& random_;
    const bool bursts_;
    std::map<std::string, Expectation> expectations_;
    std::vector<std::string> lastTouched_;
    std::size_t titles_ = 0;
};

}  // namespace quendokit::simulation

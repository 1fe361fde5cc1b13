/// \file
/// Runs simulations of many seeds, as long as one likes, and prints what came of them.
///
///     simulate FIRST-SEED COUNT [DAYS [protected]]
///
/// Protected devices have writes that fail, too.

#include <cstdio>
#include <cstdlib>
#include <string_view>

#include "tests/simulation/seeded_options.hpp"
#include "tests/simulation/simulated_world.hpp"

int main(int count, char** arguments) {
    using namespace quendokit::simulation;
    if (count < 3) {
        std::fprintf(stderr, "usage: simulate FIRST-SEED COUNT [DAYS [protected]]\n");
        return 64;
    }
    const std::uint64_t first = std::strtoull(arguments[1], nullptr, 10);
    const std::uint64_t runs = std::strtoull(arguments[2], nullptr, 10);
    SimulationResult total;
    for (std::uint64_t seed = first; seed < first + runs; ++seed) {
        SimulationOptions options = optionsOf(seed);
        if (count > 3) {
            options.days = std::strtod(arguments[3], nullptr);
        }
        if (count > 4 && arguments[4] == std::string_view("protected")) {
            options.protections.emplace();
            options.replaysDeletions = true;
            options.failingWrites = true;
        }
        const SimulationResult result = simulate(options);
        std::printf("%s: %s, hash %016llx\n", describe(options).c_str(), describe(result).c_str(),
                    static_cast<unsigned long long>(result.hash));
        add(total, result);
    }
    std::printf("%.0f device-days: %s\n", total.deviceDays, describe(total).c_str());
    return 0;
}

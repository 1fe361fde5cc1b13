/// \file
/// Runs simulations of many seeds, as long as one likes, and prints what came of them.
///
///     simulate FIRST-SEED COUNT DAYS [protected] [replay]
///
/// "protected" puts the protections of hostkit around the engine, and lets writes fail, "replay" makes the server tell
/// of deletions from the beginning of a zone.

#include <charconv>
#include <cstdio>
#include <optional>
#include <string_view>

#include "tests/simulation/seeded_options.hpp"
#include "tests/simulation/simulated_world.hpp"

namespace {

using namespace quendokit::simulation;

template <typename Number>
std::optional<Number> numberOf(std::string_view text) {
    Number number{};
    const auto [end, failure] = std::from_chars(text.data(), text.data() + text.size(), number);
    const bool isWhole = failure == std::errc() && end == text.data() + text.size() && number > Number{};
    return isWhole ? std::optional(number) : std::nullopt;
}

/// Sets what `word` names; false when it names nothing.
bool apply(std::string_view word, SimulationOptions& options) {
    if (word == "protected") {
        options.protections.emplace();
        options.failingWrites = true;
    } else if (word == "replay") {
        options.replaysDeletions = true;
    } else {
        return false;
    }
    return true;
}

int usage() {
    std::fprintf(stderr, "usage: simulate FIRST-SEED COUNT DAYS [protected] [replay]\n");
    return 2;
}

}  // namespace

int main(int count, char** arguments) {
    const auto first = count > 3 ? numberOf<std::uint64_t>(arguments[1]) : std::nullopt;
    const auto runs = count > 3 ? numberOf<std::uint64_t>(arguments[2]) : std::nullopt;
    const auto days = count > 3 ? numberOf<double>(arguments[3]) : std::nullopt;
    if (!first || !runs || !days) {
        return usage();
    }
    SimulationResult total;
    for (std::uint64_t seed = *first; seed < *first + *runs; ++seed) {
        SimulationOptions options = optionsOf(seed);
        options.days = *days;
        for (int i = 4; i < count; ++i) {
            if (!apply(arguments[i], options)) {
                return usage();
            }
        }
        const SimulationResult result = simulate(options);
        std::printf("%s: %s, hash %016llx\n", describe(options).c_str(), describe(result).c_str(),
                    static_cast<unsigned long long>(result.hash));
        add(total, result);
    }
    std::printf("%.0f device-days: %s\n", total.deviceDays, describe(total).c_str());
    return 0;
}

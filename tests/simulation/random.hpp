#pragma once
/// \file
/// `Random`, the dice of a simulation: the same numbers for a seed with every compiler and library.

#include <cmath>
#include <cstdint>

namespace quendokit::simulation {

class Random {
public:
    explicit Random(std::uint64_t seed) : state_(seed) {}

    /// SplitMix64.
    std::uint64_t next() {
        state_ += 0x9e3779b97f4a7c15U;
        std::uint64_t z = state_;
        z = (z ^ (z >> 30U)) * 0xbf58476d1ce4e5b9U;
        z = (z ^ (z >> 27U)) * 0x94d049bb133111ebU;
        return z ^ (z >> 31U);
    }

    /// 0 to `count` - 1.
    std::uint64_t below(std::uint64_t count) { return next() % count; }

    /// At least 0 and less than 1.
    double fraction() { return static_cast<double>(next() >> 11U) * 0x1p-53; }

    bool chance(double probability) { return fraction() < probability; }

    double between(double least, double most) { return least + (most - least) * fraction(); }

    /// How long until something comes that comes once in `mean` on average, by chance alone.
    double until(double mean) { return -mean * std::log(1 - fraction()); }

private:
    std::uint64_t state_;
};

}  // namespace quendokit::simulation

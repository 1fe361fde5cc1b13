#include "apps/quendo-cloudd/rate_limits.hpp"

#include <algorithm>
#include <cmath>

namespace cloudd {
namespace {

/// Beyond that many names those with nothing to remember are dropped.
constexpr std::size_t manyNames = 10'000;

constexpr int freeGuesses = 10;
constexpr double longestWait = 300;
constexpr double quietTime = 600;

}  // namespace

std::optional<double> RequestRate::take(const std::string& name, double now) {
    if (buckets_.size() > manyNames) {
        forgetFull(now);
    }
    Bucket& bucket = buckets_.try_emplace(name, Bucket{burst_, now}).first->second;
    // The clock may have been put back.
    const double passed = std::max(0.0, now - bucket.at);
    bucket.left = std::min(burst_, bucket.left + passed * perSecond_);
    bucket.at = now;
    if (bucket.left < 1) {
        return (1 - bucket.left) / perSecond_;
    }
    bucket.left -= 1;
    return std::nullopt;
}

void RequestRate::forgetFull(double now) {
    std::erase_if(buckets_, [&](const auto& entry) {
        return entry.second.left + std::max(0.0, now - entry.second.at) * perSecond_ >= burst_;
    });
}

std::optional<double> GuessingBrake::wait(const std::string& name, double now) const {
    const auto found = guesses_.find(name);
    if (found == guesses_.end() || now >= found->second.until || now < found->second.last) {
        return std::nullopt;
    }
    return found->second.until - now;
}

int GuessingBrake::noteWrongToken(const std::string& name, double now) {
    if (guesses_.size() > manyNames) {
        std::erase_if(guesses_, [&](const auto& entry) { return now > entry.second.last + quietTime; });
    }
    Guesses& guesses = guesses_[name];
    if (now > guesses.last + quietTime || now < guesses.last) {
        guesses = {};
    }
    ++guesses.count;
    guesses.last = now;
    if (guesses.count > freeGuesses) {
        guesses.until = now + std::min(longestWait, std::exp2(std::min(guesses.count - freeGuesses - 1, 20)));
    }
    return guesses.count;
}

}  // namespace cloudd

#pragma once
/// \file
/// `BackOff`, how long to wait before another try.

#include <algorithm>
#include <chrono>
#include <optional>
#include <random>

namespace quendokit::web {

/// After the first failure about a second, after each further one about twice as long, after many about five minutes;
/// a random part keeps devices apart that failed together. One thread.
class BackOff {
public:
    static constexpr std::chrono::milliseconds shortest = std::chrono::seconds(1);
    static constexpr std::chrono::milliseconds longest = std::chrono::minutes(5);

    /// Between one half and the whole of what it may be; never less than `retryAfter` seconds. `isHopeless` when
    /// somebody has to do something first: then as long as after many failures.
    [[nodiscard]] std::chrono::milliseconds afterFailure(std::optional<double> retryAfter, bool isHopeless) {
        const auto most = isHopeless ? longest : next_;
        next_ = std::min(next_ * 2, longest);
        std::uniform_int_distribution<std::chrono::milliseconds::rep> some(most.count() / 2, most.count());
        const std::chrono::milliseconds wait(some(random_));
        const auto asked = std::chrono::duration_cast<std::chrono::milliseconds>(
            std::chrono::duration<double>(retryAfter.value_or(0)));
        return std::max(wait, asked);
    }

    void didSucceed() noexcept { next_ = shortest; }

private:
    std::chrono::milliseconds next_ = shortest;
    std::minstd_rand random_{std::random_device()()};
};

}  // namespace quendokit::web

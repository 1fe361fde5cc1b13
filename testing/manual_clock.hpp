#pragma once
/// \file
/// `ManualClock`, a clock that stands still until a test moves it.

#include <atomic>
#include <chrono>
#include <cstddef>

#include "quendokit/platform/clock.hpp"
#include "quendokit/platform/export.hpp"

namespace quendokit::testing {

/// Any thread.
class QUENDOKIT_EXPORT ManualClock final : public Clock {
public:
    /// 2026-11-21 23:00:00 UTC when not said otherwise.
    explicit ManualClock(Date start = Date(1'795'302'000)) : now_(start) {}

    [[nodiscard]] Date now() const override;

    /// Jumps to `now`, in either direction.
    void set(Date now) { now_.store(now); }
    void advanceBy(std::chrono::duration<double> time);

    /// What `now()` would answer, without counting as a question.
    [[nodiscard]] Date shown() const { return now_.load(); }

    /// How often `now()` was asked.
    [[nodiscard]] std::size_t readCount() const { return readCount_.load(); }

private:
    std::atomic<Date> now_;
    mutable std::atomic<std::size_t> readCount_ = 0;
};

}  // namespace quendokit::testing

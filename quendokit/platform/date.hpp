#pragma once
/// \file
/// `Date`, a moment.

#include <compare>

namespace quendokit {

/// A moment: seconds since 1970-01-01 00:00:00 UTC, with a fraction. `Date(1'795'302'000)` is 2026-11-21 23:00:00 UTC.
///
/// Plain value of 8 bytes, never rounded, compared exactly. A `Date` may hold NaN or an infinity; the object database
/// refuses to store such a one.
class Date {
public:
    constexpr explicit Date(double secondsSince1970) noexcept : secondsSince1970_(secondsSince1970) {}

    /// Seconds; negative before 1970.
    [[nodiscard]] constexpr double timeIntervalSince1970() const noexcept { return secondsSince1970_; }

    friend constexpr bool operator==(Date, Date) noexcept = default;
    friend constexpr std::partial_ordering operator<=>(Date, Date) noexcept = default;

private:
    double secondsSince1970_;
};

static_assert(sizeof(Date) == 8);

}  // namespace quendokit

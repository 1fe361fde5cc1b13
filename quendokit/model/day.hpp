#pragma once
/// \file
/// `Day`, a day of the week.

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "quendokit/platform/export.hpp"

namespace quendokit {

/// The weekday number that `value` means when counting goes on after Saturday: 8 is 1, 14 is 7. Means nothing below 1:
/// 0 gives 0, -7 gives 0. Any thread.
[[nodiscard]] QUENDOKIT_EXPORT std::int64_t validDayLiteral(std::int64_t value);

/// A day of the week. Plain value.
class QUENDOKIT_EXPORT Day final {
public:
    /// The raw values are a stored format: they stand in the person's settings. They are the calendar's weekday
    /// numbers.
    enum Case : std::int64_t {
        sunday = 1,
        monday = 2,
        tuesday = 3,
        wednesday = 4,
        thursday = 5,
        friday = 6,
        saturday = 7,
    };

    constexpr Day(Case value) noexcept : value_(value) {}

    /// Absent unless `rawValue` is 1 to 7.
    [[nodiscard]] static constexpr std::optional<Day> fromRawValue(std::int64_t rawValue) noexcept {
        if (rawValue < sunday || rawValue > saturday) {
            return std::nullopt;
        }
        return Day(static_cast<Case>(rawValue));
    }

    /// The day of raw value `validDayLiteral(value)`: 8 is Sunday, 14 is Saturday. Fatal below 1.
    [[nodiscard]] static Day fromIntegerLiteral(std::int64_t value);

    [[nodiscard]] constexpr std::int64_t rawValue() const noexcept { return value_; }

    /// The name in the person's language, as it stands alone. Fatal if the installed locale has fewer names.
    [[nodiscard]] const std::string& string() const;

    /// Saturday and Sunday, in this order.
    [[nodiscard]] static const std::vector<Day>& Weekend();
    /// Monday to Friday.
    [[nodiscard]] static const std::vector<Day>& Workdays();
    /// Monday to Sunday; not in the order of the raw values.
    [[nodiscard]] static const std::vector<Day>& All();
    /// No day.
    [[nodiscard]] static const std::vector<Day>& None();

    /// The days from `from` up to `to`, that one left out, going on with Sunday after Saturday: from Friday to Monday
    /// are Friday, Saturday and Sunday. `All()` when both are the same day.
    [[nodiscard]] static std::vector<Day> range(Day from, Day to);

    friend constexpr bool operator==(Day, Day) noexcept = default;

private:
    Case value_;
};

/// The names of the days in the person's language, Sunday first. Resolved once per process, on first use. Any thread.
[[nodiscard]] QUENDOKIT_EXPORT const std::vector<std::string>& weekdayNames();

}  // namespace quendokit

template <>
struct std::hash<quendokit::Day> {
    std::size_t operator()(quendokit::Day day) const noexcept { return static_cast<std::size_t>(day.rawValue() - 1); }
};

#pragma once
/// \file
/// Durations as whole seconds: `minutes(90)` is 5'400, `hours(1.5)` is 5'400.

#include <concepts>
#include <cstdint>
#include <type_traits>
#include <utility>

#include "quendokit/model/checked_arithmetic.hpp"
#include "quendokit/platform/fatal_error.hpp"

namespace quendokit {

/// A whole number; a truth value or a character is none.
template <typename T>
concept WholeNumber =
    std::integral<T> && !std::same_as<std::remove_cv_t<T>, bool> && !std::same_as<std::remove_cv_t<T>, char> &&
    !std::same_as<std::remove_cv_t<T>, wchar_t> && !std::same_as<std::remove_cv_t<T>, char8_t> &&
    !std::same_as<std::remove_cv_t<T>, char16_t> && !std::same_as<std::remove_cv_t<T>, char32_t>;

/// The singular and the plural of a unit are the same. Results are seconds. Any thread.
///
/// Of a whole number: the product. Of a number with a fraction: only whole sixtieths of the unit count, the rest is cut
/// off towards zero. So `minutes(0.5)` is 30, `hours(0.01)`, which is 0.6 minutes, is 0, and days know steps of 24
/// minutes: `days(0.01)` is 0. Fatal if a product is outside 64 bits or the number is NaN or infinite.
template <WholeNumber T>
[[nodiscard]] constexpr std::int64_t seconds(T value) {
    if (!std::in_range<std::int64_t>(value)) {
        fatalError("a duration does not fit 64 bits of seconds");
    }
    return static_cast<std::int64_t>(value);
}
template <WholeNumber T>
[[nodiscard]] constexpr std::int64_t second(T value) {
    return seconds(value);
}

template <WholeNumber T>
[[nodiscard]] constexpr std::int64_t minutes(T value) {
    return checkedMultiply(seconds(value), 60);
}
template <std::floating_point T>
[[nodiscard]] constexpr std::int64_t minutes(T value) {
    return checkedTruncate(static_cast<double>(value) * 60.0);
}
template <typename T>
    requires WholeNumber<T> || std::floating_point<T>
[[nodiscard]] constexpr std::int64_t minute(T value) {
    return minutes(value);
}

template <typename T>
    requires WholeNumber<T> || std::floating_point<T>
[[nodiscard]] constexpr std::int64_t hours(T value) {
    return checkedMultiply(minutes(value), 60);
}
template <typename T>
    requires WholeNumber<T> || std::floating_point<T>
[[nodiscard]] constexpr std::int64_t hour(T value) {
    return hours(value);
}

template <typename T>
    requires WholeNumber<T> || std::floating_point<T>
[[nodiscard]] constexpr std::int64_t days(T value) {
    return checkedMultiply(hours(value), 24);
}
template <typename T>
    requires WholeNumber<T> || std::floating_point<T>
[[nodiscard]] constexpr std::int64_t day(T value) {
    return days(value);
}

}  // namespace quendokit

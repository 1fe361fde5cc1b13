#pragma once
/// \file
/// `SettingsGuard`, which settings would end the process.

#include <cstdint>
#include <functional>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "quendokit/platform/export.hpp"
#include "quendokit/platform/property_value.hpp"

namespace quendokit {

/// How the guard works. Plain value.
struct SettingsGuardOptions {
    /// A guard that is not active hides nothing.
    bool active = true;
    /// Told once of each hidden key and value, in one line, on the thread that read it; it must not read settings
    /// itself. May be empty.
    std::function<void(const std::string&)> warn;
};

/// Hides the stored values that are fatal to read as settings of the day plan, and no others: under the keys of the
/// first days, an integer that means no day; under those of the times of day, a negative integer, or one so large that
/// the calendar may not reach it. Whatever is hidden stays stored. The cloud copies values from other devices
/// unchecked; one bad one would otherwise end every device at each start.
///
/// Any thread.
class QUENDOKIT_EXPORT SettingsGuard {
public:
    explicit SettingsGuard(SettingsGuardOptions options) : options_(std::move(options)) {}

    /// `value` itself, or absent when it must not be seen.
    [[nodiscard]] std::optional<PropertyValue> checked(std::string_view key, std::optional<PropertyValue> value);

private:
    void tell(std::string_view key, std::int64_t value, std::string_view what);

    const SettingsGuardOptions options_;
    std::mutex mutex_;
    /// The last value told of each key.
    std::map<std::string, std::int64_t, std::less<>> told_;
};

/// Whether reading `value` as the first workday or the first day of the weekend is fatal. Any thread.
[[nodiscard]] QUENDOKIT_EXPORT bool isFatalDay(std::int64_t value);

/// Whether a rule that sets the time of day `value` may be fatal. Any thread.
[[nodiscard]] QUENDOKIT_EXPORT bool isFatalTime(std::int64_t value);

}  // namespace quendokit

#pragma once
/// \file
/// What stands behind a `LocalTimeZone`: zone data read by cctz, or a rule told by the C library.

#include <cstdint>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>

#include "adapters/cctz/local_time_zone.hpp"

namespace quendokit {

/// The offsets of one zone. Moments are whole seconds since 1970 UTC, readings are `wallSeconds`, both within
/// `localYearLimit`. Immutable; any thread.
class TimeZoneRules {
public:
    struct Located {
        LocalTimeKind kind;
        /// As `LocatedInstant::date`.
        std::int64_t first;
        /// As `LocatedInstant::second`; equal to `first` when not repeated.
        std::int64_t second;
    };

    TimeZoneRules() = default;
    TimeZoneRules(const TimeZoneRules&) = delete;
    TimeZoneRules& operator=(const TimeZoneRules&) = delete;
    virtual ~TimeZoneRules() = default;

    /// Seconds east of UTC.
    [[nodiscard]] virtual int offset(std::int64_t moment) const = 0;
    [[nodiscard]] virtual Located locate(std::int64_t reading) const = 0;
    /// The first moment after `moment` from which on another offset holds. Absent when there is none, or none before
    /// the year 2400.
    [[nodiscard]] virtual std::optional<std::int64_t> nextChange(std::int64_t moment) const = 0;
};

[[nodiscard]] std::shared_ptr<const TimeZoneRules> makeUTCRules();

/// The zone data in `file`, as it is now; null when that is none. What was read before is shared until the file
/// changes. Any thread.
[[nodiscard]] std::shared_ptr<const TimeZoneRules> makeCctzRules(const std::filesystem::path& file);

/// Whether `value` has the form of a rule: a name and an offset, as "EST5" or "<+0330>-3:30", then anything.
[[nodiscard]] bool isPosixRule(const std::string& value);

/// The rule that TZ holds at this moment; `value` is what TZ says, without its colon. The same rule is shared by all
/// that ask for it. Any thread, as long as none changes the environment.
[[nodiscard]] std::shared_ptr<const TimeZoneRules> makePosixRules(const std::string& value);

}  // namespace quendokit

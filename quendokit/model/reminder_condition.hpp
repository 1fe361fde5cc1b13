#pragma once
/// \file
/// `ReminderCondition`, when a reminder fires.

#include <optional>
#include <variant>

#include "quendokit/model/device_type.hpp"
#include "quendokit/platform/date.hpp"
#include "quendokit/platform/export.hpp"

namespace quendokit {

/// Either a moment, or the person's next arrival at a device. Plain value.
///
/// Equality is tolerant: two moments are equal when they lie less than one second apart (so equality is not
/// transitive), two devices always are, since there is only one.
class QUENDOKIT_EXPORT ReminderCondition {
public:
    /// Fire at that moment.
    [[nodiscard]] static ReminderCondition dateTime(Date date) noexcept { return ReminderCondition(date); }
    /// Fire when the person is at that device.
    [[nodiscard]] static ReminderCondition device(DeviceType device) noexcept { return ReminderCondition(device); }

    /// Absent for a device condition.
    [[nodiscard]] std::optional<Date> date() const noexcept;
    /// Absent for a moment.
    [[nodiscard]] std::optional<DeviceType> deviceType() const noexcept;

    friend bool operator==(const ReminderCondition& a, const ReminderCondition& b) noexcept;

private:
    explicit ReminderCondition(std::variant<Date, DeviceType> value) noexcept : value_(value) {}

    std::variant<Date, DeviceType> value_;
};

[[nodiscard]] QUENDOKIT_EXPORT bool operator==(const ReminderCondition& a, const ReminderCondition& b) noexcept;

}  // namespace quendokit

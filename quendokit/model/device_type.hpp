#pragma once
/// \file
/// `DeviceType`, the devices that a reminder can wait for.

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>

namespace quendokit {

/// A device at which the person may arrive. Plain value.
class DeviceType final {
public:
    /// The raw values are a stored format: they stand in the device column of the database.
    enum Case : std::int64_t { mac = 1 };

    constexpr DeviceType(Case value) noexcept : value_(value) {}

    /// Absent when no device has this raw value.
    [[nodiscard]] static constexpr std::optional<DeviceType> fromRawValue(std::int64_t rawValue) noexcept {
        if (rawValue == mac) {
            return DeviceType(mac);
        }
        return std::nullopt;
    }

    [[nodiscard]] constexpr std::int64_t rawValue() const noexcept { return value_; }

    friend constexpr bool operator==(DeviceType, DeviceType) noexcept = default;

private:
    Case value_;
};

}  // namespace quendokit

template <>
struct std::hash<quendokit::DeviceType> {
    std::size_t operator()(quendokit::DeviceType device) const noexcept {
        return std::hash<std::int64_t>()(device.rawValue());
    }
};

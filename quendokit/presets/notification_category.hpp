#pragma once
/// \file
/// `NotificationCategory`, which buttons a notification carries.

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <string_view>

#include "quendokit/platform/export.hpp"
#include "quendokit/presets/notification_action.hpp"

namespace quendokit {

/// The next part of the day that a notification can be postponed to. Plain value.
class QUENDOKIT_EXPORT NotificationCategory final {
public:
    enum Case : std::uint8_t { Morning, Afternoon, Evening };

    constexpr NotificationCategory(Case value) noexcept : value_(value) {}

    /// The category with that identifier, compared byte for byte. Absent for any other text.
    [[nodiscard]] static std::optional<NotificationCategory> fromRawValue(std::string_view rawValue) noexcept;

    /// The identifier, as "quendo.postpone.category.morning". A stored format: the notification service keeps it.
    [[nodiscard]] std::string_view rawValue() const noexcept;

    /// The button that stands beside `NotificationAction::Short` and `NotificationAction::Later`.
    [[nodiscard]] NotificationAction action() const noexcept;

    /// For `switch`.
    [[nodiscard]] constexpr operator Case() const noexcept { return value_; }

private:
    Case value_;
};

}  // namespace quendokit

template <>
struct std::hash<quendokit::NotificationCategory> {
    std::size_t operator()(quendokit::NotificationCategory category) const noexcept {
        return static_cast<std::size_t>(static_cast<quendokit::NotificationCategory::Case>(category));
    }
};

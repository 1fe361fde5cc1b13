#pragma once
/// \file
/// `NotificationAction`, the buttons that postpone a reminder.

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

#include "quendokit/platform/export.hpp"

namespace quendokit {

/// A button of a delivered notification. Plain value.
class QUENDOKIT_EXPORT NotificationAction final {
public:
    enum Case : std::uint8_t { Short, Later, Morning, Afternoon, Evening };

    constexpr NotificationAction(Case value) noexcept : value_(value) {}

    /// The button with that identifier, compared byte for byte. Absent for any other text.
    [[nodiscard]] static std::optional<NotificationAction> fromRawValue(std::string_view rawValue) noexcept;

    /// The identifier, as "quendo.postpone.action.later". A stored format: notifications that are on the screen hold
    /// it.
    [[nodiscard]] std::string_view rawValue() const noexcept;

    /// The name of the event for the host's analytics, as "postpone_later".
    [[nodiscard]] std::string_view event() const noexcept;

    /// The title of the button in the person's language and by the day plan: "20 minutes", "3 hours", "Morning".
    /// Minutes and hours are cut off. A short postpone of an hour or more is always "1 hour". Any thread.
    [[nodiscard]] std::string name() const;

    /// For `switch`.
    [[nodiscard]] constexpr operator Case() const noexcept { return value_; }

private:
    Case value_;
};

}  // namespace quendokit

template <>
struct std::hash<quendokit::NotificationAction> {
    std::size_t operator()(quendokit::NotificationAction action) const noexcept {
        return static_cast<std::size_t>(static_cast<quendokit::NotificationAction::Case>(action));
    }
};

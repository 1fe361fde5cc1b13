#pragma once
/// \file
/// `NotificationHandle`, what names a notification beyond this process.

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace quendokit::dbus {

/// A notification of one instance of the service on one bus. Plain value.
struct NotificationHandle {
    /// The identifier that the bus has given itself, made anew whenever one starts.
    std::string bus;
    /// The unique name of the service, which its bus gives to no other connection.
    std::string service;
    std::uint32_t number = 0;

    bool operator==(const NotificationHandle&) const = default;
};

/// Stored format: bus, service and number with one blank between them, "0a1b… :1.42 7".
[[nodiscard]] std::string text(const NotificationHandle& handle);

/// The handle that `text` made; nothing for any other text.
[[nodiscard]] std::optional<NotificationHandle> handleIn(std::string_view line);

}  // namespace quendokit::dbus

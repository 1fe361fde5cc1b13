#include <charconv>

#include "adapters/dbus/notification_handle_internal.hpp"

namespace quendokit::dbus {

std::string text(const NotificationHandle& handle) {
    return handle.bus + " " + handle.service + " " + std::to_string(handle.number);
}

std::optional<NotificationHandle> handleIn(std::string_view line) {
    const auto first = line.find(' ');
    const auto last = line.rfind(' ');
    if (first == std::string_view::npos || first == last) {
        return std::nullopt;
    }
    NotificationHandle handle{std::string(line.substr(0, first)), std::string(line.substr(first + 1, last - first - 1)),
                              0};
    const std::string_view digits = line.substr(last + 1);
    const auto [end, failure] = std::from_chars(digits.data(), digits.data() + digits.size(), handle.number);
    // Only the one way to write it.
    if (failure != std::errc() || text(handle) != line || handle.bus.empty() || !handle.service.starts_with(':') ||
        handle.number == 0) {
        return std::nullopt;
    }
    return handle;
}

}  // namespace quendokit::dbus

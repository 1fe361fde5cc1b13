#include "quendokit/presets/notification_category.hpp"

#include <array>

namespace quendokit {
namespace {

struct CategoryIdentity {
    std::string_view rawValue;
    NotificationAction action;
};

/// In the order of the cases.
constexpr std::array<CategoryIdentity, 3> categories{{
    {"quendo.postpone.category.morning", NotificationAction::Morning},
    {"quendo.postpone.category.afternoon", NotificationAction::Afternoon},
    {"quendo.postpone.category.evening", NotificationAction::Evening},
}};

}  // namespace

std::optional<NotificationCategory> NotificationCategory::fromRawValue(std::string_view rawValue) noexcept {
    for (const NotificationCategory category : {Morning, Afternoon, Evening}) {
        if (category.rawValue() == rawValue) {
            return category;
        }
    }
    return std::nullopt;
}

std::string_view NotificationCategory::rawValue() const noexcept {
    return categories[value_].rawValue;
}

NotificationAction NotificationCategory::action() const noexcept {
    return categories[value_].action;
}

}  // namespace quendokit

#include "quendokit/presets/notification_action.hpp"

#include <array>

#include "quendokit/model/time_units.hpp"
#include "quendokit/model/words.hpp"
#include "quendokit/options/options.hpp"

namespace quendokit {
namespace {

struct Identity {
    std::string_view rawValue;
    std::string_view event;
};

/// In the order of the cases.
constexpr std::array<Identity, 5> identities{{
    {"quendo.postpone.action.short", "postpone_short"},
    {"quendo.postpone.action.later", "postpone_later"},
    {"quendo.postpone.action.morning", "postpone_morning"},
    {"quendo.postpone.action.afternoon", "postpone_afternoon"},
    {"quendo.postpone.action.evening", "postpone_evening"},
}};

std::string shortName() {
    const std::int64_t postpone = Options::Postpone();
    // However many hours it is: hosts rely on the title as it is.
    if (postpone >= hours(1)) {
        return "1 " + words::hour();
    }
    return std::to_string(postpone / minutes(1)) + " " + words::minutes();
}

std::string laterName() {
    const std::int64_t later = Options::Later();
    const bool isOneHour = later >= hours(1) && later < hours(2);
    return std::to_string(later / hours(1)) + " " + (isOneHour ? words::hour() : words::hours());
}

}  // namespace

std::optional<NotificationAction> NotificationAction::fromRawValue(std::string_view rawValue) noexcept {
    for (const NotificationAction action : {Short, Later, Morning, Afternoon, Evening}) {
        if (action.rawValue() == rawValue) {
            return action;
        }
    }
    return std::nullopt;
}

std::string_view NotificationAction::rawValue() const noexcept {
    return identities[value_].rawValue;
}

std::string_view NotificationAction::event() const noexcept {
    return identities[value_].event;
}

std::string NotificationAction::name() const {
    switch (value_) {
        case Short:
            return shortName();
        case Later:
            return laterName();
        case Morning:
            return words::morning();
        case Afternoon:
            return words::afternoon();
        case Evening:
            break;
    }
    return words::evening();
}

}  // namespace quendokit

#include "quendokit/model/reminder_condition.hpp"

namespace quendokit {

std::optional<Date> ReminderCondition::date() const noexcept {
    const Date* date = std::get_if<Date>(&value_);
    return date != nullptr ? std::optional(*date) : std::nullopt;
}

std::optional<DeviceType> ReminderCondition::deviceType() const noexcept {
    const DeviceType* device = std::get_if<DeviceType>(&value_);
    return device != nullptr ? std::optional(*device) : std::nullopt;
}

bool operator==(const ReminderCondition& a, const ReminderCondition& b) noexcept {
    const Date* left = std::get_if<Date>(&a.value_);
    const Date* right = std::get_if<Date>(&b.value_);
    if (left == nullptr || right == nullptr) {
        return left == right;
    }
    const double middle = right->timeIntervalSince1970();
    return left->timeIntervalSince1970() > middle - 1 && left->timeIntervalSince1970() < middle + 1;
}

}  // namespace quendokit

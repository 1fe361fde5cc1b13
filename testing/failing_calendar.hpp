#pragma once
/// \file
/// `FailingCalendar`, a calendar that has no answer.

#include <cstdint>
#include <optional>

#include "quendokit/platform/calendar.hpp"

namespace quendokit::testing {

/// Every answer is absent, for tests of what is fatal then. Any thread.
class FailingCalendar final : public Calendar {
public:
    [[nodiscard]] std::optional<TimeComponents> timeComponents(Date /*date*/) const override { return std::nullopt; }
    [[nodiscard]] std::optional<int> weekday(Date /*date*/) const override { return std::nullopt; }
    [[nodiscard]] std::optional<Date> dateBySettingHour(int /*hour*/, std::int64_t /*minute*/, int /*second*/,
                                                        Date /*ofDate*/) const override {
        return std::nullopt;
    }
    [[nodiscard]] std::optional<Date> dateBySettingWeekday(int /*weekday*/, Date /*ofDate*/) const override {
        return std::nullopt;
    }
};

}  // namespace quendokit::testing

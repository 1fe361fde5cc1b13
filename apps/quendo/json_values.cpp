#include "apps/quendo/json_values.hpp"

#include <cmath>
#include <cstdint>

#include <nlohmann/json.hpp>

namespace quendo::json {

Json number(double value) {
    constexpr double exactIntegers = 9'007'199'254'740'992.0;  // 2^53
    if (std::abs(value) < exactIntegers && std::trunc(value) == value) {
        return static_cast<std::int64_t>(value);
    }
    return value;
}

Json time(quendokit::Date date, const quendokit::LocalTimeZone& zone) {
    const auto local = zone.text(date);
    return {{"date", local ? Json(*local) : Json(nullptr)}, {"epoch", number(date.timeIntervalSince1970())}};
}

Json condition(const quendokit::ReminderCondition& condition, const quendokit::LocalTimeZone& zone) {
    if (const auto date = condition.date()) {
        Json result = {{"type", "dateTime"}};
        result.update(time(*date, zone));
        return result;
    }
    return {{"type", "device"}, {"device", "mac"}};
}

Json object(const ReminderView& view, const quendokit::LocalTimeZone& zone) {
    return {
        {"id", view.id},
        {"title", view.title},
        {"shown", view.shown},
        {"condition", condition(view.condition, zone)},
        {"list", view.list ? Json(nameOf(*view.list)) : Json(nullptr)},
        {"pending", view.pending},
        {"deleted", view.deleted},
    };
}

}  // namespace quendo::json

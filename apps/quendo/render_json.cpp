#include "apps/quendo/render_json.hpp"

#include <cmath>
#include <cstdint>

#include <nlohmann/json.hpp>

#include "quendokit/store/quendokit_config.hpp"

namespace quendo::json {
namespace {

using Json = nlohmann::ordered_json;

/// Bytes of a title that are not UTF-8 become replacement characters: the document is always valid.
std::string text(const Json& document) {
    return document.dump(2, ' ', false, Json::error_handler_t::replace);
}

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

}  // namespace

std::string reminder(const ReminderView& view, const quendokit::LocalTimeZone& zone) {
    return text(object(view, zone));
}

std::string reminders(const std::vector<ReminderView>& views, const quendokit::LocalTimeZone& zone) {
    Json list = Json::array();
    for (const ReminderView& view : views) {
        list.push_back(object(view, zone));
    }
    return text(list);
}

std::string identifiers(const std::vector<ReminderView>& views) {
    Json list = Json::array();
    for (const ReminderView& view : views) {
        list.push_back(view.id);
    }
    return text(list);
}

std::string findings(const std::vector<Finding>& findings) {
    Json list = Json::array();
    for (const Finding& finding : findings) {
        list.push_back({{"check", finding.check}, {"ok", finding.ok}, {"detail", finding.detail}});
    }
    return text(list);
}

std::string version() {
    return text({{"version", QUENDO_VERSION}, {"schema", quendokit::reminderSchemaVersion}});
}

}  // namespace quendo::json

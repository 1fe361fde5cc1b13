#include <nlohmann/json.hpp>

#include "hostkit/intent_json_internal.hpp"

namespace quendokit {

using Json = nlohmann::json;

std::string TwoStepChanges::Intent::line() const {
    Json json = {{"id", *reminder.id()}, {"title", reminder.title()}, {"shown", reminder.shown()}};
    if (const auto date = reminder.condition().date()) {
        json["date"] = date->timeIntervalSince1970();
    } else {
        json["device"] = reminder.condition().deviceType()->rawValue();
    }
    if (deleted) {
        json["deleted"] = *deleted;
    }
    // One line, whatever the title holds: JSON escapes line feeds.
    return json.dump(-1, ' ', false, Json::error_handler_t::replace);
}

std::optional<TwoStepChanges::Intent> TwoStepChanges::Intent::fromLine(std::string_view line) {
    const Json json = Json::parse(line, nullptr, false);
    const auto is = [&json](const char* name, auto predicate) {
        return json.contains(name) && (json[name].*predicate)();
    };
    if (!json.is_object() || !is("id", &Json::is_string) || !is("title", &Json::is_string) ||
        !is("shown", &Json::is_boolean)) {
        return std::nullopt;
    }
    std::optional<ReminderCondition> condition;
    if (is("date", &Json::is_number)) {
        condition = ReminderCondition::dateTime(Date(json["date"].get<double>()));
    } else if (is("device", &Json::is_number_integer)) {
        if (const auto device = DeviceType::fromRawValue(json["device"].get<std::int64_t>())) {
            condition = ReminderCondition::device(*device);
        }
    }
    if (!condition) {
        return std::nullopt;
    }
    Intent intent{ReminderStruct(json["id"].get<std::string>(), json["title"].get<std::string>(),
                                 json["shown"].get<bool>(), *condition),
                  std::nullopt};
    if (is("deleted", &Json::is_string)) {
        intent.deleted = json["deleted"].get<std::string>();
    }
    return intent;
}

}  // namespace quendokit

#include <array>
#include <cstdint>
#include <span>

#include <nlohmann/json.hpp>

#include "hostkit/alarm_json_internal.hpp"
#include "quendokit/platform/base64.hpp"

namespace quendokit {
namespace {

using AlarmJson = nlohmann::json;

constexpr std::int64_t alarmFormat = 1;
/// In the order of `FiredEntry::State`.
constexpr std::array stateNames = {"due", "posted", "pressed", "acted"};

/// One line, whatever it holds: JSON escapes line feeds.
std::string alarmLine(const AlarmJson& json) {
    return json.dump(-1, ' ', false, AlarmJson::error_handler_t::replace);
}

/// Text as it is; an object with its bytes when it is no UTF-8.
AlarmJson everyByteOf(const std::string& text) {
    AlarmJson json = text;
    if (AlarmJson::parse(alarmLine(json), nullptr, false) == json) {
        return json;
    }
    return {{"base64", base64(std::as_bytes(std::span(text)))}};
}

std::optional<std::string> textAt(const AlarmJson& json, const char* name) {
    if (!json.contains(name)) {
        return std::nullopt;
    }
    const AlarmJson& value = json[name];
    if (value.is_string()) {
        return value.get<std::string>();
    }
    if (value.is_object() && value.contains("base64") && value["base64"].is_string()) {
        if (const auto bytes = fromBase64(value["base64"].get<std::string>())) {
            std::string text;
            for (const std::byte byte : *bytes) {
                text.push_back(static_cast<char>(byte));
            }
            return text;
        }
    }
    return std::nullopt;
}

std::optional<Date> momentAt(const AlarmJson& json, const char* name) {
    return json.contains(name) && json[name].is_number() ? std::optional(Date(json[name].get<double>())) : std::nullopt;
}

bool flagAt(const AlarmJson& json, const char* name) {
    return json.contains(name) && json[name].is_boolean() && json[name].get<bool>();
}

/// Null when the line is no object.
AlarmJson objectOf(std::string_view line) {
    AlarmJson json = AlarmJson::parse(line, nullptr, false);
    return json.is_object() ? json : AlarmJson();
}

}  // namespace

std::string armedCountLine(std::size_t count) {
    return alarmLine({{"armed-list", alarmFormat}, {"count", count}});
}

std::optional<std::size_t> armedCountFromLine(std::string_view line) {
    const AlarmJson json = objectOf(line);
    if (!json.contains("armed-list") || json["armed-list"] != alarmFormat || !json.contains("count") ||
        !json["count"].is_number_unsigned()) {
        return std::nullopt;
    }
    return json["count"].get<std::size_t>();
}

std::string armedLine(const ArmedReminder& reminder) {
    return alarmLine({{"id", everyByteOf(reminder.id)},
                      {"title", reminder.title},
                      {"date", reminder.date.timeIntervalSince1970()},
                      {"shown", reminder.shown}});
}

std::optional<ArmedReminder> armedFromLine(std::string_view line) {
    const AlarmJson json = objectOf(line);
    const auto id = textAt(json, "id");
    const auto title = textAt(json, "title");
    const auto date = momentAt(json, "date");
    if (!id || !title || !date) {
        return std::nullopt;
    }
    return ArmedReminder{*id, *title, *date, flagAt(json, "shown")};
}

std::string firedLine(const FiredEntry& entry) {
    AlarmJson json = {{"id", everyByteOf(entry.id)}, {"state", stateNames.at(static_cast<std::size_t>(entry.state))}};
    if (entry.occurrence) {
        json["date"] = entry.occurrence->timeIntervalSince1970();
    }
    if (entry.wasShown) {
        json["shown"] = true;
    }
    if (!entry.handle.empty()) {
        json["handle"] = everyByteOf(entry.handle);
    }
    if (entry.inSummary) {
        json["summary"] = true;
    }
    if (!entry.action.empty()) {
        json["action"] = everyByteOf(entry.action);
    }
    if (entry.pressedAt) {
        json["pressed"] = entry.pressedAt->timeIntervalSince1970();
    }
    return alarmLine(json);
}

std::optional<FiredEntry> firedFromLine(std::string_view line) {
    const AlarmJson json = objectOf(line);
    const auto id = textAt(json, "id");
    const auto state = textAt(json, "state");
    if (!id || !state) {
        return std::nullopt;
    }
    for (std::size_t i = 0; i < stateNames.size(); ++i) {
        if (*state == stateNames.at(i)) {
            return FiredEntry{.id = *id,
                              .occurrence = momentAt(json, "date"),
                              .state = static_cast<FiredEntry::State>(i),
                              .wasShown = flagAt(json, "shown"),
                              .handle = textAt(json, "handle").value_or(""),
                              .inSummary = flagAt(json, "summary"),
                              .action = textAt(json, "action").value_or(""),
                              .pressedAt = momentAt(json, "pressed")};
        }
    }
    return std::nullopt;
}

std::string momentsLine(const LedgerMoments& moments) {
    AlarmJson json = {{"fired-ledger", alarmFormat}, {"beginning", moments.beginning.timeIntervalSince1970()}};
    if (moments.lastCheck) {
        json["checked"] = moments.lastCheck->timeIntervalSince1970();
    }
    return alarmLine(json);
}

std::optional<LedgerMoments> momentsFromLine(std::string_view line) {
    const AlarmJson json = objectOf(line);
    const auto beginning = momentAt(json, "beginning");
    if (!json.contains("fired-ledger") || json["fired-ledger"] != alarmFormat || !beginning) {
        return std::nullopt;
    }
    return LedgerMoments{*beginning, momentAt(json, "checked")};
}

}  // namespace quendokit

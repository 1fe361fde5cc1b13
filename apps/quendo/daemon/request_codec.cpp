#include "apps/quendo/daemon/request_codec.hpp"

#include <algorithm>
#include <cmath>

#include "apps/quendo/daemon/byte_coding_internal.hpp"

namespace quendo {
namespace {

using quendokit::Date;

/// Calendars know no moment beyond the year 9999, nor one as far in the past.
constexpr double lastMoment = 253'402'300'800;
constexpr std::size_t presetCount = 10;

template <typename Value>
std::optional<Value> decodeWhole(std::string_view bytes) {
    try {
        ByteReader reader(bytes);
        auto value = reader.read<Value>();
        return reader.atEnd() ? std::optional<Value>(std::move(value)) : std::nullopt;
    } catch (const Malformed&) {
        return std::nullopt;
    }
}

bool isSoundDate(std::optional<Date> date) {
    return !date || std::abs(date->timeIntervalSince1970()) <= lastMoment;
}

bool isSoundChoice(const Choice& choice) {
    if (const auto* preset = std::get_if<PresetChoice>(&choice)) {
        return preset->index < presetCount;
    }
    const auto* condition = std::get_if<quendokit::ReminderCondition>(&choice);
    return condition == nullptr || isSoundDate(condition->date());
}

bool isSoundAssignment(const OptionAssignment& assignment) {
    switch (assignment.key) {
        case OptionKey::firstWorkday:
        case OptionKey::firstWeekend:
            return std::holds_alternative<quendokit::Day>(assignment.value);
        case OptionKey::workdayMorning:
        case OptionKey::weekendMorning:
        case OptionKey::afternoon:
        case OptionKey::evening:
        case OptionKey::later:
        case OptionKey::postpone:
            return std::holds_alternative<std::int64_t>(assignment.value);
        case OptionKey::hasMacApp:
            break;
    }
    return std::holds_alternative<std::optional<bool>>(assignment.value);
}

/// How long anything may take, for sums with it.
bool isSoundPatience(std::chrono::seconds patience) {
    return patience >= std::chrono::seconds(0) && patience <= std::chrono::hours(24);
}

struct Soundness {
    bool operator()(const AddRequest& request) const { return isSoundChoice(request.when); }
    bool operator()(const EditRequest& request) const { return !request.when || isSoundChoice(*request.when); }
    bool operator()(const PostponeRequest& request) const { return isSoundChoice(request.when); }
    bool operator()(const PresetsRequest& request) const { return isSoundDate(request.from); }
    bool operator()(const SetOptionRequest& request) const { return isSoundAssignment(request.assignment); }
    bool operator()(const CloudConnectRequest& request) const { return isSoundPatience(request.patience); }
    bool operator()(const SyncRequest& request) const { return isSoundPatience(request.patience); }
    bool operator()(const ImportRequest& request) const {
        return std::all_of(request.entries.begin(), request.entries.end(), [](const TransferEntry& entry) {
            return isSoundDate(entry.condition.date()) && isSoundDate(entry.completed);
        });
    }
    template <typename OneRequest>
    bool operator()(const OneRequest&) const {
        return true;
    }
};

}  // namespace

std::string encode(const Request& request) {
    ByteWriter writer;
    writer.write(request);
    return writer.take();
}

std::string encode(const RequestAnswer& answer) {
    ByteWriter writer;
    writer.write(answer);
    return writer.take();
}

std::optional<Request> decodeRequest(std::string_view bytes) {
    auto request = decodeWhole<Request>(bytes);
    return request && std::visit(Soundness(), *request) ? std::move(request) : std::nullopt;
}

std::optional<RequestAnswer> decodeAnswer(std::string_view bytes) {
    return decodeWhole<RequestAnswer>(bytes);
}

}  // namespace quendo

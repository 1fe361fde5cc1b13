#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include "apps/quendo/transfer/transfer_json_entry_internal.hpp"
#include "apps/quendo/transfer/transfer_rules.hpp"
#include "apps/quendo/when.hpp"

namespace quendo {
namespace {

using quendokit::Date;
using quendokit::ReminderCondition;

/// Null when `object` has no such member, or null in it.
const nlohmann::json* member(const nlohmann::json& object, const char* name) {
    const auto found = object.find(name);
    return found == object.end() || found->is_null() ? nullptr : &*found;
}

/// Reads the members of one element. The first problem stays, and everything after it is absent.
class EntryReader {
public:
    EntryReader(const quendokit::LocalTimeZone& zone, std::string& problem) : zone_(zone), problem_(problem) {}

    std::optional<TransferEntry> entry(const nlohmann::json& object) {
        const auto* title = required(object, "title");
        const auto titleText = title == nullptr ? std::nullopt : text("title", *title);
        if (!titleText || refused(problemOfTitle(*titleText))) {
            return std::nullopt;
        }
        const auto* conditionObject = required(object, "condition");
        const auto condition = conditionObject == nullptr ? std::nullopt : this->condition(*conditionObject);
        if (!condition) {
            return std::nullopt;
        }
        TransferEntry entry{std::nullopt, *titleText, false, *condition, std::nullopt};
        if (!readOptional(object, entry)) {
            return std::nullopt;
        }
        return entry;
    }

private:
    bool readOptional(const nlohmann::json& object, TransferEntry& entry) {
        if (const auto* id = member(object, "id")) {
            entry.id = text("id", *id);
            if (!entry.id || refused(problemOfIdentifier(*entry.id))) {
                return false;
            }
        }
        if (const auto* shown = member(object, "shown")) {
            if (!shown->is_boolean()) {
                return refuseType("shown", *shown, "true or false");
            }
            entry.shown = shown->get<bool>();
        }
        if (const auto* completed = member(object, "completed")) {
            entry.completed = moment("completed", *completed);
            return entry.completed.has_value();
        }
        return true;
    }

    std::optional<ReminderCondition> condition(const nlohmann::json& value) {
        const auto* type = isObject("condition", value) ? required(value, "type", "condition.") : nullptr;
        const auto typeName = type == nullptr ? std::nullopt : text("condition.type", *type);
        if (!typeName) {
            return std::nullopt;
        }
        if (*typeName == "dateTime") {
            const auto date = moment("condition", value);
            return date ? std::optional(ReminderCondition::dateTime(*date)) : std::nullopt;
        }
        if (*typeName != "device") {
            refused(
                fmt::format(R"(condition.type {} is unknown; write "dateTime" or "device")", quotedText(*typeName)));
            return std::nullopt;
        }
        const auto* device = required(value, "device", "condition.");
        const auto deviceName = device == nullptr ? std::nullopt : text("condition.device", *device);
        if (deviceName && *deviceName != "mac") {
            refused(fmt::format("condition.device {} is unknown; write \"mac\"", quotedText(*deviceName)));
            return std::nullopt;
        }
        return deviceName ? std::optional(ReminderCondition::device(quendokit::DeviceType::mac)) : std::nullopt;
    }

    /// The seconds when they are there, which are exact; else the date.
    std::optional<Date> moment(const char* name, const nlohmann::json& value) {
        if (!isObject(name, value)) {
            return std::nullopt;
        }
        if (const auto* epoch = member(value, "epoch")) {
            return fromEpoch(fmt::format("{}.epoch", name), *epoch);
        }
        if (const auto* date = member(value, "date")) {
            return fromText(fmt::format("{}.date", name), *date);
        }
        refused(fmt::format("{0}.epoch and {0}.date are missing; give one of them", name));
        return std::nullopt;
    }

    std::optional<Date> fromEpoch(const std::string& name, const nlohmann::json& value) {
        if (!value.is_number()) {
            refuseType(name, value, "seconds since 1970 as a number");
            return std::nullopt;
        }
        return checked(name, Date(value.get<double>()));
    }

    std::optional<Date> fromText(const std::string& name, const nlohmann::json& value) {
        const auto date = text(name, value);
        if (!date) {
            return std::nullopt;
        }
        // What is reckoned from now means nothing in a file.
        const bool isAbsolute = date->find('-') == 4;
        auto when = isAbsolute ? parseWhen(*date, Date(0), zone_) : quendokit::Result<When>(quendokit::Error{});
        if (!when) {
            refused(
                fmt::format("{} {} cannot be read; write it as 2026-11-21T18:00:00-05:00", name, quotedText(*date)));
            return std::nullopt;
        }
        return checked(name, when.value().date);
    }

    std::optional<Date> checked(const std::string& name, Date date) {
        return refused(problemOfMoment(name, date)) ? std::nullopt : std::optional(date);
    }

    std::optional<std::string> text(const std::string& name, const nlohmann::json& value) {
        if (!value.is_string()) {
            refuseType(name, value, "a text in quotes");
            return std::nullopt;
        }
        return value.get<std::string>();
    }

    bool isObject(const char* name, const nlohmann::json& value) {
        return value.is_object() || refuseType(name, value, "an object");
    }

    /// Null, with the problem noted, when it is missing.
    const nlohmann::json* required(const nlohmann::json& object, const char* name, const char* prefix = "") {
        const auto* found = member(object, name);
        if (found == nullptr) {
            refused(fmt::format("{}{} is missing; add it", prefix, name));
        }
        return found;
    }

    /// Answers false always.
    bool refuseType(std::string_view name, const nlohmann::json& value, std::string_view wanted) {
        refused(fmt::format("{} is {}; write {}", name, typeText(value), wanted));
        return false;
    }

    bool refused(TransferProblem problem) {
        if (!problem) {
            return false;
        }
        problem_ = *std::move(problem);
        return true;
    }

    const quendokit::LocalTimeZone& zone_;
    std::string& problem_;
};

}  // namespace

std::optional<TransferEntry> readJsonEntry(const nlohmann::json& object, const quendokit::LocalTimeZone& zone,
                                           std::string& problem) {
    return EntryReader(zone, problem).entry(object);
}

std::string typeText(const nlohmann::json& value) {
    switch (value.type()) {
        case nlohmann::json::value_t::null:
            return "null";
        case nlohmann::json::value_t::object:
            return "an object";
        case nlohmann::json::value_t::array:
            return "a list";
        case nlohmann::json::value_t::string:
            return "a text";
        case nlohmann::json::value_t::boolean:
            return "true or false";
        case nlohmann::json::value_t::number_integer:
        case nlohmann::json::value_t::number_unsigned:
        case nlohmann::json::value_t::number_float:
            return "a number";
        case nlohmann::json::value_t::binary:
        case nlohmann::json::value_t::discarded:
            break;
    }
    return "unreadable";
}

}  // namespace quendo

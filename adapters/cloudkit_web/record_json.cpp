#include <cmath>
#include <cstddef>
#include <utility>
#include <variant>
#include <vector>

#include <nlohmann/json.hpp>

#include "adapters/cloudkit_web/record_json_internal.hpp"
#include "adapters/cloudkit_web/zone_json_internal.hpp"
#include "quendokit/platform/base64.hpp"
#include "quendokit/platform/ck_error.hpp"

namespace quendokit::web {
namespace {

constexpr double millisecondsPerSecond = 1'000;
// 2^43 seconds: a date further away does not tell milliseconds apart.
constexpr double mostMilliseconds = 8'796'093'022'208'000;

Date dateOf(double milliseconds) {
    return Date(milliseconds / millisecondsPerSecond);
}

Error refusal(const std::string& why) {
    return makeCKError(CKErrorCode::invalidArguments, why);
}

Json tagged(const char* type, Json value) {
    Json field = Json::object();
    field["type"] = type;
    field["value"] = std::move(value);
    return field;
}

Result<Json> fieldOfNumber(const CKNumber& number) {
    const auto integer = number.integerValue();
    if (integer && number != CKNumber(number.doubleValue())) {
        return tagged("INT64", *integer);
    }
    // One that may have a fraction keeps its tag when it happens to be whole.
    const double value = number.doubleValue();
    return std::isfinite(value) ? Result<Json>(tagged("DOUBLE", value)) : refusal("a number is not finite");
}

std::optional<CKRecordValue> numberIn(const Json& value) {
    if (value.is_boolean()) {
        return CKNumber(value.get<bool>());
    }
    // An integer over 64 bits is read as a number with a fraction would be.
    const bool isInteger = value.is_number_integer() &&
                           (!value.is_number_unsigned() || value.get<std::uint64_t>() <= std::uint64_t{INT64_MAX});
    if (isInteger) {
        return CKNumber(value.get<std::int64_t>());
    }
    return value.is_number() ? std::optional<CKRecordValue>(CKNumber(value.get<double>())) : std::nullopt;
}

std::optional<CKRecordValue> dateIn(const Json& value) {
    if (!value.is_number()) {
        return std::nullopt;
    }
    const auto milliseconds = value.get<double>();
    const bool isMoment = milliseconds > -mostMilliseconds && milliseconds < mostMilliseconds;
    return isMoment ? std::optional<CKRecordValue>(dateOf(milliseconds)) : std::nullopt;
}

std::optional<CKRecordValue> textIn(const Json& value) {
    const auto* text = value.get_ptr<const std::string*>();
    // What no server takes was not given by one.
    const bool isPlain = text != nullptr && text->find('\0') == std::string::npos;
    return isPlain ? std::optional<CKRecordValue>(*text) : std::nullopt;
}

std::optional<CKRecordValue> bytesIn(const Json& value) {
    const auto* text = value.get_ptr<const std::string*>();
    auto bytes = text == nullptr ? std::nullopt : fromBase64(*text);
    return bytes ? std::optional<CKRecordValue>(*std::move(bytes)) : std::nullopt;
}

std::optional<CKRecordValue> untaggedIn(const Json& value) {
    return value.is_string() ? textIn(value) : numberIn(value);
}

/// Whether `item` says of itself that it is in another zone.
bool isElsewhere(const Json& item, const CKRecordZoneID& zoneID) {
    const Json* said = member(item, "zoneID");
    const auto zone = said == nullptr ? std::nullopt : makeZoneID(*said);
    return zone && zone->zoneName != zoneID.zoneName;
}

}  // namespace

std::optional<std::int64_t> millisecondsOf(Date date) {
    const double seconds = date.timeIntervalSince1970();
    // Neither holds for what is no number.
    const double guess = std::floor(seconds * millisecondsPerSecond);
    if (!(guess > -mostMilliseconds && guess < mostMilliseconds)) {
        return std::nullopt;
    }
    // The product may be off by the last bit: 1.001 * 1000 is less than 1001.
    if (dateOf(guess) > date) {
        return static_cast<std::int64_t>(guess) - 1;
    }
    return static_cast<std::int64_t>(dateOf(guess + 1) <= date ? guess + 1 : guess);
}

Result<Json> fieldOf(const CKRecordValue& value) {
    if (const auto* text = std::get_if<std::string>(&value)) {
        if (!isPlainText(*text)) {
            return refusal("a text is not UTF-8, or holds a zero byte");
        }
        return tagged("STRING", *text);
    }
    if (const auto* number = std::get_if<CKNumber>(&value)) {
        return fieldOfNumber(*number);
    }
    if (const auto* date = std::get_if<Date>(&value)) {
        const auto milliseconds = millisecondsOf(*date);
        return milliseconds ? Result<Json>(tagged("TIMESTAMP", *milliseconds)) : refusal("a date is no moment");
    }
    return tagged("BYTES", base64(std::get<std::vector<std::byte>>(value)));
}

std::optional<CKRecordValue> valueOf(const Json& field) {
    const Json* value = member(field, "value");
    if (value == nullptr || value->is_null()) {
        return std::nullopt;
    }
    const Json* type = member(field, "type");
    if (type == nullptr || type->is_null()) {
        return untaggedIn(*value);
    }
    const auto* tag = type->get_ptr<const std::string*>();
    if (tag == nullptr) {
        return std::nullopt;
    }
    if (*tag == "STRING") {
        return textIn(*value);
    }
    if (*tag == "INT64") {
        return numberIn(*value);
    }
    if (*tag == "DOUBLE") {
        return value->is_number() ? std::optional<CKRecordValue>(CKNumber(value->get<double>())) : std::nullopt;
    }
    if (*tag == "TIMESTAMP") {
        return dateIn(*value);
    }
    return *tag == "BYTES" ? bytesIn(*value) : std::nullopt;
}

Result<Json> recordOf(const CKRecord& record) {
    const std::string& name = record.recordID().recordName;
    Json fields = Json::object();
    for (const auto& [key, value] : record.values()) {
        auto field = isPlainText(key) ? fieldOf(value) : refusal("a key is not UTF-8, or holds a zero byte");
        if (!field) {
            return refusal("record " + name + ": " + field.error().description + "; nothing of it is sent");
        }
        fields[key] = std::move(field).value();
    }
    if (!isPlainText(record.recordType())) {
        return refusal("record " + name + ": its type is not UTF-8, or holds a zero byte; nothing of it is sent");
    }
    Json json = Json::object();
    json["recordName"] = name;
    json["recordType"] = record.recordType();
    json["fields"] = std::move(fields);
    return json;
}

std::optional<CKRecordID> makeRecordID(const Json& item, const CKRecordZoneID& zoneID) {
    const std::string* name = textMember(item, "recordName");
    if (name == nullptr || isElsewhere(item, zoneID)) {
        return std::nullopt;
    }
    // A record's rule for names holds for the names of those that went, too.
    const auto record = CKRecord::make("", {*name, zoneID});
    return record ? std::optional(record->recordID()) : std::nullopt;
}

std::optional<CKRecord> makeRecord(const Json& item, const CKRecordZoneID& zoneID) {
    auto recordID = makeRecordID(item, zoneID);
    const std::string* type = textMember(item, "recordType");
    if (!recordID || type == nullptr || type->empty()) {
        return std::nullopt;
    }
    auto record = CKRecord::make(*type, *std::move(recordID));
    if (const std::string* tag = textMember(item, "recordChangeTag")) {
        record->setRecordChangeTag(*tag);
    }
    const Json* fields = member(item, "fields");
    if (fields == nullptr || fields->is_null()) {
        return record;
    }
    if (!fields->is_object()) {
        return std::nullopt;
    }
    for (const auto& [key, field] : fields->items()) {
        if (auto value = valueOf(field)) {
            record->setObject(key, *std::move(value));
        }
    }
    return record;
}

}  // namespace quendokit::web

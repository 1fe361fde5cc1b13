/// \file
/// Records as JSON, there and back.

#include <bit>
#include <cmath>
#include <cstdint>
#include <limits>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "adapters/cloudkit_web/record_json_internal.hpp"
#include "tests/support/property.hpp"

namespace quendokit::testing {
namespace {

using web::fieldOf;
using web::Json;
using web::makeRecord;
using web::millisecondsOf;
using web::recordOf;
using web::valueOf;

const CKRecordZoneID zone{"Errands"};

CKRecord record(const std::string& name) {
    return *CKRecord::make("Errand", {name, zone});
}

std::string textOf(const CKRecordValue& value) {
    auto field = fieldOf(value);
    return field ? field.value().dump() : field.error().description;
}

TEST(RecordJson, EachKindHasItsTag) {
    EXPECT_EQ(textOf("milk"), R"({"type":"STRING","value":"milk"})");
    EXPECT_EQ(textOf(CKNumber(true)), R"({"type":"INT64","value":1})");
    EXPECT_EQ(textOf(CKNumber(false)), R"({"type":"INT64","value":0})");
    EXPECT_EQ(textOf(CKNumber(std::int64_t{-1})), R"({"type":"INT64","value":-1})");
    EXPECT_EQ(textOf(CKNumber(1.0)), R"({"type":"DOUBLE","value":1.0})");
    EXPECT_EQ(textOf(Date(1'700'003'600)), R"({"type":"TIMESTAMP","value":1700003600000})");
    EXPECT_EQ(textOf(std::vector<std::byte>{std::byte{0xFF}}), R"({"type":"BYTES","value":"/w=="})");
}

TEST(RecordJson, ARecordIsWrittenWithEveryField) {
    CKRecord errand = record("A1");
    errand.setObject("note", "milk");
    errand.setObject("done", CKNumber(true));
    errand.setObject("due", Date(1'700'003'600));
    EXPECT_EQ(recordOf(errand).value(), Json::parse(R"({"recordName":"A1","recordType":"Errand",
        "fields":{"note":{"value":"milk","type":"STRING"},"done":{"value":1,"type":"INT64"},
                  "due":{"value":1700003600000,"type":"TIMESTAMP"}}})"));
}

TEST(RecordJson, DatesAreRoundedDownToWholeMilliseconds) {
    EXPECT_EQ(millisecondsOf(Date(0.0015)), 1);
    EXPECT_EQ(millisecondsOf(Date(-0.0015)), -2);
    EXPECT_EQ(millisecondsOf(Date(-0.001)), -1);
    EXPECT_EQ(millisecondsOf(Date(1.001)), 1'001);
    EXPECT_EQ(millisecondsOf(Date(std::nextafter(1.001, 0))), 1'000);
    EXPECT_EQ(millisecondsOf(Date(1'700'000'000.9999)), 1'700'000'000'999);
}

TEST(RecordJson, WhatIsNoMomentIsRefused) {
    for (const double seconds :
         {std::numeric_limits<double>::quiet_NaN(), std::numeric_limits<double>::infinity(),
          -std::numeric_limits<double>::infinity(), 1e300, 8'796'093'022'208.0, -8'796'093'022'208.0}) {
        EXPECT_FALSE(millisecondsOf(Date(seconds))) << seconds;
    }
}

TEST(RecordJson, AnEchoMovesNoDate) {
    checkProperty(20'000, [](std::int64_t bits) {
        const std::int64_t milliseconds = bits % 8'796'093'022'208'000;
        const auto value = valueOf(Json::parse(R"({"type":"TIMESTAMP","value":)" + std::to_string(milliseconds) + "}"));
        RC_ASSERT(value.has_value());
        RC_ASSERT(millisecondsOf(std::get<Date>(*value)) == milliseconds);
    });
}

TEST(RecordJson, NoDateIsSentThatIsLaterOrAMillisecondEarlier) {
    checkProperty(20'000, [](std::int64_t whole, std::uint32_t fraction) {
        const Date date(static_cast<double>(whole % 10'000'000'000) + fraction / 4'294'967'296.0);
        const auto milliseconds = millisecondsOf(date);
        RC_ASSERT(milliseconds.has_value());
        RC_ASSERT(Date(static_cast<double>(*milliseconds) / 1'000) <= date);
        RC_ASSERT(Date(static_cast<double>(*milliseconds + 1) / 1'000) > date);
    });
}

TEST(RecordJson, TextsThatNoServerTakesAreRefusedByTheNameOfTheirRecord) {
    for (const std::string& text : {std::string("\xFF"), std::string("a\0b", 3), std::string("\xED\xA0\x80")}) {
        CKRecord errand = record("A1");
        errand.setObject("note", text);
        const auto json = recordOf(errand);
        ASSERT_FALSE(json);
        EXPECT_NE(json.error().description.find("record A1: "), std::string::npos) << json.error().description;
    }
    CKRecord errand = record("A1");
    errand.setObject("\xFF", "milk");
    EXPECT_FALSE(recordOf(errand));
    errand = record("A1");
    errand.setObject("due", Date(std::nan("")));
    EXPECT_FALSE(recordOf(errand));
    errand.setObject("due", CKNumber(std::numeric_limits<double>::infinity()));
    EXPECT_FALSE(recordOf(errand));
}

struct ReadField {
    const char* json;
    std::optional<CKRecordValue> value;
};

TEST(RecordJson, FieldsAreReadByTheirTags) {
    const std::optional<CKRecordValue> none;
    const std::vector<ReadField> table = {
        {R"({"type":"INT64","value":0})", CKNumber(std::int64_t{0})},
        {R"({"type":"INT64","value":2})", CKNumber(std::int64_t{2})},
        {R"({"type":"INT64","value":1.0})", CKNumber(1.0)},
        {R"({"type":"INT64","value":true})", CKNumber(true)},
        {R"({"type":"INT64","value":"1"})", none},
        {R"({"type":"INT64","value":9223372036854775807})", CKNumber(INT64_MAX)},
        {R"({"type":"INT64","value":9223372036854775808})", CKNumber(9223372036854775808.0)},
        {R"({"type":"DOUBLE","value":2})", CKNumber(2.0)},
        {R"({"type":"STRING","value":1})", none},
        {R"({"type":"STRING","value":""})", ""},
        {R"({"type":"STRING","value":"a\u0000b"})", none},
        {R"({"type":"TIMESTAMP","value":-1500})", Date(-1.5)},
        {R"({"type":"TIMESTAMP","value":1500.0})", Date(1.5)},
        {R"({"type":"TIMESTAMP","value":"1500"})", none},
        {R"({"type":"TIMESTAMP","value":9223372036854775808})", none},
        {R"({"type":"BYTES","value":"/w=="})", std::vector<std::byte>{std::byte{0xFF}}},
        {R"({"type":"BYTES","value":"no base64"})", none},
        {R"({"type":"REFERENCE","value":{"recordName":"A1"}})", none},
        {R"({"type":"STRING_LIST","value":["a"]})", none},
        {R"({"type":7,"value":"a"})", none},
        {R"({"value":"milk"})", "milk"},
        {R"({"value":3})", CKNumber(std::int64_t{3})},
        {R"({"type":null,"value":3})", CKNumber(std::int64_t{3})},
        // The three forms of nothing.
        {R"({"type":"STRING","value":null})", none},
        {R"({"value":null})", none},
        {R"({})", none},
        {R"("milk")", none},
        {R"(null)", none},
    };
    for (const ReadField& row : table) {
        EXPECT_EQ(valueOf(Json::parse(row.json)), row.value) << row.json;
    }
}

rc::Gen<std::string> printableName() {
    return rc::gen::nonEmpty(rc::gen::container<std::string>(rc::gen::inRange<char>(' ', '\x7F')));
}

CKRecordValue randomValue() {
    switch (*rc::gen::inRange(0, 6)) {
        case 0:
            return *rc::gen::container<std::string>(rc::gen::inRange<char>(1, 127)) + "\xE2\x8F\xB0";
        case 1:
            return CKNumber(*rc::gen::arbitrary<bool>());
        case 2:
            return CKNumber(*rc::gen::arbitrary<std::int64_t>());
        case 3: {
            const auto number = std::bit_cast<double>(*rc::gen::arbitrary<std::uint64_t>());
            return CKNumber(std::isfinite(number) ? number : 0.5);
        }
        case 4:
            return Date(static_cast<double>(*rc::gen::inRange<std::int64_t>(-1'000'000'000'000, 4'000'000'000'000)) /
                        1'000);
        default: {
            std::vector<std::byte> bytes;
            for (const std::uint8_t number : *rc::gen::arbitrary<std::vector<std::uint8_t>>()) {
                bytes.push_back(static_cast<std::byte>(number));
            }
            return bytes;
        }
    }
}

bool isSameOnTheWire(const CKRecordValue& one, const CKRecordValue& other) {
    const auto* number = std::get_if<CKNumber>(&one);
    const auto* otherNumber = std::get_if<CKNumber>(&other);
    if (number == nullptr || otherNumber == nullptr) {
        return one == other;
    }
    // A boolean comes back as the integer that it is there.
    return number->integerValue() == otherNumber->integerValue() &&
           std::bit_cast<std::uint64_t>(number->doubleValue()) ==
               std::bit_cast<std::uint64_t>(otherNumber->doubleValue());
}

TEST(RecordJson, EveryRecordTravelsBothWays) {
    checkProperty(2'000, [] {
        const std::string name = (*printableName()).substr(0, 255);
        CKRecord sent = record(name);
        const int count = *rc::gen::inRange(0, 6);
        for (int i = 0; i < count; ++i) {
            sent.setObject(*printableName(), randomValue());
        }
        auto json = recordOf(sent);
        RC_ASSERT(json.hasValue());
        // As text, as it travels.
        const auto came = makeRecord(Json::parse(json.value().dump()), zone);
        RC_ASSERT(came.has_value());
        RC_ASSERT(came->recordID() == sent.recordID());
        RC_ASSERT(came->recordType() == sent.recordType());
        RC_ASSERT(came->values().size() == sent.values().size());
        for (const auto& [key, value] : sent.values()) {
            RC_ASSERT(came->object(key) != nullptr);
            RC_ASSERT(isSameOnTheWire(value, *came->object(key)));
        }
    });
}

}  // namespace
}  // namespace quendokit::testing

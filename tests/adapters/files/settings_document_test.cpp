/// \file
/// Settings as JSON: values there and back, documents taken apart.

#include <cstdint>
#include <limits>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "adapters/files/property_json_internal.hpp"
#include "adapters/files/settings_document_internal.hpp"
#include "testing/conformance/property_checks.hpp"
#include "tests/support/property.hpp"

namespace quendokit::testing {
namespace {

TEST(PropertyJson, EveryValueIsReadAsItWasWritten) {
    auto values = plainPropertyValues();
    for (PropertyValue& value : awkwardPropertyValues()) {
        values.push_back(std::move(value));
    }
    for (const PropertyValue& value : values) {
        const std::string json = files::jsonOf(value);
        EXPECT_TRUE(files::isJson(json)) << json;
        const auto read = files::propertyOf(json);
        EXPECT_TRUE(read && isSame(*read, value)) << json.substr(0, 100);
    }
}

TEST(PropertyJson, RandomNumbersAndTextsAreReadAsTheyWereWritten) {
    checkProperty(1'000, [](std::int64_t integer, std::uint64_t bits, const std::string& text) {
        for (const PropertyValue& value : {PropertyValue(integer), PropertyValue(std::bit_cast<double>(bits)),
                                           PropertyValue(text), PropertyValue(text + "\xC3\xA9")}) {
            const std::string json = files::jsonOf(value);
            RC_ASSERT(files::isJson(json));
            const auto read = files::propertyOf(json);
            RC_ASSERT(read && isSame(*read, value));
        }
    });
}

TEST(PropertyJson, NumbersKeepTheirKind) {
    EXPECT_EQ(files::propertyOf("1"), PropertyValue(std::int64_t{1}));
    EXPECT_EQ(files::propertyOf("1.0"), PropertyValue(1.0));
    EXPECT_EQ(files::propertyOf("1e0"), PropertyValue(1.0));
    EXPECT_EQ(files::propertyOf("1E2"), PropertyValue(100.0));
    EXPECT_EQ(files::propertyOf("-0"), PropertyValue(std::int64_t{0}));
    EXPECT_EQ(files::propertyOf("9223372036854775807"), PropertyValue(std::numeric_limits<std::int64_t>::max()));
    EXPECT_EQ(files::propertyOf("9223372036854775808"), std::nullopt);
    EXPECT_EQ(files::propertyOf("-9223372036854775808"), PropertyValue(std::numeric_limits<std::int64_t>::min()));
    EXPECT_EQ(files::propertyOf("-9223372036854775809"), std::nullopt);
    EXPECT_EQ(files::propertyOf("1e309"), std::nullopt);
}

TEST(SettingsDocument, ADocumentIsReadAsItWasWritten) {
    checkProperty(500, [](const std::vector<std::pair<std::int64_t, std::int64_t>>& pairs) {
        files::SettingsDocument document;
        for (const auto& [key, value] : pairs) {
            document.insert_or_assign("k\"" + std::to_string(key), std::to_string(value));
        }
        const auto parsed = files::parseSettings(files::renderSettings(document));
        RC_ASSERT(parsed.damage.empty());
        RC_ASSERT(parsed.document == document);
    });
}

const std::string sample =
    R"({"a": [1, {"b": "]}\"\\"}], "é\u0000": "x", "n": -1.5e+3, "t":true , "d":{"data":"AA=="}} )";

TEST(SettingsDocument, EveryBeginningOfAFileIsDamaged) {
    ASSERT_EQ(files::parseSettings(sample).document.size(), 5U);
    for (std::size_t length = 0; length + 1 < sample.size(); ++length) {
        const auto parsed = files::parseSettings(sample.substr(0, length));
        EXPECT_FALSE(parsed.damage.empty()) << length;
        EXPECT_TRUE(parsed.document.empty()) << length;
    }
}

TEST(SettingsDocument, AFileWithAnyByteChangedIsReadOrDamagedAndWrittenAsGoodJson) {
    int damaged = 0;
    int read = 0;
    for (std::size_t at = 0; at < sample.size(); ++at) {
        for (const char byte : std::string_view("{}[]:,\"\\ \n019-.eux\0\x7F\x80\xC3\xA9\xFF", 24)) {
            std::string text = sample;
            text[at] = byte;
            const auto parsed = files::parseSettings(text);
            if (parsed.damage.empty()) {
                ++read;
                const auto again = files::parseSettings(files::renderSettings(parsed.document));
                EXPECT_TRUE(again.damage.empty()) << text << "\n" << again.damage;
                EXPECT_EQ(again.document, parsed.document) << text;
            } else {
                ++damaged;
                EXPECT_TRUE(parsed.document.empty()) << text;
                EXPECT_EQ(parsed.damage.find('\n'), std::string::npos) << parsed.damage;
            }
        }
    }
    EXPECT_GT(damaged, 500);
    EXPECT_GT(read, 300);
}

}  // namespace
}  // namespace quendokit::testing

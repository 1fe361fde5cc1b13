/// \file
/// Bytes as text.

#include "quendokit/platform/base64.hpp"

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "tests/support/property.hpp"

namespace quendokit::testing {
namespace {

std::string base64Of(const std::string& text) {
    return base64(std::as_bytes(std::span(text)));
}

TEST(Base64, EndsWithItsPadding) {
    EXPECT_EQ(base64Of(""), "");
    EXPECT_EQ(base64Of("f"), "Zg==");
    EXPECT_EQ(base64Of("fo"), "Zm8=");
    EXPECT_EQ(base64Of("foo"), "Zm9v");
    EXPECT_EQ(base64Of("foob"), "Zm9vYg==");
    EXPECT_EQ(base64Of("\xFB\xFF"), "+/8=");
}

TEST(Base64, ReadsOnlyWhatItWrites) {
    for (const char* text :
         {"Z", "Zg", "Zg=", "Zg==Zg==", "Zh==", "Zm9=", "Z===", "====", "Zm9v\n", "Zm 9", "Zm9-", "=", "Zg==="}) {
        EXPECT_FALSE(fromBase64(text)) << text;
    }
    checkProperty(1'000, [](const std::vector<std::uint8_t>& numbers) {
        std::vector<std::byte> bytes;
        for (const std::uint8_t number : numbers) {
            bytes.push_back(static_cast<std::byte>(number));
        }
        RC_ASSERT(fromBase64(base64(bytes)) == bytes);
    });
}

}  // namespace
}  // namespace quendokit::testing

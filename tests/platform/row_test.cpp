#include "quendokit/platform/row.hpp"

#include <string>

#include <gtest/gtest.h>

namespace quendokit {
namespace {

TEST(ValueRow, GivesBackWhatWasWritten) {
    ValueRow row(4);
    row.boolean(0, true);
    row.integer(1, -5);
    row.text(2, std::string_view("a\0b", 3));
    row.date(3, Date(0.5));
    EXPECT_TRUE(row.boolean(0));
    EXPECT_EQ(row.integer(1), -5);
    EXPECT_EQ(row.text(2), std::string_view("a\0b", 3));
    EXPECT_EQ(row.date(3), Date(0.5));
    EXPECT_EQ(row.value(1), Value(std::int64_t{-5}));
}

TEST(ValueRow, OwnsItsTexts) {
    ValueRow row(1);
    {
        const std::string text(100, 'x');
        row.text(0, text);
    }
    EXPECT_EQ(row.text(0), std::string(100, 'x'));
    row.setValue(0, std::string("y"));
    EXPECT_EQ(row.text(0), "y");
}

}  // namespace
}  // namespace quendokit

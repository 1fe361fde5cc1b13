#include "quendokit/platform/object_schema.hpp"

#include <gtest/gtest.h>

namespace quendokit {
namespace {

ObjectSchema schema(std::string primaryKey = "key") {
    using enum PropertyType;
    return {.className = "Thing",
            .properties = {{"key", text, std::nullopt},
                           {"flag", boolean, Value(false)},
                           {"count", integer, Value(std::int64_t{1})},
                           {"moment", date, CurrentInstant()}},
            .primaryKey = std::move(primaryKey),
            .ignoredProperties = {"ignored"},
            .indexHints = {}};
}

TEST(Value, KnowsItsType) {
    EXPECT_EQ(typeOf(Value(true)), PropertyType::boolean);
    EXPECT_EQ(typeOf(Value(std::int64_t{1})), PropertyType::integer);
    EXPECT_EQ(typeOf(Value("text")), PropertyType::text);
    EXPECT_EQ(typeOf(Value(Date(1))), PropertyType::date);
}

TEST(Value, IsNeverEqualToOneOfAnotherType) {
    EXPECT_NE(Value(true), Value(std::int64_t{1}));
    EXPECT_NE(Value(std::int64_t{1}), Value(Date(1)));
    EXPECT_NE(Value(std::int64_t{1}), Value("1"));
}

TEST(PropertyType, HasANameForMessages) {
    EXPECT_EQ(nameOf(PropertyType::boolean), "boolean");
    EXPECT_EQ(nameOf(PropertyType::integer), "integer");
    EXPECT_EQ(nameOf(PropertyType::text), "text");
    EXPECT_EQ(nameOf(PropertyType::date), "date");
}

TEST(ObjectSchema, NumbersItsPropertiesInTheirOrder) {
    EXPECT_EQ(schema().indexOf("key"), 0U);
    EXPECT_EQ(schema().indexOf("moment"), 3U);
    EXPECT_EQ(schema().checkedIndexOf("count"), 2U);
    EXPECT_EQ(schema().checkedIndexOf("flag", PropertyType::boolean), 1U);
    EXPECT_EQ(schema().primaryKeyIndex(), 0U);
}

TEST(ObjectSchema, HasNoNumberForOtherNames) {
    for (const std::string_view name : {"", "Key", "KEY", "ke", "keys", "ignored", " key"}) {
        EXPECT_EQ(schema().indexOf(name), std::nullopt) << name;
    }
}

TEST(ObjectSchemaDeathTest, AnUnknownPropertyIsFatal) {
    EXPECT_DEATH(static_cast<void>(schema().checkedIndexOf("colour")), "Thing has no property \"colour\"");
    EXPECT_DEATH(static_cast<void>(schema().checkedIndexOf("colour", PropertyType::text)),
                 "Thing has no property \"colour\"");
}

TEST(ObjectSchemaDeathTest, APropertyOfAnotherTypeIsFatal) {
    EXPECT_DEATH(static_cast<void>(schema().checkedIndexOf("flag", PropertyType::integer)),
                 "Thing.flag is a boolean, not a integer");
}

TEST(ObjectSchemaDeathTest, APrimaryKeyThatIsNoTextPropertyIsFatal) {
    EXPECT_DEATH(static_cast<void>(schema("ignored").primaryKeyIndex()), "Thing has no property \"ignored\"");
    EXPECT_DEATH(static_cast<void>(schema("count").primaryKeyIndex()), "Thing.count is a integer, not a text");
}

}  // namespace
}  // namespace quendokit

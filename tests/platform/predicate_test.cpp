#include "quendokit/platform/predicate.hpp"

#include <cmath>
#include <limits>
#include <string>

#include <gtest/gtest.h>

#include "tests/platform/predicate_schema.hpp"

namespace quendokit {
namespace {

/// Whether a thing with these properties meets the predicate.
class Matching : public ::testing::Test {
protected:
    [[nodiscard]] bool matches(const std::string& format, const std::vector<Value>& arguments = {}) const {
        const Predicate predicate = Predicate::parse(format, predicateSchema());
        predicate.checkArguments(arguments);
        return predicate.matches(ValueRow({Value(key), Value(flag), Value(number), Value(moment)}), arguments);
    }

    std::string key = "b";
    bool flag = true;
    std::int64_t number = 5;
    Date moment = Date(0.5);
};

using PredicateMatching = Matching;

TEST_F(PredicateMatching, ComparesIntegers) {
    EXPECT_TRUE(matches("_number = 5"));
    EXPECT_FALSE(matches("_number = 6"));
    EXPECT_TRUE(matches("_number != 6"));
    EXPECT_FALSE(matches("_number != 5"));
    EXPECT_TRUE(matches("_number < 6"));
    EXPECT_FALSE(matches("_number < 5"));
    EXPECT_TRUE(matches("_number > 4"));
    EXPECT_FALSE(matches("_number > 5"));
    number = std::numeric_limits<std::int64_t>::max();
    EXPECT_TRUE(matches("_number > 9223372036854775806"));
    EXPECT_FALSE(matches("_number = %@", {Value(number - 1)}));
}

TEST_F(PredicateMatching, ComparesDatesExactly) {
    EXPECT_TRUE(matches("moment2 = %@", {Value(Date(0.5))}));
    EXPECT_FALSE(matches("moment2 < %@", {Value(Date(0.5))}));
    EXPECT_FALSE(matches("moment2 > %@", {Value(Date(0.5))}));
    const Date next(std::nextafter(0.5, 1));
    EXPECT_TRUE(matches("moment2 < %@", {Value(next)}));
    EXPECT_TRUE(matches("moment2 != %@", {Value(next)}));
    EXPECT_TRUE(matches("moment2 < %@", {Value(Date(std::numeric_limits<double>::infinity()))}));
}

TEST_F(PredicateMatching, ComparesTextsByBytes) {
    EXPECT_TRUE(matches("key > %@", {Value("a")}));
    EXPECT_TRUE(matches("key > %@", {Value("Z")}));
    EXPECT_TRUE(matches("key < %@", {Value("b ")}));
    EXPECT_TRUE(matches("key < %@", {Value("\xC3\xA4")}));
    EXPECT_FALSE(matches("key = %@", {Value(std::string("b\0", 2))}));
    key = std::string("b\0", 2);
    EXPECT_TRUE(matches("key = %@", {Value(key)}));
    EXPECT_TRUE(matches("key > %@", {Value("b")}));
}

TEST_F(PredicateMatching, ComparesBooleans) {
    EXPECT_TRUE(matches("flag = true"));
    EXPECT_FALSE(matches("flag = false"));
    EXPECT_TRUE(matches("flag != %@", {Value(false)}));
}

TEST_F(PredicateMatching, CombinesConditions) {
    for (const bool a : {false, true}) {
        for (const bool b : {false, true}) {
            flag = a;
            number = b ? 1 : 0;
            EXPECT_EQ(matches("flag = true AND _number = 1"), a && b);
            EXPECT_EQ(matches("flag = true OR _number = 1"), a || b);
            EXPECT_EQ(matches("NOT flag = true"), !a);
            EXPECT_EQ(matches("NOT (flag = true OR _number = 1)"), !(a || b));
            EXPECT_EQ(matches("NOT flag = true OR _number = 1"), !a || b);
        }
    }
}

TEST_F(PredicateMatching, TakesArgumentsInTheirOrder) {
    EXPECT_TRUE(matches("_number > %@ AND _number < %@", {Value(std::int64_t{4}), Value(std::int64_t{6})}));
    EXPECT_FALSE(matches("_number > %@ AND _number < %@", {Value(std::int64_t{6}), Value(std::int64_t{4})}));
}

using PredicateArgumentsDeathTest = Matching;

TEST_F(PredicateArgumentsDeathTest, AWrongNumberIsFatal) {
    EXPECT_DEATH(static_cast<void>(matches("flag = %@")), "predicate \"flag = %@\" takes 1 arguments, not 0");
    EXPECT_DEATH(static_cast<void>(matches("flag = true", {Value(true)})), "takes 0 arguments, not 1");
}

TEST_F(PredicateArgumentsDeathTest, AWrongTypeIsFatal) {
    EXPECT_DEATH(static_cast<void>(matches("flag = %@ AND _number = %@", {Value(true), Value(true)})),
                 "argument 2: a integer expected, not a boolean");
    EXPECT_DEATH(static_cast<void>(matches("key = %@", {Value(Date(1))})), "argument 1: a text expected, not a date");
    EXPECT_DEATH(static_cast<void>(matches("moment2 = %@", {Value(std::int64_t{1})})),
                 "argument 1: a date expected, not a integer");
    EXPECT_DEATH(static_cast<void>(matches("flag = %@", {Value("true")})), "a boolean expected, not a text");
}

TEST_F(PredicateArgumentsDeathTest, ADateThatIsNoneIsFatal) {
    EXPECT_DEATH(static_cast<void>(matches("moment2 > %@", {Value(Date(std::nan("")))})),
                 "argument 1 is not a date: NaN");
}

}  // namespace
}  // namespace quendokit

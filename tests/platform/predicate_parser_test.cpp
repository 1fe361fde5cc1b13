#include <string>

#include <gtest/gtest.h>

#include "quendokit/platform/predicate.hpp"
#include "tests/platform/predicate_schema.hpp"

namespace quendokit {
namespace {

std::string show(const Value& value) {
    if (const bool* flag = std::get_if<bool>(&value)) {
        return *flag ? "true" : "false";
    }
    return std::to_string(std::get<std::int64_t>(value));
}

/// The tree with every operation in parentheses: "(flag=true AND (NOT _number<%0))".
std::string show(const Predicate::Node& node) {
    const auto join = [&node](const std::string& word) {
        std::string text = "(" + show(node.children.front());
        for (std::size_t i = 1; i < node.children.size(); ++i) {
            text += " " + word + " " + show(node.children[i]);
        }
        return text + ")";
    };
    switch (node.kind) {
        case Predicate::Kind::conjunction:
            return join("AND");
        case Predicate::Kind::disjunction:
            return join("OR");
        case Predicate::Kind::negation:
            return "(NOT " + show(node.children.front()) + ")";
        case Predicate::Kind::comparison:
            break;
    }
    const auto& [property, comparison, operand] = node.comparison;
    const std::string sign = comparison == ComparisonOperator::equal      ? "="
                             : comparison == ComparisonOperator::notEqual ? "!="
                             : comparison == ComparisonOperator::less     ? "<"
                                                                          : ">";
    const auto* argument = std::get_if<Predicate::Argument>(&operand);
    return predicateSchema().properties[property].name + sign +
           (argument != nullptr ? "%" + std::to_string(argument->index) : show(std::get<Value>(operand)));
}

std::string parsed(const std::string& format) {
    return show(Predicate::parse(format, predicateSchema()).root());
}

TEST(PredicateParser, ReadsEachOperator) {
    EXPECT_EQ(parsed("_number = 1"), "_number=1");
    EXPECT_EQ(parsed("_number == 1"), "_number=1");
    EXPECT_EQ(parsed("_number != 1"), "_number!=1");
    EXPECT_EQ(parsed("_number < 1"), "_number<1");
    EXPECT_EQ(parsed("_number > 1"), "_number>1");
    EXPECT_EQ(parsed("flag = true"), "flag=true");
    EXPECT_EQ(parsed("flag == false"), "flag=false");
    EXPECT_EQ(parsed("flag != true"), "flag!=true");
    EXPECT_EQ(parsed("key < %@"), "key<%0");
    EXPECT_EQ(parsed("moment2 > %@"), "moment2>%0");
}

TEST(PredicateParser, ReadsIntegersOf64Bits) {
    EXPECT_EQ(parsed("_number = -1"), "_number=-1");
    EXPECT_EQ(parsed("_number = 0"), "_number=0");
    EXPECT_EQ(parsed("_number = 007"), "_number=7");
    EXPECT_EQ(parsed("_number = 9223372036854775807"), "_number=9223372036854775807");
    EXPECT_EQ(parsed("_number = -9223372036854775808"), "_number=-9223372036854775808");
}

TEST(PredicateParser, NeedsNoBlanksAndMindsNone) {
    EXPECT_EQ(parsed("_number=-1"), "_number=-1");
    EXPECT_EQ(parsed("_number<1&&flag!=true||flag=%@"), "((_number<1 AND flag!=true) OR flag=%0)");
    EXPECT_EQ(parsed(" \t\n _number \r\n =  1  "), "_number=1");
    EXPECT_EQ(parsed("(flag=true)AND(flag=false)"), "(flag=true AND flag=false)");
}

TEST(PredicateParser, ReadsKeywordsInAnyCase) {
    EXPECT_EQ(parsed("flag = TRUE and flag = False"), "(flag=true AND flag=false)");
    EXPECT_EQ(parsed("flag = tRuE Or nOt flag = FALSE"), "(flag=true OR (NOT flag=false))");
    EXPECT_EQ(parsed("NOT flag = true AND flag = true OR flag = true"),
              "(((NOT flag=true) AND flag=true) OR flag=true)");
}

TEST(PredicateParser, AndBindsMoreTightlyThanOr) {
    EXPECT_EQ(parsed("_number = 1 OR _number = 2 AND _number = 3"), "(_number=1 OR (_number=2 AND _number=3))");
    EXPECT_EQ(parsed("_number = 1 AND _number = 2 OR _number = 3"), "((_number=1 AND _number=2) OR _number=3)");
    EXPECT_EQ(parsed("_number = 1 || _number = 2 && _number = 3 || _number = 4"),
              "(_number=1 OR (_number=2 AND _number=3) OR _number=4)");
}

TEST(PredicateParser, ChainsAreFlat) {
    EXPECT_EQ(parsed("_number = 1 AND _number = 2 && _number = 3"), "(_number=1 AND _number=2 AND _number=3)");
    EXPECT_EQ(parsed("_number = 1 OR _number = 2 || _number = 3"), "(_number=1 OR _number=2 OR _number=3)");
}

TEST(PredicateParser, ParenthesesGroupAndLeaveNoTrace) {
    EXPECT_EQ(parsed("(_number = 1 OR _number = 2) AND _number = 3"), "((_number=1 OR _number=2) AND _number=3)");
    EXPECT_EQ(parsed("((_number = 1))"), "_number=1");
    EXPECT_EQ(parsed("_number = 1 AND (_number = 2 AND _number = 3)"), "(_number=1 AND (_number=2 AND _number=3))");
}

TEST(PredicateParser, NotBindsMostTightly) {
    EXPECT_EQ(parsed("NOT flag = true AND flag = false"), "((NOT flag=true) AND flag=false)");
    EXPECT_EQ(parsed("NOT (flag = true AND flag = false)"), "(NOT (flag=true AND flag=false))");
    EXPECT_EQ(parsed("NOT NOT flag = true"), "(NOT (NOT flag=true))");
    EXPECT_EQ(parsed("flag = true AND NOT flag = false"), "(flag=true AND (NOT flag=false))");
}

TEST(PredicateParser, NumbersArgumentsAndKnowsTheirTypes) {
    const auto predicate =
        Predicate::parse("(flag = %@ AND _number != %@) OR (moment2 < %@ AND key = %@)", predicateSchema());
    EXPECT_EQ(show(predicate.root()), "((flag=%0 AND _number!=%1) OR (moment2<%2 AND key=%3))");
    using enum PropertyType;
    EXPECT_EQ(predicate.argumentTypes(), (std::vector{boolean, integer, date, text}));
    EXPECT_TRUE(Predicate::parse("flag = true", predicateSchema()).argumentTypes().empty());
}

struct Mistake {
    std::string format;
    /// Counted from 1.
    int column;
    std::string message;
};

class PredicateParserDeathTest : public ::testing::TestWithParam<Mistake> {};

TEST_P(PredicateParserDeathTest, AMistakeIsFatalAndPointedAt) {
    const Mistake& mistake = GetParam();
    std::string expected = "Fatal error: predicate \"" + mistake.format + "\", column " +
                           std::to_string(mistake.column) + ": " + mistake.message + "\n";
    std::string escaped;
    for (const char c : expected) {
        if (std::string_view("()|.+*?^$[]{}\\").find(c) != std::string_view::npos) {
            escaped += '\\';
        }
        escaped += c;
    }
    EXPECT_DEATH(static_cast<void>(Predicate::parse(mistake.format, predicateSchema())), escaped);
}

const std::string property = "a property of Thing expected";
const std::string operation = "=, ==, !=, < or > expected";
const std::string operand = "true, false, an integer or %@ expected";
const std::string goOn = "AND, OR or the end expected";
const std::string noOrder = "booleans have no order: =, == or != expected";
const std::string ends = ", but the predicate ends";

INSTANTIATE_TEST_SUITE_P(
    Properties, PredicateParserDeathTest,
    ::testing::Values(Mistake{"", 1, property + ends}, Mistake{"   ", 4, property + ends},
                      Mistake{"colour = 1", 1, property + ", not \"colour\""},
                      Mistake{"  Flag = true", 3, property + ", not \"Flag\""},
                      Mistake{"1 = flag", 1, property + ", not \"1\""},
                      Mistake{"%@ = flag", 1, property + ", not \"%@\""}, Mistake{"= 1", 1, property + ", not \"=\""},
                      Mistake{"flag = true AND", 16, property + ends}, Mistake{"flag = true OR ", 16, property + ends},
                      Mistake{"flag = true && || flag = true", 16, property + ", not \"||\""},
                      Mistake{"NOT", 4, property + ends}, Mistake{"()", 2, property + ", not \")\""},
                      Mistake{"(", 2, property + ends}, Mistake{"NOT AND flag = true", 5, property + ", not \"AND\""},
                      Mistake{"flag = true AND\nwrong = 1", 17, property + ", not \"wrong\""}));

INSTANTIATE_TEST_SUITE_P(Operators, PredicateParserDeathTest,
                         ::testing::Values(Mistake{"flag", 5, operation + ends},
                                           Mistake{"flag true", 6, operation + ", not \"true\""},
                                           Mistake{"flag AND flag = true", 6, operation + ", not \"AND\""},
                                           Mistake{"_number ! 1", 9, operation + ", not \"!\""},
                                           Mistake{"_number IN 1", 9, operation + ", not \"IN\""},
                                           Mistake{"flag < true", 6, noOrder + ", not \"<\""},
                                           Mistake{"flag > %@", 6, noOrder + ", not \">\""},
                                           Mistake{"flag = true AND flag <false", 22, noOrder + ", not \"<\""}));

INSTANTIATE_TEST_SUITE_P(
    Operands, PredicateParserDeathTest,
    ::testing::Values(
        Mistake{"_number =", 10, operand + ends}, Mistake{"_number = ", 11, operand + ends},
        Mistake{"_number = flag", 11, operand + ", not \"flag\""}, Mistake{"_number <= 1", 10, operand + ", not \"=\""},
        Mistake{"_number => 1", 10, operand + ", not \">\""}, Mistake{"_number = + 1", 11, operand + ", not \"+\""},
        Mistake{"_number = - 1", 11, operand + ", not \"-\""},
        Mistake{"_number = 1AND", 11, operand + ", not \"1AND\""},
        Mistake{"_number = 0x10", 11, operand + ", not \"0x10\""},
        Mistake{"_number = 9223372036854775808", 11, operand + ", not \"9223372036854775808\""},
        Mistake{"_number = -9223372036854775809", 11, operand + ", not \"-9223372036854775809\""},
        Mistake{"_number = %", 11, operand + ", not \"%\""}, Mistake{"_number = %d", 11, operand + ", not \"%\""},
        Mistake{"key = 'a'", 7, operand + ", not \"'\""}, Mistake{"flag = nil", 8, operand + ", not \"nil\""},
        Mistake{"flag = (true)", 8, operand + ", not \"(\""}));

INSTANTIATE_TEST_SUITE_P(
    Types, PredicateParserDeathTest,
    ::testing::Values(Mistake{"flag = 1", 8, "flag is a boolean: another value expected, not \"1\""},
                      Mistake{"_number = true", 11, "_number is a integer: another value expected, not \"true\""},
                      Mistake{"key = 1", 7, "key is a text: another value expected, not \"1\""},
                      Mistake{"key = false", 7, "key is a text: another value expected, not \"false\""},
                      Mistake{"moment2 > 0", 11, "moment2 is a date: another value expected, not \"0\""}));

INSTANTIATE_TEST_SUITE_P(Ends, PredicateParserDeathTest,
                         ::testing::Values(Mistake{"_number = 1.5", 12, goOn + ", not \".\""},
                                           Mistake{"flag = true flag = false", 13, goOn + ", not \"flag\""},
                                           Mistake{"flag = true)", 12, goOn + ", not \")\""},
                                           Mistake{"flag = true & flag = false", 13, goOn + ", not \"&\""},
                                           Mistake{"flag = true;", 12, goOn + ", not \";\""},
                                           Mistake{"(flag = true", 13, "\")\" expected" + ends},
                                           Mistake{"(flag = true flag", 14, "\")\" expected, not \"flag\""},
                                           Mistake{"((flag = true) OR flag = true", 30, "\")\" expected" + ends},
                                           Mistake{"flag = %@ %@", 11, goOn + ", not \"%@\""}));

}  // namespace
}  // namespace quendokit

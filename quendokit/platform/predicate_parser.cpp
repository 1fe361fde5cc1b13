#include <cctype>
#include <charconv>
#include <cstdint>
#include <optional>
#include <string>
#include <utility>

#include "quendokit/platform/fatal_error.hpp"
#include "quendokit/platform/predicate_parser_internal.hpp"

namespace quendokit {
namespace {

bool isNameStart(char c) {
    return std::isalpha(static_cast<unsigned char>(c)) != 0 || c == '_';
}
bool isNamePart(char c) {
    return isNameStart(c) || std::isdigit(static_cast<unsigned char>(c)) != 0;
}

bool equalsIgnoringCase(std::string_view text, std::string_view lowerCase) {
    if (text.size() != lowerCase.size()) {
        return false;
    }
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (std::tolower(static_cast<unsigned char>(text[i])) != lowerCase[i]) {
            return false;
        }
    }
    return true;
}

class Parser {
public:
    Parser(std::string_view format, const ObjectSchema& schema) : format_(format), schema_(schema) { advance(); }

    ParsedPredicate parse() {
        Predicate::Node root = parseDisjunction();
        if (!token_.empty()) {
            fail("AND, OR or the end expected");
        }
        return {std::move(root), std::move(argumentTypes_)};
    }

private:
    /// Moves to the next token: a name, an integer, "%@", an operator or a parenthesis; empty at the end.
    void advance() {
        position_ += token_.size();
        while (position_ < format_.size() && std::isspace(static_cast<unsigned char>(format_[position_])) != 0) {
            ++position_;
        }
        token_ = format_.substr(position_, tokenLength());
    }

    [[nodiscard]] std::size_t tokenLength() const {
        const std::string_view rest = format_.substr(position_);
        if (rest.empty()) {
            return 0;
        }
        for (const std::string_view two : {"==", "!=", "&&", "||", "%@"}) {
            if (rest.starts_with(two)) {
                return 2;
            }
        }
        std::size_t length = 1;
        if (isNameStart(rest[0]) || rest[0] == '-' || std::isdigit(static_cast<unsigned char>(rest[0])) != 0) {
            while (length < rest.size() && isNamePart(rest[length])) {
                ++length;
            }
        }
        return length;
    }

    [[nodiscard]] bool isWord(std::string_view lowerCase) const { return equalsIgnoringCase(token_, lowerCase); }

    [[noreturn]] void fail(const std::string& what) const {
        fatalError("predicate \"" + std::string(format_) + "\", column " + std::to_string(position_ + 1) + ": " + what +
                   (token_.empty() ? ", but the predicate ends" : ", not \"" + std::string(token_) + "\""));
    }

    Predicate::Node parseDisjunction() {
        return parseChain(Predicate::Kind::disjunction, "or", "||", [this] { return parseConjunction(); });
    }

    Predicate::Node parseConjunction() {
        return parseChain(Predicate::Kind::conjunction, "and", "&&", [this] { return parseNegation(); });
    }

    template <typename ParseOperand>
    Predicate::Node parseChain(Predicate::Kind kind, std::string_view word, std::string_view sign,
                               ParseOperand operand) {
        Predicate::Node first = operand();
        if (!isWord(word) && token_ != sign) {
            return first;
        }
        Predicate::Node chain{.kind = kind, .children = {}};
        chain.children.push_back(std::move(first));
        while (isWord(word) || token_ == sign) {
            advance();
            chain.children.push_back(operand());
        }
        return chain;
    }

    Predicate::Node parseNegation() {
        if (isWord("not")) {
            advance();
            Predicate::Node negation{.kind = Predicate::Kind::negation, .children = {}};
            negation.children.push_back(parseNegation());
            return negation;
        }
        if (token_ != "(") {
            return parseComparison();
        }
        advance();
        Predicate::Node inner = parseDisjunction();
        if (token_ != ")") {
            fail("\")\" expected");
        }
        advance();
        return inner;
    }

    Predicate::Node parseComparison() {
        if (token_.empty() || !isNameStart(token_[0])) {
            fail("a property of " + schema_.className + " expected");
        }
        const auto property = schema_.indexOf(token_);
        if (!property) {
            fail("a property of " + schema_.className + " expected");
        }
        advance();
        const ComparisonOperator comparison = parseOperator(schema_.properties[*property].type);
        auto operand = parseOperand(schema_.properties[*property]);
        return {Predicate::Kind::comparison, {*property, comparison, std::move(operand)}, {}};
    }

    ComparisonOperator parseOperator(PropertyType type) {
        std::optional<ComparisonOperator> found;
        if (token_ == "=" || token_ == "==") {
            found = ComparisonOperator::equal;
        } else if (token_ == "!=") {
            found = ComparisonOperator::notEqual;
        } else if (token_ == "<") {
            found = ComparisonOperator::less;
        } else if (token_ == ">") {
            found = ComparisonOperator::greater;
        }
        if (!found) {
            fail("=, ==, !=, < or > expected");
        }
        const bool ordering = *found == ComparisonOperator::less || *found == ComparisonOperator::greater;
        if (ordering && type == PropertyType::boolean) {
            fail("booleans have no order: =, == or != expected");
        }
        advance();
        return *found;
    }

    std::variant<Value, Predicate::Argument> parseOperand(const Property& property) {
        if (token_ == "%@") {
            advance();
            argumentTypes_.push_back(property.type);
            return Predicate::Argument{argumentTypes_.size() - 1};
        }
        std::optional<Value> literal;
        std::int64_t number = 0;
        const char* end = token_.data() + token_.size();
        if (isWord("true")) {
            literal = true;
        } else if (isWord("false")) {
            literal = false;
        } else if (const auto [stop, error] = std::from_chars(token_.data(), end, number);
                   error == std::errc() && stop == end && !token_.empty()) {
            literal = number;
        }
        if (!literal) {
            fail("true, false, an integer or %@ expected");
        }
        if (typeOf(*literal) != property.type) {
            fail(property.name + " is a " + std::string(nameOf(property.type)) + ": another value expected");
        }
        advance();
        return *std::move(literal);
    }

    std::string_view format_;
    const ObjectSchema& schema_;
    std::size_t position_ = 0;
    std::string_view token_;
    std::vector<PropertyType> argumentTypes_;
};

}  // namespace

ParsedPredicate parsePredicate(std::string_view format, const ObjectSchema& schema) {
    return Parser(format, schema).parse();
}

}  // namespace quendokit

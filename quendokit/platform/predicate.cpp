#include "quendokit/platform/predicate.hpp"

#include <algorithm>
#include <cmath>
#include <utility>

#include "quendokit/platform/fatal_error.hpp"
#include "quendokit/platform/predicate_parser_internal.hpp"

namespace quendokit {
namespace {

template <typename T>
bool holds(ComparisonOperator comparison, const T& left, const T& right) {
    switch (comparison) {
        case ComparisonOperator::equal:
            return left == right;
        case ComparisonOperator::notEqual:
            return left != right;
        case ComparisonOperator::less:
            return left < right;
        case ComparisonOperator::greater:
            return left > right;
    }
    return false;
}

bool holds(const Predicate::Comparison& comparison, const Row& row, std::span<const Value> arguments) {
    const auto* argument = std::get_if<Predicate::Argument>(&comparison.operand);
    const Value& operand = argument != nullptr ? arguments[argument->index] : std::get<Value>(comparison.operand);
    const std::size_t property = comparison.property;
    switch (typeOf(operand)) {
        case PropertyType::boolean:
            return holds(comparison.comparison, row.boolean(property), std::get<bool>(operand));
        case PropertyType::integer:
            return holds(comparison.comparison, row.integer(property), std::get<std::int64_t>(operand));
        case PropertyType::text:
            return holds(comparison.comparison, row.text(property), std::string_view(std::get<std::string>(operand)));
        case PropertyType::date:
            return holds(comparison.comparison, row.date(property), std::get<Date>(operand));
    }
    return false;
}

bool holds(const Predicate::Node& node, const Row& row, std::span<const Value> arguments) {
    const auto child = [&](const Predicate::Node& inner) { return holds(inner, row, arguments); };
    switch (node.kind) {
        case Predicate::Kind::comparison:
            return holds(node.comparison, row, arguments);
        case Predicate::Kind::conjunction:
            return std::all_of(node.children.begin(), node.children.end(), child);
        case Predicate::Kind::disjunction:
            return std::any_of(node.children.begin(), node.children.end(), child);
        case Predicate::Kind::negation:
            return !child(node.children.front());
    }
    return false;
}

}  // namespace

Predicate::Predicate(std::string format, Node root, std::vector<PropertyType> argumentTypes)
    : format_(std::move(format)), root_(std::move(root)), argumentTypes_(std::move(argumentTypes)) {}

Predicate Predicate::parse(std::string_view format, const ObjectSchema& schema) {
    ParsedPredicate parsed = parsePredicate(format, schema);
    return {std::string(format), std::move(parsed.root), std::move(parsed.argumentTypes)};
}

void Predicate::checkArguments(std::span<const Value> arguments) const {
    if (arguments.size() != argumentTypes_.size()) {
        fatalError("predicate \"" + format_ + "\" takes " + std::to_string(argumentTypes_.size()) + " arguments, not " +
                   std::to_string(arguments.size()));
    }
    for (std::size_t i = 0; i < arguments.size(); ++i) {
        if (typeOf(arguments[i]) != argumentTypes_[i]) {
            fatalError("predicate \"" + format_ + "\", argument " + std::to_string(i + 1) + ": a " +
                       std::string(nameOf(argumentTypes_[i])) + " expected, not a " +
                       std::string(nameOf(typeOf(arguments[i]))));
        }
        const Date* date = std::get_if<Date>(&arguments[i]);
        if (date != nullptr && std::isnan(date->timeIntervalSince1970())) {
            // Databases disagree on what compares with NaN, and no caller can mean it.
            fatalError("predicate \"" + format_ + "\", argument " + std::to_string(i + 1) + " is not a date: NaN");
        }
    }
}

bool Predicate::matches(const Row& row, std::span<const Value> arguments) const {
    return holds(root_, row, arguments);
}

}  // namespace quendokit

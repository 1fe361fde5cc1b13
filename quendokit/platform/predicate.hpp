#pragma once
/// \file
/// `Predicate`: a condition on an object, written as text such as "_device = %@ AND shown = false".

#include <cstddef>
#include <span>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "quendokit/platform/export.hpp"
#include "quendokit/platform/object_schema.hpp"
#include "quendokit/platform/row.hpp"

namespace quendokit {

enum class ComparisonOperator { equal, notEqual, less, greater };

/// A condition on the objects of one class. Plain value; any thread.
///
/// The grammar, keywords in any case:
///
///     or         = and { ("OR" | "||") and }
///     and        = not { ("AND" | "&&") not }
///     not        = "NOT" not | "(" or ")" | comparison
///     comparison = property ("=" | "==" | "!=" | "<" | ">") (integer | "true" | "false" | "%@")
///
/// "%@" stands for the next argument. A property is compared with a value of its own type; booleans have no order.
/// Texts are ordered by their bytes.
class QUENDOKIT_EXPORT Predicate {
public:
    /// The place of the n-th argument, counted from 0.
    struct Argument {
        std::size_t index;
    };
    /// One property against one value.
    struct Comparison {
        std::size_t property;
        ComparisonOperator comparison;
        std::variant<Value, Argument> operand;
    };
    enum class Kind { comparison, conjunction, disjunction, negation };
    /// A node of the condition's tree. `comparison` counts when `kind` says so; otherwise `children`, exactly one under
    /// a negation and at least two under the others.
    struct Node {
        Kind kind;
        Comparison comparison{0, ComparisonOperator::equal, Value(false)};
        std::vector<Node> children;
    };

    /// Reads `format`. Fatal if it breaks the grammar, names no property of `schema`, or compares values of different
    /// types; the message points at the place.
    [[nodiscard]] static Predicate parse(std::string_view format, const ObjectSchema& schema);

    [[nodiscard]] const Node& root() const noexcept { return root_; }

    /// The types that the arguments must have, in order.
    [[nodiscard]] const std::vector<PropertyType>& argumentTypes() const noexcept { return argumentTypes_; }

    /// Fatal if `arguments` differ from `argumentTypes` in number or type, or one is a NaN date.
    void checkArguments(std::span<const Value> arguments) const;

    /// Whether the object in `row` meets the condition. `arguments` have been checked.
    [[nodiscard]] bool matches(const Row& row, std::span<const Value> arguments) const;

private:
    Predicate(std::string format, Node root, std::vector<PropertyType> argumentTypes);

    std::string format_;
    Node root_;
    std::vector<PropertyType> argumentTypes_;
};

}  // namespace quendokit

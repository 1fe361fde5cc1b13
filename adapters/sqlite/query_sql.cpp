#include <algorithm>
#include <optional>
#include <utility>
#include <variant>

#include "adapters/sqlite/query_sql_internal.hpp"
#include "adapters/sqlite/schema_sql_internal.hpp"

namespace quendokit::sqlite {
namespace {

/// A condition of one filter, or the opposite of it.
struct Term {
    const Predicate::Node* node;
    std::size_t filter;
    bool negated = false;
};

/// Takes a conjunction apart, so that each condition can be seen by itself.
void addConjuncts(const Predicate::Node& node, std::size_t filter, std::vector<Term>& terms) {
    if (node.kind != Predicate::Kind::conjunction) {
        terms.push_back({&node, filter});
        return;
    }
    for (const Predicate::Node& child : node.children) {
        addConjuncts(child, filter, terms);
    }
}

/// One list of conditions for each side of the first disjunction. A side leaves out what the sides before it hold.
std::vector<std::vector<Term>> branchesOf(const std::vector<Term>& terms) {
    const auto disjunction = std::find_if(
        terms.begin(), terms.end(), [](const Term& term) { return term.node->kind == Predicate::Kind::disjunction; });
    if (disjunction == terms.end()) {
        return {terms};
    }
    std::vector<std::vector<Term>> branches;
    const auto& sides = disjunction->node->children;
    for (std::size_t i = 0; i < sides.size(); ++i) {
        std::vector<Term> branch(terms.begin(), disjunction);
        branch.insert(branch.end(), disjunction + 1, terms.end());
        addConjuncts(sides[i], disjunction->filter, branch);
        for (std::size_t earlier = 0; earlier < i; ++earlier) {
            branch.push_back({&sides[earlier], disjunction->filter, true});
        }
        branches.push_back(std::move(branch));
    }
    return branches;
}

class BranchWriter {
public:
    explicit BranchWriter(const Query& query) : query_(query) {}

    QueryBranch write(const std::vector<Term>& terms, const std::string& order) {
        std::string where;
        for (const Term& term : terms) {
            where += where.empty() ? " WHERE " : " AND ";
            where += (term.negated ? "NOT (" : "(") + sqlOf(term) + ")";
        }
        const std::string from = " FROM " + quotedName(query_.schema->className) + where;
        branch_.select = "SELECT " + columnList(*query_.schema) + from + order;
        branch_.count = "SELECT count(*)" + from;
        return std::move(branch_);
    }

private:
    std::string sqlOf(const Term& term) {
        return nodeSQL(*term.node, [&](const Predicate::Comparison& comparison) {
            const std::string& column = query_.schema->properties[comparison.property].name;
            if (const Value* literal = std::get_if<Value>(&comparison.operand)) {
                return comparisonWithLiteral(column, comparison.comparison, *literal);
            }
            const std::size_t index = std::get<Predicate::Argument>(comparison.operand).index;
            const Value& argument = query_.filters[term.filter].arguments[index];
            switch (typeOf(argument)) {
                case PropertyType::boolean:
                case PropertyType::integer:
                    return comparisonWithLiteral(column, comparison.comparison, argument);
                case PropertyType::text:
                case PropertyType::date:
                    break;
            }
            branch_.parameters.push_back({term.filter, index});
            return comparisonWithParameter(column, comparison.comparison, static_cast<int>(branch_.parameters.size()));
        });
    }

    const Query& query_;
    QueryBranch branch_;
};

std::string orderOf(const Query& query) {
    if (!query.order) {
        return "";
    }
    const ObjectSchema& schema = *query.schema;
    const std::string_view direction = query.order->ascending ? " ASC" : " DESC";
    const std::string& property = schema.properties[schema.checkedIndexOf(query.order->property)].name;
    std::string order = " ORDER BY ";
    order.append(quotedName(property)).append(direction);
    if (property != schema.primaryKey) {
        order.append(", ").append(quotedName(schema.primaryKey)).append(direction);
    }
    return order;
}

}  // namespace

std::string compilationKey(const Query& query) {
    // The separators cannot stand in a predicate or a name.
    std::string key = query.schema->className;
    for (const QueryFilter& filter : query.filters) {
        key += '\x1F';
        key += filter.format;
        key += '\x1E';
        for (const Value& argument : filter.arguments) {
            key += static_cast<char>('0' + argument.index());
            if (const bool* boolean = std::get_if<bool>(&argument)) {
                key += *boolean ? '1' : '0';
            } else if (const auto* integer = std::get_if<std::int64_t>(&argument)) {
                key += std::to_string(*integer);
            }
            key += '\x1E';
        }
    }
    if (query.order) {
        key += query.order->ascending ? '\x1C' : '\x1D';
        key += query.order->property;
    }
    return key;
}

CompiledQuery compile(const Query& query) {
    CompiledQuery compiled;
    compiled.predicates.reserve(query.filters.size());
    for (const QueryFilter& filter : query.filters) {
        compiled.predicates.push_back(Predicate::parse(filter.format, *query.schema));
        compiled.predicates.back().checkArguments(filter.arguments);
    }
    std::vector<Term> terms;
    for (std::size_t i = 0; i < compiled.predicates.size(); ++i) {
        addConjuncts(compiled.predicates[i].root(), i, terms);
    }
    const auto branches = branchesOf(terms);
    const std::string order = orderOf(query);
    compiled.ordered = branches.size() == 1;
    for (const auto& branch : branches) {
        compiled.branches.push_back(BranchWriter(query).write(branch, compiled.ordered ? order : ""));
    }
    return compiled;
}

}  // namespace quendokit::sqlite

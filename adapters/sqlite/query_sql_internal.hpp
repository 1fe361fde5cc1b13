#pragma once
/// \file
/// A query as SQL that SQLite can answer from the indices that the schema hints at.

#include <cstddef>
#include <string>
#include <vector>

#include "quendokit/platform/predicate.hpp"
#include "quendokit/platform/query.hpp"

namespace quendokit::sqlite {

/// Which argument of which filter a parameter stands for.
struct BoundArgument {
    std::size_t filter;
    std::size_t argument;
};

/// One statement of several whose answers, put together, are the query's, none twice.
struct QueryBranch {
    std::string select;
    std::string count;
    /// In the order of the parameters.
    std::vector<BoundArgument> parameters;
};

/// A query whose texts and dates are parameters, and whose booleans and integers stand in the SQL: with those as
/// parameters SQLite could not use an index for a part of the rows.
///
/// A disjunction becomes one branch for each of its sides, since each side has an index of its own and an OR has none.
struct CompiledQuery {
    /// One a filter, for checking arguments.
    std::vector<Predicate> predicates;
    std::vector<QueryBranch> branches;
    /// Whether the rows come in the order asked for. Not so with several branches, whose answers follow one another.
    bool ordered = true;
};

/// Equal for queries that compile to the same SQL.
[[nodiscard]] std::string compilationKey(const Query& query);

/// Fatal if a format or an argument is wrong.
[[nodiscard]] CompiledQuery compile(const Query& query);

}  // namespace quendokit::sqlite

#pragma once
/// \file
/// `Query`: what is asked of an object database, as a value.

#include <optional>
#include <string>
#include <vector>

#include "quendokit/platform/object_schema.hpp"

namespace quendokit {

/// One predicate with its arguments.
struct QueryFilter {
    std::string format;
    std::vector<Value> arguments;
};

/// One order. Ascending: equal values follow each other in ascending order of the primary key. Descending: exactly the
/// reverse of ascending.
struct QueryOrder {
    std::string property;
    bool ascending = true;
};

/// All objects of one class that meet every filter, in no particular order when none is given.
struct Query {
    const ObjectSchema* schema = nullptr;
    std::vector<QueryFilter> filters;
    std::optional<QueryOrder> order;
};

}  // namespace quendokit

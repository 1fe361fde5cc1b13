#pragma once
/// \file
/// The parser behind `Predicate::parse`.

#include <string_view>
#include <vector>

#include "quendokit/platform/predicate.hpp"

namespace quendokit {

struct ParsedPredicate {
    Predicate::Node root;
    std::vector<PropertyType> argumentTypes;
};

/// Fatal as `Predicate::parse` says.
[[nodiscard]] ParsedPredicate parsePredicate(std::string_view format, const ObjectSchema& schema);

}  // namespace quendokit

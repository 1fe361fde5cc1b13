#pragma once
/// \file
/// The object class on which the predicate tests speak.

#include "quendokit/platform/object_schema.hpp"

namespace quendokit {

[[nodiscard]] inline const ObjectSchema& predicateSchema() {
    using enum PropertyType;
    static const ObjectSchema schema{.className = "Thing",
                                     .properties = {{"key", text, std::nullopt},
                                                    {"flag", boolean, Value(false)},
                                                    {"_number", integer, Value(std::int64_t{0})},
                                                    {"moment2", date, CurrentInstant()}},
                                     .primaryKey = "key",
                                     .ignoredProperties = {},
                                     .indexHints = {}};
    return schema;
}

}  // namespace quendokit

#pragma once
/// \file
/// `OldObjects`, what a database of an older schema version holds.

#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "quendokit/platform/object_schema.hpp"

namespace quendokit::testing {

/// Objects of one class from before a migration, to be migrated when their database is opened.
struct OldObjects {
    std::uint64_t schemaVersion = 0;
    std::string className;
    /// One map from property names to values an object; all with the same names. The primary key is among them.
    std::vector<std::map<std::string, Value>> objects;
};

}  // namespace quendokit::testing

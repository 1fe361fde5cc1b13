#pragma once
/// \file
/// How a database is opened, and how older files are brought up to date.

#include <cstdint>
#include <filesystem>
#include <functional>
#include <optional>
#include <string_view>
#include <vector>

#include "quendokit/platform/object_schema.hpp"

namespace quendokit {

/// One object during a migration, by the names of its properties.
class MigrationObject {
public:
    virtual ~MigrationObject() = default;

    /// Absent when the object's version has no such property.
    [[nodiscard]] virtual std::optional<Value> value(std::string_view property) const = 0;
    /// New objects only. Fatal if the property is unknown or of another type.
    virtual void set(std::string_view property, Value value) = 0;
};

/// A migration that is under way. Lives only while the migration block runs.
class Migration {
public:
    using Visitor = std::function<void(const MigrationObject& oldObject, MigrationObject& newObject)>;

    virtual ~Migration() = default;

    /// Calls `visitor` once for each object of the class. The new object holds what the old one held, and the schema's
    /// defaults for what the old one did not have. Fatal if the schema has no such class.
    virtual void enumerateObjects(std::string_view className, const Visitor& visitor) = 0;
};

/// Runs when a file's schema version is older than the configuration's, once, before anything can be read.
using MigrationBlock = std::function<void(Migration& migration, std::uint64_t oldSchemaVersion)>;

/// How to open a database. Plain value. A database is neither encrypted nor read-only, and is kept where the installed
/// provider keeps it.
struct RealmConfiguration {
    /// Absent for the provider's default file.
    std::optional<std::filesystem::path> fileURL;
    std::uint64_t schemaVersion = 0;
    /// Absent when older objects need nothing beyond the defaults of new properties.
    MigrationBlock migrationBlock;
    /// Every class that the database keeps.
    std::vector<ObjectSchema> objectSchemas;
};

}  // namespace quendokit

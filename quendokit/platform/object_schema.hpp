#pragma once
/// \file
/// The shape of a persistent object class as data: what an object database needs to know to keep its objects.

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "quendokit/platform/date.hpp"
#include "quendokit/platform/export.hpp"

namespace quendokit {

/// The type of a persisted property. Types do not convert into each other: a boolean is no integer.
enum class PropertyType { boolean, integer, text, date };

/// A value of one of the property types, alternatives in the order of `PropertyType`.
using Value = std::variant<bool, std::int64_t, std::string, Date>;

[[nodiscard]] inline PropertyType typeOf(const Value& value) noexcept {
    return static_cast<PropertyType>(value.index());
}

/// "boolean", "integer", "text" or "date", for messages.
[[nodiscard]] QUENDOKIT_EXPORT std::string_view nameOf(PropertyType type) noexcept;

/// Stands in a default for the moment at which the object is made.
struct CurrentInstant {};

/// One persisted property. No property is ever absent in a stored object.
struct Property {
    std::string name;
    PropertyType type;
    /// What an object holds that was not given a value, and what a record from before this property gets in a
    /// migration. Absent for a property that must be given.
    std::optional<std::variant<Value, CurrentInstant>> defaultValue;
    /// The first schema version whose records have it. A record of that version or a later one without it is damaged;
    /// absent when any older record may lack it.
    std::optional<std::uint64_t> since = std::nullopt;
};

/// A wish for an index. A database may ignore it: hints change what a query costs, never what it answers.
struct IndexHint {
    /// Unique in the schema; lower-case letters and underscores.
    std::string name;
    /// Ordered by these. Properties beyond those that a query restricts or sorts by spare it the look at the object.
    std::vector<std::string> properties;
    /// Only objects that match this predicate (without arguments) are in the index; empty: all are.
    std::string predicate;
};

/// One object class. Plain value; the index of a property in `properties` is its number everywhere else.
struct ObjectSchema {
    std::string className;
    std::vector<Property> properties;
    /// The name of the property that no two objects share; a text.
    std::string primaryKey;
    /// Names that are never stored, whether or not the class has such properties.
    std::vector<std::string> ignoredProperties;
    std::vector<IndexHint> indexHints;

    /// The number of the property called `name`; absent when there is none.
    [[nodiscard]] QUENDOKIT_EXPORT std::optional<std::size_t> indexOf(std::string_view name) const noexcept;
    /// The number of the property called `name`. Fatal if there is none.
    [[nodiscard]] QUENDOKIT_EXPORT std::size_t checkedIndexOf(std::string_view name) const;
    /// The same. Fatal also if the property is not of `type`.
    [[nodiscard]] QUENDOKIT_EXPORT std::size_t checkedIndexOf(std::string_view name, PropertyType type) const;
    /// Fatal if the primary key names no property.
    [[nodiscard]] QUENDOKIT_EXPORT std::size_t primaryKeyIndex() const;
};

}  // namespace quendokit

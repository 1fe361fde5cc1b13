#pragma once
/// \file
/// An object schema as SQL: the table of a class, its indices, its statements.

#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "quendokit/platform/object_schema.hpp"
#include "quendokit/platform/predicate.hpp"

namespace quendokit::sqlite {

/// Stored format: "QNDO", the kind of file in SQLite's header.
inline constexpr std::int64_t applicationId = 0x514E444F;

/// "\"name\"".
[[nodiscard]] std::string quotedName(std::string_view name);
/// The column type of a property in a STRICT table.
[[nodiscard]] std::string_view columnType(PropertyType type);
/// Both with ", " between them: all columns of a class, in the order of its properties.
[[nodiscard]] std::string columnList(const ObjectSchema& schema);

[[nodiscard]] std::string createTable(const ObjectSchema& schema);

/// The index that a hint asks for.
struct IndexSQL {
    std::string name;
    std::string create;
};
[[nodiscard]] std::vector<IndexSQL> createIndices(const ObjectSchema& schema);

/// Adds one object, its columns being the parameters in order; `update` replaces one of the same key.
[[nodiscard]] std::string insertStatement(const ObjectSchema& schema, bool update);
[[nodiscard]] std::string deleteStatement(const ObjectSchema& schema);

/// A comparison with a value that stands in the text: "_device" = -1. Booleans always become "= 0" or "= 1", so that
/// every way of writing the same condition can use the same index.
[[nodiscard]] std::string comparisonWithLiteral(std::string_view column, ComparisonOperator comparison,
                                                const Value& value);
/// A comparison with a parameter: "_datetime" > ?3.
[[nodiscard]] std::string comparisonWithParameter(std::string_view column, ComparisonOperator comparison,
                                                  int parameter);

/// A predicate node as SQL, each comparison as `render` says.
template <typename RenderComparison>
std::string nodeSQL(const Predicate::Node& node, const RenderComparison& render) {
    if (node.kind == Predicate::Kind::comparison) {
        return render(node.comparison);
    }
    if (node.kind == Predicate::Kind::negation) {
        return "NOT (" + nodeSQL(node.children.front(), render) + ")";
    }
    std::string sql;
    for (const Predicate::Node& child : node.children) {
        if (!sql.empty()) {
            sql += node.kind == Predicate::Kind::conjunction ? " AND " : " OR ";
        }
        sql += "(" + nodeSQL(child, render) + ")";
    }
    return sql;
}

}  // namespace quendokit::sqlite

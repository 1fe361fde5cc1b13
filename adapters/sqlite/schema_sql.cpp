#include <variant>

#include "adapters/sqlite/schema_sql_internal.hpp"
#include "quendokit/platform/fatal_error.hpp"

namespace quendokit::sqlite {
namespace {

std::string_view operatorText(ComparisonOperator comparison) {
    switch (comparison) {
        case ComparisonOperator::equal:
            return " = ";
        case ComparisonOperator::notEqual:
            return " <> ";
        case ComparisonOperator::less:
            return " < ";
        case ComparisonOperator::greater:
            return " > ";
    }
    return " = ";
}

std::string hintPredicate(const ObjectSchema& schema, const IndexHint& hint) {
    return nodeSQL(Predicate::parse(hint.predicate, schema).root(), [&](const Predicate::Comparison& comparison) {
        const Value* literal = std::get_if<Value>(&comparison.operand);
        if (literal == nullptr) {
            fatalError(schema.className + ": the index " + hint.name + " cannot take arguments");
        }
        return comparisonWithLiteral(schema.properties[comparison.property].name, comparison.comparison, *literal);
    });
}

}  // namespace

std::string quotedName(std::string_view name) {
    return '"' + std::string(name) + '"';
}

std::string_view columnType(PropertyType type) {
    switch (type) {
        case PropertyType::boolean:
        case PropertyType::integer:
            return "INTEGER";
        case PropertyType::text:
            return "TEXT";
        case PropertyType::date:
            return "REAL";
    }
    return "ANY";
}

std::string columnList(const ObjectSchema& schema) {
    std::string list;
    for (const Property& property : schema.properties) {
        list += (list.empty() ? "" : ", ") + quotedName(property.name);
    }
    return list;
}

std::string createTable(const ObjectSchema& schema) {
    std::string columns;
    for (const Property& property : schema.properties) {
        columns += (columns.empty() ? "" : ", ") + quotedName(property.name) + " " +
                   std::string(columnType(property.type)) + " NOT NULL";
        if (property.name == schema.primaryKey) {
            columns += " PRIMARY KEY";
        } else if (property.type == PropertyType::boolean) {
            columns += " CHECK (" + quotedName(property.name) + " IN (0, 1))";
        }
    }
    return "CREATE TABLE " + quotedName(schema.className) + " (" + columns + ") STRICT";
}

std::vector<IndexSQL> createIndices(const ObjectSchema& schema) {
    std::vector<IndexSQL> indices;
    for (const IndexHint& hint : schema.indexHints) {
        std::string columns;
        for (const std::string& property : hint.properties) {
            columns +=
                (columns.empty() ? "" : ", ") + quotedName(schema.properties[schema.checkedIndexOf(property)].name);
        }
        IndexSQL index{schema.className + "_" + hint.name, ""};
        index.create = "CREATE INDEX " + quotedName(index.name) + " ON " + quotedName(schema.className) + " (" +
                       columns + ")" + (hint.predicate.empty() ? "" : " WHERE " + hintPredicate(schema, hint));
        indices.push_back(std::move(index));
    }
    return indices;
}

std::string insertStatement(const ObjectSchema& schema, bool update) {
    std::string parameters;
    std::string assignments;
    for (const Property& property : schema.properties) {
        parameters += parameters.empty() ? "?" : ", ?";
        if (property.name != schema.primaryKey) {
            assignments += (assignments.empty() ? "" : ", ") + quotedName(property.name) + " = excluded." +
                           quotedName(property.name);
        }
    }
    return "INSERT INTO " + quotedName(schema.className) + " (" + columnList(schema) + ") VALUES (" + parameters + ")" +
           (update ? " ON CONFLICT (" + quotedName(schema.primaryKey) + ") DO UPDATE SET " + assignments : "");
}

std::string deleteStatement(const ObjectSchema& schema) {
    return "DELETE FROM " + quotedName(schema.className) + " WHERE " + quotedName(schema.primaryKey) + " = ?1";
}

std::string comparisonWithLiteral(std::string_view column, ComparisonOperator comparison, const Value& value) {
    if (const bool* boolean = std::get_if<bool>(&value)) {
        const bool wanted = *boolean == (comparison == ComparisonOperator::equal);
        return quotedName(column) + (wanted ? " = 1" : " = 0");
    }
    const auto* integer = std::get_if<std::int64_t>(&value);
    if (integer == nullptr) {
        fatalError("only booleans and integers are written into SQL");
    }
    // SQLite reads the smallest integer as a real number when it is written as a negation.
    const std::string number = *integer == INT64_MIN ? "(-9223372036854775807 - 1)" : std::to_string(*integer);
    return quotedName(column) + std::string(operatorText(comparison)) + number;
}

std::string comparisonWithParameter(std::string_view column, ComparisonOperator comparison, int parameter) {
    return quotedName(column) + std::string(operatorText(comparison)) + "?" + std::to_string(parameter);
}

}  // namespace quendokit::sqlite

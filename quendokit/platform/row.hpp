#pragma once
/// \file
/// `Row` and `RowWriter`: how a stored object's properties travel between a database and a C++ value, without copies.

#include <cstddef>
#include <cstdint>
#include <string_view>
#include <utility>
#include <vector>

#include "quendokit/platform/export.hpp"
#include "quendokit/platform/object_schema.hpp"

namespace quendokit {

/// The properties of one stored object, by their numbers in the schema. Valid only inside the call that hands it out.
/// Asking for a property by another type than the schema's is a mistake of the program with undefined answer.
class Row {
public:
    virtual ~Row() = default;

    [[nodiscard]] virtual bool boolean(std::size_t property) const = 0;
    [[nodiscard]] virtual std::int64_t integer(std::size_t property) const = 0;
    /// Any bytes, also NUL. Valid as long as the row.
    [[nodiscard]] virtual std::string_view text(std::size_t property) const = 0;
    [[nodiscard]] virtual Date date(std::size_t property) const = 0;
};

/// Takes the properties of one object that is being stored, each exactly once. Texts must live until the call that
/// handed out the writer returns.
class RowWriter {
public:
    virtual ~RowWriter() = default;

    virtual void boolean(std::size_t property, bool value) = 0;
    virtual void integer(std::size_t property, std::int64_t value) = 0;
    virtual void text(std::size_t property, std::string_view value) = 0;
    virtual void date(std::size_t property, Date value) = 0;
};

/// A row that owns its values, for databases in memory and for tests.
class QUENDOKIT_EXPORT ValueRow final : public Row, public RowWriter {
public:
    /// A row of `propertyCount` values that are still to be written.
    explicit ValueRow(std::size_t propertyCount) : values_(propertyCount, Value(false)) {}
    explicit ValueRow(std::vector<Value> values) : values_(std::move(values)) {}

    [[nodiscard]] const Value& value(std::size_t property) const { return values_.at(property); }
    void setValue(std::size_t property, Value value) { values_.at(property) = std::move(value); }

    [[nodiscard]] bool boolean(std::size_t property) const override { return std::get<bool>(value(property)); }
    [[nodiscard]] std::int64_t integer(std::size_t property) const override {
        return std::get<std::int64_t>(value(property));
    }
    [[nodiscard]] std::string_view text(std::size_t property) const override {
        return std::get<std::string>(value(property));
    }
    [[nodiscard]] Date date(std::size_t property) const override { return std::get<Date>(value(property)); }

    void boolean(std::size_t property, bool value) override { setValue(property, value); }
    void integer(std::size_t property, std::int64_t value) override { setValue(property, value); }
    void text(std::size_t property, std::string_view value) override { setValue(property, std::string(value)); }
    void date(std::size_t property, Date value) override { setValue(property, value); }

private:
    std::vector<Value> values_;
};

}  // namespace quendokit

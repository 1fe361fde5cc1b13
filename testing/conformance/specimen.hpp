#pragma once
/// \file
/// `Specimen`, an object class of the conformance suite's own, so that the suite is about databases, not reminders.

#include <cstddef>
#include <cstdint>
#include <ostream>
#include <string>
#include <string_view>

#include "quendokit/platform/object_schema.hpp"
#include "quendokit/platform/row.hpp"

namespace quendokit::testing {

/// Properties of all four types, with a default of each kind. One is called as a keyword of databases is.
struct Specimen {
    std::string key;
    std::string label = "unnamed";
    bool flag = true;
    std::int64_t order = 7;
    Date _moment = Date(86'400.5);
    Date made = Date(0);

    friend bool operator==(const Specimen&, const Specimen&) = default;

    [[nodiscard]] std::string_view primaryKeyValue() const noexcept { return key; }

    [[nodiscard]] static const ObjectSchema& schema() {
        using enum PropertyType;
        static const ObjectSchema schema{
            .className = "Specimen",
            .properties =
                {
                    {"key", text, std::nullopt},
                    {"label", text, Value("unnamed")},
                    {"flag", boolean, Value(true)},
                    {"order", integer, Value(std::int64_t{7})},
                    {"_moment", date, Value(Date(86'400.5))},
                    {"made", date, CurrentInstant()},
                },
            .primaryKey = "key",
            .ignoredProperties = {"nothing"},
            .indexHints =
                {
                    {"by_order", {"order", "_moment", "key"}, ""},
                    {"flagged_by_label", {"label", "key"}, "flag = true AND order != -1"},
                },
        };
        return schema;
    }

    [[nodiscard]] static Specimen fromRow(const Row& row) {
        return {.key = std::string(row.text(0)),
                .label = std::string(row.text(1)),
                .flag = row.boolean(2),
                .order = row.integer(3),
                ._moment = row.date(4),
                .made = row.date(5)};
    }

    void writeTo(RowWriter& writer) const {
        writer.text(0, key);
        writer.text(1, label);
        writer.boolean(2, flag);
        writer.integer(3, order);
        writer.date(4, _moment);
        writer.date(5, made);
    }

    [[nodiscard]] bool precedes(const Specimen& other, std::size_t property) const {
        switch (property) {
            case 0:
                return key < other.key;
            case 1:
                return label < other.label;
            case 2:
                return flag < other.flag;
            case 3:
                return order < other.order;
            case 4:
                return _moment < other._moment;
            default:
                return made < other.made;
        }
    }

    friend void PrintTo(const Specimen& specimen, std::ostream* stream) {
        *stream << "{key \"" << specimen.key << "\", label \"" << specimen.label << "\", flag " << specimen.flag
                << ", order " << specimen.order << ", _moment " << specimen._moment.timeIntervalSince1970() << ", made "
                << specimen.made.timeIntervalSince1970() << "}";
    }
};

}  // namespace quendokit::testing

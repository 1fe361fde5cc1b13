#pragma once
/// \file
/// `Results`, a query over the objects of one class.

#include <algorithm>
#include <cstddef>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "quendokit/platform/fatal_error.hpp"
#include "quendokit/platform/realm.hpp"

namespace quendokit {

/// A query that is asked anew by each of `toVector`, `forEach` and `count`. Plain value; must not outlive its realm;
/// used on the realm's thread.
template <typename Object>
class Results {
public:
    explicit Results(const Realm& realm) : realm_(&realm) { query_.schema = &Object::schema(); }

    /// Only those objects that also meet the predicate `format` (grammar: `Predicate`). Asking is fatal if the format
    /// or an argument is wrong. `filter("_device = %@ AND shown = false", 1)`.
    template <typename... Arguments>
    [[nodiscard]] Results filter(std::string_view format, const Arguments&... arguments) && {
        query_.filters.push_back({std::string(format), {toValue(arguments)...}});
        return std::move(*this);
    }
    template <typename... Arguments>
    [[nodiscard]] Results filter(std::string_view format, const Arguments&... arguments) const& {
        return Results(*this).filter(format, arguments...);
    }

    /// Ordered by `property`; `QueryOrder` fixes the order of equal ones. The last `sorted` counts. Asking is fatal if
    /// there is no such property.
    [[nodiscard]] Results sorted(std::string_view byProperty, bool ascending) const {
        Results result(*this);
        result.query_.order = QueryOrder{std::string(byProperty), ascending};
        return result;
    }

    /// The same objects in no particular order, which costs nothing to keep.
    [[nodiscard]] Results unsorted() const {
        Results result(*this);
        result.query_.order.reset();
        return result;
    }

    [[nodiscard]] std::vector<Object> toVector() const {
        std::vector<Object> objects;
        const bool ordered = realm_->visitRows(query_, [&objects](const Row& row) {
            objects.push_back(Object::fromRow(row));
            return true;
        });
        if (!ordered && query_.order) {
            sort(objects);
        }
        return objects;
    }

    /// Hands each object to `visit`, which answers whether to go on and changes nothing in the database. In no
    /// particular order when none was asked for, and then without keeping more than one object.
    template <typename Visit>
    void forEach(Visit visit) const {
        if (!query_.order) {
            // Without an order every answer is in order.
            static_cast<void>(
                realm_->visitRows(query_, [&visit](const Row& row) -> bool { return visit(Object::fromRow(row)); }));
            return;
        }
        for (Object& object : toVector()) {
            if (!visit(std::move(object))) {
                return;
            }
        }
    }

    [[nodiscard]] std::size_t count() const { return realm_->countRows(query_); }

private:
    static Value toValue(bool value) { return value; }
    static Value toValue(int value) { return static_cast<std::int64_t>(value); }
    static Value toValue(std::int64_t value) { return value; }
    static Value toValue(Date value) { return value; }
    static Value toValue(std::string_view value) { return std::string(value); }
    static Value toValue(const char* value) { return std::string(value); }

    /// What cannot be moved cheaply stays where it is until the order of all is known.
    void sort(std::vector<Object>& objects) const {
        const std::size_t property = query_.schema->checkedIndexOf(query_.order->property);
        const std::size_t key = query_.schema->primaryKeyIndex();
        const auto precedes = [&](const Object& left, const Object& right) {
            if (left.precedes(right, property)) {
                return true;
            }
            return !right.precedes(left, property) && left.precedes(right, key);
        };
        std::vector<Object*> order;
        order.reserve(objects.size());
        for (Object& object : objects) {
            order.push_back(&object);
        }
        const bool ascending = query_.order->ascending;
        std::sort(order.begin(), order.end(), [&](const Object* left, const Object* right) {
            return ascending ? precedes(*left, *right) : precedes(*right, *left);
        });
        std::vector<Object> sorted;
        sorted.reserve(objects.size());
        for (Object* object : order) {
            sorted.push_back(std::move(*object));
        }
        objects = std::move(sorted);
    }

    const Realm* realm_;
    Query query_;
};

}  // namespace quendokit

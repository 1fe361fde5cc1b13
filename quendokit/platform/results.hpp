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

namespace results_detail {

/// Sorts what consists of few stretches in little more than one pass, and the rest in the usual way.
template <typename Object, typename Precedes>
void mergeStretches(std::vector<Object*>& order, const Precedes& precedes) {
    constexpr int mostStretches = 8;
    const auto reversed = [&](const Object* one, const Object* other) { return precedes(other, one); };
    auto begin = order.begin();
    for (int stretch = 0; begin != order.end(); ++stretch) {
        if (stretch == mostStretches) {
            std::sort(order.begin(), order.end(), precedes);
            return;
        }
        auto end = std::is_sorted_until(begin, order.end(), precedes);
        if (const auto descendingEnd = std::is_sorted_until(begin, order.end(), reversed); descendingEnd > end) {
            end = descendingEnd;
            std::reverse(begin, end);
        }
        std::inplace_merge(order.begin(), begin, end, precedes);
        begin = end;
    }
}

}  // namespace results_detail

/// Puts objects into the order in which a query answers them. Cheap for long stretches that are in order already, or in
/// the reverse of it. Fatal if there is no such property.
template <RealmObject Object>
void sortObjects(std::vector<Object>& objects, const QueryOrder& order) {
    const ObjectSchema& schema = Object::schema();
    const std::size_t property = schema.checkedIndexOf(order.property);
    const std::size_t key = schema.primaryKeyIndex();
    const auto precedes = [&](const Object* one, const Object* other) {
        const Object& left = order.ascending ? *one : *other;
        const Object& right = order.ascending ? *other : *one;
        return left.precedes(right, property) || (!right.precedes(left, property) && left.precedes(right, key));
    };
    std::vector<Object*> pointers;
    pointers.reserve(objects.size());
    for (Object& object : objects) {
        pointers.push_back(&object);
    }
    results_detail::mergeStretches(pointers, precedes);
    std::vector<Object> sorted;
    sorted.reserve(objects.size());
    for (Object* object : pointers) {
        sorted.push_back(std::move(*object));
    }
    objects = std::move(sorted);
}

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
        realm_->visitRows(query_, [&objects](const Row& row) {
            objects.push_back(Object::fromRow(row));
            return true;
        });
        if (!realm_->answersInOrder(query_)) {
            sortObjects(objects, *query_.order);
        }
        return objects;
    }

    /// Hands each object to `visit`, which answers whether to go on and changes nothing in the database. In no
    /// particular order when none was asked for.
    template <typename Visit>
    void forEach(Visit visit) const {
        if (realm_->answersInOrder(query_)) {
            realm_->visitRows(query_, [&visit](const Row& row) -> bool { return visit(Object::fromRow(row)); });
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

    const Realm* realm_;
    Query query_;
};

}  // namespace quendokit

#pragma once
/// \file
/// `Realm`, the object database that keeps the reminders, and `RealmProvider`, which opens one.

#include <cstddef>
#include <functional>
#include <initializer_list>
#include <memory>
#include <optional>
#include <ranges>
#include <span>
#include <string_view>
#include <utility>

#include "quendokit/platform/error.hpp"
#include "quendokit/platform/export.hpp"
#include "quendokit/platform/query.hpp"
#include "quendokit/platform/realm_configuration.hpp"
#include "quendokit/platform/realm_error.hpp"
#include "quendokit/platform/row.hpp"

namespace quendokit {

template <typename Object>
class Results;

/// What a C++ type offers so that a `Realm` can keep it: its schema, a way from a row, a way to a row, and the order of
/// two objects by one property.
template <typename Object>
concept RealmObject = requires(const Object& object, const Row& row, RowWriter& writer, std::size_t property) {
    { Object::schema() } -> std::same_as<const ObjectSchema&>;
    { Object::fromRow(row) } -> std::same_as<Object>;
    { object.writeTo(writer) };
    { object.primaryKeyValue() } -> std::convertible_to<std::string_view>;
    { object.precedes(object, property) } -> std::same_as<bool>;
};

/// A new value for a named property.
struct Assignment {
    std::string_view property;
    Value value;
};

/// An open object database. Objects read from it are detached values: changing one changes nothing stored.
///
/// Owned by whoever opened it, in practice shared with the controller. One thread only, the one that opened it (the
/// main thread). Other processes may use the same file at the same time; each write and each `read` sees and leaves a
/// whole state.
class QUENDOKIT_EXPORT Realm {
public:
    using Configuration = RealmConfiguration;
    /// Returns whether to go on with the next row.
    using RowVisitor = std::function<bool(const Row&)>;

    Realm() = default;
    Realm(const Realm&) = delete;
    Realm& operator=(const Realm&) = delete;
    virtual ~Realm() = default;

    /// Opens the database by the installed provider, migrating an older file.
    static Result<std::shared_ptr<Realm>> open(const Configuration& configuration);

    /// Runs `changes` as one transaction. On success everything in it is durable when this returns. On failure nothing
    /// of it happened, and the error says why; `changes` has not run at all when the transaction could not begin. A
    /// change or a read that fails makes the transaction's further changes idle and the whole fail at its end. A
    /// transaction without changes costs no disk write. Inside another `write` or a `read` it fails
    /// (`RealmErrorCode::nested`) without touching either.
    [[nodiscard]] virtual std::optional<Error> write(const std::function<void()>& changes) = 0;

    /// From now until `makeDurable`, a write survives the end of the process when it returns, but not the loss of
    /// power: then it may be gone, and with it all later ones, so that what is left is a state that was. Many small
    /// writes share one wait for the disk so. Does nothing inside `write` and `read`, and in databases that do not
    /// offer it.
    virtual void deferDurability() {}
    /// Makes everything durable that was written since `deferDurability`; from now on each write is again when it
    /// returns. An error when that could not be done, of which the database's owner is told, too: some of it may be
    /// lost. Does nothing, and costs nothing, when there is nothing of the kind.
    [[nodiscard]] virtual std::optional<Error> makeDurable() { return std::nullopt; }

    /// Runs `reads` over one unchanging state of the database. Inside a `write` or another `read` it just runs them. A
    /// change inside is fatal.
    virtual void read(const std::function<void()>& reads) const = 0;

    /// Stores the object with all its properties. With `update`, it replaces one of the same primary key; without, such
    /// a one makes the write fail. Fatal outside `write`.
    template <RealmObject Object>
    void add(const Object& object, bool update) {
        addRow(Object::schema(), [&object](RowWriter& writer) { object.writeTo(writer); }, update);
    }

    /// `add` for each object of a sequence.
    template <std::ranges::input_range Objects>
        requires RealmObject<std::ranges::range_value_t<Objects>>
    void add(const Objects& objects, bool update) {
        for (const auto& object : objects) {
            add(object, update);
        }
    }

    /// Gives the stored object of this primary key new values for the named properties and leaves the others alone.
    /// Nothing happens when there is no such object, but a value that cannot be stored makes the write fail all the
    /// same. Fatal outside `write`, or if a property is unknown or of another type.
    template <RealmObject Object>
    void set(std::string_view primaryKey, std::initializer_list<Assignment> assignments) {
        setValues(Object::schema(), primaryKey, {assignments.begin(), assignments.size()});
    }

    /// Removes the stored object of the same primary key; nothing happens when there is none. Fatal outside `write`.
    template <RealmObject Object>
    void delete_(const Object& object) {
        deleteRow(Object::schema(), object.primaryKeyValue());
    }

    /// Removes every object of every class. Fatal outside `write`.
    virtual void deleteAll() = 0;

    /// All objects of a class. The realm must outlive the results.
    template <RealmObject Object>
    [[nodiscard]] Results<Object> objects() const {
        return Results<Object>(*this);
    }

    /// For `Results`. Calls `visitor`, inside a `read`, for each row that meets `query` until it answers false. A read
    /// that fails ends early, and the database's owner is told in the way the implementation offers.
    virtual void visitRows(const Query& query, const RowVisitor& visitor) const = 0;
    /// For `Results`. Whether `visitRows` hands out the rows in the order that `query` asks for; otherwise the caller
    /// sorts them. True when it asks for none.
    [[nodiscard]] virtual bool answersInOrder(const Query& query) const = 0;
    /// For `Results`. 0 after a failure.
    [[nodiscard]] virtual std::size_t countRows(const Query& query) const = 0;

    /// For `add`, `set` and `delete_`, and for a database that wraps another one.
    virtual void addRow(const ObjectSchema& schema, const std::function<void(RowWriter&)>& fill, bool update) = 0;
    virtual void setValues(const ObjectSchema& schema, std::string_view primaryKey,
                           std::span<const Assignment> assignments) = 0;
    virtual void deleteRow(const ObjectSchema& schema, std::string_view primaryKey) = 0;
};

/// Opens object databases. Any thread; the realm it hands out belongs to the calling one.
class RealmProvider {
public:
    RealmProvider() = default;
    RealmProvider(const RealmProvider&) = delete;
    RealmProvider& operator=(const RealmProvider&) = delete;
    virtual ~RealmProvider() = default;

    /// Makes the file when there is none. An older one is migrated as a whole or not at all, a newer or damaged one is
    /// refused and left as it is.
    [[nodiscard]] virtual Result<std::shared_ptr<Realm>> open(const Realm::Configuration& configuration) = 0;
};

}  // namespace quendokit

#pragma once
/// \file
/// `InMemoryRealm`, an object database that is gone with its last owner.

#include <cstddef>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "quendokit/platform/export.hpp"
#include "quendokit/platform/realm.hpp"
#include "testing/fail_at.hpp"
#include "testing/old_objects.hpp"

namespace quendokit::testing {

/// Keeps objects in maps by primary key. Answers as every `Realm` does, at the cost of reading all objects a query and
/// copying them a write. One thread.
class QUENDOKIT_EXPORT InMemoryRealm final : public Realm {
public:
    /// An empty database, or one that holds `old` after its migration. Fatal if `old` is of the configuration's version
    /// or newer, or of an unknown class.
    [[nodiscard]] static std::shared_ptr<InMemoryRealm> create(const Configuration& configuration,
                                                               const std::optional<OldObjects>& old = std::nullopt);
    ~InMemoryRealm() override;

    /// Lets the next `count` writes fail with `error`.
    void failWrites(std::size_t count, FailAt at, Error error);

    /// How many writes have succeeded and changed something.
    [[nodiscard]] std::size_t commitCount() const noexcept { return commitCount_; }

    [[nodiscard]] std::optional<Error> write(const std::function<void()>& changes) override;
    void read(const std::function<void()>& reads) const override;
    void deleteAll() override;
    void visitRows(const Query& query, const RowVisitor& visitor) const override;
    [[nodiscard]] bool answersInOrder(const Query&) const override { return true; }
    [[nodiscard]] std::size_t countRows(const Query& query) const override;
    void addRow(const ObjectSchema& schema, const std::function<void(RowWriter&)>& fill, bool update) override;
    void setValues(const ObjectSchema& schema, std::string_view primaryKey,
                   std::span<const Assignment> assignments) override;
    void deleteRow(const ObjectSchema& schema, std::string_view primaryKey) override;

private:
    using Table = std::map<std::string, ValueRow, std::less<>>;
    using Tables = std::map<std::string, Table, std::less<>>;
    /// A row before it was changed; absent when there was none.
    struct Before {
        Table* table;
        std::string key;
        std::optional<ValueRow> row;
    };
    struct PlannedFailure {
        std::size_t count;
        FailAt at;
        Error error;
    };

    explicit InMemoryRealm(Configuration configuration);
    void migrate(const OldObjects& old);
    [[nodiscard]] Table& tableOf(const ObjectSchema& schema);
    [[nodiscard]] const Table& tableOf(const ObjectSchema& schema) const;
    [[nodiscard]] std::vector<const ValueRow*> find(const Query& query) const;
    /// Whether the transaction goes on. Fatal outside one.
    [[nodiscard]] bool mayChange() const;
    /// Before a change of what is under `key`.
    void keep(Table& table, const std::string& key);
    void putBack();
    /// Fails the transaction if `row` holds a date that is not finite.
    [[nodiscard]] bool isStorable(const ObjectSchema& schema, const ValueRow& row);
    void fail(RealmErrorCode code, std::string description);

    const Configuration configuration_;
    Tables tables_;
    /// What a write that fails puts back, the latest last.
    std::vector<Before> before_;
    bool hasChanged_ = false;
    std::optional<Error> writeFailure_;
    std::optional<PlannedFailure> plannedFailure_;
    bool writing_ = false;
    mutable int readDepth_ = 0;
    std::size_t commitCount_ = 0;
};

/// Hands out one and the same database, as opening one file again and again does.
class QUENDOKIT_EXPORT InMemoryRealmProvider final : public RealmProvider {
public:
    [[nodiscard]] Result<std::shared_ptr<Realm>> open(const Realm::Configuration& configuration) override;

private:
    std::shared_ptr<InMemoryRealm> realm_;
};

}  // namespace quendokit::testing

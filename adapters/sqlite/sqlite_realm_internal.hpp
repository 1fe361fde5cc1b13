#pragma once
/// \file
/// `SQLiteRealm`, an open SQLite file as an object database.

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <unordered_map>
#include <vector>

#include "adapters/sqlite/connection_internal.hpp"
#include "adapters/sqlite/query_sql_internal.hpp"
#include "quendokit/platform/realm.hpp"

namespace quendokit::sqlite {

/// Made by `openRealm` over a file whose tables are those of the schemas.
class QUENDOKIT_EXPORT SQLiteRealm final : public Realm {
public:
    SQLiteRealm(std::unique_ptr<Connection> connection, const std::vector<ObjectSchema>& schemas,
                std::function<void(const Error&)> onFailure);
    ~SQLiteRealm() override;

    [[nodiscard]] std::optional<Error> write(const std::function<void()>& changes) override;
    void deferDurability() override;
    [[nodiscard]] std::optional<Error> makeDurable() override;
    void read(const std::function<void()>& reads) const override;
    void deleteAll() override;
    void visitRows(const Query& query, const RowVisitor& visitor) const override;
    [[nodiscard]] bool answersInOrder(const Query& query) const override;
    [[nodiscard]] std::size_t countRows(const Query& query) const override;

    /// For measuring what operations cost.
    [[nodiscard]] Connection& connection() const noexcept { return *connection_; }

protected:
    void addRow(const ObjectSchema& schema, const std::function<void(RowWriter&)>& fill, bool update) override;
    void setValues(const ObjectSchema& schema, std::string_view primaryKey,
                   std::span<const Assignment> assignments) override;
    void deleteRow(const ObjectSchema& schema, std::string_view primaryKey) override;

private:
    /// The statements that change one class, made once.
    struct Table {
        ObjectSchema schema;
        std::string insert;
        std::string insertOrUpdate;
        std::string remove;
        std::string removeAll;
    };

    [[nodiscard]] const Table& tableOf(const ObjectSchema& schema) const;
    void visitBranches(const CompiledQuery& plan, const Query& query, const RowVisitor& visitor) const;
    [[nodiscard]] const CompiledQuery& compiled(const Query& query, CompiledQuery& ownRoom) const;
    /// Whether the transaction goes on. Fatal outside one.
    [[nodiscard]] bool mayChange() const;
    /// Runs a statement that changes rows; a failure fails the transaction.
    void change(const std::string& sql, const std::function<bool(Statement&)>& bind);
    [[nodiscard]] std::optional<Error> writeUnreported(const std::function<void()>& changes);
    void report(const Error& error) const;
    /// A read has just failed; inside a write that fails it as a whole, since its changes may rest on what was read.
    void failRead() const;

    const std::unique_ptr<Connection> connection_;
    const std::function<void(const Error&)> onFailure_;
    std::vector<Table> tables_;
    mutable std::unordered_map<std::string, CompiledQuery> compiledQueries_;
    /// Why the transaction under way will fail.
    mutable std::optional<Error> writeFailure_;
    bool writing_ = false;
    bool isDeferred_ = false;
    /// Whether something was written while durability was deferred.
    bool hasDeferred_ = false;
    mutable int readDepth_ = 0;
};

}  // namespace quendokit::sqlite

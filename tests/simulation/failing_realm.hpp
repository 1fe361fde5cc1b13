#pragma once
/// \file
/// `FailingRealm`, a database on a disk that is full now and then.

#include <functional>
#include <memory>
#include <optional>
#include <utility>

#include "testing/in_memory_realm.hpp"

namespace quendokit::simulation {

/// Stands before another database. One thread.
class FailingRealm final : public Realm {
public:
    /// `fails` is asked at each write; `onFailure` is told inside each one that failed, before it returns, `onSuccess`
    /// inside each other. Once `hasEnded`, nothing is written.
    FailingRealm(std::shared_ptr<testing::InMemoryRealm> realm, std::function<bool()> fails,
                 std::function<void()> onFailure, std::function<bool()> hasEnded, std::function<void()> onSuccess)
        : realm_(std::move(realm)),
          fails_(std::move(fails)),
          onFailure_(std::move(onFailure)),
          hasEnded_(std::move(hasEnded)),
          onSuccess_(std::move(onSuccess)) {}

    [[nodiscard]] std::optional<Error> write(const std::function<void()>& changes) override {
        if (hasEnded_()) {
            return Error{"Realm", 1, "The process has ended."};
        }
        if (fails_()) {
            realm_->failWrites(1, testing::FailAt::commit, {"Realm", 1, "The disk is full."});
        }
        auto failure = realm_->write(changes);
        if (failure) {
            onFailure_();
        } else {
            onSuccess_();
        }
        return failure;
    }
    void deferDurability() override { realm_->deferDurability(); }
    [[nodiscard]] std::optional<Error> makeDurable() override { return realm_->makeDurable(); }
    void read(const std::function<void()>& reads) const override { realm_->read(reads); }
    void deleteAll() override { realm_->deleteAll(); }
    void visitRows(const Query& query, const RowVisitor& visitor) const override { realm_->visitRows(query, visitor); }
    [[nodiscard]] bool answersInOrder(const Query& query) const override { return realm_->answersInOrder(query); }
    [[nodiscard]] std::size_t countRows(const Query& query) const override { return realm_->countRows(query); }
    void addRow(const ObjectSchema& schema, const std::function<void(RowWriter&)>& fill, bool update) override {
        realm_->addRow(schema, fill, update);
    }
    void setValues(const ObjectSchema& schema, std::string_view primaryKey,
                   std::span<const Assignment> assignments) override {
        realm_->setValues(schema, primaryKey, assignments);
    }
    void deleteRow(const ObjectSchema& schema, std::string_view primaryKey) override {
        realm_->deleteRow(schema, primaryKey);
    }

private:
    const std::shared_ptr<testing::InMemoryRealm> realm_;
    const std::function<bool()> fails_;
    const std::function<void()> onFailure_;
    const std::function<bool()> hasEnded_;
    const std::function<void()> onSuccess_;
};

}  // namespace quendokit::simulation

#pragma once
/// \file
/// `TracingRealm`, a database around another one that tells a trace what is written, and fails when asked to.

#include <cstddef>
#include <functional>
#include <limits>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <utility>

#include "quendokit/platform/realm.hpp"
#include "quendokit/store/reminder_item.hpp"
#include "testing/fail_at.hpp"
#include "testing/trace.hpp"

namespace quendokit::testing {

/// Forwards everything to the inner database. Adds to the trace: "begin" when a write's changes start; "add KEY",
/// "set KEY PROPERTY…", "delete KEY" and "delete all" for the changes; at the end "commit" or "rollback", or "no begin"
/// for a write whose changes never ran. "defer durability" and "make durable" when it is asked for that.
class TracingRealm final : public Realm {
public:
    TracingRealm(std::shared_ptr<Realm> inner, std::shared_ptr<Trace> trace)
        : inner_(std::move(inner)), trace_(std::move(trace)) {}

    /// Lets the next write fail, on any database.
    void failNextWrite(FailAt at) { failure_ = at; }

    /// Runs `action` at each query.
    void onQuery(std::function<void()> action) { onQuery_ = std::move(action); }
    [[nodiscard]] std::size_t queryCount() const noexcept { return queryCount_; }

    [[nodiscard]] std::optional<Error> write(const std::function<void()>& changes) override {
        const auto failAt = std::exchange(failure_, std::nullopt);
        if (failAt == FailAt::begin) {
            trace_->add("no begin");
            return makeRealmError(RealmErrorCode::locked, "asked to fail at the begin");
        }
        bool began = false;
        auto failure = inner_->write([&] {
            began = true;
            trace_->add("begin");
            changes();
            if (failAt == FailAt::commit) {
                addWhatCannotBeStored();
            }
        });
        trace_->add(!failure ? "commit" : began ? "rollback" : "no begin");
        return failure;
    }

    void deferDurability() override {
        trace_->add("defer durability");
        inner_->deferDurability();
    }
    [[nodiscard]] std::optional<Error> makeDurable() override {
        trace_->add("make durable");
        return inner_->makeDurable();
    }
    void read(const std::function<void()>& reads) const override { inner_->read(reads); }

    void deleteAll() override {
        trace_->add("delete all");
        inner_->deleteAll();
    }

    void visitRows(const Query& query, const RowVisitor& visitor) const override {
        noteQuery();
        inner_->visitRows(query, visitor);
    }
    [[nodiscard]] bool answersInOrder(const Query& query) const override { return inner_->answersInOrder(query); }
    [[nodiscard]] std::size_t countRows(const Query& query) const override {
        noteQuery();
        return inner_->countRows(query);
    }

    void addRow(const ObjectSchema& schema, const std::function<void(RowWriter&)>& fill, bool update) override {
        ValueRow row(schema.properties.size());
        fill(row);
        trace_->add("add " + std::string(row.text(schema.primaryKeyIndex())));
        inner_->addRow(schema, fill, update);
    }
    void setValues(const ObjectSchema& schema, std::string_view primaryKey,
                   std::span<const Assignment> assignments) override {
        std::string line = "set " + std::string(primaryKey);
        for (const Assignment& assignment : assignments) {
            line += " " + std::string(assignment.property);
        }
        trace_->add(line);
        inner_->setValues(schema, primaryKey, assignments);
    }
    void deleteRow(const ObjectSchema& schema, std::string_view primaryKey) override {
        trace_->add("delete " + std::string(primaryKey));
        inner_->deleteRow(schema, primaryKey);
    }

private:
    void noteQuery() const {
        ++queryCount_;
        if (onQuery_) {
            onQuery_();
        }
    }

    /// Makes the transaction fail after all its changes, as a commit does that finds no room.
    void addWhatCannotBeStored() {
        ReminderItem item("", ReminderCondition::dateTime(Date(1)), "unstorable", false);
        item.completionDate = Date(std::numeric_limits<double>::quiet_NaN());
        inner_->add(item, true);
    }

    const std::shared_ptr<Realm> inner_;
    const std::shared_ptr<Trace> trace_;
    std::optional<FailAt> failure_;
    std::function<void()> onQuery_;
    mutable std::size_t queryCount_ = 0;
};

}  // namespace quendokit::testing

#include "testing/in_memory_realm.hpp"

#include <algorithm>
#include <cmath>
#include <ranges>
#include <tuple>
#include <utility>

#include "quendokit/platform/fatal_error.hpp"
#include "quendokit/platform/predicate.hpp"
#include "quendokit/platform/services.hpp"

namespace quendokit::testing {
namespace {

class OldObject final : public MigrationObject {
public:
    explicit OldObject(const std::map<std::string, Value>& values) : values_(values) {}

    [[nodiscard]] std::optional<Value> value(std::string_view property) const override {
        const auto found = values_.find(std::string(property));
        return found == values_.end() ? std::nullopt : std::optional(found->second);
    }
    void set(std::string_view, Value) override { fatalError("an old object of a migration cannot be changed"); }

private:
    const std::map<std::string, Value>& values_;
};

class NewObject final : public MigrationObject {
public:
    NewObject(const ObjectSchema& schema, ValueRow& row) : schema_(schema), row_(row) {}

    [[nodiscard]] std::optional<Value> value(std::string_view property) const override {
        const auto index = schema_.indexOf(property);
        return index ? std::optional(row_.value(*index)) : std::nullopt;
    }
    void set(std::string_view property, Value value) override {
        const std::size_t index = schema_.checkedIndexOf(property, typeOf(value));
        row_.setValue(index, std::move(value));
    }

private:
    const ObjectSchema& schema_;
    ValueRow& row_;
};

ValueRow bringForward(const ObjectSchema& schema, const std::map<std::string, Value>& old) {
    ValueRow row(schema.properties.size());
    for (std::size_t i = 0; i < schema.properties.size(); ++i) {
        const Property& property = schema.properties[i];
        const auto found = old.find(property.name);
        if (found != old.end()) {
            row.setValue(i, found->second);
        } else if (!property.defaultValue) {
            fatalError(schema.className + ": an old object has no " + property.name);
        } else if (const Value* value = std::get_if<Value>(&*property.defaultValue)) {
            row.setValue(i, *value);
        } else {
            row.setValue(i, platform::clock().now());
        }
    }
    return row;
}

/// The migration of the objects of one class.
class InMemoryMigration final : public Migration {
public:
    InMemoryMigration(const ObjectSchema& schema, const OldObjects& old) : schema_(schema), old_(old) {
        for (const auto& object : old.objects) {
            rows_.push_back(bringForward(schema, object));
        }
    }

    void enumerateObjects(std::string_view className, const Visitor& visitor) override {
        if (className != schema_.className) {
            fatalError("no class \"" + std::string(className) + "\" to migrate");
        }
        for (std::size_t i = 0; i < rows_.size(); ++i) {
            NewObject newObject(schema_, rows_[i]);
            visitor(OldObject(old_.objects[i]), newObject);
        }
    }

    [[nodiscard]] const std::vector<ValueRow>& rows() const { return rows_; }

private:
    const ObjectSchema& schema_;
    const OldObjects& old_;
    std::vector<ValueRow> rows_;
};

/// The one primary key that a row must have; null when the condition says something else.
const std::string* keyIn(const Predicate& predicate, const std::vector<Value>& arguments, std::size_t primaryKey) {
    const Predicate::Node& root = predicate.root();
    const bool isOfKey = root.kind == Predicate::Kind::comparison && root.comparison.property == primaryKey &&
                         root.comparison.comparison == ComparisonOperator::equal;
    const auto* argument = isOfKey ? std::get_if<Predicate::Argument>(&root.comparison.operand) : nullptr;
    return argument != nullptr ? std::get_if<std::string>(&arguments[argument->index]) : nullptr;
}

}  // namespace

InMemoryRealm::InMemoryRealm(Configuration configuration) : configuration_(std::move(configuration)) {
    for (const ObjectSchema& schema : configuration_.objectSchemas) {
        tables_[schema.className];
    }
}

InMemoryRealm::~InMemoryRealm() = default;

std::shared_ptr<InMemoryRealm> InMemoryRealm::create(const Configuration& configuration,
                                                     const std::optional<OldObjects>& old) {
    std::shared_ptr<InMemoryRealm> realm(new InMemoryRealm(configuration));
    if (old) {
        realm->migrate(*old);
    }
    return realm;
}

void InMemoryRealm::migrate(const OldObjects& old) {
    if (old.schemaVersion >= configuration_.schemaVersion) {
        fatalError("the old objects are not older than the configuration");
    }
    const auto schema = std::find_if(configuration_.objectSchemas.begin(), configuration_.objectSchemas.end(),
                                     [&](const ObjectSchema& each) { return each.className == old.className; });
    if (schema == configuration_.objectSchemas.end()) {
        fatalError("no class \"" + old.className + "\" to migrate");
    }
    InMemoryMigration migration(*schema, old);
    if (configuration_.migrationBlock) {
        configuration_.migrationBlock(migration, old.schemaVersion);
    }
    for (const ValueRow& row : migration.rows()) {
        tables_[schema->className].insert_or_assign(std::string(row.text(schema->primaryKeyIndex())), row);
    }
}

void InMemoryRealm::failWrites(std::size_t count, FailAt at, Error error) {
    plannedFailure_ = PlannedFailure{count, at, std::move(error)};
}

std::optional<Error> InMemoryRealm::write(const std::function<void()>& changes) {
    if (writing_ || readDepth_ > 0) {
        return makeRealmError(RealmErrorCode::nested, "a write began inside another write or a read");
    }
    const bool failing = plannedFailure_ && plannedFailure_->count > 0;
    if (failing) {
        --plannedFailure_->count;
        if (plannedFailure_->at == FailAt::begin) {
            return plannedFailure_->error;
        }
    }
    writing_ = true;
    changes();
    writing_ = false;
    if (failing && !writeFailure_) {
        writeFailure_ = plannedFailure_->error;
    }
    auto failure = std::exchange(writeFailure_, std::nullopt);
    if (failure) {
        putBack();
    }
    commitCount_ += hasChanged_ && !failure ? 1 : 0;
    hasChanged_ = false;
    before_.clear();
    return failure;
}

void InMemoryRealm::read(const std::function<void()>& reads) const {
    ++readDepth_;
    reads();
    --readDepth_;
}

void InMemoryRealm::deleteAll() {
    if (!mayChange()) {
        return;
    }
    hasChanged_ = true;
    for (auto& [name, table] : tables_) {
        for (auto& [key, row] : table) {
            before_.push_back({&table, key, std::move(row)});
        }
        table.clear();
    }
}

void InMemoryRealm::visitRows(const Query& query, const RowVisitor& visitor) const {
    read([&] {
        for (const ValueRow* row : find(query)) {
            if (!visitor(*row)) {
                return;
            }
        }
    });
}

std::size_t InMemoryRealm::countRows(const Query& query) const {
    return find(query).size();
}

void InMemoryRealm::addRow(const ObjectSchema& schema, const std::function<void(RowWriter&)>& fill, bool update) {
    ValueRow row(schema.properties.size());
    fill(row);
    if (!mayChange() || !isStorable(schema, row)) {
        return;
    }
    std::string key(row.text(schema.primaryKeyIndex()));
    Table& table = tableOf(schema);
    if (!update && table.contains(key)) {
        fail(RealmErrorCode::invalidValue, schema.className + " \"" + key + "\" is stored already");
        return;
    }
    keep(table, key);
    table.insert_or_assign(std::move(key), std::move(row));
}

void InMemoryRealm::setValues(const ObjectSchema& schema, std::string_view primaryKey,
                              std::span<const Assignment> assignments) {
    Table& table = tableOf(schema);
    const auto found = table.find(primaryKey);
    ValueRow changed = found == table.end() ? ValueRow(schema.properties.size()) : found->second;
    for (const Assignment& assignment : assignments) {
        changed.setValue(schema.checkedIndexOf(assignment.property, typeOf(assignment.value)), assignment.value);
    }
    if (!mayChange() || !isStorable(schema, changed) || found == table.end()) {
        return;
    }
    keep(table, found->first);
    found->second = std::move(changed);
}

void InMemoryRealm::deleteRow(const ObjectSchema& schema, std::string_view primaryKey) {
    Table& table = tableOf(schema);
    const auto found = table.find(primaryKey);
    if (mayChange() && found != table.end()) {
        keep(table, found->first);
        table.erase(found);
    }
}

InMemoryRealm::Table& InMemoryRealm::tableOf(const ObjectSchema& schema) {
    return const_cast<Table&>(std::as_const(*this).tableOf(schema));
}

const InMemoryRealm::Table& InMemoryRealm::tableOf(const ObjectSchema& schema) const {
    const auto found = tables_.find(schema.className);
    if (found == tables_.end()) {
        fatalError("the database keeps no class \"" + schema.className + "\"");
    }
    return found->second;
}

std::vector<const ValueRow*> InMemoryRealm::find(const Query& query) const {
    std::vector<Predicate> predicates;
    for (const QueryFilter& filter : query.filters) {
        predicates.push_back(Predicate::parse(filter.format, *query.schema));
        predicates.back().checkArguments(filter.arguments);
    }
    const Table& table = tableOf(*query.schema);
    auto next = table.begin();
    auto end = table.end();
    for (std::size_t i = 0; i < predicates.size(); ++i) {
        if (const auto* key = keyIn(predicates[i], query.filters[i].arguments, query.schema->primaryKeyIndex())) {
            std::tie(next, end) = table.equal_range(*key);
        }
    }
    std::vector<const ValueRow*> rows;
    for (; next != end; ++next) {
        const ValueRow& row = next->second;
        bool matches = true;
        for (std::size_t i = 0; i < predicates.size() && matches; ++i) {
            matches = predicates[i].matches(row, query.filters[i].arguments);
        }
        if (matches) {
            rows.push_back(&row);
        }
    }
    if (query.order) {
        const std::size_t property = query.schema->checkedIndexOf(query.order->property);
        const std::size_t key = query.schema->primaryKeyIndex();
        std::sort(rows.begin(), rows.end(), [&](const ValueRow* left, const ValueRow* right) {
            return std::tie(left->value(property), left->value(key)) <
                   std::tie(right->value(property), right->value(key));
        });
        if (!query.order->ascending) {
            std::reverse(rows.begin(), rows.end());
        }
    }
    return rows;
}

bool InMemoryRealm::mayChange() const {
    if (!writing_) {
        fatalError("a database was changed outside Realm::write");
    }
    if (readDepth_ > 0) {
        fatalError("a database was changed while it was being read");
    }
    return !writeFailure_;
}

void InMemoryRealm::keep(Table& table, const std::string& key) {
    hasChanged_ = true;
    const auto found = table.find(key);
    before_.push_back({&table, key, found == table.end() ? std::nullopt : std::optional(found->second)});
}

void InMemoryRealm::putBack() {
    for (auto& before : std::views::reverse(before_)) {
        if (before.row) {
            before.table->insert_or_assign(before.key, *std::move(before.row));
        } else {
            before.table->erase(before.key);
        }
    }
}

bool InMemoryRealm::isStorable(const ObjectSchema& schema, const ValueRow& row) {
    for (const Property& property : schema.properties) {
        const Date* date = std::get_if<Date>(&row.value(schema.checkedIndexOf(property.name)));
        if (date != nullptr && !std::isfinite(date->timeIntervalSince1970())) {
            fail(RealmErrorCode::invalidValue, schema.className + "." + property.name + ": the date is not finite");
            return false;
        }
    }
    return true;
}

void InMemoryRealm::fail(RealmErrorCode code, std::string description) {
    if (!writeFailure_) {
        writeFailure_ = makeRealmError(code, std::move(description));
    }
}

Result<std::shared_ptr<Realm>> InMemoryRealmProvider::open(const Realm::Configuration& configuration) {
    if (!realm_) {
        realm_ = InMemoryRealm::create(configuration);
    }
    return std::shared_ptr<Realm>(realm_);
}

}  // namespace quendokit::testing

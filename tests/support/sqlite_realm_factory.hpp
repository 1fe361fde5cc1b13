#pragma once
/// \file
/// `SQLiteRealmFactory`: the database in SQLite files as the suites of tests see it.

#include <cstdio>
#include <map>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <variant>

#include "adapters/sqlite/sqlite_realm_provider.hpp"
#include "testing/conformance/realm_factory.hpp"
#include "tests/support/shim_file_system.hpp"
#include "tests/support/sqlite_world.hpp"
#include "tests/support/temporary_folder.hpp"

namespace quendokit::testing {

/// Its databases are files in a folder of their own, on a disk that fails when told to.
class SQLiteRealmFactory final : public RealmFactory {
public:
    [[nodiscard]] std::shared_ptr<Realm> make(const RealmConfiguration& configuration,
                                              const std::optional<OldObjects>& old) override {
        file_ = folder_.path() / (std::to_string(++count_) + ".sqlite");
        if (old) {
            writeOld(*old, configuration);
        }
        return open(configuration);
    }

    [[nodiscard]] std::shared_ptr<Realm> reopen(const RealmConfiguration& configuration) override {
        return open(configuration);
    }
    [[nodiscard]] std::shared_ptr<Realm> openSecond(const RealmConfiguration& configuration) override {
        return open(configuration);
    }

    [[nodiscard]] bool failNextWrite(FailAt at) override {
        if (at == FailAt::begin) {
            disk_.failNextBegin();
        } else {
            disk_.failNextSync();
        }
        return true;
    }

private:
    [[nodiscard]] std::shared_ptr<Realm> open(RealmConfiguration configuration) const {
        configuration.fileURL = file_;
        SQLiteRealmOptions options;
        options.busyTimeout = std::chrono::milliseconds(0);
        options.fileSystem = ShimFileSystem::name();
        auto realm = SQLiteRealmProvider(options).open(configuration);
        if (!realm) {
            throw std::logic_error(realm.error().description);
        }
        return realm.value();
    }

    /// A table with the properties of the first object, as an older program left it; with the key alone if there is
    /// none.
    void writeOld(const OldObjects& old, const RealmConfiguration& configuration) const {
        // A death test's process may have left one.
        std::filesystem::remove(file_);
        std::map<std::string, Value> properties{{configuration.objectSchemas.front().primaryKey, Value("")}};
        for (const ObjectSchema& schema : configuration.objectSchemas) {
            if (schema.className == old.className) {
                properties = {{schema.primaryKey, Value("")}};
                for (const Property& property : schema.properties) {
                    if (property.since && *property.since <= old.schemaVersion) {
                        properties.emplace(property.name, exampleOf(property.type));
                    }
                }
            }
        }
        if (!old.objects.empty()) {
            properties = old.objects.front();
        }
        std::string sql = "PRAGMA user_version = " + std::to_string(old.schemaVersion) + "; BEGIN; CREATE TABLE " +
                          old.className + " (";
        for (const auto& [name, value] : properties) {
            sql += (sql.ends_with('(') ? "\"" : ", \"") + name + "\" " + typeName(value) + " NOT NULL";
        }
        sql += ") STRICT;";
        for (const auto& object : old.objects) {
            std::string values;
            for (const auto& [name, value] : object) {
                values += (values.empty() ? "" : ", ") + literal(value);
            }
            sql += "INSERT INTO " + old.className + " VALUES (" + values + ");";
        }
        if (!runSQL(file_, sql + "COMMIT")) {
            throw std::logic_error("the old file cannot be written: " + sql);
        }
    }

    static Value exampleOf(PropertyType type) {
        switch (type) {
            case PropertyType::boolean:
                return false;
            case PropertyType::integer:
                return std::int64_t{0};
            case PropertyType::text:
                return std::string();
            case PropertyType::date:
                return Date(0);
        }
        return false;
    }

    static std::string typeName(const Value& value) {
        switch (typeOf(value)) {
            case PropertyType::boolean:
            case PropertyType::integer:
                return "INTEGER";
            case PropertyType::text:
                return "TEXT";
            case PropertyType::date:
                return "REAL";
        }
        return "";
    }

    static std::string literal(const Value& value) {
        switch (typeOf(value)) {
            case PropertyType::boolean:
                return std::get<bool>(value) ? "1" : "0";
            case PropertyType::integer:
                return std::to_string(std::get<std::int64_t>(value));
            case PropertyType::text: {
                std::string hex;
                for (const char character : std::get<std::string>(value)) {
                    constexpr char digits[] = "0123456789ABCDEF";
                    const auto byte = static_cast<unsigned char>(character);
                    hex += digits[byte >> 4U];
                    hex += digits[byte & 0xFU];
                }
                return "CAST(x'" + hex + "' AS TEXT)";
            }
            case PropertyType::date: {
                char text[64];
                std::snprintf(text, sizeof(text), "%.17e", std::get<Date>(value).timeIntervalSince1970());
                return text;
            }
        }
        return "";
    }

    ShimFileSystem disk_;
    TemporaryFolder folder_;
    std::filesystem::path file_;
    int count_ = 0;
};

}  // namespace quendokit::testing

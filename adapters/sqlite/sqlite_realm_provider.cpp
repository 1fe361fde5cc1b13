#include "adapters/sqlite/sqlite_realm_provider.hpp"

#include <utility>

#include "adapters/sqlite/open_internal.hpp"
#include "quendokit/platform/fatal_error.hpp"

namespace quendokit {

SQLiteRealmProvider::SQLiteRealmProvider(SQLiteRealmOptions options) : options_(std::move(options)) {}

Result<std::shared_ptr<Realm>> SQLiteRealmProvider::open(const Realm::Configuration& configuration) {
    auto realm = sqlite::openRealm(fileOf(configuration), configuration, options_);
    if (!realm) {
        return realm.error();
    }
    return std::shared_ptr<Realm>(std::move(realm).value());
}

Result<std::optional<std::uint64_t>> SQLiteRealmProvider::examine(const Realm::Configuration& configuration) const {
    return sqlite::examineFile(fileOf(configuration), configuration, options_);
}

std::filesystem::path SQLiteRealmProvider::fileOf(const Realm::Configuration& configuration) const {
    const std::filesystem::path file = configuration.fileURL.value_or(options_.defaultFile);
    if (file.empty()) {
        fatalError("neither the configuration nor the provider names a database file");
    }
    return file;
}

}  // namespace quendokit

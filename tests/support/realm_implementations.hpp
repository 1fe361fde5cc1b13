#pragma once
/// \file
/// The databases on which the tests of this project run.

#include <memory>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "tests/support/in_memory_realm_factory.hpp"
#include "tests/support/sqlite_realm_factory.hpp"

namespace quendokit::testing {

/// Every implementation of `Realm` here. A suite with this line runs on all of them:
/// `INSTANTIATE_TEST_SUITE_P(Databases, Suite, ::testing::ValuesIn(realmImplementations()), realmName);`
[[nodiscard]] inline std::vector<RealmImplementation> realmImplementations() {
    return {
        {"InMemory", [] { return std::make_unique<InMemoryRealmFactory>(); }},
        {"SQLite", [] { return std::make_unique<SQLiteRealmFactory>(); }},
    };
}

[[nodiscard]] inline std::string realmName(const ::testing::TestParamInfo<RealmImplementation>& info) {
    return info.param.name;
}

}  // namespace quendokit::testing
